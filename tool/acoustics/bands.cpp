// The table of bands and the analytic A weighting curve.
#include "bands.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mersola::acoustics {
namespace {

constexpr int kFirstNumber = 14;

constexpr std::array<std::string_view, 30> kNames{
    "25 Hz",   "31.5 Hz",  "40 Hz",   "50 Hz",    "63 Hz",   "80 Hz",    "100 Hz", "125 Hz",
    "160 Hz",  "200 Hz",   "250 Hz",  "315 Hz",   "400 Hz",  "500 Hz",   "630 Hz", "800 Hz",
    "1 kHz",   "1.25 kHz", "1.6 kHz", "2 kHz",    "2.5 kHz", "3.15 kHz", "4 kHz",  "5 kHz",
    "6.3 kHz", "8 kHz",    "10 kHz",  "12.5 kHz", "16 kHz",  "20 kHz"};

std::array<Band, kNames.size()> MakeBands() {
    const double halfBand = std::pow(10.0, 0.05);
    std::array<Band, kNames.size()> bands{};
    for (std::size_t i = 0; i < bands.size(); ++i) {
        const int number = kFirstNumber + static_cast<int>(i);
        const double mid = std::pow(10.0, number / 10.0);
        bands[i] = {number, mid, mid / halfBand, mid * halfBand, kNames[i]};
    }
    return bands;
}

// The weighting's two double and two single poles, not yet brought to 1 at 1 kHz.
double RawAWeight(double frequency) {
    constexpr double kPole1 = 20.598997, kPole2 = 107.65265, kPole3 = 737.86223, kPole4 = 12194.217;
    const double square = frequency * frequency;
    const double outer =
        square * square / ((square + kPole1 * kPole1) * (square + kPole4 * kPole4));
    return outer * outer / ((square + kPole2 * kPole2) * (square + kPole3 * kPole3));
}

}  // namespace

std::span<const Band> AllBands() {
    static const auto bands = MakeBands();
    return bands;
}

std::span<const Band> CarriedBands(double sampleRate) {
    const auto bands = AllBands();
    const auto end =
        std::ranges::find_if(bands, [&](const Band& band) { return band.upper > sampleRate / 2; });
    return {bands.begin(), end};
}

double AWeight(double frequency) {
    static const double atOneKilohertz = RawAWeight(1000.0);
    return RawAWeight(frequency) / atOneKilohertz;
}

}  // namespace mersola::acoustics
