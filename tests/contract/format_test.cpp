// What a database says of its own form, and files whose form is not ours.
#include <gmock/gmock.h>

#include "support/store.h"

#include <fstream>
#include <iterator>

#include "ado/provider_registry.h"
#include "engines/engines.h"
#include "engines/format.h"
#include "form/form.h"

namespace mersola::test {
namespace {

using testing::HasSubstr;

class FormatTest : public Contract {
  protected:
    // The reason for which it cannot be opened; empty when it can.
    std::string Refusal(const std::string& extra = "") {
        shown.texts.clear();
        const Store store(database.ConnectString(extra));
        EXPECT_EQ(store.isConnected(), shown.texts.empty());
        return shown.texts.empty() ? "" : shown.texts.front();
    }

    ShownMessages shown;
};

TEST_P(FormatTest, OfALaterVersionIsRefusedWithBothNumbersAndItsWriter) {
    const std::string newer = std::to_string(kNewestFormat + 6);
    Store open(database.ConnectString());  // before the mark is set
    const auto write = [&](const std::string& statement) { open.dbExecute(statement.c_str()); };
    write(
        "INSERT INTO VersionHistory (Date,Version,Info) VALUES ('x','1','Laid out by mersola "
        "1.0')");
    write("INSERT INTO VersionHistory (Date,Version,Info) VALUES ('x','99','of the station')");
    EXPECT_EQ(Refusal(), "") << "programs count versions of their own";

    const std::string knows = "up to " + std::to_string(kNewestFormat);
    if (database.EngineOf().isFile) {
        write("PRAGMA user_version=" + newer);
        EXPECT_EQ(Refusal(), "") << "a user's number";
        write("PRAGMA application_id=" + std::to_string(kApplicationId));
        EXPECT_THAT(Refusal(), HasSubstr(knows + "; which version wrote it is unknown"));
    }
    write("INSERT INTO VersionHistory (Date,Version,Info) VALUES ('x','" + newer +
          "','Upgraded by mersola 9.1.2: packed')");
    const std::string refusal = Refusal();
    EXPECT_THAT(refusal, HasSubstr("format " + newer + ", "));
    EXPECT_THAT(refusal, HasSubstr(knows + "; mersola 9.1.2 wrote it"));
    EXPECT_EQ(Refusal("Mode=Read"), refusal);
    EXPECT_FALSE(open.dbConnect()) << "which reads the mark again";
    EXPECT_THROW(_Connection::CreateInstance()->Open(database.ConnectString(), "", ""), _com_error);
}

INSTANTIATE_ON_EVERY_ENGINE(FormatTest);

// There is no server in most runs; a session that calls itself one is asked the same.
TEST(ServerFormat, IsReadFromTheHistoryOrNotAtAll) {
    const Database database("SQLite");
    TheWatch().Reset();
    const std::string text = database.WatchedString();
    const ado::ConnectionString properties(text);
    const auto session =
        ado::FindProvider("Watched")->Open({.properties = properties, .user = "", .password = ""});
    TheWatch().dbmsName = kSqlServer.name;
    const auto open = [&] { form::RequireReadable(*session, "test"); };
    EXPECT_NO_THROW(open()) << "an empty history";
    EXPECT_EQ(TheWatch().statements.size(), 1U) << "one round trip";
    for (const char* version : {"of the station", "99999999999", "-7", "7.5", ""})
        database.Run({std::string("INSERT INTO VersionHistory (Version,Info) VALUES ('") + version +
                      "','Laid out by mersola 1.0')"});
    EXPECT_NO_THROW(open());
    database.Run(
        {"INSERT INTO VersionHistory (Version,Info) VALUES ('7','Laid out by mersola 9')",
         "INSERT INTO VersionHistory (Version,Info) VALUES ('1','Laid out by mersola 1.0')"});
    try {
        open();
        ADD_FAILURE() << "a newer format";
    } catch (const _com_error& error) {
        EXPECT_STREQ(error.what(), TooNew(7, "9").c_str());
    }
    TheWatch().FailOn("VersionHistory");
    EXPECT_NO_THROW(open()) << "not everybody may read it";
    TheWatch().Reset();
}

class FileFormat : public FormatTest {
  protected:
    std::string Contents() const {
        std::ifstream file(database.Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_P(FileFormat, WithSomethingElseInATablesPlaceIsRefusedAtOnce) {
    const std::string endless =
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n";
    database.Run({"DROP TABLE MeasuredValues", "CREATE VIEW own AS SELECT * FROM Groups"});
    EXPECT_EQ(Refusal(), "") << "users' views do no harm";
    database.Run({"CREATE VIEW measuredVALUES AS " + endless});
    EXPECT_THAT(Refusal("Mode=Read"), HasSubstr("measuredVALUES is a view in this file"));
}

TEST_P(FileFormat, WithAForeignVirtualTableIsRefused) {
    database.Run({"DROP TABLE FuncNameMap", "CREATE VIRTUAL TABLE FuncNameMap USING rtree(a,b,c)"});
    EXPECT_THAT(Refusal(), HasSubstr("FuncNameMap is another program's virtual table"));
}

INSTANTIATE_TEST_SUITE_P(Engines, FileFormat, testing::Values("SQLite", "ODBC"),
                         [](const auto& test) { return test.param; });

class ForeignFile : public FileFormat {};

TEST_P(ForeignFile, IsNotWrittenToByBeingOpened) {
    database.Run({"DROP TABLE Groups", "PRAGMA journal_mode=DELETE"});
    for (const std::string& before : {Contents(), std::string()}) {
        std::ofstream(database.Path(), std::ios::binary) << before;
        EXPECT_EQ(Refusal(), "");
        EXPECT_EQ(Contents(), before);
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ForeignFile, testing::Values("SQLite"),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace mersola::test
