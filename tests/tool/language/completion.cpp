// Completion: what may follow in an unfinished command, wherever it stands in a line.
#include "language/completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "language/commands.h"

namespace zelfctl {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Words = std::vector<std::string>;

const std::map<std::string, Words, std::less<>> there_is{
    {"port", {"1", "2", "12"}}, {"vlan", {"sales", "storage", "Lab"}},
    {"vid", {"10", "20"}},      {"clslist", {"3", "7"}},
    {"stream", {"1/1", "1/2"}}, {"queue", {"1/1/0"}},
    {"group", {"5"}},           {"mirror", {"2"}},
};

Words live(std::string_view object)
{
    const auto found = there_is.find(object);
    EXPECT_NE(there_is.end(), found) << object;
    return found == there_is.end() ? Words{} : found->second;
}

// The last word of the line is the one that is being written.
Words complete(const std::string& line)
{
    Words before;
    std::istringstream words(line);
    for (std::string word; words >> word;) before.push_back(word);
    std::string beginning;
    if (!line.empty() && line.back() != ' ') {
        beginning = before.back();
        before.pop_back();
    }
    return complete_command(before, beginning, live);
}

TEST(Completion, TheFirstWordIsOneOfTheTable)
{
    EXPECT_THAT(complete(""), ElementsAre("set", "create", "delete", "enable", "disable", "recover", "notify", "update",
                                          "add", "clear", "query"));
    EXPECT_THAT(complete("de"), ElementsAre("delete"));
    EXPECT_THAT(complete("frob"), IsEmpty());
}

TEST(Completion, WordsChoicesAndNamesOfEveryObject)
{
    const struct {
        const char* line;
        Words candidates;
    } rows[] = {
        {"clear f", {"fdb"}},
        {"clear fdb ", {"vlan", "port", "type"}},
        {"clear fdb vlan ", {"sales", "storage", "Lab"}},
        {"clear fdb vlan s", {"sales", "storage"}},
        {"clear fdb port 1", {"1", "12"}},
        {"set port 1 aftype ", {"tagonly", "all"}},
        {"set port 1 pvid ", {"10", "20"}},
        {"set port 1 l", {"learning", "link_mode", "link_depend", "link_frame"}},
        {"set port 1 link_frame ", {"bpdu", "lag", "pae"}},
        {"set port 1 link_frame bpdu ", {"hold", "forward"}},
        {"set port 1 class_policing class ", {"0", "1", "2", "3", "4", "5", "6", "7"}},
        {"set port 1 class_policing class 2 on ", {"green", "yellow", "red", "rate"}},
        {"set port 1 class_policing class 2 on red ", {"rate"}},
        {"set port 1 class_policing class 2 on red rate 5 ", {"burst"}},
        {"set ether ", {"1", "2", "3", "4"}},
        {"add port 1 to vlan sales tag ", {"off", "on"}},
        {"add port 1 to vlan sales tag off ", {"protgroup"}},
        {"add port 1 to vlan sales tag off protgroup ", {"5"}},
        {"delete clslist ", {"from", "3", "7"}},
        {"delete stream ", {"1/1", "1/2"}},
        {"set queue 1", {"1/1/0"}},
        {"enable ", {"port", "mirror"}},
        {"enable mirror ", {"2"}},
        {"set mirror 2 source port ", {"1", "2", "12"}},
        {"set mirror 2 dest port 1", {"1", "12"}},
        {"query vid ", {"10", "20"}},
        {"delete sfdbentries in port ", {"1", "2", "12"}},
        {"notify port 1 down ", {"flush", "keep"}},
    };
    for (const auto& row : rows) EXPECT_EQ(row.candidates, complete(row.line)) << row.line;
}

TEST(Completion, NamesOfWhatIsMadeAnewAreNotOffered)
{
    for (const char* const line :
         {"create port ", "create vlan ", "create clslist ", "create stream ", "create queue ", "create protgroup "})
        EXPECT_THAT(complete(line), IsEmpty()) << line;
    EXPECT_THAT(complete("create vlan lab vid "), IsEmpty());
    EXPECT_THAT(complete("create mirror "), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(complete("create sfdbentry 02:00:00:00:00:01 in vlan "), ElementsAre("sales", "storage", "Lab"));
}

TEST(Completion, CaseDoesNotMatterInWordsAndDoesInNames)
{
    EXPECT_THAT(complete("CLEAR Fdb V"), ElementsAre("vlan"));
    EXPECT_THAT(complete("clear fdb vlan l"), IsEmpty());
    EXPECT_THAT(complete("clear fdb vlan L"), ElementsAre("Lab"));
}

TEST(Completion, AWordThatIsWrongEndsItAndSoDoesAComment)
{
    EXPECT_THAT(complete("clear frob "), IsEmpty());
    EXPECT_THAT(complete("enable port 200 "), IsEmpty());
    EXPECT_THAT(complete("enable port 1 "), IsEmpty());  // it is complete
    EXPECT_THAT(complete("clear # fdb "), IsEmpty());
}

TEST(Completion, NoCandidateIsGivenTwice)
{
    const auto twice = [](std::string_view) { return Words{"7", "7"}; };
    EXPECT_EQ(Words{"7"}, complete_command({"delete", "port"}, "", twice));
}

// A line of the pattern's own words, with something for each value.
void expect_all_words_offered(const std::vector<Part>& parts, Words& before)
{
    const auto nothing = [](std::string_view) { return Words{}; };
    static const std::map<std::string, std::string> samples{{"vlan", "v"},
                                                            {"mac", "02:00:00:00:00:01"},
                                                            {"default_class", "1/0/green"},
                                                            {"cosmap", ",,,,,,,"},
                                                            {"stream", "1/1"},
                                                            {"queue", "1/1/1"},
                                                            {"tosmap", ",,,,,,,"},
                                                            {"target", "1/0/green"},
                                                            {"copy_class", "1/0/green"},
                                                            {"bindings", ",,,"},
                                                            {"color", "red"}};
    for (const Part& part : parts) {
        const Words offered = complete_command(before, "", nothing);
        switch (part.what) {
        case Part::What::word:
            EXPECT_THAT(offered, Contains(part.name)) << testing::PrintToString(before);
            before.push_back(part.name);
            break;
        case Part::What::choice:
            for (const std::string& word : part.words)
                EXPECT_THAT(offered, Contains(word)) << testing::PrintToString(before);
            before.push_back(part.words.front());
            break;
        case Part::What::optional: expect_all_words_offered(part.inner, before); break;
        case Part::What::value: {
            const auto sample = samples.find(part.kind->name);
            before.push_back(sample == samples.end() ? "1" : sample->second);
            Value value;
            if (!part.kind->read(*part.kind, before.back(), value)) before.back() = "-";
            value = {};
            ASSERT_TRUE(part.kind->read(*part.kind, before.back(), value)) << part.kind->name;
            break;
        }
        }
    }
}

TEST(Completion, EveryWordOfEveryCommandIsOfferedInItsPlace)
{
    for (const Command& command : all_commands()) {
        Words before;
        expect_all_words_offered(command.parts, before);
    }
}

TEST(Completion, WhatIsOfferedForAValueCanBeReadAsOne)
{
    const auto nothing = [](std::string_view) { return Words{}; };
    for (const auto& [kind, line] :
         std::map<std::string, Words>{{"color", {"set", "port", "1", "class_policing", "class", "1", "on"}},
                                      {"link_frame", {"set", "port", "1", "link_frame"}},
                                      {"ether", {"set", "ether"}},
                                      {"class", {"set", "port", "1", "class_policing", "class"}},
                                      {"ports4", {"set", "port", "1", "link_depend", "port"}},
                                      {"mirror", {"create", "mirror"}}}) {
        Words offered = complete_command(line, "", nothing);
        std::erase(offered, "rate");
        EXPECT_THAT(offered, Not(IsEmpty())) << kind;
        for (const std::string& word : offered) {
            Value value;
            EXPECT_TRUE(find_kind(kind)->read(*find_kind(kind), word, value)) << kind << " " << word;
        }
    }
}

TEST(Completion, EveryObjectIsOfAKindThatThereIs)
{
    for (const char* const kind :
         {"port", "anyport", "vlan", "pvid", "clslist", "stream", "queue", "group", "mirror"}) {
        EXPECT_NE(nullptr, find_kind(kind)) << kind;
        EXPECT_NE("", object_of_kind(kind)) << kind;
    }
    EXPECT_EQ("", object_of_kind("mac"));
}

}  // namespace
}  // namespace zelfctl
