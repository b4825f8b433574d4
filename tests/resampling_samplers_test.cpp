#include "RenderLib/LineFuncCP.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

// A source of pixels of C, `channels` to a pixel, rows stepping down or up in memory, and
// settings over it with a four-tap table; spans write to `out`, preset to 7.
template <class C> struct Fixture {
    int w, h, channels;
    std::vector<C> storage;
    RenderSettings s;
    std::vector<C> out;
    std::vector<float> coverage;

    Fixture(int width, int height, bool bottomUp = false, int nch = 4)
        : w(width), h(height), channels(nch), storage(std::size_t(width) * height * nch),
          out(64 * nch, C(7)), coverage(64, 0.5f) {
        std::memset(static_cast<void*>(&s), 0, sizeof s);
        const int rowBytes = width * nch * int(sizeof(C));
        s.srcPixels = reinterpret_cast<unsigned char*>(storage.data()) +
                      (bottomUp ? std::ptrdiff_t(height - 1) * rowBytes : 0);
        s.srcRowBytes = bottomUp ? -rowBytes : rowBytes;
        s.srcPixelBytes = nch * int(sizeof(C));
        s.srcRight = width - 1, s.srcBottom = height - 1;
        s.maxValue = std::is_floating_point_v<C> ? 1 : (sizeof(C) == 1 ? 255 : 65535);
        s.kernelSize = 4, s.kernelScale = 1.0;
        setInterpLineFunc(&s, 0, 0, 4, false, 0, 0, false, 0, 0, 0, false, true);
    }
    C* px(int x, int y) {
        return reinterpret_cast<C*>(s.srcPixels + std::ptrdiff_t(y) * s.srcRowBytes) + x * channels;
    }
    template <class F> void fill(F value) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int k = 0; k < channels; ++k) px(x, y)[k] = C(value(x, y, k));
    }
    // A span of n pixels starting at source (x, y), stepping dx per pixel, with w = q.
    LineRenderStruct span(double x, double y, int n, double dx = 1.0, double q = 1.0) {
        LineRenderStruct l{};
        l.u = x * q, l.v = y * q, l.q = q;
        l.du = dx * q, l.count = n;
        l.dest = reinterpret_cast<unsigned char*>(out.data());
        l.coverage = coverage.data();
        return l;
    }
    // Runs fn over a span and gives the first value it wrote.
    C first(LineFunction fn, double x, double y, int n = 1) {
        LineRenderStruct l = span(x, y, n);
        fn(&s, &l);
        return out[0];
    }
};

TEST(LineFunctions, SpanAdvancesByCountAndEmptySpansChangeNothing) {
    Fixture<unsigned char> f(8, 8);
    using L = LineFuncCP<unsigned char>;
    for (LineFunction fn : {L::bilinearFunc, L::edgeBilinearFunc, L::biCubicFunc,
                            L::biCubicFunc_4x4, L::edge_biCubicFunc, L::fillPolygonFunc,
                            L::edgePolygonFunc, L::biCubicFunc_4x4_ss, L::edgeBilinearFunc_1}) {
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
    }
    EXPECT_EQ(f.out[64 * 4 - 1], 7); // nothing past the span
}

TEST(LineFunctions, BilinearClampsAxisByAxisAndTruncatesEachStage) {
    Fixture<unsigned char> f(4, 4);
    f.fill([](int x, int y, int k) { return x * 60 + y * 10 + k; });
    using L = LineFuncCP<unsigned char>;
    // x exactly at the right bound: the clamped column, no x blend; just under it, the blend.
    EXPECT_EQ(f.first(L::bilinearFunc, 3.0, 1.0), 3 * 60 + 10);
    EXPECT_EQ(f.first(L::bilinearFunc, 2.75, 1.0),
              (unsigned char)(120.0f * 0.25f + 180.0f * 0.75f + 10));
    // Left and above the bounds: the corner pixel, copied.
    f.first(L::bilinearFunc, -0.5, -2.0);
    EXPECT_EQ(f.out[3], 3);

    // 255 blended with 255 may lose a unit in each truncating stage, but never more.
    f.fill([](int, int, int) { return 255; });
    for (double t = 0.05; t < 1.0; t += 0.1)
        EXPECT_GE(f.first(L::bilinearFunc, 1.0 + t, 1.0 + t / 3), 253);
    // Coverage: four channels truncate, one channel rounds.
    EXPECT_EQ(f.first(L::edgeBilinearFunc, 1.0, 1.0), 127);
    EXPECT_EQ(f.first(L::edgeBilinearFunc_1, 1.0, 1.0), 128);
}

TEST(LineFunctions, CubicFormsAgreeInsideAndDifferAtTheBorder) {
    Fixture<unsigned char> f(12, 12);
    f.fill([](int x, int y, int k) { return (x * 37 + y * 91 + k) % 200; });
    using L = LineFuncCP<unsigned char>;
    // The general sampler at four taps reads the same block as the unrolled one.
    for (double y : {3.2, 5.77, 8.5}) {
        LineRenderStruct a = f.span(2.1, y, 20, 0.37), b = a;
        L::biCubicFunc(&f.s, &a);
        const std::vector<unsigned char> general = f.out;
        L::biCubicFunc_4x4(&f.s, &b);
        EXPECT_EQ(general, f.out) << y;
    }
    // Wholly outside: the general form fades to zero, the unrolled one repeats the border.
    f.first(L::biCubicFunc, 30.0, 5.0);
    EXPECT_EQ(f.out[0] | f.out[1] | f.out[2] | f.out[3], 0);
    f.first(L::biCubicFunc_4x4, 30.0, 5.0);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(f.out[k], f.px(11, 5)[k]);
    f.first(L::biCubicFunc_4x4, -9.0, -9.0);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(f.out[k], f.px(0, 0)[k]);

    // Coverage 1 keeps the plain value, 0 clears it.
    f.first(L::biCubicFunc_4x4, 5.3, 5.6, 2);
    const std::vector<unsigned char> plain(f.out.begin(), f.out.begin() + 4);
    f.coverage[0] = 1.0f, f.coverage[1] = 0.0f;
    f.first(L::edge_biCubicFunc_4x4, 5.3, 5.6, 2);
    EXPECT_EQ(plain, std::vector<unsigned char>(f.out.begin(), f.out.begin() + 4));
    for (int k = 4; k < 8; ++k) EXPECT_EQ(f.out[k], 0);
}

// The four-channel samplers work on whole pixels at once; each channel must come out exactly
// as the single-channel sampler gives it from that channel's plane.
template <class C> void expectChannelsMatchPlanes() {
    Fixture<C> four(10, 9);
    std::vector<Fixture<C>> planes;
    for (int k = 0; k < 4; ++k) planes.emplace_back(10, 9, true, 1);
    unsigned seed = 99;
    four.fill([&](int, int, int) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 8) / double(1 << 24) * four.s.maxValue;
    });
    for (int k = 0; k < 4; ++k) planes[k].fill([&](int x, int y, int) { return four.px(x, y)[k]; });
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
    // A weight of 1.013 on a full-scale sample overshoots: 258.3 in eight bits.
    Fixture<unsigned char> f4(8, 8), f1(8, 8, false, 1);
    Fixture<float> ff(8, 8);
    for (auto* s : {&f4.s, &f1.s, &ff.s}) {
        for (int r = 0; r < 1024; ++r) s->kernelLut[r] = r % 4 == 1;
        s->kernelLut[kernelLutRow(0.25f) * 4 + 1] = 1.013f;
    }
    f4.storage.assign(f4.storage.size(), 255), f1.storage.assign(f1.storage.size(), 255);
    ff.storage.assign(ff.storage.size(), 1.0f);
    using L = LineFuncCP<unsigned char>;
    EXPECT_EQ(f4.first(L::biCubicFunc, 3.25, 3.0), 255);
    EXPECT_EQ(f1.first(L::biCubicFunc_1, 3.25, 3.0), 2);
    EXPECT_EQ(f1.first(L::biCubicFunc_4x4_1, 3.25, 3.0), 2);
    EXPECT_FLOAT_EQ(ff.first(LineFuncCP<float>::biCubicFunc_4x4, 3.25, 3.0), 1.013f); // kept
}

TEST(LineFunctions, EdgeFillWritesCoverageIntoAlphaOnly) {
    Fixture<unsigned short> f(6, 5);
    f.s.maxValue = 16384;
    f.s.alphaIndex = 3;
    f.first(LineFuncCP<unsigned short>::edgePolygonFunc, 0, 0, 2);
    EXPECT_EQ(f.out[3], 8192);
    EXPECT_EQ(f.out[0], 7);
}

} // namespace
