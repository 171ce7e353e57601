// Blocks, summaries and pending rows that a version wrote are read alike by all later ones.
#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

#include "packed/period_row.h"
#include "packed/summary.h"

namespace mersola::packed {
namespace {

std::string Bits(double value) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", std::bit_cast<unsigned long long>(value));
    return text;
}

std::string Cell(double value, unsigned state, unsigned status) {
    if (state == kNoRow) return " -";
    return (state == kNull ? " NULL" : " " + Bits(value)) +
           (status ? "/" + std::to_string(status) : "");
}

std::string Lines(const std::vector<std::optional<std::string>>& statuses) {
    std::string lines;
    for (const auto& status : statuses)
        lines += status ? "status \"" + *status + "\"\n" : "status NULL\n";
    return lines;
}

std::string Text(const SeriesBlock& block) {
    std::ostringstream text;
    text << Lines(block.statuses);
    const auto periods = static_cast<std::size_t>(block.periods);
    for (std::size_t band = 0; band < block.bands.size(); ++band) {
        text << "band " << block.bands[band] << " from " << block.firstPeriod << ":";
        for (std::size_t i = band * periods; i < (band + 1) * periods; ++i) {
            text << Cell(block.values[i],
                         block.states.empty() ? unsigned{kNumber} : block.states[i],
                         block.statusOf.empty() ? 0 : block.statusOf[i]);
        }
        text << "\n";
    }
    return text.str();
}

std::string Text(const std::vector<BandSummary>& summaries) {
    std::ostringstream text;
    for (const auto& of : summaries) {
        text << "band " << of.band << ": " << of.count;
        if (of.count > 0) {
            for (const double figure : {of.least, of.greatest, of.mean, of.energyMean})
                text << " " << Bits(figure);
        }
        text << "\n";
    }
    return text.str();
}

std::string Text(const PeriodRow& row) {
    std::ostringstream text;
    text << Lines(row.statuses);
    for (const auto& value : row.values) {
        text << value.channel << " " << value.funcId << " " << value.frqId << ":"
             << Cell(value.value, value.isNull ? kNull : kNumber, value.status) << "\n";
    }
    return text.str();
}

std::string TextOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(PackedGolden, ReadsAsItDid) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MERSOLA_GOLDEN_BLOCKS)) {
        if (entry.path().extension() != ".txt") continue;
        SCOPED_TRACE(entry.path());
        const std::string expected = TextOf(entry.path());
        const std::string bytes =
            TextOf(std::filesystem::path(entry.path()).replace_extension(".bin"));
        const auto data = std::as_bytes(std::span(bytes));
        std::istringstream head(expected.substr(0, expected.find('\n')));
        std::string content, read;
        Series series;
        std::int32_t period = 0;
        ASSERT_TRUE(head >> content >> series.measValueId >> series.channel >> series.funcId >>
                    period);
        if (content == "block") {
            SeriesBlock block;
            DecodeBlock(series, period, data, block);
            read = Text(block);
        } else if (content == "summary") {
            std::vector<BandSummary> summaries;
            DecodeSummary(series, period, data, summaries);
            read = Text(summaries);
        } else {
            ASSERT_EQ(content, "row");
            PeriodRow row;
            DecodePeriod(series.measValueId, period, data, row);
            read = Text(row);
        }
        EXPECT_EQ(expected.substr(expected.find('\n') + 1), read);
        ++files;
    }
    EXPECT_GT(files, 0);
}

}  // namespace
}  // namespace mersola::packed
