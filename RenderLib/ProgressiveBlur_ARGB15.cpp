#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(ARGB15) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_ARGB15), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
