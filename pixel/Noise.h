#pragma once
#include "RenderLib/ProgressiveBlur.h"
#include "Transform/Common/TX_Line2D.h"
#include "Transform/Common/TX_Macros.h"
#include "host/PluginHost_API.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <cstdlib>

// Monochrome grain: one random field, optionally softened, added alike to red, green and blue
// and never to alpha. The raster is changed in place, whatever its alpha convention. The field
// takes one rand() a pixel in raster order, so a seed and a size always give the same grain.

// The next value of the field, from 0 up to just below 1. The factor is 2 to the power -31.
inline float noiseUniform() {
    return float(std::rand() % 2147483647) * 4.656613e-10f;
}

namespace noise_detail {
// Adds n to the three colour channels of one pixel, truncating to the working type.
template <class P, class C, class V> inline void addToColor(C* px, float n) {
    for (int k = P::FIRST_COLOR; k < P::FIRST_COLOR + 3; ++k)
        px[k] = C(P::clamp(V(float(px[k]) + n)));
}
} // namespace noise_detail

// The field lives in the alpha channel of a scratch raster of the frame's own type.
template <class P, class C, class A, class V, class F>
int AddNoise_RGBA_Int(P, C, A, V, F, PluginHost_API* host, PluginHost_API::RasterInfo& raster,
                      float amount, float softness, PluginRaster_API::PixelType type) {
    int const W = raster.width, H = raster.height;
    int status = 0;
    PluginRasterProxy scratch(host, nullptr, false, true);
    PluginRaster_API* made = host->allocRaster(W, H, type, status, 0);
    scratch.setRaster(made, made != nullptr);
    if (status != 0 || !scratch.getImpl()) {
        if (status == 0) status = 1;
        host->fillOutput();
        return status;
    }
    PluginHost_API::RasterInfo plane;
    host->getRasterInfo(scratch.getImpl(), &plane);
    int red, green, blue, alpha;
    getRasterChannelOrder(plane.format, red, green, blue, alpha);

    float const M = float(P::MAX_VALUE());
    for (int y = 0; y < H; ++y) {
        C* px = reinterpret_cast<C*>(plane.row(y));
        for (int x = 0; x < W; ++x, px += 4) px[alpha] = C(P::clamp(V(noiseUniform() * M)));
    }
    if (MACRO_NOT_NEARLY_EQUAL(softness, 0.0) != 0.0) {
        TX_Line2D line(0.0, 0.0, 1.0, 1.0, false);
        CommonRender_progressiveBlur(host, line, softness, 1.0f, 0.0f, 1.0f, 0, &plane, false, -2,
                                     false);
    }

    float const a = amount * 0.01f;
    float const h = M * 0.5f;
    for (int y = 0; y < H; ++y) {
        C* px = reinterpret_cast<C*>(raster.row(y));
        C const* field = reinterpret_cast<C const*>(plane.row(y));
        for (int x = 0; x < W; ++x, px += 4, field += 4)
            noise_detail::addToColor<P, C, V>(px, (float(field[alpha]) - h) * a);
    }
    return 0;
}

// The field lives in a float plane of the host's scratch memory. Hosts of the FxPlug family
// take the raster path.
template <class P, class C, class A, class V, class F>
int AddNoise_RGBA(P p, C c, A acc, V v, F f, PluginHost_API* host,
                  PluginHost_API::RasterInfo& raster, float amount, float softness,
                  PluginRaster_API::PixelType type) {
    if (host->getFXPLUGHost() || host->getAVX2Host() || host->isApplication(0x50724D72))
        return AddNoise_RGBA_Int(p, c, acc, v, f, host, raster, amount, softness, type);

    int const W = raster.width, H = raster.height;
    void* handle = host->allocMemory(W * H * 4);
    void* memory = handle ? host->lockMemory(handle) : nullptr;
    if (!memory) {
        if (handle) host->deallocMemory(handle);
        host->fillOutput();
        return 1;
    }
    PluginHost_API::RasterInfo plane;
    plane.data = memory;
    plane.format = PluginRasterFormat(9);
    plane.width = W;
    plane.height = H;
    plane.rowBytes = W * 4;
    plane.pixelBytes = 4;
    plane.aspectRatio = 1.0f;
    plane.heightRatio = 1.0f;
    plane.isYUV = false;

    float* u = static_cast<float*>(memory);
    for (long i = 0, n = long(W) * H; i < n; ++i) u[i] = noiseUniform();
    if (MACRO_NOT_NEARLY_EQUAL(softness, 0.0) != 0.0) {
        TX_Line2D line(0.0, 0.0, 1.0, 1.0, false);
        CommonRender_progressiveBlur(host, line, softness, 1.0f, 0.0f, 1.0f, 0, &plane, true, -1,
                                     true);
    }

    float const a = float(P::MAX_VALUE()) * amount * 0.01f;
    for (int y = 0; y < H; ++y) {
        C* px = reinterpret_cast<C*>(raster.row(y));
        float const* field = u + long(y) * W;
        for (int x = 0; x < W; ++x, px += 4)
            noise_detail::addToColor<P, C, V>(px, (field[x] - 0.5f) * a);
    }
    host->unlockMemory(handle);
    host->deallocMemory(handle);
    return 0;
}
