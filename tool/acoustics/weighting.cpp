// The analytic weighting curve.
#include "weighting.h"

namespace mersola::acoustics {
namespace {

// The weighting's two double and two single poles, not yet brought to 1 at 1 kHz.
double RawAWeight(double frequency) {
    constexpr double kPole1 = 20.598997, kPole2 = 107.65265, kPole3 = 737.86223, kPole4 = 12194.217;
    const double square = frequency * frequency;
    const double outer =
        square * square / ((square + kPole1 * kPole1) * (square + kPole4 * kPole4));
    return outer * outer / ((square + kPole2 * kPole2) * (square + kPole3 * kPole3));
}

}  // namespace

double AWeight(double frequency) {
    static const double atOneKilohertz = RawAWeight(1000.0);
    return RawAWeight(frequency) / atOneKilohertz;
}

}  // namespace mersola::acoustics
