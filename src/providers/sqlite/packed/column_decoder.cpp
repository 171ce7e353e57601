#include <array>
#include <bit>
#include <cstdint>

#include "bit_packing.h"
#include "column_codec.h"
#include "column_format.h"

namespace mersola::packed {
namespace {

struct Header {
    unsigned mark = 0;
    unsigned kind = 0;
    unsigned width = 0;
    std::uint64_t base = 0;
    std::array<std::uint64_t, kMostTops> tops;
    std::size_t exceptions = 0;
    const std::byte* positions = nullptr;
    const std::byte* numbers = nullptr;
    const std::byte* packed = nullptr;
};

void ReadTops(ByteReader& reader, Header& header) {
    const unsigned fraction = FractionBits(header.kind);
    if (header.width < fraction) throw DamagedBlock("a width is out of range");
    const std::size_t count = reader.Size(kMostTops - 1) + 1;
    header.tops.fill(0);  // an index that is not there is not worth a test
    std::uint64_t top = 0;
    for (std::size_t i = 0; i < count; ++i) {
        top += reader.Varint();
        header.tops[i] = top << fraction;
    }
    if (header.width - fraction > 5) throw DamagedBlock("a width is out of range");
}

void ReadHeader(ByteReader& reader, std::size_t count, Header& header) {
    header.mark = reader.Byte();
    header.kind = header.mark & kKindMask;
    if (!IsDecimal(header.kind) && (header.kind < kFloats || header.kind > kSplitDoubles)) {
        throw DamagedBlock("a column is of a kind that is not known");
    }
    header.width = reader.Byte();
    if (!IsWidth(header.width)) throw DamagedBlock("a width is out of range");
    if (IsSplit(header.kind)) {
        ReadTops(reader, header);
    } else {
        header.base = static_cast<std::uint64_t>(reader.Signed());
    }
    if (header.mark & kExceptions) {
        header.exceptions = reader.Byte() + std::size_t{1};
        header.positions = reader.Take(header.exceptions);
        header.numbers = reader.Take(header.mark & kOneException ? 8 : 8 * header.exceptions);
    }
    header.packed = reader.Take(PackedSize(count, header.width));
}

using Integers = std::array<std::uint64_t, kMostInColumn>;

/// Turns what was packed into what it stands for.
void Integrate(const Header& header, std::size_t count, Integers& integers) {
    if (IsSplit(header.kind)) {
        const unsigned fraction = FractionBits(header.kind);
        const std::uint64_t mask = (std::uint64_t{1} << fraction) - 1;
        for (std::size_t i = 0; i < count; ++i) {
            integers[i] = header.tops[integers[i] >> fraction] | (integers[i] & mask);
        }
    } else if (header.mark & kDifferences) {
        std::uint64_t before = header.base;
        for (std::size_t i = 0; i < count; ++i) {
            before += static_cast<std::uint64_t>(UnZigZag(integers[i]));
            integers[i] = before;
        }
    } else {
        for (std::size_t i = 0; i < count; ++i)
            integers[i] += header.base;
    }
}

void ToValues(unsigned kind, const Integers& integers, std::span<double> values) {
    const std::size_t count = values.size();
    const double power = kPowers[kind % 8];
    if (kind < kFloatDecimals) {
        for (std::size_t i = 0; i < count; ++i) {
            values[i] = FromInteger(static_cast<std::int64_t>(integers[i])) / power;
        }
    } else if (kind < kFloats) {
        for (std::size_t i = 0; i < count; ++i) {
            const double number = FromInteger(static_cast<std::int64_t>(integers[i])) / power;
            values[i] = static_cast<float>(number);
        }
    } else if (kind == kFloats) {
        for (std::size_t i = 0; i < count; ++i) {
            values[i] = std::bit_cast<float>(Ordered(static_cast<std::int32_t>(integers[i])));
        }
    } else if (kind == kDoubles) {
        for (std::size_t i = 0; i < count; ++i) {
            values[i] = std::bit_cast<double>(Ordered(static_cast<std::int64_t>(integers[i])));
        }
    } else if (kind == kSplitFloats) {
        for (std::size_t i = 0; i < count; ++i) {
            values[i] = std::bit_cast<float>(static_cast<std::uint32_t>(integers[i]));
        }
    } else {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = std::bit_cast<double>(integers[i]);
    }
}

}  // namespace

void DecodeColumn(ByteReader& reader, std::span<double> values) {
    if (values.empty()) return;
    Header header;
    ReadHeader(reader, values.size(), header);
    Integers integers;
    Unpack(header.packed, values.size(), header.width, integers.data());
    Integrate(header, values.size(), integers);
    ToValues(header.kind, integers, values);
    for (std::size_t i = 0; i < header.exceptions; ++i) {
        const auto position = std::to_integer<std::size_t>(header.positions[i]);
        if (position >= values.size()) throw DamagedBlock("an exception lies beyond its column");
        const std::byte* number = header.numbers + (header.mark & kOneException ? 0 : 8 * i);
        values[position] = std::bit_cast<double>(LoadLittle(number));
    }
}

void SkipColumn(ByteReader& reader, std::size_t count) {
    if (count == 0) return;
    Header header;
    ReadHeader(reader, count, header);
}

}  // namespace mersola::packed
