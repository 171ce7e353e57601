// Opening database files, with one clear line for each way in which that fails.
#include "open_database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "failure.h"

namespace mersola::tool {
namespace {

constexpr long kTimeout = 10;  // seconds; another program may be writing

// A connection string that reads back any file name.
std::string ConnectString(const std::string& path, Access access) {
    std::string name = path.starts_with(':') ? "./" : "";  // else ":memory:" would be no file
    for (const char c : path)
        name += c == '}' ? std::string(2, c) : std::string(1, c);
    return "Provider=SQLite;Data Source={" + name + "}" +
           (access == Access::Read ? ";Mode=Read" : "");
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

}  // namespace

std::unique_ptr<Mersola> Connect(const std::string& path, Access access) {
    const Messages messages;
    auto store =
        std::make_unique<Mersola>(nullptr, nullptr, ConnectString(path, access).c_str(), kTimeout);
    if (!store->isConnected())
        throw Failure(Quoted(path) + " cannot be opened as a database (" + messages.Reason() +
                      "); check the name, your permissions and the free space");
    return store;
}

void RequireThere(const std::string& path) {
    if (struct stat status{}; stat(path.c_str(), &status) != 0 && errno == ENOENT)
        throw Failure("there is no database " + Quoted(path) +
                      "; check the name, or make one with: mersola init");
}

std::unique_ptr<Mersola> OpenDatabase(const std::string& path, Access access) {
    RequireThere(path);
    // The first look must not change a file that turns out to be another program's.
    versionHistory version;
    if (const int result = Connect(path, Access::Read)->GetVersion(nullptr, version); result == -2)
        throw Failure(Quoted(path) +
                      " is not laid out for measurements; make a new database with: mersola init");
    if (access == Access::Write && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
        throw Failure(Quoted(path) +
                      " may not be written to; change its permissions or use another database");
    // Who opens for writing also takes away the files that SQLite keeps beside an open database.
    return Connect(path, Access::Write);
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
