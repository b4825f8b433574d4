#pragma once
#include "pixel/ColorHSL.h"
#include "pixel/Traits.h"

// One class per transfer mode. Each knows only its per-channel formula on straight colour; the
// pixel loop (Blend) calls the members directly, so every mode is its own instance of the loop.
//
//   setup(tag, opacityTop, opacityBottom)  fills the constants once per Blend call
//   composite(tag, r1,g1,b1,a1, r2,g2,b2,a2, r,g,b,a)   the formula; a is only written by the
//                                          modes that fold alpha in themselves
//   done()                                 true when composite has already folded alpha in

namespace blend_detail {
template <class P, class V> struct ModeBase {
    V maxValue{};
    V secondValue{};
    // True where the composite is the top's own colour, as in front.
    static constexpr bool keepsTopColour = false;
    bool done() const { return false; }
};

// Applies one channel formula to red, green and blue.
template <class V, class Fn>
inline void eachChannel(V r1, V g1, V b1, V r2, V g2, V b2, V& r, V& g, V& b, Fn fn) {
    r = fn(r1, r2);
    g = fn(g1, g2);
    b = fn(b1, b2);
}

// The half value compared against in the light modes: an int in 8 bits, exact elsewhere.
template <class P, class V> inline V halfValue() {
    if constexpr (P::is8Bit())
        return V(int(P::MAX_VALUE() * 0.5));
    else
        return V(P::MAX_VALUE() * 0.5);
}
} // namespace blend_detail

#define MIRREL_BLEND_MODE_HEAD(NAME)                                                               \
    template <class P, class C, class A, class V, class F>                                         \
    struct NAME : blend_detail::ModeBase<P, V> {                                                   \
        using blend_detail::ModeBase<P, V>::maxValue;                                              \
        using blend_detail::ModeBase<P, V>::secondValue;

// A mode whose whole formula is one expression of one channel c1 of the top and c2 of the bottom,
// with M the full value and H the second value.
#define MIRREL_BLEND_CHANNEL_MODE(NAME, SECOND, EXPR)                                              \
    MIRREL_BLEND_MODE_HEAD(NAME)                                                                   \
    void setup(F, float, float) {                                                                  \
        maxValue = V(P::MAX_VALUE());                                                              \
        secondValue = SECOND;                                                                      \
    }                                                                                              \
    void composite(F, V r1, V g1, V b1, V, V r2, V g2, V b2, V, V& r, V& g, V& b, V&) const {      \
        V const M = maxValue;                                                                      \
        V const H = secondValue;                                                                   \
        (void)M, (void)H;                                                                          \
        blend_detail::eachChannel(r1, g1, b1, r2, g2, b2, r, g, b,                                 \
                                  [&](V c1, V c2) -> V { return EXPR; });                          \
    }                                                                                              \
    }

template <class P, class C, class A, class V, class F>
struct BLEND_IN_FRONT : blend_detail::ModeBase<P, V> {
    using blend_detail::ModeBase<P, V>::maxValue;
    using blend_detail::ModeBase<P, V>::secondValue;
    static constexpr bool keepsTopColour = true;
    void setup(F, float opacityTop, float) {
        if constexpr (P::is8Bit())
            maxValue = V(int(P::MAX_VALUE() * opacityTop));
        else
            maxValue = V(P::MAX_VALUE() * opacityTop);
        secondValue = V(P::MAX_VALUE());
    }
    void composite(F, V r1, V g1, V b1, V, V, V, V, V, V& r, V& g, V& b, V&) const {
        r = r1, g = g1, b = b1;
    }
};

MIRREL_BLEND_CHANNEL_MODE(BLEND_MUTLIPLY, V(0), P::multiply(c2, c1));
MIRREL_BLEND_CHANNEL_MODE(BLEND_SCREEN, V(0), M - P::multiply(M - c1, M - c2));
// The same formula as BLEND_SCREEN under a mode number of its own.
MIRREL_BLEND_CHANNEL_MODE(BLEND_SCREEN_SPECIAL, V(0), M - P::multiply(M - c1, M - c2));
MIRREL_BLEND_CHANNEL_MODE(BLEND_OVERLAY, (blend_detail::halfValue<P, V>()),
                          H > c2 ? P::multiply(2 * c2, c1) : c2 + P::multiply(2 * c1 - M, M - c2));
MIRREL_BLEND_CHANNEL_MODE(BLEND_SOFTLIGHT, V(0),
                          P::multiply(P::multiply(c2, c2) - c2, M - 2 * c1) + c2);
MIRREL_BLEND_CHANNEL_MODE(BLEND_HARDLIGHT, (blend_detail::halfValue<P, V>()),
                          H > c1 ? P::multiply(2 * c1, c2) : M - P::multiply(M - c2, 2 * (M - c1)));
MIRREL_BLEND_CHANNEL_MODE(BLEND_DARKEN, V(0), c1 < c2 ? c1 : c2);
MIRREL_BLEND_CHANNEL_MODE(BLEND_LIGHTEN, V(0), c1 > c2 ? c1 : c2);
MIRREL_BLEND_CHANNEL_MODE(BLEND_EXCLUSION, V(0), P::multiply(M - 2 * c2, c1) + c2);
MIRREL_BLEND_CHANNEL_MODE(BLEND_COLORDODGE, V(0), c1 < M ? P::divide(c2, M - c1) : c1);
MIRREL_BLEND_CHANNEL_MODE(BLEND_COLORBURN, V(0),
                          P::clamp_underflow(c1 != 0 ? M - P::divide(M - c2, c1) : c1));

// Plus and difference premultiply for themselves, divide by the union alpha and report it.
namespace blend_detail {
template <class P, class V, class Combine>
inline void foldedAlpha(V r1, V g1, V b1, V a1, V r2, V g2, V b2, V a2, V& r, V& g, V& b, V& a,
                        Combine combine) {
    V const M = V(P::MAX_VALUE());
    auto pre = [M](V c, V alpha) { return alpha != M ? P::multiply(c, alpha) : c; };
    V const U = P::clamp_overflow(a1 + a2 - P::multiply(a1, a2));
    r = P::divide(combine(pre(r1, a1), pre(r2, a2), U), U);
    g = P::divide(combine(pre(g1, a1), pre(g2, a2), U), U);
    b = P::divide(combine(pre(b1, a1), pre(b2, a2), U), U);
    a = U;
}
} // namespace blend_detail

template <class P, class C, class A, class V, class F>
struct BLEND_PLUS : blend_detail::ModeBase<P, V> {
    using blend_detail::ModeBase<P, V>::maxValue;
    void setup(F, float, float) { maxValue = V(P::MAX_VALUE()); }
    bool done() const { return true; }
    void composite(F, V r1, V g1, V b1, V a1, V r2, V g2, V b2, V a2, V& r, V& g, V& b,
                   V& a) const {
        blend_detail::foldedAlpha<P>(r1, g1, b1, a1, r2, g2, b2, a2, r, g, b, a,
                                     [](V p1, V p2, V U) {
                                         V s = p1 + p2;
                                         // Float sums may exceed the union alpha.
                                         if constexpr (!P::is32Bit())
                                             if (s > U) s = U;
                                         return s;
                                     });
    }
};

template <class P, class C, class A, class V, class F>
struct BLEND_DIFFERENCE : blend_detail::ModeBase<P, V> {
    using blend_detail::ModeBase<P, V>::maxValue;
    using blend_detail::ModeBase<P, V>::secondValue;
    void setup(F, float, float) {
        maxValue = V(P::MAX_VALUE());
        secondValue = V(P::MIN_VALUE());
    }
    bool done() const { return true; }
    void composite(F, V r1, V g1, V b1, V a1, V r2, V g2, V b2, V a2, V& r, V& g, V& b,
                   V& a) const {
        V const low = secondValue;
        blend_detail::foldedAlpha<P>(r1, g1, b1, a1, r2, g2, b2, a2, r, g, b, a,
                                     [low](V p1, V p2, V) {
                                         V d = p2 - p1;
                                         return low > d ? -d : d;
                                     });
    }
};

// The colour modes mix hue, saturation and luma of the two colours.
namespace blend_detail {
enum class Take { Top, Bottom };
template <class P, class C, class V, Take H, Take S, Take L, bool CapAtOne>
inline void hslMix(V r1, V g1, V b1, V r2, V g2, V b2, V& r, V& g, V& b) {
    float x1[3] = {P::toFloat(C(r1)), P::toFloat(C(g1)), P::toFloat(C(b1))};
    float x2[3] = {P::toFloat(C(r2)), P::toFloat(C(g2)), P::toFloat(C(b2))};
    if constexpr (CapAtOne && P::is32Bit())
        for (int i = 0; i < 3; ++i) {
            if (x1[i] > 1.0f) x1[i] = 1.0f;
            if (x2[i] > 1.0f) x2[i] = 1.0f;
        }
    float h1, s1, l1, h2, s2, l2;
    rgb2hsl(x1[0], x1[1], x1[2], h1, s1, l1);
    rgb2hsl(x2[0], x2[1], x2[2], h2, s2, l2);
    float fr, fg, fb;
    hsl2rgb(H == Take::Top ? h1 : h2, S == Take::Top ? s1 : s2, L == Take::Top ? l1 : l2, fr, fg,
            fb);
    r = P::fromFloat(fr);
    g = P::fromFloat(fg);
    b = P::fromFloat(fb);
}
} // namespace blend_detail

// Only saturation and colour cap float channels at 1.0; hue and luma take them as they are.
#define MIRREL_BLEND_HSL_MODE(NAME, H, S, L, CAP)                                                  \
    MIRREL_BLEND_MODE_HEAD(NAME)                                                                   \
    void setup(F, float, float) {                                                                  \
        maxValue = V(P::MAX_VALUE());                                                              \
    }                                                                                              \
    void composite(F, V r1, V g1, V b1, V, V r2, V g2, V b2, V, V& r, V& g, V& b, V&) const {      \
        using blend_detail::Take;                                                                  \
        blend_detail::hslMix<P, C, V, H, S, L, CAP>(r1, g1, b1, r2, g2, b2, r, g, b);              \
    }                                                                                              \
    }

MIRREL_BLEND_HSL_MODE(BLEND_HUE, Take::Top, Take::Bottom, Take::Bottom, false);
MIRREL_BLEND_HSL_MODE(BLEND_SAT, Take::Bottom, Take::Top, Take::Bottom, true);
MIRREL_BLEND_HSL_MODE(BLEND_COLOR, Take::Top, Take::Top, Take::Bottom, true);
MIRREL_BLEND_HSL_MODE(BLEND_LUMA, Take::Bottom, Take::Bottom, Take::Top, false);

#undef MIRREL_BLEND_HSL_MODE
#undef MIRREL_BLEND_CHANNEL_MODE
#undef MIRREL_BLEND_MODE_HEAD
