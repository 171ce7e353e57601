// What FreeTDS's driver does with what the library tells it, seen from the other end of the wire.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "odbc_connection.h"
#include "store.h"
#include "tds_server.h"

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
        const char* required = std::getenv("MERSOLA_REQUIRE_ALL_PROVIDERS");
        if (required && std::string_view(required) == "1") FAIL() << "FreeTDS is not installed";
        GTEST_SKIP() << "FreeTDS's driver is not installed (Debian: tdsodbc)";
    }

    static std::string At(const TdsServer& server, const std::string& more = "") {
        return "Provider=MSOLEDBSQL;Driver={FreeTDS};Data Source=127.0.0.1," + server.Port() + ";" +
               more;
    }

    static void Run(const _ConnectionPtr& connection, const std::string& sql) {
        _Recordset().Open(sql, connection, adOpenKeyset, adLockOptimistic, adCmdText);
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
        try {
            _Connection().Open(connectString, "nobody", "x");
        } catch (const _com_error& error) {
            return error.Error();
        }
        return S_OK;
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

}  // namespace
}  // namespace mersola::test
