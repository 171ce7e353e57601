// Round numbers.
#include "value_axis.h"

#include <algorithm>
#include <cmath>

#include "basics/times_text.h"

namespace mersola::tool {

ValueAxis::ValueAxis(double lowest, double highest, double least, int pixels) {
    const double widened = std::max(least - (highest - lowest), 0.0) / 2;
    const double span = highest - lowest + 2 * widened;
    const int ticks = std::clamp(pixels / 30, 2, 12);
    const double power = std::pow(10, std::floor(std::log10(span / ticks)));
    step = power * 10;
    for (const int digit : {5, 2, 1}) {
        if (power * digit * ticks >= span) step = power * digit;
    }
    low = std::floor((lowest - widened) / step) * step;
    high = std::ceil((highest + widened) / step) * step;
}

ValueAxis ValueAxis::Between(double low, double high, int pixels) {
    ValueAxis axis(low, high, 0, pixels);
    axis.low = low;
    axis.high = high;
    return axis;
}

std::string ValueAxis::Range() const {
    return "[" + NumberText(low) + ":" + NumberText(high) + "]";
}

double LeastSpan(bool isLevel, double highest) {
    return isLevel ? 10 : std::max(std::abs(highest) / 10, 1e-9);
}

}  // namespace mersola::tool
