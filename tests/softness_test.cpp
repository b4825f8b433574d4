#include "effect/SoftnessStages.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

// Sum of the differences between horizontal neighbours of one channel: the picture's detail.
long detail(MemoryImage& m) {
    long d = 0;
    for (int y = 0; y < m.info.height; ++y)
        for (int x = 1; x < m.info.width; ++x)
            d += std::abs(m.pixel<unsigned char>(x, y)[1] - m.pixel<unsigned char>(x - 1, y)[1]);
    return d;
}

TEST(PlainSoftness, SimpleBlursTheFirstSampleOnlyAndTurnsTheModeToMinusOne) {
    MemoryImage sample(RF_ARGB8, 40, 30), out(RF_ARGB8, 40, 30);
    MemoryHost host(&sample, &out);
    TX_Line2D baseline(0, 29, 39, 29, false);
    auto blur = [&](double softness, int& mode) {
        sample.fillBytes(4);
        long const before = detail(sample);
        plainSoftness(&host, baseline, 40, 30, 30, 1.0, softness, 1.0, 0.0, 100.0, 0, mode,
                      sample.info);
        return double(detail(sample)) / before;
    };
    int mode = 0;
    EXPECT_EQ(blur(0.0, mode), 1.0); // no softness: no blur, the mode stays
    EXPECT_EQ(mode, 0);
    EXPECT_LT(blur(3.0, mode), 0.5);
    EXPECT_EQ(mode, -1);
    EXPECT_EQ(blur(3.0, mode), 1.0); // a later sample is left to its flat image
    int progressive = 2;
    EXPECT_EQ(blur(3.0, progressive), 1.0);
    EXPECT_EQ(progressive, 2);
    // The radius that decides is softness per thousand of the smaller side, at proxy scale.
    mode = 0;
    plainSoftness(&host, baseline, 40, 30, 30, 0.5, 4.0, 1.0, 0.0, 100.0, 0, mode, sample.info);
    EXPECT_EQ(mode, 0); // 30 * 0.06 * 0.5 truncates to 0
    plainSoftness(&host, baseline, 40, 30, 30, 0.5, 5.0, 1.0, 0.0, 100.0, 0, mode, sample.info);
    EXPECT_EQ(mode, -1);
}

} // namespace
