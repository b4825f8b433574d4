#pragma once
#include "host/PluginHost_API.h"
#include "pixel/InFrontRows8.h"
#include "pixel/InFrontRowsDeep.h"
#include "pixel/Traits.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>

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
    std::memmove(d, s, 4 * sizeof(C)); // one move of the pixel, not four of its channels
    d[P::ALPHA] = C(P::clamp(alpha));
}

// 2^32 / d rounded up, for every divisor of the 8-bit compositing range.
inline constexpr auto kReciprocals8 = [] {
    std::array<std::uint64_t, 512> r{};
    for (std::uint64_t d = 1; d < r.size(); ++d) r[d] = (std::uint64_t(1) << 32) / d + 1;
    return r;
}();

// P::divide. In 8 bits a numerator and divisor below 512, as straight colour and union alpha
// give them, divide by a multiply with the rounded-up reciprocal: for 255 x below 2^17,
// 255 x * r >> 32 is the quotient itself. Other values take the division.
template <class P, class V> inline V divide(V a, V b) {
    if constexpr (P::is8Bit())
        if (unsigned(a) < 512u && unsigned(b - 1) < 511u)
            return V((std::uint64_t(a * 255) * kReciprocals8[std::size_t(b)]) >> 32);
    return P::divide(a, b);
}

// Float pixels may carry negative colour; the modes see it as 0.
template <class P, class V> inline void dropNegative(V* c) {
    if constexpr (P::is32Bit())
        for (int i = 0; i < 3; ++i)
            if (c[i] < 0) c[i] = 0;
}

// Passes over whole rows around the composite of each: before(y) ahead of row y, after(y) once
// it is written. A caller that would run a pass over every layer before and after the composite
// runs it here instead, on rows still in cache. The plain composite has none.
struct NoRowPasses {
    void before(int) const {}
    void after(int) const {}
};

// Walks the three layers over the bottom's size. Per pixel, `body` gets the three pixels, both
// alphas scaled by their opacities and the union alpha; forceOpaque then sets alpha to full.
// A `lead` row function, where given, does the leading pixels of each row instead of body.
template <class P, class C>
using LeadRow = std::conditional_t<P::is8Bit(), InFrontRow8, InFrontRowDeep<C>>;
template <class P, class C, class V, class Body, class Rows = NoRowPasses>
void walk(Layers const& L, float opacityTop, float opacityBottom, bool forceOpaque, Body&& body,
          LeadRow<P, C> lead = nullptr, Rows const& rows = {}) {
    // 8-bit alphas scale through tables of the same products, made once a call.
    [[maybe_unused]] V scaledTop[P::is8Bit() ? 256 : 1], scaledBottom[P::is8Bit() ? 256 : 1];
    if constexpr (P::is8Bit())
        for (int a = 0; a < 256; ++a) {
            scaledTop[a] = scaledAlpha<P>(V(a), opacityTop);
            scaledBottom[a] = scaledAlpha<P>(V(a), opacityBottom);
        }
    auto scaled = [&](C alpha, V const* table, float opacity) {
        if constexpr (P::is8Bit())
            return table[alpha];
        else
            return scaledAlpha<P>(V(alpha), opacity);
    };
    if constexpr (P::is8Bit()) {
        // The row functions hold their lanes to alphas of 0..255.
        for (int a = 0; a < 256 && lead; ++a)
            if (unsigned(scaledTop[a]) > 255u || unsigned(scaledBottom[a]) > 255u) lead = nullptr;
    }
    for (int y = 0; y < L.bottom.height; ++y) {
        rows.before(y);
        auto const* t = reinterpret_cast<C const*>(L.top.row(y));
        auto const* b = reinterpret_cast<C const*>(L.bottom.row(y));
        auto* o = reinterpret_cast<C*>(L.out.row(y));
        int x = 0;
        if (lead) {
            if constexpr (P::is8Bit())
                x = lead(t, b, o, L.bottom.width, scaledTop, scaledBottom, forceOpaque);
            else
                x = lead(t, b, o, L.bottom.width, opacityTop, opacityBottom, forceOpaque);
            t += 4 * x, b += 4 * x, o += 4 * x;
        }
        for (; x < L.bottom.width; ++x, t += 4, b += 4, o += 4) {
            V const A1 = scaled(t[P::ALPHA], scaledTop, opacityTop);
            V const A2 = scaled(b[P::ALPHA], scaledBottom, opacityBottom);
            body(t, b, o, A1, A2, V(A1 + A2 - P::multiply(A1, A2)));
            if (forceOpaque) o[P::ALPHA] = C(P::MAX_VALUE());
        }
        rows.after(y);
    }
}

// The colour of a pixel as working values, negative float colour raised to 0.
template <class P, class C, class V> inline void readColor(C const* px, V* c) {
    c[0] = V(px[P::RED]), c[1] = V(px[P::GREEN]), c[2] = V(px[P::BLUE]);
    dropNegative<P>(c);
}

template <class P, class C, class V> inline void writePixel(C* o, V const* c, V alpha) {
    o[P::RED] = C(P::clamp(c[0]));
    o[P::GREEN] = C(P::clamp(c[1]));
    o[P::BLUE] = C(P::clamp(c[2]));
    o[P::ALPHA] = C(P::clamp(alpha));
}
} // namespace blend_detail

// `rows` runs passes around each row's composite (blend_detail::NoRowPasses).
template <class P, class C, class A, class V, class F, class Mode,
          class Rows = blend_detail::NoRowPasses>
int Blend(P, C, A, V, F, Mode mode, PluginHost_API* host, float opacityTop, float opacityBottom,
          PluginRaster_API* top, PluginRaster_API* bottom, PluginRaster_API* out, bool /*reserved*/,
          bool forceOpaque, Rows const& rows = {}) {
    using namespace blend_detail;
    mode.setup(F(), opacityTop, opacityBottom);
    V const M = V(P::MAX_VALUE());
    V const m = V(P::MIN_VALUE());
    LeadRow<P, C> lead = nullptr;
    if constexpr (Mode::keepsTopColour) {
        if constexpr (P::is8Bit())
            lead = chosenInFrontRow8(P::ALPHA);
        else if constexpr (P::is32Bit())
            lead = chosenInFrontRow32(P::ALPHA);
        else
            lead = chosenInFrontRow16(P::ALPHA);
    }
    walk<P, C, V>(
        Layers(host, top, bottom, out), opacityTop, opacityBottom, forceOpaque,
        [&](C const* t, C const* b, C* o, V A1, V A2, V O) {
            if (A1 == m) return copyPixel<P>(o, b, O);
            V c1[3], c2[3];
            readColor<P>(t, c1);
            readColor<P>(b, c2);
            V res[3] = {c1[0], c1[1], c1[2]};
            V RA = A1;
            if (A2 > m) {
                mode.composite(F(), c1[0], c1[1], c1[2], A1, c2[0], c2[1], c2[2], A2, res[0],
                               res[1], res[2], RA);
                // The mode's effect fades toward the top's own colour where the bottom
                // is transparent.
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
                        res[i] = divide<P>(P::multiply(res[i], RA) + P::multiply(c2[i], K), RA + K);
                }
            }
            writePixel<P>(o, res, O);
        },
        lead, rows);
    return 0;
}

// The top goes behind the bottom.
template <class P, class C, class A, class V, class F, class Rows = blend_detail::NoRowPasses>
int BlendBehind(P, C, A, V, F, PluginHost_API* host, float opacityTop, float opacityBottom,
                PluginRaster_API* top, PluginRaster_API* bottom, PluginRaster_API* out,
                bool /*reserved*/, bool forceOpaque, Rows const& rows = {}) {
    using namespace blend_detail;
    V const M = V(P::MAX_VALUE());
    V const m = V(P::MIN_VALUE());
    walk<P, C, V>(
        Layers(host, top, bottom, out), opacityTop, opacityBottom, forceOpaque,
        [&](C const* t, C const* b, C* o, V A1, V A2, V O) {
            if (A2 == m) return copyPixel<P>(o, t, O);
            if (A2 == M) {
                for (int i = 0; i < 4; ++i) o[i] = b[i];
                return;
            }
            V c1[3], c2[3], res[3];
            readColor<P>(t, c1);
            readColor<P>(b, c2);
            for (int i = 0; i < 3; ++i)
                res[i] = P::multiply(c1[i], M - A2) + P::multiply(c2[i], A2);
            if (A1 != M) {
                V const K = P::multiply(M - A1, A2);
                for (int i = 0; i < 3; ++i)
                    res[i] = divide<P>(P::multiply(res[i], A1) + P::multiply(c2[i], K), K + A1);
            }
            writePixel<P>(o, res, O);
        },
        nullptr, rows);
    return 0;
}
