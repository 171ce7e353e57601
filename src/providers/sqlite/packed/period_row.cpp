#include "period_row.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "bands.h"
#include "bit_packing.h"
#include "bytes.h"
#include "cells.h"
#include "checksum.h"
#include "column_codec.h"

namespace mersola::packed {
namespace {

constexpr unsigned kVersion = 1;

// The second byte.
constexpr unsigned kHasNulls = 1;
constexpr unsigned kHasIndexes = 2;

Key KeyOf(std::int32_t measValueId, std::int32_t period) {
    return {Content::kPeriodRow, measValueId, 0, 0, period};
}

/// The values of one channel and function.
struct Group {
    std::int32_t channel;
    std::int32_t funcId;
    std::size_t size;
};

bool Ascends(const PeriodValue& a, const PeriodValue& b) {
    return std::tie(a.channel, a.funcId, a.frqId) < std::tie(b.channel, b.funcId, b.frqId);
}

void CheckRow(const PeriodRow& row) {
    const auto check = [](bool isTrue, const char* what) {
        if (!isTrue) throw std::invalid_argument(what);
    };
    check(!row.values.empty() && row.values.size() <= kMostCells, "a period has values");
    check(!row.statuses.empty() && row.statuses.size() <= kMostStatuses, "a period has statuses");
    for (std::size_t i = 0; i < row.values.size(); ++i) {
        check(i == 0 || Ascends(row.values[i - 1], row.values[i]), "a period's values ascend");
        check(row.values[i].status < row.statuses.size(), "a value's status is there");
    }
}

/// Calls with the end of each column: it takes whole groups until it holds kEnough cells. Groups
/// of more than kMostInColumn are cut.
template <typename Call>
void ForEachColumn(const std::vector<Group>& groups, const Call& call) {
    constexpr std::size_t kEnough = 32;
    std::size_t first = 0;
    std::size_t end = 0;
    const auto close = [&] {
        if (first < end) call(first, end);
        first = end;
    };
    for (const Group& group : groups) {
        if (end - first + group.size > kMostInColumn) close();
        std::size_t left = group.size;
        for (; left > kMostInColumn; left -= kMostInColumn) {
            end += kMostInColumn;
            close();
        }
        end += left;
        if (end - first >= kEnough) close();
    }
    close();
}

std::vector<Group> EncodeGroups(const std::vector<PeriodValue>& values, std::string& out) {
    std::vector<Group> groups;
    std::vector<std::int32_t> bands;
    std::vector<std::int32_t> before;
    Group last{0, 0, 0};
    for (std::size_t first = 0, end = 0; first < values.size(); first = end) {
        const PeriodValue& head = values[first];
        bands.clear();
        while (end < values.size() && values[end].channel == head.channel &&
               values[end].funcId == head.funcId) {
            bands.push_back(values[end++].frqId);
        }
        PutVarint(ZigZag(std::int64_t{head.channel} - last.channel), out);
        PutVarint(ZigZag(std::int64_t{head.funcId} - last.funcId), out);
        last = {head.channel, head.funcId, bands.size()};
        groups.push_back(last);
        if (bands == before) {
            PutVarint(0, out);
            continue;
        }
        PutVarint(bands.size(), out);
        EncodeBands(bands, out);
        bands.swap(before);
    }
    return groups;
}

void EncodeNulls(const std::vector<PeriodValue>& values, std::string& out) {
    for (std::size_t i = 0; i < values.size(); i += 8) {
        unsigned byte = 0;
        for (std::size_t k = i; k < std::min(i + 8, values.size()); ++k) {
            byte |= static_cast<unsigned>(values[k].isNull) << (k - i);
        }
        PutByte(byte, out);
    }
}

bool IsNull(const std::byte* nulls, std::size_t i) {
    return nulls && (std::to_integer<unsigned>(nulls[i / 8]) >> (i % 8) & 1) != 0;
}

/// Decodes the values of all series, or of the one that is wanted.
void Decode(std::int32_t measValueId, std::int32_t period, const Series* wanted,
            std::span<const std::byte> data, PeriodRow& out) {
    ByteReader reader(Unseal(KeyOf(measValueId, period), data));
    if (reader.Byte() != kVersion) throw DamagedBlock("it is of a version that is not known");
    const unsigned mark = reader.Byte();
    if (mark > (kHasNulls | kHasIndexes)) throw DamagedBlock("it is of a form that is not known");
    // A column takes three bytes at least where it holds numbers, and a NULL an eighth of one.
    const std::size_t count = reader.Size(std::min(kMostCells, kMostInColumn * reader.Left()));

    out.values.clear();
    std::size_t first = 0;  // of the cells that are wanted
    std::vector<Group> groups;
    std::vector<std::int32_t> bands;
    Group last{0, 0, 0};
    for (std::size_t cells = 0; cells < count; cells += last.size) {
        const std::int32_t channel = Narrow32(last.channel + reader.Difference());
        const std::int32_t funcId = Narrow32(last.funcId + reader.Difference());
        if (!groups.empty() && std::tie(channel, funcId) <= std::tie(last.channel, last.funcId)) {
            throw DamagedBlock("its values do not ascend");
        }
        if (const std::size_t size = reader.Size(count - cells)) DecodeBands(reader, size, bands);
        last = {channel, funcId, bands.size()};
        if (last.size == 0 || last.size > count - cells) {
            throw DamagedBlock("its values are not as many as it says");
        }
        groups.push_back(last);
        if (wanted && (channel != wanted->channel || funcId != wanted->funcId)) continue;
        if (wanted) first = cells;
        for (const std::int32_t band : bands)
            out.values.push_back({channel, funcId, band});
    }
    const std::size_t end = first + out.values.size();

    DecodeStatuses(reader, out.statuses);
    const std::byte* nulls = mark & kHasNulls ? reader.Take((count + 7) / 8) : nullptr;
    if (mark & kHasIndexes) {
        std::vector<std::uint16_t> indexes(count);
        DecodeIndexes(reader, out.statuses.size(), indexes);
        for (std::size_t i = first; i < end; ++i)
            out.values[i - first].status = indexes[i];
    }
    std::array<double, kMostInColumn> numbers;
    ForEachColumn(groups, [&](std::size_t from, std::size_t to) {
        std::size_t present = to - from;
        if (nulls) {
            for (std::size_t i = from; i < to; ++i)
                present -= IsNull(nulls, i);
        }
        if (to <= first || from >= end) return SkipColumn(reader, present);
        DecodeColumn(reader, std::span(numbers).first(present));
        for (std::size_t i = from, next = 0; i < to; ++i) {
            const bool isNull = IsNull(nulls, i);
            const double number = isNull ? 0 : numbers[next++];
            if (i < first || i >= end) continue;
            out.values[i - first].isNull = isNull;
            out.values[i - first].value = number;
        }
    });
}

}  // namespace

void EncodePeriod(std::int32_t measValueId, std::int32_t period, const PeriodRow& row,
                  std::string& data) {
    CheckRow(row);
    const auto& values = row.values;
    const bool hasNulls = std::ranges::any_of(values, &PeriodValue::isNull);
    const bool hasIndexes =
        std::ranges::any_of(values, [](auto& value) { return value.status != 0; });
    data.clear();
    data.reserve(values.size() * 8 + 64);
    PutByte(kVersion, data);
    PutByte((hasNulls ? kHasNulls : 0) | (hasIndexes ? kHasIndexes : 0), data);
    PutVarint(values.size(), data);
    const auto groups = EncodeGroups(values, data);
    EncodeStatuses(row.statuses, data);
    if (hasNulls) EncodeNulls(values, data);
    if (hasIndexes) {
        std::vector<std::uint16_t> indexes;
        for (const auto& value : values)
            indexes.push_back(value.status);
        EncodeIndexes(indexes, row.statuses.size(), data);
    }
    std::array<double, kMostInColumn> numbers;
    ForEachColumn(groups, [&](std::size_t first, std::size_t end) {
        std::size_t count = 0;
        for (std::size_t i = first; i < end; ++i) {
            numbers[count] = values[i].value;
            count += !values[i].isNull;
        }
        EncodeColumnQuickly(std::span(numbers).first(count), data);
    });
    Seal(KeyOf(measValueId, period), data);
}

void DecodePeriod(std::int32_t measValueId, std::int32_t period, std::span<const std::byte> data,
                  PeriodRow& out) {
    Decode(measValueId, period, nullptr, data, out);
}

void DecodePeriod(const Series& series, std::int32_t period, std::span<const std::byte> data,
                  PeriodRow& out) {
    Decode(series.measValueId, period, &series, data, out);
}

}  // namespace mersola::packed
