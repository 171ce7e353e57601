// Blocks and lists of measured values.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include <mersola/mersola.h>

#include "ado/block_reader.h"
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

double ValueIn(const ado::Column& column, std::size_t row) {
    const double value = column.Double(row);
    return value == 0 && column.IsNull(row) ? kMissing : value;  // a null reads as 0
}

// The block that GetData fills.
struct CallersBlock {
    float* values;
    char* status;  // null when it is not asked for
    int firstPeriod;
    int nPeriods;
    int firstFrq;
    int nFrq;

    /// The values of a period; null when it lies behind the last.
    float* At(int periodNo) const {
        const int period = periodNo - firstPeriod;
        return period < nPeriods
                   ? values + static_cast<std::size_t>(period) * static_cast<std::size_t>(nFrq)
                   : nullptr;
    }
    void Put(int periodNo, int frqId, char mark, float value) const {
        const int period = periodNo - firstPeriod;
        if (period >= nPeriods) return;
        const auto index = static_cast<std::size_t>(period) * static_cast<std::size_t>(nFrq) +
                           static_cast<std::size_t>(frqId - firstFrq);
        if (status) status[index] = mark;
        values[index] = value;
    }
};

// Puts rows where they belong, each with whatever conversion it needs.
void PutAny(const ado::BlockReader& rows, const CallersBlock& block) {
    const ado::Column& value = rows.At(kValue);
    for (std::size_t row = 0; row < rows.Rows(); ++row) {
        const char mark = rows.At(kStatus).FirstCharacter(row);
        block.Put(rows.At(kPeriodNo).Long(row), rows.At(kFrqId).Long(row), mark,
                  IsInvalid(mark) ? kMissing : static_cast<float>(ValueIn(value, row)));
    }
}

// Puts rows whose columns are numbers and texts, as providers that hand out many rows at a time
// have them. False when there are others. It is a function by itself, and takes a copy of the
// block, so that all of it has its place in registers.
[[gnu::noinline]] bool PutPlain(const ado::BlockReader& rows, const CallersBlock block) {
    using Integers = ado::Plain<std::int64_t>;
    using Reals = ado::Plain<double>;
    using Texts = ado::Plain<std::string_view>;
    if (!Integers::Is(rows.At(kPeriodNo)) || !Integers::Is(rows.At(kFrqId)) ||
        !Reals::Is(rows.At(kValue)) || !Texts::Is(rows.At(kStatus)))
        return false;
    const Integers periodNo(rows.At(kPeriodNo)), frqId(rows.At(kFrqId));
    const Reals value(rows.At(kValue));
    const Texts status(rows.At(kStatus));
    const std::size_t count = rows.Rows();
    const auto markOf = [&](std::size_t row) {
        return status[row].empty() ? '\0' : status[row].front();
    };
    if (!block.status && periodNo.IsOne() && status.IsOne()) {  // as packed blocks mostly come
        const char mark = markOf(0);
        if (IsInvalid(mark)) return true;
        float* const period = block.At(ado::LongIn(periodNo[0]));
        if (!period) return true;
        for (std::size_t row = 0; row < count; ++row)
            period[ado::LongIn(frqId[row]) - block.firstFrq] = static_cast<float>(value[row]);
        return true;
    }
    for (std::size_t row = 0; row < count; ++row) {
        const char mark = markOf(row);
        block.Put(ado::LongIn(periodNo[row]), ado::LongIn(frqId[row]), mark,
                  IsInvalid(mark) ? kMissing : static_cast<float>(value[row]));
    }
    return true;
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
        auto blocks = readStatement(
            m_connection,
            formatted("SELECT * FROM MeasuredValues where MeasValueId=%d and Channel=%d and "
                      "FuncId=%d and "
                      "PeriodNo>=%d "
                      "and PeriodNo<%d and FrqId>=%d and FrqId<%d ORDER BY PeriodNo,FrqId",
                      m_MeasValueId, m_channel, m_function, firstPeriod, *endPeriod, firstFrq,
                      *endFrq));
        blocks.Position(kStatus);
        const CallersBlock block{values, status, firstPeriod, nPeriods, firstFrq, nFrq};
        while (blocks.Next()) {
            if (blocks.Rows() == 1 || !PutPlain(blocks, block)) PutAny(blocks, block);
        }
        noticeMissing(values, firstPeriod, nPeriods, nFrq);
        return nPeriods;
    } catch (const _com_error&) {
        return kReadFailed;
    }
}

// Where nothing is any more in the period that is remembered as the first one, it is to be asked
// for anew.
void Mersola::noticeMissing(const float* values, int firstPeriod, int nPeriods, int nFrq) {
    const std::int64_t at = std::int64_t{m_firstPrd} - firstPeriod;
    if (m_MeasValueId != m_firstPrdMeasValueId || at < 0 || at >= nPeriods) return;
    const float* const period =
        values + static_cast<std::size_t>(at) * static_cast<std::size_t>(nFrq);
    if (std::all_of(period, period + nFrq, [](float value) { return value == kMissing; }))
        m_firstPrdValid = false;
}

int Mersola::GetAllDataByPeriod(int firstPeriod, int nPeriods, CList<funcData, funcData&>& out) {
    int appended = 0;
    const auto endPeriod = identifier(long{firstPeriod} + nPeriods);
    if (!endPeriod) return 0;
    try {
        if (!m_connection) return 0;
        auto blocks = readStatement(
            m_connection,
            formatted("SELECT * FROM MeasuredValues where MeasValueId=%d and Channel=%d and "
                      "PeriodNo>=%d and "
                      "PeriodNo<%d ORDER BY PeriodNo,FrqId",
                      m_MeasValueId, m_channel, firstPeriod, *endPeriod));
        const int funcIdAt = blocks.Position("FuncId");
        const int periodNoAt = blocks.Position("PeriodNo");
        const int frqIdAt = blocks.Position("FrqId");
        const int valueAt = blocks.Position("Value");
        const int statusAt = blocks.Position("Status");
        while (blocks.Next()) {
            const ado::Column value = blocks.At(valueAt);
            for (std::size_t row = 0; row < blocks.Rows(); ++row, ++appended) {
                funcData data;
                data.FuncId = blocks.At(funcIdAt).Long(row);
                data.PeriodNo = blocks.At(periodNoAt).Long(row);
                data.FrqId = blocks.At(frqIdAt).Long(row);
                const char mark = blocks.At(statusAt).FirstCharacter(row);
                data.Value = IsInvalid(mark) ? kMissing : ValueIn(value, row);
                out.AddTail(data);
            }
        }
    } catch (const _com_error&) {
        // What was read before stays in the list.
    }
    return appended;
}
