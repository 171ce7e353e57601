// The connection: its life, its transactions, and the one result that streams on it.
#include <mersola/platform/ado.h>

#include <new>

#include "noted_errors.h"
#include "provider_registry.h"
#include "state.h"

using mersola::ado::kSource;

namespace {

void RequireSeconds(long seconds) {
    if (seconds < 0) throw _com_error(E_FAIL, "A time-out is a number of seconds from 0", kSource);
}

}  // namespace

namespace mersola::ado {

ProviderSession& ConnectionState::Idle() {
    if (!session) throw _com_error(adErrObjectClosed, "The connection is closed", kSource);
    if (streaming) streaming->KeepRest();
    return *session;
}

void ForgetErrors(const _Connection& connection) {
    Internals::Of(connection).errors.clear();
}

}  // namespace mersola::ado

_ConnectionPtr _Connection::CreateInstance() try {
    return std::make_shared<_Connection>();
} catch (const std::bad_alloc&) {
    return nullptr;
}

_Connection::_Connection() : state_(std::make_unique<mersola::ado::ConnectionState>()) {}

_Connection::~_Connection() = default;

void _Connection::PutConnectionTimeout(long seconds) {
    RequireSeconds(seconds);
    state_->connectionTimeout = seconds;
}

void _Connection::PutCommandTimeout(long seconds) {
    RequireSeconds(seconds);
    state_->commandTimeout = seconds;
}

long _Connection::GetConnectionTimeout() const {
    return state_->connectionTimeout;
}

long _Connection::GetCommandTimeout() const {
    return state_->commandTimeout;
}

void _Connection::PutIsolationLevel(IsolationLevelEnum level) {
    if (level != adXactReadCommitted) {
        throw _com_error(E_FAIL, "The isolation level can only be read committed", kSource);
    }
}

void _Connection::PutCursorLocation(CursorLocationEnum) {}

void _Connection::Open(const CString& connectionString, const CString& userId,
                       const CString& password, long /*options*/) {
    if (state_->session)
        throw _com_error(adErrObjectOpen, "The connection is open already", kSource);
    state_->Noting([&] {
        const mersola::ado::ConnectionString properties(connectionString.View());
        const auto provider = mersola::ado::FindProvider(properties.Find("Provider"));
        state_->session = provider->Open({.properties = properties,
                                          .user = std::string(userId.View()),
                                          .password = std::string(password.View()),
                                          .connectionTimeout = state_->connectionTimeout,
                                          .commandTimeout = state_->commandTimeout});
    });
}

void _Connection::Close() {
    state_->Idle();
    state_->inTransaction = false;
    state_->session.reset();
}

ObjectStateEnum _Connection::GetState() const {
    return state_->session ? adStateOpen : adStateClosed;
}

void _Connection::BeginTrans() {
    auto& session = state_->Idle();
    if (state_->inTransaction) {
        throw _com_error(XACT_E_XTIONEXISTS, "Only one transaction can be active on a connection",
                         kSource);
    }
    state_->Noting([&] { session.Begin(); });
    state_->inTransaction = true;
}

void _Connection::CommitTrans() {
    auto& session = state_->Idle();
    if (!state_->inTransaction) {
        throw _com_error(XACT_E_NOTRANSACTION, "No transaction is active", kSource);
    }
    // When it raises, the transaction is still there to be rolled back.
    state_->Noting([&] { session.Commit(); });
    state_->inTransaction = false;
}

void _Connection::RollbackTrans() {
    auto& session = state_->Idle();
    if (!state_->inTransaction) {
        throw _com_error(XACT_E_NOTRANSACTION, "No transaction is active", kSource);
    }
    state_->inTransaction = false;
    session.Rollback();
}

CString _Connection::DbmsName() const {
    if (!state_->session) throw _com_error(adErrObjectClosed, "The connection is closed", kSource);
    return state_->session->DbmsName();
}

const std::vector<AdoError>& _Connection::GetErrors() const {
    return state_->errors;
}
