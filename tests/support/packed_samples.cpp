#include "support/packed_samples.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace mersola::packed {
namespace {

int Below(std::mt19937_64& random, int end) {
    return static_cast<int>(random() % static_cast<unsigned>(end));
}

/// What one band holds.
class Values {
  public:
    explicit Values(std::mt19937_64& random)
        : random_(random),
          kind_(Below(random, 12)),
          outliers_(Below(random, 3) ? 0 : 10),
          power_(std::pow(10, Below(random, 7))),
          last_(Below(random, 90)) {}

    double Next() {
        if (Below(random_, 100) < outliers_) return Odd();
        const double noise = std::normal_distribution(50.0, 15.0)(random_);
        switch (kind_) {
            case 0:
                return noise;
            case 1:
                return static_cast<float>(noise);
            case 2:
                return static_cast<float>(Decimal(noise));
            case 3:
                return last_;
            case 4:
                return last_ += Below(random_, 3) - 1;
            case 5:
                return Below(random_, 8) ? last_ : last_ = noise;
            case 6:
                return std::bit_cast<double>(random_());
            case 7:
                return noise - 50;
            case 8:
                return std::ldexp(noise, Below(random_, 60) - 1080);  // subnormal or nearly
            case 9:
                return Decimal(std::ldexp(noise, Below(random_, 60)));
            default:
                return Decimal(noise);
        }
    }

  private:
    double Decimal(double value) const { return std::round(value * power_) / power_; }

    double Odd() {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        constexpr double kOdd[] = {-100, -100, -100, -0.0, 0, kInfinity, -kInfinity, 1e308, 5e-324};
        return kOdd[random_() % std::size(kOdd)];
    }

    std::mt19937_64& random_;
    int kind_;
    int outliers_;  // in per cent
    double power_;
    double last_;
};

std::vector<std::int32_t> Bands(std::mt19937_64& random) {
    const int most = Below(random, 20) == 0 ? 300 : 40;
    std::vector<std::int32_t> bands;
    std::int64_t band = Below(random, 4) ? 14 : std::numeric_limits<std::int32_t>::min();
    const int gaps = Below(random, 3);
    for (int left = 1 + Below(random, most); left > 0; --left) {
        bands.push_back(static_cast<std::int32_t>(band));
        band += gaps && Below(random, 4) == 0 ? 1 + Below(random, 1000) : 1;
    }
    if (Below(random, 8) == 0) bands.back() = std::numeric_limits<std::int32_t>::max();
    return bands;
}

std::vector<std::optional<std::string>> Statuses(std::mt19937_64& random) {
    std::vector<std::optional<std::string>> statuses(Below(random, 3) ? 1 : 1 + random() % 20);
    for (auto& status : statuses) {
        if (Below(random, 3)) status = std::string(random() % 30, "AVo"[random() % 3]);
    }
    if (Below(random, 10) == 0) statuses[0] = std::string(5000, 'x');
    return statuses;
}

}  // namespace

SeriesBlock RandomBlock(std::mt19937_64& random) {
    SeriesBlock block;
    const int offset = Below(random, 2) ? 0 : Below(random, kBlockPeriods);
    block.firstPeriod = (Below(random, 2000) - 1000) * kBlockPeriods + offset;
    block.periods =
        Below(random, 2) ? kBlockPeriods - offset : 1 + Below(random, kBlockPeriods - offset);
    block.bands = Bands(random);
    block.statuses = Statuses(random);
    const auto periods = static_cast<std::size_t>(block.periods);
    const std::size_t cells = block.bands.size() * periods;
    const bool gaps = Below(random, 3) == 0;
    if (gaps) block.states.assign(cells, kNumber);
    if (block.statuses.size() > 1) block.statusOf.assign(cells, 0);
    for (std::size_t band = 0; band < block.bands.size(); ++band) {
        Values values(random);
        const int share = gaps ? Below(random, 4) * 33 : 0;  // of cells without a number
        for (std::size_t cell = band * periods; cell < (band + 1) * periods; ++cell) {
            if (Below(random, 100) < share) block.states[cell] = random() % 2 ? kNoRow : kNull;
            const bool isNumber = block.states.empty() || block.states[cell] == kNumber;
            block.values.push_back(isNumber ? values.Next() : 0);
            if (!block.statusOf.empty() && Below(random, 4) == 0) {
                block.statusOf[cell] = static_cast<std::uint16_t>(random() % block.statuses.size());
            }
        }
        if (gaps && band > 0 && Below(random, 3) == 0 && !block.statusOf.empty()) {
            std::copy_n(block.statusOf.begin() + static_cast<std::ptrdiff_t>((band - 1) * periods),
                        periods,
                        block.statusOf.begin() + static_cast<std::ptrdiff_t>(band * periods));
        }
    }
    if (std::ranges::count(block.states, kNumber) == std::ssize(block.states)) block.states.clear();
    if (std::ranges::count(block.statusOf, 0) == std::ssize(block.statusOf)) block.statusOf.clear();
    return block;
}

PeriodRow RandomPeriod(std::mt19937_64& random) {
    PeriodRow row;
    row.statuses = Statuses(random);
    const bool nulls = Below(random, 3) == 0;
    std::vector<std::int32_t> bands = Bands(random);
    for (std::int32_t channel = -Below(random, 3); channel < 2; ++channel) {
        for (std::int32_t function = 1; function < 2 + Below(random, 6); ++function) {
            if (Below(random, 5) == 0) bands = Bands(random);
            Values values(random);
            for (const std::int32_t band : bands) {
                const bool isNull = nulls && Below(random, 4) == 0;
                const auto status = static_cast<std::uint16_t>(random() % row.statuses.size());
                row.values.push_back(
                    {channel, function, band, isNull, isNull ? 0 : values.Next(), status});
            }
        }
    }
    return row;
}

}  // namespace mersola::packed
