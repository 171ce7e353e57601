// Reading: the catalogue, the cursor, values and periods.
#include "support/store.h"

#include <climits>
#include <utility>

namespace mersola::test {
namespace {

class Reading : public Contract {
  protected:
    void SetUp() override {
        Contract::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        database.Run({
            "INSERT INTO Groups VALUES (1,'One','about','Alarm,3','station,x')",
            "INSERT INTO Groups VALUES (2,'Two',NULL,'Station,1',NULL)",
            "INSERT INTO Groups VALUES (3,'Three','','alarm','station')",
            "INSERT INTO Groups VALUES (4,'Four','','alarm,3,4','station')",
            "INSERT INTO Groups VALUES (5,'Five','','alarm,1','Station,x')",
            "INSERT INTO Measurements VALUES "
            "(1,1,'later','i',3,0.1,0.5,20,20000,'2026,11,16,00,00,00,000','10,50,99.9')",
            "INSERT INTO Measurements VALUES "
            "(1,2,'earlier',NULL,1,2,3,4,5,'2026,11,15,07,30,12,045',NULL)",
            "INSERT INTO Reports VALUES (1,1,1,'00,00,01,00,000','NOT_SET',10,2,9)",
            "INSERT INTO Reports VALUES (1,1,2,'125','00,00,00,00,124',4,NULL,5)",
            "INSERT INTO Reports VALUES (1,1,3,'00,00,00,01,000',NULL,4,0,1)",
            "INSERT INTO MeasValueMap VALUES (1,1,1,7)",
            "INSERT INTO MeasValueMap VALUES (1,1,2,8)",
            "INSERT INTO MeasuredFunctions VALUES (1,1,1,5,1)",
            "INSERT INTO MeasuredFunctions VALUES (1,1,1,6,1)",
            "INSERT INTO MeasuredFunctions VALUES (1,1,1,5,2)",
            "INSERT INTO MeasuredFunctions VALUES (1,1,2,5,1)",
            "INSERT INTO MeasuredValues VALUES (7,3,1,5,20,1.5,'')",
            "INSERT INTO MeasuredValues VALUES (7,3,1,5,21,2.5,'Ax')",
            "INSERT INTO MeasuredValues VALUES (7,4,1,5,21,NULL,'O')",
            "INSERT INTO MeasuredValues VALUES (7,4,1,6,20,3.5,NULL)",
            "INSERT INTO MeasuredValues VALUES (7,4,2,5,20,9,'')",
            "INSERT INTO FuncNameMap VALUES (5,'Leq')",
            "INSERT INTO FrqNameMap VALUES (20,'100 Hz')",
        });
    }

    // The names of instruments that a listing gives.
    static std::vector<std::string> Names(const CArray<InstrumentInfo, InstrumentInfo&>& list) {
        std::vector<std::string> names;
        for (const InstrumentInfo& info : list)
            names.emplace_back(info.GroupName.View());
        return names;
    }

    void SelectFirst(Store& reader) const {
        EXPECT_EQ(reader.SetInstrument(1), 1);
        EXPECT_EQ(reader.SetMeasurement(1), 1);
        EXPECT_EQ(reader.SetReport(1), 1);
        EXPECT_EQ(reader.SetChannel(1), 1);
        EXPECT_EQ(reader.SetFunction(5), 1);
    }

    Store store{database.WatchedString()};
};

TEST_P(Reading, ListsInstrumentsByKind) {
    CArray<InstrumentInfo, InstrumentInfo&> list;
    EXPECT_EQ(store.GetInstruments(list), 1);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"One", "Three", "Four", "Five"}));
    EXPECT_EQ(list[0].Type, "alarm,3");
    EXPECT_EQ(store.GetInstrumentsAndAlarms(list), 1);
    ASSERT_EQ(list.GetSize(), 5);
    EXPECT_EQ(list[1].Type, "station,1");
    EXPECT_EQ(store._GetAlarmInstruments(list, "alarm"), 1);
    EXPECT_EQ(Names(list), std::vector<std::string>{"One"});
    EXPECT_EQ(store.locateInstrumentId("FOUR"), 4);
    EXPECT_EQ(store.locateInstrumentId("Six"), -1);
    InstrumentInfo info;
    EXPECT_EQ(store._GetInstrument(2, info, nullptr), 1);
    EXPECT_EQ(info.Type, "Station,1");
    EXPECT_EQ(info.Info, "");
    EXPECT_EQ(store._GetInstrument(9, info, nullptr), 0);
}

TEST_P(Reading, ListsMeasurementsByTheirStart) {
    store.SetInstrument(1);
    CArray<MeasurementInfo, MeasurementInfo&> list;
    EXPECT_EQ(store.GetMeasurements(list), 1);
    ASSERT_EQ(list.GetSize(), 2);
    EXPECT_EQ(list[0].MeasName, "earlier");
    EXPECT_EQ(list[0].StartAt.ToText(), "2026,11,15,07,30,12,045");
    EXPECT_EQ(list[1].Fullscale, 0.1);
    EXPECT_EQ(store.locateMeasurementId(1, "later"), 1);
    EXPECT_EQ(store.locateMeasurementId(2, "later"), -1);
    EXPECT_EQ(store.locateMeasurementId(1L << 32 | 1, "later"), -1);
}

TEST_P(Reading, LoadsSettingsWithTheSelectionAndOnlyOnce) {
    float fullscale = 1;
    EXPECT_EQ(store.GetFullscale(fullscale), 1);
    EXPECT_EQ(fullscale, 0);
    SelectFirst(store);
    store.GetFullscale(fullscale);
    EXPECT_EQ(fullscale, 0.1F);
    int type = 0;
    store.GetReportType(type);
    EXPECT_EQ(type, 9);
    CTimeSpanEx real;
    store.GetRealPrdLength(real);
    EXPECT_EQ(real.GetTotalMilliseconds(), 60000);
    database.Run({"UPDATE Measurements SET Fullscale=9", "UPDATE Reports SET noOfPeriods=99"});
    TheWatch().Reset();
    SelectFirst(store);
    EXPECT_TRUE(TheWatch().statements.empty());
    EXPECT_EQ(store.m_noOfPeriods, 10);
    EXPECT_EQ(store.SetReport(2), 1);
    store.GetRealPrdLength(real);
    EXPECT_EQ(real.GetTotalMilliseconds(), 124);
    store.GetPrdLength(real);
    EXPECT_EQ(real.GetTotalMilliseconds(), 125);

    EXPECT_EQ(store.SetMeasurement(77), 0);
    EXPECT_EQ(store.SetMeasurement(77), 1) << "selected all the same";
    store.GetFullscale(fullscale);
    EXPECT_EQ(fullscale, 0.1F);
    EXPECT_EQ(store.m_ReportId, -1);
    EXPECT_EQ(store.SetReport(1), 0);
    EXPECT_EQ(store.SetInstrument(1L << 32), 0);
    EXPECT_EQ(store.SetInstrument(2), 1);
    EXPECT_EQ(store.m_MeasId, -1);
}

TEST_P(Reading, ListsReportsByTypeAndThoseWithoutFunctionsApart) {
    store.SetInstrument(1);
    store.SetMeasurement(1);
    CArray<ReportInfo, ReportInfo&> list;
    EXPECT_EQ(store.GetReports(list), 1);
    ASSERT_EQ(list.GetSize(), 2);
    EXPECT_EQ(list[0].ReportId, 2);
    EXPECT_EQ(list[1].noOfPeriods, 10);
    EXPECT_EQ(store._GetAllReports(list, -1, nullptr), 1);
    ASSERT_EQ(list.GetSize(), 3);
    EXPECT_EQ(list[0].ReportId, 3);
    EXPECT_FALSE(list[0].realPeriodLenSet) << "no real length is as good as NOT_SET";
    ReportInfo one;
    EXPECT_EQ(store._GetReport(2, one, nullptr), 1);
    EXPECT_EQ(one.ReportId, 2);
    EXPECT_EQ(store._GetReport(8, one, nullptr), 0);
    SelectFirst(store);
    CArray<int, int> functions;
    EXPECT_EQ(store.GetFunctions(functions), 1);
    EXPECT_EQ(functions.GetSize(), 2);
    CArray<FuncInfo, FuncInfo&> all;
    EXPECT_EQ(store._GetAllFunctions(all, 1, 1, nullptr), 1);
    EXPECT_EQ(all.GetSize(), 3);
    EXPECT_EQ(store.GetFunctionName(5), "Leq");
    EXPECT_EQ(store.GetFunctionName(6), "");
    EXPECT_EQ(store.GetFrqName(20), "") << "bands have no names here";
}

TEST_P(Reading, FillsABlockWithWhatIsStoredAndTheRestAsMissing) {
    SelectFirst(store);
    std::vector<float> values(6, 1);
    std::vector<char> status(6, '?');
    EXPECT_EQ(store.GetData(values.data(), 3, 3, 20, 2, status.data()), 3);
    EXPECT_EQ(values, (std::vector<float>{1.5, -100, -100, -100, -100, -100}));
    EXPECT_EQ(status, (std::vector<char>{'\0', 'A', 'A', 'O', 'A', 'A'}));
    store.SetFunction(6);
    EXPECT_EQ(store.GetData(values.data(), 4, 1, 20, 1, status.data()), 1);
    EXPECT_EQ(values[0], 3.5F);
    EXPECT_EQ(status[0], '\0');
    EXPECT_EQ(store.GetData(values.data(), 0, 1, 20, 0), 0);
    EXPECT_EQ(store._GetData(values.data(), 0, 1, 20, 0, nullptr), -1);
    EXPECT_EQ(store.GetData(values.data(), 2147483647, 2, 20, 1), -1);
    EXPECT_EQ(values[1], -100) << "pre-filled all the same";
    EXPECT_EQ(Store().GetData(values.data(), 0, 1, 20, 1), 0);

    CList<funcData, funcData&> list;
    EXPECT_EQ(store.GetAllDataByPeriod(3, 2, list), 4);
    EXPECT_EQ(store.GetAllDataByPeriod(3, 1, list), 2);
    ASSERT_EQ(list.GetCount(), 6) << "the list is not emptied";
    auto at = list.GetHeadPosition();
    EXPECT_EQ(list.GetNext(at).Value, 1.5);
    EXPECT_EQ(list.GetNext(at).Value, -100);
    TheWatch().rowsBeforeLoss = 3;
    EXPECT_EQ(store.GetAllDataByPeriod(3, 2, list), 3);
    EXPECT_EQ(list.GetCount(), 9) << "what was read before stays";
    TheWatch().rowsBeforeLoss = 1;
    store.SetFunction(5);
    EXPECT_EQ(store.GetData(values.data(), 3, 2, 20, 2), -1);
}

TEST_P(Reading, FillsABlockOfMoreRowsThanAnyBufferHolds) {
    // Every seventh value is not stored, and every eleventh is null.
    constexpr int first = 10, periods = 3000, bands = 2;
    const auto batch = Batch(store.m_connection);
    std::vector<float> expected;
    for (int i = 0; i < periods * bands; ++i) {
        const bool isNull = i > periods && i % 11 == 0;
        expected.push_back(i % 7 == 0 || isNull ? -100 : static_cast<float>(i) / 4);
        if (i % 7 == 0) continue;
        AddValue(*batch, 7, first + i / bands, 5, 30 + i % bands,
                 isNull ? std::nullopt : std::optional(i / 4.0), i % 5 == 0 ? "Overload" : "");
    }
    batch->UpdateBatch();
    SelectFirst(store);
    std::vector<float> values(expected.size());
    std::vector<char> status(expected.size(), '?');
    EXPECT_EQ(store.GetData(values.data(), first, periods, 30, bands, status.data()), periods);
    EXPECT_EQ(values, expected);
    for (std::size_t i = 0; i < status.size(); ++i)
        ASSERT_EQ(status[i], i % 7 == 0 ? 'A' : i % 5 == 0 ? 'O' : '\0') << i;

    if (GetParam() != "SQLite") return;
    // A table of another origin may hold anything.
    database.Run({"CREATE TABLE Loose AS SELECT * FROM MeasuredValues", "DROP TABLE MeasuredValues",
                  "ALTER TABLE Loose RENAME TO MeasuredValues",
                  "UPDATE MeasuredValues SET Value='4e2' WHERE PeriodNo=2011 AND FrqId=31"});
    expected[(2011 - first) * bands + 1] = 400;
    EXPECT_EQ(store.GetData(values.data(), first, periods, 30, bands), periods);
    EXPECT_EQ(values, expected);
    database.Run({"UPDATE MeasuredValues SET Value='loud' WHERE PeriodNo=2011"});
    EXPECT_EQ(store.GetData(values.data(), first, periods, 30, bands), -1);
}

TEST_P(Reading, FailsOnNumbersBeyond32BitsAndWrapsNone) {
    if (database.EngineOf().columns.integerBits == 32)
        GTEST_SKIP() << "its columns hold no such number";
    database.Run({"UPDATE Reports SET noOfPeriods=4294967297 WHERE ReportId=1"});
    const std::vector<std::string> beyond{
        "INSERT INTO MeasuredValues VALUES (7,8589934592,1,5,20,1,'')"};
    if (GetParam() == "SQLitePacked") {
        EXPECT_THROW(database.Run(beyond), _com_error) << "blocks hold 32 bits";
    } else {
        database.Run(beyond);
    }
    store.SetInstrument(1);
    store.SetMeasurement(1);
    EXPECT_EQ(store.SetReport(1), 0);
    long n = 7;
    EXPECT_EQ(store.Get_nPrds(n), 0);
    EXPECT_EQ(n, 0);
    CArray<ReportInfo, ReportInfo&> list;
    EXPECT_EQ(store.GetReports(list), 0);
    EXPECT_EQ(list.GetSize(), 1) << "what was read before stays";
}

TEST_P(Reading, FindsTheFirstPeriodAndRemembersIt) {
    SelectFirst(store);
    TheWatch().Reset();
    long first = 0;
    EXPECT_EQ(store.GetFirstPeriod(first), 1);
    EXPECT_EQ(first, 3);
    EXPECT_EQ(
        TheWatch().statements,
        (std::vector<std::string>{"SELECT PeriodNo FROM MeasuredValues WHERE MeasValueId=-1",
                                  "SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=7"}));
    EXPECT_EQ(store.GetFirstPeriod(first), 1);
    EXPECT_EQ(TheWatch().statements.size(), 2U);
    CTimeEx start;
    EXPECT_EQ(store.GetStartOfFirstPeriod(start), 1);
    EXPECT_EQ(start.ToText(), "2026,11,16,00,03,00,000");
    EXPECT_EQ(store.GetFirstPeriod(first, 8, nullptr), 0);
    EXPECT_EQ(first, -1);
    EXPECT_EQ(store.GetFirstPeriod(first, 1, 1, 1, 0, nullptr), 1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(store.GetFirstPeriod(first, 1, 1, 2, 0, nullptr), 0) << "none is kept with it";
    EXPECT_EQ(first, -1);
    store.SetReport(2);
    EXPECT_EQ(store.GetStartOfFirstPeriod(start), 0);
}

TEST_P(Reading, TellsInWhichBandsAndPeriodsAFunctionIsStored) {
    using Bands = std::vector<int>;
    CArray<int, int> found;
    const auto listed = [&](int result) {
        EXPECT_EQ(result, 1);
        return Bands(found.begin(), found.end());
    };
    long first = 0, last = 0;
    SelectFirst(store);
    EXPECT_EQ(listed(store.GetBands(found)), (Bands{20, 21}));
    EXPECT_EQ(listed(store.GetBands(found, 4, INT_MAX)), Bands{21}) << "whatever the status";
    EXPECT_EQ(listed(store.GetBands(found, INT_MIN, INT_MAX)), Bands{});
    EXPECT_EQ(listed(store.GetBands(found, 4, -1)), Bands{});
    EXPECT_EQ(store.GetStoredPeriods(first, last), 1);
    EXPECT_EQ(std::pair(first, last), std::pair(3L, 4L));
    database.Run({"INSERT INTO MeasuredValues VALUES (7,-2,2,5,19,1,'')"});
    store.SetChannel(2);
    EXPECT_EQ(listed(store.GetBands(found)), (Bands{19, 20}));
    EXPECT_EQ(store.GetStoredPeriods(first, last), 1);
    EXPECT_EQ(std::pair(first, last), std::pair(-2L, 4L));
    store.SetFunction(6);
    EXPECT_EQ(listed(store.GetBands(found)), Bands{});
    EXPECT_EQ(store.GetStoredPeriods(first, last), 0);
    EXPECT_EQ(std::pair(first, last), std::pair(-1L, -1L));
    store.SetChannel(1);
    TheWatch().FailOn("MeasuredValues");
    EXPECT_EQ(store.GetBands(found), 0);
    EXPECT_EQ(store.GetStoredPeriods(first, last), 0);
    TheWatch().Reset();
    store.dbDisconnect();
    EXPECT_EQ(store.GetBands(found), 0);
    EXPECT_EQ(store.GetStoredPeriods(first, last), 0);
}

TEST_P(Reading, ReadsPercentilesOncePerMeasurement) {
    store.SetInstrument(1);
    CArray<float, float> percentiles;
    EXPECT_TRUE(store._GetPercentiles(percentiles, 1, nullptr));
    ASSERT_EQ(percentiles.GetSize(), 3);
    EXPECT_EQ(percentiles[2], 99.9F);
    database.Run({"UPDATE Measurements SET Percentiles='1,x' WHERE MeasId=1"});
    EXPECT_TRUE(store._GetPercentiles(percentiles, 1, nullptr));
    EXPECT_EQ(percentiles.GetSize(), 3);
    EXPECT_TRUE(store._GetPercentiles(percentiles, 2, nullptr)) << "none are none";
    EXPECT_EQ(percentiles.GetSize(), 0);
    EXPECT_FALSE(store._GetPercentiles(percentiles, 1, nullptr));
    EXPECT_FALSE(store._GetPercentiles(percentiles, 5, nullptr));
}

TEST_P(Reading, CatchesWhatTheEngineRaises) {
    SelectFirst(store);
    TheWatch().fails = [](std::string_view) { return true; };
    CArray<InstrumentInfo, InstrumentInfo&> instruments;
    CArray<MeasurementInfo, MeasurementInfo&> measurements;
    CArray<ReportInfo, ReportInfo&> reports;
    CArray<int, int> functions;
    CArray<float, float> percentiles;
    CList<funcData, funcData&> list;
    InstrumentInfo instrument;
    CString text = "kept";
    long n = 0;
    float value = 0;
    EXPECT_EQ(store.GetInstruments(instruments), 0);
    EXPECT_EQ(store.GetInstrumentsAndAlarms(instruments), 0);
    EXPECT_EQ(store.locateInstrumentId("One"), -1);
    EXPECT_EQ(store.locateMeasurementId(1, "later"), -1);
    EXPECT_EQ(store._GetInstrument(1, instrument, nullptr), 0);
    EXPECT_EQ(store.Get_InstrumentState(text), 0);
    EXPECT_EQ(text, "kept");
    EXPECT_EQ(store.GetMeasurements(measurements), 0);
    EXPECT_EQ(store.GetReports(reports), 0);
    EXPECT_EQ(store.GetFunctions(functions), 0);
    EXPECT_EQ(store.SetReport(2), 0);
    EXPECT_EQ(store.SetMeasurement(2), 0);
    EXPECT_EQ(store.SetMeasurement(-3), 0);
    EXPECT_EQ(store.m_MeasId, 2);
    EXPECT_EQ(store.GetFunctionName(5), "");
    EXPECT_EQ(store.GetData(&value, 0, 1, 20, 1), -1);
    EXPECT_EQ(value, -100);
    EXPECT_EQ(store.GetAllDataByPeriod(0, 9, list), 0);
    EXPECT_EQ(store.Get_nPrds(n), 0);
    EXPECT_EQ(store.GetFirstPeriod(n), 0);
    EXPECT_EQ(store.GetPercentiles(percentiles), 0);
}

INSTANTIATE_ON_EVERY_ENGINE(Reading);

}  // namespace
}  // namespace mersola::test
