// Packed databases in the tool's hands.
#include <gmock/gmock.h>

#include <filesystem>

#include "tool_fixture.h"

namespace mersola::tool {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class Packed : public Tool {
  protected:
    Packed() { EXPECT_EQ(RunWords({"init", packed_, "--layout", "packed"}).status, 0); }

    const std::string packed_ = folder_ / "packed.db";
};

TEST_F(Packed, IsLaidOutWhereAskedForAndSaysSo) {
    EXPECT_THAT(RunWords({"list", packed_}).out,
                StartsWith("database of format 2, values packed\n"));
    const std::string rounded = folder_ / "rounded.db";
    const Words init{"init", rounded, "--layout", "packed", "--resolution"};
    EXPECT_EQ(RunWords(init + Words{"0.010"}).status, 0);
    EXPECT_THAT(RunWords({"version", rounded}).out,
                StartsWith("Database of format 2, values packed in steps of 0.01\n"));

    const std::string other = folder_ / "other.db";
    for (const char* step : {"0", "-1", "0.0000001", "1e-3", "nan", "101", ".", ""})
        EXPECT_EQ(RunWords({"init", other, "--layout", "packed", "--resolution", step}).status, 2)
            << step;
    EXPECT_EQ(RunWords({"init", other, "--resolution", "0.1"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(other));
    EXPECT_THAT(RunWords({"init", "Driver={SQLite3};Database=" + other, "--layout", "packed"}).err,
                HasSubstr("is no SQLite file, and only such a file can be packed"));
}

TEST_F(Packed, TakesCopiesOfRowsAndGivesThemBackBitForBit) {
    const std::string golden = MERSOLA_GOLDEN "format-1.db";
    EXPECT_THAT(RunWords({"copy", golden, packed_, "--verify"}).out, HasSubstr("verified"));
    EXPECT_THAT(RunWords({"copy", packed_, db_, "--verify"}).out, HasSubstr("verified"));
    EXPECT_EQ(RunWords({"export", db_}).out, Contents(MERSOLA_GOLDEN "content.csv"));
    EXPECT_EQ(RunWords({"export", packed_}).out, Contents(MERSOLA_GOLDEN "content.csv"));
    EXPECT_THAT(RunWords({"check", packed_}).out, EndsWith("; 10 values were checked\n"));
}

}  // namespace
}  // namespace mersola::tool
