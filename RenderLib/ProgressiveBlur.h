#pragma once
#include "RenderLib/SoftnessMode.h"
#include "Transform/Common/TX_Line2D.h"
#include "host/PluginHost_API.h"
#include "pixel/FormatDispatch.h"

// The one door to all blur and to the fade, by SoftnessMode: Simple and ProgressiveLinear fade,
// then blur with a radius that falls linearly from row 0 to the last row; ProgressiveSquare the
// same with a square ramp; MipMap fades, then mixes a pyramid of blurred levels by the distance
// from `line`; Uniform and UniformAlpha blur all channels or only alpha, without fade;
// ColumnRamp and RowRamp blur columns or rows with a radius running from `radius` to `aspect`.
// alphaOnly: the picture holds one channel value a pixel. forceFloat: treat the picture as
// ARGB float whatever the output's format. `rows`, where given, are the only rows read
// afterwards, at softness 0 in a mode whose every row comes out of its own values alone: the
// others may be left as they are. 0 on success, 1 on failure.
struct BlurRows {
    int first = 0;
    int end = 1 << 30;
};
int CommonRender_progressiveBlur(PluginHost_API* host, TX_Line2D& line, float radius, float aspect,
                                 float fadeStart, float fadeLength, int fadeType,
                                 PluginHost_API::RasterInfo* raster, bool alphaOnly, int mode,
                                 bool forceFloat, BlurRows rows = {});

#define MIRREL_PROGRESSIVE_BLUR(NAME)                                                              \
    int CommonRender_##NAME##_progressiveBlur(PluginHost_API* host, TX_Line2D& line, float radius, \
                                              float aspect, float fadeStart, float fadeLength,     \
                                              int fadeType, PluginHost_API::RasterInfo* raster,    \
                                              bool alphaOnly, int mode, BlurRows rows)
#define MIRREL_DECLARE_PROGRESSIVE_BLUR(NAME) MIRREL_PROGRESSIVE_BLUR(NAME);
MIRREL_LIBRARY_FORMATS(MIRREL_DECLARE_PROGRESSIVE_BLUR)
#undef MIRREL_DECLARE_PROGRESSIVE_BLUR
