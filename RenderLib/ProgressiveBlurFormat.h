#pragma once
#include "RenderLib/BlurFilter.h"
#include "RenderLib/FadeRows.h"
#include "RenderLib/MipMapBlur.h"
#include "RenderLib/ProgressiveBlur.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The per-format body of the progressive blur. In the flat image the baseline is the last row
// and the far edge row 0, so every ramp here is largest at row 0.

namespace blur_detail {

// scaleChannel over a row of integer channels for a factor in [0, 1], where every product
// lies in the channel's range and the saturating cast is a plain truncation. The vector part
// converts, multiplies and truncates each value exactly as the scalar tail does. Returns how
// many leading values it did.
template <class C> int scaleRowVector(C* row, int values, float f) {
#if defined(__SSE2__)
    if constexpr (sizeof(C) <= 2) {
        __m128 const fv = _mm_set1_ps(f);
        __m128i const zero = _mm_setzero_si128();
        auto scale4 = [&](__m128i v32) {
            return _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(v32), fv));
        };
        auto scale8 = [&](__m128i v16, __m128i& lo, __m128i& hi) {
            lo = scale4(_mm_unpacklo_epi16(v16, zero));
            hi = scale4(_mm_unpackhi_epi16(v16, zero));
        };
        int i = 0;
        if constexpr (sizeof(C) == 1) {
            for (; i + 16 <= values; i += 16) {
                __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(row + i));
                __m128i a, b, c, d;
                scale8(_mm_unpacklo_epi8(v, zero), a, b);
                scale8(_mm_unpackhi_epi8(v, zero), c, d);
                __m128i const out = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i), out);
            }
        } else {
            // Unsigned 16-bit results go through the signed pack shifted down by 32768.
            __m128i const bias32 = _mm_set1_epi32(32768);
            __m128i const bias16 = _mm_set1_epi16(short(-32768));
            for (; i + 8 <= values; i += 8) {
                __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(row + i));
                __m128i a, b;
                scale8(v, a, b);
                __m128i const packed =
                    _mm_packs_epi32(_mm_sub_epi32(a, bias32), _mm_sub_epi32(b, bias32));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i),
                                 _mm_xor_si128(packed, bias16));
            }
        }
        return i;
    }
#endif
    (void)row, (void)values, (void)f;
    return 0;
}

template <class C> void scaleRow(C* row, int values, float f) {
    int i = 0;
    if constexpr (!std::is_floating_point_v<C>) {
        if (f >= 0.0f && f <= 1.0f) {
            if (FadeRows const* wide = chosenFadeRows()) {
                if constexpr (sizeof(C) == 1) i = wide->u8(row, values, f);
                if constexpr (sizeof(C) == 2) i = wide->u16(row, values, f);
            }
            for (i += scaleRowVector(row + i, values - i, f); i < values; ++i)
                row[i] = C(int(float(row[i]) * f));
            return;
        }
    }
    for (; i < values; ++i) row[i] = scaleChannel(row[i], f);
}

// Fades the picture out with the distance from the last row: rows nearer than fadeStart percent
// stay, rows beyond fadeStart + fadeLength percent turn to zero, rows between are scaled.
// fadeType 0 linear, 1 square, 2 inverse square (square root of the linear factor). With
// `finite` (float pictures), it also tells whether every value afterwards is finite, below 2^100
// in size and no negative zero, looked at row by row while the row is in cache.
template <class C, int N>
void fadeRows(PluginRasterInfo& raster, float fadeStart, float fadeLength, int fadeType,
              bool* finite = nullptr, BlurRows rows = {}) {
    if (finite) *finite = false;
    if (!raster.data) return;
    bool ok = finite != nullptr;
    auto look = [&](C const* row) {
        if constexpr (std::is_same_v<C, float>)
            if (ok) ok = rowIsFiniteAndKeepsSigns(row, raster.width * N);
    };
    float const s = float(double(fadeStart) * 0.01);
    float const e = float(double(fadeStart + fadeLength) * 0.01);
    int const h = raster.height;
    int const values = raster.width * N;
    for (int n = std::max(rows.first, 0), end = std::min(rows.end, h); n < end; ++n) {
        float const t = 1.0f - float(n) * (1.0f / float(h - 1));
        C* row = reinterpret_cast<C*>(raster.row(n));
        if (s >= t) {
            look(row);
            continue;
        }
        if (t >= e) {
            std::memset(row, 0, std::size_t(values) * sizeof(C));
            continue;
        }
        if (std::fabs(double(e - s)) < 1e-5) {
            look(row);
            continue;
        }
        float f = 1.0f - (t - s) / (e - s);
        if (fadeType == kFadeSquare)
            f = f * f;
        else if (fadeType == kFadeInverseSquare)
            f = std::sqrt(f);
        scaleRow(row, values, f);
        look(row);
    }
    if (finite) *finite = ok;
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
                          int fadeType, PluginRasterInfo* raster, bool alphaOnly, int mode,
                          BlurRows rows = {}) {
    if (mode == kSoftnessRowRamp || mode == kSoftnessColumnRamp)
        return InterpBlurFilter_RGBA(p, c, a, v, f, host, *raster, radius, aspect, alphaOnly,
                                     mode == kSoftnessColumnRamp);
    if (mode == kSoftnessUniformAlpha || mode == kSoftnessUniform) {
        if (!alphaOnly)
            return BlurFilter_RGBA(p, c, a, v, f, host, *raster, radius, aspect, false, 0,
                                   mode == kSoftnessUniformAlpha);
        return BlurFilter_A(p, c, a, v, f, host, *raster, radius, aspect, false, 0);
    }
    double const R = blur_detail::computedRadius(host, radius, *raster);
    // A float picture blurred at radius 0 is left as it is when every value is finite: the fade
    // looks at each row as it goes, sparing the blur a pass over the whole picture to find out.
    if (R != 0.0 || mode == kSoftnessMipMap) rows = {}; // rows of a blur reach each other
    bool const look = std::is_same_v<C, float> && !alphaOnly && mode != kSoftnessMipMap && R == 0.0;
    bool finite = false;
    if (alphaOnly)
        blur_detail::fadeRows<C, 1>(*raster, fadeStart, fadeLength, fadeType, nullptr, rows);
    else
        blur_detail::fadeRows<C, 4>(*raster, fadeStart, fadeLength, fadeType,
                                    look ? &finite : nullptr, rows);
    if (mode == kSoftnessMipMap) {
        if (alphaOnly) return blur_detail::mipMapBlur<P, 1>(host, line, radius, raster);
        return progressiveBlur_RGBA(p, c, a, v, f, host, line, radius, raster);
    }
    if (alphaOnly) return BlurFilter_A(p, c, a, v, f, host, *raster, R, aspect, true, mode);
    return BlurFilter_RGBA(p, c, a, v, f, host, *raster, R, aspect, true, mode, false, finite);
}
