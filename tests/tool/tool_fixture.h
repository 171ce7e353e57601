// A database of its own for each test of the tool, and what a command answers.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "schema/tables.h"
#include "support/child.h"
#include "support/database.h"
#include "support/watched_provider.h"
#include "tool/cli.h"

namespace mersola::tool {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Words = std::vector<std::string>;

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

inline Outcome RunWords(Words words, std::ostream* given = nullptr) {
    words.insert(words.begin(), "mersola");
    std::vector<const char*> arguments;
    for (const auto& word : words)
        arguments.push_back(word.c_str());
    std::ostringstream out, err;
    const int status =
        RunTool(static_cast<int>(words.size()), arguments.data(), given ? *given : out, err);
    return {status, out.str(), err.str()};
}

/// What a command says that has to succeed.
inline std::string Done(const Words& words) {
    const Outcome outcome = RunWords(words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.out;
}

/// A process that runs a command, and acknowledges its last words.
inline std::unique_ptr<test::Child> Started(const Words& words) {
    return std::make_unique<test::Child>([=](const auto& acknowledge) {
        const Outcome outcome = RunWords(words);
        acknowledge(outcome.err);
        return outcome.status;
    });
}

inline Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

inline std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string ConnectString(const std::string& path) {
    return "Provider=SQLite;Synchronous=NORMAL;Data Source=\"" + path + "\"";
}
inline std::string Watched(const std::string& path) {
    test::RegisterWatchedProvider();
    return ConnectString(path) + test::kWatched;
}
inline Mersola Connected(const std::string& path) {
    return {nullptr, nullptr, ConnectString(path).c_str(), 5};
}
/// Runs statements in a database. The rows of the last one.
inline _RecordsetPtr In(const std::string& path, const Words& statements) {
    Mersola store = Connected(path);
    _RecordsetPtr rows;
    for (const auto& each : statements)
        rows = store.dbExecute(each.c_str());
    return rows;
}

/// A result's rows, each with a text in front and its fields behind bars.
inline Words RowsOf(const _RecordsetPtr& found, const std::string& front = "") {
    Words rows;
    for (; !found->EndOfFile(); found->MoveNext()) {
        rows.push_back(front);
        for (int i = 0; i < found->FieldCount(); ++i)
            rows.back() +=
                "|" + (found->Fields(i).IsNull() ? "null" : std::string(found->Fields(i).Text()));
    }
    return rows;
}
/// The sorted rows of all tables but the version history, or of only one.
inline Words RowsOf(const std::string& path, const std::string& only = "") {
    Mersola store = Connected(path);
    Words all;
    for (const StoredTable table : kStoredTables) {
        const std::string name = NameOf(table);
        if (table == StoredTable::VersionHistory || (!only.empty() && name != only)) continue;
        all = all + RowsOf(store.dbExecute(("SELECT * FROM " + name).c_str()), name);
    }
    std::ranges::sort(all);
    return all;
}

class Tool : public testing::Test {
  protected:
    Tool() { EXPECT_EQ(RunWords({"init", db_}).status, 0); }

    Words ValuesWords(const Words& more = {}) const {
        return Words{"values", db_, "--instrument", "pier 4", "--measurement", "1"} + more;
    }

    Mersola Connected() const { return tool::Connected(db_); }
    long Count(const std::string& table) const {
        return In(db_, {"SELECT count(*) FROM " + table})->Fields(0).Long();
    }
    void Execute(const std::string& sql) const { In(db_, {sql}); }

    // One line that says what is wrong, and a database that is as it was.
    void ExpectRefused(const Words& words, const std::string& reason, int status = 1) {
        const auto rows = [&] {
            return std::vector{Count("Groups"), Count("Measurements"), Count("Reports"),
                               Count("MeasuredFunctions"), Count("MeasuredValues")};
        };
        const auto before = rows();
        const Outcome outcome = RunWords(words);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(reason));
        EXPECT_THAT(outcome.err, StartsWith("mersola: "));
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        EXPECT_EQ(rows(), before) << reason;
    }

    test::TemporaryFolder folder_;
    std::string db_ = folder_ / "it's {a} database.db";
};

}  // namespace mersola::tool
