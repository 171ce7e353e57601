// A database of its own for each test of the tool, and what a command answers.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "support/database.h"
#include "tool/cli.h"

namespace mersola::tool {

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

inline Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

inline std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Tool : public testing::Test {
  protected:
    Tool() { EXPECT_EQ(RunWords({"init", db_}).status, 0); }

    Words ValuesWords(const Words& more = {}) const {
        return Words{"values", db_, "--instrument", "pier 4", "--measurement", "1"} + more;
    }

    Mersola Connected() const {
        return {nullptr, nullptr, ("Provider=SQLite;Data Source=\"" + db_ + "\"").c_str(), 5};
    }
    long Count(const std::string& table) const {
        Mersola store = Connected();
        return store.dbExecute(("SELECT count(*) FROM " + table).c_str())->Fields(0).Long();
    }
    void Execute(const char* sql) const { Connected().dbExecute(sql); }

    // One line that says what is wrong, and a database that is as it was.
    void ExpectRefused(const Words& words, const std::string& reason, int status = 1) {
        const auto rows = [&] {
            return std::vector{Count("Groups"), Count("Measurements"), Count("Reports"),
                               Count("MeasuredFunctions"), Count("MeasuredValues")};
        };
        const auto before = rows();
        const Outcome outcome = RunWords(words);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("mersola: ")) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        EXPECT_EQ(rows(), before) << reason;
    }

    test::TemporaryFolder folder_;
    std::string db_ = folder_ / "it's {a} database.db";
};

}  // namespace mersola::tool
