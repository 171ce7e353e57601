// The description of the tables, held against what each engine lays out.
#include "schema/tables.h"

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

#include "engines/engines.h"
#include "schema/schema.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using Types = std::map<StoredColumn::Kind, std::string>;

// A table as text: its columns with their types, and behind them its keys.
struct Layout {
    std::string columns;
    std::string primary;
    std::set<std::string> others;

    void AddKey(bool isPrimary, const std::string& key) {
        if (isPrimary)
            primary = key;
        else
            others.insert(key);
    }
    std::string Text() const {
        std::string text = columns + "PRIMARY KEY " + primary + '\n';
        for (const std::string& key : others)
            text += "UNIQUE " + key + '\n';
        return text;
    }
};
using Layouts = std::map<std::string, Layout>;

std::map<std::string, std::string> Texts(const Layouts& layouts) {
    std::map<std::string, std::string> texts;
    for (const auto& [table, layout] : layouts)
        texts[table] = layout.Text();
    return texts;
}

Layouts Described(const Types& types) {
    Layouts layouts;
    for (const StoredTable table : kStoredTables) {
        Layout& layout = layouts[NameOf(table)];
        for (const StoredColumn& column : ColumnsOf(table))
            layout.columns += column.name + (' ' + types.at(column.kind)) + '\n';
        for (bool isPrimary = true; const StoredKey& key : KeysOf(table)) {
            std::string columns;
            for (const char* column : key)
                columns += (columns.empty() ? "" : ",") + std::string(column);
            layout.AddKey(std::exchange(isPrimary, false), columns);
        }
    }
    return layouts;
}

// The rows of a statement, each as the texts of its fields.
std::vector<std::vector<std::string>> RowsOf(Mersola& store, const std::string& statement) {
    std::vector<std::vector<std::string>> found;
    for (const auto rows = store.dbExecute(CString(statement)); !rows->EndOfFile();
         rows->MoveNext()) {
        found.emplace_back();
        for (int i = 0; i < rows->FieldCount(); ++i)
            found.back().emplace_back(rows->Fields(i).Text().View());
    }
    return found;
}

TEST(DescribedTables, AreThoseThatSqliteLaysOut) {
    const Database database("SQLite");
    Store store(database.ConnectString());
    Layouts stored;
    for (const auto& table : RowsOf(store, "SELECT name FROM sqlite_master WHERE type='table'")) {
        Layout& layout = stored[table[0]];
        std::map<int, std::string> primary;  // by the place in the key
        for (const auto& column : RowsOf(store, "PRAGMA table_info(" + table[0] + ")")) {
            layout.columns += column[1] + ' ' + column[2] + '\n';
            if (const int place = std::stoi(column[5]); place > 0) primary[place] = column[1];
        }
        for (const auto& [place, column] : primary)
            layout.primary += (place == 1 ? "" : ",") + column;
        for (const auto& index : RowsOf(store, "PRAGMA index_list(" + table[0] + ")")) {
            if (index[3] != "u") continue;
            std::string columns;
            for (const auto& column : RowsOf(store, "PRAGMA index_info(" + index[1] + ")"))
                columns += (columns.empty() ? "" : ",") + column[2];
            layout.AddKey(false, columns);
        }
    }
    EXPECT_EQ(Texts(Described({{StoredColumn::Integer, "INTEGER"},
                               {StoredColumn::Real, "REAL"},
                               {StoredColumn::Text, "TEXT"},
                               {StoredColumn::ShortText, "TEXT"},
                               {StoredColumn::TimeText, "TEXT"},
                               {StoredColumn::SpanText, "TEXT"}})),
              Texts(stored));
}

TEST(DescribedTables, AreThoseThatAServerIsToldToLayOut) {
    const std::regex comment("--.*"), head("CREATE TABLE (\\w+) \\("), end("\\);"),
        key("\\s*(PRIMARY KEY|UNIQUE) \\((.*)\\),?\\s*"), width("(nvarchar)\\(\\d+\\)"),
        column(
            "\\s*(\\w+)\\s+(\\S+?)(?: COLLATE Latin1_General_CI_AS)?(?: NOT NULL)?"
            "(?: (PRIMARY KEY|UNIQUE))?,?\\s*");
    Layouts told;
    for (const std::string_view statement : SchemaStatements(kSqlServer)) {
        std::istringstream lines{std::string(statement)};
        Layout* layout = nullptr;  // of the table whose columns come
        for (std::string line; std::getline(lines, line);) {
            line = std::regex_replace(line, comment, "");
            std::smatch found;
            if (std::regex_match(line, found, head)) {
                layout = &told[found[1]];
            } else if (std::regex_match(line, end)) {
                layout = nullptr;
            } else if (layout && std::regex_match(line, found, key)) {
                layout->AddKey(found[1] == "PRIMARY KEY",
                               std::regex_replace(found[2].str(), std::regex(" "), ""));
            } else if (layout && std::regex_match(line, found, column)) {
                layout->columns +=
                    found[1].str() + ' ' + std::regex_replace(found[2].str(), width, "$1") + '\n';
                if (found[3].matched) layout->AddKey(found[3] == "PRIMARY KEY", found[1]);
            } else {
                EXPECT_EQ(layout, nullptr) << "cannot be read: " << line;
            }
        }
    }
    const std::string narrow = "varchar(" + std::to_string(kSqlServer.columns.mostStatus) + ")";
    EXPECT_EQ(Texts(Described({{StoredColumn::Integer, "int"},
                               {StoredColumn::Real, "float"},
                               {StoredColumn::Text, "nvarchar"},
                               {StoredColumn::ShortText, narrow},
                               {StoredColumn::TimeText, narrow},
                               {StoredColumn::SpanText, narrow}})),
              Texts(told));
}

class LaidOut : public Contract {};

TEST_P(LaidOut, TablesHaveTheDescribedColumnsAndNoOther) {
    Store store(database.ConnectString());
    for (const StoredTable table : kStoredTables) {
        const auto rows = store.dbExecute(CString("SELECT * FROM ") + NameOf(table));
        std::string stored, described;
        for (int i = 0; i < rows->FieldCount(); ++i)
            stored += std::string(rows->FieldName(i).View()) + ',';
        if (constexpr std::string_view number = "markerkey,"; stored.starts_with(number))
            stored.erase(0, number.size());  // where rows that are equal need one
        for (const StoredColumn& column : ColumnsOf(table))
            described += std::string(column.name) + ',';
        // An engine may fold what stands without quotes.
        EXPECT_EQ(CompareNoCase(stored, described), 0) << stored << " for " << described;
    }
}

INSTANTIATE_ON_EVERY_ENGINE(LaidOut);

}  // namespace
}  // namespace mersola::test
