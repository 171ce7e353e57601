// A Mersola whose state tests can look at, and what tests register again and again.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <mersola/mersola.h>

#include "database.h"
#include "watched_provider.h"

namespace mersola::test {

class Store : public Mersola {
  public:
    using Mersola::Mersola;
    explicit Store(const std::string& connectString) : Mersola("", "", connectString.c_str(), 5) {}

    using Mersola::_GetAlarmInstruments;
    using Mersola::_GetAllFunctions;
    using Mersola::_GetAllReports;
    using Mersola::_GetData;
    using Mersola::_GetInstrument;
    using Mersola::identicalMeasurements;
    using Mersola::identicalReports;
    using Mersola::loadContinuousSetupData;
    using Mersola::m_connection;
    using Mersola::m_connectString;
    using Mersola::m_contMeasurements;
    using Mersola::m_contMode;
    using Mersola::m_contReports;
    using Mersola::m_GroupId;
    using Mersola::m_lastMeasurement;
    using Mersola::m_lastReportOffs;
    using Mersola::m_MeasId;
    using Mersola::m_MeasValueId;
    using Mersola::m_newEntry;
    using Mersola::m_noOfPeriods;
    using Mersola::m_password;
    using Mersola::m_ReportId;
    using Mersola::m_user;
    using Mersola::m_Valid;
    using Mersola::PutMissingPeriods;
    using Mersola::recalculateContPeriods;
    using Mersola::validDate;
};

/// What an action raises.
HRESULT CodeOf(auto action) {
    try {
        action();
    } catch (const _com_error& error) {
        return error.Error();
    }
    return S_OK;
}

inline _RecordsetPtr RunSql(const _ConnectionPtr& connection, const std::string& sql) {
    auto rows = _Recordset::CreateInstance();
    rows->Open(sql, connection, adOpenKeyset, adLockOptimistic, adCmdText);
    return rows;
}

inline _RecordsetPtr Batch(const _ConnectionPtr& connection, const char* table = "MEASUREDVALUES") {
    auto batch = _Recordset::CreateInstance();
    batch->Open(table, connection, adOpenForwardOnly, adLockBatchOptimistic, adCmdTable);
    return batch;
}
/// A row for a batch, of channel 1.
inline void AddValue(_Recordset& batch, int key, int period, int func, int band,
                     std::optional<double> value, std::string_view status = "") {
    batch.AddNew();
    batch.Fields("MeasValueId").Put(key);
    batch.Fields("PeriodNo").Put(period);
    batch.Fields("Channel").Put(1);
    batch.Fields("FuncId").Put(func);
    batch.Fields("FrqId").Put(band);
    if (value) batch.Fields("Value").Put(*value);
    batch.Fields("Status").Put(status);
}

/// A recent start on a whole second, `offset` milliseconds later.
inline CTimeEx Start(std::int64_t offset = 0) {
    static const CTimeEx base = [] {
        const CTimeEx now = CTimeEx::GetCurrentTime() - CTimeSpanEx(1, 0, 0, 0, 0);
        return CTimeEx(now.GetYear(), now.GetMonth(), now.GetDay(), 10, 0, 0, 0);
    }();
    return base + CTimeSpanEx(offset);
}

inline InstrumentInfo Instrument(const char* name = "station 1") {
    InstrumentInfo info;
    info.GroupName = name;
    info.Type = "0";
    return info;
}

inline MeasurementInfo Measurement(const char* name = "noise", CTimeEx start = Start()) {
    MeasurementInfo info;
    info.MeasName = name;
    info.BandWidth = 3;
    info.Fullscale = 0.1;
    info.Sensitivity = 0.05;
    info.FrqLower = 25;
    info.FrqUpper = 20000;
    info.StartAt = start;
    return info;
}

inline ReportInfo Report(int id = 1, std::int64_t periodLength = 60000, int type = 1) {
    ReportInfo info;
    info.ReportId = id;
    info.ReportType = type;
    info.PeriodLen = CTimeSpanEx(periodLength);
    return info;
}

/// Registers instrument, measurement and report; false when one of them fails.
inline bool Open(Mersola& store, MeasurementInfo measurement = Measurement(),
                 ReportInfo report = Report(), const char* name = "station 1") {
    InstrumentInfo instrument = Instrument(name);
    return store.PutInstrument(nullptr, instrument) &&
           store.PutMeasurement(nullptr, instrument.GroupId, measurement) &&
           store.PutReport(nullptr, report);
}

/// Selects what Open registers, and function 1 of channel 1; false when it cannot be read.
inline bool Select(Mersola& store, const char* instrument = "station 1",
                   const char* measurement = "noise", int report = 1) {
    const long group = store.locateInstrumentId(instrument);
    store.SetInstrument(group);
    store.SetMeasurement(-1);  // so that all is read anew
    store.SetMeasurement(store.locateMeasurementId(group, measurement));
    store.SetChannel(1);
    store.SetFunction(1);
    return store.SetReport(report) == 1;
}

/// Writes a value into each of the first periods of band 30, in a batch. NaN: none.
bool WriteBatch(Mersola& store, int periods, auto valueOf, int function = 1, int band = 30) {
    const auto batch = store.PutDataStart(nullptr);
    for (int period = 0; period < periods; ++period) {
        const double value = valueOf(period);
        long next = 0;
        if (!std::isnan(value))
            store.PutDataRelative(value, "", period, function, 1, band, true, next, true, batch);
    }
    return store.PutDataEnd(batch);
}

/// Tests of the contract, on every engine.
class Contract : public testing::TestWithParam<std::string> {
  protected:
    Contract() { TheWatch().Reset(); }
    ~Contract() override { TheWatch().Reset(); }

    void SetUp() override {
        if (database.Missing().empty()) return;
        if (IsRequired(database.NeedsServer())) FAIL() << database.Missing();
        GTEST_SKIP() << GetParam() << " is not tested: " << database.Missing();
    }

    /// Writes one value of function 1, channel 1, band 30.
    static bool Write(Mersola& store, int period, double value, const char* status = "") {
        long next = 0;
        return store.PutDataRelative(value, status, period, 1, 1, 30, true, next, false, nullptr);
    }

    /// The values of band 30 of the selection.
    static std::vector<float> Values(Mersola& store, int first, int count) {
        std::vector<float> values(static_cast<std::size_t>(count));
        EXPECT_EQ(store.GetData(values.data(), first, count, 30, 1), count);
        return values;
    }

    Database database{GetParam()};
};

}  // namespace mersola::test

#define INSTANTIATE_ON_EVERY_ENGINE(suite)                                                \
    INSTANTIATE_TEST_SUITE_P(Engines, suite, testing::ValuesIn(mersola::test::Engines()), \
                             [](const auto& test) { return test.param; })
