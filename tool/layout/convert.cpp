// mersola pack and mersola unpack: the values of a file change their layout where they lie. While
// that goes on, the table of rows stands beside the packed values, and all of them together are
// MeasuredValues. Each state along the way is one that the next run can go on from.
#include <algorithm>
#include <cmath>
#include <ostream>

#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/names.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "database/query.h"
#include "database/turns.h"
#include "engines/sqlite.h"
#include "layout.h"
#include "schema/tables.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kLeast = 1'000, kMost = 100'000;  // values in a transaction

std::int64_t Number(Mersola& store, const std::string& statement) {
    return static_cast<std::int64_t>(Query(store, "%s", statement.c_str())->Fields(0).Double());
}

void Execute(Mersola& store, const std::string& statement) {
    store.dbExecute(CString(statement));
}

// The statements of a layout that concern the values alone.
template <class Use>
void ForEachValuesStatement(mersola::Layout layout, Use use) {
    for (const std::string_view statement : SchemaStatements(kSqlite, layout)) {
        for (const char* mark : {"CREATE TABLE MeasuredValues", " ON MeasuredValues",
                                 "CREATE TABLE PendingValues", "CREATE TABLE Value"}) {
            if (statement.find(mark) != statement.npos) use(std::string(statement));
        }
    }
}

std::string OnRowsBeside(std::string statement) {
    constexpr std::string_view name = "MeasuredValues";
    for (auto at = statement.find(name); at != statement.npos; at = statement.find(name, at))
        statement.replace(at, name.size(), kRowsBeside);
    return statement;
}

class Conversion {
  public:
    Conversion(const ConversionOptions& options, const Database& database, std::ostream& out,
               std::ostream* terminal)
        : database_(database),
          resolution_(options.resolution),
          isPacking_(options.isPacking),
          store_(OpenDatabase(database, Access::Write)),
          out_(out),
          progress_(terminal),
          isShown_(terminal != nullptr) {}

    void Run() {
        RequireDue();
        total_ = isShown_ ? Number(*store_, "SELECT count(*) FROM MeasuredValues") : 0;
        Guard([&] { Begin(); });
        Guard([&] { MoveAll(); });
        progress_.Clear();
        const std::string size = SizeText();
        TellDone(out_, database_.Name() + " is of " + FormatText(*store_) + " now; " +
                           Counted(moved_, "value") + (moved_ == 1 ? " was" : " were") +
                           " moved. " + size + "\n");
    }

  private:
    void RequireDue() {
        const Keeping keeping = KeepingOf(*store_);
        if (keeping.IsPacked() == isPacking_ && !keeping.isConverted)
            throw Failure("the values of " + database_.Name() + " are " +
                          (isPacking_ ? "packed" : "in rows") + " already");
        if (keeping.IsPacked() && !resolution_.empty() && resolution_ != keeping.resolution)
            throw Failure(
                "some values of " + database_.Name() + " are packed already, " +
                (keeping.resolution.empty() ? "exactly" : "in steps of " + keeping.resolution) +
                "; go on without another --resolution");
        if (!keeping.IsPacked()) RequireConvertible();
    }

    // What a block cannot hold, and what would go with the table of rows.
    void RequireConvertible() {
        const auto refuse = [&](const std::string& what) {
            throw Failure(database_.Name() + " cannot be packed: " + what);
        };
        if (FormatOf(*store_).hasOthersMark)
            refuse("it has an application_id or a user_version that mersola did not set");
        std::string columns;
        for (const StoredColumn& column : ColumnsOf(StoredTable::MeasuredValues))
            columns += column.name + std::string(",");
        const auto keys = KeysOf(StoredTable::MeasuredValues).front();
        std::string found;
        bool hasKey = true;
        for (_Recordset& row : Rows(*store_, "PRAGMA table_info(MeasuredValues)")) {
            const CString name = row.Fields(1).Text();
            found += std::string(name.View()) + ",";
            const bool isOfKey = std::ranges::any_of(
                keys, [&](const char* column) { return IsSameName(column, name.View()); });
            hasKey &= (row.Fields(5).Long() > 0) == isOfKey;
        }
        if (CompareNoCase(found, columns) != 0)
            refuse("its table MeasuredValues has other columns");
        if (!hasKey) refuse("its table MeasuredValues has another key, or none");
        if (Number(*store_,
                   "SELECT count(*) FROM sqlite_master WHERE type='trigger' AND "
                   "lower(tbl_name)='measuredvalues'") > 0)
            refuse("somebody's triggers on MeasuredValues would go; drop them first");
        if (Number(*store_,
                   "SELECT count(*) FROM sqlite_master WHERE lower(name) IN ('measuredrows',"
                   "'valueblocks','valuedata','pendingvalues')") > 0)
            refuse("it has other tables under the names that packed values need");
        std::string odd =
            "(Value IS NOT NULL AND typeof(Value) NOT IN ('real','integer')) OR "
            "(Status IS NOT NULL AND typeof(Status)<>'text')";
        for (const char* column : KeysOf(StoredTable::MeasuredValues).front())
            odd += std::string(" OR typeof(") + column + ")<>'integer' OR " + column +
                   " NOT BETWEEN -2147483648 AND 2147483647";
        const auto at = Query(*store_,
                              "SELECT MeasValueId,PeriodNo FROM MeasuredValues WHERE %s "
                              "LIMIT 1",
                              odd.c_str());
        if (!at->EndOfFile())
            refuse("a value under the key " + std::string(at->Fields(0).Text().View()) +
                   ", period " + std::string(at->Fields(1).Text().View()) +
                   ", has a number beyond 32 bits or a text where a number belongs");
    }

    void Begin() {
        Transaction transaction(*store_);
        Keeping keeping = KeepingOf(*store_);
        const bool isBegun = keeping.isConverted && keeping.intoRows != isPacking_;
        if (isBegun) return;
        if (!keeping.IsPacked()) {
            // What others have made of the table, as views, is to name it also from now on.
            Execute(*store_, "PRAGMA legacy_alter_table=ON");
            Execute(*store_, std::string("ALTER TABLE MeasuredValues RENAME TO ") + kRowsBeside);
            ForEachValuesStatement(mersola::Layout::Packed,
                                   [&](const std::string& each) { Execute(*store_, each); });
            keeping = {.layout = mersola::Layout::Packed, .resolution = resolution_};
        } else {
            if (!keeping.isConverted)
                ForEachValuesStatement(mersola::Layout::Rows, [&](const std::string& each) {
                    Execute(*store_, OnRowsBeside(each));
                });
            Execute(*store_, "DROP TABLE MeasuredValues");
        }
        keeping.isConverted = true;
        keeping.intoRows = !isPacking_;
        Execute(*store_, ValuesStatement(keeping));
        MarkFormat(*store_, kPackedFormat, kUpgradedBy,
                   isPacking_ ? ": begins to pack the values" : ": begins to unpack the values");
        transaction.Commit();
    }

    void MoveAll() {
        Turns turns(*store_, kLeast, kMost);
        for (bool isDone = false; !isDone;) {
            if (const int signal = interruption_.Signal(); signal != 0)
                throw Failure("stopped by a signal", 128 + signal);
            std::int64_t moved = 0;
            turns.Take([&] {
                moved = Number(*store_, std::string("SELECT mersola_") +
                                            (isPacking_ ? "pack" : "unpack") + "(" +
                                            std::to_string(turns.Portion()) + ")");
                isDone = moved == 0;
                if (isDone) End();
            });
            moved_ += moved;
            if (total_ > 0)
                progress_.Show(
                    std::min(1.0, static_cast<double>(moved_) / static_cast<double>(total_)));
        }
    }

    // In the transaction that found nothing left to move.
    void End() {
        Keeping keeping = KeepingOf(*store_);
        if (!keeping.isConverted) return;  // another program was faster
        Execute(*store_, "DROP TABLE MeasuredValues");
        if (isPacking_) {
            Execute(*store_, std::string("DROP TABLE ") + kRowsBeside);
            keeping.isConverted = false;
            Execute(*store_, ValuesStatement(keeping));
        } else {
            for (const char* table : {"ValueBlocks", "ValueData", "PendingValues"})
                Execute(*store_, std::string("DROP TABLE ") + table);
            Execute(*store_, "PRAGMA legacy_alter_table=ON");
            Execute(*store_,
                    std::string("ALTER TABLE ") + kRowsBeside + " RENAME TO MeasuredValues");
        }
        MarkFormat(*store_, isPacking_ ? kPackedFormat : kRowsFormat, kUpgradedBy,
                   isPacking_ ? ": packed the values" : ": unpacked the values");
    }

    std::string SizeText() {
        const auto pages = Number(*store_, "PRAGMA page_count"),
                   free = Number(*store_, "PRAGMA freelist_count"),
                   bytes = Number(*store_, "PRAGMA page_size");
        const auto megabytes = [&](std::int64_t count) {
            const double size = static_cast<double>(count * bytes) / 1e6;
            return NumberText(std::round(size * 10) / 10) + " MB";
        };
        return "The file has " + megabytes(pages) +
               (free * bytes < 50'000
                    ? "."
                    : ", of which " + megabytes(free) +
                          " are free and are used again; VACUUM gives them back to the disk.");
    }

    template <class Work>
    void Guard(Work work) {
        const auto fail = [&](const std::string& words, int status) {
            throw Failure(words + (moved_ == 0 ? "; nothing was moved"
                                               : "; " + Counted(moved_, "value") +
                                                     " are moved, the same command goes on"),
                          status);
        };
        try {
            work();
        } catch (const _com_error& error) {
            fail("the database refused (" + Printable(error.what()) + ")", 1);
        } catch (const Failure& failure) {
            fail(failure.what(), failure.Status());
        }
    }

    Database database_;
    std::string resolution_;
    bool isPacking_;
    std::unique_ptr<Mersola> store_;
    std::ostream& out_;
    Interruption interruption_;
    Progress progress_;
    bool isShown_;
    std::int64_t total_ = 0, moved_ = 0;  // values
};

}  // namespace

void Convert(const ConversionOptions& options, std::ostream& out, std::ostream* terminal) {
    const Database database(options.database);
    if (!database.IsFile())
        throw Failure(database.Name() + " is no SQLite file, and only such a file can be packed");
    Conversion(options, database, out, terminal).Run();
}

}  // namespace mersola::tool
