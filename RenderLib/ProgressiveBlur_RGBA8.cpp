#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(RGBA8) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_RGBA8), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
