#include "pixel/Alpha.h"
#include "pixel/BlendRows.h"
#include "pixel/BlendRun.h"
#include "pixel/StraightRows.h"
#include "support/MemoryHost.h"
#include "support/Pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using Argb = std::array<double, 4>; // in the format's own scale
enum Op { kPremult, kUnPremult, kMultiplyAlpha, kCrossFadeToFull, kSetAlpha, kUnsetAlpha };

// Every pixel of two 3 x 2 rasters of a format, with rows of both signs, set to v; op on the
// first, or a cross-fade into it from the second set to full scale. The result as (a, r, g, b).
template <class P> Argb after(PluginRasterFormat format, Op op, float amount, Argb v) {
    using C = typename P::C;
    MemoryImage image(format, 3, 2, MemoryImage::Rows::BottomUp), full(format, 3, 2);
    MemoryHost host(&image, &image);
    MemoryRaster raster(image.info);
    for (int i = 0; i < 6; ++i) {
        C* px = image.pixel<C>(i % 3, i / 3);
        px[P::ALPHA] = C(v[0]), px[P::RED] = C(v[1]), px[P::GREEN] = C(v[2]), px[P::BLUE] = C(v[3]);
        std::fill_n(full.pixel<C>(i % 3, i / 3), 4, C(P::MAX_VALUE()));
    }
    if (op == kPremult) Premult(PIXEL_VALUES(P), &host, &raster);
    if (op == kUnPremult) UnPremult(PIXEL_VALUES(P), &host, &raster);
    if (op == kMultiplyAlpha) MultiplyAlpha(PIXEL_VALUES(P), &host, amount, &raster);
    if (op == kSetAlpha) AVXSetAlpha(PIXEL_VALUES(P), &host, &raster);
    if (op == kUnsetAlpha) AVXUnsetAlpha(PIXEL_VALUES(P), &host, &raster, nullptr);
    if (op == kCrossFadeToFull)
        BlendAlphaImagesPreMult(PIXEL_VALUES(P), &host, amount, &full.info, &image.info);
    C const* px = image.pixel<C>(2, 1);
    return {double(px[P::ALPHA]), double(px[P::RED]), double(px[P::GREEN]), double(px[P::BLUE])};
}

TEST(Alpha, OperationsInEachFormat) {
    struct Case {
        int depth;
        Op op;
        float amount;
        Argb in, want;
    } const cases[] = {
        {8, kPremult, 0, {128, 255, 128, 0}, {128, 128, 64, 0}},
        {8, kPremult, 0, {255, 255, 200, 129}, {255, 254, 199, 128}},       // biased: a step lost
        {8, kUnPremult, 0, {1, 2, 1, 0}, {1, 255, 255, 0}},                 // 510 clamped
        {16, kPremult, 0, {32768, 65535, 1000, 0}, {32768, 32768, 500, 0}}, // 500.0076 truncated
        {16, kUnPremult, 0, {100, 200, 50, 0}, {100, 65535, 32767, 0}},     // clamped
        {32, kPremult, 0, {0.5, 0.8f, 0.25, 0}, {0.5, 0.4f, 0.125, 0}},
        {32, kUnPremult, 0, {0.5, 0.8f, 0.25, 0}, {0.5, 1.6f, 0.5, 0}}, // float is never clamped
        // Alpha 0 keeps its colour.
        {8, kUnPremult, 0, {0, 127, 63, 0}, {0, 127, 63, 0}},
        {16, kUnPremult, 0, {0, 32767, 16383, 0}, {0, 32767, 16383, 0}},
        {32, kUnPremult, 0, {0, 0.5, 0.25, 0}, {0, 0.5, 0.25, 0}},
        // Alpha alone is scaled; by 1 the biased 8-bit multiply loses a step.
        {8, kMultiplyAlpha, 1, {255, 255, 0, 0}, {254, 255, 0, 0}},
        {16, kMultiplyAlpha, 1, {65535, 65535, 0, 0}, {65535, 65535, 0, 0}},
        {32, kMultiplyAlpha, 1, {1, 1, 0, 0}, {1, 1, 0, 0}},
        {8, kMultiplyAlpha, 0, {255, 255, 0, 0}, {0, 255, 0, 0}},
        {32, kMultiplyAlpha, 0, {1, 1, 0, 0}, {0, 1, 0, 0}},
        // The passes of hosts that want opaque frames while they are worked on.
        {8, kSetAlpha, 0, {7, 9, 8, 6}, {255, 9, 8, 6}},
        {16, kSetAlpha, 0, {7, 9, 8, 6}, {65535, 9, 8, 6}},
        {32, kUnsetAlpha, 0, {0.5, 0.25, 0, 1}, {0, 0.25, 0, 1}},
        // The ends of a cross-fade are no work and a copy; between them, rounded in the integers.
        {8, kCrossFadeToFull, 0, {0, 0, 0, 0}, {0, 0, 0, 0}},
        {8, kCrossFadeToFull, 0.5, {0, 0, 0, 0}, {128, 128, 128, 128}},
        {16, kCrossFadeToFull, 0.5, {0, 0, 0, 0}, {32768, 32768, 32768, 32768}},
        {32, kCrossFadeToFull, 0.5, {0, 0, 0, 0}, {0.5, 0.5, 0.5, 0.5}},
        {16, kCrossFadeToFull, 1, {0, 0, 0, 0}, {65535, 65535, 65535, 65535}},
        {32, kCrossFadeToFull, 1, {0, 0, 0, 0}, {1, 1, 1, 1}},
    };
    for (auto const& c : cases) {
        for (auto format : kServedFormats) {
            if (depthOf(format) != c.depth) continue;
            EXPECT_EQ(
                withTrait(format,
                          [&](auto p) { return after<decltype(p)>(format, c.op, c.amount, c.in); }),
                c.want)
                << "format " << format << " op " << c.op << " amount " << c.amount;
        }
    }
}

// A zero alpha divides to zero in every depth (straightening a clear pixel).
TEST(PixelTraits, ZeroDivides) {
    EXPECT_EQ(PIXEL_ARGB8::divide(200, 0), 0);
    EXPECT_EQ(PIXEL_RGBA16::divide(200.0f, 0.0f), 0.0f);
    EXPECT_EQ(PIXEL_RGBA32::divide(0.5f, 0.0f), 0.0f);
}

// The 8-bit division to straight colour, worked for every alpha and colour at once in both
// orders, gives the integers of the division itself; every fifth pixel has alpha 0 or full and
// keeps its colour, so that wide groups mix both kinds.
template <class P> int straightMismatches(PluginRasterFormat format) {
    MemoryImage image(format, 256, 256, MemoryImage::Rows::Padded);
    MemoryHost host(&image, &image);
    MemoryRaster raster(image.info);
    auto alphaAt = [](int x, int a) { return x % 5 ? a : (x % 10 ? 0 : 255); };
    for (int a = 0; a < 256; ++a)
        for (int x = 0; x < 256; ++x) {
            unsigned char* px = image.pixel<unsigned char>(x, a);
            px[P::RED] = (unsigned char)x, px[P::GREEN] = (unsigned char)(255 - x);
            px[P::BLUE] = (unsigned char)(x / 2), px[P::ALPHA] = (unsigned char)alphaAt(x, a);
        }
    UnPremult(PIXEL_VALUES(P), &host, &raster);
    int wrong = 0;
    for (int a = 0; a < 256; ++a)
        for (int x = 0; x < 256; ++x) {
            unsigned char const* px = image.pixel<unsigned char>(x, a);
            int const alpha = alphaAt(x, a);
            auto straight = [&](int c) { return alpha ? std::min(c * 255 / alpha, 255) : c; };
            wrong += px[P::RED] != straight(x) || px[P::GREEN] != straight(255 - x) ||
                     px[P::BLUE] != straight(x / 2) || px[P::ALPHA] != alpha;
        }
    return wrong;
}

TEST(Alpha, EightBitStraightColourEqualsTheDivisionEverywhere) {
    EXPECT_EQ(straightMismatches<PIXEL_RGBA8>(RF_RGBA8), 0);
    EXPECT_EQ(straightMismatches<PIXEL_ARGB8>(RF_ARGB8), 0);
}

// Premultiplied in place, each colour is the format's own multiply by alpha, whichever pixels of
// a row the wide path takes: every 8-bit colour at every alpha, every 16-bit colour at a spread
// of alphas, both orders, rows one pixel longer than the colours.
template <class P> int premultMismatches(PluginRasterFormat format, std::vector<int> alphas) {
    using C = typename P::C;
    using V = typename P::V;
    int const colours = int(P::MAX_VALUE()) + 1, width = colours + 1;
    MemoryImage image(format, width, int(alphas.size()), MemoryImage::Rows::Padded);
    MemoryHost host(&image, &image);
    MemoryRaster raster(image.info);
    auto colour = [&](int x, int i) { return C((x * (i * 2 + 1) + i) % colours); };
    for (int y = 0; y < int(alphas.size()); ++y)
        for (int x = 0; x < width; ++x) {
            C* px = image.pixel<C>(x, y);
            for (int i = 0; i < 3; ++i) px[P::FIRST_COLOR + i] = colour(x, i);
            px[P::ALPHA] = C(alphas[y]);
        }
    Premult(PIXEL_VALUES(P), &host, &raster);
    int wrong = 0;
    for (int y = 0; y < int(alphas.size()); ++y)
        for (int x = 0; x < width; ++x) {
            C const* px = image.pixel<C>(x, y);
            wrong += px[P::ALPHA] != alphas[y];
            for (int i = 0; i < 3; ++i)
                wrong += px[P::FIRST_COLOR + i] != C(P::multiply(V(colour(x, i)), V(C(alphas[y]))));
        }
    return wrong;
}

TEST(Alpha, PremultiplyEqualsTheMultiplyForEveryColour) {
    std::vector<int> every8(256);
    for (int a = 0; a < 256; ++a) every8[a] = a;
    EXPECT_EQ(premultMismatches<PIXEL_RGBA8>(RF_RGBA8, every8), 0);
    EXPECT_EQ(premultMismatches<PIXEL_ARGB8>(RF_ARGB8, every8), 0);
    std::vector<int> const some16 = {0, 1, 2, 255, 257, 12345, 32767, 32768, 54321, 65534, 65535};
    EXPECT_EQ(premultMismatches<PIXEL_RGBA16>(RF_RGBA16, some16), 0);
    EXPECT_EQ(premultMismatches<PIXEL_ARGB16>(RF_ARGB16, some16), 0);
}

// The wide cross-fade gives the bits of the scalar formula: every pair of 8-bit values, a spread
// of 16-bit ones, floats with -0, infinities and NaN, at the mixes of a running average and
// others; the tail past the last whole group is left to the caller.
template <class C>
void expectBlendRowEqual(int (*wide)(C const*, C*, int, float, float, float),
                         std::vector<C> const& s, std::vector<C> const& d0, float h) {
    for (float mix : {1.0f / 2, 1.0f / 3, 1.0f / 7, 1.0f / 8, 0.3f, 0.999f}) {
        float const keep = 1.0f - mix;
        std::vector<C> d = d0, want = d0;
        int const done = wide(s.data(), d.data(), int(d.size()), mix, keep, h);
        EXPECT_EQ(done, int(d.size()) / 8 * 8);
        for (int i = 0; i < done; ++i) want[i] = C(float(s[i]) * mix + float(want[i]) * keep + h);
        EXPECT_EQ(std::memcmp(d.data(), want.data(), d.size() * sizeof(C)), 0) << "mix " << mix;
    }
}

TEST(Alpha, WideCrossFadeEqualsTheScalarFormula) {
    BlendRows const* rows = blendRowsAvx2();
    if (!rows) GTEST_SKIP() << "no AVX2 on this processor";
    std::vector<unsigned char> s8, d8;
    for (int i = 0; i < 65536 + 5; ++i)
        s8.push_back((unsigned char)i), d8.push_back((unsigned char)(i >> 8));
    expectBlendRowEqual(rows->u8, s8, d8, 0.5f);
    std::vector<unsigned short> s16, d16;
    for (int i = 0; i < 4099; ++i)
        s16.push_back((unsigned short)(i * 16411)), d16.push_back((unsigned short)(65535 - i * 13));
    expectBlendRowEqual(rows->u16, s16, d16, 0.5f);
    float const inf = std::numeric_limits<float>::infinity(),
                nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> const s32 = {-0.0f, 0.0f,  1.0f,   inf,   -inf, nan,
                                    0.25f, 3e38f, 1e-40f, -0.0f, 0.7f},
                             d32 = {-0.0f, -0.0f, inf,     1.0f, inf,  0.5f,
                                    nan,   3e38f, -1e-40f, 0.0f, -2.0f};
    expectBlendRowEqual(rows->f32, s32, d32, 0.0f);
}

// A run of like samples averaged in one pass gives the bits of one cross-fade a sample: every
// 8-bit value against every other, every 16-bit value, floats of every kind; runs from the
// first sample (a copy, then each value cross-faded with itself), from a later one, and longer
// than one group of mixes. Rows with a tail past the last group of eight values.
template <class P>
void expectRunEqualsCrossFades(std::vector<typename P::C> const& s,
                               std::vector<typename P::C> const& d) {
    using C = typename P::C;
    auto info = [&](std::vector<C>& v) {
        PluginHost_API::RasterInfo r;
        r.data = v.data(), r.width = int(v.size() / 8), r.height = 2;
        r.rowBytes = r.width * 4 * int(sizeof(C));
        return r;
    };
    for (auto [first, end] : {std::pair{0, 1}, {0, 70}, {3, 8}}) {
        std::vector<C> src = s, want = d, got = d;
        auto si = info(src), wi = info(want), gi = info(got);
        for (int i = first; i < end; ++i)
            BlendAlphaImagesPreMult(PIXEL_VALUES(P), nullptr, float(1.0 / (i + 1)), &si, &wi);
        BlendAlphaRunPreMult(PIXEL_VALUES(P), first, end, &si, &gi);
        EXPECT_EQ(std::memcmp(got.data(), want.data(), got.size() * sizeof(C)), 0)
            << sizeof(C) << "-byte values, samples " << first << " to " << end;
    }
}

TEST(Alpha, AveragingARunOfLikeSamplesEqualsOneCrossFadeEach) {
    int const n = 8 * 8193;
    std::vector<unsigned char> s8(n), d8(n);
    std::vector<unsigned short> s16(n), d16(n);
    for (int i = 0; i < n; ++i) {
        s8[i] = (unsigned char)i, d8[i] = (unsigned char)(i >> 8);
        s16[i] = (unsigned short)i, d16[i] = (unsigned short)(i * 40503);
    }
    expectRunEqualsCrossFades<PIXEL_RGBA8>(s8, d8);
    expectRunEqualsCrossFades<PIXEL_ARGB16>(s16, d16);
    float const inf = std::numeric_limits<float>::infinity();
    std::vector<float> const odd = {-0.0f, 0.0f,  1.0f,   inf,  -inf, std::nanf(""),
                                    0.25f, 3e38f, 1e-40f, 0.7f, -2.0f};
    std::vector<float> s32(8 * 15), d32(8 * 15);
    for (std::size_t i = 0; i < s32.size(); ++i)
        s32[i] = odd[i % odd.size()], d32[i] = odd[i * 7 % odd.size()];
    expectRunEqualsCrossFades<PIXEL_RGBA32>(s32, d32);
}

// The wide straightening gives the bits of the scalar formula: every 16-bit alpha against
// colours below, at and above it, and float alphas of every kind (0, -0, negative, NaN,
// infinite, subnormal), in both orders.
TEST(Alpha, WideStraightColourEqualsTheScalarFormula) {
    for (int alphaIndex : {0, 3}) {
        StraightRows const* rows = straightRowsAvx2(alphaIndex);
        if (!rows) GTEST_SKIP() << "no AVX2 on this processor";
        int const first = alphaIndex == 0 ? 1 : 0;
        std::vector<unsigned short> p16;
        for (int a = 0; a < 65536; ++a)
            for (int k : {1, 7, 40000})
                p16.push_back((unsigned short)(a * k)), p16.push_back((unsigned short)a);
        std::vector<unsigned short> want16 = p16;
        int const n16 = int(p16.size() / 4) & ~1;
        ASSERT_EQ(rows->u16(p16.data(), int(p16.size() / 4)), n16);
        for (int x = 0; x < n16; ++x) {
            unsigned short* px = &want16[4 * x];
            float const a = px[alphaIndex];
            if (a > 0)
                for (int i = first; i < first + 3; ++i)
                    px[i] = (unsigned short)std::min(float(px[i]) * 65535.0f / a, 65535.0f);
        }
        EXPECT_EQ(p16, want16);
        float const inf = std::numeric_limits<float>::infinity();
        std::vector<float> const odd = {0.0f, -0.0f, -0.5f, std::nanf(""), inf, 1e-41f, 0.3f, 2.0f};
        std::vector<float> p32;
        for (float a : odd)
            for (float c : odd) p32.insert(p32.end(), {c, c * 0.5f, -c, a});
        if (alphaIndex == 0)
            for (std::size_t i = 0; i < p32.size(); i += 4)
                std::rotate(&p32[i], &p32[i + 3], &p32[i + 4]);
        std::vector<float> want32 = p32;
        int const n32 = rows->f32(p32.data(), int(p32.size() / 4));
        for (int x = 0; x < n32; ++x) {
            float* px = &want32[4 * x];
            float const a = px[alphaIndex];
            if (a > 0)
                for (int i = first; i < first + 3; ++i) px[i] = px[i] * 1.0f / a;
        }
        EXPECT_EQ(std::memcmp(p32.data(), want32.data(), p32.size() * 4), 0);
    }
}

} // namespace
