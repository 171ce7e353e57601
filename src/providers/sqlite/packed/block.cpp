#include "block.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "bands.h"
#include "bytes.h"
#include "cells.h"
#include "checksum.h"
#include "column_codec.h"
#include "compression.h"
#include "resolution.h"
#include "summary.h"

namespace mersola::packed {
namespace {

constexpr unsigned kVersion = 1;

// The second byte.
enum Form : unsigned { kColumns = 0, kCompressedColumns = 1, kCompressedPlanes = 2 };
constexpr unsigned kFormMask = 3;
constexpr unsigned kHasStates = 4;
constexpr unsigned kHasIndexes = 8;

// Fewer bytes than these for a number are not worth the attempt.
constexpr std::size_t kWorthPlanes = 2;

constexpr std::size_t ClearlyBelow(std::size_t size) {
    return size - size / 8;
}

constexpr auto kPeriods = static_cast<std::size_t>(kBlockPeriods);

Key KeyOf(const Series& series, std::int32_t period) {
    return {Content::kBlock, series.measValueId, series.channel, series.funcId, BlockOf(period)};
}

void Check(bool isTrue, const char* what) {
    if (!isTrue) throw std::invalid_argument(what);
}

void CheckBlock(const SeriesBlock& block) {
    const auto inBlock = static_cast<std::int32_t>(block.firstPeriod & (kBlockPeriods - 1));
    Check(block.periods >= 1 && inBlock + block.periods <= kBlockPeriods,
          "a block's periods lie between two multiples of 128");
    Check(!block.bands.empty(), "a block has bands");
    Check(
        std::ranges::adjacent_find(block.bands, std::ranges::greater_equal()) == block.bands.end(),
        "a block's bands ascend");
    const std::size_t cells = block.bands.size() * static_cast<std::size_t>(block.periods);
    Check(cells <= kMostCells, "a block has too many cells");
    Check(block.values.size() == cells, "a block has a value for each cell");
    Check(block.states.empty() || block.states.size() == cells,
          "a block has a state for each cell");
    Check(std::ranges::all_of(block.states, [](auto state) { return state <= kNull; }),
          "a cell is of a known state");
    Check(!block.statuses.empty() && block.statuses.size() <= kMostStatuses,
          "a block has statuses");
    Check(block.statusOf.empty() || block.statusOf.size() == cells,
          "a block has a status for each cell");
    Check(std::ranges::all_of(block.statusOf,
                              [&](auto index) { return index < block.statuses.size(); }),
          "a cell's status is there");
}

/// The part of each cell's array that is a band's.
template <typename Cells>
auto BandOf(Cells& cells, std::size_t band, std::size_t periods) {
    return cells.empty() ? std::span(cells.data(), 0)
                         : std::span(cells.data() + band * periods, periods);
}

struct Shape {
    std::size_t periods;
    bool hasStates;
    bool hasIndexes;
};

/// Encodes all but the numbers and, if wanted, the numbers as columns; gathers the numbers.
void EncodeBody(const SeriesBlock& block, const Shape& shape, std::span<const double> values,
                bool withColumns, std::string& out, std::vector<double>& numbers) {
    PutVarint(block.bands.size(), out);
    EncodeBands(block.bands, out);
    EncodeStatuses(block.statuses, out);
    const std::size_t periods = shape.periods;
    numbers.clear();
    for (std::size_t band = 0; band < block.bands.size(); ++band) {
        const std::size_t before = numbers.size();
        const auto ofBand = values.subspan(band * periods, periods);
        if (shape.hasStates) {
            const auto states = BandOf(block.states, band, periods);
            BandStates::Encode(
                states, band ? BandOf(block.states, band - 1, periods) : states.first(0), out);
            for (std::size_t i = 0; i < periods; ++i) {
                if (states[i] == kNumber) numbers.push_back(ofBand[i]);
            }
        } else {
            numbers.insert(numbers.end(), ofBand.begin(), ofBand.end());
        }
        if (shape.hasIndexes) {
            const auto indexes = BandOf(block.statusOf, band, periods);
            BandIndexes::Encode(indexes,
                                band ? BandOf(block.statusOf, band - 1, periods) : indexes.first(0),
                                block.statuses.size(), out);
        }
        if (withColumns) EncodeColumn(std::span<const double>(numbers).subspan(before), out);
    }
}

/// The first bytes of all numbers, then the second ones, and so on: what is alike lies together.
void EncodePlanes(std::span<const double> numbers, std::string& out) {
    for (unsigned shift = 0; shift < 64; shift += 8) {
        for (const double number : numbers) {
            PutByte(static_cast<unsigned>(std::bit_cast<std::uint64_t>(number) >> shift & 0xff),
                    out);
        }
    }
}

void DecodePlanes(const std::byte* planes, std::size_t stride, std::span<double> numbers) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        std::uint64_t bits = 0;
        for (unsigned plane = 0; plane < 8; ++plane) {
            bits |= std::to_integer<std::uint64_t>(planes[plane * stride + i]) << (8 * plane);
        }
        numbers[i] = std::bit_cast<double>(bits);
    }
}

/// Moves numbers that stand at the front to the cells that have one.
void Spread(std::span<const double> numbers, std::span<const std::uint8_t> states,
            std::span<double> values) {
    std::size_t next = 0;
    for (std::size_t i = 0; i < states.size(); ++i) {
        values[i] = states[i] == kNumber ? numbers[next++] : 0;
    }
}

/// Compresses a body of columns, or of planes instead, where that is clearly smaller: reading a
/// single band has to decompress all of them.
Form Compressed(const SeriesBlock& block, const Shape& shape, std::span<const double> values,
                std::vector<double>& numbers, std::string& body) {
    Form form = kColumns;
    std::string compressed;
    if (CompressBelow(ClearlyBelow(body.size()), body, compressed)) {
        form = kCompressedColumns;
        body.swap(compressed);
    }
    if (body.size() > kWorthPlanes * numbers.size()) {
        std::string planes;
        EncodeBody(block, shape, values, false, planes, numbers);
        EncodePlanes(numbers, planes);
        if (CompressBelow(ClearlyBelow(body.size()), planes, compressed)) {
            form = kCompressedPlanes;
            body.swap(compressed);
        }
    }
    return form;
}

}  // namespace

void EncodeBlock(const Series& series, const SeriesBlock& block, double resolution,
                 std::string& data, std::string& summary) {
    CheckBlock(block);
    std::vector<double> rounded;
    std::span<const double> values(block.values);
    if (resolution != 0) {
        rounded = Rounded(values, resolution);
        values = rounded;
    }
    EncodeSummary(series, block, values, summary);

    const Shape shape{
        static_cast<std::size_t>(block.periods),
        std::ranges::any_of(block.states, [](auto state) { return state != kNumber; }),
        std::ranges::any_of(block.statusOf, [](auto index) { return index != 0; })};
    std::string body;
    std::vector<double> numbers;
    EncodeBody(block, shape, values, true, body, numbers);
    const unsigned form = Compressed(block, shape, values, numbers, body);

    data.clear();
    PutByte(kVersion, data);
    PutByte(form | (shape.hasStates ? kHasStates : 0) | (shape.hasIndexes ? kHasIndexes : 0), data);
    PutByte(static_cast<unsigned>(block.firstPeriod & (kBlockPeriods - 1)), data);
    PutByte(static_cast<unsigned>(block.periods - 1), data);
    data += body;
    Seal(KeyOf(series, block.firstPeriod), data);
}

void DecodeBlock(const Series& series, std::int32_t period, std::span<const std::byte> data,
                 SeriesBlock& out) {
    DecodeBlock(series, period, data, std::numeric_limits<std::int32_t>::min(),
                std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1, out);
}

void DecodeBlock(const Series& series, std::int32_t period, std::span<const std::byte> data,
                 std::int64_t firstBand, std::int64_t endBand, SeriesBlock& out) {
    ByteReader head(Unseal(KeyOf(series, period), data));
    if (head.Byte() != kVersion) throw DamagedBlock("it is of a version that is not known");
    const unsigned mark = head.Byte();
    const unsigned form = mark & kFormMask;
    if (form > kCompressedPlanes || mark >= 2 * kHasIndexes) {
        throw DamagedBlock("it is of a form that is not known");
    }
    const unsigned offset = head.Byte();
    const std::size_t periods = head.Byte() + std::size_t{1};
    if (offset + periods > kPeriods) throw DamagedBlock("its periods are too many");
    out.firstPeriod = static_cast<std::int32_t>((period & ~(kBlockPeriods - 1)) +
                                                static_cast<std::int32_t>(offset));
    out.periods = static_cast<int>(periods);

    std::unique_ptr<std::byte[]> expanded;
    const std::size_t size = head.Left();
    std::span<const std::byte> body(head.Take(size), size);
    if (form != kColumns) body = Decompress(body, expanded);
    ByteReader reader(body);
    const std::size_t bands = reader.Size(std::min(kMostCells / periods, reader.Left()));
    if (bands == 0) throw DamagedBlock("it has no bands");
    DecodeBands(reader, bands, out.bands);
    DecodeStatuses(reader, out.statuses);

    const auto begin = out.bands.begin();
    const auto wanted = std::lower_bound(begin, out.bands.end(), firstBand);
    const auto wantedEnd = std::lower_bound(wanted, out.bands.end(), endBand);
    const auto first = static_cast<std::size_t>(wanted - begin);
    const auto end = static_cast<std::size_t>(wantedEnd - begin);
    out.bands.erase(wantedEnd, out.bands.end());
    out.bands.erase(begin, begin + static_cast<std::ptrdiff_t>(first));
    const std::size_t cells = (end - first) * periods;
    out.values.resize(cells);
    out.states.resize(mark & kHasStates ? cells : 0);
    out.statusOf.resize(mark & kHasIndexes ? cells : 0);

    BandStates states(periods);
    BandIndexes indexes;
    std::array<double, kPeriods> numbers;
    std::size_t passed = 0;  // numbers of the bands before the first
    std::size_t taken = 0;   // and of those that are wanted
    for (std::size_t band = 0; band < bands; ++band) {
        if (mark & kHasStates) states.Read(reader, periods);
        if (mark & kHasIndexes) indexes.Read(reader, periods, out.statuses.size());
        const std::size_t count = states.Numbers();
        if (band < first || band >= end) {
            if (band < first) passed += count;
            if (form != kCompressedPlanes) SkipColumn(reader, count);
            continue;
        }
        const std::size_t row = band - first;
        if (mark & kHasIndexes) {
            indexes.Expand(out.statuses.size(), BandOf(out.statusOf, row, periods));
        }
        const auto values = BandOf(out.values, row, periods);
        const auto ofBand = BandOf(out.states, row, periods);
        if (mark & kHasStates) states.Expand(ofBand);
        if (form == kCompressedPlanes) {
            taken += count;
        } else if (count == periods) {
            DecodeColumn(reader, values);
        } else {
            DecodeColumn(reader, std::span(numbers).first(count));
            Spread(numbers, ofBand, values);
        }
    }
    if (form == kCompressedPlanes) {
        const std::size_t stride = reader.Left() / 8;
        if (passed + taken > stride) throw DamagedBlock("it ends too early");
        const std::byte* planes = reader.Take(8 * stride) + passed;
        if (out.states.empty()) {
            DecodePlanes(planes, stride, out.values);
        } else {
            std::vector<double> all(taken);
            DecodePlanes(planes, stride, all);
            Spread(all, out.states, out.values);
        }
    }
}

}  // namespace mersola::packed
