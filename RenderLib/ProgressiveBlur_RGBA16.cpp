#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(RGBA16) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_RGBA16), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
