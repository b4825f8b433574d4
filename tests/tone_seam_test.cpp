#include "effect/Seam.h"
#include "effect/ToneTable.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

template <class P> struct Format;
template <> struct Format<PIXEL_ARGB8> { static constexpr auto value = RF_ARGB8; };
template <> struct Format<PIXEL_RGBA16> { static constexpr auto value = RF_RGBA16; };
template <> struct Format<PIXEL_ARGB32> { static constexpr auto value = RF_ARGB32; };

template <class P> bool table(double g, double b, float* t) {
    return makeToneTable(PIXEL_VALUES(P), g, b, t);
}

TEST(ToneTable, EightBitEntriesAreTruncatedAndClamped) {
    float t[257];
    ASSERT_TRUE(table<PIXEL_ARGB8>(1.0, 1.5, t));
    EXPECT_EQ(t[3], 4.0f); // 4.5 truncated, not rounded
    ASSERT_TRUE(table<PIXEL_ARGB8>(1.0, 2.0, t));
    EXPECT_EQ(t[100], 200.0f);
    EXPECT_EQ(t[200], 255.0f);
    EXPECT_EQ(t[256], t[255]);
    // Gamma works on the brightened value: (64 * 2 / 255)^2 * 255 is 64.25, not 32.
    ASSERT_TRUE(table<PIXEL_ARGB8>(2.0, 2.0, t));
    EXPECT_EQ(t[64], 64.0f);
    ASSERT_TRUE(table<PIXEL_ARGB8>(2.0, 1.0, t));
    for (int n = 1; n < 255; ++n) EXPECT_LT(t[n], float(n)) << n; // gamma above 1 darkens
    EXPECT_EQ(t[0], 0.0f);
}

TEST(ToneTable, SixteenAndFloatDepths) {
    float t[257];
    ASSERT_TRUE(table<PIXEL_RGBA16>(1.0, 1.5, t));
    EXPECT_EQ(t[101], 38935.0f); // 101 * 1.5 * 257 = 38935.5
    ASSERT_TRUE(table<PIXEL_RGBA16>(0.5, 4.0, t));
    EXPECT_EQ(t[200], 65535.0f);
    EXPECT_EQ(t[16], std::floor(float(65535.0 * std::sqrt(16 * 0.003921569f * 4.0f))));

    ASSERT_TRUE(table<PIXEL_ARGB32>(1.0, 1.5, t));
    EXPECT_NEAR(t[3], 4.5 / 255.0, 1e-6); // nothing truncated
    ASSERT_TRUE(table<PIXEL_ARGB32>(1.0, 2.0, t));
    EXPECT_NEAR(t[255], 2.0, 1e-5); // nothing clamped
    ASSERT_TRUE(table<PIXEL_ARGB32>(2.2, 1.0, t));
    EXPECT_NEAR(t[128], std::pow(128 / 255.0, 2.2), 1e-6);
}

TEST(ToneTable, NeutralValuesSkipTheStage) {
    float t[257];
    EXPECT_FALSE(table<PIXEL_ARGB8>(1.0, 1.0000001, t));
    EXPECT_FALSE(table<PIXEL_ARGB32>(1.000001, 1.0, t));
    EXPECT_TRUE(table<PIXEL_ARGB8>(1.0, 1.0001, t));
    EXPECT_TRUE(table<PIXEL_ARGB8>(1.0001, 1.0, t));
}

// A 2x1 raster whose pixels are given as (a, r, g, b).
template <class P> struct Pair {
    MemoryImage image{Format<P>::value, 2, 1, MemoryImage::Rows::BottomUp};
    void set(int x, double a, double r, double g, double b) {
        auto* px = image.pixel<typename P::C>(x, 0);
        px[P::ALPHA] = typename P::C(a), px[P::RED] = typename P::C(r);
        px[P::GREEN] = typename P::C(g), px[P::BLUE] = typename P::C(b);
    }
    double ch(int x, int i) { return image.pixel<typename P::C>(x, 0)[i]; }
    void tone(double g, double b) {
        applyTone(PIXEL_VALUES(P), image.info, Format<P>::value, g, b);
    }
};

TEST(Tone, AppliesToColourOnlyInEachDepth) {
    Pair<PIXEL_ARGB8> p8;
    p8.set(0, 77, 100, 3, 255);
    p8.tone(1.0, 2.0);
    EXPECT_EQ(p8.ch(0, PIXEL_ARGB8::RED), 200);
    EXPECT_EQ(p8.ch(0, PIXEL_ARGB8::GREEN), 6);
    EXPECT_EQ(p8.ch(0, PIXEL_ARGB8::BLUE), 255);
    EXPECT_EQ(p8.ch(0, PIXEL_ARGB8::ALPHA), 77);

    // 16 bits interpolate between the 256 steps and round.
    Pair<PIXEL_RGBA16> p16;
    p16.set(0, 1234, 65535, 33026, 0); // about half way from step 128 to 129
    p16.tone(1.0, 1.5);
    EXPECT_EQ(p16.ch(0, PIXEL_RGBA16::RED), 65535);
    double const f = 33026 * 255.0 / 65535 - 128; // the steps are 49344 and 49729.5 truncated
    EXPECT_EQ(p16.ch(0, PIXEL_RGBA16::GREEN), int(49344 + 385 * f + 0.5));
    EXPECT_EQ(p16.ch(0, PIXEL_RGBA16::BLUE), 0);
    EXPECT_EQ(p16.ch(0, PIXEL_RGBA16::ALPHA), 1234);

    // Float extrapolates below 0 and stops at the brightness above 1.
    Pair<PIXEL_ARGB32> pf;
    pf.set(0, 0.25, 2.0, -0.5 / 255.0, 0.5);
    pf.tone(1.0, 1.5);
    EXPECT_NEAR(pf.ch(0, PIXEL_ARGB32::RED), 1.5, 1e-5);
    EXPECT_NEAR(pf.ch(0, PIXEL_ARGB32::GREEN), -0.75 / 255.0, 1e-6);
    EXPECT_NEAR(pf.ch(0, PIXEL_ARGB32::BLUE), 0.75, 1e-5);
    EXPECT_EQ(pf.ch(0, PIXEL_ARGB32::ALPHA), 0.25f);
}

TEST(Tone, ChannelOrderComesFromTheFormat) {
    Pair<PIXEL_ARGB8> p;
    p.set(0, 10, 20, 30, 40);
    // Read as RGBA, the first byte is red and the last is alpha.
    applyTone(PIXEL_VALUES(PIXEL_ARGB8), p.image.info, RF_RGBA8, 1.0, 2.0);
    EXPECT_EQ(p.ch(0, 0), 20);
    EXPECT_EQ(p.ch(0, 3), 40);
}

// A flat image of 3 columns and `rows` rows, 8-bit ARGB, all zero.
struct Flat {
    MemoryImage image;
    explicit Flat(int rows, PluginRasterFormat f = RF_ARGB8) : image(f, 3, rows) {}
    int at(int y, int c = PIXEL_ARGB8::RED) { return image.pixel<unsigned char>(1, y)[c]; }
    std::vector<int> painted() {
        std::vector<int> rows;
        for (int y = 0; y < image.info.height; ++y)
            if (at(y)) rows.push_back(y);
        return rows;
    }
};

double const white[3] = {1, 1, 1};
double const black[3] = {0, 0, 0};

SeamArguments seam(int style, int size, double intensity, double const* color, double start,
                   double stretch = 1.0) {
    return SeamArguments{style, size, intensity, color, start, stretch};
}

void draw(Flat& f, SeamArguments const& s, double scale = 1.0) {
    drawSeam(PIXEL_VALUES(PIXEL_ARGB8), f.image.info, RF_ARGB8, s, scale);
}

TEST(Seam, BandSitsAtBendStartWithTheWidthOfItsSizeAtProxyScale) {
    Flat f(101);
    draw(f, seam(0, 1, 100, white, 50)); // "Small": half width 5, hard border
    EXPECT_EQ(f.painted(), (std::vector<int>{46, 47, 48, 49, 50, 51, 52, 53, 54}));
    EXPECT_EQ(f.at(50), 255);

    Flat half(101);
    draw(half, seam(0, 1, 100, white, 50), 0.5); // 2.5 pixels
    EXPECT_EQ(half.painted(), (std::vector<int>{48, 49, 50, 51, 52}));

    Flat large(101);
    draw(large, seam(1, 3, 100, white, 20)); // "Large", linear: 9 pixels, peak at row 20
    EXPECT_EQ(large.painted().front(), 12);
    EXPECT_EQ(large.painted().back(), 28);
    EXPECT_EQ(large.at(20), 255);
    EXPECT_EQ(large.at(23), int(255 * (1 - 3 / 9.0) + 0.5));
    EXPECT_EQ(large.at(17), large.at(23));
    EXPECT_EQ(large.at(1, PIXEL_ARGB8::ALPHA), 0); // alpha untouched, even under the band
    EXPECT_EQ(large.at(20, PIXEL_ARGB8::ALPHA), 0);

    Flat edge(101);
    draw(edge, seam(0, 1, 100, white, 100)); // centre on the baseline: only the far half
    EXPECT_EQ(edge.painted(), (std::vector<int>{96, 97, 98, 99, 100}));
}

TEST(Seam, StylesStretchAndComplement) {
    Flat sq(101), root(101);
    draw(sq, seam(2, 1, 100, white, 50));
    draw(root, seam(3, 1, 100, white, 50));
    EXPECT_EQ(sq.at(52), int(255 * 0.36 + 0.5)); // closeness 0.6 squared
    EXPECT_EQ(root.at(52), int(255 * std::sqrt(0.6f) + 0.5));

    Flat stretched(101);
    draw(stretched, seam(0, 1, 100, white, 50, 2.0)); // the far side is half as wide
    EXPECT_EQ(stretched.painted(), (std::vector<int>{48, 49, 50, 51, 52, 53, 54}));
    Flat flat(101);
    draw(flat, seam(1, 1, 100, white, 50, 0.0)); // stretch 0: the whole far side is the centre
    EXPECT_EQ(flat.painted().front(), 0);
    EXPECT_EQ(flat.at(0), 255);

    Flat comp(101); // a negative intensity paints the complement: black becomes white
    draw(comp, seam(0, 1, -100, black, 50));
    EXPECT_EQ(comp.at(50), 255);
    EXPECT_EQ(comp.at(50, PIXEL_ARGB8::ALPHA), 0);
    Flat halfway(11, RF_ARGB32);
    drawSeam(PIXEL_VALUES(PIXEL_ARGB32), halfway.image.info, RF_ARGB32, seam(0, 2, -50, white, 50),
             1.0);
    EXPECT_EQ(halfway.image.pixel<float>(0, 5)[PIXEL_ARGB32::RED], 0.0f); // 1 - white = black

    Flat none(101), off(101);
    draw(none, seam(0, 0, 100, white, 50));
    draw(off, seam(0, 3, 0, white, 50));
    EXPECT_TRUE(none.painted().empty());
    EXPECT_TRUE(off.painted().empty());
}

} // namespace
