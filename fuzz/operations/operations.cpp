// Any sequence of the exported operations, with any arguments, beside a plain model of the database: each result and detail
// code, everything that the readers tell, and no error in the check.
#include <cstring>

#include "answers.h"
#include "calls.h"
#include "compare.h"
#include "site.h"

namespace {

using namespace fuzz;

// Few of everything, so that it runs out.
constexpr zelfdb_counts counts{9, 5, 20};
constexpr u32 calls_max = 300;
constexpr u32 start_s = 100000;

// A look at everything takes as long as many calls, and much longer where all is instrumented. What is found there is found
// behind the call that did it when it is replayed in another build.
#if !defined(FUZZ_REPLAY)
constexpr u32 calls_between_looks = 64;
#elif defined(__SANITIZE_ADDRESS__)
constexpr u32 calls_between_looks = 16;
#else
constexpr u32 calls_between_looks = 1;
#endif

void look(const Site& site, Calls& calls, u32 page, const char* after)
{
    site.expect_sound(after);
    compare(site.descriptor(), calls.plain, page, calls.now_s);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    static Site site(counts);
    site.restore();
    set_time_s(start_s);
    answers = {};
    Calls calls{site.descriptor(), Plain(counts), start_s};
    Input input(data, size);
    const u32 page = 1 + input.below(4);
    const char* last = "nothing";
    for (u32 i = 1; i <= calls_max && !input.has_ended(); ++i) {
        last = make_call(calls, input);
        if (i % calls_between_looks == 0) look(site, calls, page, last);
    }
    look(site, calls, page, last);
    return 0;
}
