// mersola init: a new database.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <ostream>

#include "bands/bands.h"
#include "basics/failure.h"
#include "catalogue/measured.h"
#include "database/open_database.h"
#include "database/query.h"
#include "engines/sqlite.h"
#include "layout.h"
#include "schema/schema.h"

namespace mersola::tool {
namespace {

[[noreturn]] void RefuseToMake(const Database& database) {
    throw Failure(database.Name() + " cannot be made (" + std::strerror(errno) +
                  "); choose a folder that exists and that you may write to");
}

// A file beside the place of a new database, which goes away again with what SQLite made for it.
class FileBeside {
  public:
    explicit FileBeside(const Database& database)
        : path_(database.File() + "." + std::to_string(getpid()) + ".part") {
        const int file = open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
        if (file < 0) RefuseToMake(database);
        close(file);
    }
    ~FileBeside() {
        for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
            std::error_code ignored;
            std::filesystem::remove(path_ + suffix, ignored);
        }
    }
    FileBeside(const FileBeside&) = delete;
    FileBeside& operator=(const FileBeside&) = delete;

    const std::string& Path() const { return path_; }

    // Whether it is in its place; not if there is something already.
    bool Place(const Database& database) const {
        const char* const target = database.File().c_str();
        if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target, RENAME_NOREPLACE) == 0)
            return true;
        // Some file systems have no such renaming, others no links.
        if (errno == EINVAL && link(path_.c_str(), target) == 0) return true;
        if (errno != EEXIST) RefuseToMake(database);
        return false;
    }

  private:
    std::string path_;
};

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
        const auto rows =
            database.Connect(Access::Read)->dbExecute("SELECT count(*) FROM sqlite_master");
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
    Mersola& store, const Engine& engine, const std::function<void()>& check = [] {}) {
    Transaction transaction(store);
    check();
    for (const auto statement : SchemaStatements(engine))
        store.dbExecute(CString(statement));
    for (const Function& function : kFunctions)
        AddName(store, "FuncNameMap (FuncId,FuncName)", function.id, function.name);
    constexpr const char* bands = "FrqNameMap (FrqId,FrqName)";
    AddName(store, bands, kBroadband, kBroadbandName);
    for (const auto& band : acoustics::AllBands())
        AddName(store, bands, band.number, band.name);
    versionHistory version;
    version.Version = "1";
    version.Info = "Laid out by mersola " MERSOLA_VERSION;
    version.Date = CTimeEx::GetCurrentTime().ToText();
    if (store.AddVersion(nullptr, version) != 1)
        throw Failure("the version history could not be written" + LastError(store) +
                      "; try again");
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

// A new file appears laid out or not at all. False if another program made one meanwhile.
bool InitNewFile(const Database& database) {
    const FileBeside file(database);
    LayOut(*database.At(file.Path()).Connect(Access::Write), kSqlite);
    if (std::filesystem::exists(file.Path() + "-wal"))  // would stay behind with what was laid out
        throw Failure(database.Name() + " cannot be made; is the disk full?");
    return file.Place(database);
}

void InitFile(const Database& database) {
    if (!IsThere(database.File()) && InitNewFile(database)) return;
    RequireEmpty(database);  // before another program's file is changed
    const auto requireStillEmpty = [&] { RequireEmpty(database); };
    LayOut(*database.Connect(Access::Write), kSqlite, requireStillEmpty);
}

void InitServer(const Database& database, std::ostream& err) {
    const auto store = database.Connect(Access::Write);
    const Engine& engine = EngineOf(*store);
    RequireNoTables(*store, engine, database);
    LayOut(*store, engine);
    SetOptions(*store, engine, err);
}

}  // namespace

void Init(const DatabaseArgument& argument, std::ostream& out, std::ostream& err) {
    const Database database(argument);
    if (database.IsFile())
        InitFile(database);
    else
        InitServer(database, err);
    TellDone(out, "The database " + database.Name() +
                      " is laid out. Record a sound file with:\n  mersola record " +
                      ShellText(argument) + " FILE --instrument NAME --measurement NAME\n");
}

}  // namespace mersola::tool
