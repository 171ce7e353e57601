// Rounding to a step, for databases that want less room rather than every digit.
#pragma once

#include <span>
#include <vector>

namespace mersola::packed {

/// Rounds the finite values but -100, which stands for silence. Raises std::invalid_argument if
/// the step is none: see IsResolution.
std::vector<double> Rounded(std::span<const double> values, double step);

}  // namespace mersola::packed
