#pragma once
#include "host/PluginHost_API.h"
#include "pixel/BendMergeRows8.h"
#include "pixel/PixelFormats.h"

#include <cstddef>
#include <cstring>

// The merge of a bent mirror image into `destination`, which holds the unbent one: the near
// mask keeps the unbent picture, the far mask shows the turned one, in float in every format.
// Where the near mask is empty the bent picture comes at the far mask's alpha (the unbent one is
// dropped, also where the far mask is empty); where it is full the unbent one stays at it;
// between, the far mask blends the two, and where it is empty the pixel stays.
// The merge of `count` pixels, one at a time; alpha at `alpha` of each pixel.
template <class P, class C, class V>
void mergeBendPixels(C* d, C const* b, C const* n, C const* fm, int count, int alpha) {
    float const recip = float(P::RECIP_VALUE());
    float const half = P::halfRoundPixel();
    float const full = float(P::MAX_VALUE());
    auto store = [](float x) { return C(P::clamp(V(x))); };
    for (int x = 0; x < count; ++x, d += 4, b += 4, n += 4, fm += 4) {
        float const nearA = float(n[alpha]), farA = float(fm[alpha]);
        if (nearA == 0.0f) {
            float const k = farA * recip;
            for (int ch = 0; ch < 4; ++ch) d[ch] = store(float(b[ch]) * k + half);
        } else if (nearA == full) {
            float const k = nearA * recip;
            for (int ch = 0; ch < 4; ++ch) d[ch] = store(float(d[ch]) * k + half);
        } else if (farA != 0.0f) {
            float const k = farA * recip;
            for (int ch = 0; ch < 4; ++ch)
                d[ch] = store(float(b[ch]) * k + float(d[ch]) * (1.0f - k) + half);
        }
    }
}

// The merge over whole rasters; `format` gives the channel order. With `into`, the merged picture
// goes there (a raster of the destination's size) and the destination is left as it is.
template <class P, class C, class V>
void mergeBend(PluginRasterInfo& destination, PluginRasterInfo const& bent,
               PluginRasterInfo const& nearMask, PluginRasterInfo const& farMask,
               PluginRasterFormat format, PluginRasterInfo const* into = nullptr) {
    int red, green, blue, alpha;
    getRasterChannelOrder(format, red, green, blue, alpha);
    BendMergeRow8 row8 = nullptr;
    if constexpr (P::is8Bit())
        if (alpha == 0 || alpha == 3) row8 = chosenBendMergeRow8(alpha);
    int const W = destination.width;
    std::size_t const pixelBytes = sizeof(C) * 4;
    for (int y = 0; y < destination.height; ++y) {
        auto* d = reinterpret_cast<C*>(destination.row(y));
        auto* o = into ? reinterpret_cast<C*>(into->row(y)) : d;
        auto const* b = reinterpret_cast<C const*>(bent.row(y));
        auto const* n = reinterpret_cast<C const*>(nearMask.row(y));
        auto const* fm = reinterpret_cast<C const*>(farMask.row(y));
        int x = 0;
        if constexpr (P::is8Bit())
            if (row8) x = row8(d, o, b, n, fm, W, float(P::RECIP_VALUE()), P::halfRoundPixel());
        // The pixel loop merges in place, and keeps some pixels as they are.
        if (o != d) std::memcpy(o + 4 * x, d + 4 * x, pixelBytes * std::size_t(W - x));
        mergeBendPixels<P, C, V>(o + 4 * x, b + 4 * x, n + 4 * x, fm + 4 * x, W - x, alpha);
    }
}
