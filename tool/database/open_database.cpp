// Opening databases, with one clear line for each way in which that fails.
#include "open_database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string_view>

#include "basics/failure.h"
#include "credentials.h"
#include "engines/engines.h"
#include "engines/format.h"
#include "query.h"

namespace mersola::tool {
namespace {

constexpr long kFileTimeout = 10;    // seconds; another program may be writing
constexpr long kServerTimeout = 60;  // many may be

// A part of a connection string that reads back any file name.
std::string DataSource(const std::string& path) {
    std::string name;
    for (const char c : path)
        name += c == '}' ? std::string(2, c) : std::string(1, c);
    return ";Data Source={" + name + "}";
}

// Whether SQLite would have to make files beside this one to read it, but may not: what it says
// then sounds as if somebody had wanted to write.
bool LacksWritableFolder(const std::string& path) {
    constexpr std::streamoff kModeInHeader = 18;
    const auto folder = std::filesystem::path(path).parent_path();
    std::error_code ignored;  // a pipe would be waited for
    return std::filesystem::is_regular_file(path, ignored) &&
           std::ifstream(path, std::ios::binary).seekg(kModeInHeader).get() == 2 &&
           faccessat(AT_FDCWD, folder.empty() ? "." : folder.c_str(), W_OK, AT_EACCESS) != 0;
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

// libpq looks for a password in places of its own, and the server may want none.
bool IsPostgresql(std::string_view text) {
    return CompareNoCase(ConnectionValue(text, kProviderKeys), "PostgreSQL") == 0;
}

bool WantsPassword(std::string_view reason) {
    return reason.find("no password supplied") != reason.npos;
}

bool IsWriteAhead(Mersola& store) {
    return Query(store, "PRAGMA journal_mode")->Fields(0).Text() == "wal";
}

}  // namespace

Database::Database(const DatabaseArgument& argument)
    : text_(WithoutPassword(argument.text)),
      connectString_(argument.text),
      timeout_(argument.timeout) {
    if (!IsConnectionString(argument.text)) {
        isFile_ = true;
        file_ = argument.text;
        connectString_ = "Provider=SQLite";
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
    else if (!user_.empty() && !IsPostgresql(argument.text))
        Ask();
}

void Database::Ask() const {
    password_ = AskPassword("Password of " + Quoted(user_) + " for " + Name() + ":");
}

std::string Database::Name() const {
    return Quoted(text_);
}

Database Database::At(const std::string& file) const {
    Database other = *this;
    other.file_ = file;
    return other;
}

std::unique_ptr<Mersola> Database::Connect(Access access) const {
    const Messages messages;
    // Of two of a kind the last one counts.
    const std::string connectString = connectString_ + (isFile_ ? DataSource(file_) : "") +
                                      (isFile_ && access == Access::Read ? ";Mode=Read" : "");
    auto store =
        std::make_unique<Mersola>(user_.c_str(), password_.c_str(), connectString.c_str(),
                                  timeout_.value_or(isFile_ ? kFileTimeout : kServerTimeout));
    if (store->isConnected()) {
        EngineOf(*store);
        return store;
    }
    if (isFile_ && LacksWritableFolder(file_))
        throw Failure(Name() + " cannot be opened (" + messages.Reason() +
                      "); to open it, even to read, you must be allowed to write to its folder, "
                      "unless a recorder has it open meanwhile");
    const std::string reason = messages.Reason();
    if (!user_.empty() && password_.empty() && WantsPassword(reason)) {
        Ask();
        return Connect(access);
    }
    if (reason.find(kIsTooNew) != reason.npos)
        throw Failure(Name() + " cannot be opened (" + reason +
                      "); use that version of mersola, or a later one");
    if (reason.find(kIsNoTable) != reason.npos)
        throw Failure(Name() + " cannot be opened (" + reason +
                      "); the file is no database of mersola, or somebody has changed it");
    if (isFile_ && IsDamage(reason))
        throw Failure(Name() + " cannot be opened (" + reason +
                      "); the file is damaged: restore a backup, or save what is left with: "
                      "mersola salvage");
    if (isFile_ && reason.find("file is not a database") != reason.npos)
        throw Failure(Name() + " is no database (" + reason +
                      "); check the name; if it was one, its beginning is damaged: restore a "
                      "backup, or save what is left with: mersola salvage");
    throw Failure(Name() + (isFile_
                                ? " cannot be opened as a database (" + reason +
                                      "); check the name, your permissions and the free space"
                                : " cannot be connected to (" + reason +
                                      "); check the connection string, the user and the password"));
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
    if (result == kNoInstruments)
        throw Failure(database.Name() + " is not laid out for measurements; " +
                      (database.IsFile() ? "make a new database" : "lay it out") +
                      " with: mersola init");
    if (!database.IsFile()) {
        if (result == kNoAnswer)
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

const Engine& EngineOf(const Mersola& store) {
    const CString name = store.getConnection()->DbmsName();
    if (const Engine* engine = FindEngine(name.View())) return *engine;
    throw Failure("the database cannot be used: " + Printable(UnknownEngine(name.View())));
}

std::string LastError(const Mersola& store) {
    const auto connection = store.getConnection();
    if (!connection || connection->GetErrors().empty()) return "";
    return " (" + Printable(connection->GetErrors().back().Description.View()) + ")";
}

bool IsDamage(std::string_view words) {
    return words.find("database disk image is malformed") != words.npos ||
           (words.find("the values of MeasValueId ") != words.npos &&
            words.find(" cannot be read: ") != words.npos);
}

std::string AdviceOn(std::string_view words) {
    const auto says = [&](std::string_view part) { return words.find(part) != words.npos; };
    return IsDamage(words)    ? "the file is damaged: mersola check says what is lost, and mersola "
                                "salvage saves what is left"
           : says("time-out") ? "try again, or with a longer --timeout"
           : says("permission") || says("readonly database") ? "check your permissions"
           : says("connection was lost") ? "try again when the server can be reached"
                                         : "check that the database is whole and try again";
}

std::string WhyUnread(const Mersola& store) {
    const std::string words = LastError(store);
    return words + "; " + AdviceOn(words);
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
