// Blocks and lists of measured values.
#include <algorithm>
#include <cstdint>

#include <mersola/mersola.h>

#include "session/statement.h"
#include "stretches.h"

using namespace mersola;

namespace {

constexpr auto kMissing = static_cast<float>(kMissingValue);
constexpr int kReadFailed = -1;

// The columns of MeasuredValues by position. Each row is only one value, so a search for names
// would cost too much.
enum Column { kPeriodNo = 1, kFrqId = 4, kValue = 5, kStatus = 6 };

bool IsInvalid(char status) {
    return status == 'A';
}

double ValueIn(const AdoField& field) {
    const double value = field.Double();
    return value == 0 && field.IsNull() ? kMissing : value;  // a null reads as 0
}

void FillMissing(float* values, int nPeriods, int nFrq, char* status) {
    const auto size =
        static_cast<std::size_t>(std::max(nPeriods, 0)) * static_cast<std::size_t>(nFrq);
    std::fill_n(values, size, kMissing);
    if (status) std::fill_n(status, size, 'A');
}

}  // namespace

int Mersola::GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq) {
    return GetData(values, firstPeriod, nPeriods, firstFrq, nFrq, nullptr);
}

int Mersola::GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                     char* status) {
    if (!readable() || nFrq < 1) return 0;
    if (!continuous()) return _GetData(values, firstPeriod, nPeriods, firstFrq, nFrq, status);
    FillMissing(values, nPeriods, nFrq, status);
    const std::int64_t end = std::int64_t{firstPeriod} + nPeriods;
    for (const Stretch& stretch : stretchesOf(firstPeriod, end)) {
        try {
            selectReportOf(stretch);
        } catch (const _com_error&) {
            return kReadFailed;
        }
        const auto at = static_cast<std::size_t>(stretch.offset + stretch.first - firstPeriod) *
                        static_cast<std::size_t>(nFrq);
        const int result = _GetData(values + at, static_cast<int>(stretch.first),
                                    static_cast<int>(stretch.end - stretch.first), firstFrq, nFrq,
                                    status ? status + at : nullptr);
        if (result < 0) return result;
    }
    return nPeriods;
}

int Mersola::_GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                      char* status) {
    if (!m_connection) return 0;
    if (nFrq < 1) return kReadFailed;
    FillMissing(values, nPeriods, nFrq, status);
    const auto endPeriod = identifier(long{firstPeriod} + nPeriods);
    const auto endFrq = identifier(long{firstFrq} + nFrq);
    if (!endPeriod || !endFrq) return kReadFailed;
    try {
        const auto rows = dbExecute(formatted(
            "SELECT * FROM MeasuredValues where MeasValueId=%d and Channel=%d and FuncId=%d and "
            "PeriodNo>=%d "
            "and PeriodNo<%d and FrqId>=%d and FrqId<%d ORDER BY PeriodNo,FrqId",
            m_MeasValueId, m_channel, m_function, firstPeriod, *endPeriod, firstFrq, *endFrq));
        const AdoField periodNo = rows->Fields(kPeriodNo);
        const AdoField frqId = rows->Fields(kFrqId);
        const AdoField value = rows->Fields(kValue);
        const AdoField rowStatus = rows->Fields(kStatus);
        for (; !rows->EndOfFile(); rows->MoveNext()) {
            const int period = periodNo.Long() - firstPeriod;
            if (period >= nPeriods) continue;
            const auto index = static_cast<std::size_t>(period) * static_cast<std::size_t>(nFrq) +
                               static_cast<std::size_t>(frqId.Long() - firstFrq);
            const char mark = rowStatus.FirstCharacter();
            if (status) status[index] = mark;
            values[index] = IsInvalid(mark) ? kMissing : static_cast<float>(ValueIn(value));
        }
        return nPeriods;
    } catch (const _com_error&) {
        return kReadFailed;
    }
}

int Mersola::GetAllDataByPeriod(int firstPeriod, int nPeriods, CList<funcData, funcData&>& out) {
    int appended = 0;
    const auto endPeriod = identifier(long{firstPeriod} + nPeriods);
    if (!endPeriod) return 0;
    try {
        const auto rows = dbExecute(formatted(
            "SELECT * FROM MeasuredValues where MeasValueId=%d and Channel=%d and PeriodNo>=%d and "
            "PeriodNo<%d ORDER BY PeriodNo,FrqId",
            m_MeasValueId, m_channel, firstPeriod, *endPeriod));
        if (!rows) return 0;
        const AdoField funcId = rows->Fields("FuncId");
        const AdoField periodNo = rows->Fields("PeriodNo");
        const AdoField frqId = rows->Fields("FrqId");
        const AdoField value = rows->Fields("Value");
        const AdoField status = rows->Fields("Status");
        for (; !rows->EndOfFile(); rows->MoveNext(), ++appended) {
            funcData data;
            data.FuncId = funcId.Long();
            data.PeriodNo = periodNo.Long();
            data.FrqId = frqId.Long();
            data.Value = IsInvalid(status.FirstCharacter()) ? kMissing : ValueIn(value);
            out.AddTail(data);
        }
    } catch (const _com_error&) {
        // What was read before stays in the list.
    }
    return appended;
}
