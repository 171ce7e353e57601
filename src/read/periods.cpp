// How many periods a report has, where they begin, and the percentiles of its measurement.
#include <charconv>

#include <mersola/mersola.h>

#include "session/probes.h"
#include "session/statement.h"

using namespace mersola;

int Mersola::Get_nPrds(long& n) {
    n = 0;
    if (!readable()) return 0;
    try {
        if (continuous()) {
            n = recalculateContPeriods();
            return 1;
        }
        const auto rows = dbExecute(formatted(
            "SELECT noOfPeriods from Reports WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
            m_GroupId, m_MeasId, m_ReportId));
        if (atFirstRow(rows)) n = m_noOfPeriods = rows->Fields("noOfPeriods").Long();
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::GetFirstPeriod(long& first) {
    return GetFirstPeriod(first, m_MeasValueId, m_connection);
}

int Mersola::GetFirstPeriod(long& first, long measValueId, const _ConnectionPtr& connection) {
    first = kNone;
    const auto id = identifier(measValueId);
    if (!id) return 0;
    if (m_firstPrdValid && *id == m_firstPrdMeasValueId) {
        first = m_firstPrd;
        return 1;
    }
    m_firstPrdValid = false;
    try {
        auto rows = dbExecute(connection, kPeriodsProbe);
        rows = dbExecute(
            connection,
            formatted("SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d", *id));
        if (!atFirstRow(rows) || rows->Fields(0).IsNull()) return 0;
        first = m_firstPrd = rows->Fields(0).Long();
        m_firstPrdMeasValueId = *id;
        m_firstPrdValid = true;
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::GetFirstPeriod(long& first, long groupId, long measId, long reportId, long /*extra*/,
                            const _ConnectionPtr& connection) {
    first = kNone;
    const auto group = identifier(groupId);
    const auto measurement = identifier(measId);
    const auto report = identifier(reportId);
    if (!group || !measurement || !report) return 0;
    try {
        const auto rows = dbExecute(
            connection,
            formatted(
                "SELECT MinPeriod FROM Reports WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
                *group, *measurement, *report));
        if (!atFirstRow(rows) || rows->Fields("MinPeriod").IsNull()) return 0;
        first = rows->Fields("MinPeriod").Long();
        if (*group == m_GroupId && *measurement == m_MeasId && *report == m_ReportId)
            noticeLowestPeriod(m_MeasValueId, static_cast<std::int32_t>(first));
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::GetStartOfFirstPeriod(CTimeEx& t) {
    long first = kNone;
    if (!GetFirstPeriod(first)) return 0;
    std::int64_t offset = 0;
    if (__builtin_mul_overflow(m_prdLength.GetTotalMilliseconds(), std::int64_t{first}, &offset))
        return 0;
    const CTimeEx start = m_StartAt + CTimeSpanEx(offset);
    if (!start.IsValid()) return 0;
    t = start;
    return 1;
}

int Mersola::GetPercentiles(CArray<float, float>& out) {
    return _GetPercentiles(out, kSelected, m_connection) ? 1 : 0;
}

bool Mersola::_GetPercentiles(CArray<float, float>& out, int measId,
                              const _ConnectionPtr& connection) {
    out.RemoveAll();
    if (measId == kSelected) measId = m_MeasId;
    if (measId == m_percentilesMeasId && m_GroupId == m_percentilesGroupId) {
        out = m_percentiles;
        return true;
    }
    m_percentilesMeasId = m_percentilesGroupId = kNone;
    try {
        const auto rows = dbExecute(
            connection,
            formatted("SELECT Percentiles FROM Measurements where MeasId=%d and GroupId=%d", measId,
                      m_GroupId));
        if (!atFirstRow(rows)) return false;
        ListText items;
        if (!items.Parse(rows->Fields("Percentiles").Text())) return false;
        CArray<float, float> percentiles;
        for (const CString& item : items) {
            float percentile = 0;
            const char* const end = item.GetString() + item.GetLength();
            const auto parsed = std::from_chars(item.GetString(), end, percentile);
            if (parsed.ec != std::errc() || parsed.ptr != end) return false;
            percentiles.Add(percentile);
        }
        out = m_percentiles = percentiles;
        m_percentilesMeasId = measId;
        m_percentilesGroupId = m_GroupId;
        return true;
    } catch (const _com_error&) {
        return false;
    }
}
