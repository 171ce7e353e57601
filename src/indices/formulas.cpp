// The formulas of ISO 1996-1 and of directive 2002/49/EC.
#include <cmath>
#include <limits>

#include <mersola/indices.h>

namespace mersola {

double DayEveningNightLevel(double day, double evening, double night, const DayParts& hours) {
    if (!hours.IsValid()) return std::numeric_limits<double>::quiet_NaN();
    const auto energy = [](int length, double level) { return length * std::pow(10, level / 10); };
    return 10 * std::log10((energy(hours.evening - hours.day, day) +
                            energy(hours.night - hours.evening, evening + 5) +
                            energy(24 - hours.night + hours.day, night + 10)) /
                           24);
}

double SoundExposureLevel(double equivalentLevel, double seconds) {
    return equivalentLevel + 10 * std::log10(seconds);
}

}  // namespace mersola
