// The names and numbers of third-octave bands.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tool/bands/bands.h"

namespace mersola::acoustics {
namespace {

TEST(Bands, CarryTheirNominalNames) {
    for (const Band& band : AllBands()) {
        const double unit = band.name.ends_with(" kHz") ? 1000 : 1;
        EXPECT_NEAR(std::stod(std::string(band.name)) * unit / band.mid, 1, 0.02) << band.name;
        EXPECT_NEAR(10 * std::log10(band.mid), band.number, 1e-9) << band.name;
    }
    for (const Band& band : NamedBands())
        EXPECT_EQ(FindBand(band.name), &band);
    for (const char* text : {"31.5", "31,5", "31.5Hz", "31.50 hz"})
        EXPECT_TRUE(FindBand(text) && FindBand(text)->number == 15) << text;
    for (const char* text : {"1.25k", "1,25 kHz", "1250", "1250 HZ", "1.250 kHz"})
        EXPECT_TRUE(FindBand(text) && FindBand(text)->number == 31) << text;
    for (const char* text : {"", "k", "Hz", "1", "31", "35 Hz", "1.250", "40 Hz Leq", "40 dB",
                             "-40", "4e1", "31.", ".", "1.2.5", "1e400", " 40"})
        EXPECT_EQ(FindBand(text), nullptr) << text;
    EXPECT_EQ(CarriedBands(44100).back().name, "16 kHz");
}

}  // namespace
}  // namespace mersola::acoustics
