#pragma once
#include "RenderLib/TentBlur.h"
#include "host/PluginHost_API.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Two-dimensional blurs of a raster in place, built from tent passes: a horizontal pass into a
// scratch raster and a vertical one back. A fractional radius blends the blurs of the two
// integer radii around it.

namespace blur_detail {

// A scratch raster of the given size and the picture's depth, returned on every way out.
struct ScratchRaster {
    PluginRasterProxy proxy;
    PluginRasterInfo info;
    int error = 0;

    ScratchRaster(PluginHost_API* host, int width, int height, PluginRasterFormat format)
        : proxy(host, nullptr, false, true) {
        PluginRaster_API* raster =
            host->allocRaster(width, height, convertToPixelType(format), error, 0);
        if (raster) {
            proxy.setRaster(raster, true);
            host->getRasterInfo(raster, &info);
        }
    }
    bool valid() { return proxy.getImpl() != nullptr && info.data != nullptr; }
};

// Integer channels round the blend, float ones do not.
template <class C> inline C blendChannel(C a, float fa, C b, float fb) {
    if constexpr (std::is_floating_point_v<C>)
        return C(float(a) * fa + float(b) * fb);
    else
        return C(int(float(a) * fa + float(b) * fb + 0.5f));
}

// Every channel value of a float row finite, below 2^100 in size, and no zero negative. Read by
// bit pattern, four values a vector where the build has SSE2: below 2^100 in size is a magnitude
// pattern below 2^100's (NaN and infinity lie above it), a negative zero the sign bit alone.
inline bool rowIsFiniteAndKeepsSigns(float const* values, int count) {
    std::uint32_t const limit = 0x71800000u; // 2^100
    std::uint32_t const negativeZero = 0x80000000u;
    auto const* row = reinterpret_cast<unsigned char const*>(values);
    int i = 0;
    bool ok = true;
#if defined(__SSE2__)
    __m128i const magnitude = _mm_set1_epi32(0x7fffffff);
    __m128i const limitV = _mm_set1_epi32(int(limit));
    __m128i const negativeZeroV = _mm_set1_epi32(int(negativeZero));
    __m128i bad = _mm_setzero_si128();
    for (; i + 4 <= count; i += 4) {
        __m128i const b =
            _mm_loadu_si128(reinterpret_cast<__m128i const*>(row + 4 * std::size_t(i)));
        // Magnitudes fit 31 bits, so the signed compare orders them.
        bad = _mm_or_si128(bad, _mm_cmpgt_epi32(_mm_and_si128(b, magnitude),
                                                _mm_sub_epi32(limitV, _mm_set1_epi32(1))));
        bad = _mm_or_si128(bad, _mm_cmpeq_epi32(b, negativeZeroV));
    }
    ok = _mm_movemask_epi8(bad) == 0;
#endif
    for (; i < count; ++i) {
        std::uint32_t b;
        std::memcpy(&b, row + 4 * std::size_t(i), 4);
        ok &= (b & 0x7fffffffu) < limit && b != negativeZero;
    }
    return ok;
}

// The same over a whole picture (float pictures; false for any other).
template <class C> bool meanOfAnyIsFiniteAndKeepsSigns(PluginRasterInfo const& raster) {
    if constexpr (!std::is_floating_point_v<C> || sizeof(C) != 4) {
        return false;
    } else {
        for (int y = 0; y < raster.height; ++y)
            if (!rowIsFiniteAndKeepsSigns(reinterpret_cast<float const*>(raster.row(y)),
                                          raster.width * 4))
                return false;
        return true;
    }
}

} // namespace blur_detail

// Horizontal then vertical tent at the truncated radius; the vertical radius is radius times
// aspect, halved when the horizontal pass ramps.
template <class P, class C, class A, class V, class F>
int Internal_BlurFilter_RGBA(P p, C c, A a, V v, F f, PluginHost_API* host,
                             PluginRasterInfo& raster, double radius, double aspect,
                             bool progressive, int mode, bool alphaOnly) {
    if (std::fabs(radius) <= 1e-5) return 0;
    try {
        int const vertical = blur_detail::limitTentRadius(
            blur_detail::truncToInt((progressive ? radius * 0.5 : radius) * aspect), raster.height);
        blur_detail::ScratchRaster scratch(host, raster.width, raster.height, raster.format);
        if (scratch.error != 0) return scratch.error;
        if (!scratch.valid()) return 1;
        if (!alphaOnly && blur_detail::passCopies(vertical, true, mode)) {
            // The passes of one channel leave the others of the scratch raster unset, so only
            // the four-channel pass skips the round trip.
            blur_detail::tentRowsInPlace<C>(raster, scratch.info, blur_detail::truncToInt(radius),
                                            progressive, mode);
            return 0;
        }
        // The scratch raster is still taken, so that the blur fails alike when it cannot be had.
        if (!alphaOnly && blur_detail::tentBlurInPlace<C>(raster, blur_detail::truncToInt(radius),
                                                          vertical, progressive, mode))
            return 0;
        auto pass = alphaOnly ? &TentBlurPass_A<P, C, A, V, F> : &TentBlurPass_RGBA<P, C, A, V, F>;
        pass(p, c, a, v, f, host, raster, scratch.info, blur_detail::truncToInt(radius), false,
             progressive, mode);
        if (progressive) radius *= 0.5;
        pass(p, c, a, v, f, host, scratch.info, raster, blur_detail::truncToInt(radius * aspect),
             true, false, mode);
        return 0;
    } catch (...) {
        return 1;
    }
}

// Blur at a fractional radius: the blurs at floor(radius) and one more, mixed by the fraction.
template <class P, class C, class A, class V, class F>
int BlurFilter_RGBA(P p, C c, A a, V v, F f, PluginHost_API* host, PluginRasterInfo& raster,
                    double radius, double aspect, bool progressive, int mode, bool alphaOnly,
                    bool knownFinite = false) {
    // A NaN radius blurs nothing (its blend weights would be NaN).
    if (std::isnan(radius)) return 0;
    int const r0 = blur_detail::truncToInt(std::floor(radius));
    float const frac = float(radius - r0);
    float const inv = 1.0f - frac;
    if (std::fabs(inv) <= 1e-5)
        return Internal_BlurFilter_RGBA(p, c, a, v, f, host, raster, radius, aspect, progressive,
                                        mode, alphaOnly);
    // A whole radius mixes none of the larger blur: an integer channel rounds 0 * d + s back to
    // s. Float channels do not skip it, for 0 * d + s is not s when d is infinite or s is -0.
    // The copy the long way blurs is still taken, so that the blur fails alike when it cannot
    // be had; like the long way's, the inner blur's result is not looked at (on failure it leaves
    // the picture, as the blend of the unblurred copy would).
    if (!std::is_floating_point_v<C> && !alphaOnly && frac == 0.0f) {
        try {
            blur_detail::ScratchRaster scratch(host, raster.width, raster.height, raster.format);
            if (!scratch.valid()) return 1;
            Internal_BlurFilter_RGBA(p, c, a, v, f, host, raster, double(r0), aspect, progressive,
                                     mode, false);
            return 0;
        } catch (...) {
            return 1;
        }
    }
    try {
        blur_detail::ScratchRaster scratch(host, raster.width, raster.height, raster.format);
        if (!scratch.valid()) return 1;
        // Radius 0 in float: the blur of 0 is the picture s, and each channel comes out as
        // d * 0 + s, d being the radius-1 blur. That is s wherever d is finite and s is not -0;
        // d, a weighted mean of the picture, is finite when every value is finite and below
        // 2^100 in size. Such a picture is left as it is, without the blurs and the blend.
        // `knownFinite` says the caller has seen every value so.
        if (std::is_floating_point_v<C> && !alphaOnly && r0 == 0 && frac == 0.0f &&
            (knownFinite || blur_detail::meanOfAnyIsFiniteAndKeepsSigns<C>(raster)))
            return 0;
        std::size_t const rowCopy =
            std::size_t(std::min(std::abs(raster.rowBytes), std::abs(scratch.info.rowBytes)));
        for (int y = 0; y < raster.height; ++y)
            std::memcpy(scratch.info.row(y), raster.row(y), rowCopy);
        Internal_BlurFilter_RGBA(p, c, a, v, f, host, scratch.info, double(r0), aspect, progressive,
                                 mode, alphaOnly);
        Internal_BlurFilter_RGBA(p, c, a, v, f, host, raster, double(r0 + 1), aspect, progressive,
                                 mode, alphaOnly);
        for (int y = 0; y < raster.height; ++y) {
            C* d = reinterpret_cast<C*>(raster.row(y));
            C const* s = reinterpret_cast<C const*>(scratch.info.row(y));
            if (alphaOnly) {
                for (int x = 0; x < raster.width; ++x, d += 4, s += 4)
                    d[P::ALPHA] = blur_detail::blendChannel(d[P::ALPHA], frac, s[P::ALPHA], inv);
            } else {
                for (int i = 0; i < raster.width * 4; ++i)
                    d[i] = blur_detail::blendChannel(d[i], frac, s[i], inv);
            }
        }
        return 0;
    } catch (...) {
        return 1;
    }
}

// BlurFilter_RGBA on a raster of one channel value a pixel, through a four-channel scratch
// raster whose alpha carries the values.
template <class P, class C, class A, class V, class F>
int BlurFilter_A(P p, C c, A a, V v, F f, PluginHost_API* host, PluginRasterInfo& raster,
                 double radius, double aspect, bool progressive, int mode) {
    if (std::fabs(radius) <= 1e-5) return 0;
    try {
        blur_detail::ScratchRaster scratch(host, raster.width, raster.height, raster.format);
        if (!scratch.valid()) return 1;
        for (int y = 0; y < raster.height; ++y) {
            C const* s = reinterpret_cast<C const*>(raster.row(y));
            C* d = reinterpret_cast<C*>(scratch.info.row(y));
            for (int x = 0; x < raster.width; ++x, d += 4) d[0] = d[1] = d[2] = d[3] = s[x];
        }
        BlurFilter_RGBA(p, c, a, v, f, host, scratch.info, radius, aspect, progressive, mode, true);
        for (int y = 0; y < raster.height; ++y) {
            C const* s = reinterpret_cast<C const*>(scratch.info.row(y));
            C* d = reinterpret_cast<C*>(raster.row(y));
            for (int x = 0; x < raster.width; ++x, s += 4) d[x] = s[P::ALPHA];
        }
        return 0;
    } catch (...) {
        return 1;
    }
}

// Blur along one direction only, with a radius that runs linearly from radiusStart on the
// first line to radiusEnd on the last: columns (radius along x) or rows (radius along y).
template <class P, class C, class A, class V, class F>
int InterpBlurFilter_RGBA(P p, C c, A a, V v, F f, PluginHost_API* host, PluginRasterInfo& raster,
                          double radiusStart, double radiusEnd, bool, bool columns) {
    try {
        int const width = raster.width, height = raster.height;
        blur_detail::ScratchRaster scratch(host, std::max(width, height), 3, raster.format);
        if (!scratch.valid()) return 1;
        for (int k = 0; k < 3; ++k)
            std::memset(scratch.info.row(k), 0,
                        std::size_t(scratch.info.width) * scratch.info.pixelBytes);
        unsigned char* line0 = scratch.info.row(0);
        unsigned char* line1 = scratch.info.row(1);
        unsigned char* line2 = scratch.info.row(2);
        int const n = columns ? width : height;
        int const m = columns ? height : width;
        std::size_t const pb = std::size_t(raster.pixelBytes);
        int const channels = int(pb / sizeof(C)) < 4 ? int(pb / sizeof(C)) : 4;
        std::size_t const rowCopy =
            std::size_t(std::min(std::abs(raster.rowBytes), std::abs(scratch.info.rowBytes)));
        auto pixel = [&](int i, int j) {
            return columns ? raster.row(j) + i * pb : raster.row(i) + j * pb;
        };
        for (int i = 0; i < n; ++i) {
            double const t = double(i) / double(n - 1);
            double const r = (1.0 - t) * radiusStart + t * radiusEnd;
            if (std::fabs(r) <= 1e-5 || std::isnan(r)) continue; // NaN: no radius to blur by
            int const ri = blur_detail::truncToInt(std::floor(r));
            float const frac = float(r - ri);
            float const inv = 1.0f - frac;
            if (columns) {
                for (int j = 0; j < m; ++j) std::memcpy(line0 + j * pb, pixel(i, j), pb);
            } else {
                std::memcpy(line0, raster.row(i), rowCopy);
            }
            LineTentBlurPass_RGBA(p, c, a, v, f, host, reinterpret_cast<F*>(line0),
                                  reinterpret_cast<F*>(line1), m, ri);
            if (std::fabs(inv) <= 1e-5) {
                for (int j = 0; j < m; ++j) std::memcpy(pixel(i, j), line1 + j * pb, pb);
                continue;
            }
            LineTentBlurPass_RGBA(p, c, a, v, f, host, reinterpret_cast<F*>(line0),
                                  reinterpret_cast<F*>(line2), m, ri + 1);
            for (int j = 0; j < m; ++j) {
                C* d = reinterpret_cast<C*>(pixel(i, j));
                C const* s1 = reinterpret_cast<C const*>(line1 + j * pb);
                C const* s2 = reinterpret_cast<C const*>(line2 + j * pb);
                for (int k = 0; k < channels; ++k)
                    d[k] = blur_detail::blendChannel(s2[k], frac, s1[k], inv);
            }
        }
        return 0;
    } catch (...) {
        return 1;
    }
}
