#pragma once
#include "pixel/Traits.h"
#include "support/MemoryHost.h"

#include <array>
#include <optional>
#include <type_traits>

// Per-format pixel access for the tests: the six formats the effect serves, the trait of each,
// and pixels as r, g, b, a from 0 to 1 whatever the format.
inline constexpr PluginRasterFormat kServedFormats[] = {RF_ARGB8,  RF_RGBA8,  RF_ARGB16,
                                                        RF_RGBA16, RF_ARGB32, RF_RGBA32};

// fn(P()) with the trait P of a served format.
template <class Fn> decltype(auto) withTrait(PluginRasterFormat format, Fn&& fn) {
    switch (format) {
    case RF_ARGB8:
        return fn(PIXEL_ARGB8());
    case RF_RGBA8:
        return fn(PIXEL_RGBA8());
    case RF_ARGB16:
        return fn(PIXEL_ARGB16());
    case RF_RGBA16:
        return fn(PIXEL_RGBA16());
    case RF_ARGB32:
        return fn(PIXEL_ARGB32());
    default:
        return fn(PIXEL_RGBA32());
    }
}

inline int depthOf(PluginRasterFormat format) {
    return withTrait(format, [](auto p) { return int(sizeof(typename decltype(p)::C)) * 8; });
}

inline double fullScale(PluginRasterFormat format) {
    return withTrait(format, [](auto p) {
        using P = decltype(p);
        return std::is_floating_point_v<typename P::C> ? 1.0 : double(P::MAX_VALUE());
    });
}

using Rgba = std::array<double, 4>;

// Channels r, g, b, a of a pixel scaled to 0..1; writes v first, rounded to the format, if given.
inline Rgba rgbaAt(MemoryImage& image, int x, int y, std::optional<Rgba> v = {}) {
    return withTrait(image.info.format, [&](auto p) {
        using P = decltype(p);
        using C = typename P::C;
        double const full = fullScale(image.info.format);
        C* px = image.pixel<C>(x, y);
        int const channel[4] = {P::RED, P::GREEN, P::BLUE, P::ALPHA};
        Rgba out{};
        for (int i = 0; i < 4; ++i) {
            if (v) px[channel[i]] = C(full == 1.0 ? (*v)[i] : (*v)[i] * full + 0.5);
            out[i] = px[channel[i]] / full;
        }
        return out;
    });
}
