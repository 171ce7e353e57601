// The life of a session: credentials, connecting, sharing, failing.
#include <gmock/gmock.h>

#include "support/store.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "afx/system_path.h"
#include "session/db_error.h"
#include "session/log.h"
#include "session/statement.h"
#include "session/trace.h"

namespace mersola::test {
namespace {

// Decodes what begins with "x", answers blanks for the rest, and fails on request.
class TestCrypter : public ICrypter {
  public:
    HRESULT encode(const CString&, const CString&, CString&) override { return E_FAIL; }
    HRESULT decode(const CString& text, const CString& key, CString& result) override {
        if (text == "fail") return E_FAIL;
        EXPECT_EQ(key, "Rk4wpZ27");
        result = text.GetAt(0) == 'x' ? text.Mid(1) + " \t\r\n" : CString("  ");
        return S_OK;
    }
};

class SessionTest : public Contract {
  protected:
    ShownMessages shown;
};

TEST_P(SessionTest, ConnectsAtConstructionAndRecordsFromThenOn) {
    Store store(database.ConnectString());
    EXPECT_TRUE(store.isConnected());
    EXPECT_TRUE(store.m_Valid);
    EXPECT_TRUE(shown.texts.empty());
    store.dbDisconnect();
    EXPECT_FALSE(store.isConnected());
    EXPECT_EQ(store.getConnection(), nullptr);
    EXPECT_EQ(store.dbExecute("SELECT * FROM Groups"), nullptr);
    EXPECT_TRUE(store.dbConnect());
}

TEST_P(SessionTest, DecodesCredentialsWhereACrypterKnowsThem) {
    const std::string encoded = "x" + database.ConnectString();
    Store plain("user", "password", database.ConnectString().c_str(), -1);
    EXPECT_EQ(plain.m_user, "user");
    RegisterComponent("crypt.CRYPTER", [] { return std::make_shared<TestCrypter>(); });
    Store store("xuser", "word", encoded.c_str(), -1);
    EXPECT_EQ(store.m_user, "user");
    EXPECT_EQ(store.m_password, "word");
    EXPECT_TRUE(store.isConnected());
    store.Initialize(nullptr, "", nullptr, 0);
    EXPECT_EQ(store.m_user, "user");
    EXPECT_TRUE(store.isConnected());
    EXPECT_THROW(store.Initialize("fail", "", "", -1), _com_error);
    EXPECT_THROW(store.Initialize("another", "", "", -2), _com_error);
    EXPECT_EQ(store.getConnection(), nullptr) << "which was the first user's";
    EXPECT_FALSE(store.isConnected());
    RegisterComponent("Crypt.crypter", nullptr);
}

TEST_P(SessionTest, IsConnectedAndMayRecordAfterASuccessfulConnectAlone) {
    TheWatch().FailOn("SET TRANSACTION");
    Store store(database.WatchedString());
    EXPECT_FALSE(store.isConnected());
    EXPECT_EQ(store.getConnection(), nullptr);
    EXPECT_EQ(shown.texts.size(), 1U);
    EXPECT_EQ(TheWatch().statements.back(), "SET TRANSACTION ISOLATION LEVEL READ COMMITTED");
    TheWatch().Reset();
    store.m_Valid = false;
    EXPECT_TRUE(store.dbConnect());
    EXPECT_TRUE(store.m_Valid);
    TheWatch().FailOn("SET TRANSACTION");
    EXPECT_FALSE(store.dbConnect());
    EXPECT_FALSE(store.m_Valid);
    TheWatch().Reset();
    EXPECT_TRUE(store.dbConnect());
    EXPECT_TRUE(store.m_Valid);
    store.getConnection()->Close();
    EXPECT_THROW(store.dbConnect(), _com_error);
    EXPECT_FALSE(store.m_Valid);
}

TEST_P(SessionTest, SharesAConnectionByAssignmentAndClosesItForAll) {
    Store first(database.ConnectString());
    {
        Store second;
        second = first;
        second = *&second;
        EXPECT_EQ(second.getConnection(), first.getConnection());
        EXPECT_TRUE(second.isConnected());
        second.dbDisconnect();
        EXPECT_THROW(first.dbDisconnect(), _com_error);
        EXPECT_FALSE(first.isConnected());
        EXPECT_EQ(first.getConnection(), nullptr);
    }
    ASSERT_TRUE(first.dbConnect());
    Store other(database.ConnectString());
    const _ConnectionPtr own = other.getConnection();
    other = first;
    EXPECT_EQ(own->GetState(), adStateOpen) << "its own connection may be in use elsewhere";
}

TEST_P(SessionTest, BracketsStatementsInATransaction) {
    Store store(database.ConnectString());
    store.BeginTrans();
    EXPECT_TRUE(Open(store));
    if (!database.EngineOf().readersWait) {  // where this would wait for the end of the transaction
        EXPECT_EQ(database.Ask("SELECT count(*) FROM Groups"), "0");
    }
    store.RollbackTrans();
    EXPECT_EQ(store.locateInstrumentId("station 1"), -1);
    EXPECT_THROW(store.CommitTrans(), _com_error);
    Store unconnected;
    EXPECT_NO_THROW(unconnected.BeginTrans());
}

TEST_P(SessionTest, KeepsTheDecimalPointUnderALocaleWithAComma) {
    const TemporaryFolder locales;
    const std::string command = "localedef -i de_DE -f UTF-8 " + (locales / "de_DE.UTF-8").string();
    ASSERT_EQ(std::system(command.c_str()), 0) << "the package locales is missing";
    setenv("LOCPATH", (locales / "").c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    Store store(database.ConnectString());
    EXPECT_TRUE(Open(store));
    EXPECT_TRUE(Write(store, 0, 1.25));
    MeasurementInfo percentiles = Measurement();
    percentiles.textItems = "0.5,99.5";
    EXPECT_TRUE(store.PutPercentiles(nullptr, percentiles));
    Select(store);
    CArray<float, float> read;
    EXPECT_EQ(store.GetPercentiles(read), 1);
    EXPECT_EQ(Values(store, 0, 1), std::vector<float>{1.25});
    ASSERT_EQ(read.GetSize(), 2);
    EXPECT_EQ(read[1], 99.5F);
    EXPECT_EQ(database.Ask("SELECT Fullscale FROM Measurements"), "0.1");
    std::setlocale(LC_ALL, "C");
}

INSTANTIATE_ON_EVERY_ENGINE(SessionTest);

// What is about files, and about SQLite's own options.
class FileTest : public SessionTest {};

TEST_P(FileTest, ShowsWhyItCannotConnect) {
    const Store missing("Provider=SQLite;Data Source=/nowhere/no.db");
    EXPECT_FALSE(missing.isConnected());
    EXPECT_FALSE(std::filesystem::exists("no.db"));
    const Store unknown("Provider=Nothing;Data Source=x");
    const Store malformed("Data Source");
    const Store badOption(database.ConnectString("Synchronous=SOMETIMES"));
    ASSERT_EQ(shown.texts.size(), 4U);
    EXPECT_NE(shown.texts[0].find("does not exist"), std::string::npos);
    EXPECT_EQ(shown.texts[0].rfind("Error: ", 0), 0U);
    EXPECT_NE(shown.texts[0].find(", Source: SQLite"), std::string::npos);
    EXPECT_NE(shown.texts[1].find("SQLite"), std::string::npos) << "lists the providers";
}

TEST_P(FileTest, RefusesAFileThatIsNoDatabase) {
    const TemporaryFolder folder;
    const std::string path = (folder / "text.db").string();
    std::ofstream(path) << std::string(4096, 'x');
    EXPECT_FALSE(Store("Provider=SQLite;Data Source=" + path).isConnected());
    EXPECT_FALSE(
        Store("Provider=SQLite;Data Source=" + std::filesystem::path(path).parent_path().string())
            .isConnected());
    EXPECT_EQ(shown.texts.size(), 2U);
}

TEST_P(FileTest, OnlyReadsWhereItMayNotWrite) {
    Store writer(database.ConnectString());
    ASSERT_TRUE(Open(writer));
    ASSERT_TRUE(Write(writer, 0, 1));
    Store reader(database.ConnectString("Mode=Read"));
    ASSERT_TRUE(reader.isConnected());
    EXPECT_FALSE(Open(reader, Measurement("another")));
    Select(reader);
    EXPECT_EQ(Values(reader, 0, 1), std::vector<float>{1});
}

INSTANTIATE_TEST_SUITE_P(Engines, FileTest, testing::Values("SQLite", "SQLitePacked"),
                         [](const auto& test) { return test.param; });

// A transaction of SQLite's keeps all other writers out; on servers only those of the same row.
class LockTest : public SessionTest {};

TEST_P(LockTest, FailsCleanlyOnALockedDatabaseAndRecovers) {
    Store locker(database.ConnectString());
    Store store("", "", database.ConnectString().c_str(), 1);
    ASSERT_TRUE(Open(store));
    const _RecordsetPtr batch = store.PutDataStart(nullptr);
    long next = 0;
    ASSERT_TRUE(store.PutDataRelative(5, "", 1, 1, 1, 30, false, next, true, batch));
    locker.BeginTrans();
    const char* insert = "INSERT INTO Groups (GroupId,GroupName) VALUES (7,'a')";
    locker.dbExecute(insert);
    EXPECT_EQ(CodeOf([&] { store.dbExecute(insert); }), DB_E_ABORTLIMITREACHED);
    if (database.EngineOf().hasOneWriter) {
        EXPECT_FALSE(Write(store, 0, 1));
        EXPECT_FALSE(store.PutDataEnd(batch));
    }
    locker.RollbackTrans();
    EXPECT_NO_THROW(store.dbExecute(insert));
    EXPECT_TRUE(Write(store, 0, 1));
    EXPECT_TRUE(store.PutDataEnd(batch)) << "what could not be sent waited";
    Select(store);
    EXPECT_EQ(Values(store, 0, 2), (std::vector<float>{1, 5}));
}

INSTANTIATE_ON_EVERY_ENGINE(LockTest);

TEST(DiagnosticsLog, WritesOneLineForEachMessage) {
    const testing::Matcher<std::string> isOneLine = testing::MatchesRegex(
        "\\[[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8}\\.[0-9]{1,3} [0-9]{4}\\] "
        "\\[%s stays as it is\\]");
    std::string last;
    // Every process that loads the library meanwhile empties the file.
    for (int attempt = 0; attempt < 100 && !testing::Value(last, isOneLine); ++attempt) {
        WriteLogLine("%s stays as it is");
        std::ifstream log(MapDrivePath("c:\\debugMersola.log"));
        for (std::string line; std::getline(log, line);)
            last = line;
    }
    EXPECT_THAT(last, isOneLine);
}

TEST_P(SessionTest, TracesWhatOperationsDoOnceThereIsASink) {
    static std::vector<std::string> traced;
    traced.clear();
    const TraceSink before =
        SetTraceSink([](std::string_view message) { traced.emplace_back(message); });
    InstrumentInfo instrument = Instrument();
    EXPECT_FALSE(Store().PutInstrument(nullptr, instrument));
    EXPECT_THAT(traced, testing::ElementsAre("***Invalid connection in  PutInstrument"));
    for (const int start : {0, 120000}) {
        Store store(database.ConnectString());
        ASSERT_TRUE(Open(store, Measurement("noise", Start(start))));
        EXPECT_TRUE(Write(store, 1, 5));
    }
    SetTraceSink(before);
    for (const char* part :
         {"m_Start put: N >", "m_Start put: !N >", "-->\tSELECT * FROM Groups where GroupName='",
          ">>>PutDataRelative m_lastReportOffs=2 Prd=1  _Prd=3",
          "PutPeriods OLD 1> periods=2, m_lastReportOffs=2 m_noOfPeriods=4"})
        EXPECT_THAT(traced, testing::Contains(testing::HasSubstr(part)));
    const std::size_t count = traced.size();
    Store().Test("%d", 1);
    EXPECT_EQ(traced.size(), count);
}

TEST(DatabaseError, BecomesTheThreadsErrorInformation) {
    formatDbError(_com_error(DB_E_INTEGRITYVIOLATION, "duplicate key", "SQLite"));
    const auto info = GetErrorInfo();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->description, "duplicate key");
    EXPECT_EQ(info->source, "SQLite");
    EXPECT_EQ(GetErrorInfo(), nullptr);
    EXPECT_EQ(dbErrorText(_com_error(DB_E_INTEGRITYVIOLATION, "duplicate key", "SQLite")),
              "DB Error:\tCode = 80040e2f (duplicate key)\tSource = SQLite\tDescription = "
              "duplicate key\n");
    EXPECT_EQ(_com_error(DB_E_INTEGRITYVIOLATION).ErrorMessage(), "IDispatch error #3119");
    EXPECT_EQ(_com_error(adErrItemNotFound).ErrorMessage(), "Unknown error 0x800A0CC1");
}

}  // namespace
}  // namespace mersola::test
