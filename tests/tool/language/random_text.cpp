#include "random_text.h"

#include <functional>
#include <map>

namespace zelfctl {
namespace {

using zelfdb::Random;

std::string number(Random& random, u32 lowest, u32 highest)
{
    switch (random.below(8)) {
    case 0: return std::to_string(lowest);
    case 1: return std::to_string(highest);
    default: return std::to_string(lowest + random.below(highest - lowest + 1));
    }
}

std::string hexadecimal(Random& random, u32 digits)
{
    std::string text;
    for (u32 i = 0; i < digits; ++i) text += "0123456789abcdef"[random.below(16)];
    return text;
}

std::string one_of(Random& random, const std::vector<std::string>& all)
{
    return all[random.below(static_cast<u32>(all.size()))];
}

std::string colour(Random& random) { return one_of(random, {"green", "yellow", "red"}); }

std::string pair(Random& random, u32 highest)
{
    std::string text = number(random, 0, highest);
    return random.once_in(2) ? text : text + "-" + number(random, 0, highest);
}

// "a,,c,": each member is there or not.
std::string members(Random& random, u32 count, const std::function<std::string()>& member)
{
    std::string text;
    for (u32 i = 0; i < count; ++i) {
        if (i != 0) text += ',';
        if (random.once_in(2)) text += member();
    }
    return text;
}

std::string field(Random& random, u32 highest)
{
    if (random.once_in(3)) return "-";
    std::string text = number(random, 0, highest / 2);
    if (random.once_in(3)) text += "-" + number(random, highest / 2, highest);
    return text;
}

std::string address(Random& random)
{
    return "10.0." + std::to_string(random.below(256)) + "." + std::to_string(random.below(256));
}

std::string addresses(Random& random)
{
    if (random.once_in(3)) return "-";
    return address(random) + (random.once_in(3) ? "/" + std::to_string(random.below(33)) : "");
}

using Maker = std::function<std::string(Random&)>;

// Ports, VLANs and the like are few, so that most commands find theirs.
const std::map<std::string, Maker>& makers_of_names()
{
    static const std::map<std::string, Maker> makers = {
        {"port", [](Random& r) { return std::to_string(1 + r.below(5)); }},
        {"anyport", [](Random& r) { return std::to_string(r.below(6)); }},
        {"mirror_port", [](Random& r) { return std::to_string(r.below(6)); }},
        {"phport", [](Random& r) { return std::to_string(1 + r.below(4)); }},
        {"ports4",
         [](Random& r) {
             return one_of(r, {"1", "1,3", "2,3,4"});
         }},
        {"vlan",
         [](Random& r) {
             return one_of(r, {"sales", "lab", "vid", "\xC3\xBC"});
         }},
        {"vid", [](Random& r) { return std::to_string(10 + r.below(4)); }},
        {"pvid", [](Random& r) { return std::to_string(10 + r.below(4)); }},
        {"tag_vid", [](Random& r) { return number(r, 0, 65535); }},
        // Not of the addresses whose system entries link_frame makes and removes.
        {"mac", [](Random& r) { return "02:00:00:00:00:0" + std::to_string(r.below(5)); }},
        {"group", [](Random& r) { return std::to_string(r.below(10)); }},
        {"protocol", [](Random& r) { return "080" + std::to_string(r.below(10)); }},
        {"stream",
         [](Random& r) {
             const std::string port = r.once_in(5) ? "0" : std::to_string(1 + r.below(5));
             return port + "/" + std::to_string(1 + r.below(3));
         }},
        {"queue",
         [](Random& r) {
             return std::to_string(r.below(6)) + "/" + std::to_string(1 + r.below(3)) + "/" +
                    std::to_string(r.below(8));
         }},
        {"clslist", [](Random& r) { return std::to_string(1 + r.below(4)); }},
        {"link_frame",
         [](Random& r) {
             return one_of(r, {"bpdu", "lag", "pae", "0", "1", "31"});
         }},
        {"line", [](Random& r) { return std::to_string(r.below(4)); }},
        {"prefilter_index", [](Random& r) { return std::to_string(r.below(129)); }},
        {"loc_index", [](Random& r) { return std::to_string(r.below(16)); }},
    };
    return makers;
}

const std::map<std::string, Maker>& makers_of_values()
{
    static const std::map<std::string, Maker> makers = {
        {"flags", [](Random& r) { return hexadecimal(r, 1 + r.below(8)); }},
        {"pflags", [](Random& r) { return hexadecimal(r, 4); }},
        {"tagtype", [](Random& r) { return hexadecimal(r, 4); }},
        {"burst",
         [](Random& r) {
             return one_of(r, {"0", "8000", "-1", "4294967295"});
         }},
        {"qlength",
         [](Random& r) {
             return one_of(r, {"0", "16384", "-1", "77"});
         }},
        {"wfq_param",
         [](Random& r) {
             return one_of(r, {"0", "-1", "77"});
         }},
        {"list", [](Random& r) { return std::to_string(r.below(3)); }},
        {"color", colour},
        {"default_class",
         [](Random& r) { return number(r, 0, 300) + "/" + number(r, 0, 9) + "/" + (r.once_in(4) ? "" : colour(r)); }},
        {"copy_class",
         [](Random& r) { return number(r, 1, 300) + "/" + number(r, 0, 9) + "/" + (r.once_in(4) ? "" : colour(r)); }},
        {"target", [](Random& r) { return number(r, 1, 300) + "/" + number(r, 0, 7) + "/" + colour(r); }},
        {"cosmap", [](Random& r) { return members(r, 8, [&r] { return number(r, 0, 9); }); }},
        {"rates", [](Random& r) { return pair(r, 4294967); }},
        {"bursts", [](Random& r) { return pair(r, 70000); }},
        {"percents", [](Random& r) { return pair(r, 255); }},
        {"tosmap",
         [](Random& r) {
             return members(r, 8, [&r] { return hexadecimal(r, 2) + (r.once_in(2) ? "/" + hexadecimal(r, 2) : ""); });
         }},
        {"words", [](Random& r) { return r.once_in(2) ? "-" : members(r, 4, [&r] { return hexadecimal(r, 8); }); }},
        {"bindings",
         [](Random& r) { return members(r, 4, [&r] {
                             return number(r, 0, 65535) + one_of(r, {"", "/1", "/2"});
                         }); }},
        {"addresses", addresses},
        {"prefilter_addresses", addresses},
        {"loc_address", addresses},
        {"field8", [](Random& r) { return field(r, 255); }},
        {"field16", [](Random& r) { return field(r, 65535); }},
        {"prefilter_field8", [](Random& r) { return field(r, 255); }},
        {"prefilter_field16", [](Random& r) { return field(r, 65535); }},
        {"loc_field8", [](Random& r) { return r.once_in(2) ? "-" : number(r, 0, 255); }},
        {"loc_field16", [](Random& r) { return r.once_in(2) ? "-" : number(r, 0, 65535); }},
        {"protocols",
         [](Random& r) {
             return r.once_in(2) ? one_of(r, {"tcp", "udp", "icmp"}) : field(r, 255);
         }},
        {"etypes", [](Random& r) { return r.once_in(2) ? "-" : hexadecimal(r, 4); }},
    };
    return makers;
}

bool reads(const Kind& kind, const std::string& text)
{
    Value value;
    return kind.read(kind, text, value);
}

void append(const std::vector<Part>& parts, Random& random, std::string& line)
{
    for (const Part& part : parts) {
        if (part.what == Part::What::optional) {
            if (random.once_in(2)) append(part.inner, random, line);
            continue;
        }
        if (!line.empty()) line += ' ';
        switch (part.what) {
        case Part::What::word: line += part.name; break;
        case Part::What::choice: line += one_of(random, part.words); break;
        default: line += random_value(*part.kind, random);
        }
    }
}

}  // namespace

std::string random_value(const Kind& kind, Random& random)
{
    for (const auto* const makers : {&makers_of_names(), &makers_of_values()}) {
        const auto found = makers->find(kind.name);
        if (found != makers->end()) return found->second(random);
    }
    // The others are decimal numbers.
    std::string text = number(random, kind.lowest, kind.highest < 1000000 ? kind.highest : 1000000);
    return reads(kind, text) ? text : std::string{};
}

std::string random_line(const Command& command, Random& random)
{
    std::string line;
    append(command.parts, random, line);
    return line;
}

bool may_be_applied_again(const Command& command)
{
    const std::string& first = command.parts[0].name;
    const std::string& second = command.parts[1].name;
    if (first == "create" || first == "enable") return true;
    if (first == "add") return second != "classify" && second != "prefilter" && second != "loc";
    return first == "set" && second != "vlans";
}

}  // namespace zelfctl
