// Readers of lists, lines and what lists are bound to. For tools, tests and audits.
#include "device.h"
#include "list_lines.h"
#include "lists.h"

#include <cstring>

using namespace softnp;

namespace {

// The list whose number is the index-th of those with lines.
template <class Kind, u32 Size>
const Kind* list_at(const Kind (&lists)[Size], u32 index)
{
    const Kind* sorted[Size];
    u32 count = 0;
    for (const Kind& list : lists)
        if (list.count != 0) sorted[count++] = &list;
    std::sort(sorted, sorted + count, [](const Kind* left, const Kind* right) { return left->number < right->number; });
    return index < count ? sorted[index] : nullptr;
}

template <class Kind, u32 Size>
int get_list(const Kind (&lists)[Size], u32 index, softnp_list& out)
{
    const Kind* list = list_at(lists, index);
    if (!list) return 0;
    out = {list->number, list->count};
    return 1;
}

template <class Kind, u32 Size>
int get_line(Kind (&lists)[Size], u32 number, u32 line_no, softnp_line& out)
{
    const Kind* list = find_list(lists, number);
    if (!list || line_no == 0 || line_no > list->count) return 0;
    const auto& line = list->line[line_no - 1];
    out = {};
    out.list = number;
    out.line_no = line_no;
    out.frames = line.frames;
    out.bytes = line.bytes;
    out.size = sizeof line.rule;
    std::memcpy(out.data, &line.rule, sizeof line.rule);
    return 1;
}

bool is_kind(int kind) { return kind >= SOFTNP_CLASSIFY && kind <= SOFTNP_LOC; }

}  // namespace

int softnp_get_list(int kind, uint32_t index, softnp_list* list)
{
    if (!list) return -1;
    const Access device;
    if (!device) return -1;
    const Lists& lists = device->lists;
    switch (kind) {
    case SOFTNP_CLASSIFY: return get_list(lists.profile, index, *list);
    case SOFTNP_PREFILTER: return get_list(lists.prefilter, index, *list);
    case SOFTNP_LOC: return get_list(lists.loc, index, *list);
    default: return 0;
    }
}

int softnp_get_line(int kind, uint32_t list, uint32_t line_no, softnp_line* line)
{
    if (!line) return -1;
    const Access device;
    if (!device) return -1;
    Lists& lists = device->lists;
    switch (kind) {
    case SOFTNP_CLASSIFY: return get_line(lists.profile, list, line_no, *line);
    case SOFTNP_PREFILTER: return get_line(lists.prefilter, list, line_no, *line);
    case SOFTNP_LOC: return get_line(lists.loc, list, line_no, *line);
    default: return 0;
    }
}

int softnp_get_list_binding(int kind, uint32_t VID, uint32_t np_port, softnp_list_binding* binding)
{
    if (!binding) return -1;
    const Access device;
    if (!device) return -1;
    if (!is_kind(kind)) return 0;
    const softnp_list_binding* found = find_list_binding(*device, static_cast<softnp_list_kind>(kind), VID, np_port);
    if (!found) return 0;
    *binding = *found;
    return 1;
}
