#include "platform/Random.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

namespace {

std::vector<int> sequence(unsigned seed, int n) {
    platformSrand(seed);
    std::vector<int> out;
    for (int i = 0; i < n; ++i) out.push_back(platformRand());
    return out;
}

TEST(PlatformRandom, FollowsTheCLibrarySequenceForAnySeed) {
    for (unsigned seed : {0u, 1u, 2u, 77u, 65535u * 3000u, 0xffffffffu}) {
        std::srand(seed);
        std::vector<int> expected;
        for (int i = 0; i < 2000; ++i) expected.push_back(std::rand());
        EXPECT_EQ(sequence(seed, 2000), expected) << seed;
        // Runs in bulk of every length around the chunks and the lanes, between single calls.
        platformSrand(seed);
        std::vector<int> bulk;
        for (std::size_t n : {1, 7, 8, 9, 36, 37, 38, 1023, 0, 1025, 2}) {
            bulk.push_back(platformRand());
            bulk.resize(bulk.size() + n);
            platformRandFill(bulk.data() + bulk.size() - n, n);
        }
        bulk.push_back(platformRand());
        for (int i = 0; i < 3000; ++i) expected.push_back(std::rand());
        expected.resize(bulk.size());
        EXPECT_EQ(bulk, expected) << seed;
    }
}

TEST(PlatformRandom, ThreadsKeepTheirOwnSequence) {
    std::vector<int> const alone = sequence(42, 5000);
    std::vector<std::vector<int>> got(4);
    std::vector<std::thread> threads;
    for (auto& g : got)
        threads.emplace_back([&g] {
            for (int round = 0; round < 20; ++round) g = sequence(42, 5000);
        });
    for (auto& t : threads) t.join();
    for (auto const& g : got) EXPECT_EQ(g, alone);
}

} // namespace
