// What names a database on the command line, and passwords that nobody gets to see.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <fstream>

#include "basics/failure.h"
#include "database/credentials.h"
#include "database/database_argument.h"
#include "database/open_database.h"
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
    EXPECT_NE(read("secret\n", 0640).find("chmod 600"), std::string::npos);
    EXPECT_NE(read("secret\n", 0604).find("chmod 600"), std::string::npos);
    EXPECT_NE(read("\nsecret", 0600).find("no password"), std::string::npos);
}

// Asks on a terminal of its own and types `typed`. The exit status is 0 when "secret" was
// understood, that of the failure otherwise.
int Typed(const char* typed, std::string& screen, bool& echoesAgain) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        try {
            _exit(AskPassword("Password:") == "secret" ? 0 : 9);
        } catch (const Failure& failure) {
            _exit(failure.Status());
        }
    }
    char c = 0;
    while (!screen.ends_with("Password: ") && read(terminal, &c, 1) == 1)
        screen += c;
    EXPECT_EQ(write(terminal, typed, std::char_traits<char>::length(typed)),
              std::ssize(std::string(typed)));
    int status = 0;
    // Kept open until then: a terminal that is gone has no settings to ask for.
    const int held = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    waitpid(child, &status, 0);
    termios settings{};
    echoesAgain = tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    close(held);
    while (read(terminal, &c, 1) == 1)
        screen += c;
    close(terminal);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Passwords, AreTypedUnseenAndTheTerminalIsLeftAsItWas) {
    int ends[2];
    if (openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0)
        GTEST_SKIP() << "this system gives no terminal (/dev/pts)";
    close(ends[0]);
    close(ends[1]);
    for (const auto& [typed, status] : {std::pair{"secret\n", 0}, {"secr\x03", 130}, {"\n", 1}}) {
        std::string screen;
        bool echoesAgain = false;
        EXPECT_EQ(Typed(typed, screen, echoesAgain), status);
        EXPECT_TRUE(echoesAgain) << status;
        EXPECT_EQ(screen.find("secr"), screen.npos) << screen;
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
        EXPECT_EQ(outcome.err.find("secret"), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("Password=***"), std::string::npos) << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("mersola: warning: others can see")) << outcome.err;
    }
    EXPECT_EQ(RunWords({"list", db_, "--password", "secret"}).err.find("secret"), source.npos);
    EXPECT_EQ(Database(DatabaseArgument{source, "", ""}).Name().find("secret"), source.npos);
    const std::string file = "Provider=SQLite;Data Source=\"" + db_ + "\"";
    const Outcome listed = RunWords({"list", file, "--user", "me"});
    EXPECT_EQ(listed.status, 0) << "asked for a file's password: " << listed.err;
}

}  // namespace
}  // namespace mersola::tool
