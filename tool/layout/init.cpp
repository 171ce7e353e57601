// mersola init: a new database.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "failure.h"
#include "layout.h"
#include "measured.h"
#include "open_database.h"
#include "query.h"
#include "schema.h"

namespace mersola::tool {
namespace {

// A file that goes away again unless it is kept.
class NewFile {
  public:
    // Does nothing when there is such a file already.
    explicit NewFile(const std::string& path) : path_(path) {
        const int file = open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
        if (file < 0 && errno != EEXIST)
            throw Failure(Quoted(path) + " cannot be made (" + std::strerror(errno) +
                          "); choose a folder that exists and that you may write to");
        isOurs_ = file >= 0;
        if (isOurs_) close(file);
    }
    ~NewFile() {
        if (!isOurs_) return;
        for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
            std::error_code ignored;
            std::filesystem::remove(path_ + suffix, ignored);
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Keep() { isOurs_ = false; }

  private:
    std::string path_;
    bool isOurs_;
};

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
void RequireNoTables(Mersola& store, SchemaEngine engine, const Database& database) {
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

void LayOut(Mersola& store, SchemaEngine engine) {
    Transaction transaction(store);
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
void SetOptions(Mersola& store, SchemaEngine engine, std::ostream& err) {
    for (const auto statement : SchemaOptions(engine)) {
        try {
            store.dbExecute(CString(statement));
        } catch (const _com_error& error) {
            err << "mersola: warning: the server does without an option of the layout ("
                << Printable(error.what()) << ")\n";
        }
    }
}

void InitFile(const Database& database) {
    NewFile file(database.File());
    RequireEmpty(database);
    LayOut(*database.Connect(Access::Write), SchemaEngine::SQLite);
    file.Keep();
}

void InitServer(const Database& database, std::ostream& err) {
    const auto store = database.Connect(Access::Write);
    const auto engine = store->getConnection()->DbmsName() == "SQLite" ? SchemaEngine::SQLite
                                                                       : SchemaEngine::SqlServer;
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
    const std::string shown =
        IsConnectionString(argument.text) ? database.Name() : Printable(database.Text());
    out << "The database " << database.Name() << " is laid out. Record a sound file with:\n"
        << "  mersola record " << shown << " FILE --instrument NAME --measurement NAME\n";
}

}  // namespace mersola::tool
