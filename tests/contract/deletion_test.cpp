// Deleting: what goes and what stays, beside kills, recorders and readers.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <random>

#include "support/child.h"
#include "support/store.h"

namespace mersola::test {
namespace {

constexpr std::int64_t kDay = 86400000;
constexpr std::int64_t kMinute = 60000;

// A stored value, and whose it is.
struct Row {
    int group, meas, report, period, channel, func;
    std::string value;
    auto operator<=>(const Row&) const = default;
};

// A report of a measurement that began `start` milliseconds after Start().
struct Series {
    int group, meas, report, key;
    std::int64_t start, length;
    int periods;
};

// The component that deletes recording files, and notes which.
struct Receiver : IMsgReceiver {
    explicit Receiver(std::vector<std::string>& asked) : asked_(asked) {}
    HRESULT deleteFile(const CString& path) override {
        asked_.emplace_back(path.View());
        return S_OK;
    }
    std::vector<std::string>& asked_;
};

class DeletionTest : public Contract {
  protected:
    // Ten periods, of which the last has just ended.
    static void RecordTenMinutes(Store& recorder, const CTimeEx& now) {
        ASSERT_TRUE(Open(recorder, Measurement("noise", now - CTimeSpanEx(10 * kMinute)),
                         Report(1, kMinute)));
        ASSERT_TRUE(recorder.PutFunction(nullptr, 1, 1));
        for (int period = 0; period < 10; ++period)
            ASSERT_TRUE(Write(recorder, period, period));
    }

    using Random = std::mt19937;

    static int Pick(Random& random, int from, int to) {
        return std::uniform_int_distribution(from, to)(random);
    }

    // Stores instruments of some measurements, each with two reports and a marker.
    std::vector<Series> Fill(Random& random, int groups, int measurements, int periods) {
        std::vector<Series> all;
        std::vector<std::string> statements;
        const auto run = [&](const char* format, auto... arguments) {
            CString text;
            text.Format(format, arguments...);
            statements.emplace_back(text.View());
        };
        for (int group = 1; group <= groups; ++group) {
            run("INSERT INTO Groups VALUES (%d,'station %d','','0','')", group, group);
            for (int meas = 1; meas <= measurements; ++meas) {
                const std::int64_t start = -30 * kDay + Pick(random, 0, 30) * kMinute;
                const CString startText = Start(start).ToText();
                run("INSERT INTO Measurements (GroupId,MeasId,MeasName,StartAt) VALUES "
                    "(%d,%d,'m%d','%s')",
                    group, meas, meas, startText.GetString());
                run("INSERT INTO Markers (GroupId,MeasId,Path,Start,Stop,inProgess) VALUES "
                    "(%d,%d,'x.wav','%s','%s',0)",
                    group, meas, startText.GetString(), startText.GetString());
                for (int report = 1; report <= 2; ++report) {
                    const Series series{group,
                                        meas,
                                        report,
                                        ++lastKey_,
                                        start,
                                        Pick(random, 1, 3) * kMinute,
                                        Pick(random, 0, periods)};
                    all.push_back(series);
                    run("INSERT INTO Reports VALUES (%d,%d,%d,'%s','NOT_SET',%d,0,%d)", group, meas,
                        report, CTimeSpanEx(series.length).ToText().GetString(), series.periods,
                        report);
                    run("INSERT INTO MeasValueMap VALUES (%d,%d,%d,%d)", group, meas, report,
                        lastKey_);
                    for (int func = 1; func <= 2; ++func) {
                        run("INSERT INTO MeasuredFunctions VALUES (%d,%d,%d,%d,1)", group, meas,
                            report, func);
                        for (int period = 0; period < series.periods; ++period) {
                            if (Pick(random, 0, 3) == 0) continue;
                            run("INSERT INTO MeasuredValues VALUES (%d,%d,1,%d,30,%d.%d,'')",
                                lastKey_, period, func, Pick(random, 0, 99), Pick(random, 1, 9));
                        }
                    }
                }
            }
        }
        database.Run(statements);
        return all;
    }

    std::vector<Row> Stored(Store& store) {
        std::vector<Row> rows;
        const auto found = store.dbExecute(
            "SELECT k.GroupId,k.MeasId,k.ReportId,v.PeriodNo,v.Channel,v.FuncId,v.Value FROM "
            "MeasuredValues v JOIN MeasValueMap k ON k.MeasValueId=v.MeasValueId");
        for (; !found->EndOfFile(); found->MoveNext()) {
            const auto number = [&](int column) { return int{found->Fields(column).Long()}; };
            rows.push_back({number(0), number(1), number(2), number(3), number(4), number(5),
                            std::string(found->Fields(6).Text().View())});
        }
        std::ranges::sort(rows);
        return rows;
    }

    // Rows without the row that they belong to.
    std::string Orphans() const {
        std::string sum = "SELECT 0";
        const auto add = [&](const char* table, const char* owner, const char* same) {
            sum += std::string("+(SELECT count(*) FROM ") + table +
                   " x WHERE NOT EXISTS (SELECT * FROM " + owner + " o WHERE " + same + "))";
        };
        const char* const report =
            "o.GroupId=x.GroupId AND o.MeasId=x.MeasId AND o.ReportId=x.ReportId";
        const char* const measurement = "o.GroupId=x.GroupId AND o.MeasId=x.MeasId";
        add("MeasuredValues", "MeasValueMap", "o.MeasValueId=x.MeasValueId");
        add("MeasuredFunctions", "Reports", report);
        add("MeasValueMap", "Reports", report);
        add("Reports", "Measurements", measurement);
        add("Markers", "Measurements", measurement);
        add("Measurements", "Groups", "o.GroupId=x.GroupId");
        return database.Ask(sum + " AS rows_found");
    }

    std::string Count(const std::string& rows) const {
        return database.Ask("SELECT count(*) FROM " + rows);
    }

    void AddMarker(int group, const std::string& path) const {
        database.Run({"INSERT INTO Markers (GroupId,MeasId,Path,Start,Stop,inProgess) VALUES (" +
                      std::to_string(group) + ",1,'" + path +
                      "','2020,01,01,00,00,00,000','2020,01,01,00,00,00,000',0)"});
    }

  private:
    int lastKey_ = 0;
};

TEST_P(DeletionTest, LeavesNothingWithoutAnOwnerWhenKilledBetweenAnyTwoStatements) {
    RegisterWatchedProvider();
    Random random(1);
    const CTimeEx before = Start(-30 * kDay + 4 * kMinute);
    for (const bool isRetention : {false, true}) {
        const auto work = [&](Store& store) {
            return isRetention ? store.deleteOldMeasurements(nullptr, 1, before)
                               : store.deleteInstrument(nullptr, 1);
        };
        bool isFinished = false;
        for (int statement = 1; !isFinished; statement += GetParam() == "SQLite" ? 1 : 7) {
            Fill(random, 2, 1, 4);
            Store store(database.ConnectString());
            std::vector<Row> others = Stored(store);
            std::erase_if(others, [](const Row& row) { return row.group == 1; });
            Child killed([&](const auto&) {
                Store child(database.WatchedString());
                int count = 0;
                TheWatch().fails = [&](std::string_view) {
                    if (++count == statement) std::raise(SIGKILL);
                    return false;
                };
                return work(child) == 1 ? 0 : 2;
            });
            const int status = killed.Wait();
            ASSERT_TRUE(status == 0 || status == 128 + SIGKILL) << status;
            isFinished = status == 0;
            ASSERT_EQ(Orphans(), "0") << "at statement " << statement;
            ASSERT_EQ(work(store), 1);
            ASSERT_EQ(Orphans(), "0") << "at statement " << statement;
            ASSERT_EQ(work(store), 1) << "with nothing left to delete";
            ASSERT_EQ(store.deleteInstrument(nullptr, 1), 1);
            ASSERT_EQ(Stored(store), others);
            ASSERT_EQ(Count("Groups"), "1");
            ASSERT_EQ(store.deleteInstrument(nullptr, 2), 1);
            for (const char* table : {"Groups", "Measurements", "Reports", "MeasValueMap",
                                      "MeasuredFunctions", "MeasuredValues", "Markers"})
                ASSERT_EQ(Count(table), "0") << table;
        }
    }
}

TEST_P(DeletionTest, LeavesWhatIsToStayBitForBit) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    Store store(database.ConnectString());
    const std::vector<Series> all = Fill(random, 3, 3, 12);
    for (int round = 0; round < 12; ++round) {
        std::vector<Row> expected = Stored(store);
        const auto erase = [&](const Series& series, std::int64_t first, std::int64_t end,
                               int func) {
            std::erase_if(expected, [&](const Row& row) {
                return row.group == series.group && row.meas == series.meas &&
                       row.report == series.report && row.period >= first && row.period < end &&
                       (func == -1 || row.func == func);
            });
        };
        const int group = Pick(random, 1, 3), meas = Pick(random, 1, 3);
        const CTimeEx from = Start(-30 * kDay + Pick(random, 0, 60 * 1000) * 60);
        const CTimeEx to = from + CTimeSpanEx(Pick(random, 0, 10 * 1000) * std::int64_t{60});
        const int kind = round == 11 ? 3 : Pick(random, 0, 9);
        if (kind == 3) {
            ASSERT_EQ(store.deleteInstrument(nullptr, group), 1);
            std::erase_if(expected, [&](const Row& row) { return row.group == group; });
            EXPECT_EQ(Count("Groups WHERE GroupId=" + std::to_string(group)), "0");
        } else if (kind == 4) {
            ASSERT_EQ(store.deleteMeasurement(nullptr, group, meas), 1);
            std::erase_if(expected,
                          [&](const Row& row) { return row.group == group && row.meas == meas; });
        } else if (kind < 3) {
            const int func = Pick(random, 0, 2) == 0 ? -1 : Pick(random, 1, 2);
            ASSERT_EQ(store.deleteValues(nullptr, group, meas, from, to, 1, func), 1);
            for (const Series& series : all) {
                if (series.group != group || series.meas != meas) continue;
                for (int period = 0; period < series.periods; ++period) {
                    const std::int64_t begin = series.start + period * series.length;
                    if (begin >= (from - Start()).GetTotalMilliseconds() &&
                        begin < (to - Start()).GetTotalMilliseconds())
                        erase(series, period, period + 1, func);
                }
            }
        } else {
            const bool isOne = Pick(random, 0, 1) == 1;
            const std::int64_t time = (from - Start()).GetTotalMilliseconds();
            CArray<OldMeasurement, OldMeasurement&> planned;
            ASSERT_EQ(store.GetOldMeasurements(nullptr, isOne ? group : -1, from, planned), 1);
            ASSERT_EQ(isOne ? store.deleteOldMeasurements(nullptr, group, from)
                            : store.deleteOldMeasurements(nullptr, from),
                      1);
            std::int64_t inPlan = 0, gone = 0;
            for (const OldMeasurement& old : planned) {
                for (const OldPeriods& periods : old.periods) {
                    inPlan += std::ranges::count_if(expected, [&](const Row& row) {
                        return row.group == old.groupId && row.meas == old.measId &&
                               row.report == periods.reportId && row.period >= periods.first &&
                               row.period < periods.end;
                    });
                }
            }
            gone = static_cast<std::int64_t>(expected.size());
            for (const Series& series : all) {
                if ((isOne && series.group != group) || time < series.start) continue;
                const std::int64_t end = (time - series.start) / series.length;
                erase(series, 0, end, -1);
                if (end >= series.periods) continue;
                const std::string lowest = database.Ask(
                    "SELECT r.MinPeriod FROM Reports r JOIN MeasValueMap k ON k.GroupId=r.GroupId "
                    "AND k.MeasId=r.MeasId AND k.ReportId=r.ReportId WHERE k.MeasValueId=" +
                    std::to_string(series.key));
                EXPECT_TRUE(lowest.empty() || std::stol(lowest) >= end);
            }
            EXPECT_EQ(inPlan, gone - static_cast<std::int64_t>(expected.size()));
        }
        ASSERT_EQ(Stored(store), expected) << "round " << round << ", kind " << kind;
        ASSERT_EQ(Orphans(), "0");
    }
}

TEST_P(DeletionTest, KeepsWhatIsBeingRecordedAndTheNumbersOfItsPeriods) {
    const CTimeEx now = CTimeEx::GetCurrentTime();
    const auto minutes = [](int count) { return CTimeSpanEx(count * kMinute); };
    Store recorder(database.ConnectString());
    RecordTenMinutes(recorder, now);
    long next = 0;
    ASSERT_TRUE(recorder.PutDataRelative(10, "", 10, 1, 1, 30, false, next, false, nullptr));
    Store reader(database.ConnectString());
    Select(reader);
    long first = -1;
    ASSERT_EQ(reader.GetFirstPeriod(first), 1);
    ASSERT_EQ(first, 0);

    Store store(database.ConnectString());
    ASSERT_EQ(store.deleteOldMeasurements(nullptr, now - minutes(6)), 1);
    EXPECT_EQ(Values(reader, 0, 5), (std::vector<float>{-100, -100, -100, -100, 4}));
    ASSERT_EQ(reader.GetFirstPeriod(first), 1);
    EXPECT_EQ(first, 4) << "what it remembered is gone";
    ASSERT_EQ(store.deleteOldMeasurements(nullptr, 1, now - minutes(8)), 1);
    EXPECT_EQ(reader.GetFirstPeriod(first, 1, 1, 1, 0, nullptr), 1);
    EXPECT_EQ(first, 4) << "which is never lowered";
    ASSERT_EQ(store.deleteOldMeasurements(nullptr, now + minutes(100)), 1);
    EXPECT_EQ(reader.GetFirstPeriod(first, 1, 1, 1, 0, nullptr), 1);
    EXPECT_EQ(first, 10);
    EXPECT_EQ(reader.GetFirstPeriod(first), 1);
    EXPECT_EQ(first, 10) << "the period that the recorder is at";
    long count = 0;
    EXPECT_EQ(reader.Get_nPrds(count), 1);
    EXPECT_EQ(count, 10);
    ASSERT_TRUE(Write(recorder, 11, 11));
    ASSERT_TRUE(Open(recorder, Measurement("noise", now + minutes(3)), Report(1, kMinute)));
    EXPECT_EQ(recorder.m_lastReportOffs, 13) << "where the clock is";
    EXPECT_EQ(Orphans(), "0");
}

TEST_P(DeletionTest, LeavesWhatIsResumedMeanwhile) {
    const CTimeEx now = CTimeEx::GetCurrentTime();
    Store recorder(database.ConnectString());
    const auto record = [&](const CTimeEx& start, int period) {
        ASSERT_TRUE(Open(recorder, Measurement("noise", start), Report(1, kMinute)));
        ASSERT_TRUE(recorder.PutFunction(nullptr, 1, 1));
        ASSERT_TRUE(Write(recorder, period, 7));
    };
    const CTimeEx start = now - CTimeSpanEx(5 * kDay);
    record(start, 0);
    record(start, 3);
    AddMarker(1, "old.wav");
    Store store(database.ConnectString());
    DeletionOptions options;
    bool isResumed = false;
    options.progress = [&](const DeletionProgress&) {
        if (!std::exchange(isResumed, true)) {
            record(now, 0);
            MarkerInfo marker;
            marker.GroupId = marker.MeasId = 1;
            marker.Path = "new.wav";
            marker.Start = marker.Stop = now.ToText();
            marker.inProgess = 1;
            EXPECT_TRUE(recorder.PutMarker(nullptr, marker));
        }
        return true;
    };
    ASSERT_EQ(store.deleteOldMeasurements(nullptr, now - CTimeSpanEx(kDay), options), 1);
    EXPECT_TRUE(isResumed);
    EXPECT_EQ(Count("Measurements"), "1");
    EXPECT_EQ(database.Ask("SELECT Path FROM Markers"), "new.wav");
    Select(store);
    EXPECT_EQ(Values(store, recorder.m_lastReportOffs, 1), std::vector<float>{7});
    EXPECT_EQ(Values(store, 0, 4), (std::vector<float>{-100, -100, -100, -100}));
}

TEST_P(DeletionTest, KeepsStatementsOnAServerBelowTheLocksOfAWholeTableAndFilesSmall) {
    RegisterWatchedProvider();
    Store recorder(database.ConnectString());
    ASSERT_TRUE(Open(recorder));
    for (int period = 0; period < 3; ++period) {
        const auto batch = recorder.PutDataStart(nullptr);
        for (int value = 0; value < (period == 1 ? 6000 : 1500); ++value) {
            long next = 0;
            ASSERT_TRUE(recorder.PutDataRelative(1.0 / (value + 1), "", period, 1 + value % 3, 1,
                                                 value / 3, false, next, true, batch));
        }
        ASSERT_TRUE(recorder.PutDataEnd(batch));
    }
    Store store(database.WatchedString());
    TheWatch().fails = [&](std::string_view sql) {
        if (!database.EngineOf().hasOneWriter && sql.starts_with("DELETE FROM MeasuredValues")) {
            EXPECT_LT(std::stoi(Count(std::string(sql.substr(sql.find("MeasuredValues"))))), 5000);
        }
        return false;
    };
    DeletionProgress last;
    DeletionOptions options;
    options.progress = [&](const DeletionProgress& progress) {
        last = progress;
        return true;
    };
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 1);
    TheWatch().Reset();
    EXPECT_EQ(Count("MeasuredValues"), "0");
    EXPECT_EQ(last.bytesGivenBack > 0, database.EngineOf().room != nullptr);
}

TEST_P(DeletionTest, IsNoticedInTheContinuousView) {
    Store recorder(database.ConnectString());
    const auto record = [&](const char* name, std::int64_t start, double value) {
        ASSERT_TRUE(Open(recorder, Measurement(name, Start(start)), Report(1, kMinute)));
        ASSERT_TRUE(recorder.PutFunction(nullptr, 1, 1));
        ASSERT_TRUE(Write(recorder, 0, value));
    };
    record("one", 0, 1);
    record("two", 2 * kMinute, 2);
    Store reader(database.ConnectString());
    reader.SetInstrument(1);
    reader.SetChannel(1);
    reader.SetFunction(1);
    ASSERT_TRUE(reader.SetMeasurement(-3) && reader.SetReport(1));
    ASSERT_EQ(Values(reader, 0, 3), (std::vector<float>{1, -100, 2}));
    ASSERT_EQ(recorder.deleteMeasurement(nullptr, 1, 1), 1);
    EXPECT_EQ(Values(reader, 0, 3), (std::vector<float>{-100, -100, 2}));
    record("three", 5 * kMinute, 3);
    ASSERT_TRUE(reader.refreshContinuousData());
    EXPECT_EQ(Values(reader, 0, 4), (std::vector<float>{2, -100, -100, 3}));
}

TEST_P(DeletionTest, StopsWhereTheCallerWantsAndIsRefusedWhereItCannotFinish) {
    Random random(2);
    Fill(random, 1, 2, 6);
    Store store(database.ConnectString());
    int calls = 0;
    DeletionOptions options;
    options.progress = [&](const DeletionProgress&) { return ++calls < 2; };
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 0);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(Count("Groups"), "1");
    EXPECT_EQ(store.deleteInstrument(nullptr, -1), 0);
    CTimeEx none;
    none.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(store.deleteOldMeasurements(nullptr, none), 0);
    EXPECT_EQ(Mersola().deleteInstrument(nullptr, 1), 0);
    store.BeginTrans();
    EXPECT_EQ(store.deleteInstrument(nullptr, 1), 0) << "inside a transaction";
    store.RollbackTrans();
    EXPECT_EQ(Count("Groups"), "1");

    DeletionProgress last;
    options.progress = [&](const DeletionProgress& progress) {
        last = progress;
        return true;
    };
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 1);
    EXPECT_EQ(last.periods, last.periodsInAll);
    EXPECT_EQ(Count("Groups"), "0");
}

TEST_P(DeletionTest, TakesNoFileButThoseBelowTheFolders) {
    namespace fs = std::filesystem;
    TemporaryFolder folder;
    const fs::path inside = folder / "inside", outside = folder / "outside";
    fs::create_directories(inside / "sub");
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, inside / "link");
    const auto file = [&](const fs::path& path) {
        std::ofstream(path) << "x";
        AddMarker(1, path.string());
    };
    database.Run({"INSERT INTO Groups (GroupId,GroupName) VALUES (1,'a')",
                  "INSERT INTO Groups (GroupId,GroupName) VALUES (2,'b')"});
    for (const fs::path& path :
         {inside / "a.wav", inside / "sub" / "b.wav", inside / "link" / "c.wav",
          inside / ".." / "outside" / "d.wav", outside / "e.wav", inside / "shared.wav"})
        file(path);
    fs::create_symlink(outside / "e.wav", inside / "f.wav");
    AddMarker(1, (inside / "f.wav").string());
    std::ofstream(inside / "g.wav") << "x";
    AddMarker(1, "./g.wav");
    AddMarker(1, (inside / "missing.wav").string());
    AddMarker(1, inside.string());
    AddMarker(2, (inside / "shared.wav").string());

    Store store(database.ConnectString());
    DeletionOptions options;
    options.recordingFiles = true;
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 0) << "without a folder";
    options.folders = {inside / "missing"};
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 0);
    EXPECT_NE(Count("Markers WHERE GroupId=1"), "0");
    options.folders = {inside};
    DeletionProgress last;
    options.progress = [&](const DeletionProgress& progress) {
        last = progress;
        return true;
    };
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 1);
    EXPECT_EQ(last.files, 3);
    EXPECT_EQ(last.filesLeft, 5);
    for (const fs::path& path : {inside / "a.wav", inside / "sub" / "b.wav", inside / "g.wav"})
        EXPECT_FALSE(fs::exists(path)) << path;
    for (const fs::path& path : {outside / "c.wav", outside / "d.wav", outside / "e.wav",
                                 inside / "f.wav", inside / "shared.wav"})
        EXPECT_TRUE(fs::exists(path)) << path;
    EXPECT_EQ(Count("Markers"), "1");

    std::vector<std::string> asked;
    RegisterComponent("TarvelMsgClient.MsgReceiver",
                      [&] { return std::make_shared<Receiver>(asked); });
    options.folders.clear();
    EXPECT_EQ(store.deleteInstrument(nullptr, 2, options), 1);
    RegisterComponent("TarvelMsgClient.MsgReceiver", nullptr);
    EXPECT_EQ(asked, std::vector<std::string>{(inside / "shared.wav").string()});
    EXPECT_TRUE(fs::exists(inside / "shared.wav")) << "the component may be of another machine";
}

TEST_P(DeletionTest, NeverLowersWhatAnotherRetentionRaisesBesideIt) {
    const CTimeEx now = CTimeEx::GetCurrentTime();
    Store recorder(database.ConnectString());
    RecordTenMinutes(recorder, now);
    const auto other = _Connection::CreateInstance();
    other->Open(database.ConnectString(), "", "");
    other->BeginTrans();
    recorder.dbExecute(other, "UPDATE Reports SET MinPeriod=8");
    auto deleted = std::async(std::launch::async, [&] {
        Store store(database.ConnectString());
        return store.deleteOldMeasurements(nullptr, now - CTimeSpanEx(5 * kMinute));
    });
    EXPECT_EQ(deleted.wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    other->CommitTrans();
    EXPECT_EQ(deleted.get(), 1);
    EXPECT_EQ(database.Ask("SELECT MinPeriod FROM Reports"), "8");
}

TEST_P(DeletionTest, KeepsMarkersOfWhichNobodyKnowsWhetherTheyHaveEnded) {
    const CTimeEx now = CTimeEx::GetCurrentTime();
    Store recorder(database.ConnectString());
    RecordTenMinutes(recorder, now);
    AddMarker(1, "old");
    AddMarker(1, "null");
    AddMarker(1, "empty");
    database.Run({"UPDATE Markers SET Stop=NULL WHERE Path='null'",
                  "UPDATE Markers SET Stop='' WHERE Path='empty'"});
    Store store(database.ConnectString());
    ASSERT_EQ(store.deleteOldMeasurements(nullptr, now - CTimeSpanEx(5 * kMinute)), 1);
    EXPECT_EQ(Count("Markers"), "2");
    EXPECT_EQ(Count("Markers WHERE Path='old'"), "0");
}

TEST_P(DeletionTest, DeletesTheFilesOfManyMarkersAlsoWhereAStartIsNoTime) {
    std::vector<std::string> statements;
    for (int i = 0; i < 1001; ++i) {
        CString text;
        text.Format(
            "INSERT INTO Markers (GroupId,MeasId,Path,Start) VALUES "
            "(1,1,'timed','2020,01,01,00,%02d,%02d,000')",
            i / 60, i % 60);
        statements.emplace_back(text.View());
    }
    statements.emplace_back("INSERT INTO Markers (GroupId,MeasId,Path) VALUES (1,1,'null')");
    statements.emplace_back(
        "INSERT INTO Markers (GroupId,MeasId,Path,Start) VALUES (1,1,'odd','?')");
    database.Run(statements);
    std::vector<std::string> asked;
    RegisterComponent("TarvelMsgClient.MsgReceiver",
                      [&] { return std::make_shared<Receiver>(asked); });
    Store store(database.ConnectString());
    DeletionOptions options;
    options.recordingFiles = true;
    EXPECT_EQ(store.deleteInstrument(nullptr, 1, options), 1);
    RegisterComponent("TarvelMsgClient.MsgReceiver", nullptr);
    for (const char* path : {"timed", "null", "odd"})
        EXPECT_TRUE(std::ranges::count(asked, path)) << path;
    EXPECT_EQ(Count("Markers"), "0");
}

INSTANTIATE_ON_EVERY_ENGINE(DeletionTest);

}  // namespace
}  // namespace mersola::test
