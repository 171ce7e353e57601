// What names a database on the command line, and passwords that nobody gets to see.
#include <sys/stat.h>

#include <fstream>

#include "basics/failure.h"
#include "database/credentials.h"
#include "database/database_argument.h"
#include "database/open_database.h"
#include "terminal.h"
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

TEST(DatabaseArguments, AreConnectionStringsByTheirKeys) {
    for (const char* text : {"Provider=SQLite;Data Source=x", "dsn=x", " Driver = {a=b};x=y",
                             "Data Source=x", "FILEDSN=a", "Encrypt=no;Server=x"})
        EXPECT_TRUE(IsConnectionString(text)) << text;
    for (const char* text : {"x.db", "./DSN=x", "a=b.db", "Provider", "my Provider=x", "./a;DSN=x",
                             "/a;DSN=x", "=", ""})
        EXPECT_FALSE(IsConnectionString(text)) << text;
}

TEST(DatabaseArguments, AreShownWithoutAnyPassword) {
    const std::pair<const char*, const char*> strings[] = {
        {"DSN=a;pwd=x;UID=b", "DSN=a;pwd=***;UID=b"},
        {"DSN=a; Password = {x;y}}z} ;UID=b", "DSN=a; Password =***;UID=b"},
        {"DSN=a;PWD='x;y''z';PWD=\"q;\"", "DSN=a;PWD=***;PWD=***"},
        {"DSN=a;PWD={never ends;UID=b", "DSN=a;PWD=***"},
        {"DSN=a;PWD={x}y;UID=b", "DSN=a;PWD=***;UID=b"},
        {"PWD=x", "PWD=***"},
        {"Odd=no;Password=x", "Odd=no;Password=***"},
        {"--password=x", "--password=***"},
        {"Driver={PWD=x;};UID=b", "Driver={PWD=x;};UID=b"},
        {"./PWD=x", "./PWD=x"}};
    for (const auto& [text, shown] : strings)
        EXPECT_EQ(WithoutPassword(text), shown);
    EXPECT_EQ(ConnectionValue("DSN=a;user id={x}}y};UID= b ;", kUserKeys), "b");
    EXPECT_EQ(ConnectionValue("DSN=a;PWD={x;}}y}", kPasswordKeys), "x;}y");
}

TEST(DatabaseArguments, GoIntoAShellsCommandAsTheyAreButForAPassword) {
    const test::TemporaryFolder folder;
    const std::string script = folder / "script", out = folder / "out";
    const std::tuple<DatabaseArgument, std::string> commands[] = {
        {{"noise.db", "", ""}, "noise.db"},
        {{"it's $HOME \\ \"*\".db", "", ""}, "it's $HOME \\ \"*\".db"},
        {{"two\nlines\x1b'\\1\xFF.db", "", ""}, "two\nlines\x1b'\\1\xFF.db"},
        {{"-v", "", ""}, "./-v"},
        {{"~", "", ""}, "~"},
        {{"DSN=a;PWD={x;};UID=b", "a b", "~/p w"}, "DSN=a;UID=b|--user|a b|--password-file|~/p w"},
        {{"DSN=a;pwd=x", "", ""}, "DSN=a;"}};
    for (const auto& [argument, words] : commands) {
        std::ofstream(script) << "printf '|%s' " << ShellText(argument);
        ASSERT_EQ(std::system(("bash '" + script + "' >'" + out + "'").c_str()), 0);
        EXPECT_EQ(Contents(out), "|" + words) << ShellText(argument);
    }
}

TEST(Passwords, ComeFromFilesThatOnlyTheirOwnerCanRead) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "password";
    const auto read = [&](const char* contents, mode_t mode) -> std::string {
        std::ofstream(path, std::ios::binary) << contents;
        chmod(path.c_str(), mode);
        try {
            return ReadPasswordFile(path);
        } catch (const Failure& failure) {
            return failure.what();
        }
    };
    EXPECT_EQ(read(" secret \nmore", 0600), " secret ");
    EXPECT_EQ(read("secret\r\n", 0400), "secret");
    EXPECT_THAT(read("secret\n", 0640), HasSubstr("chmod 600"));
    EXPECT_THAT(read("secret\n", 0604), HasSubstr("chmod 600"));
    EXPECT_THAT(read("\nsecret", 0600), HasSubstr("no password"));
}

TEST(Passwords, AreTypedUnseenAndTheTerminalIsLeftAsItWas) {
    if (!HasTerminals()) GTEST_SKIP() << "this system gives no terminal (/dev/pts)";
    const auto ask = [] {
        try {
            return AskPassword("Password:") == "secret" ? 0 : 9;
        } catch (const Failure& failure) {
            return failure.Status();
        }
    };
    for (const auto& [typed, status] : {std::pair{"secret\n", 0}, {"secr\x03", 130}, {"\n", 1}}) {
        const Typed result = TypedOn("Password: ", typed, ask);
        EXPECT_EQ(result.status, status);
        EXPECT_TRUE(result.echoesAgain) << status;
        EXPECT_THAT(result.screen, Not(HasSubstr("secr")));
    }
}

TEST_F(Tool, ShowsNoPasswordWhateverGoesWrong) {
    const std::string source = "Provider=nothing;Data Source=far;User ID=me;Password={a;secret}";
    for (const Words& words : {Words{"list", source},
                               {"list", db_, source},
                               {"init", source},
                               {"copy", source, db_},
                               {source}}) {
        const Outcome outcome = RunWords(words);
        EXPECT_NE(outcome.status, 0);
        EXPECT_THAT(outcome.err, Not(HasSubstr("secret")));
        EXPECT_THAT(outcome.err, HasSubstr("Password=***"));
        EXPECT_THAT(outcome.err, StartsWith("mersola: warning: others can see"));
    }
    EXPECT_THAT(RunWords({"list", db_, "--password", "secret"}).err, Not(HasSubstr("secret")));
    EXPECT_THAT(Database(DatabaseArgument{source, "", ""}).Name(), Not(HasSubstr("secret")));
    const std::string file = "Provider=SQLite;Data Source=\"" + db_ + "\"";
    Done({"list", file, "--user", "me"});
}

}  // namespace
}  // namespace mersola::tool
