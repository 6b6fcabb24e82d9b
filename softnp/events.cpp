// The bounded queue of learn events, first in, first out, one for all readers.
#include "events.h"
#include "device.h"

namespace softnp {

bool raise_event(State& state, const softnp_event& event)
{
    EventQueue& queue = state.events;
    if (queue.count == SOFTNP_EVENTS) {
        state.counters.events_lost++;
        return false;
    }
    queue.event[(queue.first + queue.count) % SOFTNP_EVENTS] = event;
    queue.count++;
    state.counters.events_raised++;
    return true;
}

}  // namespace softnp

using namespace softnp;

int softnp_next_event(softnp_event* event)
{
    if (!event) return -1;
    const Access device;
    if (!device) return -1;
    EventQueue& queue = device->events;
    if (queue.count == 0) return 0;
    *event = queue.event[queue.first];
    queue.first = (queue.first + 1) % SOFTNP_EVENTS;
    queue.count--;
    return 1;
}

int softnp_clear_events(void)
{
    const Access device;
    if (!device) return -1;
    device->events.count = 0;
    return 0;
}
