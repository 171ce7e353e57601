// The walk through the measurements that have periods of the continuous view.
#pragma once

#include <algorithm>
#include <cstdint>

#include <mersola/mersola.h>

template <class Read>
bool Mersola::forEachStretch(std::int64_t first, std::int64_t end, Read read) {
    if (!continuous()) return read(std::int64_t{0}, first, end);
    if (m_contReportIndex == mersola::kNone) return true;
    std::int64_t current = first;
    for (const MeasurementInfo& member : m_contMeasurements) {
        // Where members overlap, the earlier one wins: `current` is already behind it.
        const ReportInfo& report = member.reports[m_contReportIndex];
        const std::int64_t offset = report.periodOffset;
        const std::int64_t begin = std::max(current, offset);
        const std::int64_t stop = std::min(end, offset + report.noOfPeriods);
        if (begin >= stop) continue;
        m_contMeasId = member.MeasId;
        selectReport(m_ReportId);  // a member without a key has no values
        if (!read(offset, begin - offset, stop - offset)) return false;
        current = stop;
    }
    return true;
}
