#include "effect/Seam.h"
#include "effect/ToneTable.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace {

// Entry i of the tone table of a format.
template <class P> float entry(double gamma, double brightness, int i) {
    float t[257];
    EXPECT_TRUE(makeToneTable(PIXEL_VALUES(P), gamma, brightness, t));
    return t[i];
}

TEST(Tone, TableEntriesInEachDepth) {
    EXPECT_EQ(entry<PIXEL_ARGB8>(1.0, 1.5, 3), 4.0f); // 4.5 truncated, not rounded
    EXPECT_EQ(entry<PIXEL_ARGB8>(1.0, 2.0, 100), 200.0f);
    EXPECT_EQ(entry<PIXEL_ARGB8>(1.0, 2.0, 256), 255.0f);
    EXPECT_EQ(entry<PIXEL_ARGB8>(2.0, 2.0, 64), 64.0f);    // gamma after brightness, not 32
    EXPECT_EQ(entry<PIXEL_ARGB8>(10.0, 5.0, 255), 255.0f); // far beyond an int, still white
    EXPECT_EQ(entry<PIXEL_RGBA16>(10.0, 5.0, 200), 65535.0f);
    float t[257];
    EXPECT_FALSE(makeToneTable(PIXEL_VALUES(PIXEL_ARGB8), 1.0, 1.0000001, t));
    EXPECT_EQ(entry<PIXEL_RGBA16>(1.0, 1.5, 101), 38935.0f);          // 101 * 1.5 * 257 = 38935.5
    EXPECT_NEAR(entry<PIXEL_ARGB32>(1.0, 2.0, 3), 6.0 / 255.0, 1e-6); // neither truncated
    EXPECT_NEAR(entry<PIXEL_ARGB32>(1.0, 2.0, 255), 2.0, 1e-5);       // nor clamped
    EXPECT_NEAR(entry<PIXEL_ARGB32>(2.2, 1.0, 128), std::pow(128 / 255.0, 2.2), 1e-6);
}

TEST(Tone, AppliesToColourOnlyInEachDepth) {
    MemoryImage m8(RF_ARGB8, 1, 1), m16(RF_RGBA16, 1, 1), mf(RF_ARGB32, 1, 1);
    auto* p8 = m8.pixel<unsigned char>(0, 0);
    p8[0] = 77, p8[1] = 100, p8[2] = 3; // A R G
    applyTone(PIXEL_VALUES(PIXEL_ARGB8), m8.info, RF_ARGB8, 1.0, 2.0);
    EXPECT_EQ(std::vector<int>(p8, p8 + 3), (std::vector<int>{77, 200, 6}));
    auto* p16 = m16.pixel<unsigned short>(0, 0); // between steps 49344 and 49729, rounded
    p16[0] = 33026, p16[3] = 1234;
    applyTone(PIXEL_VALUES(PIXEL_RGBA16), m16.info, RF_RGBA16, 1.0, 1.5);
    EXPECT_EQ(p16[0], int(49344 + 385 * (33026 * 255.0 / 65535 - 128) + 0.5));
    EXPECT_EQ(p16[3], 1234);
    auto* pf = mf.pixel<float>(0, 0); // float extrapolates below 0 and stops at b above 1
    pf[0] = 0.25f, pf[1] = 2.0f, pf[2] = -0.5f / 255.0f;
    applyTone(PIXEL_VALUES(PIXEL_ARGB32), mf.info, RF_ARGB32, 1.0, 1.5);
    EXPECT_EQ(pf[0], 0.25f);
    EXPECT_NEAR(pf[1], 1.5, 1e-5);
    EXPECT_NEAR(pf[2], -0.75 / 255.0, 1e-6);
}

// Red of each row that the seam paints on a black, transparent flat image of 101 rows.
std::map<int, int> seam(int style, int size, double intensity, double c, double start,
                        double stretch = 1.0, double scale = 1.0) {
    MemoryImage flat(RF_ARGB8, 2, 101, MemoryImage::Rows::BottomUp);
    double const color[3] = {c, c, c};
    drawSeam(PIXEL_VALUES(PIXEL_ARGB8), flat.info, RF_ARGB8,
             SeamArguments{style, size, intensity, color, start, stretch}, scale);
    std::map<int, int> rows;
    for (int y = 0; y < 101; ++y) {
        EXPECT_EQ(flat.pixel<unsigned char>(1, y)[0], 0) << y; // alpha stays
        if (int r = flat.pixel<unsigned char>(1, y)[1]) rows[y] = r;
    }
    return rows;
}

TEST(Seam, BandAtBendStartWithTheWidthOfItsSizeAtProxyScale) {
    auto band = seam(0, 1, 100, 1, 50); // "Small" is 5 pixels either side, hard border
    EXPECT_EQ(band.begin()->first, 46);
    EXPECT_EQ(band.size(), 9u);
    EXPECT_EQ(seam(0, 1, 100, 1, 50, 1.0, 0.5).size(), 5u); // 2.5 pixels at half scale
    auto linear = seam(1, 3, 100, 1, 20);                   // "Large": 9 pixels
    EXPECT_EQ(linear.begin()->first, 12);
    EXPECT_EQ(linear[20], 255);
    EXPECT_EQ(linear[23], int(255 * (6 / 9.0) + 0.5));
    EXPECT_EQ(linear[17], linear[23]);
    EXPECT_EQ(seam(2, 1, 100, 1, 50)[52], int(255 * 0.36 + 0.5));
    EXPECT_EQ(seam(3, 1, 100, 1, 50)[52], int(255 * std::sqrt(0.6f) + 0.5));
    EXPECT_EQ(seam(0, 1, 100, 1, 100).begin()->first, 96);     // only the far half
    EXPECT_EQ(seam(0, 1, 100, 1, 50, 2.0).begin()->first, 48); // far side narrowed by stretch
    EXPECT_EQ(seam(1, 1, 100, 1, 50, 0.0)[0], 255);            // stretch 0: far side all centre
    EXPECT_TRUE(seam(0, 0, 100, 1, 50).empty());
    EXPECT_TRUE(seam(0, 3, 0, 1, 50).empty());
    // A negative intensity paints the complement.
    EXPECT_EQ(seam(0, 1, -100, 0, 50)[50], 255);
    EXPECT_EQ(seam(0, 1, -50, 0, 50)[50], 128);
    EXPECT_TRUE(seam(0, 1, -100, 1, 50).empty());
}

} // namespace
