// What the statements do, each with the store that stands behind the table at that moment.
#include "packed_values.h"

#include <cmath>

#include "batch_transaction.h"
#include "dialect/characters.h"
#include "errors.h"
#include "packed/module.h"
#include "packed/readers.h"
#include "packed_rows.h"

namespace mersola::sqlite {
namespace {

using Kind = ValueStatement::Kind;

// What the store raises, as an engine's error.
template <class Action>
auto Translating(Action action) try {
    return action();
} catch (const packed::Failure& failure) {
    throw Translated(failure.code, failure.what());
} catch (const std::length_error& error) {
    throw Translated(SQLITE_FULL, error.what());
}

bool IsWhole(const packed::Range& range) {
    const packed::Range whole;
    return range.first == whole.first && range.last == whole.last;
}

// Whether there is a condition on none of these columns.
bool AreWhole(const packed::Ranges& ranges, std::initializer_list<packed::Column> columns) {
    for (const packed::Column column : columns) {
        if (!IsWhole(ranges[static_cast<std::size_t>(column)])) return false;
    }
    return true;
}

}  // namespace

bool PackedValues::IsPacked() const {
    return packed::StoreOf(db_) != nullptr;
}

std::optional<std::unique_ptr<ado::RowSource>> PackedValues::Run(
    const dialect::Translation& translation) {
    if (!IsPacked()) return std::nullopt;
    const ValueStatement& statement = statements_.Find(translation.text);
    if (statement.kind == Kind::Other) return std::nullopt;
    return Translating([&]() -> std::optional<std::unique_ptr<ado::RowSource>> {
        if (statement.kind == Kind::Insert) {
            if (!Insert(statement, translation.literals)) return std::nullopt;
            return nullptr;
        }
        const auto ranges = statement.RangesOf(translation.literals);
        if (!ranges || !(*ranges)[packed::kMeasValueId].IsOne()) return std::nullopt;
        if (statement.kind == Kind::Delete) {
            if (!Delete(*ranges)) return std::nullopt;
            return nullptr;
        }
        auto rows = Read(statement, *ranges);
        if (!rows) return std::nullopt;
        return rows;
    });
}

packed::Store* PackedValues::TakePart() {
    packed::Store* const store = packed::StoreOf(db_);
    if (!store || store->TakesPart()) return store;
    if (!takePart_) takePart_ = Prepare(db_, packed::kTakePart);
    const int code = sqlite3_step(takePart_.get());
    sqlite3_reset(takePart_.get());
    Check(db_, code);
    // By now the schema is as it is in the file.
    packed::Store* const now = packed::StoreOf(db_);
    return now && now->TakesPart() ? now : nullptr;
}

bool PackedValues::Insert(const ValueStatement& statement,
                          std::span<const dialect::Literal> literals) {
    if (sqlite3_get_autocommit(db_)) return false;
    const auto row = statement.Row(literals);
    if (!row || (row->status && !dialect::IsUtf8(*row->status))) return false;
    packed::Store* const store = TakePart();
    return store && store->Insert(*row);
}

bool PackedValues::Insert(packed::Store& store, std::span<const ado::Cell> cells) {
    using ado::CellKind;
    const auto isKey = [](const ado::Cell& cell) {
        return cell.kind == CellKind::Integer &&
               cell.integer == static_cast<std::int32_t>(cell.integer);
    };
    for (const ado::Cell& cell : cells.first(packed::kKeyColumns)) {
        if (!isKey(cell)) return false;
    }
    packed::ValueRow row;
    const auto key = [&](packed::Column column) {
        return static_cast<std::int32_t>(cells[static_cast<std::size_t>(column)].integer);
    };
    row.measValueId = key(packed::kMeasValueId);
    row.periodNo = key(packed::kPeriodNo);
    row.channel = key(packed::kChannel);
    row.funcId = key(packed::kFuncId);
    row.frqId = key(packed::kFrqId);
    const ado::Cell& value = cells[packed::kValue];
    if (value.kind == CellKind::Text) return false;
    if (value.kind == CellKind::Integer) row.value = static_cast<double>(value.integer);
    if (value.kind == CellKind::Real) row.value = value.real;
    row.isNull = value.kind == CellKind::Null || std::isnan(row.value);
    const ado::Cell& status = cells[packed::kStatus];
    if (status.kind == CellKind::Text) {
        if (status.length > 0 && !dialect::IsUtf8(status.View())) return false;
        row.status = status.length > 0 ? status.View() : std::string_view();
    } else if (status.kind != CellKind::Null) {
        return false;
    }
    return Translating([&] { return store.Insert(row); });
}

bool PackedValues::Delete(const packed::Ranges& ranges) {
    if (!AreWhole(ranges, {packed::kChannel, packed::kFuncId, packed::kFrqId})) return false;
    const packed::Range& periods = ranges[packed::kPeriodNo];
    BatchTransaction transaction(db_);
    packed::Store* const store = TakePart();
    if (!store) return false;
    if (!periods.IsEmpty()) {
        store->DeleteRange(static_cast<std::int32_t>(ranges[packed::kMeasValueId].first),
                           static_cast<std::int32_t>(periods.first), periods.last + 1);
    }
    transaction.Commit();
    return true;
}

// A store outlives its table as long as statements are prepared that name that one, so that the
// latest store may be that of an earlier table.
packed::Store* PackedValues::StoreInSnapshot() {
    if (!schemaVersion_) schemaVersion_ = Prepare(db_, "PRAGMA schema_version");
    const int code = sqlite3_step(schemaVersion_.get());
    const std::int64_t version =
        code == SQLITE_ROW ? sqlite3_column_int64(schemaVersion_.get(), 0) : -1;
    sqlite3_reset(schemaVersion_.get());
    Check(db_, code);
    if (version == seenVersion_ && (!seenStore_ || seenStore_ == packed::StoreOf(db_)))
        return seenStore_;
    Prepare(db_, "SELECT 1 FROM MeasuredValues");  // has the table make its store
    const Statement table =
        Prepare(db_,
                "SELECT 1 FROM sqlite_schema WHERE type='table' AND name='MeasuredValues' AND sql "
                "LIKE 'CREATE VIRTUAL TABLE%'");
    const int found = sqlite3_step(table.get());
    Check(db_, found);
    // What this connection changes itself may be rolled back, and its number given to other
    // changes.
    seenVersion_ = sqlite3_get_autocommit(db_) ? version : -1;
    return seenStore_ = found == SQLITE_ROW ? packed::StoreOf(db_) : nullptr;
}

std::unique_ptr<ado::SummarySource> PackedValues::Summarise(const ado::SummaryRequest& request) {
    if (!IsPacked()) return nullptr;
    return Translating([&]() -> std::unique_ptr<ado::SummarySource> {
        packed::Store* store = packed::StoreOf(db_);
        if (store->TakesPart()) store->Flush();
        const packed::Reading reading(store->Sources());
        store = StoreInSnapshot();
        if (!store) return nullptr;
        return SeriesSummaries(store->Sources(),
                               {request.measValueId, request.channel, request.funcId},
                               request.edges, {request.firstBand, request.endBand - 1});
    });
}

std::unique_ptr<ado::RowSource> PackedValues::Read(const ValueStatement& statement,
                                                   const packed::Ranges& ranges) {
    packed::Store* store = packed::StoreOf(db_);
    if (store->TakesPart()) store->Flush();
    const packed::Reading reading(store->Sources());  // the snapshot of what follows
    store = StoreInSnapshot();
    if (!store) return nullptr;
    const auto sources = store->Sources();
    const auto& periods = ranges[packed::kPeriodNo];
    const auto& channels = ranges[packed::kChannel];
    const auto& functions = ranges[packed::kFuncId];
    const auto& bands = ranges[packed::kFrqId];
    const auto report = static_cast<std::int32_t>(ranges[packed::kMeasValueId].first);
    const bool isSeries = channels.IsOne() && functions.IsOne();
    const packed::Series series{report, static_cast<std::int32_t>(channels.first),
                                static_cast<std::int32_t>(functions.first)};
    if (statement.kind == Kind::Bands) {
        if (!isSeries) return nullptr;
        return SeriesBands(statement.expression, sources, series, periods, bands);
    }
    if (statement.kind != Kind::Select) {
        if (!AreWhole(ranges,
                      {packed::kPeriodNo, packed::kChannel, packed::kFuncId, packed::kFrqId}))
            return nullptr;
        const auto period =
            statement.kind == Kind::First ? store->FirstPeriod(report) : store->LastPeriod(report);
        return OnePeriod(statement.expression, period);
    }
    if (isSeries) return SeriesRows(sources, series, periods, bands);
    if (!statement.isOrdered) return nullptr;
    return PeriodRows(sources, report, {channels, functions, periods, bands});
}

}  // namespace mersola::sqlite
