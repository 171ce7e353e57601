// Running commands in the process that is fuzzed.
#include "tool_runs.h"

#include <sqlite3.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <mersola/mersola.h>

#include "basics/failure.h"
#include "engines/sqlite.h"
#include "property.h"

namespace mersola::fuzz {
namespace {

// Small numbers and texts, of which a changed byte makes others that are as likely.
constexpr const char* kRows = R"(
    INSERT INTO FuncNameMap VALUES (1,'Leq'),(2,'LAeq');
    INSERT INTO FrqNameMap VALUES (0,'broadband'),(30,'1 kHz'),(33,'2 kHz');
    INSERT INTO Groups VALUES (1,'Pier 4','north','0','x="1"'),(2,'Quay','','0','');
    INSERT INTO Measurements VALUES
        (1,1,'noise',NULL,3,1.0,0.05,1000.0,2000.0,'2026,11,15,07,30,00,000','10,50,90'),
        (1,2,'noise 2','',3,1.0,1.0,0.0,0.0,'2026,11,15,07,35,00,000',NULL);
    INSERT INTO Reports VALUES (1,1,1,'00,00,00,01,000','NOT_SET',6,0,1),
        (1,1,2,'00,00,01,00,000','00,00,01,00,001',1,0,2),(1,2,1,'1000','NOT_SET',3,1,1),
        (1,2,2,'00,00,01,00,000','00,00,01,00,001',1,0,2);
    INSERT INTO MeasValueMap VALUES (1,1,1,1),(1,1,2,2),(1,2,1,3),(1,2,2,4);
    INSERT INTO MeasuredFunctions VALUES (1,1,1,1,1),(1,1,1,2,1),(1,1,2,1,1),
        (1,2,1,1,1),(1,2,1,1,2),(1,2,2,1,1);
    INSERT INTO MeasuredValues VALUES (1,0,1,1,30,50.25,''),(1,0,1,1,33,49.0,''),
        (1,1,1,1,30,51.5,'A'),(1,5,1,1,30,52.0,''),(1,5,1,2,0,60.125,''),(2,0,1,1,0,58.0,''),
        (3,1,2,1,0,40.0,''),(3,2,2,1,0,41.0,'');
    INSERT INTO Markers VALUES (1,1,'a.wav','2026,11,15,07,30,01,000','2026,11,15,07,30,02,000',
        1,2,'level="60"',1,30,0,'train',255);
    INSERT INTO VersionHistory VALUES ('2026,11,15,07,00,00,000','1','Laid out');
)";

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Small pages, so that most bytes mean something.
std::string Made(std::string_view rows, Layout layout = Layout::Rows) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "made.db";
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    const int code = sqlite3_exec(db, "PRAGMA page_size=512; PRAGMA journal_mode=WAL", nullptr,
                                  nullptr, nullptr);
    sqlite3_close(db);
    Require(code == SQLITE_OK, "the database to begin with can be made");
    {
        Mersola store(nullptr, nullptr, ("Provider=SQLite;Data Source=" + path).c_str(), 5);
        for (const auto statement : SchemaStatements(kSqlite, layout))
            store.dbExecute(std::string(statement).c_str());
        constexpr std::string_view kEnd = ";\n";
        for (auto end = rows.find(kEnd); end != rows.npos; end = rows.find(kEnd)) {
            store.dbExecute(std::string(rows.substr(0, end)).c_str());
            rows.remove_prefix(end + kEnd.size());
        }
    }
    return Contents(path);
}

const test::TemporaryFolder& Folder() {
    static const test::TemporaryFolder folder;
    return folder;
}

}  // namespace

Outcome Run(const std::function<void(std::ostream&)>& command) {
    std::ostringstream out;
    std::string line;
    try {
        command(out);
        return {0, out.str()};
    } catch (const tool::Failure& failure) {
        line = failure.what();
        Require(failure.Status() == 1, "a command succeeds or fails", line);
    } catch (const _com_error& error) {
        line = error.what();
    }
    Require(!line.empty(), "a failure says what failed");
    return {1, line};
}

std::string GoodDatabase(Layout layout) {
    return Made(kRows, layout);
}

FileAndLog GoodDatabaseWithLog() {
    static const ScratchFile file("logged.db");
    file.Write(GoodDatabase(Layout::Rows));
    sqlite3* db = nullptr;
    sqlite3_open(file.Path().c_str(), &db);
    const int code =
        sqlite3_exec(db,
                     "PRAGMA wal_autocheckpoint=0; INSERT INTO MeasuredValues VALUES "
                     "(1,6,1,1,30,53,''); UPDATE Reports SET noOfPeriods=7 WHERE ReportId=1;"
                     "CREATE TABLE more (id); INSERT INTO FuncNameMap VALUES (3,'L10')",
                     nullptr, nullptr, nullptr);
    Require(code == SQLITE_OK, "the log can be written", sqlite3_errmsg(db));
    FileAndLog both{Contents(file.Path()), Contents(file.Path() + "-wal")};
    sqlite3_close(db);
    return both;
}

void Seal(std::string& log) {
    constexpr std::size_t kHeader = 32, kFrame = 24, kPage = 512;
    std::uint32_t sums[2]{};
    const auto add = [&](std::size_t at, std::size_t length) {
        for (const std::size_t end = at + length; at < end; at += 8) {
            std::uint32_t words[2];
            std::memcpy(words, &log[at], sizeof words);
            sums[0] += words[0] + sums[1];
            sums[1] += words[1] + sums[0];
        }
    };
    const auto put = [&](std::size_t at) {
        for (const std::uint32_t sum : sums)
            for (int shift = 24; shift >= 0; shift -= 8)
                log[at++] = static_cast<char>(sum >> shift);
    };
    if (log.size() < kHeader) return;
    log[3] = static_cast<char>(0x82);  // the sums are of words with their lowest byte first
    add(0, 24);
    put(24);
    for (std::size_t at = kHeader; at + kFrame + kPage <= log.size(); at += kFrame + kPage) {
        log.replace(at + 8, 8, log, 16, 8);  // the salts
        add(at, 8);
        add(at + kFrame, kPage);
        put(at + 16);
    }
}

std::string EmptyDatabase() {
    return Made("");
}

ScratchFile::ScratchFile(const std::string& name) : path_(Folder() / name) {}

void ScratchFile::Remove() const {
    for (const char* each : {"", "-wal", "-shm", "-journal"})
        std::filesystem::remove(path_ + each);
}

void ScratchFile::Write(const std::string& bytes, const std::string& log) const {
    Remove();
    std::ofstream(path_, std::ios::binary) << bytes;
    if (!log.empty()) std::ofstream(path_ + "-wal", std::ios::binary) << log;
}

}  // namespace mersola::fuzz
