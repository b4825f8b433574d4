#pragma once
#include "host/PluginHost_API.h"
#include "pixel/AlphaRows8.h"
#include "pixel/BlendRows.h"
#include "pixel/PremultRowsDeep.h"
#include "pixel/StraightRows.h"
#include "pixel/Traits.h"

#include <array>
#include <cstring>
#include <type_traits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Whole-raster alpha passes and the conversions between straight and premultiplied colour,
// in place. Each returns 0.

namespace alpha_detail {
// Walks every pixel of a raster, handing the channel array to f.
template <class P, class F> void forEachPixel(PluginRasterInfo const& info, F&& f) {
    for (int y = 0; y < info.height; ++y) {
        auto* px = reinterpret_cast<typename P::C*>(info.row(y));
        for (int x = 0; x < info.width; ++x, px += 4) f(px);
    }
}

// x * 255 / a held below 256, for every 8-bit alpha a above 0 and colour x, at a << 8 | x: the
// same integers as the division, worked out once.
template <class P> unsigned char const* straightTable8() {
    static auto const table = [] {
        std::array<unsigned char, 256 * 256> t{};
        for (int a = 1; a < 256; ++a)
            for (int x = 0; x < 256; ++x)
                t[std::size_t(a << 8 | x)] = (unsigned char)(P::clamp_overflow(x * 255 / a));
        return t;
    }();
    return table.data();
}

// Premultiplies the leading pixels of a row of 8- or 16-bit pixels with SSE2 and returns how
// many it did; the scalar loop does the rest. 8 bits: (x * a + 128) >> 8 stays below 65536, so
// 16-bit lanes hold it exactly. 16 bits: x * a / 65535 in float, truncated, as the scalar
// multiply does it.
template <class P> int premultiplyLeading(typename P::C* px, int width) {
#if defined(__SSE2__)
    using C = typename P::C;
    __m128i const zero = _mm_setzero_si128();
    int x = 0;
    if constexpr (P::is8Bit()) {
        constexpr int A = P::ALPHA;
        // The alpha lanes of two pixels widened to 16 bits keep their value.
        __m128i const keep = _mm_set_epi16(A == 3 ? -1 : 0, 0, 0, A == 0 ? -1 : 0, A == 3 ? -1 : 0,
                                           0, 0, A == 0 ? -1 : 0);
        __m128i const half = _mm_set1_epi16(128);
        auto two = [&](__m128i w) {
            __m128i a = _mm_shufflelo_epi16(w, A * 0x55);
            a = _mm_shufflehi_epi16(a, A * 0x55);
            __m128i const m = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(w, a), half), 8);
            return _mm_or_si128(_mm_and_si128(keep, w), _mm_andnot_si128(keep, m));
        };
        for (; x + 4 <= width; x += 4) {
            auto* p = reinterpret_cast<__m128i*>(px + 4 * x);
            __m128i const v = _mm_loadu_si128(p);
            _mm_storeu_si128(p, _mm_packus_epi16(two(_mm_unpacklo_epi8(v, zero)),
                                                 two(_mm_unpackhi_epi8(v, zero))));
        }
    } else if constexpr (sizeof(C) == 2) {
        constexpr int A = P::ALPHA;
        __m128i const keep =
            _mm_set_epi32(A == 3 ? -1 : 0, 0, 0, A == 0 ? -1 : 0); // one pixel's alpha lane
        __m128 const full = _mm_set1_ps(65535.0f);
        __m128i const bias32 = _mm_set1_epi32(32768);
        __m128i const bias16 = _mm_set1_epi16(short(-32768));
        auto one = [&](__m128i w) {
            __m128 const c = _mm_cvtepi32_ps(w);
            __m128 const a = _mm_shuffle_ps(c, c, A * 0x55);
            __m128i const m = _mm_cvttps_epi32(_mm_div_ps(_mm_mul_ps(c, a), full));
            return _mm_sub_epi32(_mm_or_si128(_mm_and_si128(keep, w), _mm_andnot_si128(keep, m)),
                                 bias32);
        };
        for (; x + 2 <= width; x += 2) {
            auto* p = reinterpret_cast<__m128i*>(px + 4 * x);
            __m128i const v = _mm_loadu_si128(p);
            __m128i const packed =
                _mm_packs_epi32(one(_mm_unpacklo_epi16(v, zero)), one(_mm_unpackhi_epi16(v, zero)));
            _mm_storeu_si128(p, _mm_xor_si128(packed, bias16));
        }
    }
    return x;
#else
    (void)px, (void)width;
    return 0;
#endif
}
} // namespace alpha_detail

template <class P, class C, class A, class V, class F>
int AVXSetAlpha(P, C, A, V, F, PluginHost_API* host, PluginRaster_API* raster) {
    PluginRasterInfo info;
    host->getRasterInfo(raster, &info);
    C const full = C(P::MAX_VALUE());
    alpha_detail::forEachPixel<P>(info, [&](C* px) { px[P::ALPHA] = full; });
    return 0;
}

template <class P, class C, class A, class V, class F>
int AVXUnsetAlpha(P, C, A, V, F, PluginHost_API* host, PluginRaster_API* first,
                  PluginRaster_API* second) {
    PluginRasterInfo a, b;
    host->getRasterInfo(first, &a);
    if (second) {
        host->getRasterInfo(second, &b);
        a.width = b.width;
        a.height = b.height;
    }
    alpha_detail::forEachPixel<P>(a, [](C* px) { px[P::ALPHA] = 0; });
    if (second) alpha_detail::forEachPixel<P>(b, [](C* px) { px[P::ALPHA] = 0; });
    return 0;
}

// Premultiplied colour from straight colour over one row, in place, by the forms the processor
// allows, chosen once. Premult runs it over a raster; a fused finish runs it row by row.
template <class P> class PremultRow {
    using C = typename P::C;
    using V = typename P::V;
    AlphaRows8 const* rows8 = P::is8Bit() ? chosenAlphaRows8(P::ALPHA) : nullptr;
    PremultRowsDeep const* deep = P::is8Bit() ? nullptr : chosenPremultRowsDeep(P::ALPHA);

  public:
    void operator()(C* px, int width) const {
        int x = rows8 ? rows8->premultiply(reinterpret_cast<unsigned char*>(px), width) : 0;
        if constexpr (std::is_same_v<C, unsigned short>)
            x = deep ? deep->u16(px, width) : x;
        else if constexpr (std::is_same_v<C, float>)
            x = deep ? deep->f32(px, width) : x;
        x += alpha_detail::premultiplyLeading<P>(px + 4 * x, width - x);
        for (px += 4 * x; x < width; ++x, px += 4) {
            V a = V(px[P::ALPHA]);
            for (int i = P::FIRST_COLOR; i < P::FIRST_COLOR + 3; ++i)
                px[i] = C(P::multiply(V(px[i]), a));
        }
    }
};

// Straight colour from premultiplied colour over one row, in place; as PremultRow.
template <class P> class StraightRow {
    using C = typename P::C;
    using V = typename P::V;
    static constexpr bool k8 = P::is8Bit();
    unsigned char const* table = nullptr; // 8 bits
    AlphaRows8 const* rows8 = nullptr;
    StraightRows const* deep = nullptr;

  public:
    StraightRow() {
        if constexpr (k8)
            table = alpha_detail::straightTable8<P>(), rows8 = chosenAlphaRows8(P::ALPHA);
        else
            deep = chosenStraightRows(P::ALPHA);
    }
    void operator()(C* px, int width) const {
        if constexpr (k8) {
            auto straighten = [t = table](C* q) {
                int const a = q[P::ALPHA];
                if (a == 0 || a == 255) return; // alpha 0 keeps its colour; 255 divides to itself
                unsigned char const* row = t + (a << 8);
                for (int i = P::FIRST_COLOR; i < P::FIRST_COLOR + 3; ++i) q[i] = row[q[i]];
            };
            int x = rows8 ? rows8->unpremultiply(reinterpret_cast<unsigned char*>(px), width) : 0;
#if defined(__SSE2__)
            // Four pixels whose alphas are all 0 or full have nothing to change.
            __m128i const alphaBits = _mm_set1_epi32(int(0xFFu << (8 * P::ALPHA)));
            __m128i const none = _mm_setzero_si128();
            for (; x + 4 <= width; x += 4) {
                __m128i const a = _mm_and_si128(
                    _mm_loadu_si128(reinterpret_cast<__m128i const*>(px + 4 * x)), alphaBits);
                __m128i const ends =
                    _mm_or_si128(_mm_cmpeq_epi32(a, none), _mm_cmpeq_epi32(a, alphaBits));
                if (_mm_movemask_epi8(ends) != 0xFFFF)
                    for (int k = 0; k < 4; ++k) straighten(px + 4 * (x + k));
            }
#endif
            for (; x < width; ++x) straighten(px + 4 * x);
        } else {
            int x = 0;
            if (deep) {
                if constexpr (P::is32Bit())
                    x = deep->f32(px, width);
                else
                    x = deep->u16(px, width);
            }
            for (px += 4 * x; x < width; ++x, px += 4) {
                V const a = V(px[P::ALPHA]);
                if (!(a > 0)) continue; // alpha 0 keeps its colour
                for (int i = P::FIRST_COLOR; i < P::FIRST_COLOR + 3; ++i) {
                    if constexpr (P::is32Bit())
                        px[i] = px[i] * 1.0f / a;
                    else
                        px[i] = C(P::clamp_overflow(float(px[i]) * 65535.0f / a));
                }
            }
        }
    }
};

template <class P, class C, class A, class V, class F>
int Premult(P, C, A, V, F, PluginHost_API* host, PluginRaster_API* raster) {
    PluginRasterInfo info;
    host->getRasterInfo(raster, &info);
    PremultRow<P> const premultiply;
    for (int y = 0; y < info.height; ++y)
        premultiply(reinterpret_cast<C*>(info.row(y)), info.width);
    return 0;
}

template <class P, class C, class A, class V, class F>
int UnPremult(P, C, A, V, F, PluginHost_API* host, PluginRaster_API* raster) {
    PluginRasterInfo info;
    host->getRasterInfo(raster, &info);
    StraightRow<P> const straighten;
    for (int y = 0; y < info.height; ++y) straighten(reinterpret_cast<C*>(info.row(y)), info.width);
    return 0;
}

template <class P, class C, class A, class V, class F>
int MultiplyAlpha(P, C, A, V, F, PluginHost_API* host, float factor, PluginRaster_API* raster) {
    PluginRasterInfo info;
    host->getRasterInfo(raster, &info);
    V const f = P::fromFloat(factor);
    alpha_detail::forEachPixel<P>(
        info, [f](C* px) { px[P::ALPHA] = C(P::multiply(V(px[P::ALPHA]), f)); });
    return 0;
}

// Cross-fades premultiplied pixels of the source into the destination by mix.
template <class P, class C, class A, class V, class F>
int BlendAlphaImagesPreMult(P, C, A, V, F, PluginHost_API*, float mix,
                            PluginHost_API::RasterInfo* src, PluginHost_API::RasterInfo* dst) {
    if (mix == 0.0f) return 0;
    if (mix == 1.0f) {
        for (int y = 0; y < dst->height; ++y)
            std::memcpy(dst->row(y), src->row(y), std::size_t(dst->width) * P::BYTES);
        return 0;
    }
    float const h = P::halfRoundPixel();
    float const keep = 1.0f - mix;
    BlendRows const* rows = chosenBlendRows();
    int const values = dst->width * 4;
    for (int y = 0; y < dst->height; ++y) {
        auto const* s = reinterpret_cast<C const*>(src->row(y));
        auto* d = reinterpret_cast<C*>(dst->row(y));
        int i = 0;
        if (rows) {
            if constexpr (std::is_same_v<C, unsigned char>)
                i = rows->u8(s, d, values, mix, keep, h);
            else if constexpr (std::is_same_v<C, unsigned short>)
                i = rows->u16(s, d, values, mix, keep, h);
            else if constexpr (std::is_same_v<C, float>)
                i = rows->f32(s, d, values, mix, keep, h);
        }
        for (; i < values; ++i) d[i] = C(float(s[i]) * mix + float(d[i]) * keep + h);
    }
    return 0;
}
