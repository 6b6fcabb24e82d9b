// How frames are treated: the receiving port's default class, its map of priorities, the sending stream's map of TOS.
#include "treatment.h"

namespace softnp {

namespace {

constexpr u32 MODE_DOT1P = 1;
constexpr u32 MODE_DSCP = 2;
constexpr u32 NO_CLASS = 0xFF;  // none that has a queue
constexpr u32 NO_POSITION = 0xFFFF;

u8 class_of_word(u32 word) { return static_cast<u8>(word < SOFTNP_CLASSES ? word : NO_CLASS); }

u8 colour_of_word(u32 word) { return static_cast<u8>(word < SOFTNP_COLOURS ? word : 0); }

// A map entry that names no class is as good as none.
bool is_mapped(const softnp_port& settings, const FrameFields& fields)
{
    return (fields.present & FIELD_DOT1P) != 0 && (settings.valbit >> fields.dot1p & 1) != 0 &&
           settings.cosmap[fields.dot1p] < SOFTNP_CLASSES;
}

}  // namespace

Treatment treatment_by_port(const Port& port, const FrameFields& fields)
{
    const softnp_port& settings = port.settings;
    Treatment treatment{};
    treatment.stream = static_cast<u16>(settings.def_spno < NO_POSITION ? settings.def_spno : NO_POSITION);
    treatment.class_no = class_of_word(settings.def_pri);
    treatment.colour = colour_of_word(settings.def_color);
    treatment.by_tosmap = true;
    if (is_mapped(settings, fields)) treatment.class_no = class_of_word(settings.cosmap[fields.dot1p]);
    return treatment;
}

Treatment treatment_by_line(const Port& port, const ClassifyLine& line, const FrameFields& fields)
{
    Treatment treatment{line.stream_id, class_of_word(line.class_id), colour_of_word(line.colour),
                        line.mode == MODE_DSCP};
    if (line.mode == MODE_DOT1P && is_mapped(port.settings, fields))
        treatment.class_no = class_of_word(port.settings.cosmap[fields.dot1p]);
    return treatment;
}

u32 class_in_stream(const softnp_stream& stream, const Treatment& treatment, const FrameFields& fields)
{
    if (!treatment.by_tosmap || (fields.present & FIELD_TOS) == 0) return treatment.class_no;
    for (u32 class_no = 0; class_no < SOFTNP_TOS_ENTRIES; class_no++) {
        const u32 mask = stream.tos_mask[class_no];
        if ((stream.tosmap_bits >> class_no & 1) != 0 && (fields.tos & mask) == (stream.tos_value[class_no] & mask))
            return class_no;
    }
    return treatment.class_no;
}

}  // namespace softnp
