// A plan's text holds two letters for each condition that is handed over: its column and its
// comparison.
#include "plan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>

namespace mersola::packed {
namespace {

// Guesses, as SQLite makes them without figures: a large database with a few reports.
constexpr double kRows = 1e7;
constexpr std::array<double, kKeyColumns> kDistinct{10, 1e5, 4, 6, 36};

char LetterOf(unsigned char comparison) {
    switch (comparison) {
        case SQLITE_INDEX_CONSTRAINT_EQ:
            return '=';
        case SQLITE_INDEX_CONSTRAINT_GT:
            return '>';
        case SQLITE_INDEX_CONSTRAINT_GE:
            return 'g';
        case SQLITE_INDEX_CONSTRAINT_LT:
            return '<';
        case SQLITE_INDEX_CONSTRAINT_LE:
            return 'l';
        default:
            return 0;
    }
}

using Fixed = std::array<bool, kKeyColumns>;

// Whether rows that are sorted by these columns are in the order that is asked for. Columns of
// which there is one value are in any order.
bool IsSorted(std::span<const sqlite3_index_info::sqlite3_index_orderby> wanted,
              std::initializer_list<int> columns, const Fixed& fixed, bool descending) {
    auto next = columns.begin();
    for (const auto& term : wanted) {
        if (term.iColumn >= 0 && term.iColumn < kKeyColumns &&
            fixed[static_cast<std::size_t>(term.iColumn)])
            continue;
        while (next != columns.end() && fixed[static_cast<std::size_t>(*next)])
            ++next;
        if (next == columns.end()) return true;  // no two rows have one key
        if (term.iColumn != *next || (term.desc != 0) != descending) return false;
        ++next;
    }
    return true;
}

std::optional<Order> OrderFor(const sqlite3_index_info& info, const Fixed& fixed) {
    const std::span wanted(info.aOrderBy, static_cast<std::size_t>(info.nOrderBy));
    const std::initializer_list<int> bySeries{kMeasValueId, kChannel, kFuncId, kPeriodNo, kFrqId};
    const std::initializer_list<int> byPeriod{kPeriodNo, kFrqId, kChannel, kFuncId};
    const bool isOneReport = fixed[kMeasValueId];
    // Of one period of all series there is one pending row.
    if (wanted.empty() && isOneReport && fixed[kPeriodNo] && !(fixed[kChannel] && fixed[kFuncId]))
        return kByPeriod;
    if (IsSorted(wanted, bySeries, fixed, false)) return kBySeries;
    if (!isOneReport) return std::nullopt;
    if (IsSorted(wanted, byPeriod, fixed, false)) return kByPeriod;
    if (IsSorted(wanted, byPeriod, fixed, true)) return kByPeriodDescending;
    return std::nullopt;
}

// Narrows a range of integers by a comparison with any value, as SQLite compares them.
void Narrow(Range& range, char comparison, sqlite3_value* value) {
    const Range nothing{1, 0};
    const auto narrow = [&](std::int64_t first, std::int64_t last) {
        range = {std::max(range.first, first), std::min(range.last, last)};
    };
    const std::int64_t least = range.first;
    const std::int64_t most = range.last;
    switch (sqlite3_value_numeric_type(value)) {
        case SQLITE_INTEGER: {
            const std::int64_t number = sqlite3_value_int64(value);
            // Beyond the range, one step more or less makes no difference.
            const std::int64_t below = number == INT64_MIN ? number : number - 1;
            const std::int64_t above = number == INT64_MAX ? number : number + 1;
            if (comparison == '=') narrow(number, number);
            if (comparison == '>') narrow(above, most);
            if (comparison == 'g') narrow(number, most);
            if (comparison == '<') narrow(least, below);
            if (comparison == 'l') narrow(least, number);
            return;
        }
        case SQLITE_FLOAT: {
            constexpr double kBeyond = 1e15;
            const double number = std::clamp(sqlite3_value_double(value), -kBeyond, kBeyond);
            const auto floor = static_cast<std::int64_t>(std::floor(number));
            const auto ceil = static_cast<std::int64_t>(std::ceil(number));
            if (comparison == '=' && floor != ceil) range = nothing;
            if (comparison == '=') narrow(floor, ceil);
            if (comparison == '>') narrow(floor + 1, most);
            if (comparison == 'g') narrow(ceil, most);
            if (comparison == '<') narrow(least, ceil - 1);
            if (comparison == 'l') narrow(least, floor);
            return;
        }
        case SQLITE_NULL:
            range = nothing;
            return;
        default:  // texts and blobs are greater than all numbers
            if (comparison != '<' && comparison != 'l') range = nothing;
    }
}

}  // namespace

int Plan(sqlite3_index_info* info) {
    std::string plan;
    Fixed fixed{};
    double rows = kRows;
    double read = kRows;  // cells that have to be decoded
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& constraint = info->aConstraint[i];
        const char letter = LetterOf(constraint.op);
        if (!constraint.usable || !letter || constraint.iColumn < 0 ||
            constraint.iColumn >= kKeyColumns)
            continue;
        const auto column = static_cast<std::size_t>(constraint.iColumn);
        plan += static_cast<char>('0' + column);
        plan += letter;
        info->aConstraintUsage[i].argvIndex = static_cast<int>(plan.size() / 2);
        info->aConstraintUsage[i].omit = 1;
        const double share = letter == '=' ? (fixed[column] ? 1 : kDistinct[column]) : 4;
        rows /= share;
        if (column != kFrqId) read /= share;
        if (letter == '=') fixed[column] = true;
    }
    if (const auto order = OrderFor(*info, fixed)) {
        info->idxNum = *order;
        info->orderByConsumed = 1;
    } else {
        info->idxNum = kBySeries;
    }
    const bool isUnique = std::ranges::all_of(fixed, [](bool each) { return each; });
    if (isUnique) info->idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
    rows = std::max(rows, 1.0);
    info->estimatedRows = static_cast<sqlite3_int64>(rows);
    info->estimatedCost = 100 + rows + std::max(read, 1.0) / 20;
    info->idxStr = sqlite3_mprintf("%s", plan.c_str());
    info->needToFreeIdxStr = 1;
    return info->idxStr ? SQLITE_OK : SQLITE_NOMEM;
}

Ranges RangesOf(const char* plan, std::span<sqlite3_value*> values) {
    Ranges ranges;
    const std::size_t count = std::min(values.size(), std::strlen(plan) / 2);
    for (std::size_t i = 0; i < count; ++i)
        Narrow(ranges[static_cast<std::size_t>(plan[2 * i] - '0')], plan[2 * i + 1], values[i]);
    return ranges;
}

}  // namespace mersola::packed
