// Where values are: in which bands, and in which periods.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>

#include <mersola/mersola.h>

#include "session/statement.h"
#include "stretches.h"

using namespace mersola;

namespace {

using Periods = std::numeric_limits<std::int64_t>;

// A condition for the periods from `first` up to `end`, where a stored number can be another one.
CString Within(std::int64_t first, std::int64_t end) {
    using Stored = std::numeric_limits<std::int32_t>;
    CString condition;
    if (first > Stored::min()) condition = formatted(" AND PeriodNo>=%d", static_cast<int>(first));
    if (end <= Stored::max()) condition += formatted(" AND PeriodNo<%d", static_cast<int>(end));
    return condition;
}

}  // namespace

int Mersola::GetBands(CArray<int, int>& out) {
    return listBands(out, Periods::min(), Periods::max());
}

int Mersola::GetBands(CArray<int, int>& out, int firstPeriod, int nPeriods) {
    return listBands(out, firstPeriod, std::int64_t{firstPeriod} + nPeriods);
}

int Mersola::listBands(CArray<int, int>& out, std::int64_t first, std::int64_t end) {
    out.RemoveAll();
    if (!readable()) return 0;
    std::set<int> bands;  // put in order here: an engine might sort the values
    try {
        for (const Stretch& stretch : stretchesOf(first, end)) {
            const auto rows = storedIn(stretch, "DISTINCT FrqId");
            for (; !rows->EndOfFile(); rows->MoveNext())
                bands.insert(rows->Fields(0).Long());
        }
    } catch (const _com_error&) {
        return 0;
    }
    for (const int band : bands)
        out.Add(band);
    return 1;
}

int Mersola::GetStoredPeriods(long& first, long& last) {
    first = last = kNone;
    if (!readable()) return 0;
    // Each end by itself: an engine finds one of them at once, but both by reading all between.
    const auto findEnd = [&](const Stretch& stretch, const char* which, long& found) {
        const auto rows = storedIn(stretch, which);
        if (!atFirstRow(rows) || rows->Fields(0).IsNull()) return false;
        found = stretch.offset + rows->Fields(0).Long();
        return true;
    };
    try {
        long begin = kNone, end = kNone;
        const auto stretches = stretchesOf(Periods::min(), Periods::max());
        const auto earliest = std::ranges::find_if(stretches, [&](const Stretch& stretch) {
            return findEnd(stretch, "MIN(PeriodNo)", begin);
        });
        for (auto latest = stretches.end(); latest != earliest;) {
            if (!findEnd(*--latest, "MAX(PeriodNo)", end)) continue;
            first = begin;
            last = end;
            return 1;
        }
    } catch (const _com_error&) {
        // As where there is none.
    }
    return 0;
}

_RecordsetPtr Mersola::storedIn(const Stretch& stretch, const char* what) {
    selectReportOf(stretch);
    return dbExecute(formatted(
        "SELECT %s FROM MeasuredValues WHERE MeasValueId=%d AND Channel=%d AND FuncId=%d%s", what,
        m_MeasValueId, m_channel, m_function, Within(stretch.first, stretch.end).GetString()));
}
