// What FreeTDS's driver does with what the library tells it, seen from the other end of the wire.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "odbc/connection.h"
#include "support/store.h"
#include "support/tds_server.h"

namespace mersola::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class FreeTds : public testing::Test {
  protected:
    void SetUp() override {
        const auto drivers = odbc::InstalledDrivers();
        if (std::ranges::find(drivers, "FreeTDS") != drivers.end()) return;
        if (IsRequired(false)) FAIL() << "FreeTDS's driver is not installed";
        GTEST_SKIP() << "FreeTDS's driver is not installed (Debian: tdsodbc)";
    }

    static std::string At(const TdsServer& server, const std::string& more = "") {
        return "Provider=MSOLEDBSQL;Driver={FreeTDS};Data Source=127.0.0.1," + server.Port() + ";" +
               more;
    }
};

class Certificates : public FreeTds {
  protected:
    // One that signed itself, for a server that goes by the name localhost.
    std::vector<std::string> Make(const std::string& name) const {
        const std::string key = folder / (name + ".key"), certificate = folder / (name + ".pem");
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
            "-subj /CN=localhost -addext subjectAltName=DNS:localhost -keyout " +
            key + " -out " + certificate + " 2>/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0) << "is openssl installed?";
        return {certificate, key};
    }

    // What comes of a log-in that the server refuses, if it comes so far.
    static HRESULT LogIn(const std::string& connectString) {
        return CodeOf([&] { _Connection().Open(connectString, "nobody", "x"); });
    }

    TemporaryFolder folder;
};

TEST_F(Certificates, AreCheckedForAServerThatASectionNamesAndForNoOther) {
    const auto own = Make("own"), other = Make("other");
    TdsServer server(own);
    const std::string configuration = folder / "freetds.conf";
    const auto section = [&](const char* name, const char* host, const std::string& authority) {
        std::ofstream(configuration, std::ios::app)
            << '[' << name << "]\nhost = " << host << "\nport = " << server.Port()
            << "\nencryption = require\nca file = " << authority << '\n';
    };
    section("global", "", other[0]);
    section("checked", "localhost", own[0]);
    section("stranger", "localhost", other[0]);
    section("elsewhere", "127.0.0.1", own[0]);
    setenv("FREETDSCONF", configuration.c_str(), 1);
    EXPECT_EQ(LogIn("Provider=MSOLEDBSQL;Servername=checked"), DB_SEC_E_AUTH_FAILED);
    EXPECT_THAT(server.Heard(), ElementsAre("tls", "login"));
    for (const char* refused : {"stranger", "elsewhere"}) {
        EXPECT_EQ(LogIn(std::string("Provider=MSOLEDBSQL;Servername=") + refused), E_FAIL);
        EXPECT_THAT(server.Heard(), testing::Not(testing::Contains("login"))) << refused;
    }
    EXPECT_EQ(LogIn(At(server, "Encrypt=yes")), E_FAIL);
    EXPECT_THAT(server.Heard(), IsEmpty()) << "what is not checked must be asked for";
    EXPECT_EQ(LogIn(At(server, "Encrypt=yes;TrustServerCertificate=yes")), DB_SEC_E_AUTH_FAILED);
    EXPECT_THAT(server.Heard(), ElementsAre("tls", "login"));
    unsetenv("FREETDSCONF");
}

TEST_F(FreeTds, IsNotTakenForTheServerWhereAnotherOneAnswers) {
    const TdsServer server;
    try {
        _Connection().Open(At(server), "stranger", "x");
        FAIL() << "its language is not known";
    } catch (const _com_error& error) {
        EXPECT_THAT(error.what(), StartsWith("Another Server is not known here"));
    }
}

class RoundTrips : public FreeTds {
  protected:
    void SetUp() override {
        FreeTds::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        connection->Open(At(server), "me", "x");
        server.Heard();
    }

    TdsServer server;
    _ConnectionPtr connection = _Connection::CreateInstance();
};

TEST_F(RoundTrips, AreThreeForABatchAlsoWhenItIsOpenedAnew) {
    const auto store = [&](int period, const char* status) {
        const auto batch = Batch(connection, "MeasuredValues");
        for (int band = 0; band < 3; ++band) {
            batch->AddNew();
            batch->Fields("PeriodNo").Put(period);
            batch->Fields("Value").Put(-0.5);
            if (status) batch->Fields("Status").Put(status);
        }
        batch->UpdateBatch();
        return server.Heard();
    };
    EXPECT_EQ(store(1, "A").size(), 5U) << "the columns, and the plan";
    EXPECT_THAT(store(2, "A"), ElementsAre("batch BEGIN TRANSACTION",
                                           "calls 3 execute [1, 2, -0.5, 'A']", "batch COMMIT"));
    EXPECT_EQ(store(3, nullptr).size(), 4U) << "a plan for other columns";
    EXPECT_EQ(store(4, "A").size(), 3U);
    RunSql(connection, "ALTER TABLE MeasuredValues ADD Remark int");
    server.Heard();
    EXPECT_THAT(store(5, "A").front(), HasSubstr("SELECT"));
}

TEST_F(RoundTrips, AreOneForAStatementWhichIsPreparedWhenItIsRepeated) {
    const auto ask = [&](const std::string& sql) {
        RunSql(connection, sql);
        return server.Heard();
    };
    const std::string select = "SELECT * FROM MeasuredValues where MeasValueId=7 and PeriodNo>=";
    const std::string insert =
        "INSERT INTO MEASUREDVALUES  WITH (ROWLOCK) (PeriodNo,Value,Status) VALUES (";
    for (const char* period : {"1", "2", "3"}) {
        EXPECT_THAT(ask(select + period), ElementsAre("batch " + select + period));
        EXPECT_THAT(ask(insert + period + ",0.5,'')"), ElementsAre(StartsWith("batch ")));
    }
    EXPECT_THAT(ask(select + "4"), ElementsAre(HasSubstr("prepexec")));
    EXPECT_THAT(ask(select + "5"), ElementsAre("calls 1 execute [1, 7, 5]"));
    EXPECT_THAT(ask(insert + "-4,-0.25,'A')"), ElementsAre(HasSubstr("prepexec")));
    EXPECT_THAT(ask(insert + "5,60,'A')"), ElementsAre(StartsWith("batch ")))
        << "another type of value";
    EXPECT_THAT(ask(insert + "2147483647,-0.0,'A')"),
                ElementsAre("calls 1 execute [2, 2147483647, 0.0, 'A']"));
    // A number that is too long, letters beyond ASCII, and what stands elsewhere stay in the text.
    for (const char* other :
         {"SELECT 1 FROM a WHERE b=2147483648", "UPDATE a SET b='\xC3\xA4' WHERE c='x' AND d=1.5",
          "SELECT TOP 5 * FROM a WHERE b IN (1,2) ORDER BY 1 OPTION (MAXDOP 1)"}) {
        for (int time = 0; time < 5; ++time)
            EXPECT_THAT(ask(other), ElementsAre(std::string("batch ") + other));
    }
    // What cannot be prepared is run as it stands.
    const auto refused = [&](int number) {
        EXPECT_THROW(ask("UPDATE refused SET a=" + std::to_string(number)), _com_error);
        return server.Heard().size();
    };
    for (const int requests : {1, 1, 1, 3, 1})  // the plan is given up, too
        EXPECT_EQ(refused(requests), static_cast<std::size_t>(requests));
}

TEST_F(RoundTrips, OverATimeOutLoseTheConnectionOnlyWhereTheServerDoesNotAnswer) {
    const _ConnectionPtr waiting = _Connection::CreateInstance();
    waiting->PutCommandTimeout(1);
    waiting->Open(At(server), "me", "x");
    const auto codeOf = [&](const char* sql) { return CodeOf([&] { RunSql(waiting, sql); }); };
    EXPECT_EQ(codeOf("UPDATE locked SET a=1"), DB_E_ABORTLIMITREACHED);
    EXPECT_EQ(codeOf("SELECT 1"), S_OK);
    EXPECT_EQ(codeOf("UPDATE stuck SET a=1"), DB_E_ABORTLIMITREACHED);
    EXPECT_EQ(codeOf("SELECT 1"), E_FAIL);
}

}  // namespace
}  // namespace mersola::test
