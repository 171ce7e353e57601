// The continuous view against a plain model of a chain, and while the chain grows.
#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "support/store.h"

namespace mersola::test {
namespace {

constexpr int kFrq = 30;

// What a chain holds, in the plainest form.
struct Model {
    struct Series {
        int type = 0;
        std::int64_t length = 0;
        int periods = 0;
        std::map<int, float> values;  // by period of this measurement
        std::set<int> functions;
    };
    struct Member {
        std::int64_t start = 0;
        std::vector<Series> series;  // by type
    };
    std::vector<Member> members;

    // The members that belong to the view; none when they cannot be joined.
    std::vector<Member> Chain() const {
        std::vector<Member> chain;
        for (Member member : members) {
            std::erase_if(member.series, [](const Series& series) { return series.periods == 0; });
            if (!member.series.empty()) chain.push_back(member);
        }
        const auto sameAsFirst = [&](const Member& member) {
            return std::ranges::equal(member.series, chain[0].series,
                                      [](const Series& a, const Series& b) {
                                          return a.type == b.type && a.length == b.length;
                                      });
        };
        if (!std::ranges::all_of(chain, sameAsFirst)) chain.clear();
        return chain;
    }

    static std::int64_t Offset(const std::vector<Member>& chain, std::size_t member,
                               std::size_t index) {
        std::int64_t offset = 0;
        for (std::size_t at = 1; at <= member; ++at) {
            offset += (chain[at].start - chain[at - 1].start) / chain[at].series[index].length;
        }
        return offset;
    }

    static float Value(const std::vector<Member>& chain, std::size_t index, std::int64_t running) {
        for (std::size_t at = 0; at < chain.size(); ++at) {
            const Series& series = chain[at].series[index];
            const std::int64_t period = running - Offset(chain, at, index);
            if (period < 0 || period >= series.periods) continue;
            const auto found = series.values.find(static_cast<int>(period));
            return found == series.values.end() ? -100.0F : found->second;
        }
        return -100.0F;
    }
};

class Continuous : public Contract {
  protected:
    using Random = std::mt19937;

    static int Pick(Random& random, int from, int to) {
        return std::uniform_int_distribution(from, to)(random);
    }

    static Model MakeModel(Random& random) {
        Model model;
        const int reports = Pick(random, 1, 3);
        std::vector<std::int64_t> lengths;
        for (int report = 0; report < reports; ++report)
            lengths.push_back(Pick(random, 1, 40) * 250);
        std::int64_t start = 0;
        for (int count = Pick(random, 1, 8); count > 0; --count) {
            Model::Member member{start, {}};
            const bool empty = Pick(random, 0, 9) == 0;
            for (int report = 0; report < reports; ++report) {
                Model::Series series;
                series.type = report + 1;
                series.length = lengths[static_cast<std::size_t>(report)];
                if (Pick(random, 0, 60) == 0) series.length += 250;
                series.periods = empty || Pick(random, 0, 60) == 0 ? 0 : Pick(random, 1, 12);
                for (int period = 0; period < series.periods; ++period) {
                    if (Pick(random, 0, 4) > 0)
                        series.values[period] = static_cast<float>(Pick(random, 0, 1000)) / 8;
                }
                for (int function = 1; function < 4; ++function) {
                    if (function == 1 || Pick(random, 0, 1)) series.functions.insert(function);
                }
                member.series.push_back(series);
            }
            model.members.push_back(member);
            start +=
                Pick(random, 1, 40) * 777;  // gaps and overlaps, seldom a whole number of periods
        }
        return model;
    }

    // Stores the model as the measurements of instrument `group`.
    void StoreModel(const Model& model, int group, Random& random) {
        writer.BeginTrans();
        const _RecordsetPtr batch = writer.PutDataStart(nullptr);
        int measId = 0;
        for (const Model::Member& member : model.members) {
            ++measId;
            Run("INSERT INTO Measurements (GroupId,MeasId,MeasName,BandWidth,Fullscale,StartAt) "
                "VALUES (%d,%d,'m%d',3,%d,'%s')",
                group, measId, measId, measId, Start(member.start).ToText().GetString());
            const int firstId = Pick(random, 1, 5);
            for (const Model::Series& series : member.series) {
                const int report = firstId + 3 - series.type;
                Run("INSERT INTO Reports VALUES (%d,%d,%d,'%s','NOT_SET',%d,0,%d)", group, measId,
                    report, CTimeSpanEx(series.length).ToText().GetString(), series.periods,
                    series.type);
                Run("INSERT INTO MeasValueMap VALUES (%d,%d,%d,%d)", group, measId, report,
                    ++lastKey);
                for (const int function : series.functions) {
                    Run("INSERT INTO MeasuredFunctions VALUES (%d,%d,%d,%d,1)", group, measId,
                        report, function);
                }
                for (const auto& [period, value] : series.values)
                    AddValue(*batch, lastKey, period, 1, kFrq, value);
            }
        }
        EXPECT_TRUE(writer.PutDataEnd(batch));
        writer.CommitTrans();
    }

    // The first and the last period that can be read, and the band that they are in.
    static void ExpectStored(Store& reader, const std::vector<Model::Member>& chain,
                             std::size_t index) {
        std::set<long> stored;
        for (std::size_t member = 0; member < chain.size(); ++member) {
            for (const auto& [period, value] : chain[member].series[index].values) {
                const std::int64_t running = Model::Offset(chain, member, index) + period;
                if (Model::Value(chain, index, running) != -100) stored.insert(running);
            }
        }
        CArray<int, int> bands;
        ASSERT_EQ(reader.GetBands(bands), 1);
        ASSERT_EQ(bands.GetSize(), stored.empty() ? 0 : 1);
        long first = 0, last = 0;
        ASSERT_EQ(reader.GetStoredPeriods(first, last), stored.empty() ? 0 : 1);
        ASSERT_EQ(first, stored.empty() ? -1 : *stored.begin());
        ASSERT_EQ(last, stored.empty() ? -1 : *stored.rbegin());
        if (stored.empty()) return;
        ASSERT_EQ(reader.GetBands(bands, static_cast<int>(last), 1), 1);
        ASSERT_EQ(bands.GetSize(), 1);
        ASSERT_EQ(bands[0], kFrq);
        ASSERT_EQ(reader.GetBands(bands, static_cast<int>(last) + 1, 9), 1);
        ASSERT_EQ(bands.GetSize(), 0);
    }

    template <class... Arguments>
    void Run(const char* format, Arguments... arguments) {
        CString sql;
        sql.Format(format, arguments...);
        writer.dbExecute(sql);
    }

    Store writer{database.ConnectString()};
    int lastKey = 0;
};

TEST_P(Continuous, AnswersEveryRunningPeriodAsTheModelDoes) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    Store reader(database.ConnectString());
    reader.SetChannel(1);
    reader.SetFunction(1);
    int joined = 0;
    for (int group = 1; group <= database.Fewer(2000) && !HasFailure(); ++group) {
        SCOPED_TRACE("chain " + std::to_string(group));
        const Model model = MakeModel(random);
        StoreModel(model, group, random);
        const auto chain = model.Chain();
        reader.SetInstrument(group);
        ASSERT_EQ(reader.SetMeasurement(-3), chain.empty() ? 0 : 1);
        if (chain.empty()) continue;
        ++joined;
        CArray<ReportInfo, ReportInfo&> reports;
        ASSERT_EQ(reader.GetReports(reports), 1);
        ASSERT_EQ(reports.GetSize(), static_cast<int>(chain[0].series.size()));
        CArray<MeasurementInfo, MeasurementInfo&> members;
        ASSERT_EQ(reader.GetContinuousMeasurements(members), 1);
        ASSERT_EQ(members.GetSize(), static_cast<int>(chain.size()));
        for (std::size_t index = 0; index < chain[0].series.size(); ++index) {
            for (int at = 0; at < members.GetSize(); ++at) {
                const ReportInfo& report = members[at].reports[static_cast<int>(index)];
                ASSERT_EQ(report.periodOffset, Model::Offset(chain, std::size_t(at), index));
                ASSERT_EQ(report.noOfPeriods, chain[std::size_t(at)].series[index].periods);
            }
            ASSERT_EQ(reader.SetReport(chain[0].series[index].type), 1);
            const std::int64_t whole =
                Model::Offset(chain, chain.size() - 1, index) + chain.back().series[index].periods;
            long count = 0;
            ASSERT_EQ(reader.Get_nPrds(count), 1);
            ASSERT_EQ(count, whole);
            std::set<int> functions;
            for (const Model::Member& member : chain)
                functions.insert(member.series[index].functions.begin(),
                                 member.series[index].functions.end());
            CArray<int, int> held;
            ASSERT_EQ(reader.GetFunctions(held), 1);
            ASSERT_EQ(std::set<int>(held.begin(), held.end()), functions);
            ASSERT_EQ(held.GetSize(), static_cast<int>(functions.size()));
            ExpectStored(reader, chain, index);
            const int first = Pick(random, -5, static_cast<int>(whole) + 2);
            const int wanted = Pick(random, 1, static_cast<int>(whole) + 10);
            const std::vector<float> values = [&] {
                std::vector<float> block(static_cast<std::size_t>(wanted), 1);
                EXPECT_EQ(reader.GetData(block.data(), first, wanted, kFrq, 1), wanted);
                return block;
            }();
            for (int at = 0; at < wanted; ++at) {
                ASSERT_EQ(values[static_cast<std::size_t>(at)],
                          Model::Value(chain, index, first + at))
                    << "running period " << first + at << " of report " << index;
            }
        }
    }
    EXPECT_GT(joined, database.Fewer(1000));
}

TEST_P(Continuous, CountsAcrossTheGapAndGrowsWithTheRecorder) {
    constexpr std::int64_t kQuarter = 15 * 60000;
    Store recorder(database.ConnectString());
    ASSERT_TRUE(Open(recorder, Measurement("noise"), Report(4, kQuarter, 1)));
    ASSERT_TRUE(recorder.PutFunction(nullptr, 1, 1));
    for (int period = 0; period < 3; ++period)
        ASSERT_TRUE(Write(recorder, period, period));
    MeasurementInfo other = Measurement("next", Start(4 * kQuarter));
    other.Fullscale = 9;
    ASSERT_TRUE(Open(recorder, other, Report(5, kQuarter, 1)));
    ASSERT_TRUE(recorder.PutFunction(nullptr, 1, 1));
    ASSERT_TRUE(Write(recorder, 0, 40));

    Store reader(database.ConnectString());
    reader.SetInstrument(1);
    reader.SetChannel(1);
    reader.SetFunction(1);
    ASSERT_EQ(reader.SetMeasurement(-3), 1);
    EXPECT_EQ(reader.m_contMeasurements[1].reports[0].missingPeriods, 1);
    EXPECT_EQ(reader.m_contMeasurements[0].MeasId, 1) << "the members keep their identifiers";
    EXPECT_EQ(reader.recalculateContPeriods(), 0) << "no report is selected";
    EXPECT_EQ(reader.SetReport(7), 0);
    ASSERT_EQ(reader.SetReport(1), 1);
    EXPECT_EQ(Values(reader, 0, 6), (std::vector<float>{0, 1, 2, -100, 40, -100}));
    long count = 0;
    reader.Get_nPrds(count);
    EXPECT_EQ(count, 5);

    CArray<MarkerInfo, MarkerInfo&> open;
    for (const int measurement : {1, 2}) {
        MarkerInfo marker;
        marker.GroupId = 1;
        marker.MeasId = measurement;
        ASSERT_TRUE(recorder.PutMarkerRelative(nullptr, marker, 0));
    }
    EXPECT_EQ(reader.GetOpenMarkers(open), 1);
    ASSERT_EQ(open.GetSize(), 2);
    EXPECT_EQ(open[1].MeasId, 2);

    ASSERT_TRUE(Write(recorder, 1, 50));
    EXPECT_EQ(Values(reader, 5, 1), std::vector<float>{-100});
    reader.Get_nPrds(count);
    EXPECT_EQ(count, 6);
    EXPECT_EQ(Values(reader, 4, 2), (std::vector<float>{40, 50}));

    ASSERT_TRUE(Open(recorder, Measurement("third", Start(8 * kQuarter)), Report(1, kQuarter, 1)));
    ASSERT_TRUE(recorder.PutFunction(nullptr, 1, 1));
    ASSERT_TRUE(Write(recorder, 0, 80));
    EXPECT_TRUE(reader.refreshContinuousData());
    reader.Get_nPrds(count);
    EXPECT_EQ(count, 9);
    EXPECT_EQ(Values(reader, 7, 2), (std::vector<float>{-100, 80}));

    float fullscale = 0;
    reader.SetMeasurement(2);
    reader.GetFullscale(fullscale);
    EXPECT_EQ(fullscale, 9);
    reader.SetMeasurement(-3);
    reader.GetFullscale(fullscale);
    EXPECT_EQ(fullscale, 0.1F) << "the chain's settings are held with the view";
    EXPECT_EQ(reader.SetReport(1), 1);

    database.Run({"UPDATE Measurements SET BandWidth=1 WHERE MeasId=2",
                  "INSERT INTO Measurements (GroupId,MeasId) VALUES (1,9)"});
    EXPECT_TRUE(reader.refreshContinuousData());
    EXPECT_EQ(reader.m_contMode, -2);
    EXPECT_EQ(reader.m_MeasId, -1);
    EXPECT_EQ(reader.SetMeasurement(-3), 0);
    CArray<MeasurementInfo, MeasurementInfo&> members;
    members.Add(other);
    EXPECT_EQ(reader.GetContinuousMeasurements(members), 0);
    EXPECT_EQ(members.GetSize(), 0);
}

TEST_P(Continuous, KeepsTheReportTypeAndNothingElseOverARefresh) {
    const auto record = [&](const char* name, std::int64_t start, int periodsOfTypeOne) {
        ASSERT_TRUE(Open(writer, Measurement(name, Start(start)), Report(1, 1000, 5)));
        ASSERT_TRUE(writer.PutFunction(nullptr, 1, 1));
        for (int period = 0; period < 2; ++period)
            ASSERT_TRUE(Write(writer, period, 50 + period));
        ReportInfo other = Report(2, 500, 1);
        ASSERT_TRUE(writer.PutReport(nullptr, other) && writer.PutFunction(nullptr, 1, 1));
        for (int period = 0; period < periodsOfTypeOne; ++period)
            ASSERT_TRUE(Write(writer, period, 10 + period));
    };
    Store reader(database.WatchedString());
    const auto expectNothing = [&] {
        EXPECT_EQ(Values(reader, 0, 3), (std::vector<float>{-100, -100, -100}));
        long count = 7;
        EXPECT_EQ(reader.Get_nPrds(count), 1);
        EXPECT_EQ(count, 0);
    };
    record("one", 0, 0);
    reader.SetInstrument(1);
    reader.SetChannel(1);
    reader.SetFunction(1);
    ASSERT_TRUE(reader.SetMeasurement(-3) && reader.SetReport(5));
    EXPECT_EQ(Values(reader, 0, 2), (std::vector<float>{50, 51}));

    // Type 1 comes in front of type 5 when it has its first period.
    database.Run({"UPDATE Reports SET noOfPeriods=1 WHERE ReportType=1"});
    record("two", 3000, 1);
    ASSERT_TRUE(reader.refreshContinuousData());
    EXPECT_EQ(Values(reader, 0, 5), (std::vector<float>{50, 51, -100, 50, 51}));
    CTimeSpanEx length;
    reader.GetPrdLength(length);
    EXPECT_EQ(length.GetTotalMilliseconds(), 1000);
    long count = 0;
    reader.Get_nPrds(count);
    EXPECT_EQ(count, 5);

    TheWatch().FailOn("SELECT MeasValueId");
    CArray<int, int> bands;
    EXPECT_EQ(reader.GetBands(bands), 0);
    long first = 7;
    EXPECT_EQ(reader.GetStoredPeriods(first, count), 0);
    EXPECT_EQ(first, -1);
    float value = 0;
    EXPECT_LT(reader.GetData(&value, 0, 1, kFrq, 1), 0);
    EXPECT_EQ(value, -100);
    TheWatch().Reset();
    database.Run({"UPDATE MeasValueMap SET MeasId=9 WHERE MeasId=1"});
    EXPECT_EQ(Values(reader, 1, 3), (std::vector<float>{-100, -100, 50})) << "no key is no fault";

    database.Run({"UPDATE MeasValueMap SET MeasId=1 WHERE MeasId=9",
                  "DELETE FROM MeasuredValues WHERE MeasValueId>2"});
    for (const char* table : {"Measurements", "Reports", "MeasValueMap", "MeasuredFunctions"})
        database.Run({std::string("DELETE FROM ") + table + " WHERE MeasId=2"});
    ASSERT_TRUE(reader.refreshContinuousData());
    EXPECT_EQ(reader.SetReport(5), 1) << "though the member read last has gone";
    EXPECT_EQ(reader.SetReport(7), 0);
    expectNothing();

    record("two", 3000, 1);
    ASSERT_TRUE(reader.SetReport(5));
    database.Run({"UPDATE Reports SET ReportType=6 WHERE ReportType=5"});
    ASSERT_TRUE(reader.refreshContinuousData());
    EXPECT_EQ(reader.m_ReportId, -1) << "no other type is given in place of it";
    expectNothing();

    ASSERT_TRUE(reader.SetReport(6));
    EXPECT_EQ(Values(reader, 3, 1), std::vector<float>{50});
    record("three", 6000, 1);
    database.Run({"UPDATE Measurements SET BandWidth=1 WHERE MeasName='three'"});
    ASSERT_TRUE(reader.refreshContinuousData());
    EXPECT_EQ(reader.m_contMode, -2);
    expectNothing();
}

TEST_P(Continuous, IsNotJoinedWhereAMembersStartCannotBeRead) {
    for (const char* name : {"one", "two"}) {
        ASSERT_TRUE(Open(writer, Measurement(name)) && writer.PutFunction(nullptr, 1, 1));
        ASSERT_TRUE(Write(writer, 0, 1));
    }
    Store reader(database.ConnectString());
    reader.SetInstrument(1);
    for (const char* start : {"NULL", "''", "'soon'"}) {
        database.Run({std::string("UPDATE Measurements SET StartAt=") + start + " WHERE MeasId=2"});
        EXPECT_EQ(reader.SetMeasurement(-3), 0) << start;
    }
    database.Run({"UPDATE Reports SET noOfPeriods=0 WHERE MeasId=2"});
    EXPECT_EQ(reader.SetMeasurement(-3), 1) << "it is no member without periods";
}

TEST_P(Continuous, IsNotJoinedWithoutPeriodLengthsOrWithoutTheCatalogue) {
    ASSERT_TRUE(Open(writer, Measurement(), Report(1, 0)));
    ASSERT_TRUE(writer.PutFunction(nullptr, 1, 1));
    ASSERT_TRUE(writer.PutPeriodsRelative(nullptr, 2));
    Store reader(database.WatchedString());
    reader.SetInstrument(1);
    EXPECT_EQ(reader.SetMeasurement(-3), 0);
    EXPECT_EQ(reader.m_MeasId, -1);
    database.Run({"UPDATE Reports SET PeriodLen='1000'"});
    TheWatch().FailOn("MeasuredFunctions");
    EXPECT_EQ(reader.SetMeasurement(-3), 0);
    TheWatch().Reset();
    EXPECT_EQ(reader.SetMeasurement(-3), 1);
    EXPECT_EQ(reader.SetReport(1), 1);
    TheWatch().FailOn("noOfPeriods from Reports");
    long count = 0;
    EXPECT_EQ(reader.Get_nPrds(count), 0);
    EXPECT_THROW(reader.recalculateContPeriods(), _com_error);
}

INSTANTIATE_ON_EVERY_ENGINE(Continuous);

}  // namespace
}  // namespace mersola::test
