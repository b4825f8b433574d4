#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(ARGB32) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_ARGB32), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
