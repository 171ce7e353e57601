// Opening databases, and transactions.
#include <memory>

#include "ado/connection_string.h"
#include "afx/held_messages.h"
#include "handle.h"

using namespace mersola;
using namespace mersola::c;

namespace {

// What a message box says of a connection that cannot be made, without what goes round the reason.
std::string Reason(std::string_view message) {
    if (constexpr std::string_view prefix = "Error: "; message.starts_with(prefix))
        message.remove_prefix(prefix.size());
    message = message.substr(0, message.rfind(", Source: "));
    return message.empty() ? "the connection cannot be made" : std::string(message);
}

std::string Written(std::string_view text) {
    std::string quoted = "{";
    for (const char c : text)
        quoted += c == '}' ? std::string(2, c) : std::string(1, c);
    return quoted + "}";
}

void Open(std::string connection, const char* user, const char* password, int32_t timeout,
          uint32_t flags, mersola_db** db) {
    Required(db, "the place of the handle");
    if ((flags & ~static_cast<uint32_t>(MERSOLA_READ_ONLY)) != 0)
        Refuse("the flags " + std::to_string(flags) + " have no meaning");
    if (timeout < kDefaultTimeout) Refuse("a time-out is a number of seconds from 0, or -1");
    auto opened = std::make_unique<mersola_db>();
    opened->isReadOnly = (flags & MERSOLA_READ_ONLY) != 0;
    // Only SQLite's provider knows the mode; elsewhere the user's rights decide.
    if (opened->isReadOnly &&
        ado::EqualNoCase(ado::ConnectionString(connection).Find("Provider"), "SQLite"))
        connection += ";Mode=Read";
    HeldMessages messages;
    opened->fresh.Initialize(user, password, connection.c_str(), timeout);
    if (!opened->fresh.isConnected()) throw Failure{MERSOLA_FAILED, Reason(messages.last)};
    versionHistory version;
    const int state = opened->fresh.GetVersion(nullptr, version);
    if (state == kNoInstruments)
        throw Failure{MERSOLA_FAILED, "the database is not laid out for measurements"};
    if (state == kNoAnswer) opened->Fail({MERSOLA_FAILED, "the database cannot be read"});
    for (Store* const store : {&opened->reader, &opened->recorder, &opened->lister})
        opened->Clear(*store);
    *db = opened.release();
}

template <class Action>
int32_t Transaction(mersola_db* db, Action action) {
    return Call(db, [&](mersola_db& open) { (open.fresh.*action)(); });
}

}  // namespace

const char* mersola_version(void) {
    return MERSOLA_VERSION;
}

int32_t mersola_open(const char* connection, const char* user, const char* password,
                     int32_t timeout, uint32_t flags, mersola_db** db) {
    return Guarded(ThreadError(), [&] {
        Open(&Required(connection, "the connection string"), user, password, timeout, flags, db);
    });
}

int32_t mersola_open_file(const char* path, int32_t timeout, uint32_t flags, mersola_db** db) {
    return Guarded(ThreadError(), [&] {
        const std::string source = Written(&Required(path, "the path"));
        Open("Provider=SQLite;Data Source=" + source, nullptr, nullptr, timeout, flags, db);
    });
}

int32_t mersola_begin(mersola_db* db) {
    return Transaction(db, &Store::BeginTrans);
}

int32_t mersola_commit(mersola_db* db) {
    return Transaction(db, &Store::CommitTrans);
}

int32_t mersola_rollback(mersola_db* db) {
    return Transaction(db, &Store::RollbackTrans);
}
