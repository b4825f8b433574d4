#include "RenderLib/LineFuncCP.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

// A source of 4-channel pixels of C, W by H, rows of a given byte stride (negative allowed), and
// settings over it with a four-tap table.
template <class C> struct Fixture {
    int w, h;
    std::vector<C> storage;
    RenderSettings s;
    std::vector<C> out;
    std::vector<float> coverage;

    Fixture(int width, int height, bool bottomUp = false, int channels = 4)
        : w(width), h(height), storage(std::size_t(width) * height * channels),
          out(64 * channels, C(7)), coverage(64, 0.5f) {
        std::memset(static_cast<void*>(&s), 0, sizeof s);
        const int rowBytes = width * channels * int(sizeof(C));
        s.srcPixels = reinterpret_cast<unsigned char*>(storage.data()) +
                      (bottomUp ? std::ptrdiff_t(height - 1) * rowBytes : 0);
        s.srcRowBytes = bottomUp ? -rowBytes : rowBytes;
        s.srcPixelBytes = channels * int(sizeof(C));
        s.srcRight = width - 1;
        s.srcBottom = height - 1;
        s.maxValue = std::is_floating_point_v<C> ? 1 : (sizeof(C) == 1 ? 255 : 65535);
        s.kernelSize = 4;
        s.kernelScale = 1.0;
        setInterpLineFunc(&s, 0, 0, 4, false, 0, 0, false, 0, 0, 0, false, true);
    }
    C* px(int x, int y, int channels = 4) {
        return reinterpret_cast<C*>(s.srcPixels + std::ptrdiff_t(y) * s.srcRowBytes +
                                    std::ptrdiff_t(x) * channels * int(sizeof(C)));
    }
    // A span of n pixels starting at source (x, y), stepping dx per pixel, with w = q.
    LineRenderStruct span(double x, double y, int n, double dx = 1.0, double q = 1.0) {
        LineRenderStruct l{};
        l.u = x * q, l.v = y * q, l.q = q;
        l.du = dx * q, l.dv = 0.0, l.dq = 0.0;
        l.count = n;
        l.dest = reinterpret_cast<unsigned char*>(out.data());
        l.coverage = coverage.data();
        return l;
    }
};

TEST(LineFunctions, SpanAdvancesByCountAndEmptySpansChangeNothing) {
    Fixture<unsigned char> f(8, 8);
    using L = LineFuncCP<unsigned char>;
    const LineFunction all[] = {L::bilinearFunc,    L::edgeBilinearFunc,   L::biCubicFunc,
                                L::biCubicFunc_4x4, L::edge_biCubicFunc,   L::fillPolygonFunc,
                                L::edgePolygonFunc, L::biCubicFunc_4x4_ss, L::edgeBilinearFunc_1};
    for (LineFunction fn : all) {
        for (int n : {0, -3}) {
            LineRenderStruct l = f.span(2.0, 3.0, n);
            const LineRenderStruct before = l;
            fn(&f.s, &l);
            EXPECT_EQ(std::memcmp(&l, &before, sizeof l), 0);
        }
        LineRenderStruct l = f.span(1.0, 2.0, 3, 0.5, 2.0);
        l.dq = 0.25;
        fn(&f.s, &l);
        EXPECT_DOUBLE_EQ(l.u, 2.0 + 3 * 1.0);
        EXPECT_DOUBLE_EQ(l.q, 2.0 + 3 * 0.25);
        EXPECT_DOUBLE_EQ(l.du, 1.0);
    }
    EXPECT_EQ(f.out[64 * 4 - 1], 7); // nothing past the span
}

TEST(LineFunctions, BilinearClampsAxisByAxisAndTruncatesEachStage) {
    Fixture<unsigned char> f(4, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            for (int k = 0; k < 4; ++k) f.px(x, y)[k] = (unsigned char)(x * 60 + y * 10 + k);
    using L = LineFuncCP<unsigned char>;
    // x exactly at the right bound: the clamped column, no x blend; just under it, the blend.
    LineRenderStruct l = f.span(3.0, 1.0, 1);
    L::bilinearFunc(&f.s, &l);
    EXPECT_EQ(f.out[0], 3 * 60 + 10);
    l = f.span(2.75, 1.0, 1);
    L::bilinearFunc(&f.s, &l);
    EXPECT_EQ(f.out[0], (unsigned char)(120.0f * 0.25f + 180.0f * 0.75f + 10));
    // Left and above the bounds: the corner pixel, copied.
    l = f.span(-0.5, -2.0, 1);
    L::bilinearFunc(&f.s, &l);
    EXPECT_EQ(f.out[3], 3);

    // 255 blended with 255 may lose a unit in each truncating stage, but never more.
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) std::memset(f.px(x, y), 255, 4);
    for (double t = 0.05; t < 1.0; t += 0.1) {
        l = f.span(1.0 + t, 1.0 + t / 3, 1);
        L::bilinearFunc(&f.s, &l);
        EXPECT_GE(f.out[0], 253);
    }
    // Coverage: four channels truncate, one channel rounds.
    l = f.span(1.0, 1.0, 1);
    L::edgeBilinearFunc(&f.s, &l);
    EXPECT_EQ(f.out[0], 127);
    l = f.span(1.0, 1.0, 1);
    L::edgeBilinearFunc_1(&f.s, &l);
    EXPECT_EQ(f.out[0], 128);
}

TEST(LineFunctions, CubicFormsAgreeInsideAndDifferAtTheBorder) {
    Fixture<unsigned char> f(12, 12);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 12; ++x)
            for (int k = 0; k < 4; ++k)
                f.px(x, y)[k] = (unsigned char)((x * 37 + y * 91 + k) % 200);
    using L = LineFuncCP<unsigned char>;
    // The general sampler at four taps reads the same block as the unrolled one.
    std::vector<unsigned char> general(f.out.size());
    for (double y : {3.2, 5.77, 8.5}) {
        LineRenderStruct a = f.span(2.1, y, 20, 0.37);
        L::biCubicFunc(&f.s, &a);
        general = f.out;
        LineRenderStruct b = f.span(2.1, y, 20, 0.37);
        L::biCubicFunc_4x4(&f.s, &b);
        for (int i = 0; i < 80; ++i) EXPECT_EQ(general[i], f.out[i]) << i;
    }
    // Wholly outside: the general form fades to zero, the unrolled one repeats the border.
    LineRenderStruct l = f.span(30.0, 5.0, 1);
    L::biCubicFunc(&f.s, &l);
    EXPECT_EQ(f.out[0] | f.out[1] | f.out[2] | f.out[3], 0);
    l = f.span(30.0, 5.0, 1);
    L::biCubicFunc_4x4(&f.s, &l);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(f.out[k], f.px(11, 5)[k]);
    l = f.span(-9.0, -9.0, 1);
    L::biCubicFunc_4x4(&f.s, &l);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(f.out[k], f.px(0, 0)[k]);

    // Coverage 1 keeps the plain value, 0 clears it.
    l = f.span(5.3, 5.6, 2);
    L::biCubicFunc_4x4(&f.s, &l);
    const std::vector<unsigned char> plain(f.out.begin(), f.out.begin() + 8);
    f.coverage[0] = 1.0f, f.coverage[1] = 0.0f;
    l = f.span(5.3, 5.6, 2);
    L::edge_biCubicFunc_4x4(&f.s, &l);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(f.out[k], plain[k]);
    for (int k = 4; k < 8; ++k) EXPECT_EQ(f.out[k], 0);
}

// The four-channel samplers work on whole pixels at once; each channel must come out exactly
// as the single-channel sampler gives it from that channel's plane.
template <class C> void expectChannelsMatchPlanes() {
    const int w = 10, h = 9;
    Fixture<C> four(w, h);
    std::vector<Fixture<C>> planes;
    for (int k = 0; k < 4; ++k) planes.emplace_back(w, h, true, 1);
    unsigned seed = 99;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int k = 0; k < 4; ++k) {
                seed = seed * 1664525u + 1013904223u;
                const double v = (seed >> 8) / double(1 << 24) * four.s.maxValue;
                four.px(x, y)[k] = C(v);
                *planes[k].px(x, y, 1) = four.px(x, y)[k];
            }
    using L = LineFuncCP<C>;
    // Parzen weights are positive: no overshoot, so the two stores agree.
    for (auto* f : {&four, &planes[0], &planes[1], &planes[2], &planes[3]})
        setInterpLineFunc(&f->s, 0, 0, 9, false, 0, 0, false, 0, 0, 0, false, true);
    const std::pair<LineFunction, LineFunction> pairs[] = {
        {L::bilinearFunc, L::bilinearFunc_1}, {L::biCubicFunc_4x4, L::biCubicFunc_4x4_1}};
    for (auto [whole, single] : pairs) {
        LineRenderStruct l = four.span(1.3, 1.9, 12, 0.55, 1.2);
        l.dq = 0.02, l.dv = 0.07;
        const LineRenderStruct start = l;
        whole(&four.s, &l);
        for (int k = 0; k < 4; ++k) {
            LineRenderStruct m = start;
            m.dest = reinterpret_cast<unsigned char*>(planes[k].out.data());
            single(&planes[k].s, &m);
            for (int i = 0; i < 12; ++i) EXPECT_EQ(four.out[4 * i + k], planes[k].out[i]) << i;
        }
    }
}

TEST(LineFunctions, FourChannelsMatchSingleChannelPlanes) {
    expectChannelsMatchPlanes<unsigned char>();
    expectChannelsMatchPlanes<unsigned short>();
    expectChannelsMatchPlanes<float>();
}

TEST(LineFunctions, OvershootClampsInFourChannelsAndWrapsInOne) {
    // A weight of 1.013 on a 255 sample sums to 258.3.
    Fixture<unsigned char> f4(8, 8), f1(8, 8, false, 1);
    for (auto* f : {&f4, &f1}) {
        std::fill(f->storage.begin(), f->storage.end(), 255);
        std::fill(f->s.kernelLut, f->s.kernelLut + 1024, 0.0f);
        for (int r = 0; r < 256; ++r) f->s.kernelLut[r * 4 + 1] = 1.0f;
        f->s.kernelLut[kernelLutRow(0.25f) * 4 + 1] = 1.013f;
    }
    LineRenderStruct l = f4.span(3.25, 3.0, 1);
    LineFuncCP<unsigned char>::biCubicFunc(&f4.s, &l);
    EXPECT_EQ(f4.out[0], 255);
    l = f1.span(3.25, 3.0, 1);
    LineFuncCP<unsigned char>::biCubicFunc_1(&f1.s, &l);
    EXPECT_EQ(f1.out[0], 2);
    l = f1.span(3.25, 3.0, 1);
    LineFuncCP<unsigned char>::biCubicFunc_4x4_1(&f1.s, &l);
    EXPECT_EQ(f1.out[0], 2);
    // Float keeps the overshoot.
    Fixture<float> ff(8, 8);
    std::fill(ff.storage.begin(), ff.storage.end(), 1.0f);
    std::memcpy(ff.s.kernelLut, f4.s.kernelLut, sizeof ff.s.kernelLut);
    l = ff.span(3.25, 3.0, 1);
    LineFuncCP<float>::biCubicFunc_4x4(&ff.s, &l);
    EXPECT_FLOAT_EQ(ff.out[0], 1.013f);
}

TEST(LineFunctions, NearestAndFillIgnoreBoundsAndSource) {
    // Rows walked upward in memory; the span starts leftCount pixels into the row.
    Fixture<unsigned short> f(6, 5, true);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 6; ++x)
            for (int k = 0; k < 4; ++k) f.px(x, y)[k] = (unsigned short)(1000 * y + 10 * x + k);
    LineRenderStruct l = f.span(0.5, 3.5, 4, 1.0);
    l.leftCount = 2;
    lineFunc(&f.s, &l);
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 4; ++k) EXPECT_EQ(f.out[(2 + i) * 4 + k], 3000 + 10 * i + k);
    EXPECT_EQ(f.out[0], 7);

    using L = LineFuncCP<unsigned short>;
    f.s.maxValue = 16384;
    f.s.alphaIndex = 3;
    std::fill(f.out.begin(), f.out.end(), 7);
    l = f.span(0, 0, 2);
    L::edgePolygonFunc(&f.s, &l);
    EXPECT_EQ(f.out[3], 8192);
    EXPECT_EQ(f.out[0], 7);
    std::fill(f.out.begin(), f.out.end(), 7);
    l = f.span(0, 0, 3);
    L::fillPolygonFunc_1(&f.s, &l);
    EXPECT_EQ(f.out[2], 16384);
    EXPECT_EQ(f.out[3], 7);
}

} // namespace
