// Where values are: in which bands, and in which periods.
#include <cstdint>
#include <limits>
#include <set>

#include <mersola/mersola.h>

#include "session/statement.h"
#include "stretches.h"

using namespace mersola;

namespace {

using Periods = std::numeric_limits<std::int64_t>;

// The periods from `first` up to `end`, as far as a number of a period can be outside of them.
CString Within(std::int64_t first, std::int64_t end) {
    using Stored = std::numeric_limits<std::int32_t>;
    CString condition;
    if (first > Stored::min()) condition = formatted(" AND PeriodNo>=%d", static_cast<int>(first));
    if (end <= Stored::max()) condition += formatted(" AND PeriodNo<%d", static_cast<int>(end));
    return condition;
}

CString ValuesOf(int measValueId, int channel, int function, const CString& periods) {
    return formatted("FROM MeasuredValues WHERE MeasValueId=%d AND Channel=%d AND FuncId=%d%s",
                     measValueId, channel, function, periods.GetString());
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
    std::set<int> bands;  // in order here: the engine would walk the values band by band
    try {
        forEachStretch(first, end, [&](std::int64_t, std::int64_t from, std::int64_t to) {
            const auto rows = dbExecute(formatted(
                "SELECT DISTINCT FrqId %s",
                ValuesOf(m_MeasValueId, m_channel, m_function, Within(from, to)).GetString()));
            for (; !rows->EndOfFile(); rows->MoveNext())
                bands.insert(rows->Fields(0).Long());
            return true;
        });
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
    bool isStored = false;
    try {
        forEachStretch(Periods::min(), Periods::max(),
                       [&](std::int64_t offset, std::int64_t from, std::int64_t to) {
                           // Each by itself: an engine finds either end at once, but both together
                           // by reading all.
                           const CString values =
                               ValuesOf(m_MeasValueId, m_channel, m_function, Within(from, to));
                           const auto rows = dbExecute(formatted(
                               "SELECT (SELECT MIN(PeriodNo) %s),(SELECT MAX(PeriodNo) %s)",
                               values.GetString(), values.GetString()));
                           if (!atFirstRow(rows) || rows->Fields(0).IsNull()) return true;
                           if (!isStored) first = offset + rows->Fields(0).Long();
                           last = offset + rows->Fields(1).Long();
                           isStored = true;
                           return true;
                       });
        return isStored ? 1 : 0;
    } catch (const _com_error&) {
        first = last = kNone;
        return 0;
    }
}
