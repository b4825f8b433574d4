#pragma once
#include "host/PluginHost_API.h"
#include "pixel/Traits.h"

// The pixel loops of the transfer modes, on straight colour. top and bottom are read, out is
// written and may be top; the bottom's size bounds the loops.

namespace blend_detail {
struct Layers {
    PluginRasterInfo top, bottom, out;
    Layers(PluginHost_API* host, PluginRaster_API* t, PluginRaster_API* b, PluginRaster_API* o) {
        host->getRasterInfo(t, &top);
        host->getRasterInfo(b, &bottom);
        host->getRasterInfo(o, &out);
    }
};

// Layer alpha times its opacity: truncated to int in 8 bits, float elsewhere.
template <class P, class V> inline V scaledAlpha(V alpha, float opacity) {
    if constexpr (P::is8Bit())
        return V(int(float(alpha) * opacity));
    else
        return V(float(alpha) * opacity);
}

template <class P, class C, class V> inline void copyPixel(C* d, C const* s, V alpha) {
    for (int i = 0; i < 4; ++i) d[i] = s[i];
    d[P::ALPHA] = C(P::clamp(alpha));
}

// Float pixels may carry negative colour; the modes see it as 0.
template <class P, class V> inline void dropNegative(V* c) {
    if constexpr (P::is32Bit())
        for (int i = 0; i < 3; ++i)
            if (c[i] < 0) c[i] = 0;
}
} // namespace blend_detail

template <class P, class C, class A, class V, class F, class Mode>
int Blend(P, C, A, V, F, Mode mode, PluginHost_API* host, float opacityTop, float opacityBottom,
          PluginRaster_API* top, PluginRaster_API* bottom, PluginRaster_API* out, bool /*reserved*/,
          bool forceOpaque) {
    mode.setup(F(), opacityTop, opacityBottom);
    if (!mode.hasEffect()) return 0;
    blend_detail::Layers L(host, top, bottom, out);
    V const M = V(P::MAX_VALUE());
    V const m = V(P::MIN_VALUE());
    constexpr int R = P::RED, G = P::GREEN, B = P::BLUE, AL = P::ALPHA;
    for (int y = 0; y < L.bottom.height; ++y) {
        auto const* t = reinterpret_cast<C const*>(L.top.row(y));
        auto const* b = reinterpret_cast<C const*>(L.bottom.row(y));
        auto* o = reinterpret_cast<C*>(L.out.row(y));
        for (int x = 0; x < L.bottom.width; ++x, t += 4, b += 4, o += 4) {
            V const A1 = blend_detail::scaledAlpha<P>(V(t[AL]), opacityTop);
            V const A2 = blend_detail::scaledAlpha<P>(V(b[AL]), opacityBottom);
            V O = A1 + A2 - P::multiply(A1, A2);
            if (A1 == m) {
                blend_detail::copyPixel<P>(o, b, O);
            } else {
                V c1[3] = {V(t[R]), V(t[G]), V(t[B])};
                V c2[3] = {V(b[R]), V(b[G]), V(b[B])};
                blend_detail::dropNegative<P>(c1);
                blend_detail::dropNegative<P>(c2);
                V res[3] = {c1[0], c1[1], c1[2]};
                V RA = A1;
                if (A2 > m) {
                    mode.composite(F(), c1[0], c1[1], c1[2], A1, c2[0], c2[1], c2[2], A2, res[0],
                                   res[1], res[2], RA);
                    // The mode's effect fades toward the top's own colour where the bottom is
                    // transparent.
                    if (A2 < M && !mode.done())
                        for (int i = 0; i < 3; ++i)
                            res[i] = P::multiply(c1[i], M - A2) + P::multiply(res[i], A2);
                }
                if (!mode.done()) {
                    if (A1 == M || A2 == m) {
                        O = RA;
                    } else {
                        V const K = P::multiply(M - RA, A2);
                        for (int i = 0; i < 3; ++i)
                            res[i] =
                                P::divide(P::multiply(res[i], RA) + P::multiply(c2[i], K), RA + K);
                    }
                }
                o[R] = C(P::clamp(res[0]));
                o[G] = C(P::clamp(res[1]));
                o[B] = C(P::clamp(res[2]));
                o[AL] = C(P::clamp(O));
            }
            if (forceOpaque) o[AL] = C(M);
        }
    }
    return 0;
}

// The top goes behind the bottom.
template <class P, class C, class A, class V, class F>
int BlendBehind(P, C, A, V, F, PluginHost_API* host, float opacityTop, float opacityBottom,
                PluginRaster_API* top, PluginRaster_API* bottom, PluginRaster_API* out,
                bool /*reserved*/, bool forceOpaque) {
    blend_detail::Layers L(host, top, bottom, out);
    V const M = V(P::MAX_VALUE());
    V const m = V(P::MIN_VALUE());
    constexpr int R = P::RED, G = P::GREEN, B = P::BLUE, AL = P::ALPHA;
    for (int y = 0; y < L.bottom.height; ++y) {
        auto const* t = reinterpret_cast<C const*>(L.top.row(y));
        auto const* b = reinterpret_cast<C const*>(L.bottom.row(y));
        auto* o = reinterpret_cast<C*>(L.out.row(y));
        for (int x = 0; x < L.bottom.width; ++x, t += 4, b += 4, o += 4) {
            V const A1 = blend_detail::scaledAlpha<P>(V(t[AL]), opacityTop);
            V const A2 = blend_detail::scaledAlpha<P>(V(b[AL]), opacityBottom);
            V const O = A1 + A2 - P::multiply(A1, A2);
            if (A2 == m) {
                blend_detail::copyPixel<P>(o, t, O);
            } else if (A2 == M) {
                for (int i = 0; i < 4; ++i) o[i] = b[i];
            } else {
                V c1[3] = {V(t[R]), V(t[G]), V(t[B])};
                V c2[3] = {V(b[R]), V(b[G]), V(b[B])};
                blend_detail::dropNegative<P>(c1);
                blend_detail::dropNegative<P>(c2);
                V res[3];
                for (int i = 0; i < 3; ++i)
                    res[i] = P::multiply(c1[i], M - A2) + P::multiply(c2[i], A2);
                if (A1 != M) {
                    V const K = P::multiply(M - A1, A2);
                    for (int i = 0; i < 3; ++i)
                        res[i] = P::divide(P::multiply(res[i], A1) + P::multiply(c2[i], K), K + A1);
                }
                o[R] = C(P::clamp(res[0]));
                o[G] = C(P::clamp(res[1]));
                o[B] = C(P::clamp(res[2]));
                o[AL] = C(P::clamp(O));
            }
            if (forceOpaque) o[AL] = C(M);
        }
    }
    return 0;
}
