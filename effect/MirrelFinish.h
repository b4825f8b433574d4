#pragma once
#include "Transform/Common/TX_Macros.h"
#include "effect/NoiseStage.h"
#include "host/PluginHost_API.h"
#include "params/ParamIds.h"
#include "params/RenderArguments.h"
#include "pixel/Alpha.h"
#include "pixel/TransferComposite.h"

#include <cstddef>
#include <cstring>

// The straightening of both rasters ahead of each row's composite and the premultiplying of the
// output after it: the whole-raster passes of UnPremult and Premult, a row at a time. With a
// `source`, each row of the working copy is made from it first.
template <class P> struct FinishRows {
    using C = typename P::C;
    PluginRasterInfo const &work, &output;
    StraightRow<P> const straighten;
    PremultRow<P> const premultiply;
    PluginRasterInfo const* source = nullptr;
    void before(int y) const {
        if (source)
            std::memcpy(work.row(y), source->row(y), sizeof(C) * 4 * std::size_t(work.width));
        straighten(reinterpret_cast<C*>(work.row(y)), work.width);
        straighten(reinterpret_cast<C*>(output.row(y)), output.width);
    }
    void after(int y) const { premultiply(reinterpret_cast<C*>(output.row(y)), output.width); }
};

// The end of a frame, once the mirror image stands alone in the output: alpha by host family,
// noise, and the composite of the mirror image with the working copy of the source. Returns the
// frame's status, replaced by the composite's when one runs. `work` is the frame's own copy of
// the source, which nothing reads after this; with `workSource` it is yet to be made from that
// raster, as the finish first needs it.
template <class P, class C, class A, class V, class F>
int MirrelFinish(P p, C c, A a, V v, F f, PluginHost_API* host, RenderArguments const& args,
                 double fadeNoise, PluginRaster_API* work, PluginRaster_API* output, int status,
                 PluginRaster_API* workSource = nullptr) {
    // Entry of "Transfer Mode" to composite code; "Based on Light" is decided below.
    static int const xfer[kTransferModeEntries] = {kCompositeInFront,    -1,
                                                   kCompositeBehind,     kCompositeInFront,
                                                   kCompositeAdd,        kCompositeMultiply,
                                                   kCompositeScreen,     kCompositeOverlay,
                                                   kCompositeSoftLight,  kCompositeHardLight,
                                                   kCompositeColorDodge, kCompositeColorBurn,
                                                   kCompositeDarken,     kCompositeLighten,
                                                   kCompositeDifference, kCompositeExclusion,
                                                   kCompositeHueToo,     kCompositeSaturation,
                                                   kCompositeColor,      kCompositeLuma};
    bool const fxplugLike = host->getFXPLUGHost() || host->getGASKETHost();
    bool const avxLike = host->getAVX2Host() || host->getAVX1Host();

    auto makeWork = [&] {
        if (workSource) host->copy(workSource, work);
        workSource = nullptr;
    };
    if (host->getAEHost()) {
        makeWork();
        UnPremult(p, c, a, v, f, host, work);
        UnPremult(p, c, a, v, f, host, output);
    }

    PluginHost_API::RasterInfo outputInfo;
    host->getRasterInfo(output, &outputInfo);
    if (int const noise = noiseStage(p, c, a, v, f, host, outputInfo, work, fadeNoise,
                                     args.postSoftness, args.randomSeed))
        status = noise;

    double const mirrorOpacity = 0.01 * args.mirrorOpacity;
    double const sourceOpacity = 0.01 * args.sourceOpacity;
    int mode = args.transferMode;
    if (host->ignoreNormalComposite() && mode <= kModeNormal) mode = kModeNone;
    bool const composite = status == 0 && mode > kModeNone && mode < kTransferModeEntries;
    int code = composite ? xfer[mode] : 0;
    if (mode == kModeBasedOnLight) // "Frontlit" behind, "Backlit" in front
        code = args.light == kFrontlit ? kCompositeBehind : kCompositeInFront;
    // Float screen renders as add.
    if (P::is32Bit() && code == kCompositeScreen) code = kCompositeAdd;

    // Straighten both, composite, premultiply the output: where the composite walks every row of
    // both rasters, each row goes through all four in turn while it is in cache, the working copy
    // made row by row on the way when it is still to be made. Float frames, four times the bytes
    // of 8-bit ones, wait on memory; 8- and 16-bit ones on their arithmetic, where one pass
    // measured no faster (16 bits slower), so they keep the four.
    if constexpr (P::is32Bit()) {
        PluginHost_API::RasterInfo workInfo;
        host->getRasterInfo(work, &workInfo);
        if (composite && fxplugLike && !avxLike && !host->getAEHost() &&
            workInfo.width == outputInfo.width && workInfo.height == outputInfo.height) {
            PluginHost_API::RasterInfo sourceInfo;
            if (workSource) host->getRasterInfo(workSource, &sourceInfo);
            return TransferComposite(
                p, c, a, v, f, host, code, mirrorOpacity, sourceOpacity, output, work, output,
                false, false, false,
                FinishRows<P>{workInfo, outputInfo, {}, {}, workSource ? &sourceInfo : nullptr});
        }
    }

    makeWork();
    if (fxplugLike) {
        UnPremult(p, c, a, v, f, host, work);
        UnPremult(p, c, a, v, f, host, output);
    }
    if (status == 0 && mode == kModeNone && MACRO_NEARLY_EQUAL(mirrorOpacity, 1.0) == 0.0) {
        // "None": the mirror image alone, at its opacity.
        MultiplyAlpha(p, c, a, v, f, host, float(mirrorOpacity), output);
    } else if (composite) {
        status = TransferComposite(p, c, a, v, f, host, code, mirrorOpacity, sourceOpacity, output,
                                   work, output, false, false, false);
    }

    if (avxLike) {
        Premult(p, c, a, v, f, host, output);
        AVXUnsetAlpha(p, c, a, v, f, host, work, output);
    }
    // The working copy is dropped after the frame, so only the output goes back to
    // premultiplied colour.
    if (fxplugLike) Premult(p, c, a, v, f, host, output);
    return status;
}
