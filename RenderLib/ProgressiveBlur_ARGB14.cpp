#include "RenderLib/ProgressiveBlurFormat.h"

MIRREL_PROGRESSIVE_BLUR(ARGB14) {
    return progressiveBlurFormat(PIXEL_VALUES(PIXEL_ARGB14), host, line, radius, aspect, fadeStart,
                                 fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
