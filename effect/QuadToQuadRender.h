#pragma once
#include "RenderLib/CommonRender.h"
#include "RenderLib/TransformRecords.h"
#include "Transform/Common/TX_Line2D.h"
#include "effect/BendMerge.h"
#include "effect/MirrorGeometry.h"
#include "effect/SampleSettings.h"
#include "effect/ScratchMemory.h"
#include "effect/Seam.h"
#include "effect/SoftnessStages.h"
#include "effect/ToneTable.h"
#include "host/PluginHost_API.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

// The mirror image of one sample. srcQuad is first straightened into a flat image of the frame's
// size, far edge in row 0 and baseline in the last row, where the stages that depend on distance
// from the baseline work on plain rows; the flat image is then drawn onto destQuad.

namespace quad_detail {
// Pass 0's flat image kept for pass 1 of a bend, in place of the round trip through the bent
// image: pass 1 would copy back exactly the bytes pass 0 put there (both are packed rasters of
// the frame's size) and tone them the same way. `carried` is set where pass 0 would have copied,
// `toned` once the tone has run on it.
struct CarriedFlat {
    explicit CarriedFlat(PluginHost_API* host) : memory(host) {}
    ScratchBlock memory;
    PluginHost_API::RasterInfo info;
    bool carried = false;
    bool toned = false;
};

inline void copyCommonRows(PluginHost_API::RasterInfo const& src,
                           PluginHost_API::RasterInfo const& dst) {
    std::size_t const n = std::size_t(std::min(std::abs(src.rowBytes), std::abs(dst.rowBytes)));
    copyRows(src, dst, n, std::min(src.height, dst.height));
}
} // namespace quad_detail

// Rows of the flat image that the drawing onto destQuad never samples need not be drawn, where
// nothing between the two transforms reaches across rows: no blur at all (softness 0 blurs nothing
// in integer pixels, except in the mip-map and the column and row modes) and no seam. A dry run
// of the second transform gives the rows it samples; every sampler reads at most five rows past
// its row and four before (ten taps), supersampling a third of a row more.
namespace quad_detail {
inline void leaveUnreadRows(PluginHost_API* host, CoreRenderArguments const& second,
                            RenderSettings const& secondSettings, PluginHost_API::RasterInfo& flat,
                            PluginHost_API::RasterInfo& destination, bool singleChannel,
                            RenderSettings& first) {
    CoreRenderArguments args = second;
    RenderSettings probe;
    std::memcpy(static_cast<void*>(&probe), &secondSettings, sizeof probe);
    RowsRead read;
    probe.rowsRead = &read;
    if (CommonRender_CoreTransformRender(host, args, flat, destination, false, singleChannel,
                                         &probe, true, false) != 0 ||
        !read.bounded || !(read.low <= read.high))
        return;
    double const reach = 8.0;
    double const low = std::floor(double(read.low)) - reach;
    double const high = std::floor(double(read.high)) + reach;
    double const last = flat.height - 1;
    first.skipAbove = low > 0.0 ? int(std::min(low, last)) : 0;
    first.skipBelow = high < last ? int(std::min(last - std::max(high, 0.0), last)) : 0;
}
} // namespace quad_detail

// The host's settings record when it hands one, else `local` made a whole W x H frame; either
// way its source rectangle is the working area.
inline RenderSettings* hostOrFrameSettings(PluginHost_API* host, RenderSettings& local, int W,
                                           int H) {
    if (auto* given = static_cast<RenderSettings*>(host->getUserData())) return given;
    local.srcRect = TX_IRect(0, 0, W - 1, H - 1);
    local.dstRect = TX_IRect(0, 0, W - 1, H - 1);
    return &local;
}

// One pass. Pass 0 draws the unbent image; with a bend, pass 1 the whole image turned about the
// bend line, passes 2 and 3 solid coverage of the near and the far part.
template <class P, class C, class Acc, class V, class F>
int QuadToQuadRenderPass(P, C, Acc, V, F, PluginHost_API* host, PluginHost_API::RasterInfo& source,
                         PluginHost_API::RasterInfo& destination,
                         CoreRenderArguments const& arguments, SampleSettings const& sample,
                         int bendPass, PluginHost_API::RasterInfo* bentImage,
                         quad_detail::CarriedFlat* carry = nullptr) {
    int const W = destination.width, H = destination.height;
    int const pixelBytes = int(sizeof(C)) * 4;
    bool const later = bendPass > 1;
    int status = 0;
    ScratchBlock flatMemory(host);
    // Until the drawing that clears the destination has begun, a failure clears it whole.
    bool clearOnFailure = bendPass == 0 && sample.clearDestination;
    try {
        CoreRenderArguments A = arguments;
        // The flat image's baseline and the proxy scale, for the flat-image stages.
        TX_Line2D bottomLine(0, H, W, H, false);
        double const scale = std::min(host->getScaleX(), host->getScaleY());

        // The mask passes draw coverage only and need no flat image of their own.
        PluginHost_API::RasterInfo flat;
        bool const reuse = bendPass == 1 && sample.bend && carry && carry->carried;
        if (reuse) flat = carry->info;
        if (!later && !reuse &&
            !flatMemory.allocImage(flat, destination.format, W, H, pixelBytes)) {
            if (clearOnFailure) zeroRaster(destination);
            host->fillOutput();
            return 1;
        }

        A.renderMode = 0;
        A.transformType = 3;
        double destQuad[4][2], srcQuad[4][2];
        std::memcpy(destQuad, A.destQuad, sizeof destQuad);
        std::memcpy(srcQuad, A.srcQuad, sizeof srcQuad);

        RenderSettings local;
        RenderSettings* const first = hostOrFrameSettings(host, local, W, H);
        int const Wp = first->srcRect.right - first->srcRect.left + 1;
        int const Hp = first->srcRect.bottom - first->srcRect.top + 1;
        first->renderMode = 0;
        int red, green, blue, alpha;
        getRasterChannelOrder(source.format, red, green, blue, alpha);
        first->alphaIndex = alpha;
        A.scale = 1.0;

        if (sample.bend && bendPass >= 1) {
            bendPoints(destQuad[0][0], destQuad[0][1], destQuad[1][0], destQuad[1][1],
                       destQuad[2][0], destQuad[2][1], destQuad[3][0], destQuad[3][1],
                       sample.bendStart, sample.bendAngle, sample.bendStretch, W, H, bendPass);
            std::memcpy(A.destQuad, destQuad, sizeof destQuad);
        }

        // Corners once around the quad, in pixels of the host's area.
        int const ring[4] = {0, 1, 3, 2};
        for (int i = 0; i < 4; ++i) {
            double const* d = destQuad[ring[i]];
            double const* s = srcQuad[ring[i]];
            first->corners[i] = TX_Point2D(d[0] * (Wp - 1) + first->srcRect.left,
                                           d[1] * (Hp - 1) + first->srcRect.top);
            first->secondCorners[i] = TX_Point2D(s[0] * (Wp - 1) + first->srcRect.left,
                                                 s[1] * (Hp - 1) + first->srcRect.top);
        }

        CoreRenderArguments B = A;
        RenderSettings second;
        std::memcpy(static_cast<void*>(&second), first, sizeof second);
        A.transformType = 4;

        if (bendPass == 0) {
            // The settings are kept clear of the skipped rows for every other use.
            struct Undo {
                RenderSettings* s;
                ~Undo() { s->skipAbove = s->skipBelow = 0; }
            } const undo{first};
            // Float pictures at softness 0 come out of the blur as d * 0 + s, d being the blur at
            // radius 1, or as s itself when the whole picture is finite. That is s in every row
            // whose own values are finite, whatever the other rows hold, as long as d of a row
            // reads only that row: the ramped types blur rows at radius 1 and columns at radius
            // 1 / 2 times the aspect, nothing below an aspect of 2.
            int const mode = sample.softnessMode;
            bool const floatRowsAlone = mode != kSoftnessUniform && mode != kSoftnessUniformAlpha &&
                                        sample.softnessAspect >= 0.0 && sample.softnessAspect < 2.0;
            bool const noBlur = sample.softness == 0.0 &&
                                (!std::is_floating_point_v<C> || floatRowsAlone) &&
                                (mode == kSoftnessSimple || mode == kSoftnessProgressiveLinear ||
                                 mode == kSoftnessProgressiveSquare || mode == kSoftnessUniform ||
                                 mode == kSoftnessUniformAlpha);
            if (noBlur && !sample.bend && first == &local) {
                CoreRenderArguments probeArgs = B;
                probeArgs.transformType = 2;
                quad_detail::leaveUnreadRows(host, probeArgs, second, flat, destination,
                                             sample.singleChannel, *first);
            }
            CommonRender_CoreTransformRender(host, A, source, flat, true, sample.singleChannel,
                                             first, true, false);
            // Rows left undrawn are never read: the fade leaves them too.
            softnessStage(host, bottomLine, H, sample, flat,
                          BlurRows{first->skipAbove, H - first->skipBelow});
        } else if (bendPass == 1 && sample.bend && bentImage && !reuse) {
            // The flat image of pass 0, carried over: nothing is transformed or blurred again.
            quad_detail::copyCommonRows(*bentImage, flat);
        }

        if (sample.bend && bendPass == 0)
            drawSeam(P(), C(), Acc(), V(), F(), flat, source.format,
                     SeamArguments{sample.seamStyle, sample.seamSize, sample.seamIntensity,
                                   sample.seamColor, sample.bendStart, sample.bendStretch},
                     scale);

        bool const keep = sample.bend && bentImage && bendPass == 0 && carry;
        if (keep) {
            carry->memory.takeFrom(flatMemory);
            carry->info = flat;
            carry->carried = true;
        } else if (sample.bend && bentImage && bendPass == 0)
            quad_detail::copyCommonRows(flat, *bentImage);

        if (!later && !(reuse && carry->toned))
            applyTone(P(), C(), Acc(), V(), F(), flat, source.format, sample.gamma,
                      sample.brightness);
        if (keep) carry->toned = true;

        B.transformType = 2;
        if (later) flat = source;
        // The transform leaves every pixel it does not draw cleared, whichever way it ends.
        clearOnFailure = false;
        if (CommonRender_CoreTransformRender(host, B, flat, destination, true, sample.singleChannel,
                                             &second, true, later) != 0)
            copyRows(flat, destination, std::size_t(pixelBytes) * W, H);
    } catch (...) {
        if (clearOnFailure) zeroRaster(destination);
        status = 1;
    }
    return status;
}

// The mirror image of one sample into destination: one pass, or with a bend four passes and the
// merge of the unbent near part with the turned far part. 0 done, 1 failed.
template <class P, class C, class A, class V, class F>
int QuadToQuadRender(P p, C c, A a, V v, F f, PluginHost_API* host,
                     PluginHost_API::RasterInfo& source, PluginHost_API::RasterInfo& destination,
                     PluginRasterProxy& proxy, CoreRenderArguments& arguments,
                     SampleSettings const& sample) {
    auto pass = [&](PluginHost_API::RasterInfo& dst, int bendPass, PluginHost_API::RasterInfo* bent,
                    quad_detail::CarriedFlat* carry = nullptr) {
        return QuadToQuadRenderPass(p, c, a, v, f, host, source, dst, arguments, sample, bendPass,
                                    bent, carry);
    };
    bool const bend = sample.bend;
    // A bent image is never sampled nearest.
    if (bend && arguments.filter == kKernelBox) arguments.filter = kKernelTriangle;
    if (!bend) return pass(destination, 0, nullptr);

    int const W = destination.width, H = destination.height;
    int const pixelBytes = int(sizeof(C)) * 4;
    int const count = W * H * pixelBytes;
    PluginRaster_API::PixelType const type = proxy->getPixelType();
    // Freed in this order on every way out.
    struct Temporaries {
        ScratchBlock bent, nearMask, farMask;
        explicit Temporaries(PluginHost_API* h) : bent(h), nearMask(h), farMask(h) {}
        ~Temporaries() {
            bent.release();
            nearMask.release();
            farMask.release();
        }
    } temps(host);
    PluginHost_API::RasterInfo bent, nearMask, farMask;
    auto take = [&](ScratchBlock& block, PluginHost_API::RasterInfo& info) {
        block.adopt(
            allocTransformRaster(host, info, type, W, H, count, pixelBytes, destination.format));
        return block.held();
    };

    bool held = false;
    try {
        held = take(temps.bent, bent);
    } catch (...) {
        if (sample.clearDestination) zeroRaster(destination);
        throw;
    }
    if (!held) {
        if (sample.clearDestination) zeroRaster(destination);
        host->fillOutput();
        return 1;
    }
    {
        quad_detail::CarriedFlat carry(host);
        pass(destination, 0, &bent, &carry);
        // Without a carried flat image pass 1 reads the bent image, which pass 0 then never
        // wrote: what it finds there must be nothing, not garbage. With one, pass 1 clears the
        // bent image before drawing into it.
        if (!carry.carried) zeroRaster(bent);
        pass(bent, 1, &bent, &carry);
    }
    if (!take(temps.nearMask, nearMask)) {
        host->fillOutput();
        return 1;
    }
    pass(nearMask, 2, &bent);
    if (!take(temps.farMask, farMask)) {
        host->fillOutput();
        return 1;
    }
    int const result = pass(farMask, 3, &bent);

    // Merge: the near mask keeps pass 0's picture, the far mask shows the turned one.
    mergeBend<P, C, V>(destination, bent, nearMask, farMask, source.format, sample.mergeInto);
    if (sample.mergeInto && sample.merged) *sample.merged = true;
    return result;
}

// Both again with every value in its place, the form the other host families call. The time,
// the flag after the fade type and the last int are not read; the pass does not read the proxy.
namespace quad_detail {
inline SampleSettings sampleSettings(bool singleChannel, double softness, double softnessAspect,
                                     double gamma, double brightness, double fadeStart,
                                     double fadeLength, int fadeType, int softnessType, bool bend,
                                     double bendAngle, double bendStart, double bendStretch,
                                     int seamStyle, int seamSize, double seamIntensity,
                                     double const* seamColor) {
    return {.softness = softness,
            .softnessAspect = softnessAspect,
            .softnessMode = softnessType,
            .fadeStart = fadeStart,
            .fadeLength = fadeLength,
            .fadeType = fadeType,
            .gamma = gamma,
            .brightness = brightness,
            .bend = bend,
            .bendAngle = bendAngle,
            .bendStart = bendStart,
            .bendStretch = bendStretch,
            .seamStyle = seamStyle,
            .seamSize = seamSize,
            .seamIntensity = seamIntensity,
            .seamColor = seamColor,
            .singleChannel = singleChannel};
}
} // namespace quad_detail

template <class P, class C, class A, class V, class F>
int QuadToQuadRenderPass(P p, C c, A a, V v, F f, PluginHost_API* host,
                         PluginHost_API::RasterInfo& source,
                         PluginHost_API::RasterInfo& destination, PluginRasterProxy& /*proxy*/,
                         CoreRenderArguments& arguments, bool singleChannel, double softness,
                         double softnessAspect, long /*time*/, double gamma, double brightness,
                         double fadeStart, double fadeLength, int fadeType, bool /*flag*/,
                         int softnessType, bool bend, double bendAngle, double bendStart,
                         double bendStretch, int seamStyle, int seamSize, double seamIntensity,
                         double const* seamColor, int bendPass,
                         PluginHost_API::RasterInfo* bentImage) {
    return QuadToQuadRenderPass(
        p, c, a, v, f, host, source, destination, arguments,
        quad_detail::sampleSettings(singleChannel, softness, softnessAspect, gamma, brightness,
                                    fadeStart, fadeLength, fadeType, softnessType, bend, bendAngle,
                                    bendStart, bendStretch, seamStyle, seamSize, seamIntensity,
                                    seamColor),
        bendPass, bentImage);
}

template <class P, class C, class A, class V, class F>
int QuadToQuadRender(P p, C c, A a, V v, F f, PluginHost_API* host,
                     PluginHost_API::RasterInfo& source, PluginHost_API::RasterInfo& destination,
                     PluginRasterProxy& proxy, CoreRenderArguments& arguments, bool singleChannel,
                     double softness, double softnessAspect, long /*time*/, double gamma,
                     double brightness, double fadeStart, double fadeLength, int fadeType,
                     bool /*flag*/, int softnessType, bool bend, double bendAngle, double bendStart,
                     double bendStretch, int seamStyle, int seamSize, double seamIntensity,
                     double const* seamColor, int /*last*/) {
    return QuadToQuadRender(p, c, a, v, f, host, source, destination, proxy, arguments,
                            quad_detail::sampleSettings(singleChannel, softness, softnessAspect,
                                                        gamma, brightness, fadeStart, fadeLength,
                                                        fadeType, softnessType, bend, bendAngle,
                                                        bendStart, bendStretch, seamStyle, seamSize,
                                                        seamIntensity, seamColor));
}
