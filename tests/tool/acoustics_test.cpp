// The acoustic analysis against the physics of tones, noise and silence.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <random>
#include <stdexcept>

#include "acoustics/analyser.h"
#include "acoustics/weighting.h"

namespace mersola::acoustics {
namespace {

constexpr double kRate = 48000;
constexpr std::size_t kOneKilohertz = 16;  // index of the band
const double kOnePascal = 20 * std::log10(1 / 20e-6);

std::vector<double> Sampled(double seconds, auto signalAt, double rate = kRate) {
    std::vector<double> samples;
    for (int i = 0; i < std::lround(seconds * rate); ++i)
        samples.push_back(signalAt(i / rate));
    return samples;
}

// At 1 Pa.
std::vector<double> Tone(double seconds, double frequency, double rate = kRate) {
    const auto phase = [=](double t) { return 2 * std::numbers::pi * frequency * t + 1; };
    return Sampled(
        seconds, [=](double t) { return std::numbers::sqrt2 * std::sin(phase(t)); }, rate);
}

std::vector<PeriodLevels> Analysed(const std::vector<double>& samples, double periodMs,
                                   double rate = kRate, std::vector<double> percentages = {}) {
    Analyser analyser(rate, periodMs, std::move(percentages));
    auto periods = analyser.Add(samples);
    std::ranges::move(analyser.Finish(), std::back_inserter(periods));
    return periods;
}

double Level(double power) {
    return 10 * std::log10(power);
}

double Power(const PeriodLevels& period) {
    double sum = 0;
    for (const double level : period.leq)
        sum += std::pow(10, level / 10);
    return sum;
}

TEST(Weighting, IsTheStandards) {
    for (const auto& [i, weight] :
         {std::pair(0u, -44.7), {6u, -19.1}, {13u, -3.2}, {20u, 1.3}, {26u, -2.5}, {29u, -9.3}})
        EXPECT_NEAR(Level(AWeight(AllBands()[i].mid)), weight, 0.06) << i;
}

TEST(Analysis, ReadsASteadyToneInItsBandAlikeInEveryPeriod) {
    for (std::size_t i = 0; i < AllBands().size(); ++i) {
        const double mid = AllBands()[i].mid;
        for (const auto& period : Analysed(Tone(2, mid), 125)) {
            for (const auto* levels : {&period.leq, &period.lmax, &period.lmin})
                EXPECT_NEAR(levels->at(i), kOnePascal, 0.1) << mid;
            EXPECT_NEAR(period.laeq, kOnePascal + Level(AWeight(mid)), 0.1) << mid;
            for (std::size_t k = 0; k < period.leq.size(); ++k)
                EXPECT_TRUE((k + 1 >= i && k <= i + 1) || period.leq[k] < kOnePascal - 40) << mid;
        }
    }
}

TEST(Analysis, SharesAToneOnABorderEvenly) {
    const double rate = 44100;
    for (std::size_t i = 1; i < CarriedBands(rate).size(); ++i) {
        const auto period = Analysed(Tone(1, AllBands()[i].lower, rate), 125, rate).at(3);
        EXPECT_NEAR(period.leq[i], kOnePascal + Level(0.5), 0.3) << i;
        EXPECT_NEAR(Level(Power(period)), kOnePascal, 0.05) << i;
    }
}

TEST(Analysis, WhiteNoiseRisesByADecibelABandAndIsWeightedAsTheBandsAre) {
    std::mt19937 random(7);
    std::normal_distribution<double> normal;
    const auto periods = Analysed(Sampled(60, [&](double) { return normal(random); }), 1000);
    double weighted = 0;
    double whole = 0;
    for (const PeriodLevels& period : periods)
        whole += std::pow(10, period.laeq / 10);
    for (std::size_t i = 0; i < AllBands().size(); ++i) {
        const Band& band = AllBands()[i];
        double power = 0;
        for (const PeriodLevels& period : periods)
            power += std::pow(10, period.leq[i] / 10);
        weighted += power * AWeight(band.mid);
        const double width = band.upper - band.lower;
        // Narrow bands hold few independent values: allow three deviations of their mean.
        const double spread = std::max(0.1, 3 * Level(std::numbers::e) / std::sqrt(60 * width));
        EXPECT_NEAR(Level(power / 60), kOnePascal + Level(width / (kRate / 2)), spread) << i;
    }
    EXPECT_NEAR(Level(whole), Level(weighted), 0.3);
}

TEST(Analysis, PeriodsTogetherHoldTheEnergyOfASoundThatComesAndGoes) {
    const auto samples = Sampled(12, [](double t) {
        const double pulse = std::exp(-100 * (t - 4.1) * (t - 4.1)) * std::sin(500 * t);
        return pulse + (t > 6.7 && t < 7.13 ? std::sin(9000 * t) : 0);
    });
    double squares = 0;
    for (const double pressure : samples)
        squares += pressure * pressure;
    for (const double periodMs : {100.0, 125.0, 1000.0}) {
        double power = 0;
        for (const auto& period : Analysed(samples, periodMs))
            power += Power(period);
        EXPECT_NEAR(Level(power), kOnePascal + Level(squares / kRate * 1000 / periodMs), 0.1);
    }
}

TEST(Analysis, TellsTheExtremesAndTheTimeAboveALevelWithinAPeriod) {
    // 1 Pa for the last 30 % of the second period, 0.01 Pa before.
    auto samples = Tone(2, 1000);
    for (std::size_t i = 0; i < 81600; ++i)
        samples[i] /= 100;
    const auto period = Analysed(samples, 1000, kRate, {10}).at(1);
    EXPECT_NEAR(period.lmax[kOneKilohertz], kOnePascal, 0.1);
    EXPECT_NEAR(period.lmin[kOneKilohertz], kOnePascal - 40, 0.1);
    EXPECT_NEAR(period.leq[kOneKilohertz], kOnePascal + Level(0.3), 0.3);
    EXPECT_NEAR(period.exceeded.at(0), kOnePascal, 0.1);

    // Eight blocks that rise by 1.25 dB each.
    const auto rising = Sampled(
        1, [](double t) { return std::pow(10, 4 * t) * std::sin(2000 * std::numbers::pi * t); });
    const auto exceeded = Analysed(rising, 125, kRate, {0, 10, 100}).at(4).exceeded;
    EXPECT_NEAR(exceeded[0] - exceeded[1], 0.1 * 7 * 1.25, 0.05);
    EXPECT_NEAR(exceeded[0] - exceeded[2], 7 * 1.25, 0.05);
}

TEST(Analysis, DoesNotDependOnHowTheSignalIsCutIntoCalls) {
    const auto samples = Sampled(5, [](double t) { return std::sin(3000 * t * t); });
    const auto whole = Analysed(samples, 333.3);
    Analyser analyser(kRate, 333.3);
    std::size_t done = 0;
    for (std::size_t at = 0; at < samples.size(); at += 375)
        for (const auto& period : analyser.Add(std::span(samples).subspan(at, 375)))
            EXPECT_EQ(period.leq, whole.at(done++).leq);
    EXPECT_GE(done, 13u);  // all but the end comes before Finish
    EXPECT_EQ(analyser.Finish().back().leq, whole.back().leq);
}

TEST(Analysis, MeasuresPeriodsOfAnyLengthAndSignalsShorterThanAWindow) {
    // 1000 periods of 733.3333 samples; with 733 each the last would end 333 samples early.
    EXPECT_EQ(Analysed(std::vector<double>(733333), 50.0 / 3, 44000).size(), 1000u);
    EXPECT_EQ(Analysed(std::vector<double>(733332), 50.0 / 3, 44000).size(), 999u);
    for (const std::size_t samples : {0u, 1u, 2u, 3u})
        EXPECT_EQ(Analysed(std::vector<double>(samples, 1.0), 1000 / kRate).size(), samples);
    const auto periods = Analysed(Tone(0.3, 1000), 50);
    EXPECT_EQ(periods.size(), 6u);
    for (const auto& period : periods)
        EXPECT_NEAR(period.leq[kOneKilohertz], kOnePascal, 0.1);
}

TEST(Analysis, SilenceAndConstantPressureReadTheFloor) {
    for (const double pressure : {0.0, 1e-3}) {
        const auto period = Analysed(std::vector<double>(96000, pressure), 500, kRate, {50}).at(0);
        for (const auto& levels : {period.leq, period.lmin, period.exceeded, {period.laeq}})
            EXPECT_EQ(levels, std::vector(levels.size(), kFloorLevel));
    }
}

TEST(Analysis, MarksOnlyThePeriodsThatMetASampleThatIsNotANumber) {
    for (const double bad : {std::nan(""), HUGE_VAL, -1e300}) {
        auto samples = Tone(4, 1000);
        samples[72000] = bad;
        for (int i = 0; const auto& period : Analysed(samples, 1000)) {
            EXPECT_EQ(period.valid, i != 1) << i;
            EXPECT_NEAR(period.leq[kOneKilohertz], i++ == 1 ? kFloorLevel : kOnePascal, 0.1);
        }
    }
}

TEST(Analysis, RefusesWhatItCannotMeasure) {
    for (const double bad : {0.0, -200.0, std::nan(""), 1e300}) {
        EXPECT_THROW(Analyser(bad, 1000), std::invalid_argument) << bad;
        EXPECT_THROW(Analyser(kRate, bad), std::invalid_argument) << bad;
    }
}

}  // namespace
}  // namespace mersola::acoustics
