// Databases as CSV and back, and files that other programs wrote.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "basics/csv_text.h"
#include "basics/failure.h"
#include "basics/whole_file.h"
#include "csv/csv_lines.h"
#include "csv/csv_reader.h"
#include "recording_fixture.h"

namespace mersola::tool {
namespace {

// Records as "line:field|field".
std::string Records(const std::string& text, char separator = ',',
                    const std::string& encoding = "utf-8") {
    std::istringstream in(text);
    LineReader lines(in, encoding);
    CsvReader reader(lines, separator);
    std::string records;
    try {
        while (reader.Next()) {
            records += std::to_string(reader.Line()) + ":";
            for (const auto& field : reader.Fields())
                records += field + "|";
        }
    } catch (const Failure& failure) {
        return failure.what();
    }
    return records;
}

TEST(CsvReader, KeepsFieldsAndCountsLines) {
    EXPECT_EQ(Records("\xEF\xBB\xBF"
                      "a, b ,\"c,\"\"\r\nd\"\r\n\r\n  \n,\"\"\n\"\n\n\"\ne,\xC3\xBC"),
              "1:a|b|c,\"\r\nd|5:||6:\n\n|9:e|\xC3\xBC|");
    for (const std::string field : {"a,b", " a", "a\t", "\"", "a\nb", "\r", "", "plain"})
        EXPECT_EQ(Records("x," + CsvField(field) + "\n"), "1:x|" + field + "|");
    EXPECT_EQ(CsvLine(std::vector<std::string>{"", "a", ""}), ",a,\n");
    EXPECT_THAT(Records("a\n\"b\nc\n"), StartsWith("line 2: a quote is not closed"));
    EXPECT_THAT(Records("a\n\"b\n" + std::string(5000, '\n')), StartsWith("line 2: a quote"));
    EXPECT_THAT(Records("a\nb\"c\n"), StartsWith("line 2: a quote stands"));
    for (const char* wrong : {"\xB5g", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82"})
        EXPECT_THAT(Records(std::string("a\n\n") + wrong + "\n"),
                    StartsWith("line 3: this is no UTF-8"));
    EXPECT_THAT(Records("a\rb\r"), StartsWith("line 1: its lines end"));
    EXPECT_EQ(Records("a\t \tb c\t\n\t\n", '\t'), "1:a||b c||2:||");
    EXPECT_EQ(Records("S\xFC"
                      "d;\xB5\n",
                      ';', "latin1"),
              "1:S\xC3\xBC"
              "d|\xC2\xB5|");
    EXPECT_THAT(Records("a\n\x81\n", ',', "windows-1252"),
                StartsWith("line 2: this is no text in"));
    for (const char* none : {"utf-16", "UCS-4", "latin1//IGNORE", "EBCDIC-US", "noise", ""})
        EXPECT_FALSE(LineReader::IsReadable(none)) << none;
}

TEST(CsvReader, TakesNoMoreMemoryThanOneRecordMayHave) {
    const std::string mebibyte(1 << 20, 'x'), most = mebibyte.substr(7);
    EXPECT_EQ(Records("a\n\"" + most + "\",1\n"), "1:a|2:" + most + "|1|");
    EXPECT_THAT(Records("a\n" + mebibyte + "y\n"), StartsWith("line 2: it is longer than 1 MiB"));
    EXPECT_THAT(Records("a\nb,\"" + most + "\n\n\n\n\n\n\n\n\",1\n"),
                StartsWith("line 2: a quote is not closed, or"));
    std::ifstream zeros("/dev/zero");
    LineReader lines(zeros);
    EXPECT_THROW(lines.Beginning(), Failure);
}

class Csv : public RecordingTool {
  protected:
    std::string NewDatabase(const std::string& name) {
        Done({"init", folder_ / name});
        return folder_ / name;
    }
    std::string File(const std::string& text) {
        std::ofstream(folder_ / "file.csv", std::ios::binary) << text;
        return folder_ / "file.csv";
    }
    static std::string FirstDifference(const Words& left, const Words& right) {
        const auto [a, b] = std::ranges::mismatch(left, right);
        return (a == left.end() ? "" : *a) + (b == right.end() ? "" : *b);
    }
    Words Into(const std::string& db, const std::string& text, const Words& more = {}) {
        return Words{"import", db, File(text), "--instrument", "meter", "--measurement", "day"} +
               more;
    }
};

TEST_F(Csv, BringsBackTheSameDatabase) {
    const auto file = Sound("it's.wav", 1, [](double t, int) { return std::sin(6000 * t); });
    Done(RecordWords(file) + Words{"--start", "2026-11-15 10:00"});
    In(db_,
       {"UPDATE MeasuredValues SET Status='A', Value=-100 WHERE PeriodNo=3 AND FrqId>20",
        "UPDATE MeasuredValues SET Value=NULL WHERE PeriodNo=4 AND FrqId=20",
        "UPDATE MeasuredValues SET Status='x, y', Value=1e-300 WHERE PeriodNo=5 AND FrqId=0",
        "UPDATE Measurements SET Info='two\nlines, \"quoted\" ', FrqLower=0.1, MeasId=5",
        "UPDATE Reports SET MeasId=5, ReportId=3, RealPeriodLen='00,00,00,00,126', "
        "PeriodLen='125'",
        "UPDATE MeasValueMap SET MeasId=5, ReportId=3",
        "UPDATE MeasuredFunctions SET MeasId=5, ReportId=3, FuncId=77 WHERE FuncId=7",
        "UPDATE MeasuredFunctions SET MeasId=5, ReportId=3",
        "UPDATE MeasuredValues SET FuncId=77 WHERE FuncId=7",
        "INSERT INTO FuncNameMap VALUES (9,'#8'),(10,'12'),(11,'leq'),(12,NULL)",
        "INSERT INTO MeasuredFunctions VALUES (1,5,3,9,1),(1,5,3,10,1),(1,5,3,11,1)",
        "INSERT INTO MeasuredValues VALUES (1,2,1,9,0,1,''),(1,2,1,10,0,2,''),(1,2,1,11,0,3,'')",
        "INSERT INTO FrqNameMap VALUES (99,'Status')",
        "INSERT INTO MeasuredValues VALUES (1,1,1,9,99,-0.1,''),(1,7,1,9,98,5,'')",
        "INSERT INTO Groups VALUES (4,NULL,'\xC3\xBC',NULL,'it''s'),(9,'empty','','','')",
        "INSERT INTO Measurements (GroupId,MeasId,MeasName,StartAt) VALUES "
        "(4,0,'noise','2001,01,01,00,00,00,000')",
        "INSERT INTO Markers (GroupId,MeasId,Path,Start,funcId) VALUES "
        "(1,5,'a','b',7),(1,5,'a','b',7),(9,-2,'','',0)"});
    const Words before = RowsOf(db_);
    for (const Words& form : {Words{}, Words{"--wide"}}) {
        const std::string csv = folder_ / "whole.csv", copy = NewDatabase("copy.db");
        Done(Words{"export", db_, "-o", csv} + form);
        for (int time = 0; time < 2; ++time) {
            Done({"import", copy, csv});
            EXPECT_EQ(FirstDifference(RowsOf(copy), before), "") << time;
        }
        EXPECT_TRUE(RunWords(Words{"export", copy} + form).out == Contents(csv));
        std::filesystem::remove(copy);
    }
}

TEST_F(Csv, IsAddedToWhatAnotherDatabaseHolds) {
    const auto file = Silence("1.wav", 1);
    Done(RecordWords(file) + Words{"--start", "2026-11-15 10:00"});
    const std::string all = RunWords({"export", db_}).out;
    const std::string other = NewDatabase("other.db");
    Done(
        Into(other, "Time,Value\n2026-01-01 00:00,50\n", {"--function", "Lden", "--period", "1s"}));
    // Here the names and numbers belong together in another way.
    In(other, {"UPDATE FuncNameMap SET FuncId=FuncId+100",
               "UPDATE FuncNameMap SET FuncId=2 WHERE FuncName='Lden'",
               "UPDATE MeasuredFunctions SET FuncId=2", "UPDATE MeasuredValues SET FuncId=2"});
    for (int time = 0; time < 2; ++time)
        Done({"import", other, File(all)});
    EXPECT_THAT(RunWords({"check", other}).out,
                EndsWith("\n0 findings; 753 values were checked\n"));
    const Words values{"--instrument", "Pier 4", "--measurement", "noise",
                       "--function",   "LAeq",   "--csv"};
    EXPECT_EQ(RunWords(Words{"values", other} + values).out,
              RunWords(Words{"values", db_} + values).out);
    Execute("UPDATE Measurements SET Sensitivity=2");
    const Outcome refused = RunWords({"import", other, File(RunWords({"export", db_}).out)});
    EXPECT_THAT(refused.err,
                HasSubstr("line 41: the measurement 'noise' is stored with another Sensitivity"));
}

TEST_F(Csv, HasPointsAsAllElseUnderALocaleWithCommas) {
    const std::string command = "localedef -i de_DE -f UTF-8 " + (folder_ / "de_DE.UTF-8").string();
    ASSERT_EQ(std::system(command.c_str()), 0);
    ASSERT_EQ(setenv("LOCPATH", (folder_ / "").c_str(), 1), 0);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    const Words record = RecordWords(Silence("1.wav", 1));
    Done(record + Words{"--period", "0.5s", "--fullscale", "0.5"});
    const std::string list = Done({"list", db_});
    const Outcome comma = RunWords(record + Words{"--fullscale", "0,5"});
    Done(Into(db_, "Period,Value\n0,50.25\n1,-1e-3\n",
              {"--function", "Leq", "--period", "0.5s", "--start", "2026-01-01 00:00"}));
    Execute("UPDATE Measurements SET Sensitivity=0.05");
    const std::string csv = RunWords({"export", db_}).out, copy = NewDatabase("copy.db");
    Done({"import", copy, File(csv)});
    const Words left = RowsOf(copy), right = RowsOf(db_);
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    EXPECT_THAT(list, HasSubstr("full scale 0.5,"));
    EXPECT_THAT(RunWords(ValuesWords()).out, HasSubstr("  -90.0  "));
    EXPECT_EQ(comma.status, 2);
    EXPECT_THAT(csv, HasSubstr(",50.25,"));
    EXPECT_THAT(csv, HasSubstr("Sensitivity=0.05"));
    EXPECT_EQ(FirstDifference(left, right), "");
}

TEST_F(Csv, IsThereAsAWholeOrNotAtAll) {
    Done(RecordWords(Silence("1.wav", 1)));
    const std::string path = File("old"), link = folder_ / "link.csv", pipe = folder_ / "pipe";
    std::filesystem::create_symlink("file.csv", link);
    ExpectRefused({"export", db_, "--function", "none", "-o", path}, "no function 'none'");
    ExpectRefused({"export", db_, "--channel", "9"}, "no channel '9'");
    ExpectRefused({"export", db_, "--instrument", "1", "--measurement", "1", "--report", "1 OR 1"},
                  "no report '1 OR 1'");
    ExpectRefused({"export", db_, "-o", folder_ / "none/a.csv"}, "cannot be written");
    ExpectRefused({"export", db_, "-o", folder_ / "."}, "cannot be written");
    EXPECT_EQ(Contents(path), "old");
    Done({"export", db_, "-o", link});
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(Contents(path), RunWords({"export", db_}).out);
    for (const int signal : {SIGINT, SIGTERM}) {
        WholeFile file(path);
        file.Write("new");
        raise(signal);
        try {
            file.Write("more");
            ADD_FAILURE() << "went on";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Status(), 128 + signal);
        }
    }
    EXPECT_EQ(Contents(path), RunWords({"export", db_}).out);
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / "."))
        EXPECT_THAT(entry.path().string(), Not(HasSubstr(".part"))) << entry.path();
    // What cannot be replaced is written to.
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    const Words one{"export", db_, "--plain", "--function", "LAeq", "--count", "1"};
    Done(one + Words{"-o", pipe});
    std::string taken(4096, ' ');
    taken.resize(
        static_cast<std::size_t>(std::max<ssize_t>(read(reader, taken.data(), taken.size()), 0)));
    close(reader);
    EXPECT_EQ(taken, RunWords(one).out);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(Csv, OfAMeterIsMappedOnTheCommandLine) {
    const Words levels{"--column", "time=Date", "--column", "value=Laeq", "--function",
                       "LAeq",     "--period",  "1s",       "--align",    "floor"};
    const std::string text =
        "Date,Laeq,Remark\n2026-01-01 00:00:10,50.5,\n2026-01-01 "
        "00:00:12.999,+5e1,loud\n2026-01-01 00:00:13,,\n";
    const std::string outcome = Done(Into(db_, text, levels));
    EXPECT_EQ(outcome,
              "Read with commas, decimal points, the year first in dates; the column names are "
              "in line 1.\nStored 2 values in 1 report; 1 field held none.\n");
    const std::string spectra =
        "Date,L1000,31.5 hz,Status\n2026-01-01 00:00:11,41,42,\n2026-01-01 00:00:12,43,44,A\n";
    Done(Into(db_, spectra,
              {"--column", "time=Date", "--column", "1 kHz=L1000", "--bands", "31.5 Hz",
               "--function", "Leq"}));
    const Outcome exported =
        RunWords({"export", db_, "--plain", "--wide", "--from", "1", "--count", "2"});
    const std::string row = "meter,day,1,1 s,";
    EXPECT_EQ(exported.out,
              "Instrument,Measurement,Report,Length,Period,Time,Channel,Function,Status,broadband,"
              "31.5 Hz,1 kHz\n" +
                  row + "1,2026-01-01 00:00:11.000,1,Leq,,,42,41\n" + row +
                  "2,2026-01-01 00:00:12.000,1,Leq,A,,44,43\n" + row +
                  "2,2026-01-01 00:00:12.000,1,LAeq,,50,,\n");
    EXPECT_EQ(Count("Measurements WHERE StartAt='2026,01,01,00,00,10,000' AND BandWidth=3 AND "
                    "FrqLower=31.5 AND FrqUpper=1000"),
              1);
    EXPECT_EQ(Count("Reports WHERE noOfPeriods=3"), 1);
    Done({"check", db_});
}

TEST_F(Csv, HasTheSameLengthOfPeriodsInAllRowsOfAReport) {
    const auto rows = [](const std::string& first, const std::string& other) {
        return "Length,Period,Time,Value\n" + first + ",0,2026-01-01 00:00,1\n,1,,2\n" + other +
               ",2,then,3\n";
    };
    const Words leq{"--function", "Leq"};
    ExpectRefused(Into(db_, rows("1s", "2s"), leq),
                  "line 4: report 1 of 'day' is stored with periods");
    for (const char* none : {"junk", "0s", "48 h"}) {
        const std::string reason = "Length '" + std::string(none) + "' is no length";
        ExpectRefused(Into(db_, rows("1s", none), leq), "line 4: " + reason);
        ExpectRefused(Into(db_, rows(none, "1s"), leq), "line 2: " + reason);
    }
    ExpectRefused(Into(db_, "Period,Value\n0,1\n", {"--function", "L\xFC"}), "'L?' is no text");
    ExpectRefused(Into(db_, "Time,Value\n2026-13-01 00:00,1\n", leq + Words{"--period", "1s"}),
                  "line 2: Time '2026-13-01 00:00' is no time");
    Done(Into(db_, rows("1s", "1000 ms"), leq));
    EXPECT_EQ(Count("MeasuredValues"), 3);
    // Longer ones than are read come back from an export, and only as they are.
    Execute("UPDATE Reports SET PeriodLen='02,00,00,00,000'");
    std::string csv = RunWords({"export", db_}).out;
    const std::string copy = NewDatabase("copy.db");
    Done({"import", copy, File(csv)});
    EXPECT_EQ(FirstDifference(RowsOf(copy), RowsOf(db_)), "");
    csv.replace(csv.find("StartAt=2026") + 8, 4, "noon");
    const Outcome junk = RunWords({"import", copy, File(csv)});
    EXPECT_THAT(junk.err, HasSubstr(": StartAt 'noon,"));
}

TEST_F(Csv, ComesThroughAPipe) {
    constexpr std::string_view text = "Time,Value\n2026-01-01 00:00,50\n";
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], text.data(), text.size()), std::ssize(text));
    close(ends[1]);
    Words words = Into(db_, "", {"--function", "Leq", "--period", "1s"});
    words[2] = "/dev/fd/" + std::to_string(ends[0]);
    const Outcome outcome = RunWords(words);
    close(ends[0]);
    EXPECT_THAT(outcome.out, EndsWith("\nStored 1 value in 1 report.\n"));
}

TEST_F(Csv, WithAFaultIsRefusedWithItsLineAndWithoutATrace) {
    const Words options{"--function", "Leq", "--period", "1s", "--start", "2026-01-01 00:00"};
    Done(Into(db_, "Period,Band,Value\n0,1 kHz,50\n", options));
    const std::string header = "Period,Band,Value,Status\n5,new band,1,\n6,\"a\nband\",2,\n\n";
    const struct {
        std::string rows, reason;
    } faults[] = {
        {"0,1 kHz,51,\n", "line 6: the value of period 0 is 51, but 50 is stored already"},
        {"7,1 kHz,1,\n7,1000,1,\n", "line 7: period 7 stands in line 6 already"},
        {"1,1 kHz,\"\n\"\n", "line 6: there are 3 fields"},
        {"1,1 kHz,1,\n1.5,1 kHz,1,\n", "line 7: Period '1.5'"},
        {"-1,1 kHz,1,\n", "line 6: Period '-1'"},
        {"1,,1,\n", "line 6: Band is empty"},
        {"1,1 kHz,nan,\n", "line 6: Value 'nan' cannot be stored"},
        {"1,1 kHz,1.5,\n2,1 kHz,\"1,5\",\n", "line 7: Value '1,5' is no number"},
        {"1,\"1\nkHz\",1,\n\n2,1 kHz,x,\n", "line 9: Value 'x' is no number"},
        {"1,\"1 kHz,1,\n", "line 6: a quote is not closed"}};
    for (const auto& fault : faults)
        ExpectRefused(Into(db_, header + fault.rows, options), fault.reason);
    EXPECT_EQ(Count("FrqNameMap"), 31);
    const std::string time = "Time,Value\n2025-12-31 23:59:59,1\n";
    ExpectRefused(Into(db_, time, options), "line 2: Time '2025-12-31 23:59:59' lies before");
    ExpectRefused(Into(db_, "Time,Value\nnoon,1\n", options), "line 2: Time 'noon' is no time");
    ExpectRefused(Into(db_, "Period,Value\n1,1\n", {"--function", "Leq", "--period", "2s"}),
                  "stored with periods of 1 s, not 2 s");
    ExpectRefused(Into(db_, "Period,Value\n1,1\n", {"--function", "Leq", "--report", "2"}),
                  "line 2: report 2 of 'day' is new");
    ExpectRefused(Into(db_, "Period,Laeq\n1,1\n", options),
                  "line 1: there is no column Value, and no band 'Laeq'");
    ExpectRefused(Into(db_, "Period,Value\n1,1\n", options + Words{"--column", "band=x"}),
                  "no column 'x'; the file has: Period, Value");
    ExpectRefused(Into(db_, "Period,Value\n1,1\n"), "there is no column Function");
    ExpectRefused(Into(db_, "", options), "the file is empty");
    ExpectRefused({"export", db_, "-o", db_}, "is the database itself");
    // Also where what SQLite keeps beside it is not there yet, and by another way.
    std::filesystem::create_symlink(".", folder_ / "way");
    for (const char* part : {"-wal", "-shm", "-journal"})
        ExpectRefused(
            {"export", db_, "-o", folder_ / ("way/it's {a} database.db" + std::string(part))},
            "is a part of the database itself");
    ExpectRefused({"import", db_, folder_ / "way"}, "is a folder");
    const Outcome zeros = RunWords(Into(db_, std::string(100'000, '\0') + "\n", options));
    EXPECT_THAT(zeros.err, HasSubstr("???\u2026"));
    EXPECT_LT(zeros.err.size(), 400);
    ExpectRefused(Into(db_, "", {"--column", "value"}), "is not a column and its name", 2);
}

}  // namespace
}  // namespace mersola::tool
