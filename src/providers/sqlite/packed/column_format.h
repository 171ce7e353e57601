// What the bytes of a column mean.
#pragma once

#include <array>
#include <bit>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace mersola::packed {

static_assert(FLT_EVAL_METHOD == 0, "a quotient must be rounded to a double at once");

/// What the integers of a column stand for: the lowest five bits of its first byte.
enum Kind : unsigned {
    kDecimals = 0,       // and up to 6: d / 10^kind
    kFloatDecimals = 8,  // and up to 14: the same, rounded to a float
    kFloats = 16,        // the bits of floats, in the order of the numbers
    kDoubles = 17,       // the same of doubles
    kSplitFloats = 18,   // the fraction's bits, and above them which of the tops
    kSplitDoubles = 19,  // the same of doubles
};
inline constexpr unsigned kKindMask = 0x1f;

// The other bits of the first byte.
inline constexpr unsigned kDifferences = 0x20;   // zigzag, to the one before; else above the base
inline constexpr unsigned kExceptions = 0x40;    // some numbers stand apart, in full
inline constexpr unsigned kOneException = 0x80;  // and all of them are the same number

inline constexpr unsigned kMostPlaces = 6;
inline constexpr std::array<double, 8> kPowers = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 0};

constexpr bool IsDecimal(unsigned kind) {
    return kind < kFloats && kind % 8 <= kMostPlaces;
}
constexpr bool IsSplit(unsigned kind) {
    return kind == kSplitFloats || kind == kSplitDoubles;
}

/// A top is the sign and the exponent.
constexpr unsigned FractionBits(unsigned splitKind) {
    return splitKind == kSplitFloats ? 23 : 52;
}
inline constexpr std::size_t kMostTops = 32;

// Adding it leaves an integer in the lowest bits of a double, for those below 2^51.
inline constexpr double kShifter = 0x1.8p52;
inline constexpr auto kShifterBits = std::bit_cast<std::uint64_t>(kShifter);

/// An integer below 2^51 as a double: as a cast does it, which no vector instruction does.
constexpr double FromInteger(std::int64_t number) {
    return std::bit_cast<double>(static_cast<std::uint64_t>(number) + kShifterBits) - kShifter;
}

// Both ways: the bits of a floating-point number, and an integer in the order of the numbers.
constexpr std::int64_t Ordered(std::int64_t bits) {
    return bits ^ ((bits >> 63) & std::numeric_limits<std::int64_t>::max());
}
constexpr std::int32_t Ordered(std::int32_t bits) {
    return bits ^ ((bits >> 31) & std::numeric_limits<std::int32_t>::max());
}

}  // namespace mersola::packed
