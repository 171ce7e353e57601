// Runs that repeat by their seed:
//
//     MERSOLA_TEST_SEED=N       that seed alone, as a failed test names it
//     MERSOLA_TEST_SECONDS=N    new seeds for so long
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>

namespace mersola::test {

/// Tries what the environment asks for; false where it asks for nothing. `faultOf` tells what goes
/// wrong with a seed.
bool TriedGivenSeeds(auto faultOf) {
    if (const char* seed = std::getenv("MERSOLA_TEST_SEED")) {
        EXPECT_EQ(faultOf(std::strtoull(seed, nullptr, 10)), "");
        return true;
    }
    const char* const seconds = std::getenv("MERSOLA_TEST_SECONDS");
    if (!seconds) return false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(seconds));
    const std::uint64_t first = std::uint64_t{std::random_device()()} << 16;
    std::uint64_t seed = first;
    for (; std::chrono::steady_clock::now() < end && !testing::Test::HasFailure(); ++seed)
        EXPECT_EQ(faultOf(seed), "") << "MERSOLA_TEST_SEED=" << seed << " repeats this";
    std::cout << seed - first << " seeds from " << first << " on\n";
    return true;
}

/// The same, or else the seeds from 1 on.
void TrySeeds(std::uint64_t count, auto faultOf) {
    if (TriedGivenSeeds(faultOf)) return;
    for (std::uint64_t seed = 1; seed <= count; ++seed)
        EXPECT_EQ(faultOf(seed), "") << "MERSOLA_TEST_SEED=" << seed << " repeats this";
}

}  // namespace mersola::test
