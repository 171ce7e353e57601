// Indices are made of an overview, whose steps end wherever a row or a part of a day does. What an
// overview does not tell comes from the values, block by block.
#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include <mersola/mersola.h>

#include "calendar.h"
#include "distribution.h"

using namespace mersola;

namespace {

constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kMostRows = 1'000'000;  // the hours of a century

// When periods are. One belongs to the stretch in which it begins.
struct Clock {
    Milliseconds origin;
    Milliseconds length;

    CTimeEx At(std::int64_t period) const {
        return period == kNone ? CTimeEx(0, 0, 0, 0, 0, 0) : TimeAt(origin + period * length);
    }
    /// The first period that begins at that time or later, as far as there are such numbers.
    int From(Milliseconds time) const {
        using Stored = std::numeric_limits<int>;
        const Milliseconds passed = time - origin;
        const std::int64_t period = passed / length + (passed % length > 0 ? 1 : 0);
        return static_cast<int>(std::clamp<std::int64_t>(period, Stored::min(), Stored::max()));
    }
};

struct Span {
    Milliseconds start;
    Milliseconds end;
};

// An overview between times.
class Periods {
  public:
    Periods(const Clock& clock, std::vector<Milliseconds> times) : clock_(clock) {
        for (const Milliseconds time : times)
            edges_.push_back(clock.From(time));
        std::ranges::sort(edges_);
        edges_.erase(std::unique(edges_.begin(), edges_.end()), edges_.end());
        if (edges_.size() == 1) edges_.push_back(edges_.front());
    }

    bool Read(Mersola& store, const IndexRequest& request) {
        CArray<int, int> edges;
        for (const int edge : edges_)
            edges.Add(edge);
        const bool squares = request.kind == ValueKind::RootMeanSquare;
        return store.GetOverview(steps_, edges, request.band, 1,
                                 kExtremePeriods | (squares ? kMeanSquares : 0)) == 1;
    }

    bool AreEmpty() const {
        return std::ranges::all_of(steps_, [](const auto& step) { return step.count == 0; });
    }
    /// Appends the steps of a span that have values.
    void Take(const Span& span, std::vector<const StepSummary*>& out) const {
        const auto first = std::ranges::lower_bound(edges_, clock_.From(span.start));
        const auto end = std::ranges::lower_bound(edges_, clock_.From(span.end));
        for (auto step = first - edges_.begin(); step < end - edges_.begin(); ++step) {
            const StepSummary& summary = steps_[static_cast<int>(step)];
            if (summary.count > 0) out.push_back(&summary);
        }
    }

  private:
    Clock clock_;
    std::vector<int> edges_;
    CArray<StepSummary, StepSummary&> steps_;
};

using Steps = std::vector<const StepSummary*>;

std::int64_t CountOf(const Steps& steps) {
    std::int64_t count = 0;
    for (const StepSummary* step : steps)
        count += step->count;
    return count;
}

double MeanOf(const Steps& steps, ValueKind kind) {
    if (steps.empty() || kind == ValueKind::ExtremeLevel || kind == ValueKind::Percentile)
        return kNothing;
    const auto count = static_cast<double>(CountOf(steps));
    const double greatest =
        (*std::ranges::max_element(steps, {}, &StepSummary::greatest))->greatest;
    double mean = 0;
    for (const StepSummary* step : steps) {
        const double share = step->count / count;
        if (kind == ValueKind::Level) {
            mean += share * std::pow(10, (step->energyMean - greatest) / 10);
        } else {
            mean += share * (kind == ValueKind::Arithmetic ? step->mean : step->meanSquare);
        }
    }
    if (kind == ValueKind::Level) return greatest + 10 * std::log10(mean);
    return kind == ValueKind::Arithmetic ? mean : std::sqrt(mean);
}

// Figures of one function, with what is left out.
class Figures {
  public:
    Figures(const IndexRequest& request, const Clock& clock) : request_(request), clock_(clock) {}

    Index Of(double value, double coverage) const {
        return {coverage > 0 && coverage >= request_.leastCoverage ? value : kNothing, coverage};
    }
    /// How many periods belong to a span. Their time is that of the span but for what reaches in
    /// from the one before it, and out into the next one.
    std::int64_t PeriodsIn(const Span& span) const {
        return std::int64_t{clock_.From(span.end)} - clock_.From(span.start);
    }
    static double Coverage(std::int64_t count, std::int64_t periods) {
        return periods > 0 ? static_cast<double>(count) / static_cast<double>(periods) : 0;
    }

    IndexRow Row(const Periods& periods, const Span& span) const {
        IndexRow row;
        row.start = TimeAt(span.start);
        row.end = TimeAt(span.end);
        row.leastAt = row.greatestAt = clock_.At(kNone);
        Steps steps;
        periods.Take(span, steps);
        const double coverage = Coverage(CountOf(steps), PeriodsIn(span));
        row.mean = Of(MeanOf(steps, request_.kind), coverage);
        row.least = row.greatest = {kNothing, coverage};
        if (!steps.empty()) {
            const auto& least = **std::ranges::min_element(steps, {}, &StepSummary::least);
            const auto& greatest = **std::ranges::max_element(steps, {}, &StepSummary::greatest);
            row.least = Of(least.least, coverage);
            row.greatest = Of(greatest.greatest, coverage);
            if (!std::isnan(row.least.value)) row.leastAt = clock_.At(least.leastPeriod);
            if (!std::isnan(row.greatest.value))
                row.greatestAt = clock_.At(greatest.greatestPeriod);
        }
        if (HasParts(span)) PutParts(periods, span, row);
        return row;
    }

    bool HasParts(const Span& span) const {
        return request_.kind == ValueKind::Level && span.end - span.start >= kDay;
    }

    /// The parts of one kind that begin in the span, from hour to hour of a day.
    static std::vector<Span> Parts(const Span& span, int from, int to) {
        std::vector<Span> parts;
        for (Milliseconds day = DayOf(span.start); day < span.end; day += kDay) {
            const Span part{day + from * kHour, day + to * kHour};
            if (part.start >= span.start && part.start < span.end) parts.push_back(part);
        }
        return parts;
    }
    std::vector<Span> Days(const Span& span) const {
        return Parts(span, request_.hours.day, request_.hours.evening);
    }
    std::vector<Span> Evenings(const Span& span) const {
        return Parts(span, request_.hours.evening, request_.hours.night);
    }
    std::vector<Span> Nights(const Span& span) const {
        return Parts(span, request_.hours.night, 24 + request_.hours.day);
    }

  private:
    void PutParts(const Periods& periods, const Span& span, IndexRow& row) const {
        std::int64_t countInAll = 0;
        std::int64_t periodsInAll = 0;
        const auto put = [&](const std::vector<Span>& parts, Index& index) {
            Steps steps;
            std::int64_t periodsInParts = 0;
            for (const Span& part : parts) {
                periods.Take(part, steps);
                periodsInParts += PeriodsIn(part);
            }
            index = Of(MeanOf(steps, request_.kind), Coverage(CountOf(steps), periodsInParts));
            countInAll += CountOf(steps);
            periodsInAll += periodsInParts;
        };
        put(Days(span), row.day);
        put(Evenings(span), row.evening);
        put(Nights(span), row.night);
        row.dayEveningNight = Of(
            DayEveningNightLevel(row.day.value, row.evening.value, row.night.value, request_.hours),
            Coverage(countInAll, periodsInAll));
    }

    const IndexRequest& request_;
    Clock clock_;
};

// What only the values tell. They come once, in their order.
class FromValues {
  public:
    FromValues(const IndexRequest& request, const Clock& clock, const Figures& figures)
        : request_(request), clock_(clock), figures_(figures) {}

    bool IsNeeded() const { return request_.threshold || !request_.percentages.empty(); }

    /// False when the values cannot be read. Values lie from `first` to `last`.
    bool Put(Mersola& store, const Span& span, long first, long last, IndexRow& row) {
        distribution_.Clear();
        std::int64_t rises = 0, above = 0;
        const std::int64_t begin = std::max<std::int64_t>(clock_.From(span.start), first);
        const std::int64_t end =
            std::min<std::int64_t>(clock_.From(span.end), std::int64_t{last} + 1);
        for (std::int64_t at = begin; at < end; at += kBlock) {
            const int count = static_cast<int>(std::min<std::int64_t>(kBlock, end - at));
            values_.resize(static_cast<std::size_t>(count));
            if (store.GetStoredData(values_.data(), static_cast<int>(at), count, request_.band, 1,
                                    nullptr) != count)
                return false;
            for (const double value : values_) {
                const bool counts = std::isfinite(value);
                const bool isAbove = counts && request_.threshold && value > *request_.threshold;
                rises += isAbove && !isAbove_;
                above += isAbove;
                isAbove_ = isAbove;
                if (counts && !request_.percentages.empty()) distribution_.Add(value);
            }
        }
        const double coverage = row.mean.coverage;
        row.exceedances = row.secondsAbove = {kNothing, coverage};
        if (request_.threshold) {
            row.exceedances = figures_.Of(static_cast<double>(rises), coverage);
            row.secondsAbove =
                figures_.Of(static_cast<double>(above * clock_.length) / 1000, coverage);
        }
        for (const double percentage : request_.percentages) {
            row.percentiles.push_back(figures_.Of(
                distribution_.IsEmpty() ? kNothing : distribution_.ExceededFor(percentage),
                coverage));
        }
        return true;
    }

  private:
    static constexpr std::int64_t kBlock = 1 << 16;

    const IndexRequest& request_;
    Clock clock_;
    const Figures& figures_;
    Distribution distribution_;
    std::vector<double> values_;
    bool isAbove_ = false;
};

bool IsAnswerable(const IndexRequest& request) {
    return request.from.IsValid() && request.to.IsValid() && request.hours.IsValid() &&
           (request.to - request.from).GetTotalMilliseconds() > 0 &&
           (!request.threshold || std::isfinite(*request.threshold)) &&
           (request.kind != ValueKind::Percentile || request.percentages.empty()) &&
           std::ranges::all_of(request.percentages,
                               [](double share) { return share >= 0 && share <= 100; });
}

}  // namespace

int Mersola::GetIndices(std::vector<IndexRow>& out, const IndexRequest& request) try {
    out.clear();
    CTimeEx origin;
    CTimeSpanEx length;
    GetTrigTime(origin);
    GetRealPrdLength(length);
    if (!IsAnswerable(request) || !origin.IsValid() || length.GetTotalMilliseconds() <= 0) return 0;
    const Clock clock{MillisecondsOf(origin), length.GetTotalMilliseconds()};
    const Figures figures(request, clock);
    const auto bounds = Boundaries(MillisecondsOf(request.from), MillisecondsOf(request.to),
                                   request.step, kMostRows + 1);
    if (bounds.size() > kMostRows + 1) return 0;
    std::vector<Span> spans;
    for (std::size_t i = 0; i + 1 < bounds.size(); ++i)
        spans.push_back({bounds[i], bounds[i + 1]});
    std::vector<Milliseconds> times = bounds;
    for (const Span& span : spans) {
        if (!figures.HasParts(span)) continue;
        for (const auto& parts :
             {figures.Days(span), figures.Evenings(span), figures.Nights(span)}) {
            for (const Span& part : parts)
                times.insert(times.end(), {part.start, part.end});
        }
    }
    Periods periods(clock, std::move(times));
    if (!periods.Read(*this, request)) return 0;
    long first = 0, last = kNone;
    FromValues fromValues(request, clock, figures);
    // That no value is stored cannot be the reason then.
    if (fromValues.IsNeeded() && !GetStoredPeriods(first, last) && !periods.AreEmpty()) return 0;
    for (const Span& span : spans) {
        out.push_back(figures.Row(periods, span));
        if (fromValues.IsNeeded() && !fromValues.Put(*this, span, first, last, out.back())) {
            out.clear();
            return 0;
        }
    }
    return 1;
} catch (const std::bad_alloc&) {
    out.clear();
    return 0;
}
