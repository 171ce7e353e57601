// What is PostgreSQL's own: transactions that a failure would end, waiting, other people's doings.
#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <limits>

#include "postgresql/connect_text.h"
#include "support/store.h"

namespace mersola::test {
namespace {

using namespace std::chrono_literals;

class PostgresqlTest : public Contract {
  protected:
    _ConnectionPtr Connect(long seconds = 30) const {
        auto to = _Connection::CreateInstance();
        to->PutCommandTimeout(seconds);
        to->Open(database.ConnectString(), "", "");
        return to;
    }
    static std::string Ask(const _ConnectionPtr& to, const std::string& sql) {
        return std::string(RunSql(to, sql)->Fields(0).Text().View());
    }
    static HRESULT CodeOf(const _ConnectionPtr& to, const std::string& sql) {
        return test::CodeOf([&] { RunSql(to, sql); });
    }
    static std::string Insert(int period) {
        return "INSERT INTO MeasuredValues VALUES (1," + std::to_string(period) + ",1,1,1,0.5,'')";
    }
    static void Fill(const _ConnectionPtr& to, int periods) {
        to->BeginTrans();
        for (int period = 0; period < periods; ++period)
            RunSql(to, Insert(period));
        to->CommitTrans();
    }

    _ConnectionPtr connection = Connect();
};

TEST_P(PostgresqlTest, UndoesInATransactionTheFailedStatementAlone) {
    connection->BeginTrans();
    for (int period = 0; period < 200; ++period) {
        ASSERT_EQ(CodeOf(connection, Insert(period)), S_OK);
        if (period % 7 == 0) {
            EXPECT_EQ(CodeOf(connection, Insert(period / 2)), DB_E_INTEGRITYVIOLATION);
        }
        if (period % 50 == 20) {
            EXPECT_EQ(CodeOf(connection, "SELECT * FROM Nowhere"), DB_E_NOTABLE);
            EXPECT_EQ(CodeOf(connection, "UPDATE MeasuredValues SET Status='Ok' WHERE PeriodNo=" +
                                             std::to_string(period)),
                      S_OK);
            EXPECT_EQ(CodeOf(connection, "INSERT INTO MeasuredValues VALUES (1,NULL,1,1,1,0,'')"),
                      DB_E_INTEGRITYVIOLATION);
            EXPECT_EQ(CodeOf(connection, "INSERT INTO MeasuredValues VALUES (1,5e9,1,1,1,0,'')"),
                      DB_E_INTEGRITYVIOLATION);
        }
    }
    connection->CommitTrans();
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "200");
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues WHERE Status='OK'"), "4");
}

TEST_P(PostgresqlTest, GivesUpWhatTakesTooLongAndGoesOn) {
    const auto impatient = Connect(1);
    RunSql(connection, "INSERT INTO Groups (GroupId,GroupName) VALUES (1,'a')");
    connection->BeginTrans();
    RunSql(connection, "UPDATE Groups SET State='x' WHERE GroupId=1");
    RunSql(connection, "SELECT count(*) FROM Groups");  // it numbers one
    impatient->BeginTrans();
    EXPECT_EQ(CodeOf(impatient, "SELECT count(*) FROM Groups"), DB_E_ABORTLIMITREACHED);
    RunSql(impatient, Insert(1));
    for (const char* slow :
         {"UPDATE Groups SET State='y' WHERE GroupId=1", "SELECT pg_sleep(30)"}) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(CodeOf(impatient, slow), DB_E_ABORTLIMITREACHED);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 8s);
    }
    connection->RollbackTrans();
    impatient->CommitTrans();
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "1");
}

TEST_P(PostgresqlTest, LosesADeadlockWithoutLosingTheConnection) {
    RunSql(connection, "INSERT INTO Groups (GroupId,GroupName) VALUES (1,'a')");
    RunSql(connection, "INSERT INTO Groups (GroupId,GroupName) VALUES (2,'b')");
    const auto other = Connect();
    const auto update = [](const _ConnectionPtr& who, int id) {
        return CodeOf(who, "UPDATE Groups SET State='x' WHERE GroupId=" + std::to_string(id));
    };
    connection->BeginTrans();
    other->BeginTrans();
    EXPECT_EQ(update(connection, 1), S_OK);
    EXPECT_EQ(update(other, 2), S_OK);
    auto crossing = std::async(std::launch::async, [&] {
        const HRESULT code = update(other, 1);
        other->RollbackTrans();
        return code;
    });
    const HRESULT code = update(connection, 2);
    connection->RollbackTrans();
    EXPECT_THAT((std::array{code, crossing.get()}), testing::UnorderedElementsAre(S_OK, E_FAIL));
    EXPECT_EQ(update(connection, 2), S_OK);
    EXPECT_EQ(update(other, 1), S_OK);
}

TEST_P(PostgresqlTest, KnowsThatTheServerEndedTheConnection) {
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store));
    store.BeginTrans();
    ASSERT_TRUE(Write(store, 0, 1));
    const auto process = store.dbExecute("SELECT pg_backend_pid()")->Fields(0).Text();
    RunSql(connection, "SELECT pg_terminate_backend(" + std::string(process.View()) + ",5000)");
    try {
        store.CommitTrans();
        ADD_FAILURE() << "nobody is there to commit";
    } catch (const _com_error& error) {
        EXPECT_GE(error.Description().Find("The connection was lost"), 0) << error.what();
    }
    EXPECT_FALSE(Write(store, 0, 1));
    ASSERT_TRUE(store.dbConnect());
    EXPECT_TRUE(Write(store, 0, 1));
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "1");
}

TEST_P(PostgresqlTest, GoesOnWhenATableChangesUnderItsPreparedStatements) {
    Fill(connection, 3);
    const char* const all = "SELECT * FROM MeasuredValues WHERE PeriodNo<3";
    for (const int columns : {7, 8, 7}) {
        if (columns == 8)
            database.Run({"ALTER TABLE MeasuredValues ADD COLUMN More numeric DEFAULT -12345.50"});
        if (columns == 7) database.Run({"ALTER TABLE MeasuredValues DROP COLUMN IF EXISTS More"});
        connection->BeginTrans();
        RunSql(connection, Insert(columns + 100 * static_cast<int>(columns == 8)));
        for (int run = 0; run < 3; ++run) {
            const auto rows = RunSql(connection, all);
            ASSERT_EQ(rows->FieldCount(), columns);
            if (columns == 8) {
                EXPECT_EQ(rows->Fields("MORE").Double(), -12345.5);
            }
        }
        columns == 7 ? connection->RollbackTrans() : connection->CommitTrans();
    }
}

TEST_P(PostgresqlTest, LeavesALongResultBehind) {
    Fill(connection, 5000);
    RunSql(connection, "UPDATE MeasuredValues SET Value=NULL,Status=NULL WHERE PeriodNo=2999");
    for (const bool inTransaction : {false, true}) {
        if (inTransaction) connection->BeginTrans();
        for (int run = 0; run < 2; ++run) {
            RunSql(connection, "SELECT * FROM MeasuredValues ORDER BY PeriodNo");
            const auto rows = RunSql(connection, "SELECT * FROM MeasuredValues ORDER BY PeriodNo");
            for (int row = 0; row < 2999; ++row)
                rows->MoveNext();
            EXPECT_EQ(rows->Fields("PeriodNo").Long(), 2999);
            EXPECT_TRUE(rows->Fields("Value").IsNull());
            EXPECT_TRUE(rows->Fields("Status").IsNull());
        }
        EXPECT_EQ(Ask(connection, "SELECT count(*) FROM MeasuredValues"), "5000");
        if (inTransaction) connection->CommitTrans();
    }
}

TEST_P(PostgresqlTest, ReadsStatementsAsTheOthersDo) {
    RunSql(connection,
           "INSERT INTO [dbo].[GROUPS] ([GroupId],\"GROUPNAME\",Info) VALUES "
           "(2,N'Straße','100% \\ \"x\"'),(1,'B',NULL)");
    for (const char* where :
         {"GroupName='STRASSE'", "GroupName='straße'", "GroupName LIKE 'STR%'",
          "Info LIKE '100[%] \\%' OR Info LIKE '100% \\ \"X_'", "GroupName NOT LIKE 'b'",
          "GroupId BETWEEN 2 AND 9999999999", "GroupId=2.0", "2=GroupId AND 'b'<>GroupName"}) {
        const bool isSharp = std::string_view(where).find("STRASSE") != std::string_view::npos;
        EXPECT_EQ(Ask(connection, std::string("SELECT count(*) FROM Groups WHERE ") + where),
                  isSharp ? "0" : "1")
            << where;
    }
    EXPECT_EQ(Ask(connection, "SELECT GroupId FROM Groups"), "1") << "by the key";
    EXPECT_EQ(
        Ask(connection, "SELECT TOP (1) GroupId FROM Groups WITH (NOLOCK) ORDER BY GroupId DESC;"),
        "2");
    EXPECT_EQ(Ask(connection, "SELECT 1234567890.5-0.25"), "1234567890.25");
    EXPECT_EQ(Ask(connection, "SELECT CAST(-20000 AS numeric)"), "-20000");
    EXPECT_EQ(RunSql(connection, "SELECT -1e200*CAST(1e200 AS numeric)")->Fields(0).Double(),
              -std::numeric_limits<double>::infinity());
    EXPECT_EQ(CodeOf(connection, "SELECT now()"), DB_E_ERRORSINCOMMAND) << "no type of ours";
    EXPECT_EQ(CodeOf(connection, "SELECT E'\\'; DROP TABLE Groups; --'"), DB_E_ERRORSINCOMMAND);
}

TEST_P(PostgresqlTest, ReadsALongResultWhoseTableWasChangedAtTheSecondTry) {
    Fill(connection, 3000);
    const char* const all = "SELECT * FROM MeasuredValues ORDER BY PeriodNo";
    for (int run = 0; run < 2; ++run)
        EXPECT_EQ(CodeOf(connection, all), S_OK);
    database.Run({"ALTER TABLE MeasuredValues ALTER Channel TYPE smallint"});
    EXPECT_EQ(CodeOf(connection, all), E_FAIL);
    EXPECT_EQ(RunSql(connection, all)->Fields("Channel").Long(), 1);
}

TEST_P(PostgresqlTest, KeepsWhatWasInsertedInFrontOfALongReadingThatFails) {
    Fill(connection, 3000);
    const char* const many = "SELECT PeriodNo FROM MeasuredValues WHERE 1/(PeriodNo-5000)<2";
    ASSERT_EQ(CodeOf(connection, many), S_OK);
    connection->BeginTrans();
    for (const int period : {4000, 5000})
        RunSql(connection, Insert(period));
    EXPECT_THROW(
        for (const auto rows = RunSql(connection, many); !rows->EndOfFile();) rows->MoveNext(),
        _com_error);
    connection->CommitTrans();
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "3002");
}

TEST_P(PostgresqlTest, CommitsNothingWhereWhatAFailureTookAlongCannotBeRepeated) {
    database.Run(
        {"CREATE FUNCTION MayWrite() RETURNS boolean LANGUAGE sql AS 'SELECT count(*)=0 FROM "
         "FuncNameMap WHERE FuncId=999'",
         "ALTER TABLE MeasuredValues ADD CHECK (MayWrite())"});
    connection->BeginTrans();
    for (int period = 0; period < 5; ++period)
        RunSql(connection, Insert(period));
    database.Run({"INSERT INTO FuncNameMap VALUES (999,'no')"});
    EXPECT_EQ(CodeOf(connection, Insert(0)), E_FAIL);
    database.Run({"DELETE FROM FuncNameMap WHERE FuncId=999"});
    EXPECT_THROW(connection->CommitTrans(), _com_error);
    connection->RollbackTrans();
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "0");
    Fill(connection, 5);
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "5");
}

INSTANTIATE_TEST_SUITE_P(Engines, PostgresqlTest, testing::Values("PostgreSQL"),
                         [](const auto& test) { return test.param; });

TEST(PostgresqlText, GivesLibpqWhatConnectionStringsSay) {
    const auto textOf = [](const char* string) {
        const ado::ConnectionString properties(string);
        std::string text;
        for (const auto& [keyword, value] :
             postgresql::MakeConnectText(
                 {.properties = properties, .user = "me", .password = "", .connectionTimeout = 0})
                 .keywords)
            text += keyword + "=" + value + " ";
        return text;
    };
    using testing::HasSubstr;
    EXPECT_THAT(textOf("Data Source=db, 5433;Initial Catalog=noise;Encrypt=strict"),
                HasSubstr("host=db port=5433 dbname=noise sslmode=verify-full user=me "));
    EXPECT_THAT(textOf("service=noise;PassFile=/x;UID=you;Encrypt=yes"),
                testing::AllOf(HasSubstr("service=noise"), HasSubstr("passfile=/x"),
                               HasSubstr("sslmode=require user=you ")));
    EXPECT_THROW(textOf("Data Source=db,"), _com_error);
    EXPECT_THROW(textOf("Data Source=db;Encrypt=perhaps"), _com_error);
}

}  // namespace
}  // namespace mersola::test
