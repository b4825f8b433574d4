#include "RenderLib/ProgressiveBlur.h"

int CommonRender_progressiveBlur(PluginHost_API* host, TX_Line2D& line, float radius, float aspect,
                                 float fadeStart, float fadeLength, int fadeType,
                                 PluginHost_API::RasterInfo* raster, bool alphaOnly, int mode,
                                 bool forceFloat) {
    if (forceFloat)
        return CommonRender_ARGB32_progressiveBlur(host, line, radius, aspect, fadeStart,
                                                   fadeLength, fadeType, raster, alphaOnly, mode);
    PluginHost_API::RasterInfo output;
    host->getOutputRasterInfo(&output);
    auto* fn = &CommonRender_ARGB8_progressiveBlur;
    switch (int(output.format)) {
    case 0:
        fn = &CommonRender_ARGB8_progressiveBlur;
        break;
    case 1:
        fn = &CommonRender_BGRA8_progressiveBlur;
        break;
    case 2:
        fn = &CommonRender_RGBA8_progressiveBlur;
        break;
    case 3:
        fn = &CommonRender_ARGB15_progressiveBlur;
        break;
    case 5:
        fn = &CommonRender_ARGB14_progressiveBlur;
        break;
    case 6:
        fn = &CommonRender_BGRA14_progressiveBlur;
        break;
    case 7:
        fn = &CommonRender_ARGB16_progressiveBlur;
        break;
    case 8:
        fn = &CommonRender_RGBA16_progressiveBlur;
        break;
    case 9:
        fn = &CommonRender_ARGB32_progressiveBlur;
        break;
    case 10:
        fn = &CommonRender_RGBA32_progressiveBlur;
        break;
    case 11:
        fn = &CommonRender_BGRA32_progressiveBlur;
        break;
    default:
        return 1;
    }
    return fn(host, line, radius, aspect, fadeStart, fadeLength, fadeType, raster, alphaOnly, mode);
}
