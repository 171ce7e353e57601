// Until all values are in, the energy mean of a summary is a sum: of 10^((value - greatest) / 10),
// which no level leads out of what a double holds.
#include "overview.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
#include <string_view>

#include "ado/block_reader.h"
#include "ado/summaries.h"
#include "session/statement.h"
#include "stretches.h"
#include "value_rows.h"

using namespace mersola;

namespace {

constexpr std::uint8_t kLeast = 1, kGreatest = 2;

const double kPowerOfDecibel = std::log(10.0) / 10;

// A statement's values are read within a fraction of a second, so that nobody's log grows long for
// a reader. A power of two, so that no block lies in two of them.
constexpr std::int64_t kValuesOfStatement = std::int64_t{1} << 20;

std::int64_t PeriodsOfStatement(int nFrq) {
    return std::max<std::int64_t>(static_cast<std::int64_t>(std::bit_floor(
                                      static_cast<std::uint64_t>(kValuesOfStatement / nFrq))),
                                  128);
}

// Takes rows one by one, with whatever conversion they need.
template <class Take>
void TakeAny(const ado::BlockReader& rows, Take take) {
    const ado::Column& value = rows.At(kValue);
    for (std::size_t row = 0; row < rows.Rows(); ++row) {
        if (IsInvalid(rows.At(kStatus).FirstCharacter(row)) || IsNull(value, row)) continue;
        take(rows.At(kPeriodNo).Long(row), rows.At(kFrqId).Long(row), value.Double(row));
    }
}

// The same for columns of numbers and texts, where it is faster. False for others.
template <class Take>
bool TakePlain(const ado::BlockReader& rows, Take take) {
    using Integers = ado::Plain<std::int64_t>;
    using Reals = ado::Plain<double>;
    using Texts = ado::Plain<std::string_view>;
    if (!Integers::Is(rows.At(kPeriodNo)) || !Integers::Is(rows.At(kFrqId)) ||
        !Reals::Is(rows.At(kValue)) || !Texts::Is(rows.At(kStatus)))
        return false;
    const Integers periodNo(rows.At(kPeriodNo)), frqId(rows.At(kFrqId));
    const Reals value(rows.At(kValue));
    const Texts status(rows.At(kStatus));
    for (std::size_t row = 0; row < rows.Rows(); ++row) {
        if (!status[row].empty() && IsInvalid(status[row].front())) continue;
        take(ado::LongIn(periodNo[row]), ado::LongIn(frqId[row]), value[row]);
    }
    return true;
}

// Hands each finite and valid value to `take`, until that says that it has enough.
template <class Take>
void ReadValues(const _ConnectionPtr& connection, const CString& statement, Take take) {
    auto rows = readStatement(connection, statement);
    rows.Position(kStatus);
    bool goesOn = true;
    const auto takeOne = [&](std::int32_t period, std::int32_t frqId, double value) {
        if (goesOn && std::isfinite(value)) goesOn = take(period, frqId, value);
    };
    while (goesOn && rows.Next()) {
        if (!TakePlain(rows, takeOne)) TakeAny(rows, takeOne);
    }
}

}  // namespace

namespace mersola {

Overview::Overview(CArray<StepSummary, StepSummary&>& out, std::vector<std::int64_t> edges,
                   int firstFrq, int nFrq, unsigned figures)
    : out_(out), edges_(std::move(edges)), firstFrq_(firstFrq), nFrq_(nFrq), figures_(figures) {
    out_.SetSize(static_cast<int>(edges_.size() - 1) * nFrq_);
    if (figures_ & kExtremePeriods) sought_.resize(static_cast<std::size_t>(out_.GetSize()));
}

std::size_t Overview::StepOf(std::int64_t period) {
    if (edges_[step_] > period || edges_[step_ + 1] <= period) {
        const auto above = std::ranges::upper_bound(edges_, period);
        step_ = static_cast<std::size_t>(above - edges_.begin()) - 1;
    }
    return step_;
}

void Overview::Add(const ado::ValueSummary& values, std::int64_t offset) {
    const std::size_t at = StepOf(values.first + offset) * static_cast<std::size_t>(nFrq_) +
                           static_cast<std::size_t>(values.band - firstFrq_);
    StepSummary& sum = out_[static_cast<int>(at)];
    const bool isFirst = sum.count == 0;
    if (isFirst) sum.mean = sum.energyMean = sum.meanSquare = 0;
    const auto note = [&](std::int32_t& period, std::uint8_t which) {
        period = static_cast<std::int32_t>(values.first + offset);
        if (sought_.empty()) return;
        sought_[at] &= static_cast<std::uint8_t>(~which);
        if (values.first != values.last) sought_[at] |= which;
    };
    if (isFirst || values.least < sum.least) {
        sum.least = values.least;
        note(sum.leastPeriod, kLeast);
    }
    if (isFirst || values.greatest > sum.greatest) {
        if (!isFirst)
            sum.energyMean *= std::exp((sum.greatest - values.greatest) * kPowerOfDecibel);
        sum.greatest = values.greatest;
        note(sum.greatestPeriod, kGreatest);
    }
    sum.count += values.count;
    const double share = static_cast<double>(values.count) / sum.count;
    sum.mean = sum.mean * (1 - share) + values.mean * share;  // neither beyond a double
    sum.energyMean += values.count * std::exp((values.energyMean - sum.greatest) * kPowerOfDecibel);
    if (NeedsValues())
        sum.meanSquare = sum.meanSquare * (1 - share) + values.mean * values.mean * share;
}

std::vector<Overview::Sought> Overview::SoughtWithin(std::int64_t first, std::int64_t end) {
    std::vector<Sought> all;
    if (sought_.empty()) return all;
    const std::size_t bands = static_cast<std::size_t>(nFrq_);
    for (std::size_t step = StepOf(first); step + 1 < edges_.size() && edges_[step] < end; ++step) {
        for (std::size_t band = 0; band < bands; ++band) {
            const std::size_t at = step * bands + band;
            StepSummary& sum = out_[static_cast<int>(at)];
            const auto seek = [&](std::uint8_t which, std::int32_t& period, double value) {
                if (!(sought_[at] & which)) return;
                all.push_back({&period, value, period, std::min(edges_[step + 1], end),
                               firstFrq_ + static_cast<int>(band)});
                period = kNone;
            };
            seek(kLeast, sum.leastPeriod, sum.least);
            seek(kGreatest, sum.greatestPeriod, sum.greatest);
            sought_[at] = 0;
        }
    }
    return all;
}

void Overview::Finish() {
    for (StepSummary& sum : out_) {
        if (!(figures_ & kExtremePeriods)) sum.leastPeriod = sum.greatestPeriod = kNone;
        if (sum.count == 0) continue;
        // Rounding must not lead out of the range.
        sum.mean = std::clamp(sum.mean, sum.least, sum.greatest);
        sum.energyMean = std::clamp(sum.greatest + 10 * std::log10(sum.energyMean / sum.count),
                                    sum.least, sum.greatest);
        if (!NeedsValues()) sum.meanSquare = StepSummary().meanSquare;
    }
}

}  // namespace mersola

int Mersola::GetOverview(CArray<StepSummary, StepSummary&>& out, int firstPeriod, int nPeriods,
                         int periodsPerStep, int firstFrq, int nFrq, unsigned figures) {
    CArray<int, int> edges;
    out.RemoveAll();
    const auto end = identifier(long{firstPeriod} + nPeriods);
    if (!end || nPeriods < 1 || periodsPerStep < 1) return 0;
    try {
        for (std::int64_t edge = firstPeriod; edge < *end; edge += periodsPerStep)
            edges.Add(static_cast<int>(edge));
        edges.Add(*end);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return GetOverview(out, edges, firstFrq, nFrq, figures);
}

int Mersola::GetOverview(CArray<StepSummary, StepSummary&>& out, const CArray<int, int>& edges,
                         int firstFrq, int nFrq, unsigned figures) {
    out.RemoveAll();
    if (!readable() || edges.GetSize() < 2 || nFrq < 1 || !identifier(long{firstFrq} + nFrq) ||
        !std::is_sorted(edges.begin(), edges.end()) ||
        !identifier((edges.GetSize() - 1) * long{nFrq}))
        return 0;
    try {
        Overview overview(out, {edges.begin(), edges.end()}, firstFrq, nFrq, figures);
        for (const Stretch& stretch :
             stretchesOf(overview.Edges().front(), overview.Edges().back())) {
            selectReportOf(stretch);
            summarise(stretch, overview);
        }
        overview.Finish();
        return 1;
    } catch (const _com_error&) {
        out.RemoveAll();
    } catch (const std::bad_alloc&) {
        out.RemoveAll();
    }
    return 0;
}

// Raises _com_error.
void Mersola::summarise(const Stretch& stretch, Overview& overview) {
    const std::int64_t offset = stretch.offset;
    const std::int64_t most = PeriodsOfStatement(overview.EndFrq() - overview.FirstFrq());
    const auto statement = [&](std::int64_t first, std::int64_t end, int firstFrq, int endFrq) {
        return valuesBetween(m_MeasValueId, m_channel, m_function, static_cast<int>(first),
                             static_cast<int>(end), firstFrq, endFrq);
    };
    std::vector<std::int64_t> edges;
    for (std::int64_t first = stretch.first; first < stretch.end;) {
        const std::int64_t end = std::min((first & -most) + most, stretch.end);
        edges.assign(1, first);
        const auto inside = std::ranges::upper_bound(overview.Edges(), first + offset);
        for (auto edge = inside; edge != overview.Edges().end() && *edge < end + offset; ++edge)
            edges.push_back(*edge - offset);
        edges.push_back(end);
        const bool areSummaries =
            !overview.NeedsValues() &&
            ado::ReadSummaries(m_connection,
                               {m_MeasValueId, m_channel, m_function, overview.FirstFrq(),
                                overview.EndFrq(), edges},
                               [&](std::span<const ado::ValueSummary> summaries) {
                                   for (const auto& each : summaries)
                                       overview.Add(each, offset);
                               });
        if (!areSummaries) {
            ReadValues(
                m_connection, statement(first, end, overview.FirstFrq(), overview.EndFrq()),
                [&](std::int32_t period, std::int32_t frqId, double value) {
                    overview.Add({period, period, frqId, 1, value, value, value, value}, offset);
                    return true;
                });
        }
        for (const auto& sought : overview.SoughtWithin(first + offset, end + offset)) {
            ReadValues(m_connection,
                       statement(sought.first - offset, sought.end - offset, sought.frqId,
                                 sought.frqId + 1),
                       [&](std::int32_t period, std::int32_t, double value) {
                           if (value != sought.value) return true;
                           *sought.period = static_cast<std::int32_t>(period + offset);
                           return false;
                       });
        }
        first = end;
    }
}
