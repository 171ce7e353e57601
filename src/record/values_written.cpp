// Writing measured values, one statement each or in batches.
#include <cmath>

#include <mersola/mersola.h>

#include "db_error.h"
#include "statement.h"

using namespace mersola;

namespace {

constexpr double kMissing = -100.0;

struct ValueRow {
    int measValueId;
    int periodNo;
    int channel;
    double value;
    const CString& status;
    int frqId;
    int funcId;
};

// An invalid value has no magnitude; one that is no number cannot be stored.
bool Storable(double& value, const CString& status) {
    if (status == "A") value = kMissing;
    return std::isfinite(value);
}

void AddTo(_Recordset& batch, const ValueRow& row) {
    batch.AddNew();
    batch.Fields("MeasValueId").Put(row.measValueId);
    batch.Fields("PeriodNo").Put(row.periodNo);
    batch.Fields("Channel").Put(row.channel);
    batch.Fields("Value").Put(row.value);
    batch.Fields("Status").Put(row.status.View());
    batch.Fields("FrqId").Put(row.frqId);
    batch.Fields("FuncId").Put(row.funcId);
}

}  // namespace

_RecordsetPtr Mersola::PutDataStart(const _ConnectionPtr& connection) try {
    _RecordsetPtr batch = _Recordset::CreateInstance();
    if (!batch || !resolved(connection)) return nullptr;
    batch->Open("MEASUREDVALUES", resolved(connection), adOpenForwardOnly, adLockBatchOptimistic, adCmdUnknown);
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

bool Mersola::PutDataRelative(double value, const CString& status, int period, int funcId, int channel, int frqId,
                              bool updatePeriods, long& nextPeriod, bool useBatch, const _RecordsetPtr& batch) {
    return PutDataRelative(m_connection, value, status, period, funcId, channel, frqId, updatePeriods, nextPeriod,
                           useBatch, batch);
}

bool Mersola::PutDataRelative(const _ConnectionPtr& connection, double value, const CString& status, int period,
                              int funcId, int channel, int frqId, bool updatePeriods, long& nextPeriod, bool useBatch,
                              const _RecordsetPtr& batch) {
    nextPeriod = period;
    if (!resolved(connection)) {
        Test("***Invalid connection in PutDataRelative\n");
        return false;
    }
    if (!m_Valid) {
        Test("***Invalid m_Valid in PutDataRelative\n");
        return false;
    }
    const auto stored = identifier(long{period} + (m_newEntry ? 0 : m_lastReportOffs));
    if (!stored || !identifier(long{period} + 1)) return false;
    Test(">>>PutDataRelative m_lastReportOffs=%d Prd=%d  _Prd=%d\n", m_lastReportOffs, period, *stored);
    if (!Storable(value, status)) return false;
    CString insert;
    try {
        if (useBatch) {
            if (!batch) return false;
            AddTo(*batch, {m_MeasValueId, *stored, channel, value, status, frqId, funcId});
            nextPeriod = long{period} + 1;
            return true;
        }
        insert = formatted("INSERT INTO MEASUREDVALUES  WITH (ROWLOCK) "
                           "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES (%d,%d,%d,%f,%s,%d,%d)",
                           m_MeasValueId, *stored, channel, value, quoteText(status).GetString(), frqId, funcId);
        const bool issued = dbExecute(connection, insert) != nullptr;
        nextPeriod = long{period} + 1;
        if (issued) {
            if (updatePeriods) PutPeriodsRelative(connection, period + 1);
            return true;
        }
    } catch (const _com_error& error) {
        if (isDuplicate(error)) return true;
    }
    Test("***Invalid SQL in PutDataRelative %s (%d,%d) \n", insert.GetString(), period, m_lastReportOffs);
    return false;
}

bool Mersola::PutDataAbsolute(double value, const CString& status, const CTimeEx& time, int periodOffset, int funcId,
                              int channel, int frqId, long periodLen, bool updatePeriods, long& nextPeriod,
                              bool useBatch, const _RecordsetPtr& batch) {
    return PutDataAbsolute(m_connection, value, status, time, periodOffset, funcId, channel, frqId, periodLen,
                           updatePeriods, nextPeriod, useBatch, batch);
}

bool Mersola::PutDataAbsolute(const _ConnectionPtr& connection, double value, const CString& status,
                              const CTimeEx& time, int periodOffset, int funcId, int channel, int frqId,
                              long periodLen, bool updatePeriods, long& nextPeriod, bool useBatch,
                              const _RecordsetPtr& batch) {
    nextPeriod = periodOffset;
    if (!resolved(connection) || !m_Valid) return false;
    if (periodLen <= 0) return false;
    const CTimeEx& start = m_newEntry ? m_StartAt : m_lastMeasurement.StartAt;
    if (!time.IsValid() || !start.IsValid()) return false;
    const auto period = identifier((time - start).GetTotalMilliseconds() / periodLen + periodOffset);
    if (!period || !identifier(long{*period} + 1)) return false;
    nextPeriod = *period;
    if (!Storable(value, status)) return false;
    try {
        if (useBatch) {
            if (!batch) return false;
            AddTo(*batch, {m_MeasValueId, *period, channel, value, status, frqId, funcId});
            nextPeriod = long{*period} + 1;
            return true;
        }
        const CString insert =
            formatted("INSERT INTO MEASUREDVALUES WITH (ROWLOCK) "
                      "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES (%d,%d,%d,%f,%s,%d,%d)",
                      m_MeasValueId, *period, channel, value, quoteText(status).GetString(), frqId, funcId);
        const bool issued = dbExecute(connection, insert) != nullptr;
        nextPeriod = long{*period} + 1;
        if (!issued) return false;
        if (updatePeriods) PutPeriodsAbsolute(connection, *period + 1);
        return true;
    } catch (const _com_error& error) {
        return isDuplicate(error);
    }
}
