#pragma once
#include "host/PluginHost_API.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

// One picture averaged in several times over: the cross-fades of BlendAlphaImagesPreMult with
// mixes 1/(i + 1) for i = first .. end - 1, each value taken through all of them in turn with
// the same products, sums and truncations, but read and written once instead of once a sample.

// The row forms: for each of `steps` mixes in turn d = C(s mix + d keep + h), d starting from s
// itself when `fromSource`. Eight values at a time where the processor has AVX2; each returns
// how many leading values it did.
struct BlendRunRows {
    int (*u8)(unsigned char const* s, unsigned char* d, int values, float const* mix,
              float const* keep, int steps, float h, bool fromSource);
    int (*u16)(unsigned short const* s, unsigned short* d, int values, float const* mix,
               float const* keep, int steps, float h, bool fromSource);
    int (*f32)(float const* s, float* d, int values, float const* mix, float const* keep, int steps,
               float h, bool fromSource);
};

// The rows, or null where the processor or the build has no AVX2. The first form ignores
// MIRREL_CPU, for tests.
BlendRunRows const* blendRunRowsAvx2();
BlendRunRows const* chosenBlendRunRows();

// Whether a run from the first sample leaves the picture itself. The first mix, 1, copies it;
// after that each cross-fade meets its own value: in 8 and 16 bits s mix + s keep lies within a
// few float steps of s, far below the half added, and truncates to s again. Float keeps the
// rounding of every step.
template <class P> constexpr bool runFromFirstIsCopy() {
    return !std::is_floating_point_v<typename P::C>;
}

template <class P, class C, class A, class V, class F>
int BlendAlphaRunPreMult(P, C, A, V, F, int first, int end, PluginHost_API::RasterInfo* src,
                         PluginHost_API::RasterInfo* dst) {
    if (first >= end) return 0;
    bool fromSource = false;
    if (first == 0) {
        if (runFromFirstIsCopy<P>() || end == 1) {
            for (int y = 0; y < dst->height; ++y)
                std::memcpy(dst->row(y), src->row(y), std::size_t(dst->width) * P::BYTES);
            return 0;
        }
        fromSource = true; // mix 1 copies, whatever the destination held
        first = 1;
    }
    float const h = P::halfRoundPixel();
    BlendRunRows const* rows = chosenBlendRunRows();
    int const values = dst->width * 4;
    // The mixes in groups, so that any count of samples runs from a fixed table.
    constexpr int kGroup = 64;
    float mix[kGroup], keep[kGroup];
    for (int g = first; g < end; g += kGroup) {
        int const steps = std::min(kGroup, end - g);
        for (int j = 0; j < steps; ++j) {
            mix[j] = float(1.0 / (g + j + 1));
            keep[j] = 1.0f - mix[j];
        }
        bool const fresh = fromSource && g == first;
        for (int y = 0; y < dst->height; ++y) {
            auto const* s = reinterpret_cast<C const*>(src->row(y));
            auto* d = reinterpret_cast<C*>(dst->row(y));
            int i = 0;
            if (rows) {
                if constexpr (std::is_same_v<C, unsigned char>)
                    i = rows->u8(s, d, values, mix, keep, steps, h, fresh);
                else if constexpr (std::is_same_v<C, unsigned short>)
                    i = rows->u16(s, d, values, mix, keep, steps, h, fresh);
                else if constexpr (std::is_same_v<C, float>)
                    i = rows->f32(s, d, values, mix, keep, steps, h, fresh);
            }
            for (; i < values; ++i) {
                C v = fresh ? s[i] : d[i];
                for (int j = 0; j < steps; ++j)
                    v = C(float(s[i]) * mix[j] + float(v) * keep[j] + h);
                d[i] = v;
            }
        }
    }
    return 0;
}
