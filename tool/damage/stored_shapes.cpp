// SQLite itself says how it stores what a statement lays out: it is asked in a database without
// rows.
#include "stored_shapes.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>
#include <set>

#include <mersola/mersola.h>

#include "basics/failure.h"
#include "basics/names.h"
#include "database/format.h"
#include "database/open_database.h"
#include "database/query.h"
#include "engines/sqlite.h"
#include "schema/schema.h"

namespace mersola::tool {
namespace {

// A database without anything in it, for a moment.
class EmptyDatabase {
  public:
    EmptyDatabase() {
        std::string path = std::filesystem::temp_directory_path() / "mersola.XXXXXX";
        const int file = mkstemp(path.data());
        if (file < 0) throw Failure("no file can be made in " + Quoted(path) + "; set TMPDIR");
        close(file);
        path_ = path;
        store_ = Database({.text = path, .user = {}, .passwordFile = {}}).Connect(Access::Write);
    }
    ~EmptyDatabase() {
        store_.reset();
        for (const char* suffix : {"", "-wal", "-shm"}) {
            std::error_code ignored;
            std::filesystem::remove(path_ + suffix, ignored);
        }
    }
    EmptyDatabase(const EmptyDatabase&) = delete;
    EmptyDatabase& operator=(const EmptyDatabase&) = delete;

    Mersola& Store() { return *store_; }

  private:
    std::string path_;
    std::unique_ptr<Mersola> store_;
};

std::string Capitals(std::string_view text) {
    std::string capitals(text);
    std::ranges::transform(capitals, capitals.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return capitals;
}

struct Column {
    std::string name;
    Stored stored;
};

// `isStrict`: otherwise a column takes whatever it is given.
Stored StoredIn(const std::string& type, bool isKey, bool isStrict) {
    if (type.find("INT") != type.npos)
        return isStrict ? (isKey ? Stored::Number : Stored::NumberOrNull)
                        : (isKey ? Stored::NumberOrNull : Stored::Anything);
    if (!isStrict) return Stored::Anything;
    return type == "REAL"   ? Stored::Real
           : type == "TEXT" ? Stored::Text
           : type == "BLOB" ? Stored::Blob
                            : Stored::Anything;
}

class TableReader {
  public:
    TableReader(Mersola& store, StoredTable table, std::string name, StoredShapes& shapes)
        : store_(store), table_(table), name_(std::move(name)), shapes_(shapes) {}

    void Read() {
        const std::string& name = name_;
        const auto statement = Query(
            store_, "SELECT sql FROM sqlite_master WHERE type='table' AND name='%s'", name.c_str());
        if (statement->EndOfFile()) return;
        const std::string text = Capitals(statement->Fields(0).Text().View());
        isStrict_ = text.find("STRICT", text.rfind(')')) != text.npos;
        std::string number;  // the only column of the key, when it is a whole number
        for (_Recordset& row : Rows(store_, "PRAGMA table_info(%s)", name.c_str())) {
            const std::string column(row.Fields(1).Text().View());
            const std::string type = Capitals(row.Fields(2).Text().View());
            const bool isKey = row.Fields(5).Long() > 0;
            columns_.push_back(
                {column, StoredIn(type, isKey || row.Fields(3).Long() != 0, isStrict_)});
            keys_ += isKey;
            if (isKey && type == "INTEGER") number = column;
        }
        StoredTree tree{.table = table_, .name = name_};
        for (const Column& column : columns_) {
            tree.columns.push_back(Known(column.name));
            tree.shape.fields.push_back(column.stored);
            const StoredColumn* known = FindColumn(table_, tree.columns.back());
            if (!known || !known->mayBeMissing) tree.shape.least = tree.columns.size();
        }
        bool hasKeyIndex = false;
        std::set<std::string> indexes;
        for (_Recordset& row : Rows(store_, "PRAGMA index_list(%s)", name.c_str())) {
            indexes.emplace(row.Fields(1).Text().View());
            hasKeyIndex |= row.Fields(3).Text() == "pk";
        }
        if (keys_ == 1 && !number.empty() && !hasKeyIndex) {
            tree.rowidColumn = Known(number);
            const auto at = std::ranges::find(columns_, number, &Column::name) - columns_.begin();
            tree.shape.fields[static_cast<std::size_t>(at)] = Stored::Nothing;
        }
        for (const std::string& index : indexes)
            ReadIndex(index, tree);
        shapes_[name] = std::move(tree);
    }

  private:
    // As today's programs write the name; empty for one that they do not know.
    std::string Known(const std::string& name) const {
        for (const StoredColumn& column : ColumnsOf(table_)) {
            if (IsSameName(column.name, name)) return column.name;
        }
        return "";
    }

    // `table`: becomes the tree that the index is, where rows have no numbers.
    void ReadIndex(const std::string& name, StoredTree& table) {
        StoredTree tree{.table = table_, .name = name_, .isTable = false};
        tree.shape.isIndex = true;
        tree.shape.isUnique = true;
        bool hasRowid = false, isInOrder = true;
        for (_Recordset& row : Rows(store_, "PRAGMA index_xinfo('%s')", name.c_str())) {
            const int column = row.Fields(1).Long();
            hasRowid |= column < 0;
            if (column < -1 || column >= static_cast<int>(columns_.size())) return;
            const Column rowid{table.rowidColumn, Stored::Number};
            const Column& stored = column < 0 ? rowid : columns_[static_cast<std::size_t>(column)];
            tree.columns.push_back(column < 0 ? stored.name : Known(stored.name));
            tree.shape.fields.push_back(stored.stored);
            // Other columns lie in an order of their own, as texts without regard to case.
            isInOrder &=
                (stored.stored == Stored::Number || stored.stored == Stored::NumberOrNull) &&
                row.Fields(3).Long() == 0;
            if (isInOrder) tree.shape.ordered = tree.columns.size();
        }
        const bool isTable = !hasRowid && name == "sqlite_autoindex_" + name_ + "_1";
        // A table's own rows differ in their key; behind it the order means nothing.
        const std::size_t keys = isTable ? keys_ : tree.columns.size();
        tree.shape.least = tree.columns.size();
        tree.shape.isUnique = tree.shape.ordered >= keys;
        tree.shape.ordered = std::min(tree.shape.ordered, keys);
        if (!isTable) {
            shapes_[name] = std::move(tree);
            return;
        }
        tree.isTable = true;
        table = std::move(tree);
    }

    Mersola& store_;
    StoredTable table_;
    std::string name_;
    StoredShapes& shapes_;
    std::vector<Column> columns_;
    std::size_t keys_ = 0;  // columns of the primary key
    bool isStrict_ = false;
};

void LayOut(Mersola& store, std::string_view statement) {
    try {
        store.dbExecute(CString(std::string(statement)));
    } catch (const _com_error&) {
        // Somebody else's, or damaged; or it is there already.
    }
}

}  // namespace

StoredShapes ReadShapes(const std::vector<std::string>& statements) {
    EmptyDatabase database;
    const Transaction transaction(database.Store());  // nothing of it is to stay
    for (const auto& statement : statements) {
        // Views and triggers have no rows of their own.
        if (statement.starts_with("CREATE TABLE ") || statement.starts_with("CREATE INDEX ") ||
            statement.starts_with("CREATE UNIQUE INDEX "))
            LayOut(database.Store(), statement);
    }
    for (const auto layout : {mersola::Layout::Rows, mersola::Layout::Packed}) {
        for (const auto statement : SchemaStatements(kSqlite, layout))
            LayOut(database.Store(), statement);
    }
    StoredShapes shapes;
    for (const StoredTable table : kStoredTables)
        TableReader(database.Store(), table, NameOf(table), shapes).Read();
    for (const char* name : {kValueBlocks, kValueData, kPendingValues, kRowsBeside})
        TableReader(database.Store(), StoredTable::MeasuredValues, name, shapes).Read();
    return shapes;
}

}  // namespace mersola::tool
