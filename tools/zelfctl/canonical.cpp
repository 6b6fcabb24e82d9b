#include "canonical.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "database.h"
#include "held.h"
#include "language/difference.h"
#include "language/reader.h"
#include "sandboxed.h"

namespace zelfctl {
namespace {

std::vector<UntoldLine> untold_among(const std::vector<DoneLine>& lines)
{
    std::vector<UntoldLine> untold;
    for (const DoneLine& line : lines) {
        const ReadLine read = read_line(line.text);
        const Untold what = read.command ? untold_by(*read.command, read.arguments) : Untold::nothing;
        if (what != Untold::nothing) untold.push_back({line, what == Untold::setting});
    }
    return untold;
}

// All that a command can change but entries, which none of those that are repeated does.
class MainSegment {
public:
    MainSegment() : held_(Held::take(Access::write)) {}
    explicit operator bool() const { return held_.has_value(); }
    [[nodiscard]] std::vector<char> copy() const
    {
        const auto* const first = static_cast<const char*>(held_->main());
        return {first, first + held_->segments().main_bytes};
    }
    void put_back(const std::vector<char>& bytes) const { std::memcpy(held_->main(), bytes.data(), bytes.size()); }

private:
    std::optional<Held> held_;
};

bool run_again(zelfdb_descriptor* descriptor, const UntoldLine& untold)
{
    if (!untold.can_be_repeated) return true;
    const ReadLine read = read_line(untold.line.text);
    return descriptor && read.command->row->run(descriptor, read.arguments).done;
}

// Whether it is all the same afterwards; otherwise it is made so.
bool changes_nothing(const std::vector<char>& before, bool done)
{
    const MainSegment segment;
    if (segment && done && segment.copy() == before) return true;
    if (segment) segment.put_back(before);
    return false;
}

// Most files say each thing once: one look shows that all is well. Otherwise each line is looked at by itself.
void find_what_cannot_be_repeated(std::vector<UntoldLine>& untold)
{
    const Descriptor descriptor(zelfdb_open_descriptor());
    std::vector<char> before;
    if (const MainSegment segment; segment) before = segment.copy();
    const auto again = [&](const UntoldLine& line) { return run_again(descriptor.get(), line); };
    if (changes_nothing(before, std::all_of(untold.begin(), untold.end(), again))) return;
    for (UntoldLine& line : untold) line.can_be_repeated = line.can_be_repeated && changes_nothing(before, again(line));
}

// What the two processes tell each other: the lines, each with its number and a sign, an empty line, the text.
constexpr const char* can = "+";
constexpr const char* cannot = "-";

void print(const Canonical& canonical)
{
    for (const UntoldLine& untold : canonical.untold)
        std::printf("%s%u %s\n", untold.can_be_repeated ? can : cannot, untold.line.number, untold.line.text.c_str());
    std::printf("\n");
    std::fwrite(canonical.text.data(), 1, canonical.text.size(), stdout);
}

Canonical read_canonical(const std::string& told)
{
    Canonical canonical;
    std::istringstream in(told);
    std::string line;
    while (std::getline(in, line) && !line.empty()) {
        const std::size_t blank = line.find(' ');
        const auto number = static_cast<u32>(std::stoul(line.substr(1, blank - 1)));
        canonical.untold.push_back({{number, line.substr(blank + 1)}, line.starts_with(can)});
    }
    const auto here = in.tellg();
    if (here >= 0) canonical.text = told.substr(static_cast<std::size_t>(here));
    return canonical;
}

}  // namespace

std::optional<Canonical> canonical_configuration(const Source& source, const zelfdb_counts& room)
{
    std::string told;
    const auto work = [&] {
        if (!make_database(room)) return exit_failed;
        const Applied applied = apply_source(source);
        auto text = applied.failed == 0 ? read_running() : std::nullopt;
        if (!text) return exit_failed;
        Canonical canonical{std::move(*text), untold_among(applied.done)};
        if (!canonical.untold.empty()) find_what_cannot_be_repeated(canonical.untold);
        print(canonical);
        return exit_done;
    };
    if (in_sandbox(work, &told) != exit_done) return std::nullopt;
    return read_canonical(told);
}

}  // namespace zelfctl
