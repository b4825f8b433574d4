#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(BGRA32) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_BGRA32), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
