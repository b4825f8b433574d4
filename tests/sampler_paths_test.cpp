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

TEST(SamplerPaths, FastFourByFourSpanEqualsThePortableOneInEveryDepth) {
    compareSpans<unsigned char>(1);
    compareSpans<unsigned short>(2);
    compareSpans<float>(3);
}

} // namespace
