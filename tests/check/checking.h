// Looking for one finding among those of a check.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "check/check.h"
#include "core/furnished.h"
#include "core/segments.h"

namespace zelfdb {

inline std::string listed(const Report& report)
{
    std::string all;
    for (const Finding& finding : report.findings) all += "\n  " + text_of(finding);
    return all.empty() ? "\n  nothing" : all;
}

inline bool has(const Report& report, const Finding& wanted)
{
    return std::any_of(report.findings.begin(), report.findings.end(), [&](const Finding& finding) {
        Finding without_rule = finding;
        without_rule.rule = wanted.rule;
        return without_rule == wanted;
    });
}

inline std::string hex(Offset offset)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", offset.value);
    return offset == none ? "none" : text;
}

// Where a word lies, as a finding says it.
inline void place(const Descriptor& d, const void* word, Finding& finding)
{
    const auto* const byte = static_cast<const u8*>(word);
    const auto* const main = static_cast<const u8*>(d.main_segment);
    const Header& header = header_of(d);
    const bool in_main = byte >= main && byte < main + layout_of(header.nport, header.nvlan, header.nfil).end;
    finding.segment = in_main ? Segment::main : Segment::fdb;
    finding.offset = static_cast<u32>(byte - (in_main ? main : static_cast<const u8*>(d.fdb_segment)));
}

}  // namespace zelfdb
