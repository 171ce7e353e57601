// Blocks, summaries and pending rows of packed databases: behind a checksum that fits, any bytes
// are refused or give what reads back. The first byte says which of them the others are.
#include <algorithm>
#include <cstring>

#include "packed/checksum.h"
#include "packed/compression.h"
#include "packed/overlay.h"
#include "packed/period_row.h"
#include "packed/summary.h"
#include "property.h"

namespace mersola::packed {
namespace {

using fuzz::Require;

constexpr Series kSeries{7, 2, 3};
constexpr std::int32_t kPeriod = -250;
constexpr std::size_t kMost = 4096;  // more takes too long to encode

std::span<const std::byte> Bytes(const std::string& text) {
    return std::as_bytes(std::span(text));
}

bool Same(std::span<const double> a, std::span<const double> b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size_bytes()) == 0);
}

void CheckBlock(std::string data) {
    Seal({Content::kBlock, 7, 2, 3, BlockOf(kPeriod)}, data);
    SeriesBlock block, part, again;
    DecodeBlock(kSeries, kPeriod, Bytes(data), block);
    const auto periods = static_cast<std::size_t>(block.periods);
    const std::size_t band = block.bands.size() / 2;
    DecodeBlock(kSeries, kPeriod, Bytes(data), block.bands[band],
                std::int64_t{block.bands[band]} + 1, part);
    Require(part.bands.size() == 1, "one band is there");
    Require(Same(part.values, std::span(block.values).subspan(band * periods, periods)),
            "a band reads as the block");
    if (block.values.size() > kMost) return;
    SeriesBlock laidOut = block;
    Overlay(laidOut, {});
    for (std::size_t cell = 0; cell < block.values.size(); ++cell) {
        const std::uint8_t state = StateAt(block, cell);
        Require(StateAt(laidOut, cell) == state, "a block laid out anew has the same cells");
        Require(state == kNoRow || (Same({&laidOut.values[cell], 1}, {&block.values[cell], 1}) &&
                                    StatusAt(laidOut, cell) == StatusAt(block, cell)),
                "a block laid out anew holds the same");
    }
    std::string encoded, encodedAgain, summary;
    EncodeBlock(kSeries, block, 0, encoded, summary);
    DecodeBlock(kSeries, kPeriod, Bytes(encoded), again);
    Require(again.bands == block.bands && again.statuses == block.statuses,
            "bands and statuses read back");
    Require(Same(again.values, block.values), "values read back");
    EncodeBlock(kSeries, again, 0, encodedAgain, summary);
    Require(encodedAgain == encoded, "what reads back is the same block");
}

void CheckSummary(std::string data) {
    Seal({Content::kSummary, 7, 2, 3, BlockOf(kPeriod)}, data);
    std::vector<BandSummary> summaries;
    DecodeSummary(kSeries, kPeriod, Bytes(data), summaries);
    Require(std::ranges::all_of(summaries,
                                [](auto& summary) { return summary.count <= kBlockPeriods; }),
            "counts are in range");
}

void CheckRow(std::string data) {
    Seal({Content::kPeriodRow, 7, 0, 0, kPeriod}, data);
    PeriodRow row, again;
    DecodePeriod(7, kPeriod, Bytes(data), row);
    if (row.values.empty()) return;
    const PeriodValue first = row.values[0];
    DecodePeriod(Series{7, first.channel, first.funcId}, kPeriod, Bytes(data), again);
    Require(!again.values.empty() && again.values.size() <= row.values.size() &&
                again.values[0].frqId == first.frqId &&
                Same({&again.values[0].value, 1}, {&first.value, 1}),
            "a series reads as the row");
    if (row.values.size() > kMost) return;
    std::string encoded, encodedAgain;
    EncodePeriod(7, kPeriod, row, encoded);
    DecodePeriod(7, kPeriod, Bytes(encoded), again);
    Require(std::ranges::equal(again.values, row.values,
                               [](auto& a, auto& b) {
                                   return a.isNull == b.isNull &&
                                          Same({&a.value, 1}, {&b.value, 1}) &&
                                          a.status == b.status;
                               }),
            "values read back");
    EncodePeriod(7, kPeriod, again, encodedAgain);
    Require(encodedAgain == encoded, "what reads back is the same row");
}

void Check(unsigned kind, const std::string& bytes) {
    constexpr std::size_t kHead = 4;
    if (kind == 1) return CheckSummary(bytes);
    if (kind == 2) return CheckRow(bytes);
    if (kind == 3 && bytes.size() > kHead) {  // for a body that is compressed only here
        std::string compressed;
        CompressBelow(0, bytes.substr(kHead), compressed);
        return CheckBlock(bytes.substr(0, kHead) + compressed);
    }
    CheckBlock(bytes);
}

}  // namespace
}  // namespace mersola::packed

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    try {
        mersola::packed::Check(data[0] % 4, mersola::fuzz::TextOf(data + 1, size - 1));
    } catch (const mersola::packed::DamagedBlock&) {
    }
    return 0;
}
