#pragma once
#include "host/PluginHost_API.h"
#include "pixel/PixelFormats.h"

#include <algorithm>

// The merge of a bent mirror image: where the near mask covers, pass 0's picture stays, scaled
// by that coverage; where it is empty the turned picture shows through the far mask; between,
// the two mix by the far mask.

// Eight-bit rows, eight pixels at a time where the processor has AVX2, every lane doing the
// scalar float formula; alpha at byte `alphaIndex` (0 or 3) of a pixel. Returns how many leading
// pixels it did. The first form ignores MIRREL_CPU, for tests.
using BendMergeRow8 = int (*)(unsigned char* dst, unsigned char const* bent,
                              unsigned char const* nearMask, unsigned char const* farMask,
                              int width);
BendMergeRow8 bendMergeRow8Avx2(int alphaIndex);
BendMergeRow8 chosenBendMergeRow8(int alphaIndex);

template <class P, class C, class V>
void mergeBentImage(PluginHost_API::RasterInfo& destination, PluginHost_API::RasterInfo const& bent,
                    PluginHost_API::RasterInfo const& nearMask,
                    PluginHost_API::RasterInfo const& farMask, PluginRasterFormat format) {
    int red, green, blue, alpha;
    getRasterChannelOrder(format, red, green, blue, alpha);
    int const channels[4] = {red, green, blue, alpha};
    float const recip = float(P::RECIP_VALUE());
    float const half = P::halfRoundPixel();
    float const full = float(P::MAX_VALUE());
    auto store = [](float x) { return C(P::clamp(V(x))); };
    // The vector rows treat the four channels alike, so they need each exactly once.
    int sorted[4] = {red, green, blue, alpha};
    std::sort(sorted, sorted + 4);
    BendMergeRow8 const row8 =
        P::is8Bit() && sorted[0] == 0 && sorted[1] == 1 && sorted[2] == 2 && sorted[3] == 3
            ? chosenBendMergeRow8(alpha)
            : nullptr;
    int const W = destination.width, H = destination.height;
    for (int y = 0; y < H; ++y) {
        auto* d = reinterpret_cast<C*>(destination.row(y));
        auto const* b = reinterpret_cast<C const*>(bent.row(y));
        auto const* n = reinterpret_cast<C const*>(nearMask.row(y));
        auto const* fm = reinterpret_cast<C const*>(farMask.row(y));
        int x = 0;
        if constexpr (sizeof(C) == 1)
            if (row8) x = row8(d, b, n, fm, W);
        for (d += 4 * x, b += 4 * x, n += 4 * x, fm += 4 * x; x < W;
             ++x, d += 4, b += 4, n += 4, fm += 4) {
            float const nearA = float(n[alpha]), farA = float(fm[alpha]);
            if (nearA == 0.0f) {
                float const k = farA * recip;
                for (int ch : channels) d[ch] = store(float(b[ch]) * k + half);
            } else if (nearA == full) {
                float const k = nearA * recip;
                for (int ch : channels) d[ch] = store(float(d[ch]) * k + half);
            } else if (farA != 0.0f) {
                float const k = farA * recip;
                for (int ch : channels)
                    d[ch] = store(float(b[ch]) * k + float(d[ch]) * (1.0f - k) + half);
            }
        }
    }
}
