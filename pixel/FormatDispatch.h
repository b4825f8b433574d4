#pragma once
#include "host/RasterInfo.h"

#include <cstddef>
#include <utility>

// From a raster format known only at run time to the function compiled for it, in one way for
// every family of per-format functions (as OpenImageIO's OIIO_DISPATCH_TYPES does for its
// ImageBufAlgo). A family lists its instances once, by name:
//
//     constexpr FormatInstance<int(PluginHost_API*)> _instances[] = {
//         MIRREL_EFFECT_FORMATS(MIRREL_RENDER_INSTANCE)};
//     return dispatchFormat(_instances, info.format, 1, host);

// The formats with compiled instances; each NAME stands for RF_NAME and PIXEL_NAME. The effect
// serves six of them; the render library has eleven, all but RF_BGRA15.
#define MIRREL_EFFECT_FORMATS(X) X(ARGB8) X(RGBA8) X(ARGB16) X(RGBA16) X(ARGB32) X(RGBA32)
#define MIRREL_LIBRARY_FORMATS(X)                                                                  \
    X(ARGB8)                                                                                       \
    X(BGRA8) X(RGBA8) X(ARGB15) X(ARGB14) X(BGRA14) X(ARGB16) X(RGBA16) X(ARGB32) X(RGBA32)        \
        X(BGRA32)

template <class Signature> struct FormatInstance {
    PluginRasterFormat format;
    Signature* function;
};

// Calls the instance of `format` with `args` and returns its result, or `refused` for a format
// the family has no instance of.
template <class R, class... Params, std::size_t N, class... Args>
R dispatchFormat(FormatInstance<R(Params...)> const (&instances)[N], PluginRasterFormat format,
                 R refused, Args&&... args) {
    for (FormatInstance<R(Params...)> const& instance : instances)
        if (instance.format == format) return instance.function(std::forward<Args>(args)...);
    return refused;
}
