#include "pixel/TransferComposite.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

// One pixel as straight r, g, b, a in the format's own scale.
struct Px {
    double r, g, b, a;
};

template <class P> void put(MemoryImage& im, int x, Px v) {
    auto* px = im.pixel<typename P::C>(x, 0);
    px[P::RED] = typename P::C(v.r);
    px[P::GREEN] = typename P::C(v.g);
    px[P::BLUE] = typename P::C(v.b);
    px[P::ALPHA] = typename P::C(v.a);
}

template <class P> Px get(MemoryImage& im, int x) {
    auto* px = im.pixel<typename P::C>(x, 0);
    return {double(px[P::RED]), double(px[P::GREEN]), double(px[P::BLUE]), double(px[P::ALPHA])};
}

// Composites one pixel of top over one of bottom by a mode number, writing into top as the
// effect does; returns the result and TransferComposite's status.
template <class P>
Px compose(PluginRasterFormat format, int mode, Px top, Px bottom, double opTop = 1.0,
           double opBottom = 1.0, bool forceOpaque = false, int* status = nullptr,
           bool noHostBlend = false, bool answerAE = false) {
    MemoryImage t(format, 1, 1), b(format, 1, 1, MemoryImage::Rows::BottomUp), o(format, 1, 1);
    put<P>(t, 0, top);
    put<P>(b, 0, bottom);
    MemoryHost host(&t, &o);
    host.answerAE = answerAE;
    MemoryRaster rt(t.info, false), rb(b.info, false);
    int s = TransferComposite(PIXEL_VALUES(P), &host, mode, opTop, opBottom, &rt, &rb, &rt, false,
                              forceOpaque, noHostBlend);
    if (status) *status = s;
    return get<P>(t, 0);
}

// The same two colours in every format: top (0.8, 0.4, 0.2), bottom (0.6, 0.6, 0.4), both opaque.
// 8-bit values are worked with the biased multiply; the others from the real formulas.
struct ModeCase {
    int mode;
    int r8, g8, b8;
    double r, g, b;
    double tolerance; // in units of full scale, for the 16-bit and float formats
};

ModeCase const kCases[] = {
    {5, 122, 61, 20, 0.48, 0.24, 0.08, 1e-5},     // multiply
    {6, 235, 194, 133, 0.92, 0.76, 0.52, 1e-5},   // screen
    {35, 235, 194, 133, 0.92, 0.76, 0.52, 1e-5},  // screen under its second number
    {7, 214, 133, 41, 0.84, 0.52, 0.16, 1e-5},    // overlay
    {8, 190, 141, 66, 0.744, 0.552, 0.256, 1e-5}, // soft light
    {9, 214, 122, 41, 0.84, 0.48, 0.16, 1e-5},    // hard light
    {10, 153, 102, 51, 0.6, 0.4, 0.2, 1e-5},      // darken
    {11, 204, 153, 102, 0.8, 0.6, 0.4, 1e-5},     // lighten
    {25, 112, 133, 112, 0.44, 0.52, 0.44, 1e-5},  // exclusion
    {19, 112, 133, 112, 0.44, 0.52, 0.44, 1e-5},  // exclusion under another number
    {23, 255, 255, 127, 3.0, 1.0, 0.5, 1e-5},     // colour dodge: float keeps 3.0
    {24, 128, 0, 0, 0.5, 0.0, -2.0, 1e-5},        // colour burn: float keeps -2.0
    {4, 255, 255, 153, 1.4, 1.0, 0.6, 1e-5},      // add: float may exceed full scale
    {12, 51, 51, 51, 0.2, 0.2, 0.2, 1e-5},        // difference
    {2, 204, 102, 51, 0.8, 0.4, 0.2, 1e-5},       // normal
    {1, 153, 153, 102, 0.6, 0.6, 0.4, 1e-5},      // behind an opaque bottom: the bottom
};

template <class P> void checkModes(PluginRasterFormat format) {
    double const M = double(P::MAX_VALUE());
    Px const top{0.8 * M, 0.4 * M, 0.2 * M, M}, bottom{0.6 * M, 0.6 * M, 0.4 * M, M};
    for (auto const& c : kCases) {
        Px out = compose<P>(format, c.mode, top, bottom);
        double want[3] = {c.r, c.g, c.b};
        double got[3] = {out.r, out.g, out.b};
        for (int i = 0; i < 3; ++i) {
            if constexpr (P::is8Bit()) {
                int w8[3] = {c.r8, c.g8, c.b8};
                EXPECT_EQ(got[i], w8[i])
                    << "format " << format << " mode " << c.mode << " ch " << i;
            } else if constexpr (P::is32Bit()) {
                EXPECT_NEAR(got[i], want[i], c.tolerance) << "mode " << c.mode << " ch " << i;
            } else {
                double w = std::clamp(want[i] * M, 0.0, M);
                EXPECT_NEAR(got[i], w, 1.0) << "format " << format << " mode " << c.mode;
            }
        }
        EXPECT_EQ(out.a, M) << "mode " << c.mode;
    }
}

TEST(TransferModes, EachModeInEachFormat) {
    checkModes<PIXEL_ARGB8>(RF_ARGB8);
    checkModes<PIXEL_RGBA8>(RF_RGBA8);
    checkModes<PIXEL_ARGB16>(RF_ARGB16);
    checkModes<PIXEL_RGBA16>(RF_RGBA16);
    checkModes<PIXEL_ARGB32>(RF_ARGB32);
    checkModes<PIXEL_RGBA32>(RF_RGBA32);
}

// Top (1, 0.4, 0.4), bottom (0, 0, 1): the four colour modes each take a different mix.
template <class P> void checkColourModes(PluginRasterFormat format) {
    double const M = double(P::MAX_VALUE());
    Px const top{M, 0.4 * M, 0.4 * M, M}, bottom{0, 0, M, M};
    struct {
        int mode;
        double r, g, b;
    } const cases[] = {
        {13, 0.381271, 0.0, 0.0},           // hue of the top
        {3, 0.381271, 0.0, 0.0},            // hue under its second number
        {14, 0.097353, 0.097353, 0.243382}, // saturation of the top
        {15, 0.196755, 0.078702, 0.078702}, // hue and saturation of the top
        {16, 0.525282, 0.525282, 1.0},      // luma of the top
    };
    double const tol = P::is8Bit() ? 1.0 : (P::is32Bit() ? 1e-4 : 20.0);
    for (auto const& c : cases) {
        Px out = compose<P>(format, c.mode, top, bottom);
        double scale = P::is32Bit() ? 1.0 : M;
        EXPECT_NEAR(out.r, c.r * scale, tol) << format << " mode " << c.mode;
        EXPECT_NEAR(out.g, c.g * scale, tol) << format << " mode " << c.mode;
        EXPECT_NEAR(out.b, c.b * scale, tol) << format << " mode " << c.mode;
    }
}

TEST(TransferModes, ColourModesInEachFormat) {
    checkColourModes<PIXEL_ARGB8>(RF_ARGB8);
    checkColourModes<PIXEL_RGBA8>(RF_RGBA8);
    checkColourModes<PIXEL_ARGB16>(RF_ARGB16);
    checkColourModes<PIXEL_RGBA16>(RF_RGBA16);
    checkColourModes<PIXEL_ARGB32>(RF_ARGB32);
    checkColourModes<PIXEL_RGBA32>(RF_RGBA32);
}

TEST(TransferModes, FloatAsymmetries) {
    // Saturation and colour cap an over-range channel at 1; hue and luma do not.
    Px const bright{2.0, 0.0, 0.0, 1.0}, blue{0.0, 0.0, 1.0, 1.0};
    Px sat = compose<PIXEL_RGBA32>(RF_RGBA32, 14, bright, blue);
    EXPECT_NEAR(sat.r, 0.0, 1e-5);
    EXPECT_NEAR(sat.b, 1.0, 1e-5);
    Px luma = compose<PIXEL_ARGB32>(RF_ARGB32, 16, bright, blue);
    EXPECT_NEAR(luma.r, 1.0 - 0.402 / 0.886, 1e-4); // luma 0.598 of the uncapped red
    EXPECT_NEAR(luma.b, 1.0, 1e-5);
    // Negative colour counts as 0 inside the modes.
    Px dark = compose<PIXEL_RGBA32>(RF_RGBA32, 10, {-0.5, 0.2, 0.2, 1.0}, {0.3, 0.3, 0.3, 1.0});
    EXPECT_NEAR(dark.r, 0.0, 1e-6);
    // Screen keeps its formula here: only the effect's menu turns float screen into add.
    Px screen = compose<PIXEL_ARGB32>(RF_ARGB32, 6, {0.5, 0.5, 0.5, 1}, {0.5, 0.5, 0.5, 1});
    EXPECT_NEAR(screen.r, 0.75, 1e-6);
}

TEST(TransferModes, EightBitMultiplyIsBiasedLow) {
    Px white8{255, 255, 255, 255};
    EXPECT_EQ(compose<PIXEL_ARGB8>(RF_ARGB8, 5, white8, white8).r, 254);
    Px white16{65535, 65535, 65535, 65535};
    EXPECT_EQ(compose<PIXEL_RGBA16>(RF_RGBA16, 5, white16, white16).r, 65535);
}

TEST(TransferModes, AlphaPathsOfTheBlendLoop) {
    using P = PIXEL_RGBA8;
    // A transparent top gives the bottom's colour, untouched by the mode, at its scaled alpha.
    Px o = compose<P>(RF_RGBA8, 5, {90, 90, 90, 0}, {10, 20, 30, 200}, 1.0, 0.5);
    EXPECT_EQ(o.r, 10);
    EXPECT_EQ(o.b, 30);
    EXPECT_EQ(o.a, 100);
    // A transparent bottom: the top as it is; the mode would have darkened it.
    o = compose<P>(RF_RGBA8, 5, {10, 20, 30, 200}, {90, 90, 90, 0});
    EXPECT_EQ(o.r, 10);
    EXPECT_EQ(o.a, 200);
    // A half-transparent top over an opaque bottom: an ordinary over.
    o = compose<P>(RF_RGBA8, 2, {200, 100, 0, 128}, {0, 100, 200, 255});
    EXPECT_EQ(o.r, 100);
    EXPECT_EQ(o.g, 100);
    EXPECT_EQ(o.b, 99);
    EXPECT_EQ(o.a, 255);
    // A half-transparent bottom fades the mode's effect toward the top's colour.
    o = compose<P>(RF_RGBA8, 5, {200, 200, 200, 255}, {100, 100, 100, 128});
    EXPECT_EQ(o.r, 138);
    EXPECT_EQ(o.a, 255);
    // The top's opacity scales its alpha before anything else.
    o = compose<P>(RF_RGBA8, 2, {204, 102, 51, 255}, {0, 0, 0, 255}, 0.5, 1.0);
    EXPECT_EQ(o.r, 101);
    EXPECT_EQ(o.g, 51);
    EXPECT_EQ(o.b, 25);
    // Add over a half-transparent top premultiplies by itself.
    o = compose<P>(RF_RGBA8, 4, {200, 0, 0, 128}, {100, 0, 0, 255});
    EXPECT_EQ(o.r, 200);
    EXPECT_EQ(o.a, 255);
    // The same over in float.
    Px f = compose<PIXEL_ARGB32>(RF_ARGB32, 2, {0.8, 0.4, 0.0, 0.5}, {0.0, 0.4, 0.8, 1.0});
    EXPECT_NEAR(f.r, 0.4, 1e-6);
    EXPECT_NEAR(f.b, 0.4, 1e-6);
    EXPECT_NEAR(f.a, 1.0, 1e-6);
}

TEST(TransferModes, BehindAndForcedOpacity) {
    using P = PIXEL_ARGB8;
    Px o = compose<P>(RF_ARGB8, 1, {200, 100, 0, 255}, {0, 100, 200, 128});
    EXPECT_EQ(o.r, 99);
    EXPECT_EQ(o.g, 100);
    EXPECT_EQ(o.b, 100);
    EXPECT_EQ(o.a, 255);
    o = compose<P>(RF_ARGB8, 1, {5, 6, 7, 90}, {1, 2, 3, 0});
    EXPECT_EQ(o.r, 5);
    EXPECT_EQ(o.a, 90);
    // Forced opacity is honoured by the modes but not by behind and normal.
    EXPECT_EQ(compose<P>(RF_ARGB8, 5, {0, 0, 0, 0}, {9, 9, 9, 100}, 1, 1, true).a, 255);
    EXPECT_EQ(compose<P>(RF_ARGB8, 2, {0, 0, 0, 0}, {9, 9, 9, 100}, 1, 1, true).a, 100);
    EXPECT_EQ(compose<P>(RF_ARGB8, 1, {9, 9, 9, 100}, {0, 0, 0, 0}, 1, 1, true).a, 100);
}

TEST(TransferModes, UnknownModesAndHostBlending) {
    using P = PIXEL_RGBA8;
    int status = -1;
    Px o = compose<P>(RF_RGBA8, 26, {1, 2, 3, 4}, {50, 60, 70, 255}, 1, 1, false, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(o.r, 1);
    EXPECT_EQ(o.a, 4);
    // A host that blends by itself gets the work, unless told not to.
    o = compose<P>(RF_RGBA8, 5, {1, 2, 3, 4}, {50, 60, 70, 255}, 1, 1, false, &status, false, true);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(o.r, 1);
    o = compose<P>(RF_RGBA8, 11, {1, 2, 3, 255}, {50, 60, 70, 255}, 1, 1, false, &status, true,
                   true);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(o.g, 60);
}

} // namespace
