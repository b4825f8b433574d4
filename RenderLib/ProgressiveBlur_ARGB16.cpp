#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(ARGB16) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_ARGB16), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
