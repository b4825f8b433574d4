#pragma once
#include "RenderLib/BlurFilter.h"
#include "RenderLib/MipMapBlur.h"
#include "RenderLib/ProgressiveBlur.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// The per-format body of the progressive blur. In the flat image the baseline is the last row
// and the far edge row 0, so every ramp here is largest at row 0.

namespace blur_detail {

// Fades the picture out with the distance from the last row: rows nearer than fadeStart percent
// stay, rows beyond fadeStart + fadeLength percent turn to zero, rows between are scaled.
// fadeType 0 linear, 1 square, 2 inverse square (square root of the linear factor).
template <class C, int N>
void fadeRows(PluginRasterInfo& raster, float fadeStart, float fadeLength, int fadeType) {
    if (!raster.data) return;
    float const s = float(double(fadeStart) * 0.01);
    float const e = float(double(fadeStart + fadeLength) * 0.01);
    int const h = raster.height;
    int const values = raster.width * N;
    for (int n = 0; n < h; ++n) {
        float const t = 1.0f - float(n) * (1.0f / float(h - 1));
        if (s >= t) continue;
        C* row = reinterpret_cast<C*>(raster.row(n));
        if (t >= e) {
            std::memset(row, 0, std::size_t(values) * sizeof(C));
            continue;
        }
        if (std::fabs(double(e - s)) < 1e-5) continue;
        float f = 1.0f - (t - s) / (e - s);
        if (fadeType == 1)
            f = f * f;
        else if (fadeType == 2)
            f = std::sqrt(f);
        for (int i = 0; i < values; ++i) row[i] = scaleChannel(row[i], f);
    }
}

// Radius of the progressive modes: radius is softness over the picture's height times two, so
// R comes out as softness per thousand of the smaller side, held to that side, at the host's
// scale, in whole pixels.
inline double computedRadius(PluginHost_API* host, float radius, PluginRasterInfo const& raster) {
    double const h = raster.height, w = raster.width;
    double const m = std::min(h, w);
    double R = double(radius) * h * 0.5 / 1000.0 * m;
    if (R > m) R = m;
    R = R * std::min(host->getScaleX(), host->getScaleY());
    return double(truncToInt(R));
}

} // namespace blur_detail

template <class P, class C, class A, class V, class F>
int progressiveBlurFormat(P p, C c, A a, V v, F f, PluginHost_API* host, TX_Line2D& line,
                          float radius, float aspect, float fadeStart, float fadeLength,
                          int fadeType, PluginRasterInfo* raster, bool alphaOnly, int mode) {
    if (mode == -11 || mode == -10)
        return InterpBlurFilter_RGBA(p, c, a, v, f, host, *raster, radius, aspect, alphaOnly,
                                     mode == -10);
    if (mode == -2 || mode == -1) {
        if (!alphaOnly)
            return BlurFilter_RGBA(p, c, a, v, f, host, *raster, radius, aspect, false, 0,
                                   mode == -2);
        return BlurFilter_A(p, c, a, v, f, host, *raster, radius, aspect, false, 0);
    }
    if (alphaOnly)
        blur_detail::fadeRows<C, 1>(*raster, fadeStart, fadeLength, fadeType);
    else
        blur_detail::fadeRows<C, 4>(*raster, fadeStart, fadeLength, fadeType);
    if (mode == 1) {
        if (alphaOnly) return blur_detail::mipMapBlur<P, 1>(host, line, radius, raster);
        return progressiveBlur_RGBA(p, c, a, v, f, host, line, radius, raster);
    }
    double const R = blur_detail::computedRadius(host, radius, *raster);
    if (alphaOnly) return BlurFilter_A(p, c, a, v, f, host, *raster, R, aspect, true, mode);
    return BlurFilter_RGBA(p, c, a, v, f, host, *raster, R, aspect, true, mode, false);
}
