#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(RGBA32) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_RGBA32), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
