// The seeds of a fuzz test in its long form: a few in the tests, any number in a campaign
// (tools/fuzzCampaign.sh), which names them by environment variables.
#pragma once

#include <cstdlib>
#include <functional>
#include <iostream>

#include <gtest/gtest.h>

namespace tarvonel
{

inline unsigned numberFromEnvironment(const char *name, unsigned preset)
{
    const char *text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : preset;
}

/// Calls `round` with TARVONEL_FUZZ_SEEDS seeds from TARVONEL_FUZZ_FIRST on; without these variables
/// with the seeds 1 to `usual`. Prints each before its round, so that a crash shows it.
inline void forEachFuzzSeed(unsigned usual, const std::function<void(unsigned seed)> &round)
{
    const unsigned first = numberFromEnvironment("TARVONEL_FUZZ_FIRST", 1);
    const unsigned count = numberFromEnvironment("TARVONEL_FUZZ_SEEDS", usual);
    for (unsigned seed = first; seed < first + count; ++seed)
    {
        SCOPED_TRACE(seed);
        std::cerr << "seed " << seed << '\n';
        round(seed);
    }
}

} // namespace tarvonel
