// Nominal frequencies.
#include "measured.h"

#include <charconv>

namespace mersola::tool {

double NominalFrequency(const acoustics::Band& band) {
    double number = 0;
    std::from_chars(band.name.data(), band.name.data() + band.name.size(), number);
    return band.name.ends_with("kHz") ? number * 1000 : number;
}

}  // namespace mersola::tool
