// What names of functions say.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <mersola/indices.h>

namespace mersola {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<ValueKind> LevelKindOf(std::string_view name) {
    const auto skip = [&](std::string_view letters) {
        if (!name.empty() && letters.find(name.front()) != letters.npos) name.remove_prefix(1);
    };
    name.remove_prefix(1);  // the L
    skip("ABCDGZ");
    skip("FSI");
    if (!name.empty() && std::ranges::all_of(name, [](char c) { return IsDigit(c) || c == '.'; }))
        return IsDigit(name.front()) ? std::optional(ValueKind::Percentile) : std::nullopt;
    for (const std::string_view extreme : {"MAX", "MIN", "PEAK"}) {
        if (name == extreme) return ValueKind::ExtremeLevel;
    }
    const bool isEquivalent = name.starts_with("EQ");
    name.remove_prefix(std::min<std::size_t>(name.size(), 2));
    const bool goesOn = !name.empty() && name.front() >= 'A' && name.front() <= 'Z';
    return isEquivalent && !goesOn ? std::optional(ValueKind::Level) : std::nullopt;
}

}  // namespace

std::optional<ValueKind> ValueKindOf(const CString& functionName) {
    std::string name(functionName.View());
    for (char& c : name) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    for (const std::string_view arithmetic :
         {"TEMPERATURE", "HUMIDITY", "WIND SPEED", "AIR PRESSURE"}) {
        if (name == arithmetic) return ValueKind::Arithmetic;
    }
    if (name.ends_with("RMS")) return ValueKind::RootMeanSquare;
    return name.starts_with('L') ? LevelKindOf(name) : std::nullopt;
}

}  // namespace mersola
