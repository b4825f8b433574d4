#pragma once
#include "RenderLib/ProgressiveBlur.h"
#include "Transform/Common/TX_Line2D.h"
#include "Transform/Common/TX_Macros.h"
#include "host/PluginHost_API.h"
#include "host/RasterOps.h"
#include "pixel/Noise.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

// Grain over a raster, in place, whatever its alpha convention; the field is softened by the
// progressive blur before it is added.

// The field lives in the alpha channel of a scratch raster of the frame's own type.
template <class P, class C, class A, class V, class F>
int AddNoise_RGBA_Int(P, C, A, V, F, PluginHost_API* host, PluginHost_API::RasterInfo& raster,
                      float amount, float softness, PluginRaster_API::PixelType type) {
    int status = 0;
    PluginRasterProxy scratch(host, nullptr, false, true);
    PluginRaster_API* made = host->allocRaster(raster.width, raster.height, type, status, 0);
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

    fillNoiseAlpha<P, C, V>(plane, alpha);
    if (MACRO_NOT_NEARLY_EQUAL(softness, 0.0) != 0.0) {
        TX_Line2D line(0.0, 0.0, 1.0, 1.0, false);
        CommonRender_progressiveBlur(host, line, softness, 1.0f, 0.0f, 1.0f, kFadeLinear, &plane,
                                     false, kSoftnessUniformAlpha, false);
    }
    addNoiseAlpha<P, C, V>(raster, plane, alpha, amount);
    return 0;
}

// The field lives in a float plane of the host's scratch memory. Hosts of the FxPlug family
// take the raster path.
template <class P, class C, class A, class V, class F>
int AddNoise_RGBA(P p, C c, A acc, V v, F f, PluginHost_API* host,
                  PluginHost_API::RasterInfo& raster, float amount, float softness,
                  PluginRaster_API::PixelType type) {
    if (host->getFXPLUGHost() || host->getAVX2Host() || host->isApplication(fourCC("PrMr")))
        return AddNoise_RGBA_Int(p, c, acc, v, f, host, raster, amount, softness, type);

    int const W = raster.width, H = raster.height;
    void* handle = host->allocMemory(W * H * 4);
    void* memory = handle ? host->lockMemory(handle) : nullptr;
    if (!memory) {
        if (handle) host->deallocMemory(handle);
        host->fillOutput();
        return 1;
    }
    // One float a pixel; the record only carries the plane to the blur.
    PluginHost_API::RasterInfo plane = packedRasterInfo(memory, RF_ARGB32, W, H, 4);

    float* u = static_cast<float*>(memory);
    for (long i = 0, n = long(W) * H; i < n; ++i) u[i] = noiseUniform();
    if (MACRO_NOT_NEARLY_EQUAL(softness, 0.0) != 0.0) {
        TX_Line2D line(0.0, 0.0, 1.0, 1.0, false);
        CommonRender_progressiveBlur(host, line, softness, 1.0f, 0.0f, 1.0f, kFadeLinear, &plane,
                                     true, kSoftnessUniform, true);
    }
    addNoisePlane<P, C, V>(raster, u, amount);
    host->unlockMemory(handle);
    host->deallocMemory(handle);
    return 0;
}
