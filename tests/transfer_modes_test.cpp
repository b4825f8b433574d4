#include "pixel/TransferComposite.h"
#include "support/MemoryHost.h"
#include "support/Pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>

namespace {

// One pixel as straight r, g, b, a in the format's own scale.
using Px = std::array<double, 4>;
constexpr double kAny = -1; // a channel an expectation leaves open
enum Flags { kForceOpaque = 1, kHostBlends = 2, kNoHostBlend = 4 };

// Composites one pixel of top over one of bottom by a mode number, writing into top as the
// effect does; returns the result and TransferComposite's status.
template <class P>
Px composeAs(PluginRasterFormat format, int mode, Px top, Px bottom, double opTop, double opBottom,
             int flags, int* status) {
    using C = typename P::C;
    MemoryImage t(format, 1, 1), b(format, 1, 1, MemoryImage::Rows::BottomUp), o(format, 1, 1);
    for (auto [im, v] : {std::pair{&t, top}, std::pair{&b, bottom}}) {
        C* px = im->template pixel<C>(0, 0);
        px[P::RED] = C(v[0]), px[P::GREEN] = C(v[1]), px[P::BLUE] = C(v[2]), px[P::ALPHA] = C(v[3]);
    }
    MemoryHost host(&t, &o);
    host.answerAE = flags & kHostBlends;
    MemoryRaster rt(t.info), rb(b.info);
    int const s = TransferComposite(PIXEL_VALUES(P), &host, mode, opTop, opBottom, &rt, &rb, &rt,
                                    false, flags & kForceOpaque, flags & kNoHostBlend);
    if (status) *status = s;
    C const* px = t.pixel<C>(0, 0);
    return {double(px[P::RED]), double(px[P::GREEN]), double(px[P::BLUE]), double(px[P::ALPHA])};
}

Px compose(PluginRasterFormat f, int mode, Px top, Px bottom, double opTop = 1, double opBottom = 1,
           int flags = 0, int* status = nullptr) {
    return withTrait(f, [&](auto p) {
        return composeAs<decltype(p)>(f, mode, top, bottom, opTop, opBottom, flags, status);
    });
}

// Hand-worked pixels in the format's own scale, each in both channel orders of its depth.
Px const kWhite16 = {65535, 65535, 65535, 65535};
struct PathCase {
    int depth, mode;
    Px top, bottom, want;
    double opTop = 1, opBottom = 1;
    int flags = 0, status = 0;
} const kPaths[] = {
    // A transparent top gives the bottom's colour, untouched by the mode, at its scaled alpha.
    {8, 5, {90, 90, 90, 0}, {10, 20, 30, 200}, {10, 20, 30, 100}, 1, 0.5},
    // A transparent bottom: the top as it is; the mode would have darkened it.
    {8, 5, {10, 20, 30, 200}, {90, 90, 90, 0}, {10, 20, 30, 200}},
    // A half-transparent top over an opaque bottom: an ordinary over.
    {8, 2, {200, 100, 0, 128}, {0, 100, 200, 255}, {100, 100, 99, 255}},
    {32, 2, {0.8, 0.4, 0.0, 0.5}, {0.0, 0.4, 0.8, 1.0}, {0.4, 0.4, 0.4, 1.0}},
    // A half-transparent bottom fades the mode's effect toward the top's colour.
    {8, 5, {200, 200, 200, 255}, {100, 100, 100, 128}, {138, 138, 138, 255}},
    // The top's opacity scales its alpha before anything else.
    {8, 2, {204, 102, 51, 255}, {0, 0, 0, 255}, {101, 51, 25, 255}, 0.5},
    // Add over a half-transparent top premultiplies by itself.
    {8, 4, {200, 0, 0, 128}, {100, 0, 0, 255}, {200, 0, 0, 255}},
    // Behind puts the bottom over the top.
    {8, 1, {200, 100, 0, 255}, {0, 100, 200, 128}, {99, 100, 100, 255}},
    {8, 1, {5, 6, 7, 90}, {1, 2, 3, 0}, {5, 6, 7, 90}},
    // Forced opacity is honoured by the modes but not by behind and normal.
    {8, 5, {0, 0, 0, 0}, {9, 9, 9, 100}, {kAny, kAny, kAny, 255}, 1, 1, kForceOpaque},
    {8, 2, {0, 0, 0, 0}, {9, 9, 9, 100}, {kAny, kAny, kAny, 100}, 1, 1, kForceOpaque},
    {8, 1, {9, 9, 9, 100}, {0, 0, 0, 0}, {kAny, kAny, kAny, 100}, 1, 1, kForceOpaque},
    // An unknown mode leaves the top. A host that blends by itself gets the work, unless told
    // not to.
    {8, 26, {1, 2, 3, 4}, {50, 60, 70, 255}, {1, 2, 3, 4}},
    {8, 5, {1, 2, 3, 4}, {50, 60, 70, 255}, {1, 2, 3, 4}, 1, 1, kHostBlends, 1},
    {8, 11, {1, 2, 3, 255}, {50, 60, 70, 255}, {50, 60, 70, 255}, 1, 1, kHostBlends | kNoHostBlend},
    // The 8-bit multiply is biased low and loses a step at the top; 16 bits do not.
    {8, 5, {255, 255, 255, 255}, {255, 255, 255, 255}, {254, 254, 254, 255}},
    {16, 5, kWhite16, kWhite16, kWhite16},
    // Float: saturation caps an over-range channel at 1, luma (0.598 of the red) does not.
    {32, 14, {2, 0, 0, 1}, {0, 0, 1, 1}, {0, kAny, 1, kAny}},
    {32, 16, {2, 0, 0, 1}, {0, 0, 1, 1}, {1 - 0.402 / 0.886, kAny, 1, kAny}},
    // Negative colour counts as 0 inside the modes.
    {32, 10, {-0.5, 0.2, 0.2, 1}, {0.3, 0.3, 0.3, 1}, {0, kAny, kAny, kAny}},
    // Screen keeps its formula here: only the effect's menu turns float screen into add.
    {32, 6, {0.5, 0.5, 0.5, 1}, {0.5, 0.5, 0.5, 1}, {0.75, 0.75, 0.75, 1}},
};

TEST(TransferModes, AlphaPathsHostBlendingAndAsymmetries) {
    for (auto const& c : kPaths)
        for (auto f : kServedFormats) {
            if (depthOf(f) != c.depth) continue;
            int status = -1;
            Px const o = compose(f, c.mode, c.top, c.bottom, c.opTop, c.opBottom, c.flags, &status);
            EXPECT_EQ(status, c.status) << "mode " << c.mode;
            for (int i = 0; i < 4; ++i)
                EXPECT_TRUE(c.want[i] == kAny || std::abs(o[i] - c.want[i]) <= 1e-4)
                    << "format " << f << " mode " << c.mode << " channel " << i << ": " << o[i];
        }
}

// The 8-bit composite divides by a reciprocal multiply: the same integers as the division for
// every numerator and divisor around its range, signs and zero included.
TEST(TransferModes, EightBitReciprocalDivideEqualsTheDivision) {
    int wrong = 0;
    for (int b = -3; b < 700; ++b)
        for (int a = -3; a < 700; ++a)
            wrong += blend_detail::divide<PIXEL_RGBA8>(a, b) != PIXEL_RGBA8::divide(a, b);
    EXPECT_EQ(wrong, 0);
}

// In front, with the 8-bit rows left to the pixel loop.
template <class P, class C, class A, class V, class F>
struct ScalarInFront : BLEND_IN_FRONT<P, C, A, V, F> {
    static constexpr bool keepsTopColour = false;
};

// The vector rows of the in-front composite give the pixel loop's bytes: noise pictures whose
// alphas gather at 0, full and in between (a whole row of each first), float colour a little
// beyond 0..1 (below 0 as well), widths that leave tails, opacities that keep the 8-bit lanes in
// range and ones (above 1) that must fall back, written over the top.
std::pair<float, float> const kOpacities[] = {{1, 1},    {0.6f, 1}, {0.37f, 0.5f}, {1, 0},
                                              {0, 0.8f}, {1.6f, 1}, {1, 2}};
template <class P> void expectVectorInFrontEqualsLoop(PluginRasterFormat format) {
    using C = typename P::C;
    for (int width : {1, 8, 29, 64})
        for (auto [opTop, opBottom] : kOpacities) {
            MemoryImage bottom(format, width, 7);
            MemoryImage tops[2] = {MemoryImage(format, width, 7), MemoryImage(format, width, 7)};
            bottom.fillBytes(unsigned(width));
            for (auto& t : tops) t.fillBytes(unsigned(width * 3 + 1));
            for (int y = 0; y < 7; ++y)
                for (int x = 0; x < width; ++x)
                    for (auto* im : {&tops[0], &tops[1], &bottom}) {
                        auto* px = im->template pixel<C>(x, y);
                        if constexpr (P::is32Bit())
                            for (int i = 0; i < 4; ++i)
                                px[i] = float(int(std::bit_cast<unsigned>(px[i]) % 1500) - 250) /
                                        1000.0f;
                        int const pick = y < 2 ? y : (x * 7 + y * 3 + int(im == &bottom)) % 5;
                        if (pick < 2) px[P::ALPHA] = C(pick == 0 ? 0 : P::MAX_VALUE());
                    }
            MemoryHost host(&tops[0], &bottom);
            MemoryRaster t0(tops[0].info), t1(tops[1].info), b(bottom.info);
            for (bool opaque : {false, true}) {
                Blend(PIXEL_VALUES(P), BLEND_IN_FRONT<PIXEL_ARGS(P)>(), &host, opTop, opBottom, &t0,
                      &b, &t0, false, opaque);
                Blend(PIXEL_VALUES(P), ScalarInFront<PIXEL_ARGS(P)>(), &host, opTop, opBottom, &t1,
                      &b, &t1, false, opaque);
                ASSERT_EQ(tops[0].bytes(), tops[1].bytes())
                    << "width " << width << " opacities " << opTop << ", " << opBottom;
            }
        }
}

TEST(TransferModes, VectorInFrontRowsEqualThePixelLoop) {
    expectVectorInFrontEqualsLoop<PIXEL_RGBA8>(RF_RGBA8);
    expectVectorInFrontEqualsLoop<PIXEL_ARGB8>(RF_ARGB8);
    expectVectorInFrontEqualsLoop<PIXEL_RGBA16>(RF_RGBA16);
    expectVectorInFrontEqualsLoop<PIXEL_ARGB16>(RF_ARGB16);
    expectVectorInFrontEqualsLoop<PIXEL_RGBA32>(RF_RGBA32);
    expectVectorInFrontEqualsLoop<PIXEL_ARGB32>(RF_ARGB32);
}

} // namespace
