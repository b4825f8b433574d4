#pragma once
#include "RenderLib/BlurFilter.h"
#include "RenderLib/NoisePlane8.h"
#include "RenderLib/ProgressiveBlur.h"
#include "Transform/Common/TX_Line2D.h"
#include "Transform/Common/TX_Macros.h"
#include "host/PluginHost_API.h"
#include "host/RasterOps.h"
#include "pixel/Noise.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

// Grain over a raster, in place, whatever its alpha convention; the field is softened by the
// progressive blur before it is added.

namespace noise_detail {
// The field in the alpha of `plane`, a scratch raster of the raster's size.
template <class P, class C, class V>
void addNoiseInAlpha(PluginHost_API* host, PluginRasterInfo& raster, PluginRasterInfo& plane,
                     int alpha, float amount, float softness) {
    fillNoiseAlpha<P, C, V>(plane, alpha);
    if (MACRO_NOT_NEARLY_EQUAL(softness, 0.0) != 0.0) {
        TX_Line2D line(0.0, 0.0, 1.0, 1.0, false);
        CommonRender_progressiveBlur(host, line, softness, 1.0f, 0.0f, 1.0f, kFadeLinear, &plane,
                                     false, kSoftnessUniformAlpha, false);
    }
    addNoiseAlpha<P, C, V>(raster, plane, alpha, amount);
}

// The 8-bit field as a packed plane where the processor allows: the same bytes, in a quarter of
// the memory. The scratch raster's memory holds the plane, the rows' tent and a second blur,
// three planes in its rows of four bytes a pixel or more. The softening takes the raster the
// blur would take first, and is left out where that fails, as the blur leaves it. False, with
// nothing done or drawn, where the plane cannot stand in: no kernels, a bottom-up scratch
// raster, a radius it does not take, an output whose format would make the blur another
// depth's.
template <class P>
bool addNoisePlane8(PluginHost_API* host, PluginRasterInfo& raster, PluginRasterInfo& scratch,
                    float amount, float softness) {
    NoisePlane8 const* kernels = chosenNoisePlane8();
    int const W = raster.width, H = raster.height;
    if (!kernels || W <= 0 || H <= 0 || !scratch.data || scratch.pixelBytes != 4 ||
        scratch.rowBytes < 4 * W || scratch.width != W || scratch.height != H)
        return false;
    bool const soften = MACRO_NOT_NEARLY_EQUAL(softness, 0.0) != 0.0;
    double const radius = softness;
    int const r0 = soften ? blur_detail::truncToInt(std::floor(radius)) : 0;
    float const frac = float(radius - r0), keep = 1.0f - frac;
    // The blur blends the blurs of r0 and r0 + 1 unless keep is nearly 0, when it takes the
    // radius truncated. At a whole radius it blends none of the larger: 0 times it plus the
    // smaller, rounded, is the smaller.
    bool const whole = std::fabs(keep) <= 1e-5;
    bool const two = !whole && frac != 0.0f;
    int const single = whole ? blur_detail::truncToInt(radius) : r0;
    int const larger = two ? r0 + 1 : single;
    if (soften) {
        PluginHost_API::RasterInfo output;
        host->getOutputRasterInfo(&output);
        if (!(radius >= 0.0) || std::isinf(radius) || int(output.format) < 0 ||
            int(output.format) > 2 || !noisePlaneTentFits(larger, larger, W, H))
            return false;
    }

    std::size_t const n = std::size_t(W) * std::size_t(H);
    auto* field = static_cast<unsigned char*>(scratch.data);
    unsigned char* work = field + n;
    unsigned char* smaller = work + n;
    {
        std::vector<int> rands(static_cast<std::size_t>(W));
        for (int y = 0; y < H; ++y) {
            platformRandFill(rands.data(), rands.size());
            kernels->fill(field + std::size_t(y) * std::size_t(W), rands.data(), W);
        }
    }
    if (soften) {
        blur_detail::ScratchRaster blurScratch(host, W, H, scratch.format);
        if (blurScratch.error == 0 && blurScratch.valid()) {
            if (!two) {
                kernels->tent(field, work, W, H, single, single);
            } else {
                std::memcpy(smaller, field, n);
                if (r0 != 0) kernels->tent(smaller, work, W, H, r0, r0);
                kernels->tent(field, work, W, H, larger, larger);
                kernels->blend(field, smaller, int(n), frac, keep);
            }
        }
    }
    float const a = amount * 0.01f, h = 255.0f * 0.5f;
    auto const add = kernels->add[P::ALPHA == 0 ? 0 : 1];
    for (int y = 0; y < H; ++y) {
        auto* px = reinterpret_cast<unsigned char*>(raster.row(y));
        unsigned char const* f = field + std::size_t(y) * std::size_t(W);
        int x = add(px, f, W, a, h);
        for (px += 4 * x; x < W; ++x, px += 4)
            for (int k = P::FIRST_COLOR; k < P::FIRST_COLOR + 3; ++k)
                px[k] =
                    (unsigned char)std::clamp(int(float(px[k]) + (float(f[x]) - h) * a), 0, 255);
    }
    return true;
}
} // namespace noise_detail

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

    if constexpr (P::is8Bit())
        if (noise_detail::addNoisePlane8<P>(host, raster, plane, amount, softness)) return 0;
    noise_detail::addNoiseInAlpha<P, C, V>(host, raster, plane, alpha, amount, softness);
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
