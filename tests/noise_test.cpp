#include "effect/NoiseStage.h"
#include "pixel/NoiseRows8.h"
#include "platform/Random.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

// Grain over a grey (or byte-noise) 8-bit RGBA output of 48 x 32, through the scratch raster
// of FxPlug hosts or the float plane of others.
struct Grain {
    MemoryImage output{RF_RGBA8, 48, 32, MemoryImage::Rows::Padded}, work{RF_RGBA8, 48, 32};
    MemoryHost host{&work, &output};
    PluginRasterProxy workProxy{&host, new MemoryRaster(work.info), false, true};
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

// The wide grain row gives the scalar formula's bytes: every colour against every field value in
// both orders, at amounts that stay in range, clip at both ends and turn the field round.
TEST(NoiseRows, WideGrainEqualsThePixelFormula) {
    for (int alphaIndex : {0, 3}) {
        NoiseRow8 row = noiseRow8Avx2(alphaIndex);
        if (!row) GTEST_SKIP() << "no AVX2 on this processor";
        std::vector<unsigned char> field(4 * 65536), px(4 * 65536);
        for (int i = 0; i < 65536; ++i) {
            field[4 * i + alphaIndex] = (unsigned char)(i >> 8);
            for (int k = 0; k < 4; ++k) px[4 * i + k] = (unsigned char)(i + 85 * k);
        }
        for (float amount : {20.0f, 100.0f, 333.0f, -40.0f}) {
            float const a = amount * 0.01f, h = 127.5f;
            std::vector<unsigned char> got = px, want = px;
            ASSERT_EQ(row(got.data(), field.data(), 65536, a, h), 65536);
            for (int i = 0; i < 65536; ++i) {
                float const n = (float(field[4 * i + alphaIndex]) - h) * a;
                for (int k = alphaIndex == 0 ? 1 : 0, e = k + 3; k < e; ++k)
                    want[4 * i + k] =
                        (unsigned char)std::clamp(int(float(want[4 * i + k]) + n), 0, 255);
            }
            EXPECT_EQ(got, want) << amount;
        }
    }
}

// The 8-bit plane gives the bytes of the field kept in a scratch raster's alpha and softened
// there: both alpha positions, lines down to the tent's least, radii whole, fractional, below 1,
// a hair below whole, held to the line, with and without an exact 16-bit divider, wider than the
// plane's rows take, and one the plane does not take.
template <class P> void expectPlaneEqualsAlphaField(PluginRasterFormat format) {
    if (!chosenNoisePlane8()) GTEST_SKIP() << "no plane kernels in this process";
    struct {
        int w, h;
        float softness;
    } const cases[] = {{48, 32, 0},    {48, 32, 2},         {37, 29, 2.5f},  {37, 29, 0.4f},
                       {41, 23, 1},    {41, 23, 2.999999f}, {40, 40, 7.25f}, {64, 30, 4},
                       {50, 33, 6.5f}, {70, 40, 11},        {40, 6, 3},      {5, 5, 1.5f},
                       {300, 7, 16},   {48, 32, 40}};
    for (auto const& c : cases) {
        MemoryImage plane(format, c.w, c.h),
            alphaField(format, c.w, c.h, MemoryImage::Rows::Padded);
        MemoryImage fast(format, c.w, c.h, MemoryImage::Rows::BottomUp), slow(format, c.w, c.h);
        fast.fillBytes(4), slow.fillBytes(4);
        MemoryHost host(&fast, &fast);
        platformSrand(31);
        bool const took =
            noise_detail::addNoisePlane8<P>(&host, fast.info, plane.info, 70, c.softness);
        int red, green, blue, alpha;
        getRasterChannelOrder(format, red, green, blue, alpha);
        platformSrand(31);
        noise_detail::addNoiseInAlpha<P, unsigned char, int>(&host, slow.info, alphaField.info,
                                                             alpha, 70, c.softness);
        EXPECT_EQ(took, c.softness < 40) << c.w << "x" << c.h << " " << c.softness;
        if (took) {
            EXPECT_EQ(fast.bytes(), slow.bytes()) << c.w << "x" << c.h << " " << c.softness;
        }
        EXPECT_EQ(host.liveBlocks, 0);
    }
}

TEST(NoisePlane, EqualsTheFieldInAlpha) {
    expectPlaneEqualsAlphaField<PIXEL_RGBA8>(RF_RGBA8);
    expectPlaneEqualsAlphaField<PIXEL_ARGB8>(RF_ARGB8);
}

} // namespace
