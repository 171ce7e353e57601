// Opening databases, with one clear line for each way in which that fails.
#include "open_database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "credentials.h"
#include "failure.h"
#include "query.h"

namespace mersola::tool {
namespace {

constexpr long kFileTimeout = 10;    // seconds; another program may be writing
constexpr long kServerTimeout = 60;  // many may be

// A connection string that reads back any file name.
std::string ConnectString(const std::string& path) {
    std::string name = path.starts_with(':') ? "./" : "";  // else ":memory:" would be no file
    for (const char c : path)
        name += c == '}' ? std::string(2, c) : std::string(1, c);
    return "Provider=SQLite;Data Source={" + name + "}";
}

// Collects what is shown in a message box while it lives.
class Messages {
  public:
    Messages()
        : before_(SetMessageBoxHandler([this](const char* text, unsigned) { text_ = text; })) {}
    ~Messages() { SetMessageBoxHandler(std::move(before_)); }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    // Without what goes round the reason.
    std::string Reason() const {
        std::string_view text = text_;
        if (constexpr std::string_view prefix = "Error: "; text.starts_with(prefix))
            text.remove_prefix(prefix.size());
        return std::string(text.substr(0, text.rfind(", Source: ")));
    }

  private:
    std::string text_;
    MessageBoxHandler before_;
};

bool IsWriteAhead(Mersola& store) {
    return Query(store, "PRAGMA journal_mode")->Fields(0).Text() == "wal";
}

}  // namespace

Database::Database(const DatabaseArgument& argument)
    : text_(WithoutPassword(argument.text)), connectString_(argument.text) {
    if (!IsConnectionString(argument.text)) {
        isFile_ = true;
        file_ = argument.text;
        connectString_ = ConnectString(argument.text);
        return;
    }
    if (CompareNoCase(ConnectionValue(argument.text, kProviderKeys), "SQLite") == 0) {
        isFile_ = true;
        file_ = ConnectionValue(argument.text, kSourceKeys);
        return;
    }
    user_ = ConnectionValue(argument.text, kUserKeys);
    if (user_.empty()) user_ = argument.user;
    password_ = ConnectionValue(argument.text, kPasswordKeys);
    if (!password_.empty()) return;
    if (!argument.passwordFile.empty())
        password_ = ReadPasswordFile(argument.passwordFile);
    else if (!user_.empty())
        password_ = AskPassword("Password of " + Quoted(user_) + " for " + Name() + ":");
}

std::string Database::Name() const {
    return Quoted(text_);
}

std::unique_ptr<Mersola> Database::Connect(Access access) const {
    const Messages messages;
    // Of two modes the last one counts.
    const std::string mode = isFile_ && access == Access::Read ? ";Mode=Read" : "";
    auto store =
        std::make_unique<Mersola>(user_.c_str(), password_.c_str(), (connectString_ + mode).c_str(),
                                  isFile_ ? kFileTimeout : kServerTimeout);
    if (!store->isConnected())
        throw Failure(Name() +
                      (isFile_ ? " cannot be opened as a database (" + messages.Reason() +
                                     "); check the name, your permissions and the free space"
                               : " cannot be connected to (" + messages.Reason() +
                                     "); check the connection string, the user and the password"));
    return store;
}

void Database::RequireThere() const {
    if (!isFile_) return;
    if (struct stat status{}; stat(file_.c_str(), &status) != 0 && errno == ENOENT)
        throw Failure("there is no database " + Quoted(file_) +
                      "; check the name, or make one with: mersola init");
}

std::unique_ptr<Mersola> OpenDatabase(const Database& database, Access access) {
    database.RequireThere();
    // The first look must not change a file that turns out to be another program's.
    auto store = database.Connect(Access::Read);
    versionHistory version;
    const int result = store->GetVersion(nullptr, version);
    if (result == -2)
        throw Failure(database.Name() + " is not laid out for measurements; " +
                      (database.IsFile() ? "make a new database" : "lay it out") +
                      " with: mersola init");
    if (!database.IsFile()) {
        if (result == -3)
            throw Failure(database.Name() + " cannot be read" + LastError(*store) +
                          "; check the permissions of the user");
        return store;
    }
    const bool isWritable = faccessat(AT_FDCWD, database.File().c_str(), W_OK, AT_EACCESS) == 0;
    if (access == Access::Write && !isWritable)
        throw Failure(database.Name() +
                      " may not be written to; change its permissions or use another database");
    // Beside a database in write-ahead mode SQLite keeps files, which only who opens for writing
    // takes away again. Any other one would be turned into that mode.
    if (access == Access::Read && !(isWritable && IsWriteAhead(*store))) return store;
    store.reset();
    return database.Connect(Access::Write);
}

std::string LastError(const Mersola& store) {
    const auto connection = store.getConnection();
    if (!connection || connection->GetErrors().empty()) return "";
    return " (" + Printable(connection->GetErrors().back().Description.View()) + ")";
}

Transaction::~Transaction() {
    try {
        if (open_) store_.RollbackTrans();
    } catch (const _com_error&) {
        // The engine has rolled back by itself, or does so when the connection closes.
    }
}

void Transaction::Commit() {
    store_.CommitTrans();
    open_ = false;
}

}  // namespace mersola::tool
