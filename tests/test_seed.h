// test_seed.h: seeds and sizes of the random tests. Each random test runs from a fixed seed, so
// that a failure repeats; LATOPT_TEST_SEED replays another seed, LATOPT_TEST_MULTIPLIER scales the
// number of rounds for a longer search.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>

namespace latopt::test {

inline unsigned long long testSeed(unsigned long long fixed = 20261121ULL)
{
    const char* text = std::getenv("LATOPT_TEST_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : fixed;
}

inline long rounds(long count)
{
    const char* text = std::getenv("LATOPT_TEST_MULTIPLIER");
    const long multiplier = text != nullptr ? std::max(1L, std::atol(text)) : 1L;
    return count * multiplier;
}

inline std::string seedTrace(unsigned long long seed)
{
    return "seed " + std::to_string(seed) + " (LATOPT_TEST_SEED to replay)";
}

} // namespace latopt::test
