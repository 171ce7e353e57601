// A connection to a server, and the one statement that runs on it.
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

#include "connect_text.h"
#include "errors.h"
#include "parameters.h"

namespace mersola::postgresql {

struct ClearResult {
    void operator()(PGresult* result) const { PQclear(result); }
};
using Result = std::unique_ptr<PGresult, ClearResult>;

/// A statement as it is sent.
struct Call {
    const char* text = nullptr;  // null where it is prepared already
    const char* name = nullptr;  // of the prepared one, or what the text is prepared as; or null
    const Parameters& parameters;
    /// It reads or writes rows and does nothing else, so that one that fails can be undone alone.
    bool isQuery = true;
    /// What goes in front of it inside a transaction; or null.
    const char* first = nullptr;
    /// Its rows come as one result, which is the end as well.
    bool isWhole = false;
    /// The text of an INSERT of values. It can be repeated, so that it needs no savepoint of its
    /// own. Or null.
    const char* insert = nullptr;
};

/// A row as COPY gives it.
struct FreeBytes {
    void operator()(char* bytes) const { PQfreemem(bytes); }
};
struct CopiedRow {
    std::unique_ptr<char, FreeBytes> bytes;
    std::size_t size = 0;
};

/// An open connection. It commits each statement by itself, except between Begin and Commit or
/// Rollback. A query that fails there is undone, and what came before it stays: the connection
/// keeps a savepoint behind the last one that changed something, and sends it along with the next.
class Connection {
  public:
    /// Time-outs are in seconds; 0 waits without end.
    Connection(const ConnectText& connect, long commandSeconds);
    ~Connection() { Disconnect(); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void Disconnect();
    bool IsOpen() const { return connection_ != nullptr; }

    bool InTransaction() const;
    void Begin() { Run("BEGIN"); }
    void Commit();
    void Rollback();
    /// Runs a statement that gives no rows, or several ones, as they stand.
    void Run(const char* sql);

    /// Sends a statement. Its results come one after the other: rows, each as a result of its own,
    /// and then one that says how it ended. Until Next gives that one, nothing else can be sent.
    void Send(const Call& call);
    /// The next row, which has the status PGRES_SINGLE_TUPLE, or the end. Raises when the statement
    /// fails.
    Result Next();
    /// Sends a COPY of a query to here.
    void SendCopy(const char* text);
    /// The next piece of it; without bytes at the end. Raises when the query fails.
    CopiedRow NextCopied();
    /// Ends the statement of which nobody reads the rest.
    void Abandon();
    /// Sends a statement and gives its end.
    Result Execute(const Call& call);
    /// SQLSTATE of the last statement, if that failed at the server.
    const std::string& LastState() const { return lastState_; }

  private:
    using Clock = std::chrono::steady_clock;

    PGconn* Open() const;
    void Require(int sent);
    /// Reads what comes next; null at the end of a statement.
    Result Receive();
    template <class Ready>
    void Await(Ready ready);
    enum class Heard { Something, Nothing, End };
    Heard Poll(Clock::time_point until);
    std::future<void> Cancel() const;
    [[noreturn]] void Lose(std::string_view words = {});
    bool SetsSavepoint(bool isQuery) const;
    void GoBack();
    void Remember(const Call& call);
    bool SendBefore(const Call& call);
    void ReadBefore();
    void Finish();
    [[noreturn]] void Raise(const Failure& failure);

    PGconn* connection_ = nullptr;
    ado::Secrets secrets_;
    std::chrono::seconds patience_;
    std::string lastState_;
    // Of the statement that runs:
    bool running_ = false;
    bool copying_ = false;
    bool piped_ = false;  // it was sent together with others
    bool isQuery_ = false;
    int before_ = 0;  // how many of these are in front of it
    // Of the transaction:
    bool hasSavepoint_ = false;
    bool isChanged_ = false;  // since the savepoint was set
    bool isTorn_ = false;     // what it wrote could not be repeated, so that it can only be undone
    struct Insert {
        std::string text;
        Parameters parameters;
    };
    std::vector<Insert> inserts_;  // since then
    bool isInsert_ = false;        // what was sent last, which is the last of these
};

}  // namespace mersola::postgresql
