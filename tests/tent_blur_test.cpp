#include "RenderLib/BlurFilter.h"
#include "RenderLib/Gauss1.h"
#include "RenderLib/ProgressiveBlurFormat.h"
#include "RenderLib/TentBlur.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

using Rows = MemoryImage::Rows;

// One packed line of four-channel pixels of channel type C through the line tent.
template <class P> std::vector<typename P::C> lineTent(std::vector<typename P::C> in, int radius) {
    using F = typename P::FORMAT;
    std::vector<typename P::C> out(in.size());
    LineTentBlurPass_RGBA(PIXEL_VALUES(P), nullptr, reinterpret_cast<F*>(in.data()),
                          reinterpret_cast<F*>(out.data()), int(in.size() / 4), radius);
    return out;
}

std::vector<unsigned char> noise(std::size_t n, unsigned seed) {
    std::vector<unsigned char> v(n);
    for (auto& b : v) b = (unsigned char)((seed = seed * 1664525u + 1013904223u) >> 24);
    return v;
}

// The channels of a row (column < 0) or of a column (row < 0), packed.
template <class C> std::vector<C> pixels(MemoryImage& m, int column, int row) {
    std::vector<C> v;
    int const n = column < 0 ? m.info.width : m.info.height;
    for (int i = 0; i < n; ++i) {
        C* p = m.pixel<C>(column < 0 ? i : column, row < 0 ? i : row);
        v.insert(v.end(), p, p + 4);
    }
    return v;
}

TEST(TentBlur, ImpulseResponseIsTheTentInEveryLayout) {
    int const r = 3;
    std::vector<float> line(4 * 21, 0.0f), want(4 * 21, 0.0f);
    line[4 * 10 + 2] = 1.0f;
    for (int k = -r; k <= r; ++k) want[4 * (10 + k) + 2] = float(r + 1 - std::abs(k)) / 16.0f;
    auto const got = lineTent<PIXEL_ARGB32>(line, r);
    for (int i = 0; i < 4 * 21; ++i) EXPECT_FLOAT_EQ(got[i], want[i]) << i;
    // Columns of an 8-bit raster walked through padded and negative strides: 160 * w / 16, the
    // zero rows found past a whole 64-byte block.
    for (auto rows : {Rows::TopDown, Rows::Padded, Rows::BottomUp}) {
        MemoryImage src(RF_RGBA8, 21, 21, rows), dst(RF_RGBA8, 21, 21, rows);
        src.pixel<unsigned char>(2, 10)[1] = 160;
        TentBlurPass_RGBA(PIXEL_VALUES(PIXEL_RGBA8), nullptr, src.info, dst.info, r, true, false,
                          0);
        std::vector<unsigned char> column(4 * 21, 0);
        for (int k = -r; k <= r; ++k) column[4 * (10 + k) + 1] = 10 * (r + 1 - std::abs(k));
        EXPECT_EQ(pixels<unsigned char>(dst, 2, -1), column);
        EXPECT_EQ(pixels<unsigned char>(dst, 1, -1), std::vector<unsigned char>(4 * 21, 0));
    }
}

TEST(TentBlur, ConstantLinesStayButForTheTruncationAtSixAndShortLinesLimitTheRadius) {
    for (int v = 0; v < 256; ++v)
        for (int r : {1, 2, 3, 4, 5, 10}) {
            std::vector<unsigned char> line(4 * 40, (unsigned char)v);
            ASSERT_EQ(lineTent<PIXEL_ARGB8>(line, r), line) << v << " r" << r;
        }
    // 49 times the double 1/49 lies just below 1.
    auto out = lineTent<PIXEL_ARGB8>(std::vector<unsigned char>(4 * 40, 1), 6);
    EXPECT_EQ(out, std::vector<unsigned char>(4 * 40, 0));
    // Short lines limit the radius.
    auto line12 = noise(4 * 12, 3), line13 = noise(4 * 13, 4);
    EXPECT_EQ(lineTent<PIXEL_BGRA8>(line12, 5), lineTent<PIXEL_BGRA8>(line12, 4));
    EXPECT_NE(lineTent<PIXEL_BGRA8>(line13, 5), lineTent<PIXEL_BGRA8>(line13, 4));
    for (int n : {4, 5}) {
        auto line = noise(4 * n, n);
        EXPECT_EQ(lineTent<PIXEL_BGRA8>(line, 9), line);
    }
}

// Row n of a progressive pass has radius trunc(t * radius), t = 1 - n / (rows - 1), squared in
// mode 3; a zero radius copies the row.
TEST(TentBlur, ProgressivePassRampsTheRadiusOverTheRows) {
    for (int mode : {0, 3}) {
        MemoryImage src(RF_ARGB16, 30, 11), dst(RF_ARGB16, 30, 11);
        src.fillBytes(7);
        TentBlurPass_RGBA(PIXEL_VALUES(PIXEL_ARGB16), nullptr, src.info, dst.info, 10, false, true,
                          mode);
        for (int y = 0; y < 11; ++y) {
            float const t = 1.0f - float(y) / 10.0f;
            int const radius = int((mode == 3 ? t * t : t) * 10.0f);
            EXPECT_EQ(pixels<unsigned short>(dst, -1, y),
                      lineTent<PIXEL_ARGB16>(pixels<unsigned short>(src, -1, y), radius))
                << "mode " << mode << " row " << y;
        }
    }
}

// The column pass over whole rows, the row pass over runs of rows, both at once in place and the
// vector kernels give the bits of the portable loop one line at a time: each channel type (float
// noise holds NaN and infinities), columns across a tile edge, radii up to the limit, rows walked
// upwards, the alpha-only pass, ramped radii and bands of zero rows above, inside and below the
// picture.
template <class C> std::vector<unsigned char> bitsOf(MemoryImage& m) {
    std::vector<unsigned char> b = m.bytes();
    if constexpr (std::is_same_v<C, float>) // which NaN comes out is the compiler's choice
        for (std::size_t i = 0; i + 4 <= b.size(); i += 4) {
            float v;
            std::memcpy(&v, &b[i], 4);
            if (v != v) std::memset(&b[i], 0xff, 4);
        }
    return b;
}

template <class C> void expectTentFormsEqual(PluginRasterFormat format) {
    using namespace blur_detail;
    TentKernels<C> const* wide = tentKernelsAvx2<C>();
    int const w = 300, h = 37;
    for (int radius : {1, 4, 40}) {
        int const r = limitTentRadius(radius, h);
        MemoryImage src(format, w, h, Rows::BottomUp), want(format, w, h, Rows::BottomUp),
            got(format, w, h, Rows::BottomUp), alphaWant(format, w, h, Rows::BottomUp);
        src.fillBytes(unsigned(radius));
        auto px = [](MemoryImage& m, int x, int y) { return m.pixel<unsigned char>(x, y); };
        if (radius < 40)
            for (int y : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 20, 31, 32, 33, 34, 35, 36})
                std::memset(px(src, 0, y), 0, w * 4 * sizeof(C));
        std::ptrdiff_t const down = src.info.rowBytes, along = 4 * sizeof(C);
        for (int x = 0; x < w; ++x) {
            tentLine<C, 4>(px(src, x, 0), down, px(want, x, 0), down, h, r, 0, nullptr);
            tentLine<C, 1>(px(src, x, 0), down, px(alphaWant, x, 0), down, h, r, 3, nullptr);
        }
        for (auto kernels : {(TentKernels<C> const*)nullptr, wide}) {
            tentColumns<C, 4>(src.info, got.info, r, 0, kernels);
            EXPECT_EQ(bitsOf<C>(got), bitsOf<C>(want)) << "columns, radius " << r;
        }
        MemoryImage alphaGot(format, w, h, Rows::BottomUp);
        tentColumns<C, 1>(src.info, alphaGot.info, r, 3);
        EXPECT_EQ(bitsOf<C>(alphaGot), bitsOf<C>(alphaWant)) << "alpha columns, radius " << r;
        for (bool progressive : {false, true}) {
            for (int y = 0; y < h; ++y)
                tentLine<C, 4>(px(src, 0, y), along, px(want, 0, y), along, w,
                               passLineRadius(radius, y, h, progressive, 0), 0, nullptr);
            for (auto kernels : {(TentKernels<C> const*)nullptr, wide}) {
                tentRows<C>(src.info, got.info, radius, progressive, 0, kernels);
                EXPECT_EQ(bitsOf<C>(got), bitsOf<C>(want))
                    << "rows, radius " << radius << (progressive ? " ramped" : "");
            }
            // Both passes at once, in place.
            MemoryImage both(format, w, h, Rows::BottomUp);
            tentColumns<C, 4>(want.info, both.info, r, 0, nullptr);
            for (int y = 0; y < h; ++y) std::memcpy(px(got, 0, y), px(src, 0, y), w * along);
            if (tentBlurInPlace<C>(got.info, radius, r, progressive, 0, wide)) {
                EXPECT_EQ(bitsOf<C>(got), bitsOf<C>(both))
                    << "both passes, radius " << radius << (progressive ? " ramped" : "");
            }
        }
    }
}

TEST(TentBlur, RowWiseAndVectorFormsEqualThePortableLine) {
    expectTentFormsEqual<unsigned char>(RF_RGBA8);
    expectTentFormsEqual<unsigned short>(RF_RGBA16);
    expectTentFormsEqual<float>(RF_RGBA32);
}

// The 8-bit vector forms divide small radii's sums without the double product. Each sum they
// can meet next to a whole quotient, q (r + 1)^2 and one either side for every value q, at every
// radius to one past the last they divide so: rows, columns and both passes at once. Between
// those sums both divisions are monotone, so these are all the sums.
TEST(TentBlur, EightBitFormsDivideEverySumAsThePortableLine) {
    using namespace blur_detail;
    TentKernels<unsigned char> const* wide = tentKernelsAvx2<unsigned char>();
    if (!wide) GTEST_SKIP() << "no AVX2";
    for (int r = 1; r <= 127; ++r) {
        int const n = 2 * r + 5;
        MemoryImage rows(RF_RGBA8, n, 128), columns(RF_RGBA8, 128, n), want(RF_RGBA8, n, 128),
            wantColumns(RF_RGBA8, 128, n), got(RF_RGBA8, n, 128), gotColumns(RF_RGBA8, 128, n);
        for (int k = 0; k < 128; ++k)
            for (int x = 0; x < n; ++x)
                for (int c = 0; c < 4; ++c) { // value q with one pixel q + 1 or q - 1 amid it
                    int const q = 2 * k + c % 2, v = x == r + 2 ? q + (c < 2 ? 1 : -1) : q;
                    rows.pixel<unsigned char>(x, k)[c] = columns.pixel<unsigned char>(k, x)[c] =
                        (unsigned char)std::clamp(v, 0, 255);
                }
        auto px = [](MemoryImage& m, int x, int y) { return m.pixel<unsigned char>(x, y); };
        for (int k = 0; k < 128; ++k) {
            tentLine<unsigned char, 4>(px(rows, 0, k), 4, px(want, 0, k), 4, n, r, 0, nullptr);
            tentLine<unsigned char, 4>(px(columns, k, 0), columns.info.rowBytes,
                                       px(wantColumns, k, 0), columns.info.rowBytes, n, r, 0,
                                       nullptr);
        }
        tentRows<unsigned char>(rows.info, got.info, r, false, 0, wide);
        ASSERT_EQ(got.bytes(), want.bytes()) << "rows, radius " << r;
        tentColumns<unsigned char, 4>(columns.info, gotColumns.info, r, 0, wide);
        ASSERT_EQ(gotColumns.bytes(), wantColumns.bytes()) << "columns, radius " << r;
        ASSERT_TRUE(tentBlurInPlace<unsigned char>(columns.info, 0, r, false, 0, wide));
        ASSERT_EQ(columns.bytes(), wantColumns.bytes()) << "both passes, radius " << r;
    }
}

TEST(Gauss1, SmoothsWithClampedBorders) {
    MemoryImage img(RF_ARGB8, 5, 4), out(RF_ARGB8, 5, 4);
    MemoryHost host(&img, &out);
    img.pixel<unsigned char>(2, 1)[1] = 160;
    img.pixel<unsigned char>(0, 3)[2] = 160; // a corner: its own tap counts four times
    ASSERT_EQ(gauss1_RGBA(PIXEL_VALUES(PIXEL_ARGB8), &host,
                          reinterpret_cast<PIXEL_ARGB8::FORMAT*>(img.info.data), 5, 4),
              0);
    int const w[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};
    for (int y = 0; y < 3; ++y)
        for (int x = 1; x < 4; ++x) EXPECT_EQ(img.pixel<unsigned char>(x, y)[1], 10 * w[y][x - 1]);
    EXPECT_EQ(img.pixel<unsigned char>(0, 3)[2], 90);
    EXPECT_EQ(img.pixel<unsigned char>(1, 2)[2], 10);
    EXPECT_EQ(host.liveBlocks, 0);
}

TEST(BlurFilter, FractionalRadiusBlendsTheTwoIntegerBlurs) {
    // A seeded picture through the integer blur itself, or through the filter that blends.
    auto blur = [](double radius, double aspect, bool integer) {
        MemoryImage img(RF_RGBA8, 23, 17, Rows::Padded);
        MemoryHost host(&img, &img);
        img.fillBytes(9);
        if (integer)
            Internal_BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &host, img.info, radius, aspect,
                                     false, 0, false);
        else
            EXPECT_EQ(BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &host, img.info, radius, aspect,
                                      false, 0, false),
                      0);
        EXPECT_EQ(host.liveBlocks, 0);
        return img.bytes();
    };
    // 2.5 with aspect 2 mixes the blurs (2, 4) and (3, 6) half and half, rounded.
    auto const got = blur(2.5, 2, false), lo = blur(2, 2, true), hi = blur(3, 2, true);
    EXPECT_NE(got, blur(0, 2, true));
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], int(float(hi[i]) * 0.5f + float(lo[i]) * 0.5f + 0.5f)) << i;
    // A whole radius and one within 1e-5 below it both give the lower integer's blur.
    EXPECT_EQ(blur(2, 1, false), blur(2, 1, true));
    EXPECT_EQ(blur(2.999999, 1, false), blur(2, 1, true));
}

// The blur whose vertical pass copies every row back runs its horizontal pass in place; it must
// equal the two passes through a scratch raster, over ramps, the row-only mode and the 16-bit
// channels.
TEST(BlurFilter, InPlaceRowPassEqualsThePassesThroughScratch) {
    struct Case {
        double radius, aspect;
        bool progressive;
        int mode;
    } const cases[] = {{7, 0.1, true, 0},    {9, 0.2, true, 3},  {6, 0.0, true, 3},
                       {5, 3.0, false, -11}, {4, 0.1, false, 0}, {40, 0.0, true, 0}};
    for (auto const& c : cases)
        for (auto format : {RF_RGBA8, RF_ARGB16}) {
            MemoryImage img(format, 37, 19, Rows::Padded), mid(format, 37, 19),
                want(format, 37, 19);
            MemoryHost host(&img, &img);
            img.fillBytes(5);
            auto expect = [&](auto... pv) {
                TentBlurPass_RGBA(pv..., nullptr, img.info, mid.info, int(c.radius), false,
                                  c.progressive, c.mode);
                double const v = (c.progressive ? c.radius * 0.5 : c.radius) * c.aspect;
                TentBlurPass_RGBA(pv..., nullptr, mid.info, want.info, int(v), true, false, c.mode);
                Internal_BlurFilter_RGBA(pv..., &host, img.info, c.radius, c.aspect, c.progressive,
                                         c.mode, false);
            };
            if (format == RF_RGBA8)
                expect(PIXEL_VALUES(PIXEL_RGBA8));
            else
                expect(PIXEL_VALUES(PIXEL_ARGB16));
            EXPECT_EQ(img.bytes(), want.bytes()) << c.radius << " mode " << c.mode;
            EXPECT_EQ(host.liveBlocks, 0);
        }
}

// Faulty radii and missing scratch memory leave the picture: a NaN radius blurs nothing; without
// the scratch raster the in-place row pass (aspect 0) and the whole-radius blur fail, and when
// the whole-radius blur's inner raster fails it goes unnoticed, as the blend of the unblurred
// copy would. A saturated ramp radius (mode 4's last row) is held to the line.
TEST(BlurFilter, FaultyRadiiAndMissingScratchLeaveThePicture) {
    struct Case {
        double radius, aspect;
        int failRasterAt;
        bool internal, fails;
    } const cases[] = {{std::nan(""), 1, 0, false, false},
                       {5, 0, 1, true, true},
                       {3, 0, 1, false, true},
                       {3, 1, 1, false, true},
                       {3, 1, 2, false, false},
                       {std::nan(""), 0, 0, true, false}};
    for (auto const& c : cases)
        for (auto format : {RF_RGBA8, RF_RGBA32}) {
            MemoryImage img(format, 37, 19), before(format, 37, 19);
            img.fillBytes(9), before.fillBytes(9);
            MemoryHost host(&img, &img);
            host.failAllocRasterAt = c.failRasterAt;
            auto run = [&](auto... pv) {
                return c.internal ? Internal_BlurFilter_RGBA(pv..., &host, img.info, c.radius,
                                                             c.aspect, false, 0, false)
                                  : BlurFilter_RGBA(pv..., &host, img.info, c.radius, c.aspect,
                                                    false, 0, false);
            };
            int const result = format == RF_RGBA8 ? run(PIXEL_VALUES(PIXEL_RGBA8))
                                                  : run(PIXEL_VALUES(PIXEL_RGBA32));
            if (format == RF_RGBA32 && c.failRasterAt == 2) continue; // float takes the long way
            EXPECT_EQ(result != 0, c.fails) << c.radius << " at " << c.failRasterAt;
            EXPECT_EQ(img.bytes(), before.bytes()) << c.radius << " at " << c.failRasterAt;
            EXPECT_EQ(host.liveBlocks, 0);
        }
    EXPECT_EQ(blur_detail::limitTentRadius(2147483647, 100), 48);
    EXPECT_EQ(blur_detail::limitTentRadius(1073741824, 100), 48);
    MemoryImage src(RF_RGBA8, 30, 11), dst(RF_RGBA8, 30, 11);
    src.fillBytes(4);
    TentBlurPass_RGBA(PIXEL_VALUES(PIXEL_RGBA8), nullptr, src.info, dst.info, 10, false, true, 4);
    EXPECT_EQ(pixels<unsigned char>(dst, -1, 10),
              lineTent<PIXEL_RGBA8>(pixels<unsigned char>(src, -1, 10), 13));
}

// A float picture at radius 0 comes out as d * 0 + s, d its radius-1 blur: s itself when the
// blur is left out for a finite picture, and the blend's NaN, +0 and infinities otherwise.
TEST(BlurFilter, FloatRadiusZeroIsTheBlendOfTheRadiusOneBlur) {
    float const inf = std::numeric_limits<float>::infinity();
    for (float odd : {0.25f, -0.0f, inf, std::nanf(""), 3e38f, -1e31f, 1e30f}) {
        MemoryImage img(RF_RGBA32, 23, 9), blurred(RF_RGBA32, 23, 9);
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 23; ++x)
                for (int c = 0; c < 4; ++c) img.pixel<float>(x, y)[c] = float(x * 3 - y * c) * 0.1f;
        img.pixel<float>(11, 4)[1] = odd;
        std::vector<float> want(img.info.width * img.info.height * 4);
        blurred.storage = img.storage;
        MemoryHost host(&img, &img);
        Internal_BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA32), &host, blurred.info, 1.0, 1.0, false,
                                 0, false);
        for (int i = 0; i < 23 * 9 * 4; ++i) {
            int const x = i / 4 % 23, y = i / 4 / 23;
            want[i] = blurred.pixel<float>(x, y)[i % 4] * 0.0f + img.pixel<float>(x, y)[i % 4];
        }
        ASSERT_EQ(
            BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA32), &host, img.info, 0.0, 1.0, false, 0, false),
            0);
        MemoryImage wantImage(RF_RGBA32, 23, 9);
        for (int i = 0; i < 23 * 9 * 4; ++i)
            wantImage.pixel<float>(i / 4 % 23, i / 4 / 23)[i % 4] = want[i];
        EXPECT_EQ(bitsOf<float>(img), bitsOf<float>(wantImage)) << odd;
    }
}

// The fade's vector row scaling against the scalar channel scaling, for every 8- and 16-bit
// value, at factors at and inside the ends of [0, 1] and beyond them.
TEST(FadeRows, RowScalingEqualsTheChannelScalingForEveryValue) {
    float const factors[] = {0.0f,    1.0f,        0.5f,       0.999999f, 1e-7f,
                             0.3337f, 0.70710677f, 1.0000001f, -0.25f,    std::nanf("")};
    auto check = [&](auto sample) {
        using C = decltype(sample);
        std::vector<C> all(std::size_t(1) << (8 * sizeof(C)));
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = C(i * 40503u); // every value once
        for (float f : factors) {
            std::vector<C> row = all;
            blur_detail::scaleRow(row.data(), int(row.size()) - 3, f); // a scalar tail too
            for (std::size_t i = 0; i + 3 < all.size(); ++i)
                ASSERT_EQ(row[i], blur_detail::scaleChannel(all[i], f)) << f << " " << i;
        }
    };
    check((unsigned char)0);
    check((unsigned short)0);
}

// Columns: the radius runs from radiusStart at x = 0 to radiusEnd at the last column, and each
// column is blurred along itself only.
TEST(BlurFilter, InterpolatedBlurRunsTheRadiusAcrossTheLines) {
    MemoryImage img(RF_BGRA32, 5, 30);
    MemoryHost host(&img, &img);
    std::vector<float> columns[5];
    for (int x = 0; x < 5; ++x) {
        for (int i = 0; i < 4 * 30; ++i)
            img.pixel<float>(x, i / 4)[i % 4] = float((i / 4 * (i / 4) + i % 4) % 9);
        columns[x] = pixels<float>(img, x, -1);
    }
    ASSERT_EQ(
        InterpBlurFilter_RGBA(PIXEL_VALUES(PIXEL_BGRA32), &host, img.info, 0.0, 8.0, false, true),
        0);
    for (int x = 0; x < 5; ++x) // whole radii 0, 2, 4, 6, 8
        EXPECT_EQ(pixels<float>(img, x, -1), lineTent<PIXEL_BGRA32>(columns[x], 2 * x)) << x;
    EXPECT_EQ(host.liveBlocks, 0);
}

} // namespace
