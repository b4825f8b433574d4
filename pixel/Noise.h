#pragma once
#include "host/RasterInfo.h"

#include "pixel/NoiseRows8.h"
#include "platform/Random.h"

#include <algorithm>
#include <cstddef>
#include <vector>

// Monochrome grain: one random field added alike to red, green and blue and never to alpha.
// The field takes one platformRand() a pixel in raster order, so a seed and a size always give the
// same grain. Softening the field is the noise stage's business.

// A value of the field from a rand() value: from 0 up to just below 1. The factor is 2 to the
// power -31.
inline float noiseUniform(int rand) {
    return float(rand % 2147483647) * 4.656613e-10f;
}
inline float noiseUniform() {
    return noiseUniform(platformRand());
}

namespace noise_detail {
// Adds n to the three colour channels of one pixel, truncating to the working type.
template <class P, class C, class V> inline void addToColor(C* px, float n) {
    for (int k = P::FIRST_COLOR; k < P::FIRST_COLOR + 3; ++k)
        px[k] = C(P::clamp(V(float(px[k]) + n)));
}
} // namespace noise_detail

// Writes the field, at full scale, into the alpha channel of a scratch raster.
template <class P, class C, class V> void fillNoiseAlpha(PluginRasterInfo& plane, int alpha) {
    float const M = float(P::MAX_VALUE());
    std::vector<int> rands(std::size_t(std::max(plane.width, 0)));
    for (int y = 0; y < plane.height; ++y) {
        C* px = reinterpret_cast<C*>(plane.row(y));
        platformRandFill(rands.data(), rands.size());
        for (int x = 0; x < plane.width; ++x, px += 4)
            px[alpha] = C(P::clamp(V(noiseUniform(rands[std::size_t(x)]) * M)));
    }
}

// Adds the field kept in the alpha of `plane`, centred on half scale, at `amount` percent.
template <class P, class C, class V>
void addNoiseAlpha(PluginRasterInfo& raster, PluginRasterInfo const& plane, int alpha,
                   float amount) {
    float const a = amount * 0.01f;
    float const h = float(P::MAX_VALUE()) * 0.5f;
    NoiseRow8 row8 = nullptr;
    if constexpr (P::is8Bit())
        if (alpha == P::ALPHA) row8 = chosenNoiseRow8(alpha);
    for (int y = 0; y < raster.height; ++y) {
        C* px = reinterpret_cast<C*>(raster.row(y));
        C const* field = reinterpret_cast<C const*>(plane.row(y));
        int x = 0;
        if constexpr (P::is8Bit())
            if (row8) {
                x = row8(px, field, raster.width, a, h);
                px += 4 * x, field += 4 * x;
            }
        for (; x < raster.width; ++x, px += 4, field += 4)
            noise_detail::addToColor<P, C, V>(px, (float(field[alpha]) - h) * a);
    }
}

// Adds a float field of width times height values from 0 to 1 at `amount` percent.
template <class P, class C, class V>
void addNoisePlane(PluginRasterInfo& raster, float const* field, float amount) {
    float const a = float(P::MAX_VALUE()) * amount * 0.01f;
    for (int y = 0; y < raster.height; ++y) {
        C* px = reinterpret_cast<C*>(raster.row(y));
        float const* row = field + long(y) * raster.width;
        for (int x = 0; x < raster.width; ++x, px += 4)
            noise_detail::addToColor<P, C, V>(px, (row[x] - 0.5f) * a);
    }
}
