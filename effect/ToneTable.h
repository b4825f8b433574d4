#pragma once
#include "Transform/Common/TX_Macros.h"
#include "host/PluginHost_API.h"
#include "host/SaturatingCast.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <cmath>

// "Gamma" and "Brightness" of the mirror image through a table of 256 steps, so that pow()
// stays out of the per-pixel path. Red, green and blue change; alpha does not.

// Fills the 257 entries, in the channel range of the format; the last repeats entry 255 so
// that interpolation may read one step further. False when the tone is neutral and the
// table was left alone.
template <class P, class C, class A, class V, class F>
bool makeToneTable(P, C, A, V, F, double gamma, double brightness, float* table) {
    float const g = float(gamma);
    float const b = float(brightness);
    if (MACRO_NOT_NEARLY_EQUAL(g, 1.0) == 0.0 && MACRO_NOT_NEARLY_EQUAL(b, 1.0) == 0.0)
        return false;
    float const unit = 0.003921569f * b;
    float const top = float(P::MAX_VALUE());
    // The integer formats keep whole steps: the entries are truncated, never rounded. They are
    // held to the range first, since a steep gamma over a raised brightness overflows an int.
    auto const store = [=](float x) {
        if constexpr (!P::is32Bit())
            x = x <= 0.0f ? 0.0f : (x >= top ? top : float(saturatingCast(x)));
        return float(P::clamp(V(x)));
    };
    bool const linear = MACRO_NEARLY_EQUAL(g, 1.0) != 0.0;
    for (int n = 0; n < 256; ++n) {
        if (linear) {
            table[n] = store(float(n) * (unit * top));
        } else {
            float const v = float(n) * unit;
            double const t = v <= 0.0f ? 0.0 : std::pow(double(v), double(g));
            table[n] = store(float(top * t));
        }
    }
    table[256] = table[255];
    return true;
}

// Applies the table to every pixel of the raster; the channel order is that of `format`.
template <class P, class C, class A, class V, class F>
void applyToneTable(P, C, A, V, F, PluginRasterInfo& raster, PluginRasterFormat format,
                    float const* table) {
    int ch[4];
    getRasterChannelOrder(format, ch[0], ch[1], ch[2], ch[3]);
    for (int y = 0; y < raster.height; ++y) {
        C* px = reinterpret_cast<C*>(raster.row(y));
        for (int x = 0; x < raster.width; ++x, px += 4) {
            for (int k = 0; k < 3; ++k) {
                C& c = px[ch[k]];
                if constexpr (P::is8Bit()) {
                    c = C(table[c]);
                } else if constexpr (P::is32Bit()) {
                    double const v = 255.0 * c;
                    int n = saturatingCast(v); // float pixels may hold anything
                    n = n < 0 ? 0 : (n > 255 ? 255 : n);
                    double const f = v - n;
                    c = C(table[n] * (1.0 - f) + table[n + 1] * f);
                } else {
                    double const v = c * (255.0 / P::MAX_VALUE());
                    int n = int(v);
                    if (n > 255) n = 255;
                    double const f = v - n;
                    c = C(table[n] * (1.0 - f) + table[n + 1] * f + 0.5);
                }
            }
        }
    }
}

// The tone stage of a pass: nothing at the neutral values.
template <class P, class C, class A, class V, class F>
void applyTone(P p, C c, A a, V v, F f, PluginRasterInfo& raster, PluginRasterFormat format,
               double gamma, double brightness) {
    float table[257];
    if (makeToneTable(p, c, a, v, f, gamma, brightness, table))
        applyToneTable(p, c, a, v, f, raster, format, table);
}
