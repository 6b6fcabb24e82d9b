// Refusals on order: tests say which command of a kind is to fail, and how.
#include "script.h"
#include "device.h"

#include <algorithm>
#include <cstring>

namespace softnp {

namespace {

bool meets(const Refusal& order, Kind kind) { return order.kind == ANY_KIND || order.kind == static_cast<u32>(kind); }

void drop_used(Refusals& refusals, u32 index)
{
    std::copy(refusals.order + index + 1, refusals.order + refusals.count, refusals.order + index);
    refusals.count--;
}

bool is_valid(int how, i32 value)
{
    switch (how) {
    case SOFTNP_REFUSE_DELIVERY: return true;
    case SOFTNP_REFUSE_STATUS:
    case SOFTNP_REFUSE_ANSWER: return value >= 0 && value <= INT16_MAX;
    case SOFTNP_ANSWER_LATE: return value >= 0 && value <= SOFTNP_MAX_DELAY_MS;
    default: return false;
    }
}

// A value of 0 would be no failure.
i32 value_or_default(int how, i32 value)
{
    if (value != 0 || how == SOFTNP_ANSWER_LATE) return value;
    return how == SOFTNP_REFUSE_DELIVERY ? -1 : SOFTNP_ERR_SCRIPTED;
}

}  // namespace

Ruling ruling_for(State& state, Kind kind)
{
    Ruling ruling{0, 0};
    u32 index = 0;
    while (index < state.refusals.count) {
        Refusal& order = state.refusals.order[index];
        const bool met = meets(order, kind);
        if (met && order.nth <= 1 && ruling.how == 0) ruling = {order.how, order.value};
        if (met && order.nth == 1) {
            drop_used(state.refusals, index);
            continue;
        }
        if (met && order.nth > 1) order.nth--;
        index++;
    }
    return ruling;
}

}  // namespace softnp

using namespace softnp;

int softnp_refuse(const char* command, uint32_t nth, int how, int32_t value)
{
    if (!command || !is_valid(how, value)) return -1;
    const bool any = std::strcmp(command, "*") == 0;
    const u32 kind = any ? ANY_KIND : static_cast<u32>(kind_by_name(command));
    if (!any && kind == KIND_COUNT) return -1;
    const Access device;
    if (!device || device->refusals.count == SOFTNP_REFUSALS) return -1;
    device->refusals.order[device->refusals.count++] = {kind, nth, how, value_or_default(how, value)};
    return 0;
}

int softnp_clear_refusals(void)
{
    const Access device;
    if (!device) return -1;
    device->refusals.count = 0;
    device->header.refuse_init = 0;
    return 0;
}
