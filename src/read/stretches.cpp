// In which reports the periods are that are asked for.
#include "stretches.h"

#include <algorithm>

using namespace mersola;

// All of them in the selected report, in the continuous view those that members of the chain have.
std::vector<Mersola::Stretch> Mersola::stretchesOf(std::int64_t first, std::int64_t end) const {
    if (!continuous()) return {{m_MeasId, 0, first, end}};
    std::vector<Stretch> stretches;
    if (m_contReportIndex == kNone) return stretches;
    for (const MeasurementInfo& member : m_contMeasurements) {
        // Where members overlap, the earlier one wins: `first` is already behind it.
        const ReportInfo& report = member.reports[m_contReportIndex];
        const std::int64_t offset = report.periodOffset;
        const std::int64_t begin = std::max(first, offset);
        const std::int64_t stop = std::min(end, offset + report.noOfPeriods);
        if (begin >= stop) continue;
        stretches.push_back({member.MeasId, offset, begin - offset, stop - offset});
        first = stop;
    }
    return stretches;
}

// Raises _com_error. A report without a key has no values.
void Mersola::selectReportOf(const Stretch& stretch) {
    if (!continuous()) return;
    m_contMeasId = stretch.measId;
    selectReport(m_ReportId);
}
