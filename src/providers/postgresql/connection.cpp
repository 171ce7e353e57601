// Opening and closing, sending and waiting. Nothing waits longer than the time-out: a statement is
// cancelled then, and a server that does not answer to that either is given up.
#include "connection.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace mersola::postgresql {
namespace {

constexpr const char* kSavepoint = "SAVEPOINT mersola";
constexpr const char* kRelease = "RELEASE SAVEPOINT mersola";
constexpr const char* kGoBack = "ROLLBACK TO SAVEPOINT mersola";
constexpr std::chrono::seconds kGrace{2};  // for what was cancelled

// What statements count on, whatever the server's settings are.
std::string Settings(const std::string& schema, long seconds) {
    std::string settings =
        "SET standard_conforming_strings=on;SET default_transaction_isolation='read committed'";
    // A lock is given up by the server itself, which costs no cancelling.
    settings += ";SET lock_timeout=" + std::to_string(std::min(seconds, 2000000L) * 1000);
    // The key gives rows in their order; a bitmap's would have to be sorted, a long block's on
    // disk.
    settings += ";SET enable_bitmapscan=off";
    if (schema.empty()) return settings;
    settings += ";SET search_path=\"";
    for (const char c : schema)
        settings += c == '"' ? "\"\"" : std::string(1, c);
    return settings + '"';
}

bool IsFailure(const PGresult* result) {
    const ExecStatusType status = PQresultStatus(result);
    return status == PGRES_FATAL_ERROR || status == PGRES_BAD_RESPONSE;
}

}  // namespace

Connection::Connection(const ConnectText& connect, long commandSeconds)
    : secrets_(connect.secrets), patience_(commandSeconds) {
    std::vector<const char*> keywords, values;
    for (const auto& [keyword, value] : connect.keywords) {
        keywords.push_back(keyword.c_str());
        values.push_back(value.c_str());
    }
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    constexpr int kTakenAsItStands = 0;  // a database's name is no connection string
    connection_ = PQconnectdbParams(keywords.data(), values.data(), kTakenAsItStands);
    if (PQstatus(connection_) != CONNECTION_OK) {
        const _com_error failure = ConnectFailure(connection_, secrets_);
        Disconnect();
        throw failure;
    }
    PQsetnonblocking(connection_, 1);
    PQsetNoticeProcessor(
        connection_, [](void*, const char*) {}, nullptr);
    Run(Settings(connect.schema, commandSeconds).c_str());
}

void Connection::Disconnect() {
    PQfinish(std::exchange(connection_, nullptr));
    running_ = copying_ = piped_ = false;
}

PGconn* Connection::Open() const {
    if (!connection_) throw Lost();
    return connection_;
}

bool Connection::InTransaction() const {
    if (!connection_) return false;
    const auto status = PQtransactionStatus(connection_);
    return status == PQTRANS_INTRANS || status == PQTRANS_INERROR;
}

void Connection::Commit() {
    Open();
    const bool isUndone =
        std::exchange(isTorn_, false) || PQtransactionStatus(connection_) == PQTRANS_INERROR;
    Run(isUndone ? "ROLLBACK" : "COMMIT");
    if (isUndone)
        throw _com_error(E_FAIL, "The transaction had failed already and is undone", kSource);
}

void Connection::Rollback() {
    Open();
    isTorn_ = false;
    if (InTransaction()) Run("ROLLBACK");  // after a failed commit the server has done it by itself
}

void Connection::Run(const char* sql) {
    Require(PQsendQuery(Open(), sql));
    running_ = true;
    isQuery_ = false;
    std::optional<Failure> failure;
    while (const Result result = Receive()) {
        if (IsFailure(result.get()) && !failure) failure = FailureIn(result.get(), secrets_);
    }
    running_ = hasSavepoint_ = isChanged_ = isInsert_ = false;
    inserts_.clear();
    if (failure) Raise(*failure);
}

void Connection::Require(int sent) {
    if (sent) return;
    if (PQstatus(connection_) == CONNECTION_BAD) Lose();
    const std::string words = secrets_.Hidden(PQerrorMessage(connection_));
    throw _com_error(E_FAIL, words.c_str(), kSource);
}

bool Connection::SetsSavepoint(bool isQuery) const {
    return isQuery && PQtransactionStatus(connection_) == PQTRANS_INTRANS &&
           (!hasSavepoint_ || isChanged_);
}

// Sends what has to come first, and says whether there was anything.
bool Connection::SendBefore(const Call& call) {
    const bool setsSavepoint = SetsSavepoint(call.isQuery);
    before_ = 0;
    const bool prepares = call.name && call.text;
    const bool hasFirst = call.first && PQtransactionStatus(connection_) == PQTRANS_INTRANS;
    if (!setsSavepoint && !prepares && !hasFirst) return false;
    Require(PQenterPipelineMode(connection_));
    piped_ = true;
    const auto send = [&](const char* sql) {
        Require(PQsendQueryParams(connection_, sql, 0, nullptr, nullptr, nullptr, nullptr, 1));
        ++before_;
    };
    if (setsSavepoint && hasSavepoint_) send(kRelease);
    // It stays when the call is undone, and when it fails itself, what came before stays.
    if (setsSavepoint && hasFirst) send(kSavepoint);
    if (hasFirst) send(call.first);
    if (setsSavepoint && hasFirst) send(kRelease);
    if (setsSavepoint) send(kSavepoint);
    if (prepares) {
        Require(PQsendPrepare(connection_, call.name, call.text, call.parameters.Count(),
                              call.parameters.Types()));
        ++before_;
    }
    hasSavepoint_ |= setsSavepoint;
    if (setsSavepoint) {
        isChanged_ = false;
        inserts_.clear();
    }
    return true;
}

void Connection::Send(const Call& call) {
    Open();
    lastState_.clear();
    running_ = true;
    isQuery_ = call.isQuery;
    const bool together = SendBefore(call);
    Remember(call);
    const Parameters& parameters = call.parameters;
    constexpr int kBinary = 1;
    Require(call.name ? PQsendQueryPrepared(connection_, call.name, parameters.Count(),
                                            parameters.Values(), parameters.Lengths(),
                                            parameters.Formats(), kBinary)
                      : PQsendQueryParams(connection_, call.text, parameters.Count(),
                                          parameters.Types(), parameters.Values(),
                                          parameters.Lengths(), parameters.Formats(), kBinary));
    if (together) {
        Require(PQpipelineSync(connection_));
        ReadBefore();
    }
    if (!call.isWhole) PQsetSingleRowMode(connection_);
}

// Waits until `ready`, which looks at what has come.
template <class Ready>
void Connection::Await(Ready ready) {
    std::future<void> cancelled;
    while (!ready()) {
        const auto patience = cancelled.valid() ? std::min(patience_, kGrace) : patience_;
        const Heard heard =
            Poll(patience_.count() == 0 ? Clock::time_point::max() : Clock::now() + patience);
        if (heard == Heard::End) return;  // the next result says why
        if (heard == Heard::Something) continue;
        if (cancelled.valid()) Lose("the server does not answer");
        cancelled = Cancel();
    }
    // It must not hit the next statement.
    if (cancelled.valid()) cancelled.wait_for(kGrace);
}

void Connection::SendCopy(const char* text) {
    Open();
    if (SetsSavepoint(true)) {  // it cannot be sent along with a COPY
        if (hasSavepoint_) Run(kRelease);
        Run(kSavepoint);
        hasSavepoint_ = true;
    }
    running_ = isQuery_ = true;
    isInsert_ = false;
    Require(PQsendQueryParams(connection_, text, 0, nullptr, nullptr, nullptr, nullptr, 0));
    const Result begun = Receive();
    copying_ = PQresultStatus(begun.get()) == PGRES_COPY_OUT;
    if (copying_) return;
    const Failure failure = FailureIn(begun.get(), secrets_);
    Finish();
    Raise(failure);
}

CopiedRow Connection::NextCopied() {
    char* bytes = nullptr;
    int size = 0;
    Await([&] {
        size = PQgetCopyData(connection_, &bytes, 1);
        return size != 0;
    });
    if (size > 0) return {std::unique_ptr<char, FreeBytes>(bytes), static_cast<std::size_t>(size)};
    std::optional<Failure> failure;
    while (const Result end = Receive()) {
        if (IsFailure(end.get())) failure = FailureIn(end.get(), secrets_);
    }
    running_ = copying_ = false;
    if (failure) Raise(*failure);
    return {};
}

void Connection::Remember(const Call& call) {
    isInsert_ = call.insert && hasSavepoint_;
    if (isInsert_) inserts_.push_back({call.insert, call.parameters});
}

void Connection::ReadBefore() {
    for (int i = 0; i < before_; ++i) {
        const Result result = Receive();
        const Result end = Receive();
        if (IsFailure(result.get())) {
            const Failure failure = FailureIn(result.get(), secrets_);
            Finish();
            Raise(failure);
        }
    }
}

Result Connection::Next() {
    Result result = Receive();
    if (result && PQresultStatus(result.get()) == PGRES_SINGLE_TUPLE) return result;
    if (result && IsFailure(result.get())) {
        const Failure failure = FailureIn(result.get(), secrets_);
        Finish();
        Raise(failure);
    }
    Finish();
    if (!isQuery_) {
        hasSavepoint_ = false;
    } else if (isInsert_) {
        constexpr std::size_t kMostInserts = 64;
        isChanged_ = inserts_.size() == kMostInserts;
    } else if (result && !std::string_view(PQcmdStatus(result.get())).starts_with("SELECT")) {
        isChanged_ = true;
    }
    return result;
}

// Reads the rest of what was sent, which the server answers whatever happened.
void Connection::Finish() {
    if (piped_) {
        for (bool synced = false; !synced;) {
            const Result result = Receive();
            synced = result && PQresultStatus(result.get()) == PGRES_PIPELINE_SYNC;
        }
        PQexitPipelineMode(connection_);
        piped_ = false;
    } else {
        while (Receive()) {
        }
    }
    running_ = false;
}

void Connection::Raise(const Failure& failure) {
    if (PQstatus(connection_) == CONNECTION_BAD) Lose(failure.words);
    if (isQuery_ && hasSavepoint_ && PQtransactionStatus(connection_) == PQTRANS_INERROR) GoBack();
    lastState_ = failure.state;
    throw failure.Translated();
}

// Undoes the statement that failed, and nothing in front of it.
void Connection::GoBack() {
    std::vector<Insert> inserts = std::move(inserts_);
    inserts_.clear();
    if (isInsert_) inserts.pop_back();
    Run(kGoBack);
    hasSavepoint_ = true;  // it stays, to go back to again
    for (const Insert& insert : inserts) {
        // Somebody else may have stored the same row meanwhile, or hold it. The caller was told
        // that it is stored, so that nothing of the transaction may be committed.
        try {
            Execute({.text = insert.text.c_str(), .parameters = insert.parameters});
        } catch (const _com_error& error) {
            isTorn_ = true;
            lastState_.clear();
            if (!IsOpen()) throw;
            throw _com_error(E_FAIL,
                             (std::string("The transaction cannot go on: ") + error.what()).c_str(),
                             kSource);
        }
    }
}

void Connection::Abandon() {
    if (!running_) return;
    constexpr int kMostRead = 1000;  // beyond it, it is worth to ask the server to stop
    std::future<void> cancelled;
    try {
        for (int read = 0; running_; ++read) {
            if (read == kMostRead) cancelled = Cancel();
            copying_ ? void(NextCopied()) : void(Next());
        }
    } catch (const _com_error&) {
        // Nobody waits for the end of this statement any more.
    }
    if (cancelled.valid()) cancelled.wait_for(kGrace);  // it must not hit the next statement
}

Result Connection::Execute(const Call& call) {
    Send(call);
    Result result = Next();
    while (result && PQresultStatus(result.get()) == PGRES_SINGLE_TUPLE)
        result = Next();
    return result;
}

Result Connection::Receive() {
    Await([this] { return !PQisBusy(connection_); });
    Result result(PQgetResult(connection_));
    if (PQstatus(connection_) == CONNECTION_BAD && (!result || IsFailure(result.get())))
        Lose(result ? FailureIn(result.get(), secrets_).words : std::string());
    return result;
}

// Waits until there is something to read, and sends meanwhile what is still to be sent.
Connection::Heard Connection::Poll(Clock::time_point until) {
    for (;;) {
        const int unsent = PQflush(connection_);
        int milliseconds = -1;
        if (until != Clock::time_point::max()) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
            if (left <= 0) return Heard::Nothing;
            milliseconds = static_cast<int>(std::min<long>(left, 1 << 30));
        }
        pollfd waited{PQsocket(connection_), static_cast<short>(unsent ? POLLIN | POLLOUT : POLLIN),
                      0};
        if (poll(&waited, 1, milliseconds) <= 0 || !(waited.revents & ~POLLOUT)) continue;
        return PQconsumeInput(connection_) ? Heard::Something : Heard::End;
    }
}

// Asking the server to cancel takes a connection of its own, on which libpq waits without end.
std::future<void> Connection::Cancel() const {
    std::promise<void> done;
    auto asked = done.get_future();
    const std::shared_ptr<PGcancel> cancel(PQgetCancel(connection_), PQfreeCancel);
    std::thread([cancel, done = std::move(done)]() mutable {
        std::array<char, 256> words;
        if (cancel) PQcancel(cancel.get(), words.data(), static_cast<int>(words.size()));
        done.set_value();
    }).detach();
    return asked;
}

void Connection::Lose(std::string_view words) {
    const std::string last(words);
    Disconnect();
    throw Lost(last);
}

}  // namespace mersola::postgresql
