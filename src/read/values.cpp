// Blocks and lists of measured values.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

#include <mersola/mersola.h>

#include "ado/block_reader.h"
#include "session/statement.h"
#include "stretches.h"
#include "value_rows.h"

using namespace mersola;

namespace {

constexpr int kReadFailed = -1;

// What the places of a block read as where no value is.
struct AsNumbers {
    template <class Value>
    static constexpr auto kEmpty = static_cast<Value>(kMissingValue);
    static constexpr char kMark = 'A';
    static char MarkOfNull(char stored) { return stored; }
};
struct AsNaN {
    template <class Value>
    static constexpr Value kEmpty = std::numeric_limits<Value>::quiet_NaN();
    static constexpr char kMark = kNotStored;
    // Or else it would look like a number.
    static char MarkOfNull(char) { return kMark; }
};

// The block that a caller wants filled.
template <class Number, class Missing>
struct CallersBlock {
    using Value = Number;
    static constexpr Value kEmpty = Missing::template kEmpty<Value>;

    Value* values;
    char* status;  // null when it is not asked for
    int firstPeriod;
    int nPeriods;
    int firstFrq;
    int nFrq;

    static char MarkOfNull(char stored) { return Missing::MarkOfNull(stored); }
    static bool IsEmpty(Value value) { return value == kEmpty || std::isnan(value); }

    /// The place of a period's first value, counted from the block's first period.
    std::size_t Row(std::int64_t period) const {
        return static_cast<std::size_t>(period) * static_cast<std::size_t>(nFrq);
    }
    /// The values of a period; null when it lies behind the last.
    Value* At(int periodNo) const {
        const int period = periodNo - firstPeriod;
        return period < nPeriods ? values + Row(period) : nullptr;
    }
    void Put(int periodNo, int frqId, char mark, Value value) const {
        const int period = periodNo - firstPeriod;
        if (period >= nPeriods) return;
        const std::size_t index = Row(period) + static_cast<std::size_t>(frqId - firstFrq);
        if (status) status[index] = mark;
        values[index] = value;
    }
    void FillMissing() const {
        const std::size_t size = Row(std::max(nPeriods, 0));
        std::fill_n(values, size, kEmpty);
        if (status) std::fill_n(status, size, Missing::kMark);
    }
    /// The part of the block that begins at `period`; there its periods are counted from `first`.
    CallersBlock Part(std::int64_t period, std::int64_t first, std::int64_t count) const {
        return {values + Row(period),
                status ? status + Row(period) : nullptr,
                static_cast<int>(first),
                static_cast<int>(count),
                firstFrq,
                nFrq};
    }
};

// Puts rows where they belong, each with whatever conversion it needs.
template <class Block>
void PutAny(const ado::BlockReader& rows, const Block& block) {
    using Value = typename Block::Value;
    const ado::Column& value = rows.At(kValue);
    for (std::size_t row = 0; row < rows.Rows(); ++row) {
        const char mark = rows.At(kStatus).FirstCharacter(row);
        const bool isInvalid = IsInvalid(mark);
        const bool isNull = !isInvalid && IsNull(value, row);
        block.Put(rows.At(kPeriodNo).Long(row), rows.At(kFrqId).Long(row),
                  isNull ? Block::MarkOfNull(mark) : mark,
                  isInvalid || isNull ? Block::kEmpty : static_cast<Value>(value.Double(row)));
    }
}

// Puts rows whose columns are numbers and texts, as providers that hand out many rows at a time
// have them. False when there are others. It is a function by itself, and takes a copy of the
// block, so that all of it has its place in registers.
template <class Block>
[[gnu::noinline]] bool PutPlain(const ado::BlockReader& rows, const Block block) {
    using Integers = ado::Plain<std::int64_t>;
    using Reals = ado::Plain<double>;
    using Texts = ado::Plain<std::string_view>;
    using Value = typename Block::Value;
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
    if (periodNo.IsOne() && status.IsOne()) {  // as packed blocks mostly come
        const char mark = markOf(0);
        Value* const period = block.At(ado::LongIn(periodNo[0]));
        if (!period) return true;
        char* const marks = block.status ? block.status + (period - block.values) : nullptr;
        if (marks) {
            for (std::size_t row = 0; row < count; ++row)
                marks[ado::LongIn(frqId[row]) - block.firstFrq] = mark;
        }
        if (IsInvalid(mark)) return true;
        for (std::size_t row = 0; row < count; ++row)
            period[ado::LongIn(frqId[row]) - block.firstFrq] = static_cast<Value>(value[row]);
        return true;
    }
    for (std::size_t row = 0; row < count; ++row) {
        const char mark = markOf(row);
        block.Put(ado::LongIn(periodNo[row]), ado::LongIn(frqId[row]), mark,
                  IsInvalid(mark) ? Block::kEmpty : static_cast<Value>(value[row]));
    }
    return true;
}

}  // namespace

int Mersola::GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq) {
    return GetData(values, firstPeriod, nPeriods, firstFrq, nFrq, nullptr);
}

int Mersola::GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                     char* status) {
    return readBlock(
        CallersBlock<float, AsNumbers>{values, status, firstPeriod, nPeriods, firstFrq, nFrq});
}

int Mersola::GetStoredData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                           char* status) {
    return readBlock(
        CallersBlock<float, AsNaN>{values, status, firstPeriod, nPeriods, firstFrq, nFrq});
}

int Mersola::GetStoredData(double* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                           char* status) {
    return readBlock(
        CallersBlock<double, AsNaN>{values, status, firstPeriod, nPeriods, firstFrq, nFrq});
}

int Mersola::_GetData(float* values, int firstPeriod, int nPeriods, int firstFrq, int nFrq,
                      char* status) {
    if (!m_connection) return 0;
    if (nFrq < 1) return kReadFailed;
    return readMember(
        CallersBlock<float, AsNumbers>{values, status, firstPeriod, nPeriods, firstFrq, nFrq});
}

// Reads from the selected measurement, or from all members of the chain.
template <class Block>
int Mersola::readBlock(const Block& block) {
    if (!readable() || block.nFrq < 1) return 0;
    if (!continuous()) return readMember(block);
    block.FillMissing();
    const std::int64_t end = std::int64_t{block.firstPeriod} + block.nPeriods;
    for (const Stretch& stretch : stretchesOf(block.firstPeriod, end)) {
        try {
            selectReportOf(stretch);
        } catch (const _com_error&) {
            return kReadFailed;
        }
        const int result = readMember(block.Part(stretch.offset + stretch.first - block.firstPeriod,
                                                 stretch.first, stretch.end - stretch.first));
        if (result < 0) return result;
    }
    return block.nPeriods;
}

template <class Block>
int Mersola::readMember(const Block& block) {
    block.FillMissing();
    const auto endPeriod = identifier(long{block.firstPeriod} + block.nPeriods);
    const auto endFrq = identifier(long{block.firstFrq} + block.nFrq);
    if (!endPeriod || !endFrq) return kReadFailed;
    try {
        auto blocks = readStatement(
            m_connection, valuesBetween(m_MeasValueId, m_channel, m_function, block.firstPeriod,
                                        *endPeriod, block.firstFrq, *endFrq));
        blocks.Position(kStatus);
        while (blocks.Next()) {
            if (!PutPlain(blocks, block)) PutAny(blocks, block);
        }
        // Where nothing is any more in the period that is remembered as the first one, it is to be
        // asked for anew.
        const std::int64_t at = std::int64_t{m_firstPrd} - block.firstPeriod;
        if (m_MeasValueId == m_firstPrdMeasValueId && at >= 0 && at < block.nPeriods &&
            std::all_of(block.values + block.Row(at), block.values + block.Row(at + 1),
                        Block::IsEmpty))
            m_firstPrdValid = false;
        return block.nPeriods;
    } catch (const _com_error&) {
        return kReadFailed;
    }
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
                data.Value =
                    IsInvalid(mark) || IsNull(value, row) ? kMissingValue : value.Double(row);
                out.AddTail(data);
            }
        }
    } catch (const _com_error&) {
        // What was read before stays in the list.
    }
    return appended;
}
