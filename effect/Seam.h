#pragma once
#include "Transform/Common/TX_Macros.h"
#include "host/PluginHost_API.h"
#include "host/SaturatingCast.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <cmath>

// The soft band painted across the flat image along the fold of a bent mirror image. Rows of
// the flat image run from the far edge (row 0) to the baseline (last row).
struct SeamArguments {
    int style;        // "Seam Style": 0 constant, 1 linear, 2 square, 3 square root
    int size;         // "Seam Size": 0 none, 1 small, 2 medium, 3 large
    double intensity; // percent; a negative one paints the complementary colour
    double const* color;
    double bendStart;   // percent of the flat image's height, from row 0
    double bendStretch; // divides the band's width on the far side
};

// Half width of the band in pixels at full resolution, followed by the proxy scale.
inline float seamHalfWidth(int seamSize, double scale) {
    static int const _seamSizeArray[4] = {0, 5, 7, 9};
    int const size = seamSize >= 0 && seamSize < 4 ? _seamSizeArray[seamSize] : 0;
    return float(size * scale);
}

// The "Seam Style" entries.
enum SeamStyle : int {
    kSeamConstant = 0,
    kSeamLinear = 1,
    kSeamSquare = 2,
    kSeamInverseSquare = 3
};

// Weight of the band's colour at closeness c: 1 on the centre line, 0 at the band's edge.
inline double seamWeight(int style, float c, double intensity) {
    switch (style) {
    case kSeamLinear:
        return c * intensity;
    case kSeamSquare:
        return c * c * intensity;
    case kSeamInverseSquare:
        return std::sqrt(c) * intensity;
    default:
        return intensity;
    }
}

// Paints the band over red, green and blue; alpha stays as it is. `format` gives the channel
// order, `scale` the proxy resolution.
template <class P, class C, class A, class V, class F>
void drawSeam(P, C, A, V, F, PluginRasterInfo& flat, PluginRasterFormat format,
              SeamArguments const& seam, double scale) {
    float const s = seamHalfWidth(seam.size, scale);
    double i = seam.intensity * 0.01;
    if (MACRO_NEARLY_EQUAL(s, 0.0) != 0.0 || MACRO_NEARLY_EQUAL(i, 0.0) != 0.0) return;

    int ch[4];
    getRasterChannelOrder(format, ch[0], ch[1], ch[2], ch[3]);
    int const H = flat.height;
    float const centre = float(double(0.01f) * (float(H - 1) * seam.bendStart));

    float color[3] = {float(seam.color[0]), float(seam.color[1]), float(seam.color[2])};
    if (i < 0.0) {
        i = -i;
        for (float& c : color) c = 1.0f - c;
    }
    for (float& c : color) c *= float(P::MAX_VALUE());

    for (int y = 0; y < H; ++y) {
        float d = (float(y) - centre) / s;
        // Beyond the fold the band narrows with the stretch.
        if (d < 0.0f) d = float(-d * seam.bendStretch);
        if (d >= 1.0f) continue;
        double const a = seamWeight(seam.style, 1.0f - d, i);
        double const b = 1.0 - a;
        C* px = reinterpret_cast<C*>(flat.row(y));
        for (int x = 0; x < flat.width; ++x, px += 4)
            for (int k = 0; k < 3; ++k) {
                C& c = px[ch[k]];
                c = saturatingCast<C>(
                    P::clamp(saturatingCast<V>(color[k] * a + c * b + P::halfRoundPixel())));
            }
    }
}
