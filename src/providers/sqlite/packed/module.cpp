// What SQLite calls. No exception gets out: each becomes a result code and words.
#include "module.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "cursor.h"
#include "functions.h"
#include "row_rules.h"
#include "store.h"

namespace mersola::packed {
namespace {

constexpr const char* kDeclaration =
    "CREATE TABLE MeasuredValues (MeasValueId INTEGER NOT NULL, PeriodNo INTEGER NOT NULL, "
    "Channel INTEGER NOT NULL, FuncId INTEGER NOT NULL, FrqId INTEGER NOT NULL, Value REAL, "
    "Status TEXT COLLATE NOCASE)";

// The stores of the main databases.
class Registry {
  public:
    void Set(sqlite3* db, Store* store) {
        const std::lock_guard lock(mutex_);
        stores_[db] = store;
    }
    void Remove(sqlite3* db, const Store* store) {
        const std::lock_guard lock(mutex_);
        if (const auto found = stores_.find(db); found != stores_.end() && found->second == store)
            stores_.erase(found);
    }
    Store* Find(sqlite3* db) {
        const std::lock_guard lock(mutex_);
        const auto found = stores_.find(db);
        return found == stores_.end() ? nullptr : found->second;
    }

  private:
    std::mutex mutex_;
    std::map<sqlite3*, Store*> stores_;
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

struct Table : sqlite3_vtab {
    Table(sqlite3* connection, const std::string& schema, Store::Options options)
        : sqlite3_vtab(), db(connection), store(connection, schema, std::move(options)) {
        if (schema == "main") TheRegistry().Set(db, &store);
    }
    ~Table() { TheRegistry().Remove(db, &store); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    sqlite3* db;
    Store store;
};

struct TableCursor : sqlite3_vtab_cursor {
    TableCursor() : sqlite3_vtab_cursor() {}
    Cursor cursor;
};

Store& StoreIn(sqlite3_vtab* table) {
    return static_cast<Table*>(table)->store;
}

Cursor& CursorIn(sqlite3_vtab_cursor* cursor) {
    return static_cast<TableCursor*>(cursor)->cursor;
}

void Say(char** words, const char* text) {
    sqlite3_free(*words);
    *words = sqlite3_mprintf("%s", text);
}

template <class Action>
int Guarded(char** words, Action action) {
    try {
        action();
        return SQLITE_OK;
    } catch (const Failure& failure) {
        Say(words, failure.what());
        return failure.code;
    } catch (const std::bad_alloc&) {
        return SQLITE_NOMEM;
    } catch (const std::exception& error) {
        Say(words, error.what());
        return SQLITE_ERROR;
    }
}

// What was said to CREATE VIRTUAL TABLE.
Store::Options Parse(int count, const char* const* texts) {
    Store::Options options;
    for (int i = 3; i < count; ++i) {  // behind the module, the schema and the table
        const std::string_view text = texts[i];
        const std::size_t equals = std::min(text.find('='), text.size());
        const std::string_view name = text.substr(0, equals);
        const std::string_view value = text.substr(std::min(equals + 1, text.size()));
        const char* const end = value.data() + value.size();
        if (name == "resolution") {
            const auto [rest, error] = std::from_chars(value.data(), end, options.resolution);
            if (error == std::errc() && rest == end && IsResolution(options.resolution)) continue;
        } else if (name == "rows" && !value.empty()) {
            options.rows = value;
            continue;
        } else if (text == "into=rows") {
            options.intoRows = true;
            continue;
        }
        throw Failure(SQLITE_ERROR,
                      std::string(kModule) + " knows no argument '" + std::string(text) + "'");
    }
    return options;
}

int Connect(sqlite3* db, void*, int count, const char* const* texts, sqlite3_vtab** table,
            char** words) {
    return Guarded(words, [&] {
        const Store::Options options = Parse(count, texts);
        if (const int code = sqlite3_declare_vtab(db, kDeclaration); code != SQLITE_OK)
            throw Failure(code, sqlite3_errmsg(db));
        sqlite3_vtab_config(db, SQLITE_VTAB_CONSTRAINT_SUPPORT, 1);
        sqlite3_vtab_config(db, SQLITE_VTAB_INNOCUOUS);
        *table = new Table(db, texts[1], options);
    });
}

// SQLite takes a new table for one that takes part in the transaction already, and begins no other.
int Create(sqlite3* db, void* context, int count, const char* const* texts, sqlite3_vtab** table,
           char** words) {
    const int code = Connect(db, context, count, texts, table, words);
    if (code == SQLITE_OK) StoreIn(*table).Begin();
    return code;
}

// The tables of blocks and pending rows stay when MeasuredValues is dropped.
int Disconnect(sqlite3_vtab* table) {
    delete static_cast<Table*>(table);
    return SQLITE_OK;
}

int BestIndex(sqlite3_vtab* table, sqlite3_index_info* info) {
    int code = SQLITE_OK;
    const int failed = Guarded(&table->zErrMsg, [&] { code = Plan(info); });
    return failed ? failed : code;
}

int Open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
    return Guarded(&table->zErrMsg, [&] { *cursor = new TableCursor; });
}

int Close(sqlite3_vtab_cursor* cursor) {
    delete static_cast<TableCursor*>(cursor);
    return SQLITE_OK;
}

int Filter(sqlite3_vtab_cursor* cursor, int order, const char* plan, int count,
           sqlite3_value** values) {
    return Guarded(&cursor->pVtab->zErrMsg, [&] {
        Store& store = StoreIn(cursor->pVtab);
        store.Flush();
        CursorIn(cursor).Open(store.Sources(), static_cast<Order>(order),
                              RangesOf(plan, {values, static_cast<std::size_t>(count)}));
    });
}

int Next(sqlite3_vtab_cursor* cursor) {
    return Guarded(&cursor->pVtab->zErrMsg, [&] { CursorIn(cursor).Next(); });
}

int AtEnd(sqlite3_vtab_cursor* cursor) {
    return CursorIn(cursor).AtEnd();
}

int ColumnAt(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
    const Cursor& row = CursorIn(cursor);
    const ValueKey& key = row.Key();
    switch (column) {
        case kMeasValueId:
            sqlite3_result_int(context, key.measValueId);
            break;
        case kPeriodNo:
            sqlite3_result_int(context, key.periodNo);
            break;
        case kChannel:
            sqlite3_result_int(context, key.channel);
            break;
        case kFuncId:
            sqlite3_result_int(context, key.funcId);
            break;
        case kFrqId:
            sqlite3_result_int(context, key.frqId);
            break;
        case kValue:
            if (!row.IsNull()) sqlite3_result_double(context, row.Value());
            break;
        case kStatus:
            if (const Status& status = row.StatusOf())
                sqlite3_result_text64(context, status->data(), status->size(), SQLITE_TRANSIENT,
                                      SQLITE_UTF8);
            break;
        default:
            break;
    }
    return SQLITE_OK;
}

int Rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* rowid) {
    return Guarded(&cursor->pVtab->zErrMsg,
                   [&] { *rowid = StoreIn(cursor->pVtab).RowidOf(CursorIn(cursor).Key()); });
}

ValueKey KeyOf(const Store& store, sqlite3_value* rowid) {
    const auto key = store.KeyOf(sqlite3_value_int64(rowid));
    if (!key) throw Failure(SQLITE_ERROR, "MeasuredValues has no such rowid");
    return *key;
}

// INSERT has no old rowid, DELETE nothing else; UPDATE has both, and all columns.
int Update(sqlite3_vtab* table, int count, sqlite3_value** values, sqlite3_int64* rowid) {
    return Guarded(&table->zErrMsg, [&] {
        Store& store = StoreIn(table);
        sqlite3* db = static_cast<Table*>(table)->db;
        if (count == 1) {
            store.Erase(KeyOf(store, values[0]));
            return;
        }
        const int conflict = sqlite3_vtab_on_conflict(db);
        const bool replaces = conflict == SQLITE_REPLACE;
        const ValueRow row = RowOf({values + 2, kColumns}, conflict == SQLITE_ABORT);
        if (sqlite3_value_type(values[0]) == SQLITE_NULL) {
            if (!store.Insert(row, replaces)) throw DuplicateKey();
            *rowid = sqlite3_last_insert_rowid(db);  // stays as it is: rows have no number
            return;
        }
        const ValueKey before = KeyOf(store, values[0]);
        if (!store.Contains(before)) return;  // replaced meanwhile by another row of the statement
        if (before == row) {
            store.Insert(row, true);
            return;
        }
        // What cannot be read fails here, while nothing is changed.
        if (store.Contains(row) && !replaces) throw DuplicateKey();
        store.Erase(before);
        store.Insert(row, true);
    });
}

int Begin(sqlite3_vtab* table) {
    StoreIn(table).Begin();
    return SQLITE_OK;
}

int Sync(sqlite3_vtab* table) {
    return Guarded(&table->zErrMsg, [&] { StoreIn(table).Flush(); });
}

int Commit(sqlite3_vtab* table) {
    StoreIn(table).End();
    return SQLITE_OK;
}

int Rollback(sqlite3_vtab* table) {
    StoreIn(table).Forget();
    StoreIn(table).End();
    return SQLITE_OK;
}

int Savepoint(sqlite3_vtab* table, int) {
    return Guarded(&table->zErrMsg, [&] { StoreIn(table).Flush(); });
}

int Release(sqlite3_vtab*, int) {
    return SQLITE_OK;
}

int RollbackTo(sqlite3_vtab* table, int) {
    StoreIn(table).Forget();
    return SQLITE_OK;
}

constexpr sqlite3_module MakeModule() {
    sqlite3_module module{};
    module.iVersion = 3;
    module.xCreate = Create;
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xDisconnect = Disconnect;
    module.xDestroy = Disconnect;
    module.xOpen = Open;
    module.xClose = Close;
    module.xFilter = Filter;
    module.xNext = Next;
    module.xEof = AtEnd;
    module.xColumn = ColumnAt;
    module.xRowid = Rowid;
    module.xUpdate = Update;
    module.xBegin = Begin;
    module.xSync = Sync;
    module.xCommit = Commit;
    module.xRollback = Rollback;
    module.xSavepoint = Savepoint;
    module.xRelease = Release;
    module.xRollbackTo = RollbackTo;
    return module;
}

constexpr sqlite3_module kMethods = MakeModule();

using Move = std::int64_t (Store::*)(std::int64_t limit);

// Within a transaction, which it makes write to the table.
template <Move kMove>
void MoveSome(sqlite3_context* context, int, sqlite3_value** values) {
    sqlite3* const db = sqlite3_context_db_handle(context);
    char* words = nullptr;
    const int code = Guarded(&words, [&] {
        if (sqlite3_get_autocommit(db))
            throw Failure(SQLITE_MISUSE, "values are moved within a transaction only");
        if (const int failed = sqlite3_exec(db, kTakePart, nullptr, nullptr, nullptr))
            throw Failure(failed, sqlite3_errmsg(db));
        Store* const store = TheRegistry().Find(db);
        if (!store || !store->Sources()->HasRows())
            throw Failure(SQLITE_ERROR, "there is no table of rows beside packed values");
        sqlite3_result_int64(context, (store->*kMove)(sqlite3_value_int64(values[0])));
    });
    if (code == SQLITE_OK) return;
    sqlite3_result_error(context, words ? words : sqlite3_errstr(code), -1);
    sqlite3_result_error_code(context, code);  // behind the words, which stay
    sqlite3_free(words);
}

}  // namespace

int RegisterModule(sqlite3* db) {
    int code = sqlite3_create_module_v2(db, kModule, &kMethods, nullptr, nullptr);
    constexpr int kFlags = SQLITE_UTF8 | SQLITE_DIRECTONLY;
    const auto add = [&](const char* name, auto function) {
        if (code == SQLITE_OK)
            code = sqlite3_create_function_v2(db, name, 1, kFlags, nullptr, function, nullptr,
                                              nullptr, nullptr);
    };
    add("mersola_pack", MoveSome<&Store::PackSome>);
    add("mersola_unpack", MoveSome<&Store::UnpackSome>);
    return code == SQLITE_OK ? RegisterFunctions(db) : code;
}

Store* StoreOf(sqlite3* db) {
    return TheRegistry().Find(db);
}

}  // namespace mersola::packed
