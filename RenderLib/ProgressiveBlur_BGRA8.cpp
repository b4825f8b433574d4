#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(BGRA8) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_BGRA8), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
