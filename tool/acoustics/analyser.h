// Streaming 1/3-octave analysis of one channel of sound: levels for each period of equal length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "bands/bands.h"

namespace mersola::acoustics {

// Levels are in dB re 20 uPa. None is below this one, which digital silence reads.
inline constexpr double kFloorLevel = -90;

struct PeriodLevels {
    // One value for each carried band, lowest band first: energy mean, greatest and least.
    std::vector<double> leq;
    std::vector<double> lmax;
    std::vector<double> lmin;

    double laeq = kFloorLevel;     // A-weighted energy mean
    std::vector<double> exceeded;  // A-weighted level exceeded for each percentage of the time

    // False when a window of this period met a sample that is not a finite number (or whose
    // square is not). All levels are kFloorLevel then, and mean nothing.
    bool valid = true;
};

// How it measures. The signal is read through Hann windows that overlap: windows of about 0.7 s, at
// most 1/8 s apart, for low frequencies, and of about 0.09 s, at most 1/64 s apart, for high ones.
// Between 125 Hz and 500 Hz the former pass into the latter. Each window stands for the short block
// of the period at its centre, so
//  - Leq and LAeq are energy means over the period's blocks, Lmax and Lmin the extremes among them;
//  - Ln is the level exceeded n % of the time: of the blocks' A-weighted levels in falling order,
//    the one n % of the way from the first to the last, neighbours joined by a straight line in
//    dB. L0 is the greatest level, L100 the least, L50 the median;
//  - a sound is spread by half a window into the periods beside its own.
// At the two ends of the signal the windows are moved inside it. A steady sound thus reads right
// from the first period to the last, but of a passing sound within half a window of an end the
// energy is kept only roughly. A signal shorter than a window is measured through one window as
// long as the signal; bands narrower than about four times the reciprocal of its duration are not
// told apart then.
//
// Period k runs from sample round(k * period * rate) to the next one's start: periods that are not
// a whole number of samples long do not drift. Constant pressure (0 Hz) is in no level.
//
// Samples are kept for two long windows at most, plus what one call brings. Analysers share nothing
// and may run on different threads.
class Analyser {
  public:
    // sampleRate: in hertz, 1 Hz to 1 MHz. periodMs: in milliseconds, 1 to 10^12 samples.
    // percentages: the n of each Ln wanted, 0 to 100, in any order.
    // Raises std::invalid_argument for anything else.
    Analyser(double sampleRate, double periodMs, std::vector<double> percentages = {});
    ~Analyser();
    Analyser(const Analyser&) = delete;
    Analyser& operator=(const Analyser&) = delete;

    // The bands behind the values of PeriodLevels, in their order.
    std::span<const Band> Bands() const { return bands_; }

    // Takes the next samples, in pascal, and returns the periods that became measurable, in order.
    // That happens up to half a window after a period's end. How the signal is cut into calls does
    // not change a result. Raises std::logic_error after Finish.
    std::vector<PeriodLevels> Add(std::span<const double> samples);

    // Ends the signal and returns the remaining complete periods; a period that the signal does
    // not fill is dropped.
    std::vector<PeriodLevels> Finish();

  private:
    class Tier;

    // Powers of one band over the blocks of a period.
    struct Tally {
        double mean = 0;
        double max = 0;
        double min = std::numeric_limits<double>::infinity();
    };

    void MakeTiers(std::size_t longLength, std::size_t shortLength);
    std::int64_t Boundary(std::int64_t period) const;
    double BlockCentre(std::size_t index, std::size_t count) const;
    std::int64_t FrameStart(double centre, const Tier& tier) const;
    std::vector<PeriodLevels> Drain();
    std::span<const double> MeasureFrame(double centre, Tier& tier) const;
    void MeasureBlock();
    void StartPeriod();
    PeriodLevels ClosePeriod();

    std::span<const Band> bands_;
    double sampleRate_;
    double samplesPerPeriod_;
    std::vector<double> percentages_;

    std::size_t longBlocks_;   // in a period
    std::size_t shortBlocks_;  // in a long block
    std::unique_ptr<Tier> long_;
    std::unique_ptr<Tier> short_;

    std::vector<double> buffer_;  // the newest samples, up to received_
    std::int64_t received_ = 0;
    bool finished_ = false;

    // The period under way.
    std::int64_t period_ = 0;
    std::size_t longBlock_ = 0;
    std::vector<Tally> tallies_;
    std::vector<double> aPowers_;
};

}  // namespace mersola::acoustics
