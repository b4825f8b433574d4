#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(BGRA14) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_BGRA14), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
