#pragma once
#include "RenderLib/ProgressiveBlur.h"
#include "Transform/Common/TX_Line2D.h"
#include "Transform/Common/TX_Macros.h"
#include "host/PluginHost_API.h"

#include <algorithm>

// The fade and the softness that grows with distance, on the flat image of the first pass.
// Rows run from the far edge to the baseline, which `bottomLine` follows. The radius is
// handed over relative to the height, so that the blur works per thousand of the smaller side.
inline int softnessStage(PluginHost_API* host, TX_Line2D& bottomLine, int H, double softness,
                         double aspect, double fadeStart, double fadeLength, int fadeType,
                         PluginRasterInfo& flat, int softnessType) {
    float const radius = float(2.0 * softness / H);
    return CommonRender_progressiveBlur(host, bottomLine, radius, float(aspect), float(fadeStart),
                                        float(fadeLength), fadeType, &flat, false, softnessType,
                                        false);
}

// The uniform blur that "Simple" softness adds to a whole sample. It runs once a frame: the
// mode turns to -1, and every later sample then blurs only inside its flat image, uniformly
// and without the fade. W and H are the frame's size, Hs the height of the host's source
// rectangle.
inline int plainSoftness(PluginHost_API* host, TX_Line2D& baseline, int W, int H, int Hs,
                         double scale, double softness, double aspect, double fadeStart,
                         double fadeLength, int fadeType, int& softnessMode,
                         PluginRasterInfo& sample) {
    double const r = Hs * softness / 2.0 / 1000.0;
    double const m = double(std::min(W, H));
    int const r2 = int(std::min(m * r, m) * scale);
    if (softnessMode != kSoftnessSimple || MACRO_NEARLY_EQUAL(r2, 0.0) != 0.0) return 0;
    softnessMode = kSoftnessUniform;
    return CommonRender_progressiveBlur(host, baseline, float(softness), float(aspect),
                                        float(fadeStart), float(fadeLength), fadeType, &sample,
                                        false, kSoftnessUniform, false);
}
