#include "cells.h"

#include <algorithm>
#include <bit>

#include "bit_packing.h"
#include "block.h"

namespace mersola::packed {
namespace {

// How the states or indexes of a band are given.
enum Form : unsigned {
    kPlain = 0,   // all are numbers; or all indexes are the one that follows
    kBefore = 1,  // as those of the band before
    kEach = 2,    // a bit for each period: has a row or none; or an index for each
    kNulls = 3,   // the same bits, and then a bit for each period that is NULL
};

bool Has(const std::byte* bits, std::size_t i) {
    return (std::to_integer<unsigned>(bits[i / 8]) >> (i % 8) & 1) != 0;
}

template <typename Test>
void PutBits(std::span<const std::uint8_t> states, const Test& test, std::string& out) {
    for (std::size_t i = 0; i < states.size(); i += 8) {
        unsigned byte = 0;
        for (std::size_t k = i; k < std::min(i + 8, states.size()); ++k) {
            byte |= static_cast<unsigned>(test(states[k])) << (k - i);
        }
        PutByte(byte, out);
    }
}

}  // namespace

void EncodeStatuses(const Statuses& statuses, std::string& out) {
    PutVarint(statuses.size() - 1, out);
    for (const auto& status : statuses) {
        PutVarint(status ? status->size() + 1 : 0, out);
        if (status) out += *status;
    }
}

void DecodeStatuses(ByteReader& reader, Statuses& out) {
    const std::size_t count = reader.Size(kMostStatuses - 1) + 1;
    if (count > reader.Left()) throw DamagedBlock("it ends too early");
    out.resize(count);
    for (auto& status : out) {
        const std::size_t size = reader.Size(reader.Left());
        if (size == 0) {
            status.reset();
            continue;
        }
        const auto* text = reinterpret_cast<const char*>(reader.Take(size - 1));
        if (!status) status.emplace();
        status->assign(text, size - 1);
    }
}

unsigned StatusWidth(std::size_t statuses) {
    return static_cast<unsigned>(std::bit_width(statuses - 1));
}

void EncodeIndexes(std::span<const std::uint16_t> indexes, std::size_t statuses, std::string& out) {
    const std::vector<std::uint64_t> wide(indexes.begin(), indexes.end());
    Pack(wide.data(), wide.size(), StatusWidth(statuses), out);
}

void DecodeIndexes(ByteReader& reader, std::size_t statuses, std::span<std::uint16_t> indexes) {
    const unsigned width = StatusWidth(statuses);
    const std::byte* packed = reader.Take(PackedSize(indexes.size(), width));
    const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    std::size_t bit = 0;
    for (auto& index : indexes) {
        const std::uint64_t number = LoadLittle(packed + bit / 8) >> (bit % 8) & mask;
        if (number >= statuses) throw DamagedBlock("a status is not there");
        index = static_cast<std::uint16_t>(number);
        bit += width;
    }
}

void BandStates::Encode(std::span<const std::uint8_t> states, std::span<const std::uint8_t> before,
                        std::string& out) {
    if (std::ranges::equal(states, before)) return PutByte(kBefore, out);
    if (std::ranges::count(states, kNumber) == std::ssize(states)) return PutByte(kPlain, out);
    const bool nulls = std::ranges::count(states, kNull) > 0;
    PutByte(nulls ? kNulls : kEach, out);
    PutBits(
        states, [](std::uint8_t state) { return state != kNoRow; }, out);
    if (nulls)
        PutBits(
            states, [](std::uint8_t state) { return state == kNull; }, out);
}

void BandStates::Read(ByteReader& reader, std::size_t periods) {
    const unsigned form = reader.Byte();
    if (form == kBefore) return;
    rows_ = nulls_ = nullptr;
    numbers_ = periods;
    if (form == kPlain) return;
    if (form > kNulls) throw DamagedBlock("its states are of no known form");
    rows_ = reader.Take((periods + 7) / 8);
    if (form == kNulls) nulls_ = reader.Take((periods + 7) / 8);
    numbers_ = 0;
    for (std::size_t i = 0; i < periods; ++i) {
        numbers_ += Has(rows_, i) && !(nulls_ && Has(nulls_, i));
    }
}

void BandStates::Expand(std::span<std::uint8_t> states) const {
    for (std::size_t i = 0; i < states.size(); ++i) {
        states[i] = rows_ && !Has(rows_, i) ? kNoRow : nulls_ && Has(nulls_, i) ? kNull : kNumber;
    }
}

void BandIndexes::Encode(std::span<const std::uint16_t> indexes,
                         std::span<const std::uint16_t> before, std::size_t statuses,
                         std::string& out) {
    if (std::ranges::equal(indexes, before)) return PutByte(kBefore, out);
    if (std::ranges::count(indexes, indexes[0]) == std::ssize(indexes)) {
        PutByte(kPlain, out);
        return PutVarint(indexes[0], out);
    }
    PutByte(kEach, out);
    EncodeIndexes(indexes, statuses, out);
}

void BandIndexes::Read(ByteReader& reader, std::size_t periods, std::size_t statuses) {
    const unsigned form = reader.Byte();
    if (form == kBefore) return;
    packed_ = nullptr;
    if (form == kPlain) {
        same_ = static_cast<std::uint16_t>(reader.Size(statuses - 1));
    } else if (form == kEach) {
        packed_ = reader.Take(PackedSize(periods, StatusWidth(statuses)));
    } else {
        throw DamagedBlock("its statuses are of no known form");
    }
}

void BandIndexes::Expand(std::size_t statuses, std::span<std::uint16_t> indexes) const {
    if (!packed_) {
        std::ranges::fill(indexes, same_);
        return;
    }
    ByteReader reader({packed_, PackedSize(indexes.size(), StatusWidth(statuses))});
    DecodeIndexes(reader, statuses, indexes);
}

}  // namespace mersola::packed
