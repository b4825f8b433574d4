#include "effect/NoiseStage.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

// Grain over an 8-bit RGBA output of 48 x 32, grey (or `seedBytes` noise) with opaque alpha.
struct Grain {
    MemoryImage output{RF_RGBA8, 48, 32, MemoryImage::Rows::Padded}, work{RF_RGBA8, 48, 32};
    MemoryHost host{&work, &output};
    PluginRasterProxy workProxy{&host, new MemoryRaster(work.info, false), false, true};
    int status = 0;
    Grain(bool fxplug, double amount, double softness, int seed, double frame, int seedBytes = 0) {
        host.answerFXPLUG = fxplug; // the scratch raster path, else the float plane
        host.frame = frame;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 48; ++x) std::fill_n(px(x, y), 4, 128);
        if (seedBytes) output.fillBytes(seedBytes);
        status = noiseStage(PIXEL_VALUES(PIXEL_RGBA8), &host, output.info, workProxy.getImpl(),
                            amount, softness, seed);
    }
    unsigned char* px(int x, int y) { return output.pixel<unsigned char>(x, y); }
    long roughness() {
        long d = 0;
        for (int y = 0; y < 32; ++y)
            for (int x = 1; x < 48; ++x) d += std::abs(px(x, y)[0] - px(x - 1, y)[0]);
        return d;
    }
};

class NoisePaths : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Noise, NoisePaths, ::testing::Values(true, false));

TEST_P(NoisePaths, SameSeedTimeAndSizeGiveTheSameGrainAndAlphaIsKept) {
    auto grain = [&](int seed, double frame) {
        return Grain(GetParam(), 60, 0, seed, frame, 5).output.bytes();
    };
    auto a = grain(7, 3);
    Grain source(GetParam(), 0, 0, 7, 3, 5);
    auto plain = source.output.bytes();
    for (std::size_t i = 3; i < a.size(); i += 4) ASSERT_EQ(a[i], plain[i]);
    EXPECT_NE(a, plain);
    EXPECT_EQ(a, grain(7, 3));
    EXPECT_NE(a, grain(7, 4));
    EXPECT_NE(a, grain(8, 3));
    EXPECT_EQ(grain(0, 3), grain(0, 9)); // seed times time: either at 0 freezes the grain
    EXPECT_EQ(grain(7, 0), grain(2, 0));
}

TEST_P(NoisePaths, GrainIsMonochromeAndSwingsHalfTheScaleAtFullAmount) {
    for (double amount : {100.0, 20.0}) {
        Grain g(GetParam(), amount, 0, 3, 1);
        int lo = 255, hi = 0;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 48; ++x) {
                ASSERT_TRUE(g.px(x, y)[0] == g.px(x, y)[1] && g.px(x, y)[0] == g.px(x, y)[2]);
                lo = std::min<int>(lo, g.px(x, y)[0]), hi = std::max<int>(hi, g.px(x, y)[0]);
            }
        EXPECT_NEAR(lo, 128 - 1.275 * amount, 8);
        EXPECT_NEAR(hi, 128 + 1.275 * amount, 8);
        EXPECT_EQ(g.host.liveBlocks, 0);
    }
}

TEST_P(NoisePaths, PostSoftnessSmoothsTheGrain) {
    long const sharp = Grain(GetParam(), 100, 0, 5, 1).roughness();
    EXPECT_LT(Grain(GetParam(), 100, 2, 5, 1).roughness(), sharp / 2);
    EXPECT_EQ(Grain(GetParam(), 100, 0.000005, 5, 1).roughness(), sharp); // under tolerance
}

TEST(Noise, FadeNoiseZeroLeavesTheFrameAndTheGeneratorAlone) {
    std::srand(42);
    int const first = std::rand();
    std::srand(42);
    Grain g(true, 0, 5, 3, 2, 9);
    EXPECT_EQ(std::rand(), first);
    EXPECT_EQ(g.output.bytes(), Grain(true, 0, 0, 0, 0, 9).output.bytes());
    EXPECT_EQ(g.host.allocRasterCalls + g.host.allocMemoryCalls, 0);
}

TEST(Noise, ScratchFailureClearsTheOutput) {
    for (bool fxplug : {true, false}) {
        MemoryImage out(RF_ARGB8, 8, 8), work(RF_ARGB8, 8, 8);
        out.fillBytes(1);
        MemoryHost host(&work, &out);
        PluginRasterProxy proxy(&host, new MemoryRaster(work.info, false), false, true);
        host.answerFXPLUG = fxplug;
        host.failAllocRasterAt = host.failAllocMemoryAt = 1;
        host.frame = 1;
        EXPECT_EQ(noiseStage(PIXEL_VALUES(PIXEL_ARGB8), &host, out.info, proxy.getImpl(), 50, 0, 1),
                  1);
        EXPECT_EQ(out.bytes(), std::vector<unsigned char>(256, 0));
        EXPECT_EQ(host.liveBlocks, 0);
    }
}

} // namespace
