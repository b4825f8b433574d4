#include "RenderLib/LineFuncCP.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

// Random spans over a random source through the processor's fast span and the portable one:
// straight and perspective, inside, across and beyond the borders, rows stepping either way,
// kernels with and without negative lobes (so the clamp is reached).
template <class C> void compareSpans(unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const Cubic4x4Span<C> fast = cubic4x4SpanAvx2<C>();
    if (!fast) GTEST_SKIP() << "no AVX2 on this processor";
    for (int round = 0; round < 40; ++round) {
        const int w = 5 + int(rng() % 30), h = 5 + int(rng() % 20);
        const bool bottomUp = round % 2 == 1;
        std::vector<C> pixels(std::size_t(w) * h * 4);
        for (C& v : pixels) {
            if constexpr (std::is_floating_point_v<C>)
                v = C(unit(rng) * 1.4 - 0.2);
            else
                v = C(rng() >> (32 - 8 * sizeof(C)));
        }
        RenderSettings s;
        std::memset(static_cast<void*>(&s), 0, sizeof s);
        const int rowBytes = w * 4 * int(sizeof(C));
        s.srcPixels = reinterpret_cast<unsigned char*>(pixels.data()) +
                      (bottomUp ? std::ptrdiff_t(h - 1) * rowBytes : 0);
        s.srcRowBytes = bottomUp ? -rowBytes : rowBytes;
        s.srcPixelBytes = 4 * int(sizeof(C));
        s.srcLeft = int(rng() % 2), s.srcTop = int(rng() % 2);
        s.srcRight = w - 1 - int(rng() % 2), s.srcBottom = h - 1;
        s.maxValue = std::is_floating_point_v<C> ? 1 : (sizeof(C) == 1 ? 255 : 65535);
        s.kernelSize = 4, s.kernelScale = 1.0;
        const int filter = round % 3 == 0 ? 5 : (round % 3 == 1 ? 4 : 8);
        setInterpLineFunc(&s, 0, 0, filter, false, 0, 0, false, 0, 0, 0, false, true);

        for (int k = 0; k < 20; ++k) {
            LineRenderStruct line{};
            line.q = 0.5 + 1.5 * unit(rng);
            line.u = (unit(rng) * (w + 8) - 4) * line.q;
            line.v = (unit(rng) * (h + 8) - 4) * line.q;
            line.du = (unit(rng) * 3 - 1.5) * line.q;
            line.dv = (unit(rng) * 0.6 - 0.3) * line.q;
            line.dq = k % 2 ? (unit(rng) - 0.5) * 0.02 : 0.0;
            line.count = 1 + int(rng() % 33);
            line.leftCount = int(rng() % 3);
            std::vector<C> a(std::size_t(line.count + 3) * 4, C(7)), b = a;
            LineRenderStruct la = line, lb = line;
            la.dest = reinterpret_cast<unsigned char*>(a.data());
            lb.dest = reinterpret_cast<unsigned char*>(b.data());
            cubic4x4SpanPortable<C, 4>(&s, &la);
            fast(&s, &lb);
            ASSERT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(C)), 0)
                << "round " << round << " span " << k;
            ASSERT_TRUE(la.u == lb.u && la.v == lb.v && la.q == lb.q);
        }
    }
}

// Destination rows one after another through the fast span with row sums kept between them, each
// against the portable span: rows walking down and up and jumping, spans of the same columns
// shorter and longer than before, a second set of columns, rows and columns at the borders, and
// spans that step q or v by a hair or by enough to change y.
template <class C> void compareRows(unsigned seed) {
    const Cubic4x4Span<C> fast = cubic4x4SpanAvx2<C>();
    if (!fast) return;
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int w = 40, h = 30;
    std::vector<C> pixels(std::size_t(w) * h * 4);
    for (C& v : pixels) v = std::is_floating_point_v<C> ? C(unit(rng)) : C(rng() >> 16);
    RenderSettings s;
    std::memset(static_cast<void*>(&s), 0, sizeof s);
    s.srcPixels = reinterpret_cast<unsigned char*>(pixels.data());
    s.srcRowBytes = w * 4 * int(sizeof(C)), s.srcPixelBytes = 4 * int(sizeof(C));
    s.srcRight = w - 1, s.srcBottom = h - 1;
    s.maxValue = std::is_floating_point_v<C> ? 1 : (sizeof(C) == 1 ? 255 : 65535);
    s.kernelSize = 4, s.kernelScale = 1.0;
    setInterpLineFunc(&s, 0, 0, 4, false, 0, 0, false, 0, 0, 0, false, true);
    const int capacity = 48;
    std::vector<float> memory(Cubic4x4RowCache::bytesFor(capacity) / sizeof(float));
    Cubic4x4RowCache cache;
    cache.attach(memory.data(), capacity);
    const double starts[2][2] = {{-1.3, 1.0}, {0.25, 0.8}}; // x of the first pixel, step
    double y = 0.0;
    for (int k = 0; k < 300; ++k) {
        y += k % 50 == 0 ? unit(rng) * 20 - 10 : (k / 100 == 1 ? -0.9 : 0.9) * unit(rng) * 1.5;
        y = y < -3 ? 32 : (y > 33 ? -3 : y);
        const double* x = starts[k / 60 % 2];
        LineRenderStruct line{};
        line.q = 1.25, line.u = x[0] * line.q, line.v = y * line.q, line.du = x[1] * line.q;
        // A hair of dq, as a perspective transform leaves on a level row, keeps one y.
        line.dq = k % 37 == 0 ? 2e-3 : (k % 3 == 0 ? -1e-21 : 0.0);
        // So does a hair of dv; one that takes y across the middle between two floats does not.
        line.dv = k % 41 == 0 ? 0.05 : (k % 5 == 0 ? 2e-18 : 0.0);
        if (k % 13 == 0) {
            line.v = (3.0 + 0x1p-23 - 2e-8) * line.q;
            line.dv = 1e-9 * line.q;
        }
        line.count = k % 7 == 0 ? 13 : (k % 11 == 0 ? 47 : 44);
        // Every fourth row clamps below the channel type's full scale, as the deep formats do.
        if (!std::is_floating_point_v<C>) s.maxValue = k % 4 == 3 ? 200 : int(C(-1));
        std::vector<C> a(std::size_t(capacity) * 4, C(7)), b = a;
        LineRenderStruct la = line, lb = line;
        la.dest = reinterpret_cast<unsigned char*>(a.data());
        lb.dest = reinterpret_cast<unsigned char*>(b.data());
        cubic4x4SpanPortable<C, 4>(&s, &la);
        s.lineData = &cache;
        fast(&s, &lb);
        s.lineData = nullptr;
        ASSERT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(C)), 0) << "row " << k;
    }
}

TEST(SamplerPaths, RowSumsKeptFromRowToRowGiveThePortablePixels) {
    compareRows<unsigned char>(7);
    compareRows<unsigned short>(8);
    compareRows<float>(9);
}

TEST(SamplerPaths, FastFourByFourSpanEqualsThePortableOneInEveryDepth) {
    compareSpans<unsigned char>(1);
    compareSpans<unsigned short>(2);
    compareSpans<float>(3);
}

} // namespace
