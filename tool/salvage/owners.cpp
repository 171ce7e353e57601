// Rows that stand for lost ones.
#include "owners.h"

#include "basics/failure.h"
#include "basics/times_text.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

using enum StoredTable;

class Owners {
  public:
    Owners(SavedDatabase& saved, const std::function<void(const std::string&)>& tell)
        : saved_(saved), store_(saved.Store()), tell_(tell) {}

    void OwnValues() {
        std::set<std::int32_t> keys;
        for (const auto& series : saved_.AllSeries())
            keys.insert(std::get<0>(series));
        for (_Recordset& row : Rows(store_, "SELECT MeasValueId FROM MeasValueMap"))
            keys.erase(row.Fields(0).Long());
        if (keys.empty()) return;
        const std::int32_t group =
            Query(store_,
                  "SELECT max(a) FROM (SELECT max(GroupId) a FROM Groups UNION ALL SELECT "
                  "max(GroupId) FROM Measurements UNION ALL SELECT max(GroupId) FROM "
                  "Reports UNION ALL SELECT max(GroupId) FROM MeasValueMap)")
                ->Fields(0)
                .Long() +
            1;
        for (std::int32_t meas = 1; const std::int32_t key : keys) {
            saved_.Add(Measurements, {{"GroupId", group},
                                      {"MeasId", meas},
                                      {"MeasName", "values under key " + std::to_string(key)}});
            saved_.Add(MeasValueMap, {{"GroupId", group},
                                      {"MeasId", meas},
                                      {"ReportId", std::int32_t{1}},
                                      {"MeasValueId", key}});
            tell_("value key " + std::to_string(key) +
                  ": whose values these were is lost; they are now measurement " +
                  std::to_string(meas) + " of instrument " + std::to_string(group));
            ++meas;
        }
    }

    // Reports that only the key of their values tells of, and those of which only numbers are left.
    void OwnReports() {
        std::vector<Row> lost;
        for (_Recordset& row :
             Rows(store_,
                  "SELECT k.GroupId,k.MeasId,k.ReportId FROM MeasValueMap k WHERE NOT EXISTS "
                  "(SELECT * FROM Reports r WHERE r.GroupId=k.GroupId AND "
                  "r.MeasId=k.MeasId AND r.ReportId=k.ReportId)"))
            lost.push_back({{"GroupId", row.Fields(0).Long()},
                            {"MeasId", row.Fields(1).Long()},
                            {"ReportId", row.Fields(2).Long()}});
        for (const Row& row : lost) {
            saved_.Add(Reports, row);
            tell_(Place(row) + ", report " + std::to_string(NumberIn(row, "ReportId")) +
                  ": its settings are lost, and with the length of its periods their times");
        }
        Query(store_,
              "UPDATE Reports SET noOfPeriods=(SELECT coalesce(max(v.PeriodNo),-1)+1 FROM "
              "MeasuredValues v JOIN MeasValueMap k ON k.MeasValueId=v.MeasValueId WHERE "
              "k.GroupId=Reports.GroupId AND k.MeasId=Reports.MeasId AND "
              "k.ReportId=Reports.ReportId) WHERE noOfPeriods IS NULL");
        // So a length reads that is not known; texts that are none would be refused.
        Query(store_, "UPDATE Reports SET RealPeriodLen='NOT_SET' WHERE RealPeriodLen IS NULL");
    }

    void OwnMeasurements() {
        std::vector<Row> lost;
        for (_Recordset& row :
             Rows(store_,
                  "SELECT DISTINCT r.GroupId,r.MeasId FROM Reports r WHERE NOT EXISTS (SELECT * "
                  "FROM Measurements m WHERE m.GroupId=r.GroupId AND m.MeasId=r.MeasId)"))
            lost.push_back({{"GroupId", row.Fields(0).Long()},
                            {"MeasId", row.Fields(1).Long()},
                            {"MeasName", "salvaged " + std::to_string(row.Fields(1).Long())}});
        for (const Row& row : lost) {
            saved_.Add(Measurements, row);
            tell_(Place(row) +
                  ": its settings are lost, and with its start its times; it is named " +
                  Quoted(TextIn(row, "MeasName")));
        }
    }

    void OwnInstruments() {
        std::vector<Row> lost;
        for (_Recordset& row :
             Rows(store_,
                  "SELECT DISTINCT m.GroupId FROM Measurements m WHERE NOT EXISTS (SELECT * FROM "
                  "Groups g WHERE g.GroupId=m.GroupId)"))
            lost.push_back({{"GroupId", row.Fields(0).Long()},
                            {"GroupName", "salvaged " + std::to_string(row.Fields(0).Long())}});
        for (const Row& row : lost) {
            saved_.Add(Groups, row);
            tell_("instrument " + std::to_string(NumberIn(row, "GroupId")) +
                  ": its name and state are lost; it is named " + Quoted(TextIn(row, "GroupName")));
        }
    }

    // Where a report has values of a function, it measures it.
    void ListFunctions() {
        for (const auto& [key, channel, function] : saved_.AllSeries())
            Query(store_,
                  "INSERT INTO MeasuredFunctions (GroupId,MeasId,ReportId,FuncId,Channel) SELECT "
                  "k.GroupId,k.MeasId,k.ReportId,%d,%d FROM MeasValueMap k WHERE "
                  "k.MeasValueId=%d AND NOT EXISTS (SELECT * FROM MeasuredFunctions f WHERE "
                  "f.GroupId=k.GroupId AND f.MeasId=k.MeasId AND f.ReportId=k.ReportId AND "
                  "f.FuncId=%d AND f.Channel=%d)",
                  function, channel, key, function, channel);
    }

  private:
    static std::string Place(const Row& row) {
        return "instrument " + std::to_string(NumberIn(row, "GroupId")) + ", measurement " +
               std::to_string(NumberIn(row, "MeasId"));
    }

    SavedDatabase& saved_;
    Mersola& store_;
    const std::function<void(const std::string&)>& tell_;
};

}  // namespace

void GiveOwners(SavedDatabase& saved, bool areFunctionsLost,
                const std::function<void(const std::string&)>& tell) {
    Owners owners(saved, tell);
    owners.OwnValues();
    owners.OwnReports();
    owners.OwnMeasurements();
    owners.OwnInstruments();
    if (areFunctionsLost) owners.ListFunctions();
}

}  // namespace mersola::tool
