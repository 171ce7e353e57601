// Running commands in the process that is fuzzed.
#include "tool_runs.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "cli.h"
#include "engines/sqlite.h"
#include "property.h"
#include "schema/schema.h"

namespace mersola::fuzz {
namespace {

// Small numbers and texts, of which a changed byte makes others that are as likely.
constexpr const char* kRows = R"(
    INSERT INTO FuncNameMap VALUES (1,'Leq'),(2,'LAeq');
    INSERT INTO FrqNameMap VALUES (0,'broadband'),(30,'1 kHz'),(33,'2 kHz');
    INSERT INTO Groups VALUES (1,'Pier 4','north','0','x="1"'),(2,'Quay','','0','');
    INSERT INTO Measurements VALUES
        (1,1,'noise',NULL,3,1.0,0.05,1000.0,2000.0,'2026,11,15,07,30,00,000','10,50,90'),
        (1,2,'noise 2','',0,1.0,1.0,0.0,0.0,'2026,11,15,07,35,00,000',NULL);
    INSERT INTO Reports VALUES (1,1,1,'00,00,00,01,000','NOT_SET',6,0,1),
        (1,1,2,'00,00,01,00,000','00,00,01,00,001',1,0,1),(1,2,1,'125','NOT_SET',3,1,1);
    INSERT INTO MeasValueMap VALUES (1,1,1,1),(1,1,2,2),(1,2,1,3);
    INSERT INTO MeasuredFunctions VALUES (1,1,1,1,1),(1,1,1,2,1),(1,1,2,1,1),(1,2,1,1,2);
    INSERT INTO MeasuredValues VALUES (1,0,1,1,30,50.25,''),(1,0,1,1,33,49.0,''),
        (1,1,1,1,30,51.5,'A'),(1,5,1,1,30,52.0,''),(1,5,1,2,0,60.125,''),(2,0,1,1,0,58.0,''),
        (3,1,2,1,0,40.0,''),(3,2,2,1,0,41.0,'');
    INSERT INTO Markers VALUES (1,1,'a.wav','2026,11,15,07,30,01,000','2026,11,15,07,30,02,000',
        1,2,'level="60"',1,30,0,'train',255);
    INSERT INTO VersionHistory VALUES ('2026,11,15,07,00,00,000','1','Laid out');
)";

// Small pages, so that most bytes mean something.
std::string Made(const char* rows) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "made.db";
    sqlite3* db = nullptr;
    bool isMade = sqlite3_open(path.c_str(), &db) == SQLITE_OK;
    const auto run = [&](const std::string& sql) {
        isMade = isMade && sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    };
    run("PRAGMA page_size=512");
    for (const auto statement : SchemaStatements(kSqlite))
        run(std::string(statement));
    run(rows);
    run("PRAGMA journal_mode=WAL");
    Require(isMade, "the database to begin with can be made", sqlite3_errmsg(db));
    sqlite3_close(db);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

const test::TemporaryFolder& Folder() {
    static const test::TemporaryFolder folder;
    return folder;
}

}  // namespace

Outcome Run(const std::string& command, const std::vector<std::string>& words) {
    std::vector<const char*> arguments{"mersola", command.c_str()};
    for (const auto& word : words)
        arguments.push_back(word.c_str());
    std::ostringstream out, err;
    const int status =
        tool::RunTool(static_cast<int>(arguments.size()), arguments.data(), out, err);
    const std::string line = err.str();
    Require(status == 0 || status == 1, "a command succeeds or fails", line);
    Require(!line.starts_with("mersola: unexpected: "), "each failure is an expected one", line);
    Require(std::ranges::count(line, '\n') <= 1, "a failure is one line", line);
    Require(line.empty() || line.starts_with("mersola: "), "a failure has the tool's name", line);
    return {status, out.str()};
}

std::string GoodDatabase() {
    return Made(kRows);
}

std::string EmptyDatabase() {
    return Made("");
}

ScratchFile::ScratchFile(const std::string& name) : path_(Folder() / name) {}

void ScratchFile::Write(const std::string& bytes) const {
    for (const char* beside : {"-wal", "-shm", "-journal"})
        std::filesystem::remove(path_ + beside);
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace mersola::fuzz
