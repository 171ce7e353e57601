// The description of the tables, held against what each engine is told to lay out.
#include "schema/tables.h"

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

#include "engines/engines.h"
#include "schema/schema.h"

#include <gtest/gtest.h>

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

Layouts Told(const Engine& engine) {
    const std::regex comment("--.*"), head("CREATE TABLE (\\w+) \\("),
        end("\\)(?: STRICT)?(?:, WITHOUT ROWID)?(?: WITH \\()?;?"),
        key("\\s*(PRIMARY KEY|UNIQUE) \\((.*)\\),?\\s*"), width("(nvarchar)\\(\\d+\\)"),
        number(".* AS IDENTITY PRIMARY KEY,"),  // where rows that are equal need one
        column(
            "\\s*(\\w+)\\s+(double precision|\\S+?)(?: COLLATE \\w+)?(?: NOT NULL)?"
            "(?: (PRIMARY KEY|UNIQUE))?,?\\s*");
    Layouts told;
    for (const std::string_view statement : SchemaStatements(engine)) {
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
                EXPECT_TRUE(!layout || std::regex_match(line, number)) << "not read: " << line;
            }
        }
    }
    return told;
}

TEST(DescribedTables, AreThoseThatEachEngineIsToldToLayOut) {
    const auto types = [](const char* integer, const char* real, const char* text,
                          const std::string& narrow) {
        return Types{{StoredColumn::Integer, integer}, {StoredColumn::Real, real},
                     {StoredColumn::Text, text},       {StoredColumn::ShortText, narrow},
                     {StoredColumn::TimeText, narrow}, {StoredColumn::SpanText, narrow}};
    };
    const std::string narrow = "varchar(" + std::to_string(kSqlServer.columns.mostStatus) + ")";
    EXPECT_EQ(Texts(Described(types("INTEGER", "REAL", "TEXT", "TEXT"))), Texts(Told(kSqlite)));
    EXPECT_EQ(Texts(Described(types("int", "float", "nvarchar", narrow))), Texts(Told(kSqlServer)));
    EXPECT_EQ(Texts(Described(types("integer", "double precision", "text", "text"))),
              Texts(Told(kPostgresql)));
}

}  // namespace
}  // namespace mersola::test
