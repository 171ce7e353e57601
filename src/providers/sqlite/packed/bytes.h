// Numbers as bytes, the least significant first, and reading them from bytes that may be anything.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string>

#include "block.h"

namespace mersola::packed {

inline std::uint64_t LoadLittle(const std::byte* at) {
    if constexpr (std::endian::native == std::endian::little) {
        std::uint64_t number;
        std::memcpy(&number, at, sizeof number);
        return number;
    } else {
        std::uint64_t number = 0;
        for (unsigned i = 0; i < 8; ++i)
            number |= std::to_integer<std::uint64_t>(at[i]) << (8 * i);
        return number;
    }
}

inline void StoreLittle(std::uint64_t number, std::byte* at, std::size_t size = 8) {
    if (std::endian::native == std::endian::little && size == 8) {
        std::memcpy(at, &number, sizeof number);
    } else {
        for (std::size_t i = 0; i < size; ++i)
            at[i] = static_cast<std::byte>(number >> (8 * i));
    }
}

/// Small numbers of either sign as small numbers: 0, -1, 1, -2 become 0, 1, 2, 3.
constexpr std::uint64_t ZigZag(std::int64_t number) {
    return (static_cast<std::uint64_t>(number) << 1) ^ static_cast<std::uint64_t>(number >> 63);
}

constexpr std::int64_t UnZigZag(std::uint64_t number) {
    return static_cast<std::int64_t>((number >> 1) ^ (~(number & 1) + 1));
}

inline void PutByte(unsigned number, std::string& out) {
    out += static_cast<char>(number);
}

/// Seven bits a byte; the top bit says that more follow.
inline void PutVarint(std::uint64_t number, std::string& out) {
    for (; number >= 0x80; number >>= 7)
        PutByte(static_cast<unsigned>(number & 0x7f) | 0x80, out);
    PutByte(static_cast<unsigned>(number), out);
}

inline void PutLittle(std::uint64_t number, std::string& out) {
    std::byte bytes[8];
    StoreLittle(number, bytes);
    out.append(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

/// After the bytes of a reader, so many more can be loaded: unpacking takes eight at a time.
inline constexpr std::size_t kSlack = 8;

/// Reads from the front. Raises DamagedBlock where bytes are missing.
class ByteReader {
  public:
    explicit ByteReader(std::span<const std::byte> bytes) : rest_(bytes) {}

    std::size_t Left() const { return rest_.size(); }

    const std::byte* Take(std::size_t size) {
        if (size > rest_.size()) throw DamagedBlock("it ends too early");
        const std::byte* at = rest_.data();
        rest_ = rest_.subspan(size);
        return at;
    }

    unsigned Byte() { return std::to_integer<unsigned>(*Take(1)); }

    std::uint64_t Little() { return LoadLittle(Take(8)); }

    std::uint64_t Varint() {
        std::uint64_t number = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            const unsigned byte = Byte();
            number |= std::uint64_t{byte & 0x7f} << shift;
            if (byte < 0x80) return number;
        }
        throw DamagedBlock("a number has no end");
    }

    std::int64_t Signed() { return UnZigZag(Varint()); }

    /// The difference of two numbers of 32 bits.
    std::int64_t Difference() { return UnZigZag(Size(std::uint64_t{1} << 33)); }

    std::size_t Size(std::size_t most) {
        const std::uint64_t number = Varint();
        if (number > most) throw DamagedBlock("a size is too large");
        return static_cast<std::size_t>(number);
    }

  private:
    std::span<const std::byte> rest_;
};

inline std::int32_t Narrow32(std::int64_t number) {
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max()) {
        throw DamagedBlock("a number does not fit into 32 bits");
    }
    return static_cast<std::int32_t>(number);
}

}  // namespace mersola::packed
