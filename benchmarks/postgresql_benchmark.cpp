// Blocks, batches and single values on PostgreSQL: the library beside plain libpq on the same
// server: on one that this program starts and that does not wait for the disk, or on the one that
// the connection string in MERSOLA_TEST_POSTGRESQL names. There it uses a schema of
// its own, "mersola_benchmark", which it LOSES.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <libpq-fe.h>

#include <benchmark/benchmark.h>

#include "contest.h"
#include "database.h"
#include "engines/postgresql.h"
#include "postgresql/connect_text.h"
#include "recorder.h"
#include "schema/schema.h"
#include "support/postgresql_server.h"

namespace {

constexpr int kChannel = 2;
constexpr int kFunction = 3;
constexpr int kPeriods = 1500;
constexpr int kSingles = 200;
constexpr float kMissing = -100.0F;

// The database of a benchmark, laid out and empty.
class Target {
  public:
    Target() {
        const char* const server = std::getenv("MERSOLA_TEST_POSTGRESQL");
        server_ = server ? server
                         : "Provider=PostgreSQL;Data Source=" + mersola::test::PostgresqlFolder() +
                               ";Initial Catalog=postgres;User ID=postgres";
        TryToRun("DROP SCHEMA mersola_benchmark CASCADE");
        Ask("CREATE SCHEMA mersola_benchmark", server_);
        for (const auto statement : mersola::SchemaStatements(mersola::kPostgresql))
            Ask(std::string(statement), ConnectString());
    }
    ~Target() { TryToRun("DROP SCHEMA mersola_benchmark CASCADE"); }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    std::string ConnectString() const { return server_ + ";Schema=mersola_benchmark"; }
    /// The first row of a statement, as text.
    static std::string Ask(const std::string& statement, const std::string& connectString) {
        const _ConnectionPtr connection = _Connection::CreateInstance();
        connection->Open(connectString, "", "");
        _Recordset rows;
        rows.Open(statement, connection, adOpenKeyset, adLockOptimistic, adCmdText);
        std::string row;
        for (int i = 0; rows.GetState() != adStateClosed && i < rows.FieldCount(); ++i)
            row += std::string(rows.Fields(i).Text().View()) + ' ';
        return row;
    }
    /// The number and the sum of the values under a key.
    std::string Digest(int measValueId) const {
        return Ask(
            "SELECT count(*),sum(Value*(PeriodNo+FrqId*3+FuncId*7+Channel*11)) FROM "
            "MeasuredValues WHERE Status='' AND MeasValueId=" +
                std::to_string(measValueId),
            ConnectString());
    }

  private:
    void TryToRun(const std::string& statement) const try {
        Ask(statement, server_);
    } catch (const _com_error&) {
        // There is none.
    }

    std::string server_;
};

template <class Number>
Number Swapped(Number number) {
    if constexpr (sizeof(Number) == 2) return __builtin_bswap16(number);
    if constexpr (sizeof(Number) == 4) return __builtin_bswap32(number);
    if constexpr (sizeof(Number) == 8) return __builtin_bswap64(number);
}

template <class Number>
void Append(std::string& bytes, Number number) {
    number = Swapped(number);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

template <class Number>
Number NumberIn(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return Swapped(number);
}

// A program that uses libpq by itself, with prepared statements and binary values.
class PlainLibpq {
  public:
    PlainLibpq(const std::string& connectString, int measValueId) : measValueId_(measValueId) {
        const mersola::ado::ConnectionString properties(connectString);
        const auto connect = mersola::postgresql::MakeConnectText(
            {.properties = properties, .user = "", .password = ""});
        std::vector<const char*> keywords, values;
        for (const auto& [keyword, value] : connect.keywords) {
            keywords.push_back(keyword.c_str());
            values.push_back(value.c_str());
        }
        keywords.push_back(nullptr);
        values.push_back(nullptr);
        connection_ = PQconnectdbParams(keywords.data(), values.data(), 0);
        Run("SET search_path=mersola_benchmark");
        Run("CREATE TEMPORARY TABLE fresh (LIKE MeasuredValues) ON COMMIT DELETE ROWS");
        Require(PQprepare(connection_, "read",
                          "SELECT * FROM MeasuredValues where MeasValueId=$1 and Channel=$2 and "
                          "FuncId=$3 and PeriodNo>=$4 and PeriodNo<$5 and FrqId>=$6 and FrqId<$7 "
                          "ORDER BY PeriodNo,FrqId",
                          0, nullptr));
        Require(PQprepare(connection_, "write",
                          "INSERT INTO MeasuredValues (MeasValueId,PeriodNo,Channel,FuncId,FrqId,"
                          "Value,Status) VALUES ($1,$2,$3,$4,$5,$6,$7)",
                          0, nullptr));
    }
    ~PlainLibpq() { PQfinish(connection_); }
    PlainLibpq(const PlainLibpq&) = delete;
    PlainLibpq& operator=(const PlainLibpq&) = delete;

    void Run(const char* sql) { Require(PQexec(connection_, sql)); }

    // One period by COPY: into the table, which knows no duplicates, or past them.
    void Copy(int period, bool handlesDuplicates) {
        if (handlesDuplicates) Run("BEGIN");
        Run(handlesDuplicates ? "COPY fresh FROM STDIN (FORMAT binary)"
                              : "COPY MeasuredValues FROM STDIN (FORMAT binary)");
        bytes_.assign("PGCOPY\n\377\r\n\0\0\0\0\0\0\0\0\0", 19);
        ForEachValue([&](int channel, int function, int band) {
            Append(bytes_, std::uint16_t{7});
            for (const int number : {measValueId_, period, channel, function, band}) {
                Append(bytes_, std::uint32_t{4});
                Append(bytes_, static_cast<std::uint32_t>(number));
            }
            Append(bytes_, std::uint32_t{8});
            Append(bytes_, std::bit_cast<std::uint64_t>(Level(period, band)));
            Append(bytes_, std::uint32_t{0});
        });
        Append(bytes_, std::uint16_t{0xFFFF});
        PQputCopyData(connection_, bytes_.data(), static_cast<int>(bytes_.size()));
        PQputCopyEnd(connection_, nullptr);
        while (PGresult* result = PQgetResult(connection_))
            Require(result);
        if (!handlesDuplicates) return;
        Run("INSERT INTO MeasuredValues SELECT * FROM fresh ON CONFLICT DO NOTHING");
        Run("COMMIT");
    }

    void Insert(int period, int band) {
        const std::array<std::uint32_t, 5> numbers{
            Swapped(static_cast<std::uint32_t>(measValueId_)),
            Swapped(static_cast<std::uint32_t>(period)), Swapped(1U), Swapped(1U),
            Swapped(static_cast<std::uint32_t>(band))};
        const std::uint64_t value = Swapped(std::bit_cast<std::uint64_t>(Level(period, band)));
        std::array<const char*, 7> values{};
        for (std::size_t i = 0; i < numbers.size(); ++i)
            values[i] = reinterpret_cast<const char*>(&numbers[i]);
        values[5] = reinterpret_cast<const char*>(&value);
        values[6] = "";
        constexpr std::array<int, 7> kLengths{4, 4, 4, 4, 4, 8, 0}, kFormats{1, 1, 1, 1, 1, 1, 1};
        Require(PQexecPrepared(connection_, "write", 7, values.data(), kLengths.data(),
                               kFormats.data(), 1));
    }

    // What GetData does.
    void Read(std::vector<float>& block, int periods) {
        std::ranges::fill(block, kMissing);
        std::array<std::uint32_t, 7> numbers{};
        std::array<const char*, 7> values{};
        constexpr std::array<int, 7> kLengths{4, 4, 4, 4, 4, 4, 4}, kFormats{1, 1, 1, 1, 1, 1, 1};
        const std::array arguments{measValueId_, kChannel, kFunction, 0, periods, 0, kBands};
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            numbers[i] = Swapped(static_cast<std::uint32_t>(arguments[i]));
            values[i] = reinterpret_cast<const char*>(&numbers[i]);
        }
        PGresult* const rows = PQexecPrepared(connection_, "read", 7, values.data(),
                                              kLengths.data(), kFormats.data(), 1);
        for (int row = 0; row < PQntuples(rows); ++row) {
            const auto at = NumberIn<std::uint32_t>(PQgetvalue(rows, row, 1)) * kBands +
                            NumberIn<std::uint32_t>(PQgetvalue(rows, row, 4));
            const bool invalid = PQgetisnull(rows, row, 5) || *PQgetvalue(rows, row, 6) == 'A';
            block[at] = invalid ? kMissing
                                : static_cast<float>(std::bit_cast<double>(
                                      NumberIn<std::uint64_t>(PQgetvalue(rows, row, 5))));
        }
        Require(rows);
    }

  private:
    void Require(PGresult* result) {
        const auto status = PQresultStatus(result);
        PQclear(result);
        if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK && status != PGRES_COPY_IN)
            throw std::runtime_error(PQerrorMessage(connection_));
    }

    PGconn* connection_ = nullptr;
    int measValueId_;
    std::string bytes_;
};

void PutPeriod(Mersola& session, int period) {
    static const CString status;
    const _RecordsetPtr batch = session.PutDataStart(nullptr);
    bool written = true;
    ForEachValue([&](int channel, int function, int band) {
        long next = 0;
        written &= session.PutDataRelative(Level(period, band), status, period, function, channel,
                                           band, false, next, true, batch);
    });
    if (!written || !session.PutDataEnd(batch)) throw std::runtime_error("A value was not written");
}

void Batches(benchmark::State& state) {
    const Target target;
    Recorder recorder("", target.ConnectString());
    const int own = recorder.MeasValueId(), rivals = own + 1;  // in the same table
    PlainLibpq plain(target.ConnectString(), rivals), past(target.ConnectString(), rivals + 1);
    int period = 0, plainPeriod = 0, pastPeriod = 0;
    Contest contest;
    contest.Enter("COPY into the table", [&] { plain.Copy(plainPeriod++, false); });
    contest.Enter("COPY into a temporary table, INSERT ... ON CONFLICT DO NOTHING",
                  [&] { past.Copy(pastPeriod++, true); });
    contest.Enter("PutDataStart, PutDataRelative, PutDataEnd",
                  [&] { PutPeriod(recorder.Session(), period++); });
    contest.Run(state, kValuesOfPeriod);
    if (target.Digest(own) != target.Digest(rivals)) state.SkipWithError("the rows differ");
}

void Singles(benchmark::State& state) {
    const Target target;
    Recorder recorder("", target.ConnectString());
    Mersola& session = recorder.Session();
    const bool inTransaction = state.range(0) != 0;
    PlainLibpq plain(target.ConnectString(), recorder.MeasValueId() + 1);
    int period = 0, plainPeriod = 0;
    const auto putOwn = [&] {
        static const CString status;
        if (inTransaction) session.BeginTrans();
        for (int band = 0; band < kSingles; ++band) {
            long next = 0;
            session.PutDataRelative(Level(period, band), status, period, 1, 1, band, false, next,
                                    false, nullptr);
        }
        if (inTransaction) session.CommitTrans();
        ++period;
    };
    const auto putPlain = [&] {
        if (inTransaction) plain.Run("BEGIN");
        for (int band = 0; band < kSingles; ++band)
            plain.Insert(plainPeriod, band);
        if (inTransaction) plain.Run("COMMIT");
        ++plainPeriod;
    };
    Contest contest;
    contest.Enter("PQexecPrepared", putPlain);
    contest.Enter("PutDataRelative", putOwn);
    contest.Run(state, kSingles);
}

void Blocks(benchmark::State& state) {
    const Target target;
    Recorder recorder("", target.ConnectString());
    Mersola& session = recorder.Session();
    const int periods = static_cast<int>(state.range(0));
    PlainLibpq plain(target.ConnectString(), recorder.MeasValueId());
    session.BeginTrans();
    for (int period = 0; period < kPeriods; ++period)
        PutPeriod(session, period);
    session.CommitTrans();
    plain.Run("ANALYZE MeasuredValues");
    session.SetChannel(kChannel);
    session.SetFunction(kFunction);
    std::vector<float> expected(static_cast<std::size_t>(periods) * kBands);
    std::vector<float> block(expected.size());
    Contest contest;
    contest.Enter("PQexecPrepared", [&] { plain.Read(expected, periods); });
    contest.Enter("GetData", [&] { session.GetData(block.data(), 0, periods, 0, kBands); });
    contest.Run(state, periods * kBands);
    if (block != expected || std::ranges::count(block, kMissing) > 0)
        state.SkipWithError("the blocks differ");
}

BENCHMARK(Batches)->Iterations(300)->Unit(benchmark::kMillisecond);
BENCHMARK(Singles)->Arg(0)->Arg(1)->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(Blocks)->Arg(1)->Arg(10)->Arg(60)->Arg(1500)->Iterations(60)->Unit(
    benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
