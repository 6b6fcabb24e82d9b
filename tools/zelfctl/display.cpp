#include "display.h"

#include <zelfdb/zelfdb.h>

#include <cstdio>
#include <cstdlib>

#include "database.h"
#include "language/captured_output.h"
#include "language/outcome.h"
#include "vlans.h"

namespace zelfctl {
namespace {

bool port_text(u32 port_id, std::string& text, u32& code)
{
    return capture_output([&] { return zelfdb_display_port_data(port_id, &code) == 0; }, text);
}

bool vlan_text(u32 vid, std::string& text, u32& code)
{
    return capture_output([&] { return zelfdb_display_vlan_data(vid, &code) == 0; }, text);
}

// The number behind a label.
u32 number_after(const std::string& text, const char* label, int base = 10)
{
    const std::size_t at = text.find(label);
    if (at == std::string::npos) return 0;
    return static_cast<u32>(std::strtoll(text.c_str() + at + std::string(label).size(), nullptr, base));
}

int print(bool printed, const std::string& text, u32 code)
{
    if (!printed) {
        complain(text_of_code(code));
        return exit_failed;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return exit_done;
}

}  // namespace

int display_port(u32 port_id)
{
    if (!database_is_ready()) return exit_failed;
    std::string text;
    u32 code = 0;
    const bool printed = port_text(port_id, text, code);
    return print(printed, text, code);
}

int display_vlan(const std::string& name_or_vid)
{
    if (!database_is_ready()) return exit_failed;
    const auto vid = vid_of(name_or_vid);
    if (!vid) return exit_failed;
    std::string text;
    u32 code = 0;
    const bool printed = vlan_text(*vid, text, code);
    return print(printed, text, code);
}

std::optional<DisplayedPort> displayed_port(u32 port_id)
{
    std::string text;
    u32 code = 0;
    if (!port_text(port_id, text, code)) return std::nullopt;
    return DisplayedPort{number_after(text, "uplink    : "), number_after(text, "link_mode : "),
                         number_after(text, "link_depend:"), number_after(text, " list:", 16)};
}

std::optional<u32> displayed_learn_limit(u32 vid)
{
    std::string text;
    u32 code = 0;
    if (!vlan_text(vid, text, code)) return std::nullopt;
    return number_after(text, "learnlimit: ");
}

}  // namespace zelfctl
