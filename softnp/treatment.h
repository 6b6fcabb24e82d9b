// The stream, class and colour that a frame is sent with. Called by the frame path.
#pragma once

#include "frame_fields.h"

namespace softnp {

struct Treatment {
    u16 stream;  // position on the egress port, counted from 0
    u8 class_no;
    u8 colour;
    bool by_tosmap;  // the TOS map of the stream may put the frame in another class
};

// As the settings of the port that received the frame have it.
Treatment treatment_by_port(const Port& port, const FrameFields& fields);

// As a classify line has it. By its mode the class is the line's own, the one that the port maps the frame's priority
// to, or the one of the stream's TOS map; where the map says nothing, it is the line's own.
Treatment treatment_by_line(const Port& port, const ClassifyLine& line, const FrameFields& fields);

// The class in that stream, by its TOS map if the treatment leaves it to that.
u32 class_in_stream(const softnp_stream& stream, const Treatment& treatment, const FrameFields& fields);

}  // namespace softnp
