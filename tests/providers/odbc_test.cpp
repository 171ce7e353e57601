// The ODBC provider's own ground: connection strings, diagnostic records, batches as arrays, and a
// server that goes away.
#include <gmock/gmock.h>

#include <sys/socket.h>

#include <filesystem>
#include <map>

#include "ado/block_reader.h"
#include "engines/engines.h"
#include "odbc/connect_text.h"
#include "odbc/errors.h"
#include "odbc/wide_text.h"
#include "support/store.h"

namespace mersola::test {
namespace {

const std::vector<std::string> kDrivers{"SQLite3", "FreeTDS", "ODBC Driver 9 for SQL Server",
                                        "ODBC Driver 18 for SQL Server", "ODBC Driver 18 for DB2"};

std::string TextOf(const char* given, const char* user = "", const char* password = "",
                   std::span<const std::string> drivers = kDrivers) {
    const ado::ConnectionString properties(given);
    return odbc::MakeConnectText({.properties = properties, .user = user, .password = password},
                                 drivers)
        .text;
}

TEST(ConnectText, SpeaksToTheNewestDriverOfMicrosoftsElseToFreeTds) {
    const char* given =
        "Provider=SQLOLEDB;Data Source=tcp:host, 1500;Initial Catalog=noise;Encrypt=True;"
        "TrustServerCertificate=yes;Persist Security Info=False";
    EXPECT_EQ(TextOf(given, "me", "a b"),
              "Driver={ODBC Driver 18 for SQL Server};Server=tcp:host, 1500;Database=noise;UID=me;"
              "PWD=a b;Encrypt=yes;TrustServerCertificate=yes");
    EXPECT_EQ(TextOf(given, "me", "a b", std::span(kDrivers).first(2)),
              "Driver={FreeTDS};Server=host;Port=1500;TDS_Version=7.4;ClientCharset=UTF-8;"
              "Database=noise;UID=me;PWD=a b;Encryption=require");
    EXPECT_EQ(TextOf("provider=msoledbsql;Server=host;Driver=libtdsodbc.so;Encrypt=no;"
                     "Integrated Security=SSPI",
                     "me", "secret"),
              "Driver={libtdsodbc.so};Server=host;Port=1433;TDS_Version=7.4;ClientCharset=UTF-8;"
              "Trusted_Connection=Yes;Encryption=off");
    EXPECT_EQ(TextOf("Provider=SQLOLEDB;Servername=checked;Encrypt=yes", "me", "secret"),
              "Driver={FreeTDS};Servername=checked;TDS_Version=7.4;ClientCharset=UTF-8;UID=me;"
              "PWD=secret;Encryption=require");
    EXPECT_THROW(TextOf(given, "", "", std::span(kDrivers).first(1)), _com_error);
    for (const char* refused :
         {"Initial Catalog=noise", "Server=host;Encrypt=perhaps", "Server=host;Servername=checked",
          "Driver=ODBC Driver 18 for SQL Server;Servername=checked",
          "Driver=FreeTDS;Server=host;Encrypt=yes",
          "Driver=FreeTDS;Server=host;TrustServerCertificate=no",
          "Driver=FreeTDS;Server=host;Encrypt=strict"}) {
        EXPECT_THROW(TextOf((std::string("Provider=SQLOLEDB;") + refused).c_str()), _com_error)
            << refused;
    }
}

TEST(ConnectText, HandsOnWhatNamesADriverOrASource) {
    EXPECT_EQ(TextOf("DSN=noise ;Odd={a}"), "DSN=noise ;Odd={a}");
    EXPECT_EQ(TextOf("Driver=SQLite3;Database=a"), "Driver=SQLite3;Database=a;Timeout=30000");
    EXPECT_EQ(TextOf("DSN=noise", "me", "a;b}"), "DSN=noise;UID=me;PWD={a;b}}}");
    EXPECT_EQ(TextOf("DSN=noise;UID=other;PWD=x", "me", "secret"), "DSN=noise;UID=other;PWD=x");
    EXPECT_EQ(TextOf("DSN=noise;User ID=me;Password=x"),
              "DSN=noise;User ID=me;Password=x;UID=me;PWD=x");
    EXPECT_EQ(TextOf("Provider=MSDASQL;Data Source=noise;Password='x;y'"),
              "Data Source=noise;Password={x;y};DSN=noise;PWD={x;y}");
    EXPECT_EQ(TextOf("Driver={FreeTDS};Server=host;PWD={a;}}}"),
              "Driver=FreeTDS;Server=host;PWD={a;}};");
    try {
        TextOf("Data Source=noise.db");
        FAIL() << "neither provider nor driver";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), adErrProviderNotFound);
        EXPECT_GE(error.Description().Find("SQLOLEDB, MSOLEDBSQL, MSDASQL"), 0);
    }
}

TEST(Diagnosis, HasTheCodeOfItsStateAndTheWordsOfItsKind) {
    const auto codeOf = [](const char* state, int native) {
        return odbc::Diagnosis{state, native, "words", &kSqlServer}.Translated().Error();
    };
    EXPECT_EQ(codeOf("23000", 547), DB_E_INTEGRITYVIOLATION);
    EXPECT_EQ(codeOf("42S02", 0), DB_E_NOTABLE);
    EXPECT_EQ(codeOf("42000", 208), DB_E_NOTABLE);
    EXPECT_EQ(codeOf("42S22", 207), DB_E_ERRORSINCOMMAND);
    EXPECT_EQ(codeOf("HYT00", 0), DB_E_ABORTLIMITREACHED);
    EXPECT_EQ(codeOf("28000", 0), DB_SEC_E_AUTH_FAILED);
    EXPECT_EQ(codeOf("08S01", 0), E_FAIL);
    const auto wordsOf = [](int native, const char* words) {
        return std::string(
            odbc::Diagnosis{"23000", native, words, &kSqlServer}.Translated().what());
    };
    EXPECT_EQ(wordsOf(2627, "Schluessel doppelt"), "duplicate key: Schluessel doppelt");
    EXPECT_EQ(wordsOf(2601, "Cannot insert duplicate key"), "Cannot insert duplicate key");
    EXPECT_EQ(wordsOf(547, "duplicate in a duplicate"), "Duplicate in a Duplicate");
    const auto isDuplicate = [](int native, const char* words, const Engine& engine) {
        return odbc::Diagnosis{"HY000", native, words, &engine}.Translated().IsDuplicate();
    };
    EXPECT_TRUE(isDuplicate(2601, "", kSqlServer));
    EXPECT_FALSE(isDuplicate(547, "Cannot insert duplicate key", kSqlServer));
    EXPECT_TRUE(isDuplicate(19, "UNIQUE constraint failed: Groups.GroupId", kSqlite));
    EXPECT_FALSE(isDuplicate(19, "NOT NULL constraint failed: Groups.GroupId", kSqlite));
    EXPECT_FALSE(isDuplicate(2627, "UNIQUE constraint", kSqlite));
    EXPECT_EQ(odbc::Secrets("sa", "x.yz").Hidden("sa said 'sa': x.yzx.yz, visa"),
              "*** said '***': ******, visa");
    EXPECT_EQ(odbc::Secrets("", "b").Hidden("unable, b"), "unable, ***");
}

TEST(WideText, KeepsAllCharactersAndReplacesWhatIsNone) {
    for (const std::string_view text : {"", "a\xC2\xA9\xE2\x82\xAC", "\xF0\x9F\x98\x80 \x7F"}) {
        auto wide = odbc::Wide(text);
        wide.pop_back();  // the zero
        EXPECT_EQ(odbc::Utf8(wide), text);
    }
    for (const std::string_view text : {"\x80", "\xC3", "\xED\xA0\x80", "\xF5", "\xC0\x80"}) {
        const auto wide = odbc::Wide(text);
        EXPECT_THAT(wide, testing::Contains(0xFFFD));
    }
    EXPECT_EQ(odbc::Utf8(std::vector<SQLWCHAR>{0xD83D, 'a'}),
              "\xEF\xBF\xBD"
              "a");
}

class OdbcTest : public Contract {
  protected:
    void SetUp() override {
        Contract::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) connection->Open(database.ConnectString(), "", "");
    }

    static void Add(_Recordset& batch, int period, std::string_view status) {
        std::optional<double> value;
        if (period % 3 > 0) value = 0.5 * period;
        AddValue(batch, 1, period, 1, 1, value, status);
    }

    _ConnectionPtr connection = _Connection::CreateInstance();
};

// Rows are refused at the ends and in the middle of arrays, for their key and for what they hold.
TEST_P(OdbcTest, StoresEveryRowOfABatchButThoseThatAreRefused) {
    database.Run({"INSERT INTO MeasuredValues VALUES (1,999,1,1,1,-7,'kept')"});
    for (const bool inTransaction : {false, true}) {
        if (inTransaction) connection->BeginTrans();
        const auto batch = Batch(connection);
        const int first = inTransaction ? 3000 : 0;
        for (int period = first; period < first + 2500; ++period) {
            Add(*batch, period, "");
            if (period % 1000 == 500) Add(*batch, period, "twice");
        }
        batch->AddNew();  // without the columns that may not be null
        EXPECT_THROW(batch->UpdateBatch(), _com_error);
        if (inTransaction) connection->CommitTrans();
    }
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "5000");
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues WHERE Status='twice'"), "0");
    EXPECT_EQ(database.Ask("SELECT Value FROM MeasuredValues WHERE PeriodNo=999"), "-7");
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues WHERE Value IS NULL"), "1667");
    EXPECT_EQ(database.Ask("SELECT max(Value) FROM MeasuredValues"), "2749");
}

TEST_P(OdbcTest, TakesTextsThatGrowAndBringsThemBackWhole) {
    const auto batch = Batch(connection, "Groups");
    const std::string piece = "a\xC3\xB6\xE2\x82\xAC\xF0\x9F\x98\x80'";
    std::map<long, std::string> texts;
    for (const int pieces : {0, 1, 7, 150, 2}) {
        std::string& text = texts[pieces];
        for (int i = 0; i < pieces; ++i)
            text += piece;
        batch->AddNew();
        batch->Fields("GroupId").Put(pieces);
        batch->Fields("GroupName").Put(std::to_string(pieces));
        batch->Fields("State").Put(text);
        batch->UpdateBatch();
    }
    const auto rows = RunSql(connection, "SELECT State,GroupId,Info FROM Groups");
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        EXPECT_EQ(rows->Fields(0).Text().View(), texts.at(rows->Fields(1).Long()));
        EXPECT_TRUE(rows->Fields(2).IsNull());
        texts.erase(rows->Fields(1).Long());
    }
    EXPECT_TRUE(texts.empty());
}

TEST_P(OdbcTest, HandsOutColumnsOfManyRowsWithTheirNulls) {
    const auto batch = Batch(connection);
    constexpr int kRows = 2500;
    for (int period = 0; period < kRows; ++period)
        Add(*batch, period, period % 7 == 0 ? "\xC3\xB6" : "");
    batch->UpdateBatch();
    // SQLite's driver binds no texts, so that only a server hands out many of them at once.
    const bool many = database.NeedsServer();
    ado::BlockReader blocks(connection, "SELECT PeriodNo,Value" +
                                            std::string(many ? ",Status" : "") +
                                            " FROM MeasuredValues ORDER BY PeriodNo");
    int period = 0, reads = 0;
    for (; blocks.Next(); ++reads) {
        for (std::size_t row = 0; row < blocks.Rows(); ++row, ++period) {
            ASSERT_EQ(blocks.At(0).Long(row), period);
            ASSERT_EQ(blocks.At(1).IsNull(row), period % 3 == 0);
            ASSERT_EQ(blocks.At(1).Double(row), period % 3 == 0 ? 0 : 0.5 * period);
            if (!many) continue;
            ASSERT_EQ(blocks.At(2).At(row).View(), period % 7 == 0 ? "\xC3\xB6" : "");
        }
    }
    EXPECT_EQ(period, kRows);
    EXPECT_EQ(reads, 3);
}

TEST_P(OdbcTest, LeavesOutAColumnThatNumbersItself) {
    database.NumberRows();
    const auto batch = Batch(connection, "Markers");
    batch->AddNew();
    batch->Fields("GroupId").Put(1);
    batch->Fields("MeasId").Put(2);
    batch->UpdateBatch();
    EXPECT_EQ(database.Ask("SELECT MeasId FROM Markers WHERE MarkerKey=1"), "2");
    EXPECT_THROW(Batch(connection, "Nowhere"), _com_error);
}

INSTANTIATE_TEST_SUITE_P(Engines, OdbcTest, testing::Values("ODBC", "FreeTDS", "SQLServer"),
                         [](const auto& test) { return test.param; });

// Cuts every connection of this process that goes over the network.
void CutConnections() {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int file = std::stoi(entry.path().filename());
        sockaddr_storage peer{};
        socklen_t length = sizeof peer;
        if (getpeername(file, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
            (peer.ss_family == AF_INET || peer.ss_family == AF_INET6))
            shutdown(file, SHUT_RDWR);
    }
}

class ServerTest : public Contract {
  protected:
    ShownMessages shown;
};

TEST_P(ServerTest, FailsCleanlyWhenTheConnectionIsCutAndRecovers) {
    Store store(database.ConnectString());
    ASSERT_TRUE(Open(store));
    ASSERT_TRUE(Write(store, 0, 1));
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    store.BeginTrans();
    ASSERT_TRUE(Write(store, 1, 2));
    CutConnections();
    EXPECT_FALSE(Write(store, 2, 3));
    EXPECT_THROW(store.CommitTrans(), _com_error);
    long next = 0;
    store.PutDataRelative(4, "", 3, 1, 1, 30, false, next, true, batch);
    EXPECT_FALSE(store.PutDataEnd(batch));
    EXPECT_THROW(store.dbExecute("SELECT * FROM Groups"), _com_error);
    ASSERT_TRUE(store.dbConnect());
    EXPECT_EQ(database.Ask("SELECT count(*) FROM MeasuredValues"), "1") << "what was committed";
    EXPECT_TRUE(Write(store, 1, 2));
    EXPECT_TRUE(shown.texts.empty());
}

TEST_P(ServerTest, TellsOfARefusedLogInWithoutUserOrPassword) {
    const _ConnectionPtr connection = _Connection::CreateInstance();
    try {
        connection->Open(database.ConnectString("UID=nobody7;PWD=guess7"), "", "");
        ADD_FAILURE() << "nobody can log in";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), DB_SEC_E_AUTH_FAILED) << error.what();
        EXPECT_THAT(std::string(error.what()),
                    testing::Not(testing::AnyOf(testing::HasSubstr("nobody7"),
                                                testing::HasSubstr("guess7"))));
    }
}

INSTANTIATE_TEST_SUITE_P(Engines, ServerTest, testing::Values("FreeTDS", "SQLServer"),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace mersola::test
