// SQLite's result codes as errors. What they mean, the engine's description knows.
#include "errors.h"

#include <string_view>
#include <utility>

#include "ado/engine_error.h"
#include "engines/sqlite.h"

namespace mersola::sqlite {
namespace {

Fault FaultOf(int code, std::string_view words) {
    return kSqlite.faultOf({.state = {}, .native = code, .words = words});
}

}  // namespace

_com_error Translated(sqlite3* db, int code) {
    return Translated(code, db ? sqlite3_errmsg(db) : sqlite3_errstr(code));
}

_com_error Translated(int code, std::string words) {
    const Fault fault = FaultOf(code, words);
    if ((code & 0xFF) == SQLITE_BUSY)
        words += "; another program holds it, try again or raise the time-out";
    return ado::EngineError(fault, std::move(words), kSource);
}

_com_error NoUtf8() {
    return _com_error(DB_E_INTEGRITYVIOLATION, "a text that is to be stored is no UTF-8", kSource);
}

void Check(sqlite3* db, int code) {
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) throw Translated(db, code);
}

bool IsRefusal(int code) {
    return mersola::IsRefusal(FaultOf(code, {}));
}

}  // namespace mersola::sqlite
