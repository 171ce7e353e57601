// The life of a Mersola: credentials, connection, transactions.
#include <mersola/mersola.h>

#include "statement.h"

namespace {

constexpr const char* kCrypter = "Crypt.crypter";
constexpr const char* kCrypterKey = "Rk4wpZ27";

// Stores a credential. Where a crypter can decode it, what it decodes to is stored.
void TakeCredential(CString& member, const char* given, ICrypter* crypter) {
    if (!given || !*given) return;
    member = given;
    if (!crypter) return;
    CString decoded;
    const HRESULT result = crypter->decode(member, kCrypterKey, decoded);
    if (result < 0) throw _com_error(result, "The crypter cannot decode a credential", kCrypter);
    decoded.TrimRight();
    if (!decoded.IsEmpty()) member = decoded;
}

}  // namespace

Mersola::Mersola() = default;

Mersola::Mersola(const char* user, const char* password, const char* connectString, long timeout) {
    Initialize(user, password, connectString, timeout);
}

Mersola::~Mersola() {
    try {
        dbDisconnect();
    } catch (...) {
        // Another object that shared the connection has closed it.
    }
    m_Valid = false;
}

Mersola& Mersola::operator=(const Mersola& other) = default;

void Mersola::Initialize(const char* user, const char* password, const char* connectString,
                         long timeout) {
    m_contMode = mersola::kNormalView;
    m_contLoaded = false;
    m_GroupId = mersola::kNone;
    m_Valid = false;
    std::shared_ptr<mersola::Component> component;
    mersola::CreateComponent(kCrypter, component);
    const auto crypter = std::dynamic_pointer_cast<ICrypter>(component);
    TakeCredential(m_user, user, crypter.get());
    TakeCredential(m_password, password, crypter.get());
    TakeCredential(m_connectString, connectString, crypter.get());
    dbDisconnect();  // the old connection is not the new user's, whatever follows
    const auto seconds = mersola::identifier(timeout);
    if (!seconds || *seconds < mersola::kDefaultTimeout)
        throw _com_error(E_FAIL, "A time-out is a number of seconds from 0, or -1");
    m_timeout = *seconds;
    dbConnect();
}

bool Mersola::dbConnect() {
    m_Valid = false;
    dbDisconnect();
    const _ConnectionPtr connection = _Connection::CreateInstance();
    if (!connection) return false;
    if (m_timeout != mersola::kDefaultTimeout) {
        connection->PutConnectionTimeout(m_timeout);
        connection->PutCommandTimeout(m_timeout);
    }
    connection->PutIsolationLevel(adXactReadCommitted);
    connection->PutCursorLocation(adUseServer);
    try {
        connection->Open(m_connectString, m_user, m_password, adConnectUnspecified);
        m_connection = connection;
        dbExecute(m_connection, "SET TRANSACTION ISOLATION LEVEL READ COMMITTED");
    } catch (const _com_error&) {
        CString message = "no errors logged";
        for (const AdoError& error :
             connection->GetErrors()) {  // the last error is the cause, so it is shown
            message = "Error: " + error.Description + ", Source: " + error.Source;
        }
        m_connection = nullptr;
        AfxMessageBox(message);
        return false;
    }
    m_connected = true;
    m_Valid = true;
    return true;
}

void Mersola::dbDisconnect() {
    m_connected = false;
    if (const _ConnectionPtr connection = std::exchange(m_connection, nullptr)) connection->Close();
}

bool Mersola::isConnected() const {
    return m_connected;
}

void Mersola::setConnected(bool connected) {
    m_Valid = true;
    m_connected = connected;
}

void Mersola::BeginTrans() {
    if (readable()) m_connection->BeginTrans();
}

void Mersola::CommitTrans() {
    if (readable()) m_connection->CommitTrans();
}

void Mersola::RollbackTrans() {
    if (readable()) m_connection->RollbackTrans();
}

_ConnectionPtr Mersola::getConnection() const {
    return m_connection;
}

_RecordsetPtr Mersola::dbExecute(const _ConnectionPtr& connection, const CString& sql) {
    return connection ? mersola::runStatement(connection, sql, false) : dbExecute(sql);
}

_RecordsetPtr Mersola::dbExecute(const CString& sql) {
    return m_connection ? mersola::runStatement(m_connection, sql, false) : nullptr;
}
