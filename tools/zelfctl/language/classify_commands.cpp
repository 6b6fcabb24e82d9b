#include "language/classify_commands.h"

#include <cstring>

#include "language/classify_values.h"
#include "language/vlan_commands.h"

namespace zelfctl {
namespace {

template <class Field>
bool fill(Field& field, const Value& value)
{
    if (value.given == 0) return false;
    using Member = decltype(field.value);
    field.value = static_cast<Member>(value.numbers[field_value]);
    field.range_end = static_cast<Member>(value.numbers[field_end]);
    field.mask = static_cast<Member>(value.numbers[field_mask]);
    field.ranged = static_cast<Member>(value.numbers[field_ranged]);
    return true;
}

void fill_ext(zelfdb_classify_line& line, const Value& value)
{
    line.flags |= value.given * ZELFDB_MATCH_EXT;
    for (u32 i = 0; i < ext_words; ++i)
        if ((value.given >> i & 1) != 0) line.ext[i] = {value.numbers[i], value.numbers[ext_words + i]};
}

zelfdb_classify_line line_of(const Arguments& arguments)
{
    zelfdb_classify_line line{};
    const Value& target = arguments.value("target");
    line.mode = arguments.number("mode");
    line.stream_id = static_cast<u16>(target.numbers[0] - 1);
    line.class_id = static_cast<u8>(target.numbers[1]);
    line.colour = static_cast<u8>(target.numbers[2]);
    const auto add = [&](auto& field, const char* name, u32 flag) {
        if (fill(field, arguments.value(name))) line.flags |= flag;
    };
    add(line.dst_ip, "dst-ip", ZELFDB_MATCH_DST_IP);
    add(line.src_ip, "src-ip", ZELFDB_MATCH_SRC_IP);
    add(line.tos, "tos", ZELFDB_MATCH_TOS);
    add(line.proto, "protocol", ZELFDB_MATCH_PROTO);
    add(line.dst_port, "dst-port", ZELFDB_MATCH_DST_PORT);
    add(line.src_port, "src-port", ZELFDB_MATCH_SRC_PORT);
    add(line.vlan, "vid", ZELFDB_MATCH_VLAN);
    add(line.dot1p, "dot1p", ZELFDB_MATCH_DOT1P);
    add(line.etype, "etype", ZELFDB_MATCH_ETYPE);
    fill_ext(line, arguments.value("ext"));
    return line;
}

// The text slots that prefilter and loc lines are handed on in.
class LineText {
public:
    // An absent field leaves its slot empty; a field longer than a slot does not go through.
    void put(std::size_t slot, const Arguments& arguments, const char* name)
    {
        const Value& value = arguments.value(name);
        if (value.given == 0) return;
        if (value.text.size() > slot_size) {
            fits_ = false;
            return;
        }
        std::memcpy(bytes_ + slot, value.text.data(), value.text.size());
    }

    [[nodiscard]] bool fits() const { return fits_; }
    [[nodiscard]] const void* bytes() const { return bytes_; }

private:
    static constexpr std::size_t slot_size = 30;
    char bytes_[184] = {};
    bool fits_ = true;
};

Outcome too_long() { return failure("a field has more than 30 characters"); }

}  // namespace

Outcome create_clslist(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_create_classify_profile(arguments.number("clslist"), &code);
    return outcome_of(result, code);
}

Outcome delete_clslist(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_delete_classify_profile(arguments.number("clslist"), &code);
    return outcome_of(result, code);
}

Outcome add_classify_line(zelfdb_descriptor*, const Arguments& arguments)
{
    const zelfdb_classify_line line = line_of(arguments);
    u32 code = 0;
    const int result =
        zelfdb_add_classify_action_to_profile(arguments.number("clslist"), arguments.number("line"), &line, &code);
    return outcome_of(result, code);
}

Outcome delete_classify_line(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result =
        zelfdb_rem_classify_action_from_profile(arguments.number("clslist"), arguments.number("line"), &code);
    return outcome_of(result, code);
}

Outcome delete_classify_lines(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_rem_classify_all_from_profile(arguments.number("clslist"), &code);
    return outcome_of(result, code);
}

Outcome bind_clslist(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result = zelfdb_add_classify_profile_to_pv(arguments.number("clslist"), arguments.number("port"), vid,
                                                         arguments.value("bindings").numbers.data(), &code);
    return outcome_of(result, code);
}

Outcome unbind_clslist(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result = zelfdb_rem_classify_profile_from_pv(arguments.number("port"), vid, &code);
    return outcome_of(result, code);
}

Outcome add_prefilter(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    LineText text;
    text.put(4, arguments, "dst-ip");
    text.put(34, arguments, "src-ip");
    text.put(64, arguments, "tos");
    text.put(94, arguments, "protocol");
    text.put(124, arguments, "dst-port");
    text.put(154, arguments, "src-port");
    if (!text.fits()) return too_long();
    const u32 passes = arguments.number("action") == 0 ? 1 : 0;
    linedata_to_param_prefilter(descriptor, arguments.number("list"),
                                static_cast<i32>(arguments.number("prefilter_index", 1)), text.bytes(), passes);
    return {};
}

Outcome add_loc(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    LineText text;
    text.put(4, arguments, "address");
    text.put(94, arguments, "number8");
    text.put(124, arguments, "number16");
    if (!text.fits()) return too_long();
    linedata_to_param_loc(descriptor, arguments.number("list"), static_cast<i32>(arguments.number("loc_index", 1)),
                          text.bytes(), arguments.number("action"));
    return {};
}

}  // namespace zelfctl
