// Some thousand rows at a time, however many periods those are.
#include "gathered_values.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "errors.h"
#include "running_statement.h"
#include "value_statement.h"

namespace mersola::sqlite {
namespace {

constexpr const char* kPointer = "mersola_gathered_values";
constexpr std::size_t kRowsAtOnce = 4096;

bool HasEnds(const packed::Range& range) {
    const packed::Range whole;
    return range.first > whole.first && range.last < whole.last;
}

}  // namespace

void GatheredValues::Register(sqlite3* db) {
    const auto end = [](sqlite3_context*) {};
    Check(db, sqlite3_create_function_v2(db, "mersola_gather", 5, SQLITE_UTF8 | SQLITE_DIRECTONLY,
                                         nullptr, nullptr, Step, end, nullptr));
}

std::unique_ptr<GatheredValues> GatheredValues::Of(sqlite3* db, StatementCache& cache,
                                                   const dialect::Translation& statement) {
    if (statement.literals.size() < packed::kKeyColumns) return nullptr;
    const ValueStatement known = Recognise(statement.text);
    if (known.kind != ValueStatement::Kind::Select || !known.isOrdered) return nullptr;
    const auto ranges = known.RangesOf(statement.literals);
    if (!ranges) return nullptr;
    for (const packed::Column column : {packed::kMeasValueId, packed::kChannel, packed::kFuncId}) {
        if (!(*ranges)[column].IsOne()) return nullptr;
    }
    const packed::Range &periods = (*ranges)[packed::kPeriodNo], &bands = (*ranges)[packed::kFrqId];
    if (!HasEnds(periods) || !HasEnds(bands) || periods.IsEmpty() || bands.IsEmpty())
        return nullptr;
    const auto most = static_cast<std::int64_t>(kRowsAtOnce / 8);
    if (periods.last - periods.first < most / (bands.last - bands.first + 1)) return nullptr;
    return std::make_unique<GatheredValues>(db, cache, *ranges);
}

GatheredValues::GatheredValues(sqlite3* db, StatementCache& cache, const packed::Ranges& ranges)
    : db_(db),
      cache_(cache),
      ranges_(ranges),
      at_(ranges[packed::kPeriodNo].first),
      span_(64),
      report_(ranges[packed::kMeasValueId].first),
      channel_(ranges[packed::kChannel].first),
      function_(ranges[packed::kFuncId].first) {}

bool GatheredValues::Next(ado::ColumnBlock& block) {
    do {
        if (IsAtEnd()) return false;
        const std::int64_t end = std::min(ranges_[packed::kPeriodNo].last, at_ + span_ - 1);
        Read(end);
        if (areOfOtherTypes_) return false;
        at_ = end + 1;
        if (rows_.size() > kRowsAtOnce)
            span_ = std::max<std::int64_t>(span_ / 2, 1);
        else if (rows_.size() < kRowsAtOnce / 2)
            span_ *= 2;
    } while (rows_.empty());
    HandOut(block);
    return true;
}

// The periods up to `end`.
void GatheredValues::Read(std::int64_t end) {
    rows_.clear();
    statuses_.clear();
    const RunningStatement statement(
        db_, cache_,
        "SELECT mersola_gather(?1,PeriodNo,FrqId,Value,Status) FROM MeasuredValues WHERE "
        "MeasValueId=?2 AND Channel=?3 AND FuncId=?4 AND PeriodNo BETWEEN ?5 AND ?6 AND FrqId "
        "BETWEEN ?7 AND ?8");
    Check(db_, sqlite3_bind_pointer(statement.Get(), 1, this, kPointer, nullptr));
    const packed::Range& bands = ranges_[packed::kFrqId];
    int index = 1;
    for (const std::int64_t value :
         {report_, channel_, function_, at_, end, bands.first, bands.last})
        Check(db_, sqlite3_bind_int64(statement.Get(), ++index, value));
    statement.Step();
    // By the key they come in this order; another index may give them in any.
    const auto place = [](const Row& row) { return std::tie(row.period, row.band); };
    if (!std::ranges::is_sorted(rows_, {}, place)) std::ranges::sort(rows_, {}, place);
}

void GatheredValues::Step(sqlite3_context* context, int, sqlite3_value** arguments) try {
    auto* const self = static_cast<GatheredValues*>(sqlite3_value_pointer(arguments[0], kPointer));
    if (self) self->Take(arguments + 1);
} catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
}

void GatheredValues::Take(sqlite3_value** row) {
    constexpr std::array kTypes{SQLITE_INTEGER, SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT};
    for (std::size_t i = 0; i < kTypes.size(); ++i) {
        const int type = sqlite3_value_type(row[i]);
        if (type != kTypes[i] && (type != SQLITE_NULL || i < 2)) areOfOtherTypes_ = true;
    }
    Row taken{.period = sqlite3_value_int64(row[0]),
              .band = sqlite3_value_int64(row[1]),
              .value = sqlite3_value_double(row[2]),
              .status = {},
              .isNull = sqlite3_value_type(row[2]) == SQLITE_NULL,
              .hasStatus = sqlite3_value_type(row[3]) != SQLITE_NULL};
    if (const auto length = static_cast<std::size_t>(sqlite3_value_bytes(row[3])); length > 0) {
        const std::string_view text(reinterpret_cast<const char*>(sqlite3_value_text(row[3])),
                                    length);
        if (statuses_.empty() || statuses_.back() != text) statuses_.emplace_back(text);
        taken.status = statuses_.back();
    }
    rows_.push_back(taken);
}

void GatheredValues::HandOut(ado::ColumnBlock& block) {
    using Form = ado::Column::Form;
    const auto constant = [](const std::int64_t& value) {
        return ado::Column{.form = Form::Integers, .values = &value};
    };
    const auto spread = [](Form form, const void* first) {
        return ado::Column{.form = form, .values = first, .stride = sizeof(Row)};
    };
    ado::Column value = spread(Form::Reals, &rows_.front().value),
                status = spread(Form::Texts, &rows_.front().status);
    const auto note = [this](ado::Column& column, std::vector<std::uint8_t>& nulls, auto isNull) {
        if (std::ranges::none_of(rows_, isNull)) return;
        nulls.resize(rows_.size());
        std::ranges::transform(rows_, nulls.begin(), isNull);
        column.nulls = nulls.data();
    };
    note(value, nullValues_, [](const Row& row) { return row.isNull; });
    note(status, nullStatuses_, [](const Row& row) { return !row.hasStatus; });
    block.rows = rows_.size();
    block.columns = {constant(report_),
                     spread(Form::Integers, &rows_.front().period),
                     constant(channel_),
                     constant(function_),
                     spread(Form::Integers, &rows_.front().band),
                     value,
                     status};
}

}  // namespace mersola::sqlite
