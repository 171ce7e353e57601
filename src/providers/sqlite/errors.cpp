// The one place that knows what SQLite's result codes mean to callers of ADO.
#include "errors.h"

#include <string_view>
#include <utility>

#include "ado/engine_error.h"

namespace mersola::sqlite {
namespace {

bool IsDuplicateKey(int code) {
    return code == SQLITE_CONSTRAINT_PRIMARYKEY || code == SQLITE_CONSTRAINT_UNIQUE ||
           code == SQLITE_CONSTRAINT_ROWID;
}

HRESULT CodeFor(int code, std::string_view words) {
    switch (code & 0xFF) {
        case SQLITE_CONSTRAINT:
        case SQLITE_MISMATCH:
        case SQLITE_TOOBIG:
            return DB_E_INTEGRITYVIOLATION;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return DB_E_ABORTLIMITREACHED;
        case SQLITE_ERROR:
        case SQLITE_RANGE:
            return words.starts_with("no such table") ? DB_E_NOTABLE : DB_E_ERRORSINCOMMAND;
        default:
            return E_FAIL;
    }
}

}  // namespace

_com_error Translated(sqlite3* db, int code) {
    std::string words = db ? sqlite3_errmsg(db) : sqlite3_errstr(code);
    const HRESULT result = CodeFor(code, words);
    if ((code & 0xFF) == SQLITE_BUSY)
        words += "; another program holds it, try again or raise the time-out";
    return ado::EngineError(result, std::move(words), kSource, IsDuplicateKey(code));
}

_com_error NoUtf8() {
    return _com_error(DB_E_INTEGRITYVIOLATION, "a text that is to be stored is no UTF-8", kSource);
}

void Check(sqlite3* db, int code) {
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) throw Translated(db, code);
}

bool IsRefusal(int code) {
    const int primary = code & 0xFF;
    return primary == SQLITE_CONSTRAINT || primary == SQLITE_MISMATCH || primary == SQLITE_TOOBIG;
}

}  // namespace mersola::sqlite
