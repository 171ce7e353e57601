// Means and extremes.
#include "thinned.h"

#include <algorithm>
#include <cmath>

#include "catalogue/selection.h"

namespace mersola::tool {

void Thinned::Add(float value) {
    if (value == kMissing || !std::isfinite(value)) {
        hasMissing_ = true;
        return;
    }
    ++count_;
    lowest_ = std::min(lowest_, value);
    highest_ = std::max(highest_, value);
    sum_ += isLevel_ ? std::pow(10, double{value} / 10) : double{value};
}

double Thinned::Mean() const {
    const double mean = isLevel_ ? 10 * std::log10(sum_ / count_) : sum_ / count_;
    // Rounding, and numbers that are levels in name only, must not lead out of the range.
    return std::clamp(mean, double{lowest_}, double{highest_});
}

}  // namespace mersola::tool
