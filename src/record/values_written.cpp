// Writing measured values, one statement each or in batches.
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>

#include <mersola/mersola.h>

#include "ado/batch_row.h"
#include "session/statement.h"
#include "session/trace.h"

using namespace mersola;

namespace {

struct ValueRow {
    int measValueId;
    int periodNo;
    int channel;
    double value;
    const CString& status;
    int frqId;
    int funcId;
};

template <class... Format>
void AppendNumber(std::string& text, auto number, Format... format) {
    char digits[384];  // the largest double has 309 digits in front of its point
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number, format...).ptr;
    text.append(digits, static_cast<std::size_t>(end - digits));
}

// The INSERT of one value, which is stored to six decimals. It is put together without printf,
// which would take as long as all else that the library adds to the engine's work.
CString InsertOf(std::string_view into, const ValueRow& row) {
    std::string text;
    text.reserve(256);
    text += into;
    text += " (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES (";
    AppendNumber(text, row.measValueId);
    AppendNumber(text += ',', row.periodNo);
    AppendNumber(text += ',', row.channel);
    AppendNumber(text += ',', row.value, std::chars_format::fixed, 6);
    text.append(",'").append(row.status.View());
    AppendNumber(text += "',", row.frqId);
    AppendNumber(text += ',', row.funcId);
    text += ')';
    return text;
}

// Makes the value what is stored: an invalid one has no magnitude. False when it is not a number,
// which cannot be stored.
bool Storable(double& value, const CString& status) {
    if (status == "A") value = kMissingValue;
    return std::isfinite(value);
}

void AddTo(_Recordset& batch, const ValueRow& row) {
    static constexpr std::array<std::string_view, 7> kColumns{
        "MeasValueId", "PeriodNo", "Channel", "Value", "Status", "FrqId", "FuncId"};
    using ado::Cell;
    ado::AddRow(
        batch, kColumns,
        std::array{Cell::Integer(row.measValueId), Cell::Integer(row.periodNo),
                   Cell::Integer(row.channel), Cell::Real(row.value), Cell::Text(row.status.View()),
                   Cell::Integer(row.frqId), Cell::Integer(row.funcId)});
}

}  // namespace

_RecordsetPtr Mersola::PutDataStart(const _ConnectionPtr& connection) try {
    _RecordsetPtr batch = _Recordset::CreateInstance();
    if (!batch || !resolved(connection)) return nullptr;
    batch->Open("MEASUREDVALUES", resolved(connection), adOpenForwardOnly, adLockBatchOptimistic,
                adCmdUnknown);
    return batch;
} catch (const _com_error&) {
    return nullptr;
}

bool Mersola::PutDataEnd(const _RecordsetPtr& batch) try {
    if (!batch) return false;
    batch->UpdateBatch(adAffectAll);
    return true;
} catch (const _com_error&) {
    return false;
}

bool Mersola::PutDataRelative(double value, const CString& status, int period, int funcId,
                              int channel, int frqId, bool updatePeriods, long& nextPeriod,
                              bool useBatch, const _RecordsetPtr& batch) {
    return PutDataRelative(m_connection, value, status, period, funcId, channel, frqId,
                           updatePeriods, nextPeriod, useBatch, batch);
}

bool Mersola::PutDataRelative(const _ConnectionPtr& connection, double value, const CString& status,
                              int period, int funcId, int channel, int frqId, bool updatePeriods,
                              long& nextPeriod, bool useBatch, const _RecordsetPtr& batch) {
    nextPeriod = period;
    if (!resolved(connection)) return fault("***Invalid connection in PutDataRelative\n");
    if (!m_Valid || m_MeasValueId == kNone) {  // connecting anew sets m_Valid, but gives no key
        return fault("***Invalid m_Valid in PutDataRelative\n");
    }
    const auto stored = identifier(long{period} + (m_newEntry ? 0 : m_lastReportOffs));
    if (!stored || !identifier(long{period} + 1)) return false;
    Test(">>>PutDataRelative m_lastReportOffs=%d Prd=%d  _Prd=%d\n", m_lastReportOffs, period,
         *stored);
    if (!Storable(value, status)) return false;
    CString insert;
    try {
        const ValueRow row{m_MeasValueId, *stored, channel, value, status, frqId, funcId};
        if (useBatch) {
            if (!batch) return false;
            AddTo(*batch, row);
            nextPeriod = long{period} + 1;
            return true;
        }
        insert = InsertOf("INSERT INTO MEASUREDVALUES  WITH (ROWLOCK)", row);
        const bool issued = dbExecute(connection, insert) != nullptr;
        nextPeriod = long{period} + 1;
        if (issued) {
            if (updatePeriods) PutPeriodsRelative(connection, period + 1);
            return true;
        }
    } catch (const _com_error& error) {
        if (error.IsDuplicate()) return true;
    }
    return fault("***Invalid SQL in PutDataRelative %s (%d,%d) \n", insert.GetString(), period,
                 m_lastReportOffs);
}

bool Mersola::PutDataAbsolute(double value, const CString& status, const CTimeEx& time,
                              int periodOffset, int funcId, int channel, int frqId, long periodLen,
                              bool updatePeriods, long& nextPeriod, bool useBatch,
                              const _RecordsetPtr& batch) {
    return PutDataAbsolute(m_connection, value, status, time, periodOffset, funcId, channel, frqId,
                           periodLen, updatePeriods, nextPeriod, useBatch, batch);
}

bool Mersola::PutDataAbsolute(const _ConnectionPtr& connection, double value, const CString& status,
                              const CTimeEx& time, int periodOffset, int funcId, int channel,
                              int frqId, long periodLen, bool updatePeriods, long& nextPeriod,
                              bool useBatch, const _RecordsetPtr& batch) {
    nextPeriod = periodOffset;
    if (!resolved(connection) || !m_Valid || m_MeasValueId == kNone) return false;
    if (periodLen <= 0) return false;
    const CTimeEx& start = m_newEntry ? m_StartAt : m_lastMeasurement.StartAt;
    if (!time.IsValid() || !start.IsValid()) return false;
    const auto period =
        identifier((time - start).GetTotalMilliseconds() / periodLen + periodOffset);
    if (!period || !identifier(long{*period} + 1)) return false;
    nextPeriod = *period;
    if (!Storable(value, status)) return false;
    try {
        const ValueRow row{m_MeasValueId, *period, channel, value, status, frqId, funcId};
        if (useBatch) {
            if (!batch) return false;
            AddTo(*batch, row);
            nextPeriod = long{*period} + 1;
            return true;
        }
        const CString insert = InsertOf("INSERT INTO MEASUREDVALUES WITH (ROWLOCK)", row);
        const bool issued = dbExecute(connection, insert) != nullptr;
        nextPeriod = long{*period} + 1;
        if (!issued) return false;
        if (updatePeriods) PutPeriodsAbsolute(connection, *period + 1);
        return true;
    } catch (const _com_error& error) {
        return error.IsDuplicate();
    }
}
