// Integers of a few bits each, one behind the other, the first in the lowest bits.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "bytes.h"

namespace mersola::packed {

/// Up to so many bits, a number lies within eight bytes wherever it starts. Wider ones take 64.
inline constexpr unsigned kWidestPacked = 57;

constexpr unsigned WidthOf(std::uint64_t greatest) {
    const auto width = static_cast<unsigned>(std::bit_width(greatest));
    return width <= kWidestPacked ? width : 64;
}

constexpr bool IsWidth(unsigned width) {
    return width <= kWidestPacked || width == 64;
}

constexpr std::size_t PackedSize(std::size_t count, unsigned width) {
    return (count * width + 7) / 8;
}

/// Appends the numbers, of which none has more bits than width.
inline void Pack(const std::uint64_t* numbers, std::size_t count, unsigned width,
                 std::string& out) {
    const std::size_t before = out.size();
    out.resize(before + PackedSize(count, width));
    auto* at = reinterpret_cast<std::byte*>(out.data() + before);
    if (width == 64) {
        for (std::size_t i = 0; i < count; ++i)
            StoreLittle(numbers[i], at + 8 * i);
        return;
    }
    std::uint64_t gathered = 0;
    unsigned fill = 0;
    for (std::size_t i = 0; i < count; ++i) {
        gathered |= numbers[i] << fill;
        fill += width;
        if (fill >= 64) {
            StoreLittle(gathered, at);
            at += 8;
            fill -= 64;
            gathered = numbers[i] >> (width - fill);
        }
    }
    StoreLittle(gathered, at, (fill + 7) / 8);
}

/// Reads count numbers. Loads up to kSlack bytes beyond them.
inline void Unpack(const std::byte* from, std::size_t count, unsigned width,
                   std::uint64_t* numbers) {
    if (width == 64) {
        for (std::size_t i = 0; i < count; ++i)
            numbers[i] = LoadLittle(from + 8 * i);
        return;
    }
    const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    std::size_t bit = 0;
    for (std::size_t i = 0; i < count; ++i, bit += width) {
        numbers[i] = (LoadLittle(from + bit / 8) >> (bit % 8)) & mask;
    }
}

}  // namespace mersola::packed
