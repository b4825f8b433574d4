#include "pixel/ColorHSL.h"
#include "pixel/Traits.h"

#include <gtest/gtest.h>

namespace {

TEST(PixelTraits, EightBitsAreBiasedSixteenClampedAndFloatOpen) {
    EXPECT_EQ(PIXEL_ARGB8::multiply(255, 255), 254);
    EXPECT_EQ(PIXEL_ARGB8::multiply(255, 128), 128);
    EXPECT_EQ(PIXEL_RGBA8::multiply(1, 1), 0);
    EXPECT_EQ(PIXEL_ARGB8::fromFloat(0.999f), 254);
    EXPECT_EQ(PIXEL_ARGB8::divide(100, 200), 127);
    EXPECT_EQ(PIXEL_ARGB8::clamp_overflow(256), 255);
    EXPECT_EQ(PIXEL_ARGB8::clamp_overflow(-7), -7); // one side only
    EXPECT_EQ(PIXEL_ARGB8::clamp_underflow(300), 300);
    EXPECT_FLOAT_EQ(PIXEL_ARGB16::multiply(65535.0f, 65535.0f), 65535.0f);
    EXPECT_FLOAT_EQ(PIXEL_ARGB16::fromFloat(0.5f), 32767.5f); // not truncated
    EXPECT_EQ(PIXEL_RGBA32::clamp(-0.5f), -0.5f);
    // Dividing by zero gives zero in every depth.
    EXPECT_EQ(PIXEL_ARGB8::divide(200, 0), 0);
    EXPECT_EQ(PIXEL_RGBA16::divide(200.0f, 0.0f), 0.0f);
    EXPECT_EQ(PIXEL_RGBA32::divide(0.5f, 0.0f), 0.0f);
}

TEST(ColorHSL, LumaLightnessAndTheDeliberateDivisor) {
    float h, s, l;
    rgb2hsl(1, 0.5f, 0, h, s, l);
    EXPECT_FLOAT_EQ(s, 1.0f); // 2 - (hi - lo) = 1
    EXPECT_FLOAT_EQ(h, 0.5f);
    rgb2hsl(0.00005f, 0.00005f, 0.00009f, h, s, l);
    EXPECT_EQ(l, 0.0f); // near-black loses its luma
    rgb2hsl(0.2f, 0.3f, 0.9f, h, s, l);
    EXPECT_FLOAT_EQ(s, 0.7f / 1.3f);
    EXPECT_FLOAT_EQ(h, 4.0f + (0.2f - 0.3f) / 0.7f);

    float r, g, b;
    hsl2rgb(6.0f, 0.5f, 0.6f, r, g, b); // default branch: r p, g q, b p before the luma fit
    EXPECT_FLOAT_EQ(r, b);
    EXPECT_LT(g, r);
    for (float hue : {0.3f, 1.7f, 2.2f, 3.9f, 4.5f, 5.5f}) {
        hsl2rgb(hue, 0.4f, 0.35f, r, g, b);
        EXPECT_NEAR(0.299f * r + 0.587f * g + 0.114f * b, 0.35f, 1e-5) << hue;
    }
}

} // namespace
