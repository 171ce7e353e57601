// What the recorder measures: its functions and bands, under the identifiers that it stores.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <mersola/mersola.h>

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
inline constexpr std::array kPercentages{10.0F, 50.0F, 90.0F};

/// A level exceeded for a part of the time, as a function: "L10" and its like.
struct PercentileFunction {
    std::int32_t id;
    std::string name;
};

/// The functions of percentiles, in their order. One that the database has no name for yet gets a
/// free identifier and its name. Raises _com_error.
std::vector<PercentileFunction> RegisterPercentiles(Mersola& store,
                                                    std::span<const float> percentages);

/// The band of LAeq and the percentiles. A third-octave band has its own number.
inline constexpr int kBroadband = 0;
inline constexpr std::string_view kBroadbandName = "broadband";

/// The type of an instrument that the recorder registers: nothing special.
inline constexpr const char* kPlainInstrument = "0";

/// The code of third octaves among the bandwidths.
inline constexpr int kThirdOctaves = 3;

}  // namespace mersola::tool
