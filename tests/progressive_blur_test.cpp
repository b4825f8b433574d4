#include "RenderLib/BlurFilter.h"
#include "RenderLib/MipMapBlur.h"
#include "RenderLib/ProgressiveBlur.h"
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
