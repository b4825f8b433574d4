#pragma once
#include "host/PluginHost_API.h"
#include "pixel/Blend.h"
#include "pixel/BlendModes.h"

// Composites top over bottom into out by a transfer mode number. A host that blends by itself
// gets the work unless noHostBlend is set. Unknown numbers do nothing.
template <class P, class C, class A, class V, class F>
int TransferComposite(P p, C c, A a, V v, F f, PluginHost_API* host, int mode, double opacityTop,
                      double opacityBottom, PluginRaster_API* top, PluginRaster_API* bottom,
                      PluginRaster_API* out, bool reserved, bool forceOpaque, bool noHostBlend) {
    if (host->getAEHost() && !noHostBlend)
        return host->blend(mode, opacityTop, opacityBottom, bottom, out);
    float const oTop = float(opacityTop);
    float const oBottom = float(opacityBottom);
    auto run = [&](auto modeObject, bool opaque) {
        return Blend(p, c, a, v, f, modeObject, host, oTop, oBottom, top, bottom, out, reserved,
                     opaque);
    };
    switch (mode) {
    case 1:
        return BlendBehind(p, c, a, v, f, host, oTop, oBottom, top, bottom, out, reserved, false);
    case 2:
        return run(BLEND_IN_FRONT<P, C, A, V, F>(), false);
    case 3:
    case 13:
        return run(BLEND_HUE<P, C, A, V, F>(), forceOpaque);
    case 4:
        return run(BLEND_PLUS<P, C, A, V, F>(), forceOpaque);
    case 5:
        return run(BLEND_MUTLIPLY<P, C, A, V, F>(), forceOpaque);
    case 6:
        return run(BLEND_SCREEN<P, C, A, V, F>(), forceOpaque);
    case 7:
        return run(BLEND_OVERLAY<P, C, A, V, F>(), forceOpaque);
    case 8:
        return run(BLEND_SOFTLIGHT<P, C, A, V, F>(), forceOpaque);
    case 9:
        return run(BLEND_HARDLIGHT<P, C, A, V, F>(), forceOpaque);
    case 10:
        return run(BLEND_DARKEN<P, C, A, V, F>(), forceOpaque);
    case 11:
        return run(BLEND_LIGHTEN<P, C, A, V, F>(), forceOpaque);
    case 12:
        return run(BLEND_DIFFERENCE<P, C, A, V, F>(), forceOpaque);
    case 14:
        return run(BLEND_SAT<P, C, A, V, F>(), forceOpaque);
    case 15:
        return run(BLEND_COLOR<P, C, A, V, F>(), forceOpaque);
    case 16:
        return run(BLEND_LUMA<P, C, A, V, F>(), forceOpaque);
    case 17:
    case 18:
    case 19:
    case 20:
    case 21:
    case 22:
    case 25:
        return run(BLEND_EXCLUSION<P, C, A, V, F>(), forceOpaque);
    case 23:
        return run(BLEND_COLORDODGE<P, C, A, V, F>(), forceOpaque);
    case 24:
        return run(BLEND_COLORBURN<P, C, A, V, F>(), forceOpaque);
    case 35:
        return run(BLEND_SCREEN_SPECIAL<P, C, A, V, F>(), forceOpaque);
    default:
        return 0;
    }
}
