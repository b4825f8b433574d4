#include "RenderLib/BlurFilter.h"
#include "RenderLib/MipMapBlur.h"
#include "RenderLib/ProgressiveBlur.h"
#include "RenderLib/ProgressiveBlurFormat.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

// A picture over its own host, blurred toward its bottom edge; raster, if given, holds one
// channel value a pixel. Float pictures hold alpha 1 and a pattern; the others seeded noise.
struct Picture {
    MemoryImage img, out;
    MemoryHost host;
    Picture(PluginRasterFormat f, int w, int h, unsigned seed = 1)
        : img(f, w, h), out(f, w, h), host(&img, &out) {
        img.fillBytes(seed);
        if (img.info.pixelBytes != 16) return;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                float* p = img.pixel<float>(x, y);
                p[0] = 1.0f;
                for (int c = 1; c < 4; ++c) p[c] = float((x * 5 + y * y + 3 * c) % 17);
            }
    }
    int run(float radius, float aspect, float fadeStart, float fadeLength, int fadeType, int mode,
            PluginRasterInfo* raster = nullptr) {
        TX_Line2D line(0.0, img.info.height, img.info.width, img.info.height, false);
        return CommonRender_progressiveBlur(&host, line, radius, aspect, fadeStart, fadeLength,
                                            fadeType, raster ? raster : &img.info,
                                            raster != nullptr, mode, false);
    }
    float at(int x, int y, int c) { return img.pixel<float>(x, y)[c]; }
};

// The fade leaves rows within fadeStart percent of the last row, clears those beyond
// fadeStart + fadeLength, and scales the rest by the fade curve. "Mip Map" at radius 0 is the
// fade alone.
TEST(ProgressiveBlur, FadeByRowsForEachFadeType) {
    float const row0[3] = {0.8f, 0.64f, std::sqrt(0.8f)}; // f = 1 - 1/5 at row 0
    for (int type = 0; type < 3; ++type) {
        Picture p(RF_ARGB32, 3, 101), ref(RF_ARGB32, 3, 101);
        ASSERT_EQ(p.run(0.0f, 1.0f, 0.0f, 500.0f, type, 1), 0);
        EXPECT_EQ(p.host.allocMemoryCalls, 0); // no pyramid at radius 0
        for (int c = 0; c < 4; ++c) {
            EXPECT_NEAR(p.at(1, 0, c), ref.at(1, 0, c) * row0[type], 1e-5);
            EXPECT_EQ(p.at(1, 100, c), ref.at(1, 100, c));
        }
    }
    Picture b(RF_RGBA8, 2, 101); // 8 bits truncate: 200 * 0.8 is 160
    std::memset(b.img.info.data, 200, b.img.storage.size());
    b.run(0.0f, 1.0f, 0.0f, 500.0f, 0, 1);
    EXPECT_EQ(*b.img.pixel<unsigned char>(1, 0), 160);

    // No fade length: rows beyond half the height vanish at once, the others stay.
    Picture h(RF_ARGB32, 4, 11);
    ASSERT_EQ(h.run(0.0f, 1.0f, 50.0f, 0.0f, 0, 1), 0);
    for (int y = 0; y < 11; ++y) EXPECT_EQ(h.at(1, y, 0), y < 5 ? 0.0f : 1.0f) << y;
}

// At radius 0 a float picture holding an infinity is blended with its blur at radius 1; below an
// aspect of 2 the ramped types blur no column, so rows without odd values stay as they were (the
// mirror leaves the flat image's unread rows out on that account).
TEST(ProgressiveBlur, FloatRadiusZeroReachesOtherRowsFromAnAspectOf2) {
    for (int mode : {0, 2, 3})
        for (float aspect : {0.0f, 1.0f, 1.99f, 2.0f}) {
            Picture p(RF_RGBA32, 9, 12), ref(RF_RGBA32, 9, 12);
            p.img.pixel<float>(4, 6)[1] = INFINITY;
            ASSERT_EQ(p.run(0.0f, aspect, 100.0f, 0.0f, 0, mode), 0); // no row fades
            int othersChanged = 0;
            for (int y = 0; y < 12; ++y)
                othersChanged +=
                    y != 6 && std::memcmp(p.img.info.row(y), ref.img.info.row(y), 9 * 16) != 0;
            EXPECT_EQ(othersChanged > 0, aspect >= 2.0f) << mode << " " << aspect;
        }
}

// At radius 0 the fade tells the blur whether a float picture is all finite: the answer must be
// the blur's own, whether the odd value sits in a row the fade clears, scales or leaves.
TEST(ProgressiveBlur, FloatRadiusZeroFadeSeesWhatTheBlurWouldSee) {
    for (float odd : {INFINITY, NAN, -0.0f, 1e31f})
        for (int y : {0, 5, 11}) {
            Picture p(RF_RGBA32, 9, 12), ref(RF_RGBA32, 9, 12);
            p.img.pixel<float>(4, y)[1] = ref.img.pixel<float>(4, y)[1] = odd;
            ASSERT_EQ(p.run(0.0f, 2.0f, 10.0f, 70.0f, 0, kSoftnessProgressiveLinear), 0);
            blur_detail::fadeRows<float, 4>(ref.img.info, 10.0f, 70.0f, 0);
            BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA32), &ref.host, ref.img.info, 0.0, 2.0, true,
                            kSoftnessProgressiveLinear, false);
            EXPECT_EQ(std::memcmp(p.img.info.data, ref.img.info.data, ref.img.storage.size()), 0)
                << odd << " in row " << y;
        }
}

TEST(ProgressiveBlur, UniformModesSkipTheFadeAndAlphaModeKeepsColours) {
    Picture p(RF_BGRA8, 16, 12, 3);
    auto const before = p.img.bytes();
    EXPECT_EQ(p.run(0.0f, 1.0f, 0.0f, 0.0f, 0, -1), 0); // a fade would clear every row
    EXPECT_EQ(p.img.bytes(), before);
    EXPECT_EQ(p.run(2.0f, 1.0f, 0.0f, 0.0f, 0, -2), 0);
    auto const after = p.img.bytes();
    int alphaChanged = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        ASSERT_TRUE(i % 4 == 3 || after[i] == before[i]) << i;
        alphaChanged += after[i] != before[i];
    }
    EXPECT_GT(alphaChanged, 0);
}

// radius 2 on a 100-row picture is a softness of 100 per thousand of the smaller side, R = 10
// pixels at the host's scale; the blur is the progressive one of that whole radius.
TEST(ProgressiveBlur, ProgressiveModesUseTheComputedRadius) {
    for (double scale : {1.0, 0.5})
        for (int mode : {2, 3}) {
            Picture p(RF_ARGB14, 100, 100, 11), ref(RF_ARGB14, 100, 100, 11);
            p.host.scaleY = ref.host.scaleY = scale;
            ASSERT_EQ(p.run(2.0f, 0.5f, 100.0f, 0.0f, 0, mode), 0);
            Internal_BlurFilter_RGBA(PIXEL_VALUES(PIXEL_ARGB14), &ref.host, ref.img.info,
                                     10.0 * scale, 0.5, true, mode, false);
            EXPECT_EQ(p.img.bytes(), ref.img.bytes()) << scale << " " << mode;
            EXPECT_EQ(p.host.liveBlocks, 0);
        }
}

TEST(ProgressiveBlur, PyramidLevelsAndTheirSampling) {
    for (auto [w, h, levels] : {std::tuple{1920, 1080, 10}, {513, 1, 10}, {200, 200, 9}, {3, 3, 2}})
        EXPECT_EQ(blur_detail::mipLevelCount(w, h), levels) << w << " x " << h;

    // A level of shift 1 is read half a pixel in: x 0 and 1 sit on the first texel, 2 between.
    unsigned char texels[2] = {0, 100}, got[4];
    blur_detail::MipLevel<unsigned char, 1> lv;
    lv.data = texels, lv.rowBytes = 2, lv.width = 2, lv.height = 1, lv.shift = 1;
    for (int x = 0; x < 4; ++x) blur_detail::sampleLevel(lv, x, 0, got + x);
    EXPECT_EQ(std::vector<int>(got, got + 4), (std::vector<int>{0, 0, 50, 100}));

    // Row 15 lies one pixel from the line: radius 1 takes level 1 wholly, 2 level 2, and 1.5
    // the mean of the two.
    std::vector<float> at[3];
    for (int i = 0; i < 3; ++i) {
        Picture p(RF_ARGB32, 16, 16);
        ASSERT_EQ(p.run(1.0f + 0.5f * i, 1.0f, 100.0f, 0.0f, 0, 1), 0);
        EXPECT_EQ(p.host.liveBlocks, 0);
        for (int x = 0; x < 16; ++x)
            for (int c = 1; c < 4; ++c) at[i].push_back(p.at(x, 15, c));
    }
    EXPECT_NE(at[0], at[2]);
    for (std::size_t k = 0; k < at[0].size(); ++k)
        EXPECT_NEAR(at[1][k], 0.5f * (at[0][k] + at[2][k]), 1e-4);

    // 3x3: two levels, the second smoothed through a block of its own. Row 0 is 3 from the
    // line: at radius 10 it leaves the pyramid and clears, alpha 0 pixels stay.
    Picture s(RF_ARGB32, 3, 3);
    s.img.pixel<float>(1, 0)[0] = 0.0f;
    float const keep = s.at(1, 0, 2);
    ASSERT_EQ(s.run(10.0f, 1.0f, 100.0f, 0.0f, 0, 1), 0);
    EXPECT_EQ(s.at(0, 0, 2), 0.0f);
    EXPECT_EQ(s.at(0, 0, 0), 0.0f);
    EXPECT_EQ(s.at(1, 0, 2), keep);
}

// The vector pyramid against the portable one, smoothing included: lines under, across
// (the walk standing still beyond it), beside and slanting steeply, radii that cross levels
// within a row or leave the pyramid, clear alpha and, in 14 bits, alpha over full scale.
template <class P> void expectVectorPyramid(PluginRasterFormat format) {
    using C = typename P::C;
    auto const* fast = blur_detail::mipKernelsAvx2<C>();
    if (!fast) GTEST_SKIP() << "no AVX2 on this processor";
    struct {
        double x0, y0, x1, y1;
        float radius;
    } const cases[] = {{0, 29, 37, 29, 0.4f},  {0, 40, 37, 10, 0.15f}, {-5, 0, 30, 29, 2.0f},
                       {0, 29, 37, 29, 40.0f}, {40, 0, 60, 29, -0.3f}, {0, 90, 37, 29, 0.05f}};
    for (auto const& c : cases) {
        Picture slow(format, 37, 29, 3), quick(format, 37, 29, 3);
        for (Picture* p : {&slow, &quick})
            for (int y = 0; y < 29; ++y)
                for (int x = 0; x < 37; ++x)
                    if ((x * 3 + y) % 11 == 0 || (x < 17 && y > 20))
                        p->img.pixel<C>(x, y)[P::ALPHA] = C(0);
        TX_Line2D a(c.x0, c.y0, c.x1, c.y1, false), b = a;
        ASSERT_EQ((blur_detail::mipMapBlur<P, 4>(&slow.host, a, c.radius, &slow.img.info, nullptr)),
                  0);
        ASSERT_EQ((blur_detail::mipMapBlur<P, 4>(&quick.host, b, c.radius, &quick.img.info, fast)),
                  0);
        EXPECT_EQ(slow.img.bytes(), quick.img.bytes()) << format << " radius " << c.radius;
    }
}

TEST(ProgressiveBlur, VectorPyramidEqualsThePortableOneInEveryDepth) {
    expectVectorPyramid<PIXEL_RGBA8>(RF_RGBA8);
    expectVectorPyramid<PIXEL_ARGB14>(RF_ARGB14);
    expectVectorPyramid<PIXEL_RGBA16>(RF_RGBA16);
    expectVectorPyramid<PIXEL_ARGB32>(RF_ARGB32);
}

// One channel behaves as the alpha of a grey picture: the pyramid gives the blurred value times
// the value the pixel had; the uniform and progressive blurs go through a four-channel copy.
TEST(ProgressiveBlur, SingleChannelPathsMatchTheAlphaOfFourChannels) {
    for (auto [mode, singleMode, radius] :
         {std::tuple{1, 1, 0.3f}, std::tuple{-2, -1, 2.5f}, std::tuple{3, 3, 30.0f}}) {
        Picture four(RF_ARGB8, 24, 20, 5), one(RF_ARGB8, 24, 20);
        PluginRasterInfo single = one.img.info; // one byte a pixel over the same storage
        single.pixelBytes = 1, single.rowBytes = 24;
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 24; ++x) {
                unsigned char* p = four.img.pixel<unsigned char>(x, y);
                p[1] = p[2] = p[3] = single.row(y)[x] = p[0];
            }
        ASSERT_EQ(four.run(radius, 1.5f, 10.0f, 60.0f, 1, mode), 0);
        ASSERT_EQ(one.run(radius, 1.5f, 10.0f, 60.0f, 1, singleMode, &single), 0);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 24; ++x)
                ASSERT_EQ(single.row(y)[x], four.img.pixel<unsigned char>(x, y)[0])
                    << mode << ": " << x << "," << y;
        EXPECT_EQ(one.host.liveBlocks, 0);
    }
}

TEST(ProgressiveBlur, FailuresLeaveThePictureAsDescribed) {
    // A pyramid block that cannot be had: faded, otherwise untouched, nothing kept.
    for (int failAt : {1, 2, 3}) {
        Picture p(RF_RGBA16, 20, 20, 8), ref(RF_RGBA16, 20, 20, 8);
        p.host.failAllocMemoryAt = failAt;
        EXPECT_EQ(p.run(0.2f, 1.0f, 0.0f, 50.0f, 2, 1), 1);
        ref.run(0.0f, 1.0f, 0.0f, 50.0f, 2, 1);
        EXPECT_EQ(p.img.bytes(), ref.img.bytes());
        EXPECT_EQ(p.host.liveBlocks, 0);
        EXPECT_EQ(p.host.lockBalance, 0);
    }
    // An output format without a blur: refused, untouched.
    Picture q(RF_BGRA15, 8, 8);
    auto const before = q.img.bytes();
    EXPECT_EQ(q.run(2.0f, 1.0f, 0.0f, 0.0f, 0, -1), 1);
    EXPECT_EQ(q.img.bytes(), before);
}

} // namespace
