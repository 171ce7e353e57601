// Markers and the version history.
#include "support/store.h"

namespace mersola::test {
namespace {

using Markers = CArray<MarkerInfo, MarkerInfo&>;

class MarkersTest : public Contract {
  protected:
    MarkersTest() { EXPECT_TRUE(Open(store)); }

    static MarkerInfo Marker(int id, const CTimeEx& start, const char* condition = "") {
        MarkerInfo m;
        m.GroupId = 1;
        m.MeasId = 1;
        m.MarkerId = id;
        m.Path = "a.wav";
        m.Start = m.Stop = start.ToText();
        m.TriggerCondition = condition;
        return m;
    }

    // The numbers of the markers found.
    static std::vector<int> Ids(const Markers& found) {
        std::vector<int> ids;
        for (const MarkerInfo& m : found)
            ids.push_back(m.MarkerId);
        return ids;
    }

    Store store{database.WatchedString()};
    static constexpr std::int64_t kMinute = 60000;
};

TEST_P(MarkersTest, AreOpenedAndClosedAtPeriods) {
    MarkerInfo m = Marker(1, Start());
    m.TriggerCondition = "type=\"level\",at=\"{a,b}\\\\\"";
    ASSERT_TRUE(store.PutMarkerRelative(nullptr, m, 2));
    EXPECT_EQ(m.Start, Start(2 * kMinute).ToText());
    EXPECT_EQ(m.inProgess, 0);
    EXPECT_EQ(database.Ask("SELECT inProgess FROM Markers"), "1");
    Markers found;
    EXPECT_EQ(store.GetMarkers(found), 1);
    EXPECT_EQ(found.GetSize(), 0) << "it is open";
    EXPECT_EQ(store.GetOpenMarkers(found), 1);
    EXPECT_EQ(store.GetOpenMarkers(found), 1);
    ASSERT_EQ(found.GetSize(), 2) << "appended to, not emptied";
    EXPECT_EQ(found[1].Start, m.Start);
    EXPECT_EQ(found[1].TriggerCondition, m.TriggerCondition);
    EXPECT_EQ(found[1].inProgess, 1);
    found.RemoveAll();
    ASSERT_TRUE(store.UpdateMarkerStopRelative(nullptr, m, 5));
    EXPECT_EQ(store.GetOpenMarkers(found), 1);
    EXPECT_EQ(found.GetSize(), 0) << "it is closed";
    EXPECT_EQ(store.GetMarkers(found, "LEVEL"), 1);
    ASSERT_EQ(found.GetSize(), 1);
    EXPECT_EQ(found[0].Stop, Start(5 * kMinute).ToText());
    EXPECT_EQ(found[0].TriggerCondition, m.TriggerCondition);
    EXPECT_EQ(store.GetMarkers(found, "other"), 1);
    EXPECT_EQ(found.GetSize(), 1) << "appended to, not emptied";
    ASSERT_TRUE(store.PutMarkerRelative(nullptr, m, -1));
    EXPECT_EQ(m.Start, Start(-kMinute).ToText());

    Store resumed(database.ConnectString());
    ASSERT_TRUE(Open(resumed, Measurement("noise", Start(10 * kMinute))));
    MarkerInfo later = Marker(2, Start());
    ASSERT_TRUE(resumed.PutMarkerRelative(nullptr, later, 0));
    EXPECT_EQ(later.Start, Start(10 * kMinute).ToText());
    MarkerInfo digit = later;
    digit.Start = Start(1).ToText();
    EXPECT_TRUE(resumed.UpdateMarkerStop(nullptr, digit)) << "no row is no fault";
    EXPECT_EQ(database.Ask("SELECT inProgess FROM Markers WHERE MarkerId=2"), "1");
    EXPECT_TRUE(resumed.UpdateMarkerStop(nullptr, later));
    EXPECT_EQ(database.Ask("SELECT inProgess FROM Markers WHERE MarkerId=2"), "0");
}

TEST_P(MarkersTest, AreFoundByTimeByPeriodAndByType) {
    for (const std::int64_t at : {0LL, 59999LL, 60000LL, 120001LL}) {
        MarkerInfo m = Marker(static_cast<int>(at), Start(at),
                              at == 60000 ? "Type=\"alarm\"" : "type=\"ALARM\"");
        ASSERT_TRUE(store.PutMarker(nullptr, m));
    }
    MarkerInfo unreadable = Marker(5, Start());
    unreadable.Start = "soon";
    ASSERT_TRUE(store.PutMarker(nullptr, unreadable));
    Store reader(database.ConnectString());
    Select(reader);
    Markers window;
    EXPECT_EQ(reader.GetMarkers(Start(59999), Start(120001), window), 1);
    EXPECT_EQ(Ids(window), (std::vector<int>{59999, 60000}));
    Markers periods;
    EXPECT_EQ(reader.GetMarkers(1, 2, periods), 1);
    EXPECT_EQ(Ids(periods), std::vector<int>{60000});
    Markers typed;
    EXPECT_EQ(reader.GetMarkers(typed, "Alarm"), 1);
    EXPECT_EQ(Ids(typed), std::vector<int>{60000}) << "a type in capitals matches nothing";
    MarkerInfo byHand = Marker(6, Start(), "type = hand, level>=70");
    ASSERT_TRUE(store.PutMarker(nullptr, byHand));
    Markers written;
    EXPECT_EQ(reader.GetMarkers(written, "hand"), 1);
    EXPECT_EQ(Ids(written), std::vector<int>{6});
    EXPECT_EQ(Mersola().GetMarkers(typed), 0);

    Store resumed(database.ConnectString());
    ASSERT_TRUE(Open(resumed, Measurement("noise", Start(kMinute))));
    Markers shifted;
    EXPECT_EQ(resumed.GetMarkers(0, 1, shifted), 1);
    EXPECT_EQ(Ids(shifted), std::vector<int>{60000});
}

TEST_P(MarkersTest, AreFoundByPeriodsOfTheSelectionAfterARefusedRecording) {
    for (const std::int64_t minute : {1, 11}) {
        MarkerInfo m = Marker(static_cast<int>(minute), Start(minute * kMinute));
        ASSERT_TRUE(store.PutMarker(nullptr, m));
    }
    MeasurementInfo early = Measurement("noise", Start(-kMinute));
    MeasurementInfo wider = Measurement("noise", Start(20 * kMinute));
    wider.BandWidth = 1;
    Store resumed(database.ConnectString());
    ASSERT_TRUE(Open(resumed, Measurement("noise", Start(10 * kMinute))));
    for (Store* each : {&store, &resumed}) {
        for (MeasurementInfo* refused : {&early, &wider}) {
            EXPECT_FALSE(each->PutMeasurement(nullptr, 1, *refused));
            Markers found;
            EXPECT_EQ(each->GetMarkers(1, 2, found), 1);
            EXPECT_EQ(Ids(found), std::vector<int>{1});
        }
    }
}

TEST_P(MarkersTest, OfAlarmInstrumentsComeAlong) {
    database.Run({"INSERT INTO Groups VALUES (2,'alarms','','Alarm,1','station')",
                  "UPDATE Groups SET Type='2,x', State='0,y' WHERE GroupId=1"});
    MarkerInfo own = Marker(1, Start());
    MarkerInfo alarm = Marker(2, Start());
    alarm.GroupId = 2;
    alarm.MeasId = 7;
    ASSERT_TRUE(store.PutMarker(nullptr, own) && store.PutMarker(nullptr, alarm));
    Markers found;
    EXPECT_EQ(store.GetMarkers(found), 1);
    ASSERT_EQ(Ids(found), (std::vector<int>{1, 2}));
    EXPECT_EQ(found[1].GroupId, 1);
    EXPECT_EQ(found[1].MeasId, -2);
    database.Run({"UPDATE Groups SET State='1' WHERE GroupId=1"});
    Markers alone;
    EXPECT_EQ(store.GetMarkers(alone), 1);
    EXPECT_EQ(Ids(alone), std::vector<int>{1});
}

TEST_P(MarkersTest, AreDeletedOneByOneOrByNumberAndType) {
    MarkerInfo one = Marker(1, Start());
    MarkerInfo other = Marker(1, Start());
    other.frqId = 5;
    for (MarkerInfo* m : {&one, &other, &other})
        ASSERT_TRUE(store.PutMarker(nullptr, *m));
    EXPECT_EQ(store.DeleteMarker(nullptr, one), 1);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM Markers"), "2");
    EXPECT_EQ(store.DeleteMarkers(one), 1);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM Markers"), "0");
    EXPECT_EQ(Mersola().DeleteMarker(nullptr, one), 0);
    EXPECT_EQ(Mersola().DeleteMarkers(one), 0);
}

TEST_P(MarkersTest, FailAsEachOperationPromises) {
    MarkerInfo m = Marker(1, Start());
    TheWatch().FailOn("Markers");
    EXPECT_FALSE(store.PutMarker(nullptr, m));
    EXPECT_THROW(store.PutMarkerRelative(nullptr, m, 3), _com_error);
    EXPECT_EQ(m.Start, Start(3 * kMinute).ToText()) << "changed before the statement";
    EXPECT_THROW(store.UpdateMarkerStopRelative(nullptr, m, 4), _com_error);
    EXPECT_FALSE(store.UpdateMarkerStop(nullptr, m));
    EXPECT_EQ(store.DeleteMarker(nullptr, m), 0);
    EXPECT_EQ(store.DeleteMarkers(m), 0);
    Markers found;
    EXPECT_EQ(store.GetMarkers(found), 0);
    EXPECT_EQ(store.GetMarkers(0, 1, found), 0);
    EXPECT_EQ(store.GetOpenMarkers(found), 0);
    EXPECT_EQ(Mersola().GetOpenMarkers(found), 0);
    TheWatch().Reset();
    store.m_Valid = false;
    const CString before = m.Stop;
    EXPECT_FALSE(store.PutMarkerRelative(nullptr, m, 9));
    EXPECT_FALSE(store.UpdateMarkerStop(nullptr, m));
    EXPECT_EQ(m.Stop, before);
    m.Path = "it's.wav";
    EXPECT_FALSE(store.PutMarker(nullptr, m));
    EXPECT_EQ(database.Ask("SELECT count(*) FROM Markers"), "0");
}

TEST_P(MarkersTest, AreGivenInTheirOrderAlsoFromADatabaseThatNumbersThem) {
    for (const bool isNumbered : {false, true}) {
        if (isNumbered) database.NumberRows();
        for (const int id : {3, 9, 1, 2}) {
            MarkerInfo m = Marker(id, Start());
            ASSERT_TRUE(store.PutMarker(nullptr, m));
        }
        MarkerInfo deleted = Marker(9, Start());
        EXPECT_EQ(store.DeleteMarkers(deleted), 1);
        MarkerInfo closed = Marker(1, Start());
        ASSERT_TRUE(store.UpdateMarkerStop(nullptr, closed));
        Markers found;
        EXPECT_EQ(store.GetMarkers(found), 1);
        EXPECT_EQ(Ids(found), (std::vector<int>{3, 1, 2}));
        versionHistory v;
        for (const char* version : {"2", "1"}) {
            v.Version = version;
            EXPECT_EQ(store.AddVersion(nullptr, v), 1);
        }
        EXPECT_EQ(store.GetVersion(nullptr, v), 1);
        EXPECT_EQ(v.Version, "2");
    }
}

TEST_P(MarkersTest, VersionHistoryTellsTheStateOfTheDatabase) {
    versionHistory v;
    v.Info = "kept";
    EXPECT_EQ(store.GetVersion(nullptr, v), 0);
    EXPECT_EQ(v.Info, "kept");
    versionHistory added;
    added.Version = "2.1";
    added.Info = "wider";
    added.Date = "2026-11-22";
    EXPECT_EQ(store.AddVersion(nullptr, added), 1);
    EXPECT_EQ(store.GetVersion(nullptr, v), 1);
    EXPECT_EQ(v.Version, "2.1");
    EXPECT_EQ(v.Date, "2026-11-22");
    TheWatch().FailOn("VersionHistory");
    EXPECT_EQ(store.GetVersion(nullptr, v), -3);
    EXPECT_EQ(store.AddVersion(nullptr, added), 0);
    TheWatch().Reset();
    database.Run({"DROP TABLE VersionHistory"});
    EXPECT_EQ(store.GetVersion(nullptr, v), -1);
    database.Run({"DROP TABLE Groups"});
    EXPECT_EQ(store.GetVersion(nullptr, v), -2);
    EXPECT_EQ(Mersola().GetVersion(nullptr, v), -3);
}

INSTANTIATE_ON_EVERY_ENGINE(MarkersTest);

}  // namespace
}  // namespace mersola::test
