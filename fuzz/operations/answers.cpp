// Stands before the benchmarks' network processor, which accepts every command: only its figures are others.
#include "answers.h"

#include <algorithm>

#include "zelfdb/vf.h"

fuzz::Answers fuzz::answers;

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
void __wrap_vf_rd_findFDB(vf_cmd*, uint32_t out[6])
{
    const fuzz::PlainAnswer& answer = fuzz::answers.find;
    const uint32_t words[6] = {answer.status, answer.last_hit_ms, 0, answer.tick_ms, 0, 0};
    std::copy_n(words, 6, out);
}

int __wrap_vf_rd_get_stream_info(vf_cmd*, uint32_t out[18])
{
    std::copy(fuzz::answers.stream.begin(), fuzz::answers.stream.end(), out);
    return 0;
}

int __wrap_vf_rd_get_stream_busy_info(vf_cmd*, uint32_t out[3])
{
    std::copy(fuzz::answers.busy.begin(), fuzz::answers.busy.end(), out);
    return 0;
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"
