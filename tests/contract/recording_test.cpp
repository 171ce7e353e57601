// Recording: registration, values and the accounting of periods.
#include "support/store.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace mersola::test {
namespace {

class Recording : public Contract {
  protected:
    Store store{database.ConnectString()};

    // Minutes, the period length of Report().
    static constexpr std::int64_t kMinute = 60000;
};

TEST_P(Recording, GivesNewNamesFreeIdentifiersAndKnownOnesTheirOwn) {
    InstrumentInfo first = Instrument("a");
    ASSERT_TRUE(store.PutInstrument(nullptr, first));
    EXPECT_EQ(first.GroupId, 1);
    database.Run({"INSERT INTO Groups (GroupId,GroupName) VALUES (2,'b')",
                  "INSERT INTO Groups (GroupId,GroupName) VALUES (4,'d')"});
    InstrumentInfo next = Instrument("e");
    ASSERT_TRUE(store.PutInstrument(nullptr, next));
    EXPECT_EQ(next.GroupId, 5) << "there are three, and 4 is taken";
    InstrumentInfo again = Instrument("A");
    again.Info = "not stored";
    ASSERT_TRUE(store.PutInstrument(nullptr, again));
    EXPECT_EQ(again.GroupId, 1);
    EXPECT_FALSE(store.m_Valid);
    EXPECT_EQ(database.Ask("SELECT Info FROM Groups WHERE GroupId=1"), "");
    InstrumentInfo quoted = Instrument("O'Brien");
    EXPECT_FALSE(store.PutInstrument(nullptr, quoted));
    EXPECT_TRUE(store.PutInstrumentState(nullptr, again, "on,1"));
    EXPECT_TRUE(store.m_Valid);
    CString state;
    EXPECT_EQ(store.Get_InstrumentState(state), 1);
    EXPECT_EQ(state, "on,1");
}

TEST_P(Recording, StoresValuesOfBothPathsAndBothNumberings) {
    ASSERT_TRUE(Open(store));
    long next = 0;
    EXPECT_TRUE(store.PutDataRelative(1.5, "", 0, 1, 1, 30, true, next, false, nullptr));
    EXPECT_EQ(next, 1);
    EXPECT_TRUE(store.PutDataAbsolute(2.5, "", Start(kMinute * 3 / 2), 0, 1, 1, 30, kMinute, true,
                                      next, false, nullptr));
    EXPECT_EQ(next, 2) << "one and a half periods after the start is period 1";
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    EXPECT_TRUE(store.PutDataRelative(3.5, "O", 2, 1, 1, 30, true, next, true, batch));
    EXPECT_TRUE(store.PutDataAbsolute(4.5, "A", Start(kMinute * 2), 1, 1, 1, 30, kMinute, true,
                                      next, true, batch));
    EXPECT_EQ(next, 4);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "2") << "the batch was not sent";
    EXPECT_EQ(database.Ask("SELECT noOfPeriods FROM Reports"), "2") << "a batch does not count";
    EXPECT_TRUE(store.PutDataEnd(batch));
    EXPECT_EQ(database.Ask("SELECT Value FROM MeasuredValues WHERE Status='A'"), "-100");
    for (const long length : {0L, -1L}) {
        EXPECT_FALSE(
            store.PutDataAbsolute(1, "", Start(), 0, 1, 1, 31, length, true, next, false, nullptr));
    }
    Select(store);
    std::vector<float> values(5);
    std::vector<char> status(5);
    EXPECT_EQ(store.GetData(values.data(), 0, 5, 30, 1, status.data()), 5);
    EXPECT_EQ(values, (std::vector<float>{1.5, 2.5, 3.5, -100, -100}));
    EXPECT_EQ(status, (std::vector<char>{'\0', '\0', 'O', 'A', 'A'}));
}

TEST_P(Recording, StoresNothingThatIsNoUtf8) {
    ASSERT_TRUE(Open(store));
    const bool isStored = Write(store, 1, 2.5, "\xFC");
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    long next = 0;
    EXPECT_TRUE(store.PutDataRelative(3.5, "O", 2, 1, 1, 1, true, next, true, batch));
    EXPECT_TRUE(store.PutDataRelative(4.5, "\xED\xA0\x80", 2, 1, 1, 2, true, next, true, batch));
    const bool isWhole = store.PutDataEnd(batch);
    InstrumentInfo latin = Instrument("B\xFCro");
    const bool isNamed = store.PutInstrument(nullptr, latin);
    EXPECT_EQ(database.Ask("SELECT COUNT(*) FROM MeasuredValues WHERE Status='O'"), "1");
    // ODBC's drivers replace what is none.
    const bool isRefused = GetParam().starts_with("SQLite") || GetParam() == "PostgreSQL";
    for (const bool isDone : {isStored, isWhole, isNamed})
        EXPECT_EQ(isDone, !isRefused);
    EXPECT_EQ(database.Ask("SELECT COUNT(*) FROM MeasuredValues"), isRefused ? "1" : "3");
}

TEST_P(Recording, StoresASingleValueToSixDecimalsAndABatchInFull) {
    ASSERT_TRUE(Open(store));
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    int band = 0;
    for (const double value : {0.1234565, -2.0000005, -4e-7, 1e-300, 123456789.1234567, -1.7e308}) {
        char printed[400];
        std::snprintf(printed, sizeof printed, "%f", value);
        long next = 0;
        ++band;
        ASSERT_TRUE(store.PutDataRelative(value, "", 0, 1, 1, band, false, next, false, nullptr));
        ASSERT_TRUE(store.PutDataRelative(value, "", 1, 1, 1, band, false, next, true, batch));
        ASSERT_TRUE(store.PutDataEnd(batch));
        const auto rows = store.dbExecute("SELECT Value FROM MeasuredValues ORDER BY PeriodNo");
        EXPECT_EQ(rows->Fields(0).Double(), database.AsRead(std::strtod(printed, nullptr)))
            << printed;
        rows->MoveNext();
        EXPECT_EQ(rows->Fields(0).Double(), database.AsRead(value));
        store.dbExecute("DELETE FROM MeasuredValues");
    }
}

TEST_P(Recording, CountsADuplicateAsWritten) {
    ASSERT_TRUE(Open(store));
    EXPECT_TRUE(store.PutFunction(nullptr, 1, 1));
    EXPECT_TRUE(store.PutFunction(nullptr, 1, 1));
    ASSERT_TRUE(Write(store, 4, 1));
    long next = 0;
    EXPECT_TRUE(store.PutDataRelative(2, "", 4, 1, 1, 30, true, next, false, nullptr));
    EXPECT_EQ(next, 4);
    EXPECT_EQ(database.Ask("SELECT Value FROM MeasuredValues"), "1");
    EXPECT_EQ(database.Ask("SELECT noOfPeriods FROM Reports"), "5");
    EXPECT_FALSE(store.PutDataRelative(2, "O'", 5, 1, 1, 30, true, next, false, nullptr));
    EXPECT_EQ(next, 5);
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    for (const int period : {4, 5})
        store.PutDataRelative(3, "", period, 1, 1, 30, true, next, true, batch);
    EXPECT_FALSE(store.PutDataEnd(batch));
    EXPECT_TRUE(store.PutDataEnd(batch));
    EXPECT_FALSE(store.PutDataEnd(nullptr));
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "2");
}

TEST_P(Recording, RefusesValuesThatAreNoNumbersAndPeriodsBeyond32Bits) {
    ASSERT_TRUE(Open(store));
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    long next = 0;
    for (const double value : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_FALSE(Write(store, 0, value));
        EXPECT_FALSE(store.PutDataRelative(value, "", 0, 1, 1, 30, false, next, true, batch));
        EXPECT_FALSE(
            store.PutDataAbsolute(value, "", Start(), 0, 1, 1, 30, 1, false, next, true, batch));
    }
    EXPECT_FALSE(Write(store, std::numeric_limits<int>::max(), 1));
    EXPECT_FALSE(store.PutDataAbsolute(1, "", Start(365LL * 86400000), 0, 1, 1, 30, 1, false, next,
                                       false, nullptr));
    EXPECT_TRUE(store.PutDataEnd(batch));
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "0");
    EXPECT_TRUE(Write(store, 0, std::nan(""), "A")) << "an invalid value has no magnitude";
}

TEST_P(Recording, IsClosedUntilAMeasurementIsRegistered) {
    ASSERT_TRUE(Open(store));
    InstrumentInfo instrument = Instrument();
    ASSERT_TRUE(store.PutInstrument(nullptr, instrument));
    MeasurementInfo measurement = Measurement();
    ReportInfo report = Report();
    EXPECT_FALSE(Write(store, 0, 1));
    EXPECT_FALSE(store.PutReport(nullptr, report));
    EXPECT_FALSE(store.PutFunction(nullptr, 1, 1));
    EXPECT_FALSE(store.PutPeriodLen(nullptr, 5));
    EXPECT_FALSE(store.PutPercentiles(nullptr, measurement));
    for (MeasurementInfo refused : {Measurement("old", Start() - CTimeSpanEx(3660, 0, 0, 0, 0)),
                                    Measurement("far", Start() + CTimeSpanEx(3660, 0, 0, 0, 0)),
                                    Measurement("no date", CTimeEx(2026, 2, 30, 0, 0, 0, 0)),
                                    Measurement("noise", Start(-1000))}) {
        EXPECT_FALSE(store.PutMeasurement(nullptr, instrument.GroupId, refused))
            << refused.MeasName;
        EXPECT_FALSE(store.m_Valid);
    }
    MeasurementInfo wider = Measurement();
    wider.BandWidth = 1;
    EXPECT_FALSE(store.PutMeasurement(nullptr, instrument.GroupId, wider));
}

TEST_P(Recording, TakesTheNextGoodStartWhereTheStoredOneIsNone) {
    const CTimeSpanEx tenYears(3660, 0, 0, 0, 0);
    EXPECT_FALSE(Open(store, Measurement("no date", CTimeEx(2026, 2, 30, 0, 0, 0, 0))));
    EXPECT_FALSE(Open(store, Measurement("late", Start() + tenYears)));
    EXPECT_FALSE(Open(store, Measurement("early", Start() - tenYears)));
    ASSERT_TRUE(Open(store, Measurement("laid out")));
    database.Run({"UPDATE Measurements SET StartAt=NULL WHERE MeasName='laid out'"});
    Store watched(database.WatchedString());
    for (const char* name : {"no date", "late", "early", "laid out"}) {
        SCOPED_TRACE(name);
        TheWatch().FailOn("SET StartAt");
        EXPECT_FALSE(Open(watched, Measurement(name)));
        TheWatch().Reset();
        ASSERT_TRUE(Open(watched, Measurement(name)));
        ASSERT_TRUE(Write(watched, 1, 1));
        Store resumed(database.ConnectString());
        ASSERT_TRUE(Open(resumed, Measurement(name, Start(kMinute * 3))));
        ASSERT_TRUE(Write(resumed, 0, 3));
        Store reader(database.ConnectString());
        Select(reader);
        reader.SetMeasurement(reader.locateMeasurementId(1, name));
        CTimeEx start;
        reader.GetTrigTime(start);
        EXPECT_EQ(start.ToText(), Start().ToText());
        EXPECT_EQ(reader.SetReport(1), 1);
        EXPECT_EQ(Values(reader, 0, 4), (std::vector<float>{-100, 1, -100, 3}));
    }
}

TEST_P(Recording, IsNotResumedFromAStartThatCannotBeRead) {
    MeasurementInfo wider = Measurement("noise", Start(kMinute));
    wider.FrqUpper = 30000;
    const auto expectRefused = [&](const char* start) {
        SCOPED_TRACE(start);
        database.Run({std::string("UPDATE Measurements SET StartAt=") + start});
        const std::string stored = database.Ask("SELECT StartAt FROM Measurements");
        EXPECT_FALSE(store.PutMeasurement(nullptr, 1, wider));
        EXPECT_FALSE(Write(store, 0, 1));
        EXPECT_EQ(database.Ask("SELECT StartAt FROM Measurements"), stored);
        EXPECT_EQ(database.Ask("SELECT FrqUpper FROM Measurements"), "20000");
    };
    ASSERT_TRUE(Open(store));
    expectRefused("'soon'");
    database.Run({"UPDATE Reports SET noOfPeriods=1"});
    expectRefused("NULL");
    database.Run({"UPDATE Reports SET noOfPeriods=0",
                  "INSERT INTO MeasuredValues VALUES (1,0,1,1,30,1,'')"});
    expectRefused("NULL");
    expectRefused("''");
}

TEST_P(Recording, WidensTheStoredFrequencyRangeOnly) {
    ASSERT_TRUE(Open(store));
    Store resumed(database.WatchedString());
    MeasurementInfo narrower = Measurement();
    narrower.FrqLower = 100;
    narrower.FrqUpper = 30000;
    ASSERT_TRUE(resumed.PutMeasurement(nullptr, 1, narrower));
    EXPECT_EQ(narrower.FrqLower, 25);
    EXPECT_EQ(database.Ask("SELECT FrqLower FROM Measurements"), "25");
    EXPECT_EQ(database.Ask("SELECT FrqUpper FROM Measurements"), "30000");
    TheWatch().Reset();
    MeasurementInfo inside = Measurement();
    ASSERT_TRUE(resumed.PutMeasurement(nullptr, 1, inside));
    EXPECT_EQ(inside.FrqUpper, 30000);
    for (const std::string& statement : TheWatch().statements)
        EXPECT_NE(statement.rfind("UPDATE", 0), 0U) << statement;
}

TEST_P(Recording, LandsBehindThePeriodsThatPassed) {
    ASSERT_TRUE(Open(store));
    ASSERT_TRUE(store.PutFunction(nullptr, 1, 1));
    for (int period = 0; period < 30; ++period)
        ASSERT_TRUE(Write(store, period, period));
    database.Run(
        {"UPDATE Reports SET MinPeriod=NULL", "DELETE FROM MeasuredValues WHERE PeriodNo<5"});
    Store resumed(database.ConnectString());
    ASSERT_TRUE(Open(resumed, Measurement("noise", Start(kMinute * 75 + 30000))));
    EXPECT_FALSE(resumed.m_newEntry);
    EXPECT_EQ(resumed.m_lastReportOffs, 75);
    EXPECT_EQ(database.Ask("SELECT noOfPeriods FROM Reports"), "75");
    ASSERT_EQ(resumed.m_lastMeasurement.reports.GetSize(), 1);
    EXPECT_EQ(resumed.m_lastMeasurement.reports[0].functions[0].third, 1)
        << "bands in the first period";
    ASSERT_TRUE(Write(resumed, 0, 1000));
    EXPECT_EQ(database.Ask("SELECT PeriodNo FROM MeasuredValues WHERE Value=1000"), "75");
    EXPECT_EQ(database.Ask("SELECT noOfPeriods FROM Reports"), "76");
    EXPECT_TRUE(resumed.PutPeriodsRelative(nullptr, 5));
    EXPECT_TRUE(resumed.PutPeriodsRelative(nullptr, 3));
    EXPECT_EQ(database.Ask("SELECT noOfPeriods FROM Reports"), "80");
    Select(resumed);
    EXPECT_EQ(Values(resumed, 29, 2), (std::vector<float>{29, -100}));
}

TEST_P(Recording, OverlapsWhenItResumesInsideWhatIsStored) {
    ASSERT_TRUE(Open(store));
    for (int period = 0; period < 3; ++period)
        ASSERT_TRUE(Write(store, period, period));
    Store resumed(database.ConnectString());
    ASSERT_TRUE(Open(resumed, Measurement("noise", Start(kMinute / 2))));
    EXPECT_EQ(resumed.m_lastReportOffs, 0);
    EXPECT_EQ(database.Ask("SELECT noOfPeriods FROM Reports"), "0");
    EXPECT_TRUE(Write(resumed, 1, 100));
    EXPECT_EQ(database.Ask("SELECT Value FROM MeasuredValues WHERE PeriodNo=1"), "1");
}

TEST_P(Recording, MakesARegisteredReportCurrentAgainWithoutWriting) {
    ASSERT_TRUE(Open(store));
    ReportInfo one = Report();
    ReportInfo two = Report(2, 1000, 2);
    ASSERT_TRUE(Write(store, 0, 1));
    ASSERT_TRUE(store.PutReport(nullptr, two));
    const int key = store.m_MeasValueId;
    ASSERT_TRUE(store.PutReport(nullptr, one));
    EXPECT_NE(store.m_MeasValueId, key);
    EXPECT_EQ(store.m_noOfPeriods, 1);
    EXPECT_TRUE(Write(store, 1, 2));

    Store resumed(database.WatchedString());
    ASSERT_TRUE(Open(resumed, Measurement("noise", Start(kMinute * 10))));
    ASSERT_TRUE(Write(resumed, 0, 3));
    ReportInfo three = Report(3, 500, 3);
    ASSERT_TRUE(resumed.PutReport(nullptr, three));
    EXPECT_TRUE(resumed.m_newEntry);
    ASSERT_TRUE(Write(resumed, 0, 4));
    EXPECT_EQ(database.Ask("SELECT PeriodNo FROM MeasuredValues WHERE Value=4"), "0");
    TheWatch().Reset();
    ASSERT_TRUE(resumed.PutReport(nullptr, one));
    EXPECT_FALSE(resumed.m_newEntry);
    EXPECT_EQ(resumed.m_lastReportOffs, 10);
    EXPECT_EQ(resumed.m_noOfPeriods, 11);
    ASSERT_TRUE(resumed.PutReport(nullptr, three));
    EXPECT_TRUE(resumed.m_newEntry);
    EXPECT_EQ(resumed.m_lastReportOffs, 0);
    for (const std::string& statement : TheWatch().statements)
        EXPECT_EQ(statement.rfind("SELECT", 0), 0U) << statement;
    ReportInfo other = Report(1, 1);
    EXPECT_FALSE(resumed.PutReport(nullptr, other));
    EXPECT_FALSE(resumed.m_Valid);
}

TEST_P(Recording, ClosesOnAReportThatAnotherRecorderRegistered) {
    ASSERT_TRUE(Open(store));
    Store first(database.ConnectString());
    Store second(database.ConnectString());
    ReportInfo one = Report();
    ReportInfo two = Report(2, 1000, 2);
    for (Store* resumed : {&first, &second})
        ASSERT_TRUE(Open(*resumed, Measurement("noise", Start(kMinute))));
    ASSERT_TRUE(first.PutReport(nullptr, two) && Write(first, 0, 1));
    for (Store* other : {&second, &store}) {
        EXPECT_TRUE(other->PutReport(nullptr, two)) << "the next write tells";
        EXPECT_FALSE(Write(*other, 0, 2));
        EXPECT_FALSE(other->m_Valid);
        EXPECT_TRUE(other->dbConnect());
        EXPECT_FALSE(Write(*other, 0, 2)) << "a recorder that connects anew is no better off";
    }
    ASSERT_TRUE(first.PutReport(nullptr, one) && first.PutReport(nullptr, two));
    EXPECT_TRUE(Write(first, 1, 3)) << "it registered the report itself";
    ASSERT_TRUE(Open(second, Measurement("noise", Start(kMinute * 2)), two));
    EXPECT_TRUE(Write(second, 0, 4));
    EXPECT_EQ(database.Ask("SELECT PeriodNo FROM MeasuredValues WHERE Value=4"), "120");
}

TEST_P(Recording, GivesAReportItsKeyThatACrashLeftWithoutOne) {
    ASSERT_TRUE(Open(store));
    ReportInfo second = Report(2, 1000, 2);
    ASSERT_TRUE(store.PutReport(nullptr, second));
    database.Run({"DELETE FROM MeasValueMap"});
    Store resumed(database.WatchedString());
    TheWatch().FailOn("INTO MeasvalueMap");
    ASSERT_TRUE(Open(resumed)) << "the next write tells";
    EXPECT_FALSE(Write(resumed, 0, 6));
    MeasurementInfo again = Measurement();
    ASSERT_TRUE(resumed.PutMeasurement(nullptr, 1, again));
    TheWatch().Reset();
    ASSERT_TRUE(resumed.PutReport(nullptr, second));
    ReportInfo first = Report();
    ASSERT_TRUE(resumed.PutReport(nullptr, first));
    EXPECT_EQ(database.Ask("SELECT count(DISTINCT MeasValueId) FROM MeasValueMap"), "2");
    ASSERT_TRUE(Write(resumed, 0, 7));
    Select(resumed);
    EXPECT_EQ(Values(resumed, 0, 1), std::vector<float>{7});
}

TEST_P(Recording, WorksOnADatabaseWhoseReportsHaveNoMinPeriod) {
    database.Run({"ALTER TABLE Reports DROP COLUMN MinPeriod"});
    EXPECT_TRUE(Open(store));
    long first = 0;
    EXPECT_EQ(store.GetFirstPeriod(first, 1, 1, 1, 0, nullptr), 0);
    EXPECT_EQ(first, -1);
}

TEST_P(Recording, RewritesSettingsAndPeriodLengths) {
    ASSERT_TRUE(Open(store));
    EXPECT_TRUE(store.PutResolution(nullptr, CString("1.5, 10,3,20,20000")));
    EXPECT_EQ(database.Ask("SELECT Bandwidth FROM Measurements"), "2");
    EXPECT_EQ(database.Ask("SELECT Sensitivity FROM Measurements"), "1.5");
    EXPECT_FALSE(store.PutResolution(nullptr, CString("1,2,3,4")));
    EXPECT_FALSE(store.PutResolution(nullptr, CString("1,2,3,x y,5")));
    MeasurementInfo info = Measurement();
    EXPECT_TRUE(store.PutResolution(nullptr, info));
    EXPECT_EQ(database.Ask("SELECT Bandwidth FROM Measurements"), "3");
    EXPECT_TRUE(store.PutPeriodLen(nullptr, 900000L));
    EXPECT_EQ(database.Ask("SELECT PeriodLen FROM Reports"), "00,00,15,00,000");
    EXPECT_TRUE(store.PutRealPeriodLen(nullptr, CString("125")));
    EXPECT_EQ(database.Ask("SELECT RealPeriodLen FROM Reports"), "125");
    Select(store);
    CTimeSpanEx real;
    store.SetReport(-1);
    store.SetReport(1);
    store.GetRealPrdLength(real);
    EXPECT_EQ(real.GetTotalMilliseconds(), 125);
    ReportInfo both = Report();
    EXPECT_TRUE(store.PutPeriodLen(nullptr, both));
    EXPECT_EQ(database.Ask("SELECT RealPeriodLen FROM Reports"), "NOT_SET");
    EXPECT_FALSE(store.IncPeriods(nullptr)) << "it never counts, and callers rely on that";
}

TEST_P(Recording, AnswersAFailingStatementAsEachOperationPromises) {
    ASSERT_TRUE(Open(store));
    Store watched(database.WatchedString());
    const auto resume = [&] {
        TheWatch().Reset();
        return Open(watched, Measurement("noise", Start(kMinute)));
    };
    MeasurementInfo info = Measurement();
    InstrumentInfo instrument = Instrument();
    ReportInfo added = Report(9, 1, 9);
    long next = 0;

    ASSERT_TRUE(resume());
    TheWatch().FailOn("UPDATE");
    EXPECT_TRUE(watched.PutPercentiles(nullptr, info));
    EXPECT_FALSE(watched.PutResolution(nullptr, info));
    EXPECT_FALSE(watched.PutPeriodLen(nullptr, 1L));
    EXPECT_FALSE(watched.PutPeriodsAbsolute(nullptr, 1000));
    EXPECT_TRUE(watched.PutDataRelative(1, "", 2000, 1, 1, 30, true, next, false, nullptr))
        << "stored, if not counted";
    EXPECT_EQ(next, 2001);
    EXPECT_FALSE(watched.PutInstrumentState(nullptr, instrument, "on"));
    EXPECT_FALSE(watched.m_Valid);

    TheWatch().FailOn("UPDATE Reports");
    EXPECT_TRUE(Open(watched, Measurement("noise", Start(kMinute)))) << "the next write tells";
    EXPECT_FALSE(watched.m_Valid);

    ASSERT_TRUE(resume());
    TheWatch().FailOn("MEASUREDFUNCTIONS");
    EXPECT_FALSE(watched.PutFunction(nullptr, 1, 1));
    EXPECT_EQ(GetErrorInfo()->description, "told to fail");
    TheWatch().error = _com_error(E_FAIL, "a duplicate");
    EXPECT_FALSE(watched.PutFunction(nullptr, 1, 1)) << "the word alone says nothing";
    TheWatch().error = _com_error(E_FAIL, "stored", "Watched", true);
    EXPECT_TRUE(watched.PutFunction(nullptr, 1, 1));
    TheWatch().FailOn("MeasvalueMap");
    EXPECT_FALSE(watched.PutReport(nullptr, added));

    TheWatch().Reset();
    TheWatch().FailOn("MEASUREDVALUES");
    EXPECT_FALSE(watched.PutDataRelative(1, "", 1, 1, 1, 30, true, next, false, nullptr));
    EXPECT_EQ(watched.PutDataStart(nullptr), nullptr);
    TheWatch().FailOn("SELECT count(*) FROM MeasuredValues");
    EXPECT_TRUE(Open(watched, Measurement("noise", Start(kMinute))));
    TheWatch().FailOn("INTO MEASUREMENTS");
    EXPECT_FALSE(Open(watched, Measurement("another")));
    EXPECT_FALSE(watched.m_Valid);
    EXPECT_FALSE(Mersola().PutStart(nullptr, Start()));
}

TEST_P(Recording, RunsItsStatementsInTheirOrder) {
    Store watched(database.WatchedString());
    TheWatch().Reset();
    ASSERT_TRUE(Open(watched));
    ASSERT_TRUE(watched.PutFunction(nullptr, 1, 2));
    ASSERT_TRUE(Write(watched, 0, 1.5));
    const std::string start = std::string(Start().ToText().View());
    const std::vector<std::string> expected{
        "SELECT * FROM Groups where GroupName='station 1'",
        "SELECT count(*) FROM Groups",
        "SELECT GroupId FROM Groups where GroupId=1",
        "INSERT INTO GROUPS  WITH (ROWLOCK) (GroupId,GroupName,Info,Type,State) VALUES (1,'station "
        "1','','0','')",
        "SELECT * FROM Measurements where MeasName='noise' and GroupId=1",
        "SELECT count(*) FROM Measurements WHERE GroupId=1",
        "SELECT MeasId FROM Measurements where MeasId=1 and GroupId=1",
        "INSERT INTO MEASUREMENTS WITH (ROWLOCK) (MeasName,MeasId,Info,BandWidth, Fullscale, "
        "Sensitivity, FrqLower, FrqUpper, "
        "StartAt, GroupId) VALUES ('noise',1,'',3,0.100000,0.050000,25.000000,20000.000000,'" +
            start + "',1)",
        "UPDATE MEASUREMENTS  WITH (ROWLOCK) SET StartAt='" + start +
            "' WHERE GroupId=1 AND MeasId=1",
        "SELECT * FROM Reports where MeasId=-1 and GroupId=-1 and ReportId=-1",
        "SELECT count(*) FROM Reports where MeasId=1 and GroupId=1 and ReportId=1",
        "INSERT INTO REPORTS WITH (ROWLOCK) (GroupId,MeasId,ReportId,PeriodLen,RealPeriodLen, "
        "noOfPeriods, "
        "MinPeriod,ReportType) VALUES (1,1,1,'00,00,01,00,000','NOT_SET',0,0,1)",
        "SELECT MeasValueId FROM MeasValueMap where GroupId=1 and MeasId=1 and ReportId=1",
        "SELECT count(*) FROM MeasValueMap",
        "SELECT MeasValueId FROM MeasValueMap where MeasValueId=1",
        "INSERT INTO MeasvalueMap WITH (ROWLOCK) (GroupId,MeasId,ReportId,MeasValueId) VALUES "
        "(1,1,1,1)",
        "INSERT INTO MEASUREDFUNCTIONS WITH (ROWLOCK) (GroupId,MeasId,ReportId,FuncId,Channel) "
        "VALUES (1,1,1,1,2)",
        "INSERT INTO MEASUREDVALUES  WITH (ROWLOCK) "
        "(MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) VALUES "
        "(1,0,1,1.500000,'',30,1)",
        "UPDATE Reports  WITH (ROWLOCK) SET noOfPeriods=1 WHERE GroupId=1 AND MeasId=1 AND "
        "ReportId=1",
    };
    EXPECT_EQ(TheWatch().statements, expected);
}

INSTANTIATE_ON_EVERY_ENGINE(Recording);

}  // namespace
}  // namespace mersola::test
