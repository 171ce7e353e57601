// Opening SQLite databases.
#include "provider.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <string>

#include "errors.h"
#include "form/form.h"
#include "gathered_values.h"
#include "log_guard.h"
#include "packed/module.h"
#include "session.h"

namespace mersola::sqlite {
namespace {

// The size in bytes to which the log's file shrinks when it is started anew: what a long reader
// made it grow by is given back, and in daily use the file is written over.
constexpr int kLogLimit = 8 << 20;

[[noreturn]] void Refuse(const std::string& what) {
    throw _com_error(E_FAIL, what.c_str(), kSource);
}

// The value of `key`, which is one of `allowed`; the first of these is the default.
std::string_view Choice(const ado::ConnectionString& properties, std::string_view key,
                        std::initializer_list<std::string_view> allowed) {
    const std::string_view value = properties.Find(key);
    if (value.empty()) return *allowed.begin();
    std::string choices;
    for (const std::string_view choice : allowed) {
        if (ado::EqualNoCase(value, choice)) return choice;
        choices += (choices.empty() ? "" : " or ") + std::string(choice);
    }
    Refuse(std::string(key) + " can be " + choices + ", not '" + std::string(value) + "'");
}

void RequireFile(const std::string& path) {
    struct stat status {};
    if (path.empty()) Refuse("The connection string names no file: Data Source is missing");
    if (stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            Refuse("The database file '" + path + "' does not exist, and opening creates none");
        }
        return;  // SQLite itself says why the file cannot be opened
    }
    if (!S_ISREG(status.st_mode)) Refuse("The database '" + path + "' is not a file");
}

int Milliseconds(long seconds) {
    constexpr long kMost = std::numeric_limits<int>::max() / 1000;
    return static_cast<int>(seconds == 0 ? kMost : std::min(seconds, kMost)) * 1000;
}

void Run(sqlite3* db, const std::string& sql) {
    Check(db, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr));
}

// Against files that somebody made in order to do harm, as SQLite's makers advise.
void Harden(sqlite3* db) {
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1,
                      nullptr);  // no statement can write the schema as a table
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);  // "name" is never a text
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    sqlite3_limit(db, SQLITE_LIMIT_ATTACHED, 0);
    Run(db, "PRAGMA cell_size_check=ON");
    Run(db, "PRAGMA mmap_size=0");
}

void KeepLog(sqlite3* db) {
    Run(db, "PRAGMA journal_mode=WAL");
    Run(db, "PRAGMA journal_size_limit=" + std::to_string(kLogLimit));
}

class Provider : public ado::Provider {
  public:
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest& request) override {
        const std::string path(request.properties.Find("Data Source"));
        const bool readOnly = Choice(request.properties, "Mode", {"ReadWrite", "Read"}) == "Read";
        const std::string_view synchronous =
            Choice(request.properties, "Synchronous", {"FULL", "NORMAL"});
        RequireFile(path);
        sqlite3* opened = nullptr;
        const int flags = (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) |
                          SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
        // Otherwise SQLite would take ":memory:" for no file, and "file:x" for a file of another
        // name.
        const bool isSpecial = path.starts_with(':') || path.starts_with("file:");
        const int code =
            sqlite3_open_v2(((isSpecial ? "./" : "") + path).c_str(), &opened, flags, GuardedVfs());
        Database db(opened);
        Check(db.get(), code);
        const int patience = Milliseconds(request.commandTimeout);
        sqlite3_busy_timeout(db.get(), patience);  // until the session has its own
        Harden(db.get());
        Check(db.get(), packed::RegisterModule(db.get()));
        GatheredValues::Register(db.get());
        Run(db.get(), "PRAGMA synchronous=" + std::string(synchronous));
        sqlite3* const handle = db.get();
        auto session =
            std::make_unique<Session>(std::move(db), std::chrono::milliseconds(patience));
        // A file without our tables stays as it is: another program's, and also an empty one, which
        // may be about to become another program's.
        if (form::RequireReadable(*session, kSource) && sqlite3_db_readonly(handle, "main") == 0)
            KeepLog(handle);
        return session;
    }
};

}  // namespace

std::shared_ptr<ado::Provider> MakeProvider() {
    return std::make_shared<Provider>();
}

}  // namespace mersola::sqlite
