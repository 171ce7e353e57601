// Random statements on a packed database and on one of rows, which have to do and to say the same.
#include <random>
#include <string>
#include <string_view>

#include "packed/module.h"
#include "packed/store.h"
#include "support/seeds.h"
#include "twins.h"

namespace mersola::test {
namespace {

constexpr int kSeeds = 12;  // in the suite
constexpr int kSteps = 150;

class Model {
  public:
    explicit Model(std::uint64_t seed) : random_(seed) {
        bands_ = Pick({1, 3, 8});
        stride_ = Pick({1, 4, 40});
    }

    // What differs after some step, or nothing.
    std::string Run() {
        for (int step = 0; step < kSteps; ++step) {
            const std::string fault = Step();
            if (!fault.empty()) return "step " + std::to_string(step) + ": " + last_ + "\n" + fault;
        }
        twins_.StopReading(2);
        for (int connection = 0; connection < Twins::kConnections; ++connection)
            twins_.Reopen(connection);
        const std::string fault = Try(0, "SELECT * FROM MeasuredValues ORDER BY 1,3,4,2,5");
        return fault.empty() ? Try(0, "PRAGMA integrity_check") : "in the end " + fault;
    }

  private:
    int Number(int first, int last) {
        return std::uniform_int_distribution<int>(first, last)(random_);
    }
    bool Chance(int percent) { return Number(1, 100) <= percent; }
    template <class T>
    T Pick(std::initializer_list<T> choices) {
        return choices.begin()[Number(0, static_cast<int>(choices.size()) - 1)];
    }

    std::string Try(int connection, const std::string& sql) {
        last_ = std::to_string(connection) + ": " + sql;
        if (std::getenv("MERSOLA_TEST_ECHO")) std::cerr << last_ << "\n";
        return twins_.Run(connection, sql);
    }

    std::string Conflict() {
        return Pick({"", "", "", " OR IGNORE", " OR REPLACE", " OR ABORT", " OR ROLLBACK"});
    }
    std::string Report() { return std::to_string(Chance(90) ? Number(1, 2) : Number(-3, 4)); }
    std::string Period() {
        if (Chance(2)) return Pick({"-2147483648", "2147483647", "-1", "-128", "-129", "0"});
        return std::to_string(Chance(70) ? head_ + Number(-20, 20) : Number(-140, head_ + 10));
    }
    std::string Band() { return std::to_string(Number(0, bands_)); }
    std::string Value() {
        switch (Number(0, 9)) {
            case 0:
                return Pick({"NULL", "0.0", "9e999", "-9e999", "5e-324", "7", "'8.5'", "1e300"});
            case 1:
                return std::to_string(random_()) + "/3.0";
            case 2:
                return "-100.0";
            default:
                return "round(" + std::to_string(Number(0, 99999)) + "/1000.0," +
                       std::to_string(Number(0, 3)) + ")";
        }
    }
    std::string StatusText() {
        return Pick({"''", "''", "''", "'A'", "NULL", "'O'", "'straße'", "7", "'A1'", "'A2'"});
    }
    // As other programs write numbers, and what is none.
    std::string Odd(const std::string& number) {
        if (!Chance(6)) return number;
        return Pick({"'" + number + "'", number + ".0", number + ".5", std::string("NULL"),
                     std::string("'x'"), std::string("x'31'"), "'" + number + ".0'",
                     std::string("'1e1'")});
    }

    std::string InsertOne() {
        if (Chance(50)) ++head_;
        return "INSERT" + (Chance(10) ? std::string(" OR FAIL") : Conflict()) +
               " INTO MeasuredValues (MeasValueId,PeriodNo,Channel,Value,Status,FrqId,FuncId) "
               "VALUES (" +
               Odd(Report()) + "," + Odd(Period()) + "," + Odd(std::to_string(Number(1, 2))) + "," +
               (Chance(3) ? "'y'" : Value()) + "," + (Chance(2) ? "x'41'" : StatusText()) + "," +
               Odd(Band()) + "," + std::to_string(Number(1, 2)) + ")";
    }

    // Many periods at once, ascending or descending, dense or not.
    std::string InsertMany() {
        const int count = Pick({3, 40, 130, 300});
        const int first = Chance(60) ? head_ + 1 : Number(-150, head_ + 1);
        if (first > head_) head_ += count * stride_;
        // Both sides have to draw the same numbers, so that these come from the keys.
        const std::string hash = "((p.n*7919+b.n*104729+f.n*" + std::to_string(Number(3, 999)) +
                                 ")%" + std::to_string(Pick({5, 1000, 99991})) + ")";
        const std::string value =
            Pick({hash + "/10.0", hash + "/1000000.0", hash + "/7.0",
                  "CASE WHEN " + hash + "%50=0 THEN NULL ELSE " + hash + "/100.0 END"});
        const std::string status =
            Pick({std::string("''"), std::string("''"),
                  "CASE WHEN " + hash + "%9=0 THEN 'A' WHEN " + hash + "%9=1 THEN NULL ELSE '' END",
                  "'s'||" + hash + "%40"});
        // Bands of which each period has others make no block.
        const std::string band = Chance(8) ? "p.n*1000+b.n" : "b.n";
        const auto series = [](const char* name, int from, int to) {
            return std::string(name) + "(n) AS (VALUES(" + std::to_string(from) +
                   ") UNION ALL SELECT n+1 FROM " + name + " WHERE n<" + std::to_string(to) + ")";
        };
        return "WITH RECURSIVE " + series("p", 0, count - 1) + "," + series("b", 0, bands_) + "," +
               series("f", 1, Number(1, 2)) + " INSERT" + Conflict() +
               " INTO MeasuredValues SELECT " + Report() + "," + std::to_string(first) + "+p.n*" +
               std::to_string(stride_) + "," + std::to_string(Number(1, 2)) + ",f.n," + band + "," +
               value + "," + status + " FROM p,b,f WHERE " + (Chance(50) ? "1" : hash + "%4<>0") +
               " ORDER BY " +
               Pick({"p.n,f.n,b.n", "f.n,p.n,b.n", "p.n DESC,b.n,f.n", "b.n,f.n,p.n"});
    }

    std::string Condition() {
        std::string text = "1";
        const auto comparison = [this] { return Pick({"=", "<", ">", "<=", ">="}); };
        if (Chance(70))
            text += " AND MeasValueId" + Pick({std::string("="), std::string("=")}) + Report();
        if (Chance(40)) text += " AND Channel=" + Odd(std::to_string(Number(1, 2)));
        if (Chance(40)) text += " AND FuncId" + std::string(comparison()) + Odd("1");
        if (Chance(60)) text += " AND PeriodNo" + std::string(comparison()) + Odd(Period());
        if (Chance(40)) text += " AND PeriodNo>=" + Period();
        if (Chance(30)) text += " AND FrqId" + std::string(comparison()) + Odd(Band());
        if (Chance(8)) text += " AND (FrqId=" + Band() + " OR PeriodNo=" + Period() + ")";
        if (Chance(8)) text += " AND PeriodNo IN (" + Period() + "," + Period() + ",'3')";
        if (Chance(8)) text += " AND Status='a'";
        if (Chance(5)) text += " AND Value>5";
        return text;
    }

    std::string Change() {
        if (Chance(50)) {
            const std::string what =
                Pick({std::string("Value=Value+1"), std::string("Status='A'"),
                      "Value=" + std::to_string(Number(0, 99)),
                      std::string("Value=NULL,Status=NULL"), std::string("Status=FrqId")});
            return "UPDATE MeasuredValues SET " + what + " WHERE " + Condition();
        }
        if (Chance(30)) {
            return "UPDATE" + Conflict() + " MeasuredValues SET MeasValueId=" + Pick({"3", "4"}) +
                   " WHERE MeasValueId=" + Pick({"1", "2"}) + " AND " + Condition();
        }
        return "DELETE FROM MeasuredValues WHERE " + Condition();
    }

    std::string Select() {
        const std::string where = " FROM MeasuredValues WHERE " + Condition();
        switch (Number(0, 9)) {
            case 0:
                return "SELECT MIN(PeriodNo)" + where;
            case 1:
                return "SELECT MAX(PeriodNo),count(*)" + where;
            case 2:
                return "SELECT MAX(PeriodNo) FROM MeasuredValues WHERE MeasValueId=" + Report();
            case 3:
                return "SELECT PeriodNo,FrqId,Channel,FuncId,Value,Status" + where +
                       " AND MeasValueId=" + Report() + " ORDER BY PeriodNo" +
                       Pick(
                           {",FrqId,Channel,FuncId", " DESC,FrqId DESC,Channel DESC,FuncId DESC"}) +
                       Pick({"", " LIMIT 5"});
            case 4:
                return "SELECT Channel,FuncId,count(*),min(Value),max(Value),total(FrqId)" + where +
                       " GROUP BY Channel,FuncId ORDER BY 1,2";
            case 5:
                return "SELECT DISTINCT PeriodNo" + where + " ORDER BY 1";
            case 6:
                return "SELECT a.PeriodNo,b.Value FROM MeasuredValues a JOIN MeasuredValues b "
                       "USING "
                       "(MeasValueId,PeriodNo,FrqId) WHERE a.Channel=1 AND b.Channel=2 AND "
                       "a.PeriodNo>" +
                       Period() +
                       " ORDER BY a.MeasValueId,a.PeriodNo,a.FrqId,a.FuncId,b.FuncId LIMIT 50";
            default:
                return "SELECT *" + where + " ORDER BY MeasValueId,Channel,FuncId,PeriodNo,FrqId";
        }
    }

    std::string Step() {
        const int connection = Chance(75) ? 0 : 1;
        const int what = Number(1, 100);
        if (what <= 35) return Try(connection, InsertOne());
        if (what <= 47) return Try(connection, InsertMany());
        if (what <= 57) return Try(connection, Change());
        if (what <= 75) return Try(connection, Select());
        if (what <= 88) {
            return Try(connection, Pick({"BEGIN", "BEGIN IMMEDIATE", "COMMIT", "COMMIT", "ROLLBACK",
                                         "SAVEPOINT a", "SAVEPOINT b", "ROLLBACK TO a", "RELEASE a",
                                         "ROLLBACK TO b", "RELEASE b", "SAVEPOINT a"}));
        }
        // What a statement reads that its own connection changes meanwhile, nobody says.
        constexpr int kReader = 2;
        if (what <= 92) {
            last_ = "read on";
            return twins_.ReadOn(kReader, Number(1, 500));
        }
        if (what <= 93) {
            twins_.StopReading(kReader);
            return {};
        }
        if (what <= 94) return Try(kReader, Select());
        if (what <= 96) {
            twins_.Reopen(connection);
            return {};
        }
        if (what <= 97) return DeleteRange(connection);
        if (what <= 98) return Ends(connection);
        last_ = "convert";
        std::string fault;
        for (int i = Number(1, 6); i > 0 && fault.empty(); --i)
            fault = twins_.Convert(connection);
        return fault;
    }

    // The calls that stand for statements of the library.
    std::string DeleteRange(int connection) {
        sqlite3* const db = twins_.Packed(connection);
        const int report = Number(1, 2);
        const int first = Number(-150, head_);
        const int end = first + Pick({1, 100, 1000});
        if (!sqlite3_get_autocommit(db) ||
            sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK)
            return {};
        sqlite3_exec(db, packed::kTakePart, nullptr, nullptr, nullptr);
        packed::StoreOf(db)->DeleteRange(report, first, end);
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        const std::string sql =
            "DELETE FROM MeasuredValues WHERE MeasValueId=" + std::to_string(report) +
            " AND PeriodNo>=" + std::to_string(first) + " AND PeriodNo<" + std::to_string(end);
        sqlite3_exec(twins_.Rows(connection), sql.c_str(), nullptr, nullptr, nullptr);
        return Try(connection, "SELECT * FROM MeasuredValues ORDER BY 1,3,4,2,5");
    }
    std::string Ends(int connection) {
        sqlite3* const db = twins_.Packed(connection);
        sqlite3_exec(db, "SELECT 1 FROM MeasuredValues WHERE 0", nullptr, nullptr, nullptr);
        packed::Store* const store = packed::StoreOf(db);
        if (!store) return "there is no store";
        const auto text = [](const std::optional<std::int32_t>& number) {
            return number ? std::to_string(*number) : "NULL";
        };
        const std::string ends =
            text(store->FirstPeriod(1)) + " AND max(PeriodNo) IS " + text(store->LastPeriod(1));
        const std::string sql =
            "SELECT min(PeriodNo) IS " + ends + " FROM MeasuredValues WHERE MeasValueId=1";
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(twins_.Rows(connection), sql.c_str(), -1, &statement, nullptr);
        sqlite3_step(statement);
        const bool isRight = sqlite3_column_int(statement, 0) == 1;
        sqlite3_finalize(statement);
        return isRight ? "" : "the first period is not " + ends;
    }

    std::mt19937_64 random_;
    Twins twins_;
    int bands_, stride_;
    int head_ = 0;
    std::string last_;
};

TEST(PackedModel, DoesAndSaysWhatRowsDo) {
    TrySeeds(kSeeds, [](std::uint64_t seed) { return Model(seed).Run(); });
}

}  // namespace
}  // namespace mersola::test
