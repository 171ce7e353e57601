// What the recorder measures: its functions and bands, under the identifiers that it stores.
#pragma once

#include <array>
#include <string_view>

#include "bands.h"

namespace mersola::tool {

enum FunctionId : int { kLeq = 1, kLaeq, kLmax, kLmin, kL10, kL50, kL90 };

struct Function {
    FunctionId id;
    std::string_view name;
};
inline constexpr std::array<Function, 7> kFunctions{{{kLeq, "Leq"},
                                                     {kLaeq, "LAeq"},
                                                     {kLmax, "Lmax"},
                                                     {kLmin, "Lmin"},
                                                     {kL10, "L10"},
                                                     {kL50, "L50"},
                                                     {kL90, "L90"}}};

/// What kL10 and the ones behind it are exceeded for, in per cent of the time.
inline constexpr std::array kPercentages{10, 50, 90};

/// The band of LAeq and the percentiles. A third-octave band has its own number.
inline constexpr int kBroadband = 0;
inline constexpr std::string_view kBroadbandName = "broadband";

/// The code of third octaves among the bandwidths.
inline constexpr int kThirdOctaves = 3;

/// The frequency in a band's name, in hertz.
double NominalFrequency(const acoustics::Band& band);

}  // namespace mersola::tool
