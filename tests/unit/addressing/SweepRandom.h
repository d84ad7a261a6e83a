// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>

namespace KxC::Testing {

/// The random choices of one test. Every run makes others, so that many runs try what one cannot;
/// a run prints its seed, and KXTILE_SEED in the environment replays it.
class SweepRandom
{
public:
    SweepRandom() : m_seed(NewSeed()), m_engine(m_seed)
    {
        ::testing::Test::RecordProperty("KXTILE_SEED", std::to_string(m_seed));
        std::printf("KXTILE_SEED=%u\n", m_seed);
    }

    /// For messages: how to get the same choices again.
    std::string Text() const { return "KXTILE_SEED=" + std::to_string(m_seed); }

    // By hand instead of by the library's distributions, which differ between libraries.

    /// In [0, count).
    std::size_t Index(std::size_t count) { return m_engine() % count; }
    double Between(double low, double high)
    {
        return low + (high - low) * static_cast<double>(m_engine()) * 0x1p-32;
    }
    template <class Values>
    const auto& Of(const Values& values)
    {
        return values[Index(std::size(values))];
    }

private:
    static unsigned int NewSeed()
    {
        if (const char* asked = std::getenv("KXTILE_SEED")) // NOLINT(concurrency-mt-unsafe)
            return static_cast<unsigned int>(std::strtoul(asked, nullptr, 10));
        return std::random_device{}();
    }

    unsigned int m_seed;
    std::mt19937 m_engine;
};

} // namespace KxC::Testing
