#include "resolution.h"

#include <cmath>
#include <optional>
#include <stdexcept>

#include "block.h"

namespace mersola::packed {
namespace {

constexpr double kSilence = -100;
constexpr double kMostExact = 0x1p53;  // integers up to it are doubles

/// units / power
struct Step {
    double units;
    double power;
};

std::optional<Step> StepOf(double step) {
    double power = 1;
    for (int places = 0; places <= 6; ++places, power *= 10) {
        const double units = std::round(step * power);
        if (units >= 1 && units < 1e9 && units / power == step) return Step{units, power};
    }
    return std::nullopt;
}

}  // namespace

bool IsResolution(double step) {
    return StepOf(step).has_value();
}

std::vector<double> Rounded(std::span<const double> values, double step) {
    const auto parts = StepOf(step);
    if (!parts) throw std::invalid_argument("a resolution is a decimal of up to six places");
    std::vector<double> rounded(values.begin(), values.end());
    for (double& value : rounded) {
        const double units = std::round(value / step) * parts->units;
        // Also false for NaN; what is beyond has no digits to spare.
        if (value == kSilence || !(std::abs(units) <= kMostExact)) continue;
        value = (units + 0.0) / parts->power;  // no -0
    }
    return rounded;
}

}  // namespace mersola::packed
