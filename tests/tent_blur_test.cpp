#include "RenderLib/BlurFilter.h"
#include "RenderLib/Gauss1.h"
#include "RenderLib/TentBlur.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <cstring>
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

template <class C> std::vector<C> column(MemoryImage& img, int x, int channel) {
    std::vector<C> v;
    for (int y = 0; y < img.info.height; ++y) v.push_back(img.pixel<C>(x, y)[channel]);
    return v;
}

TEST(TentBlur, ImpulseResponseIsTheTentInEveryLayout) {
    int const r = 3;
    std::vector<float> line(4 * 21, 0.0f);
    line[4 * 10 + 2] = 1.0f;
    auto out = lineTent<PIXEL_ARGB32>(line, r);
    for (int i = 0; i < 21; ++i) {
        int const k = std::abs(i - 10);
        float const w = k <= r ? float(r + 1 - k) / float((r + 1) * (r + 1)) : 0.0f;
        EXPECT_FLOAT_EQ(out[4 * i + 2], w) << i;
        EXPECT_EQ(out[4 * i], 0.0f);
    }
    // Columns of an 8-bit raster walked through padded and negative strides: 160 * w / 16.
    for (auto rows : {Rows::TopDown, Rows::Padded, Rows::BottomUp}) {
        MemoryImage src(RF_RGBA8, 5, 21, rows), dst(RF_RGBA8, 5, 21, rows);
        src.pixel<unsigned char>(2, 10)[1] = 160;
        TentBlurPass_RGBA(PIXEL_VALUES(PIXEL_RGBA8), nullptr, src.info, dst.info, r, true, false,
                          0);
        auto col = column<unsigned char>(dst, 2, 1);
        for (int y = 0; y < 21; ++y) {
            int const k = std::abs(y - 10);
            EXPECT_EQ(col[y], k <= r ? 10 * (r + 1 - k) : 0) << y;
        }
        EXPECT_EQ(column<unsigned char>(dst, 1, 1), std::vector<unsigned char>(21, 0));
    }
}

TEST(TentBlur, ConstantLinesStayExceptForTheTruncationAtRadiusSix) {
    for (int v = 0; v < 256; ++v)
        for (int r : {1, 2, 3, 4, 5, 10}) {
            std::vector<unsigned char> line(4 * 40, (unsigned char)v);
            ASSERT_EQ(lineTent<PIXEL_ARGB8>(line, r), line) << v << " r" << r;
        }
    // 49 times the double 1/49 lies just below 1.
    auto out = lineTent<PIXEL_ARGB8>(std::vector<unsigned char>(4 * 40, 1), 6);
    EXPECT_EQ(out, std::vector<unsigned char>(4 * 40, 0));
}

TEST(TentBlur, ShortLinesLimitTheRadius) {
    auto line12 = noise(4 * 12, 3), line13 = noise(4 * 13, 4);
    EXPECT_EQ(lineTent<PIXEL_BGRA8>(line12, 5), lineTent<PIXEL_BGRA8>(line12, 4));
    EXPECT_NE(lineTent<PIXEL_BGRA8>(line13, 5), lineTent<PIXEL_BGRA8>(line13, 4));
    for (int n : {4, 5}) {
        auto line = noise(4 * n, n);
        EXPECT_EQ(lineTent<PIXEL_BGRA8>(line, 9), line);
    }
}

int rampRadius(int row, int mode) {
    float t = 1.0f - float(row) / 10.0f;
    return int((mode == 3 ? t * t : t) * 10.0f);
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
            auto* row = src.pixel<unsigned short>(0, y);
            std::vector<unsigned short> in(row, row + 4 * 30);
            auto* got = dst.pixel<unsigned short>(0, y);
            EXPECT_EQ(std::vector<unsigned short>(got, got + 4 * 30),
                      lineTent<PIXEL_ARGB16>(in, rampRadius(y, mode)))
                << "mode " << mode << " row " << y;
        }
    }
}

TEST(Gauss1, SmoothsWithClampedBordersAndSurvivesMemoryFailure) {
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

    host.failAllocMemoryAt = host.allocMemoryCalls + 1;
    auto before = img.bytes();
    EXPECT_EQ(gauss1_A(PIXEL_VALUES(PIXEL_ARGB8), &host, img.pixel<unsigned char>(0, 0), 20, 1), 1);
    EXPECT_EQ(img.bytes(), before);
}

struct Picture {
    MemoryImage img, out;
    MemoryHost host;
    Picture(PluginRasterFormat f, int w, int h, unsigned seed, Rows rows = Rows::TopDown)
        : img(f, w, h, rows), out(f, w, h, rows), host(&img, &out) {
        img.fillBytes(seed);
    }
};

// 2.5 with aspect 2 mixes the blurs (2, 4) and (3, 6) half and half, rounded.
TEST(BlurFilter, FractionalRadiusBlendsTheTwoIntegerBlurs) {
    Picture a(RF_RGBA8, 23, 17, 9, Rows::Padded), lo(RF_RGBA8, 23, 17, 9, Rows::Padded),
        hi(RF_RGBA8, 23, 17, 9, Rows::Padded);
    auto original = a.img.bytes();
    ASSERT_EQ(
        BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &a.host, a.img.info, 2.5, 2.0, false, 0, false),
        0);
    Internal_BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &lo.host, lo.img.info, 2.0, 2.0, false, 0,
                             false);
    Internal_BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &hi.host, hi.img.info, 3.0, 2.0, false, 0,
                             false);
    auto got = a.img.bytes(), l = lo.img.bytes(), h = hi.img.bytes();
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], int(float(h[i]) * 0.5f + float(l[i]) * 0.5f + 0.5f)) << i;
    EXPECT_NE(got, original);
    EXPECT_EQ(a.host.liveBlocks, 0);

    // A whole radius and one within 1e-5 below it both give the lower integer's blur.
    Picture w(RF_RGBA8, 23, 17, 9), n(RF_RGBA8, 23, 17, 9), ref(RF_RGBA8, 23, 17, 9);
    Internal_BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &ref.host, ref.img.info, 2.0, 1.0, false, 0,
                             false);
    BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &w.host, w.img.info, 2.0, 1.0, false, 0, false);
    BlurFilter_RGBA(PIXEL_VALUES(PIXEL_RGBA8), &n.host, n.img.info, 2.999999, 1.0, false, 0, false);
    EXPECT_EQ(w.img.bytes(), ref.img.bytes());
    EXPECT_EQ(n.img.bytes(), ref.img.bytes());
}

TEST(BlurFilter, FailedScratchLeavesThePictureAndReportsIt) {
    Picture q(RF_ARGB15, 12, 12, 4);
    auto before = q.img.bytes();
    q.host.failAllocRasterAt = 1;
    EXPECT_EQ(
        BlurFilter_RGBA(PIXEL_VALUES(PIXEL_ARGB15), &q.host, q.img.info, 1.5, 1.0, false, 0, false),
        1);
    EXPECT_EQ(q.img.bytes(), before);
    q.host.failAllocRasterAt = 2;
    EXPECT_EQ(InterpBlurFilter_RGBA(PIXEL_VALUES(PIXEL_ARGB15), &q.host, q.img.info, 1.0, 3.0,
                                    false, true),
              1);
    EXPECT_EQ(q.img.bytes(), before);
}

// Columns: the radius runs from radiusStart at x = 0 to radiusEnd at the last column, and each
// column is blurred along itself only.
TEST(BlurFilter, InterpolatedBlurRunsTheRadiusAcrossTheLines) {
    Picture p(RF_BGRA32, 5, 30, 8);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 4; ++c) p.img.pixel<float>(x, y)[c] = float((y * y + c) % 9);
    MemoryImage src(RF_BGRA32, 5, 30);
    std::memcpy(src.storage.data(), p.img.storage.data(), src.storage.size());
    ASSERT_EQ(InterpBlurFilter_RGBA(PIXEL_VALUES(PIXEL_BGRA32), &p.host, p.img.info, 0.0, 8.0,
                                    false, true),
              0);
    for (int x = 0; x < 5; ++x) {
        double const r = 2.0 * x; // 0, 2, 4, 6, 8: whole radii
        std::vector<float> in, got;
        for (int y = 0; y < 30; ++y)
            for (int c = 0; c < 4; ++c) {
                in.push_back(src.pixel<float>(x, y)[c]);
                got.push_back(p.img.pixel<float>(x, y)[c]);
            }
        EXPECT_EQ(got, lineTent<PIXEL_BGRA32>(in, int(r))) << x;
    }
    EXPECT_EQ(p.host.liveBlocks, 0);
}

} // namespace
