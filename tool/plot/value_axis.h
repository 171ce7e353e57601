// The scale of an axis of values.
#pragma once

#include <string>

namespace mersola::tool {

/// Begins and ends at round numbers.
struct ValueAxis {
    double low;
    double high;
    double step;  ///< from tick to tick

    /// For an axis of so many pixels, which spans `least` at least.
    ValueAxis(double lowest, double highest, double least, int pixels);

    /// For an axis between limits that are asked for, which are kept as they are.
    static ValueAxis Between(double low, double high, int pixels);

    /// As a script for gnuplot has a range.
    std::string Range() const;
};

/// The least that is worth to be spanned, so that noise does not look like an event. `isLevel`: in
/// dB.
double LeastSpan(bool isLevel, double highest);

}  // namespace mersola::tool
