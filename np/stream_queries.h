// Asking the NP about streams. Sent once; unlike the MAC commands' these are freed on every path.
#pragma once

#include "np/frame.h"

namespace zelfdb {

// What came of a question. call_result is vf_call's own value, 0 when only the NP's verdict was a refusal.
struct QueryResult {
    bool answered;
    int call_result;
};

// Two words, then a pair for each class 0..7.
QueryResult get_stream_info_from_NP(const Descriptor& d, u32 streamno, u32 (&answer)[18]);

// read: whether the reader could make sense of the answer.
QueryResult get_stream_busy_info_from_NP(const Descriptor& d, u32 streamno, u32 (&answer)[3], bool& read);

}  // namespace zelfdb
