#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(ARGB8) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_ARGB8), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
