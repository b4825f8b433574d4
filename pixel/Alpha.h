#pragma once
#include "host/PluginHost_API.h"
#include "pixel/Traits.h"

#include <array>
#include <cstring>

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

template <class P, class C, class A, class V, class F>
int Premult(P, C, A, V, F, PluginHost_API* host, PluginRaster_API* raster) {
    PluginRasterInfo info;
    host->getRasterInfo(raster, &info);
    alpha_detail::forEachPixel<P>(info, [](C* px) {
        V a = V(px[P::ALPHA]);
        for (int i = P::FIRST_COLOR; i < P::FIRST_COLOR + 3; ++i)
            px[i] = C(P::multiply(V(px[i]), a));
    });
    return 0;
}

template <class P, class C, class A, class V, class F>
int UnPremult(P, C, A, V, F, PluginHost_API* host, PluginRaster_API* raster) {
    PluginRasterInfo info;
    host->getRasterInfo(raster, &info);
    if constexpr (P::is8Bit()) {
        unsigned char const* table = alpha_detail::straightTable8<P>();
        alpha_detail::forEachPixel<P>(info, [table](C* px) {
            int const a = px[P::ALPHA];
            if (a == 0 || a == 255) return; // alpha 0 keeps its colour; 255 divides to itself
            unsigned char const* row = table + (a << 8);
            for (int i = P::FIRST_COLOR; i < P::FIRST_COLOR + 3; ++i) px[i] = row[px[i]];
        });
    } else {
        alpha_detail::forEachPixel<P>(info, [](C* px) {
            V a = V(px[P::ALPHA]);
            if (!(a > 0)) return; // alpha 0 keeps its colour
            for (int i = P::FIRST_COLOR; i < P::FIRST_COLOR + 3; ++i) {
                if constexpr (P::is32Bit())
                    px[i] = px[i] * 1.0f / a;
                else
                    px[i] = C(P::clamp_overflow(float(px[i]) * 65535.0f / a));
            }
        });
    }
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
    for (int y = 0; y < dst->height; ++y) {
        auto const* s = reinterpret_cast<C const*>(src->row(y));
        auto* d = reinterpret_cast<C*>(dst->row(y));
        for (int i = 0; i < dst->width * 4; ++i)
            d[i] = C(float(s[i]) * mix + float(d[i]) * keep + h);
    }
    return 0;
}
