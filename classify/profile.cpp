// Classify profiles: numbered lists of lines, and their binding to memberships.
#include <algorithm>

#include "core/call.h"
#include "core/order.h"
#include "np/classify_commands.h"

namespace zelfdb {
namespace {

constexpr u32 lines_max = 256;
constexpr u32 all_lines = 0;

Classify* find_profile(const Call& call, u32 profile)
{
    return known_classify(call.base(), call.header(), profile & 0xFFFF);
}

// The membership of a port in a VLAN, or why there is none.
u32 find_membership(const Call& call, u32 port_id, u32 vid, Pv*& pv)
{
    const Port* const port = call.port(port_id);
    if (!port) return ZELFDB_NO_PORT;
    const Vlan* const vlan = call.vlan(vid);
    if (!vlan) return ZELFDB_NO_VLAN;
    pv = lookup_pv_by_port_in_a_vlan(call.base(), call.header(), *vlan, *port);
    return pv ? ZELFDB_DONE : ZELFDB_NOT_MEMBER;
}

}  // namespace
}  // namespace zelfdb

// An empty profile exists only in the database: neither its creation nor its deletion is sent to the NP.
int zelfdb_create_classify_profile(uint32_t profile, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    const u16 number = static_cast<u16>(profile & 0xFFFF);

    // 0 stands for all profiles and is never free to be made.
    if (number == 0 || find_profile(call, number)) return call.fail(ZELFDB_CLASSIFY_EXISTS);
    Classify* const classify = alloc_classify(call.base(), call.header());
    if (!classify) return call.fail(ZELFDB_CLASSIFY_POOL_EMPTY);

    classify->ID = number;
    classify->pv_head = none;
    classify->action_head = none;
    enQ_classify(call.base(), call.header(), *classify);
    index_classify(call.base(), call.header(), *classify);
    return 0;
}

int zelfdb_delete_classify_profile(uint32_t profile, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Classify* const classify = find_profile(call, profile);
    if (!classify) return call.fail(ZELFDB_NO_CLASSIFY);
    if (classify->pv_head != none) return call.fail(ZELFDB_CLASSIFY_BOUND);
    if (classify->action_head != none) return call.fail(ZELFDB_CLASSIFY_HAS_LINES);

    deQ_classify(call.base(), call.header(), *classify);
    free_classify(call.base(), call.header(), classify);
    unindex_classify(call.header(), *classify);
    return 0;
}

int zelfdb_add_classify_profile_to_pv(uint32_t profile, uint32_t port_id, uint32_t vid, const uint32_t* words,
                                      uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Pv* pv = nullptr;
    if (const u32 code = find_membership(call, port_id, vid, pv)) return call.fail(code);
    if (pv->classify != 0) return call.fail(ZELFDB_PV_HAS_CLASSIFY);
    Classify* const classify = find_profile(call, profile);
    if (!classify) return call.fail(ZELFDB_NO_CLASSIFY);

    pv->classify = classify->ID;
    std::copy_n(words, std::size(pv->classify_words), pv->classify_words);
    enQ_pv_in_classify(call.base(), call.header(), *classify, *pv);
    add_classify_prof_to_NP(call.descriptor(), classify->ID, port_id, vid & 0xFFFF, words);
    return 0;
}

int zelfdb_rem_classify_profile_from_pv(uint32_t port_id, uint32_t vid, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Pv* pv = nullptr;
    if (const u32 code = find_membership(call, port_id, vid, pv)) return call.fail(code);
    if (pv->classify == 0) return call.fail(ZELFDB_PV_NO_CLASSIFY);

    // The NP goes first here, on purpose: no frame is matched by a binding that the database no longer has.
    rem_classify_prof_to_NP(call.descriptor(), port_id, vid & 0xFFFF);
    if (Classify* const classify = find_profile(call, pv->classify)) {
        deQ_pv_in_classify(call.base(), call.header(), *classify, *pv);
    }
    pv->classify = 0;
    std::fill(std::begin(pv->classify_words), std::end(pv->classify_words), 0);
    return 0;
}

int zelfdb_add_classify_action_to_profile(uint32_t profile, uint32_t line_no, const zelfdb_classify_line* line,
                                          uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Classify* const classify = find_profile(call, profile);
    if (!classify) return call.fail(ZELFDB_NO_CLASSIFY);
    if (classify->naction >= lines_max) return call.fail(ZELFDB_CLASSIFY_FULL);
    Action* const action = alloc_action(call.base(), call.header());
    if (!action) return call.fail(ZELFDB_CLASSIFY_FULL);

    static_assert(sizeof *line == sizeof action->line);
    std::memcpy(&action->line, line, sizeof action->line);
    action->position = line_no;
    enQ_action(call.base(), call.header(), *classify, *action);
    // The NP is told the number as it was asked for, and inserts and renumbers as the database does.
    add_classify_act_to_NP(call.descriptor(), classify->ID, line_no, line);
    return 0;
}

int zelfdb_rem_classify_action_from_profile(uint32_t profile, uint32_t line_no, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Classify* const classify = find_profile(call, profile);
    if (!classify) return call.fail(ZELFDB_NO_CLASSIFY);
    Action* const action = lookup_action(call.base(), call.header(), *classify, line_no);
    if (!action) return call.fail(ZELFDB_NO_LINE);

    deQ_action(call.base(), call.header(), *classify, *action);
    free_action(call.base(), call.header(), action);
    rem_classify_act_to_NP(call.descriptor(), classify->ID, line_no);
    return 0;
}

int zelfdb_rem_classify_all_from_profile(uint32_t profile, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Classify* const classify = find_profile(call, profile);
    if (!classify) return call.fail(ZELFDB_NO_CLASSIFY);

    // Off the profile first: a process that dies among them must not leave a list that leads on through free records, where
    // the next to add a line would go round for ever.
    const auto lines = actions_of(call.base(), *classify);
    classify->action_head = none;
    classify->naction = 0;
    keep_order();
    for (Action& action : lines) {
        action.position = 1;  // what each is when all before it are gone
        free_action(call.base(), call.header(), &action);
    }
    // Sent for an empty profile too, deliberately: it puts an NP right that has lines which the database has not.
    rem_classify_act_to_NP(call.descriptor(), classify->ID, all_lines);
    return 0;
}
