// Lists of numbered lines, written once for all kinds: a line is inserted at its number, and all are renumbered.
#pragma once

#include "state.h"

#include <algorithm>

namespace softnp {

// Puts a rule before the line that has the number now; 0, or a number beyond the last, puts it at the end.
// False if the list is full.
template <class Rule, u32 Capacity>
bool insert_line(List<Rule, Capacity>& list, u32 line_no, const Rule& rule)
{
    if (list.count == Capacity) return false;
    const u32 at = line_no == 0 || line_no > list.count ? list.count : line_no - 1;
    std::copy_backward(list.line + at, list.line + list.count, list.line + list.count + 1);
    list.line[at] = {rule, 0, 0};
    list.count++;
    return true;
}

// False if the list has no such line.
template <class Rule, u32 Capacity>
bool remove_line(List<Rule, Capacity>& list, u32 line_no)
{
    if (line_no == 0 || line_no > list.count) return false;
    std::copy(list.line + line_no, list.line + list.count, list.line + line_no - 1);
    list.count--;
    return true;
}

// The list of that number among those that have lines; null if there is none.
template <class Kind, u32 Size>
Kind* find_list(Kind (&lists)[Size], u32 number)
{
    Kind* found = std::find_if(lists, lists + Size,
                               [number](const Kind& list) { return list.count != 0 && list.number == number; });
    return found == lists + Size ? nullptr : found;
}

// The same, or a free one that is to have the number; null if none is free.
template <class Kind, u32 Size>
Kind* find_or_make_list(Kind (&lists)[Size], u32 number)
{
    Kind* found = find_list(lists, number);
    if (found) return found;
    found = std::find_if(lists, lists + Size, [](const Kind& list) { return list.count == 0; });
    if (found == lists + Size) return nullptr;
    found->number = number;
    return found;
}

}  // namespace softnp
