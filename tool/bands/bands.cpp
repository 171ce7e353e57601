// The table of bands.
#include "bands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>

namespace mersola::acoustics {
namespace {

constexpr int kFirstNumber = 1, kFirstAnalysed = 14, kLastAnalysed = 43;

constexpr std::array<std::string_view, 50> kNames{
    "1.25 Hz",  "1.6 Hz",  "2 Hz",     "2.5 Hz", "3.15 Hz",  "4 Hz",    "5 Hz",     "6.3 Hz",
    "8 Hz",     "10 Hz",   "12.5 Hz",  "16 Hz",  "20 Hz",    "25 Hz",   "31.5 Hz",  "40 Hz",
    "50 Hz",    "63 Hz",   "80 Hz",    "100 Hz", "125 Hz",   "160 Hz",  "200 Hz",   "250 Hz",
    "315 Hz",   "400 Hz",  "500 Hz",   "630 Hz", "800 Hz",   "1 kHz",   "1.25 kHz", "1.6 kHz",
    "2 kHz",    "2.5 kHz", "3.15 kHz", "4 kHz",  "5 kHz",    "6.3 kHz", "8 kHz",    "10 kHz",
    "12.5 kHz", "16 kHz",  "20 kHz",   "25 kHz", "31.5 kHz", "40 kHz",  "50 kHz",   "63 kHz",
    "80 kHz",   "100 kHz"};

// Nothing for a unit that is none.
std::optional<double> FactorOf(std::string_view unit) {
    unit.remove_prefix(std::min(unit.find_first_not_of(' '), unit.size()));
    std::string lower(unit);
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    });
    if (lower.empty() || lower == "hz") return 1;
    if (lower == "k" || lower == "khz") return 1000;
    return std::nullopt;
}

std::optional<double> FrequencyIn(std::string_view text) {
    std::string number(text.substr(0, text.find_first_not_of("0123456789.,")));
    const auto factor = FactorOf(text.substr(number.size()));
    if (!factor) return std::nullopt;
    if (const auto mark = number.find_first_of(".,"); mark != number.npos) {
        const auto digits = number.size() - mark - 1;
        const bool mayPartThousands = digits > 2 && *factor == 1;
        if (digits < 1 || mayPartThousands) return std::nullopt;
        number[mark] = '.';
    }
    double frequency = 0;
    const char* const end = number.data() + number.size();
    const auto parsed = std::from_chars(number.data(), end, frequency);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return frequency * *factor;
}

std::array<Band, kNames.size()> MakeBands() {
    const double halfBand = std::pow(10.0, 0.05);
    std::array<Band, kNames.size()> bands{};
    for (std::size_t i = 0; i < bands.size(); ++i) {
        const int number = kFirstNumber + static_cast<int>(i);
        const double mid = std::pow(10.0, number / 10.0);
        bands[i] = {
            number,   mid, mid / halfBand, mid * halfBand, FrequencyIn(kNames[i]).value_or(0),
            kNames[i]};
    }
    return bands;
}

}  // namespace

std::span<const Band> NamedBands() {
    static const auto bands = MakeBands();
    return bands;
}

std::span<const Band> AllBands() {
    return NamedBands().subspan(kFirstAnalysed - kFirstNumber, kLastAnalysed - kFirstAnalysed + 1);
}

const Band* FindBand(std::string_view text) {
    const auto frequency = FrequencyIn(text);
    if (!frequency) return nullptr;
    const auto found = std::ranges::find_if(NamedBands(), [&](const Band& band) {
        return std::abs(band.nominal - *frequency) < band.nominal * 1e-9;
    });
    return found == NamedBands().end() ? nullptr : &*found;
}

std::span<const Band> CarriedBands(double sampleRate) {
    const auto bands = AllBands();
    const auto end =
        std::ranges::find_if(bands, [&](const Band& band) { return band.upper > sampleRate / 2; });
    return {bands.begin(), end};
}

}  // namespace mersola::acoustics
