// mersola init: a new database.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "commands.h"
#include "failure.h"
#include "measured.h"
#include "open_database.h"
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

void RequireEmpty(const std::string& path) {
    const char* advice = "; choose another name, or remove the file first";
    try {
        const auto rows =
            Connect(path, Access::Read)->dbExecute("SELECT count(*) FROM sqlite_master");
        if (rows->Fields(0).Long() == 0) return;
    } catch (const Failure&) {
        throw Failure(Quoted(path) + " exists and is no empty database" + advice);
    }
    throw Failure(Quoted(path) + " exists and holds data" + advice);
}

void AddName(Mersola& store, const char* columns, int id, std::string_view name) {
    CString insert;
    insert.Format("INSERT INTO %s VALUES (%d,'%.*s')", columns, id, static_cast<int>(name.size()),
                  name.data());
    store.dbExecute(insert);
}

void LayOut(Mersola& store) {
    for (const auto statement : SchemaStatements(SchemaEngine::SQLite))
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
}

}  // namespace

void Init(const std::string& path, std::ostream& out) {
    NewFile file(path);
    RequireEmpty(path);
    {
        const auto store = Connect(path, Access::Write);
        Transaction transaction(*store);
        LayOut(*store);
        transaction.Commit();
    }
    file.Keep();
    out << "The database " << Quoted(path) << " is laid out. Record a sound file with:\n"
        << "  mersola record " << Printable(path) << " FILE --instrument NAME --measurement NAME\n";
}

}  // namespace mersola::tool
