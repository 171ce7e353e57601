// mersola check: what must never be in a database.
#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <ostream>
#include <sstream>
#include <thread>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "check.h"
#include "damage/packed_remains.h"
#include "database/format.h"
#include "database/query.h"
#include "database/snapshot.h"
#include "findings.h"

namespace mersola::tool {
namespace {

constexpr std::chrono::seconds kOneRecorderStep{1};
constexpr std::size_t kMostLost = 100;  // lines
constexpr std::size_t kMostParts = 20;  // rows of which a part is lost

void WarnOfEngine(const Database& database, std::ostream& err) {
    err << "mersola: warning: others have " << database.Name()
        << " open, or had when one was killed, and SQLite " << SqliteVersion()
        << " can lose what was committed where two programs without mersola take part; see "
           "docs/administration.md\n";
}

// What SQLite finds wrong with its file, at most so many things.
std::vector<std::string> Damages(Mersola& store, int most) {
    std::vector<std::string> damages;
    for (_Recordset& row : Rows(store, "PRAGMA quick_check(%d)", most)) {
        std::istringstream lines(std::string(row.Fields(0).Text()));
        for (std::string line; std::getline(lines, line);) {
            if (line != "ok" && !line.starts_with("***")) damages.push_back(Printable(line));
        }
    }
    return damages;
}

std::vector<std::string> Damages(Mersola& store) {
    // Looking for more it may come upon what it cannot read, and then gives nothing at all.
    for (const int most : {10, 1}) {
        try {
            return Damages(store, most);
        } catch (const _com_error& error) {
            if (!IsDamage(error.what())) throw;
            if (most == 1) return {Printable(error.what())};
        }
    }
    return {};
}

// What of the file's tables cannot be read. The file must not be open any more.
void TellAffected(const Database& database, Findings& findings) {
    try {
        Remains remains(database.File());
        KnownPlaces places;
        std::vector<std::string> parts;
        PackedRemains packed;
        remains.Read([&](const StoredTree& tree, Record& record) {
            try {
                if (IsPacked(tree)) packed.Take(tree, record);
                if (tree.table == StoredTable::MeasuredValues) return;
                places.Take(tree.table, RowOf(tree, record));
                if (!IsWhole(record) && parts.size() < kMostParts)
                    parts.push_back(LostPart(tree, record));
            } catch (const Failure&) {
                // Then a place has no name.
            }
        });
        for (const std::string& line : remains.Faults())
            findings.Add("file", line);
        for (const TornTree& torn : remains.Torn())
            findings.Add("file", TextOf(torn));
        for (const std::string& line : parts)
            findings.Add("file", line);
        std::vector<std::string> lost = packed.WithoutData(places);
        std::ranges::move(UnknownPacked(remains, places, true), std::back_inserter(lost));
        for (std::size_t i = 0; i < lost.size() && i < kMostLost; ++i)
            findings.Add("lost", lost[i]);
        if (lost.size() > kMostLost)
            findings.Add("lost",
                         "values at " + std::to_string(lost.size() - kMostLost) + " places more");
        const auto isRead = [](const ValueKey&) { return false; };
        for (const std::string& line : places.Lines(FindLostValues(remains, isRead)))
            findings.Add("lost", line);
    } catch (const Failure& failure) {
        findings.Remark("what it concerns", failure.what());
    }
}

void TellHowToSave(const Database& database, const char* unchecked, std::ostream& out) {
    out << "The file is damaged, and " << unchecked
        << " was not checked. Restore a backup, or save what can be read:\n  mersola salvage "
        << ShellWord(database.File())
        << " saved.db\n"
           "docs/administration.md tells more, under Damaged files and Backup.\n";
}

void Summarize(const Findings& findings, std::int64_t values, std::ostream& out) {
    out << Counted(findings.Count(), "finding");
    if (findings.Remarks() > 0) out << ", " << Counted(findings.Remarks(), "remark");
    out << "; " << Counted(values, "value") << (values == 1 ? " was" : " were") << " checked\n";
}

}  // namespace

void Findings::Add(const std::string& where, const std::string& what) {
    out_ << where << ": " << what << '\n';
    RequireWritten(out_);
    ++count_;
}

void Findings::Remark(const std::string& where, const std::string& what) {
    out_ << "remark: " << where << ": " << what << '\n';
    RequireWritten(out_);
    ++remarks_;
}

Layout::Layout(Mersola& store, Findings& findings) {
    std::vector<std::pair<std::string, std::string>> faults;
    bool isThere = false;
    for (const StoredTable table : kStoredTables) {
        const std::string name = std::string("table ") + NameOf(table);
        try {
            const auto rows = Query(store, "SELECT * FROM %s WHERE 1=0", NameOf(table));
            isThere = true;
            bool isWhole = true;
            for (const StoredColumn& column : ColumnsOf(table)) {
                if (ColumnIn(*rows, column.name)) continue;
                isWhole &= column.mayBeMissing;
                missing_.emplace(table, column.name);
                faults.emplace_back(name, std::string("has no column ") + column.name +
                                              "; programs that need it fail");
            }
            if (isWhole) whole_.insert(table);
        } catch (const _com_error& error) {
            // Anything else, as a lost connection, says nothing about the table.
            if (error.Error() != DB_E_NOTABLE && error.Error() != DB_E_ERRORSINCOMMAND) throw;
            faults.emplace_back(name, "cannot be read (" + Printable(error.what()) +
                                          "); what it holds is not checked");
        }
    }
    if (!isThere)
        throw Failure("there are no tables for measurements; is this the right database?");
    for (const auto& [where, what] : faults)
        findings.Add(where, what);
}

Places::Places(Mersola& store, const Layout& layout) {
    if (layout.Has(StoredTable::Groups)) {
        for (_Recordset& row : Rows(store, "SELECT GroupId,GroupName FROM Groups"))
            instruments_[row.Fields(0).Long()] = Quoted(row.Fields(1).Text().View()) + " ";
    }
    if (layout.Has(StoredTable::Measurements)) {
        for (_Recordset& row : Rows(store, "SELECT GroupId,MeasId,MeasName FROM Measurements"))
            measurements_[{row.Fields(0).Long(), row.Fields(1).Long()}] =
                Quoted(row.Fields(2).Text().View()) + " ";
    }
}

std::string Places::Instrument(std::int32_t groupId) const {
    const auto found = instruments_.find(groupId);
    return "instrument " + (found == instruments_.end() ? "" : found->second) + "(" +
           std::to_string(groupId) + ")";
}

std::string Places::Measurement(std::int32_t groupId, std::int32_t measId) const {
    const auto found = measurements_.find({groupId, measId});
    return Instrument(groupId) + ", measurement " +
           (found == measurements_.end() ? "" : found->second) + "(" + std::to_string(measId) + ")";
}

std::string Places::Report(std::int32_t groupId, std::int32_t measId, std::int32_t reportId) const {
    return Measurement(groupId, measId) + ", report " + std::to_string(reportId);
}

bool Check(const DatabaseArgument& argument, std::ostream& out, std::ostream& err) {
    const Database database(argument);
    database.RequireThere();
    std::optional<Snapshot> snapshot(database);  // what is recorded meanwhile stays out of view
    Mersola& store = snapshot->Store();
    Findings findings(out);
    if (database.IsFile()) {
        if (snapshot->WasInUse() && SqliteHasLogFault()) WarnOfEngine(database, err);
        for (const std::string& damage : Damages(store))
            findings.Add("file", damage);
    }
    if (findings.Count() > 0) {
        snapshot.reset();
        TellAffected(database, findings);
        TellHowToSave(database, "what it holds", out);
        Summarize(findings, 0, out);
        return false;
    }
    const Layout layout(store, findings);
    if (database.IsFile() && !FormatOf(store).isMarked)
        findings.Remark("file", "is not marked with its format; mersola upgrade marks it");
    const Places places(store, layout);
    CheckInstruments(store, layout, places, findings);
    CheckMeasurements(store, layout, places, findings);
    CheckReports(store, layout, places, findings);
    CheckOwners(store, layout, places, findings);
    const bool isPacked = database.IsFile() && KeepingOf(store).IsPacked();
    CheckRepeats(store, layout, isPacked, findings);
    CheckMarkers(store, layout, places, findings);
    CheckTexts(store, layout, findings);
    const auto unread =
        isPacked ? CheckBlocks(store, layout, findings) : std::vector<UnreadValues>();
    const ValuesChecked checked = CheckValues(store, layout, places, unread, findings);
    snapshot->End();
    if (!checked.uncounted.empty()) {
        // Nobody else has the file: nobody is about to count.
        if (!database.IsFile() || snapshot->WasInUse())
            std::this_thread::sleep_for(kOneRecorderStep);
        CheckCounts(store, checked.uncounted, places, findings);
    }
    TellStored(store, layout, places, checked.stored, out);
    if (!unread.empty()) TellHowToSave(database, "what the lines above name", out);
    Summarize(findings, checked.values, out);
    return findings.Count() == 0;
}

}  // namespace mersola::tool
