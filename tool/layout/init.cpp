// mersola init: a new database.
#include <filesystem>
#include <functional>
#include <ostream>

#include "bands/bands.h"
#include "basics/failure.h"
#include "catalogue/measured.h"
#include "database/format.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/snapshot.h"
#include "engines/sqlite.h"
#include "file_beside.h"
#include "layout.h"
#include "schema/schema.h"
#include "views.h"

namespace mersola::tool {
namespace {

// Whether there is something of that name. Raises Failure for what can be no database.
bool IsThere(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const auto status = fs::status(path, ignored);
    const auto refuse = [&](const char* what) { throw Failure(Quoted(path) + what); };
    if (fs::is_directory(status)) refuse(" is a folder; give the name of a file in it");
    if (fs::is_other(status)) refuse(" is a pipe or a device; choose the name of a file");
    if (!fs::exists(status) && fs::is_symlink(fs::symlink_status(path, ignored)))
        refuse(" is a link to a file that is not there; choose another name, or remove the link");
    return fs::exists(status);
}

void RequireEmpty(const Database& database) {
    const char* advice = "; choose another name, or remove the file first";
    try {
        Snapshot snapshot(database);
        const auto rows = snapshot.Store().dbExecute("SELECT count(*) FROM sqlite_master");
        if (rows->Fields(0).Long() == 0) return;
    } catch (const Failure&) {
        throw Failure(database.Name() + " exists and is no empty database" + advice);
    }
    throw Failure(database.Name() + " exists and holds data" + advice);
}

// The table that a statement makes; empty when it makes none.
std::string_view TableMade(std::string_view statement) {
    constexpr std::string_view create = "CREATE TABLE ";
    const auto at = statement.find(create);
    if (at == statement.npos) return {};
    const auto name = statement.substr(at + create.size());
    return name.substr(0, name.find_first_of(" (\n"));
}

// Other tables may be there: a server's database often has some of its own.
void RequireNoTables(Mersola& store, const Engine& engine, const Database& database) {
    for (const auto statement : SchemaStatements(engine)) {
        const std::string table(TableMade(statement));
        if (table.empty()) continue;
        const auto count =
            Query(store,
                  "SELECT count(*) FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[%s]') AND "
                  "OBJECTPROPERTY(id, N'IsUserTable') = 1",
                  table.c_str());
        if (count->Fields(0).Long() != 0)
            throw Failure(database.Name() + " has a table " + table +
                          " already; choose a database without measurements");
    }
}

void AddName(Mersola& store, const char* columns, int id, std::string_view name) {
    Query(store, "INSERT INTO %s VALUES (%d,'%.*s')", columns, id, static_cast<int>(name.size()),
          name.data());
}

// `check`: runs once no other program can write to a file any more.
void LayOut(
    Mersola& store, const Engine& engine, const Keeping& keeping, bool hasViews = false,
    const std::function<void()>& check = [] {}) {
    // It counts only before there is a first page.
    if (engine.room) Query(store, "%s=INCREMENTAL", engine.room->mode);
    Transaction transaction(store);
    check();
    for (const auto statement : SchemaStatements(engine, keeping.layout)) {
        const bool isVirtual = statement.find("CREATE VIRTUAL TABLE") != statement.npos;
        store.dbExecute(CString(isVirtual ? ValuesStatement(keeping) : std::string(statement)));
    }
    for (const Function& function : kFunctions)
        AddName(store, "FuncNameMap (FuncId,FuncName)", function.id, function.name);
    if (hasViews) MakeViews(store);
    constexpr const char* bands = "FrqNameMap (FrqId,FrqName)";
    AddName(store, bands, kBroadband, kBroadbandName);
    for (const auto& band : acoustics::AllBands())
        AddName(store, bands, band.number, band.name);
    MarkFormat(store, keeping.FormatNumber(), kLaidOutBy);
    transaction.Commit();
}

// What is smaller or faster with it works without it as well.
void SetOptions(Mersola& store, const Engine& engine, std::ostream& err) {
    for (const auto statement : SchemaOptions(engine)) {
        try {
            store.dbExecute(CString(statement));
        } catch (const _com_error& error) {
            err << "mersola: warning: the server does without an option of the layout ("
                << Printable(error.what()) << ")\n";
        }
    }
}

// Whoever opens a file that is laid out turns it into write-ahead mode.
void KeepLog(
    const Database& database, const std::function<void(Mersola&)>& use = [](Mersola&) {}) {
    const auto store = database.Connect(Access::Write);
    use(*store);
}

// A new file appears laid out and filled, or not at all. False if another program made one
// meanwhile.
bool MakeNewFile(
    const Database& database, const Keeping& keeping, bool hasViews = false,
    const std::function<void(Mersola&)>& fill = [](Mersola&) {}) {
    const FileBeside file(database.File());
    const Database beside = database.At(file.Path());
    LayOut(*beside.Connect(Access::Write), kSqlite, keeping, hasViews);
    KeepLog(beside, fill);
    return file.Place(database.File());
}

void InitFile(const Database& database, const Keeping& keeping, bool hasViews) {
    if (!IsThere(database.File()) && MakeNewFile(database, keeping, hasViews)) return;
    RequireEmpty(database);  // before another program's file is changed
    const auto requireStillEmpty = [&] { RequireEmpty(database); };
    LayOut(*database.Connect(Access::Write), kSqlite, keeping, hasViews, requireStillEmpty);
    KeepLog(database);
}

void InitServer(const Database& database, bool hasViews, std::ostream& err) {
    const auto store = database.Connect(Access::Write);
    const Engine& engine = EngineOf(*store);
    RequireNoTables(*store, engine, database);
    LayOut(*store, engine, {}, hasViews);
    SetOptions(*store, engine, err);
}

}  // namespace

void MakeFile(const Database& database, const Keeping& keeping,
              const std::function<void(Mersola&)>& fill) {
    if (IsThere(database.File()) || !MakeNewFile(database, keeping, false, fill))
        throw Failure(database.Name() + " exists already; choose another name");
}

void Init(const DatabaseArgument& argument, const Keeping& keeping, bool hasViews,
          std::ostream& out, std::ostream& err) {
    const Database database(argument);
    if (!database.IsFile() && keeping.IsPacked())
        throw Failure(database.Name() +
                      " is no SQLite file, and only such a file can be packed; leave out --layout");
    if (database.IsFile())
        InitFile(database, keeping, hasViews);
    else
        InitServer(database, hasViews, err);
    TellDone(out, "The database " + database.Name() +
                      " is laid out. Record a sound file with:\n  mersola record " +
                      ShellText(argument) + " FILE --instrument NAME --measurement NAME\n");
}

}  // namespace mersola::tool
