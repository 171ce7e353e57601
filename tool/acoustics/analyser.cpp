// The streaming analysis: places the windows, shares their spectra out among the bands and sums up
// each period.
#include "analyser.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "spectrum.h"
#include "weighting.h"

namespace mersola::acoustics {
namespace {

// A band is told from its neighbours when it is about four spectral lines wide. The long window
// gives that to the 25 Hz band, the short one, an eighth of it, to the 200 Hz band.
constexpr double kLongSeconds = 0.68;
constexpr double kShortSeconds = kLongSeconds / 8;

// Windows no further apart than a third of their length weigh every moment alike.
constexpr double kLongHop = 1.0 / 8;
constexpr double kShortHop = 1.0 / 64;

constexpr double kReferencePower = 20e-6 * 20e-6;

double Level(double power) {
    return power > 0 ? std::max(kFloorLevel, 10 * std::log10(power / kReferencePower))
                     : kFloorLevel;
}

// The part of the power at this frequency that is taken from the long windows; the rest comes from
// the short ones. A sharp cut would count a tone beside it twice or not at all, because the two
// kinds of window spread the tone differently.
double LongShare(double frequency) {
    constexpr double kLower = 125, kOctaves = 2;
    const double way = std::clamp(std::log2(frequency / kLower) / kOctaves, 0.0, 1.0);
    return 0.5 + 0.5 * std::cos(std::numbers::pi * way);
}

double ShortShare(double frequency) {
    return 1 - LongShare(frequency);
}

// How many blocks at most `hop` seconds long make up `seconds`.
std::size_t BlockCount(double seconds, double hop) {
    constexpr double kRounding = 1e-9;
    return static_cast<std::size_t>(std::max(1.0, std::ceil(seconds / hop - kRounding)));
}

// `levels` in falling order and not empty.
double Exceeded(std::span<const double> levels, double percentage) {
    const double position = percentage / 100 * static_cast<double>(levels.size() - 1);
    const auto index = static_cast<std::size_t>(position);
    const auto next = std::min(index + 1, levels.size() - 1);
    return std::lerp(levels[index], levels[next], position - static_cast<double>(index));
}

}  // namespace

// Windows of one length: their spectrum, and its sums for each band and for the A-weighted power.
class Analyser::Tier {
  public:
    // share(frequency): the part of the power there that this tier supplies.
    Tier(std::size_t length, double sampleRate, std::span<const Band> bands, double share(double))
        : spectrum_(length), lineWidth_(sampleRate / static_cast<double>(length)) {
        for (const Band& band : bands) {
            // A line's power is taken as spread evenly over its width.
            sums_.push_back(MakeSum([&](double frequency) {
                const double lower = frequency - lineWidth_ / 2;
                const double upper = std::min(frequency + lineWidth_ / 2, sampleRate / 2);
                const double overlap = std::min(upper, band.upper) - std::max(lower, band.lower);
                return overlap > 0 ? overlap / (upper - lower) * share(frequency) : 0;
            }));
        }
        sums_.push_back(
            MakeSum([&](double frequency) { return AWeight(frequency) * share(frequency); }));
        powers_.resize(sums_.size());
    }

    std::size_t Length() const { return spectrum_.Length(); }

    // The power in each band, and last the A-weighted one; valid until the next call.
    std::span<const double> Measure(std::span<const double> frame) {
        const auto lines = spectrum_.Powers(frame);
        std::ranges::transform(sums_, powers_.begin(), [&](const WeightedSum& sum) {
            const auto first = lines.begin() + static_cast<std::ptrdiff_t>(sum.first);
            return std::inner_product(sum.weights.begin(), sum.weights.end(), first, 0.0);
        });
        return powers_;
    }

  private:
    // Weights for the lines from `first` on; all others weigh nothing.
    struct WeightedSum {
        std::size_t first = 0;
        std::vector<double> weights;
    };

    template <typename Weight>
    WeightedSum MakeSum(Weight weight) const {
        WeightedSum sum;
        for (std::size_t k = 1; k < spectrum_.Lines(); ++k) {  // line 0 is the constant pressure
            const double value = weight(static_cast<double>(k) * lineWidth_);
            if (value <= 0) continue;
            if (sum.weights.empty()) sum.first = k;
            sum.weights.resize(k - sum.first);
            sum.weights.push_back(value);
        }
        return sum;
    }

    Spectrum spectrum_;
    double lineWidth_;
    std::vector<WeightedSum> sums_;
    std::vector<double> powers_;
};

Analyser::Analyser(double sampleRate, double periodMs, std::vector<double> percentages)
    : bands_(CarriedBands(sampleRate)),
      sampleRate_(sampleRate),
      samplesPerPeriod_(periodMs * sampleRate / 1000),
      percentages_(std::move(percentages)) {
    const auto isPercentage = [](double value) { return value >= 0 && value <= 100; };
    if (!(sampleRate >= 1 && sampleRate <= 1e6))
        throw std::invalid_argument("the sample rate is out of range");
    if (!(samplesPerPeriod_ >= 1 && samplesPerPeriod_ <= 1e12))
        throw std::invalid_argument("the period is out of range");
    if (!std::ranges::all_of(percentages_, isPercentage))
        throw std::invalid_argument("a percentage is not between 0 and 100");

    const double seconds = periodMs / 1000;
    longBlocks_ = BlockCount(seconds, kLongHop);
    shortBlocks_ = BlockCount(seconds / static_cast<double>(longBlocks_), kShortHop);
    MakeTiers(FastLength(kLongSeconds * sampleRate), FastLength(kShortSeconds * sampleRate));
    StartPeriod();
}

Analyser::~Analyser() = default;

std::vector<PeriodLevels> Analyser::Add(std::span<const double> samples) {
    if (finished_) throw std::logic_error("the signal has ended");
    buffer_.insert(buffer_.end(), samples.begin(), samples.end());
    received_ += static_cast<std::int64_t>(samples.size());
    auto done = Drain();
    // The windows still to come, one moved inside the signal's end among them, reach back over the
    // last long window's length and no further. Drop the rest, though not at every small call.
    if (buffer_.size() > 2 * long_->Length())
        buffer_.erase(buffer_.begin(),
                      buffer_.end() - static_cast<std::ptrdiff_t>(long_->Length()));
    return done;
}

std::vector<PeriodLevels> Analyser::Finish() {
    finished_ = true;
    // No window was measured yet if the signal is shorter than one.
    if (received_ > 0 && buffer_.size() < long_->Length())
        MakeTiers(buffer_.size(), std::min(buffer_.size(), short_->Length()));
    return Drain();
}

void Analyser::MakeTiers(std::size_t longLength, std::size_t shortLength) {
    long_ = std::make_unique<Tier>(longLength, sampleRate_, bands_, LongShare);
    short_ = std::make_unique<Tier>(shortLength, sampleRate_, bands_, ShortShare);
}

std::int64_t Analyser::Boundary(std::int64_t period) const {
    return std::llround(static_cast<double>(period) * samplesPerPeriod_);
}

double Analyser::BlockCentre(std::size_t index, std::size_t count) const {
    const auto start = static_cast<double>(Boundary(period_));
    const auto end = static_cast<double>(Boundary(period_ + 1));
    return start + (end - start) * (static_cast<double>(index) + 0.5) / static_cast<double>(count);
}

// Where the window around `centre` begins, moved inside the signal's ends as far as they are known.
std::int64_t Analyser::FrameStart(double centre, const Tier& tier) const {
    const auto length = static_cast<std::int64_t>(tier.Length());
    auto start = std::llround(centre - static_cast<double>(length) / 2);
    if (finished_) start = std::min<std::int64_t>(start, received_ - length);
    return std::max<std::int64_t>(start, 0);
}

// Measures the blocks whose samples have come.
std::vector<PeriodLevels> Analyser::Drain() {
    std::vector<PeriodLevels> done;
    const auto isMeasurable = [&] {
        if (finished_ && Boundary(period_ + 1) > received_) return false;
        // The short windows of a block lie inside its long one.
        const auto start = FrameStart(BlockCentre(longBlock_, longBlocks_), *long_);
        return start + static_cast<std::int64_t>(long_->Length()) <= received_;
    };
    while (isMeasurable()) {
        MeasureBlock();
        if (++longBlock_ < longBlocks_) continue;
        done.push_back(ClosePeriod());
        ++period_;
        StartPeriod();
    }
    return done;
}

// The powers of the window around `centre`.
std::span<const double> Analyser::MeasureFrame(double centre, Tier& tier) const {
    const auto offset = FrameStart(centre, tier) - (received_ - std::ssize(buffer_));
    return tier.Measure(
        std::span(buffer_).subspan(static_cast<std::size_t>(offset), tier.Length()));
}

// Measures one long block and the short ones in it.
void Analyser::MeasureBlock() {
    const auto low = MeasureFrame(BlockCentre(longBlock_, longBlocks_), *long_);
    const std::size_t count = longBlocks_ * shortBlocks_;
    for (std::size_t i = longBlock_ * shortBlocks_; i < (longBlock_ + 1) * shortBlocks_; ++i) {
        const auto high = MeasureFrame(BlockCentre(i, count), *short_);
        for (std::size_t band = 0; band < tallies_.size(); ++band) {
            const double power = low[band] + high[band];
            Tally& tally = tallies_[band];
            tally.mean += power / static_cast<double>(count);
            tally.max = std::max(tally.max, power);
            tally.min = std::min(tally.min, power);
        }
        aPowers_.push_back(low.back() + high.back());
    }
}

void Analyser::StartPeriod() {
    longBlock_ = 0;
    tallies_.assign(bands_.size(), Tally{});
    aPowers_.clear();
}

PeriodLevels Analyser::ClosePeriod() {
    const double aMean = std::accumulate(aPowers_.begin(), aPowers_.end(), 0.0) /
                         static_cast<double>(aPowers_.size());
    PeriodLevels levels;
    // Through its spectrum a sample that is not finite reaches every sum.
    levels.valid = std::isfinite(aMean);
    if (!levels.valid) {
        levels.leq = levels.lmax = levels.lmin = std::vector(bands_.size(), kFloorLevel);
        levels.exceeded.assign(percentages_.size(), kFloorLevel);
        return levels;
    }
    for (const Tally& tally : tallies_) {
        levels.leq.push_back(Level(tally.mean));
        levels.lmax.push_back(Level(tally.max));
        levels.lmin.push_back(Level(tally.min));
    }
    levels.laeq = Level(aMean);
    if (percentages_.empty()) return levels;
    std::vector<double> falling(aPowers_.size());
    std::ranges::transform(aPowers_, falling.begin(), Level);
    std::ranges::sort(falling, std::greater<>());
    for (const double percentage : percentages_)
        levels.exceeded.push_back(Exceeded(falling, percentage));
    return levels;
}

}  // namespace mersola::acoustics
