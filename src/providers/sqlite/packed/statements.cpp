// The texts of the statements. @ stands for the database's name, # for the table of rows in it.
#include "statements.h"

#include <utility>

namespace mersola::packed {
namespace {

constexpr std::array<const char*, static_cast<std::size_t>(Sql::Count)> kTexts{
    "SELECT Data FROM @.PendingValues WHERE MeasValueId=?1 AND PeriodNo=?2",
    "SELECT PeriodNo, Data FROM @.PendingValues WHERE MeasValueId=?1 AND PeriodNo BETWEEN ?2 AND "
    "?3 ORDER BY PeriodNo",
    "INSERT OR REPLACE INTO @.PendingValues (MeasValueId, PeriodNo, Data) VALUES (?1, ?2, ?3)",
    "DELETE FROM @.PendingValues WHERE MeasValueId=?1 AND PeriodNo BETWEEN ?2 AND ?3",
    "SELECT PeriodNo FROM @.PendingValues WHERE MeasValueId=?1 AND PeriodNo>=?2 ORDER BY PeriodNo "
    "LIMIT 1",
    "SELECT PeriodNo FROM @.PendingValues WHERE MeasValueId=?1 AND PeriodNo<=?2 ORDER BY PeriodNo "
    "DESC LIMIT 1",
    "SELECT count(*) FROM @.PendingValues WHERE MeasValueId=?1",
    "SELECT PeriodNo>>7 FROM @.PendingValues WHERE MeasValueId=?1 GROUP BY 1 ORDER BY count(*) "
    "DESC LIMIT 1",
    "SELECT MeasValueId FROM @.PendingValues WHERE MeasValueId>=?1 ORDER BY MeasValueId LIMIT 1",
    "SELECT FirstPeriod, LastPeriod, DataId FROM @.ValueBlocks WHERE MeasValueId=?1 AND Channel=?2 "
    "AND FuncId=?3 AND FirstPeriod BETWEEN ?4 AND ?5",
    "SELECT FirstPeriod, LastPeriod, Data FROM @.ValueBlocks b LEFT JOIN @.ValueData d ON "
    "d.DataId=b.DataId WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND FirstPeriod BETWEEN "
    "?4 AND ?5 ORDER BY FirstPeriod",
    "SELECT FirstPeriod, LastPeriod, Summary FROM @.ValueBlocks WHERE MeasValueId=?1 AND "
    "Channel=?2 AND FuncId=?3 AND FirstPeriod BETWEEN ?4 AND ?5 ORDER BY FirstPeriod",
    "SELECT FirstPeriod FROM @.ValueBlocks WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND "
    "FirstPeriod>=?4 ORDER BY FirstPeriod LIMIT 1",
    "SELECT FirstPeriod, LastPeriod FROM @.ValueBlocks WHERE MeasValueId=?1 AND Channel=?2 AND "
    "FuncId=?3 AND FirstPeriod<=?4 ORDER BY FirstPeriod DESC LIMIT 1",
    "SELECT Channel, FuncId FROM @.ValueBlocks WHERE MeasValueId=?1 AND (Channel, FuncId)>(?2, ?3) "
    "ORDER BY Channel, FuncId LIMIT 1",
    "SELECT MeasValueId FROM @.ValueBlocks WHERE MeasValueId>=?1 ORDER BY MeasValueId LIMIT 1",
    "INSERT INTO @.ValueBlocks (MeasValueId, Channel, FuncId, FirstPeriod, LastPeriod, DataId, "
    "Summary) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)",
    "DELETE FROM @.ValueBlocks WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND FirstPeriod "
    "BETWEEN ?4 AND ?5",
    "SELECT Data FROM @.ValueData WHERE DataId=?1",
    "INSERT INTO @.ValueData (Data) VALUES (?1)",
    "UPDATE @.ValueData SET Data=?2 WHERE DataId=?1",
    "DELETE FROM @.ValueData WHERE DataId=?1",
    "DELETE FROM @.ValueData WHERE DataId IN (SELECT DataId FROM @.ValueBlocks WHERE "
    "MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND FirstPeriod BETWEEN ?4 AND ?5)",
    "SELECT 1 FROM @.sqlite_schema",
    "SELECT 1 FROM # WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND PeriodNo=?4 AND "
    "FrqId=?5",
    "SELECT 1 FROM # WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND PeriodNo BETWEEN ?4 "
    "AND ?5 LIMIT 1",
    "SELECT PeriodNo, FrqId, Value, Status FROM # WHERE MeasValueId=?1 AND Channel=?2 AND "
    "FuncId=?3 AND PeriodNo BETWEEN ?4 AND ?5 ORDER BY PeriodNo, FrqId",
    "INSERT OR REPLACE INTO # (MeasValueId, Channel, FuncId, PeriodNo, FrqId, Value, Status) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)",
    "INSERT OR IGNORE INTO # (MeasValueId, Channel, FuncId, PeriodNo, FrqId, Value, Status) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)",
    "DELETE FROM # WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND PeriodNo=?4 AND "
    "FrqId=?5",
    "DELETE FROM # WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND PeriodNo BETWEEN ?4 AND "
    "?5",
    "SELECT PeriodNo FROM # WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND PeriodNo>=?4 "
    "ORDER BY PeriodNo LIMIT 1",
    "SELECT PeriodNo FROM # WHERE MeasValueId=?1 AND Channel=?2 AND FuncId=?3 AND PeriodNo<=?4 "
    "ORDER BY PeriodNo DESC LIMIT 1",
    "SELECT Channel, FuncId FROM # WHERE MeasValueId=?1 AND (Channel, FuncId)>(?2, ?3) ORDER BY "
    "Channel, FuncId LIMIT 1",
    "SELECT MeasValueId FROM # WHERE MeasValueId>=?1 ORDER BY MeasValueId LIMIT 1",
};

std::string Quoted(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name)
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + '"';
}

std::string WithNames(std::string_view text, const std::string& schema, const std::string& rows) {
    std::string filled;
    for (const char c : text) {
        if (c == '@') {
            filled += Quoted(schema);
        } else if (c == '#') {
            filled += Quoted(schema) + '.' + Quoted(rows);
        } else {
            filled += c;
        }
    }
    return filled;
}

}  // namespace

bool Statement::Step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    sqlite3* db = sqlite3_db_handle(statement_);
    const Failure failure(sqlite3_extended_errcode(db), sqlite3_errmsg(db));
    Reset();
    throw failure;
}

std::optional<std::string_view> Statement::Text(int column) {
    if (IsNull(column)) return std::nullopt;
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return std::string_view(text,
                            static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

std::int32_t Statement::Int32(int column) {
    const std::int64_t number = Integer(column);
    if (number != static_cast<std::int32_t>(number))
        throw Failure(SQLITE_CORRUPT_VTAB,
                      "a table of packed values holds a number beyond 32 bits");
    return static_cast<std::int32_t>(number);
}

std::span<const std::byte> Statement::Blob(int column) {
    const void* bytes = sqlite3_column_blob(statement_, column);
    return {static_cast<const std::byte*>(bytes),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

Statements::Lease Statements::Take(Sql which) {
    auto& idle = idle_[static_cast<std::size_t>(which)];
    if (!idle.empty()) {
        Lease lease(shared_from_this(), which, std::move(idle.back()));
        idle.pop_back();
        return lease;
    }
    if (!areTables_) RequireTables();
    areTables_ = true;
    return {shared_from_this(), which, Prepare(kTexts[static_cast<std::size_t>(which)])};
}

std::unique_ptr<Statement> Statements::Prepare(std::string_view text) const {
    sqlite3_stmt* prepared = nullptr;
    const int code = sqlite3_prepare_v3(db_, WithNames(text, schema_, rows_).c_str(), -1,
                                        SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    if (code != SQLITE_OK) throw Failure(sqlite3_extended_errcode(db_), sqlite3_errmsg(db_));
    return std::make_unique<Statement>(prepared);
}

// A view would run somebody else's statements, maybe without an end, and a virtual table ours.
void Statements::RequireTables() const {
    const auto find = Prepare(
        "SELECT 1 FROM @.sqlite_schema WHERE type='table' AND rootpage>0 AND name=?1 COLLATE "
        "NOCASE");
    for (const std::string& name : {std::string("PendingValues"), std::string("ValueBlocks"),
                                    std::string("ValueData"), rows_}) {
        if (name.empty()) continue;
        find->Bind(std::optional(name));
        if (!find->Step()) throw Failure(SQLITE_ERROR, "no such table: " + schema_ + "." + name);
        find->Reset();
    }
}

Statements::Lease& Statements::Lease::operator=(Lease&& other) noexcept {
    Return();
    owner_ = std::move(other.owner_);
    which_ = other.which_;
    statement_ = std::move(other.statement_);
    return *this;
}

void Statements::Lease::Return() {
    if (!statement_) return;
    statement_->Reset();
    owner_->idle_[static_cast<std::size_t>(which_)].push_back(std::move(statement_));
    owner_.reset();
}

void DecodeSealed(const Series& series, std::int32_t firstPeriod, std::int32_t lastPeriod,
                  std::span<const std::byte> data, std::int64_t firstBand, std::int64_t endBand,
                  SeriesBlock& out) {
    try {
        DecodeBlock(series, firstPeriod, data, firstBand, endBand, out);
    } catch (const DamagedBlock& damaged) {
        RaiseDamage(series, BlockOf(firstPeriod), damaged.what());
    }
    // No checksum stands over that row itself.
    if (out.firstPeriod != firstPeriod || out.firstPeriod + (out.periods - 1) != lastPeriod)
        RaiseDamage(series, BlockOf(firstPeriod), "they are of other periods");
}

void RaiseDamage(const Series& series, std::int32_t block, const char* why) {
    const std::int64_t first = std::int64_t{block} * kBlockPeriods;
    throw Failure(SQLITE_CORRUPT_VTAB,
                  "the values of MeasValueId " + std::to_string(series.measValueId) + ", channel " +
                      std::to_string(series.channel) + ", function " +
                      std::to_string(series.funcId) + ", periods " + std::to_string(first) +
                      " to " + std::to_string(first + kBlockPeriods - 1) +
                      " cannot be read: " + why);
}

void RaiseDamage(std::int32_t measValueId, std::int32_t period, const char* why) {
    throw Failure(SQLITE_CORRUPT_VTAB, "the values of MeasValueId " + std::to_string(measValueId) +
                                           ", period " + std::to_string(period) +
                                           " cannot be read: " + why);
}

void RaiseTwoRows(std::int32_t measValueId, std::int32_t period) {
    RaiseDamage(measValueId, period, "they lie in two rows, or not in their order");
}

void RaiseTwoBlocks(const Series& series, std::int32_t block) {
    RaiseDamage(series, block, "they lie in two blocks");
}

void RequireOrder(bool isInOrder) {
    if (!isInOrder)
        throw Failure(SQLITE_CORRUPT_VTAB, "the keys of packed values are not in their order");
}

void RequireOneBlock(Statements& statements, const Series& series, std::int32_t block) {
    const std::int64_t first = std::int64_t{block} * kBlockPeriods;
    const auto row = statements.Take(Sql::SealedRow, series.measValueId, series.channel,
                                     series.funcId, first, first + kBlockPeriods - 1);
    if (row->Step() && row->Step()) RaiseTwoBlocks(series, block);
}

}  // namespace mersola::packed
