#include "effect/NoiseStage.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

// Grain over a grey (or byte-noise) 8-bit RGBA output of 48 x 32, through the scratch raster
// of FxPlug hosts or the float plane of others.
struct Grain {
    MemoryImage output{RF_RGBA8, 48, 32, MemoryImage::Rows::Padded}, work{RF_RGBA8, 48, 32};
    MemoryHost host{&work, &output};
    PluginRasterProxy workProxy{&host, new MemoryRaster(work.info, false), false, true};
    int status = 0;
    Grain(bool fxplug, double amount, double softness, int seed, double frame, int bytes = 0,
          int failAt = 0) {
        host.answerFXPLUG = fxplug;
        host.frame = frame;
        host.failAllocRasterAt = host.failAllocMemoryAt = failAt;
        for (int i = 0; i < 48 * 32; ++i) std::fill_n(px(i % 48, i / 48), 4, 128);
        if (bytes) output.fillBytes(bytes);
        status = noiseStage(PIXEL_VALUES(PIXEL_RGBA8), &host, output.info, workProxy.getImpl(),
                            amount, softness, seed);
        EXPECT_EQ(host.liveBlocks, 0);
    }
    unsigned char* px(int x, int y) { return output.pixel<unsigned char>(x, y); }
    long roughness() {
        long d = 0;
        for (int i = 1; i < 48 * 32; ++i)
            d += std::abs(px(i % 48, i / 48)[0] - px(i % 48 - 1, i / 48)[0]);
        return d;
    }
};

class NoisePaths : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Noise, NoisePaths, ::testing::Values(true, false));

TEST_P(NoisePaths, SameSeedAndTimeGiveTheSameGrainAlphaIsKeptAndFailureClears) {
    auto grain = [&](int seed, double frame) {
        return Grain(GetParam(), 60, 0, seed, frame, 5).output.bytes();
    };
    auto const a = grain(7, 3), plain = Grain(GetParam(), 0, 0, 7, 3, 5).output.bytes();
    for (std::size_t i = 3; i < a.size(); i += 4) ASSERT_EQ(a[i], plain[i]);
    EXPECT_NE(a, plain);
    EXPECT_EQ(a, grain(7, 3));
    EXPECT_NE(a, grain(7, 4));
    EXPECT_NE(a, grain(8, 3));
    EXPECT_EQ(grain(0, 3), grain(0, 9)); // seed times time: either at 0 freezes the grain
    EXPECT_EQ(grain(7, 0), grain(2, 0));
    Grain failed(GetParam(), 50, 0, 1, 1, 9, 1); // a failure clears the frame
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.output.bytes(), std::vector<unsigned char>(failed.output.bytes().size(), 0));
}

TEST_P(NoisePaths, MonochromeGrainSwingsHalfTheScaleAtFullAmountAndSoftens) {
    for (double amount : {100.0, 20.0}) {
        Grain g(GetParam(), amount, 0, 3, 1);
        int lo = 255, hi = 0;
        for (int i = 0; i < 48 * 32; ++i) {
            unsigned char const* p = g.px(i % 48, i / 48);
            ASSERT_TRUE(p[0] == p[1] && p[0] == p[2]);
            lo = std::min<int>(lo, p[0]), hi = std::max<int>(hi, p[0]);
        }
        EXPECT_NEAR(lo, 128 - 1.275 * amount, 8);
        EXPECT_NEAR(hi, 128 + 1.275 * amount, 8);
    }
    long const sharp = Grain(GetParam(), 100, 0, 5, 1).roughness();
    EXPECT_LT(Grain(GetParam(), 100, 2, 5, 1).roughness(), sharp / 2);
    EXPECT_EQ(Grain(GetParam(), 100, 0.000005, 5, 1).roughness(), sharp); // under tolerance
}

} // namespace
