#include "RenderLib/FilterKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

RenderSettings zeroSettings(int taps = 0, double kernelScale = 0) {
    RenderSettings s;
    std::memset(static_cast<void*>(&s), 0, sizeof s);
    s.kernelSize = taps;
    s.kernelScale = kernelScale;
    return s;
}

TEST(FilterKernels, InterpolatingKernelsSumToOneOverIntegerShifts) {
    // Every spline kernel reproduces a constant: the weights of all integer taps sum to one at
    // any phase. A wrong coefficient or piece boundary breaks this.
    RenderSettings s = zeroSettings();
    mitchell_init(1.0 / 3.0, 1.0 / 3.0, s.mitchellCoeffs[0]);
    for (int id : {0, 1, 3, 4, 5, 6, 7, 8, 9, 20}) {
        KernelFunction k = getInterpLineFunc(id);
        ASSERT_NE(k, nullptr);
        for (double phase = -0.95; phase < 1.0; phase += 0.0625) {
            double sum = 0.0;
            for (int tap = -4; tap <= 4; ++tap) sum += k(tap - phase, &s);
            EXPECT_NEAR(sum, 1.0, 1e-12) << "id " << id << " phase " << phase;
        }
        // Symmetric about zero away from the half-open ends.
        EXPECT_NEAR(k(0.3, &s), k(-0.3, &s), 1e-12) << id;
        EXPECT_NEAR(k(1.7, &s), k(-1.7, &s), 1e-12) << id;
    }
}

TEST(FilterKernels, PieceEndsAndNamedPeculiarities) {
    EXPECT_EQ(filter_box(0.5, nullptr), 0.0); // half-open on the right
    EXPECT_EQ(filter_box(-0.5, nullptr), 1.0);
    for (double x : {-1.9, -1.0, -0.4, 0.0, 0.6, 1.5})
        EXPECT_NEAR(filter_cubic(x, nullptr), filter_parzen(x, nullptr), 1e-15);
    // The cosine windows reach to x = 4 and rise again past 2; Lanczos2 has no sinc factor.
    EXPECT_NEAR(filter_hanning(3.0, nullptr), 0.5, 1e-12);
    EXPECT_GT(filter_hamming(3.5, nullptr), filter_hamming(2.0, nullptr));
    EXPECT_NEAR(filter_lanczos2(1.0, nullptr), std::sin(M_PI / 2) / (M_PI / 2), 1e-12);
    // Kaiser has no range test: past |x| = 1 it is r, finite.
    RenderSettings s = zeroSettings();
    kaiser_init(4.0, 123.0, s.kaiserParams[0]);
    EXPECT_EQ(filter_kaiser(1.5, &s), s.kaiserParams[0][1]);
    EXPECT_NEAR(filter_kaiser(0.0, &s), 1.0, 1e-12);
    EXPECT_NEAR(bessel_i0(4.0), std::cyl_bessel_i(0.0, 4.0), 1e-6);
}

TEST(FilterKernels, TapCountFollowsTheRenderScale) {
    const struct {
        int index;
        float scale;
        int taps, mode;
    } cases[] = {{0, 1.0f, 4, 2},  {0, 0.5f, 4, 2}, {0, 0.49f, 1, 0}, {3, 0.1f, 4, 2},
                 {9, 1.0f, 10, 2}, {2, 0.3f, 6, 2}, {3, 0.01f, 1, 0}, {1, 0.2f, 1, 0}};
    for (const auto& c : cases) {
        RenderSettings s = zeroSettings();
        s.interpMode = 2;
        setKernelTransformSize(&s, c.index, c.scale);
        EXPECT_EQ(s.kernelSize, c.taps) << c.index << " " << c.scale;
        EXPECT_EQ(s.interpMode, c.mode) << c.index << " " << c.scale;
    }
}

TEST(FilterKernels, TableRowsAreNormalisedWeightsByPhase) {
    for (int taps : {1, 4, 6, 8, 10}) {
        for (int id : {4, 9, 10, 20, 21}) {
            RenderSettings s = zeroSettings(taps, 1.0);
            setInterpLineFunc(&s, 0.4, 0.3, id, false, 0, 0.0, false, 0, 0, 0.0, id == 10, true);
            const int n = std::max(taps, 4);
            for (int row = 0; row < 256; ++row) {
                double sum = 0.0;
                for (int j = 0; j < n; ++j) {
                    sum += s.kernelLut[row * n + j];
                    EXPECT_TRUE(id != 10 || s.kernelLut[row * n + j] >= 0.0f); // clamped
                }
                EXPECT_NEAR(sum, 1.0, 1e-5) << taps << " " << id << " " << row;
            }
        }
    }
    // At four taps the positions are the pixel offsets -1..2: a zero fraction puts nearly all
    // weight on the second tap, a fraction of one half splits it over the middle two.
    RenderSettings s = zeroSettings(4, 1.0);
    setInterpLineFunc(&s, 0, 0, 4, false, 0, 0, false, 0, 0, 0, false, true);
    const float *atZero = s.kernelLut + kernelLutRow(0.0f) * 4,
                *atHalf = s.kernelLut + kernelLutRow(0.5f) * 4;
    EXPECT_GT(atZero[1], 0.99f);
    EXPECT_NEAR(atHalf[1], atHalf[2], 0.02f);
    EXPECT_LT(atHalf[0], 0.0f);
    // Negative fractions use the lower half of the table.
    EXPECT_LT(kernelLutRow(-0.3f), 127);

    // A row whose weights cancel is stored as it is: a box narrower than the tap spacing at
    // ten taps leaves rows of zeros.
    s = zeroSettings(10, 0.1);
    setInterpLineFunc(&s, 0, 0, 0, false, 0, 0, false, 0, 0, 0, false, true);
    double total = 0.0;
    for (int j = 0; j < 10; ++j) total += s.kernelLut[100 * 10 + j];
    EXPECT_EQ(total, 0.0);
}

TEST(FilterKernels, SharpeningPairSubtractsTheWiderKernel) {
    // Mitchell as kernel A, Kaiser as kernel B: each reads its own block.
    auto pair = [](RenderSettings* s, int a, bool clamp) {
        setInterpLineFunc(s, 1.0 / 3, 1.0 / 3, a, true, 21, 0.25, clamp, 3.0, 0.0, 0.5, false,
                          false);
    };
    RenderSettings s = zeroSettings(4, 1.0), plain = zeroSettings(), clamped = zeroSettings(4, 1.0);
    pair(&s, 20, false);
    pair(&clamped, 20, true);
    EXPECT_FLOAT_EQ(s.sharpenSizeRatio, 5.0f * 0.75f + 1.5f * 0.25f);
    mitchell_init(1.0 / 3, 1.0 / 3, plain.mitchellCoeffs[0]);
    kaiser_init(3.0, 0.0, plain.kaiserParams[0]);
    int negative = 0;
    for (double x = -2.0; x < 2.0; x += 0.05) {
        const double v = s.kernelFunc(x, &s);
        EXPECT_NEAR(
            v, filter_mitchell(x, &plain) - 0.5 * filter_kaiser(s.sharpenSizeRatio * x, &plain),
            1e-12)
            << x;
        EXPECT_EQ(clamped.kernelFunc(x, &clamped), std::max(v, 0.0));
        negative += v < 0.0;
    }
    EXPECT_GT(negative, 0);
    // Lanczos variants 23 and 24 ignore sharpening.
    pair(&s, 24, false);
    EXPECT_EQ(s.kernelFunc(0.7, &s), filter_lanczos(0.7, &plain));
}

} // namespace
