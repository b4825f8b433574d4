#pragma once
#include "RenderLib/ProgressiveBlur.h"
#include "Transform/Common/TX_Line2D.h"
#include "Transform/Common/TX_Macros.h"
#include "effect/SampleSettings.h"
#include "host/PluginHost_API.h"

#include <algorithm>

// The fade and the softness that grows with distance, on the flat image of the first pass.
// Rows run from the far edge to the baseline, which `bottomLine` follows. The radius is
// handed over relative to the height, so that the blur works per thousand of the smaller side.
// `rows` are the rows read afterwards, where nothing reaches across rows (BlurRows).
inline int softnessStage(PluginHost_API* host, TX_Line2D& bottomLine, int H,
                         SampleSettings const& sample, PluginRasterInfo& flat, BlurRows rows = {}) {
    float const radius = float(2.0 * sample.softness / H);
    return CommonRender_progressiveBlur(
        host, bottomLine, radius, float(sample.softnessAspect), float(sample.fadeStart),
        float(sample.fadeLength), sample.fadeType, &flat, false, sample.softnessMode, false, rows);
}

// The uniform blur that "Simple" softness adds to a whole sample. True when it ran: it runs
// once a frame, and the caller then hands the later samples kSoftnessUniform, which blurs only
// inside their flat images, uniformly and without the fade. W and H are the frame's size, Hs
// the height of the host's source rectangle.
inline bool plainSoftness(PluginHost_API* host, TX_Line2D& baseline, int W, int H, int Hs,
                          double scale, SampleSettings const& s, PluginRasterInfo& sample) {
    double const r = Hs * s.softness / 2.0 / 1000.0;
    double const m = double(std::min(W, H));
    int const r2 = int(std::min(m * r, m) * scale);
    if (s.softnessMode != kSoftnessSimple || MACRO_NEARLY_EQUAL(r2, 0.0) != 0.0) return false;
    CommonRender_progressiveBlur(host, baseline, float(s.softness), float(s.softnessAspect),
                                 float(s.fadeStart), float(s.fadeLength), s.fadeType, &sample,
                                 false, kSoftnessUniform, false);
    return true;
}
