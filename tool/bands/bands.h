// The 1/3-octave bands of IEC 61260-1 (base ten).
#pragma once

#include <span>
#include <string_view>

namespace mersola::acoustics {

// Frequencies in hertz. The mid frequency is exact (10^(number/10)), the name and the nominal
// frequency are rounded: the band named "1.25 kHz" is band 31 with its middle at 1258.9 Hz.
struct Band {
    int number;
    double mid;
    double lower;
    double upper;
    double nominal;
    std::string_view name;
};

// Every band that has a name, in ascending order: numbers 1 ("1.25 Hz") to 50 ("100 kHz").
std::span<const Band> NamedBands();

// Those of them that are analysed, numbers 14 ("25 Hz") to 43 ("20 kHz").
std::span<const Band> AllBands();

// The named band whose nominal frequency a text gives: "1.25 kHz", "1.25k", "1250Hz", "1250", with
// a point or a comma and in any case. Null for any other text, and for one that can be read in two
// ways, as "1.250".
const Band* FindBand(std::string_view text);

// The leading part of AllBands() that a signal of this sample rate carries: the bands whose upper
// edge is at most half the rate. So 48 kHz carries all 30; 44.1 kHz ends at the 16 kHz band,
// because the 20 kHz band reaches up to 22.4 kHz.
std::span<const Band> CarriedBands(double sampleRate);

}  // namespace mersola::acoustics
