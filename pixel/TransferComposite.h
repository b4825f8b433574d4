#pragma once
#include "host/PluginHost_API.h"
#include "pixel/Blend.h"
#include "pixel/BlendModes.h"

// The mode numbers TransferComposite takes; several numbers share a formula. The effect's menu
// maps onto them (effect/MirrelFinish.h).
enum CompositeCode : int {
    kCompositeBehind = 1,
    kCompositeInFront = 2,
    kCompositeHue = 3,
    kCompositeAdd = 4,
    kCompositeMultiply = 5,
    kCompositeScreen = 6,
    kCompositeOverlay = 7,
    kCompositeSoftLight = 8,
    kCompositeHardLight = 9,
    kCompositeDarken = 10,
    kCompositeLighten = 11,
    kCompositeDifference = 12,
    kCompositeHueToo = 13,
    kCompositeSaturation = 14,
    kCompositeColor = 15,
    kCompositeLuma = 16,
    kCompositeExclusionFirst = 17, // 17 to 22 are exclusion too
    kCompositeExclusionLast = 22,
    kCompositeColorDodge = 23,
    kCompositeColorBurn = 24,
    kCompositeExclusion = 25,
    kCompositeScreenSpecial = 35,
};

// Composites top over bottom into out by a transfer mode number (CompositeCode). A host that blends
// by itself gets the work unless noHostBlend is set. Unknown numbers do nothing, `rows` included:
// it runs passes around each row's composite (blend_detail::NoRowPasses), where this code
// composites.
template <class P, class C, class A, class V, class F, class Rows = blend_detail::NoRowPasses>
int TransferComposite(P p, C c, A a, V v, F f, PluginHost_API* host, int mode, double opacityTop,
                      double opacityBottom, PluginRaster_API* top, PluginRaster_API* bottom,
                      PluginRaster_API* out, bool reserved, bool forceOpaque, bool noHostBlend,
                      Rows const& rows = {}) {
    if (host->getAEHost() && !noHostBlend)
        return host->blend(mode, opacityTop, opacityBottom, bottom, out);
    float const oTop = float(opacityTop);
    float const oBottom = float(opacityBottom);
    auto run = [&](auto modeObject, bool opaque) {
        return Blend(p, c, a, v, f, modeObject, host, oTop, oBottom, top, bottom, out, reserved,
                     opaque, rows);
    };
    switch (mode) {
    case kCompositeBehind:
        return BlendBehind(p, c, a, v, f, host, oTop, oBottom, top, bottom, out, reserved, false,
                           rows);
    case kCompositeInFront:
        return run(BLEND_IN_FRONT<P, C, A, V, F>(), false);
    case kCompositeHue:
    case kCompositeHueToo:
        return run(BLEND_HUE<P, C, A, V, F>(), forceOpaque);
    case kCompositeAdd:
        return run(BLEND_PLUS<P, C, A, V, F>(), forceOpaque);
    case kCompositeMultiply:
        return run(BLEND_MUTLIPLY<P, C, A, V, F>(), forceOpaque);
    case kCompositeScreen:
        return run(BLEND_SCREEN<P, C, A, V, F>(), forceOpaque);
    case kCompositeOverlay:
        return run(BLEND_OVERLAY<P, C, A, V, F>(), forceOpaque);
    case kCompositeSoftLight:
        return run(BLEND_SOFTLIGHT<P, C, A, V, F>(), forceOpaque);
    case kCompositeHardLight:
        return run(BLEND_HARDLIGHT<P, C, A, V, F>(), forceOpaque);
    case kCompositeDarken:
        return run(BLEND_DARKEN<P, C, A, V, F>(), forceOpaque);
    case kCompositeLighten:
        return run(BLEND_LIGHTEN<P, C, A, V, F>(), forceOpaque);
    case kCompositeDifference:
        return run(BLEND_DIFFERENCE<P, C, A, V, F>(), forceOpaque);
    case kCompositeSaturation:
        return run(BLEND_SAT<P, C, A, V, F>(), forceOpaque);
    case kCompositeColor:
        return run(BLEND_COLOR<P, C, A, V, F>(), forceOpaque);
    case kCompositeLuma:
        return run(BLEND_LUMA<P, C, A, V, F>(), forceOpaque);
    case kCompositeExclusionFirst:
    case kCompositeExclusionFirst + 1:
    case kCompositeExclusionFirst + 2:
    case kCompositeExclusionFirst + 3:
    case kCompositeExclusionFirst + 4:
    case kCompositeExclusionLast:
    case kCompositeExclusion:
        return run(BLEND_EXCLUSION<P, C, A, V, F>(), forceOpaque);
    case kCompositeColorDodge:
        return run(BLEND_COLORDODGE<P, C, A, V, F>(), forceOpaque);
    case kCompositeColorBurn:
        return run(BLEND_COLORBURN<P, C, A, V, F>(), forceOpaque);
    case kCompositeScreenSpecial:
        return run(BLEND_SCREEN_SPECIAL<P, C, A, V, F>(), forceOpaque);
    default:
        return 0;
    }
}
