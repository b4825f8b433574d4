#include "RenderLib/ProgressiveBlur.h"

namespace {
using FormatBlur = int(PluginHost_API*, TX_Line2D&, float, float, float, float, int,
                       PluginHost_API::RasterInfo*, bool, int, BlurRows);
#define MIRREL_BLUR_INSTANCE(NAME) {RF_##NAME, CommonRender_##NAME##_progressiveBlur},
constexpr FormatInstance<FormatBlur> _instances[] = {MIRREL_LIBRARY_FORMATS(MIRREL_BLUR_INSTANCE)};
#undef MIRREL_BLUR_INSTANCE
} // namespace

int CommonRender_progressiveBlur(PluginHost_API* host, TX_Line2D& line, float radius, float aspect,
                                 float fadeStart, float fadeLength, int fadeType,
                                 PluginHost_API::RasterInfo* raster, bool alphaOnly, int mode,
                                 bool forceFloat, BlurRows rows) {
    if (forceFloat)
        return CommonRender_ARGB32_progressiveBlur(host, line, radius, aspect, fadeStart,
                                                   fadeLength, fadeType, raster, alphaOnly, mode,
                                                   rows);
    // The output's format decides, not the picture's.
    PluginHost_API::RasterInfo output;
    host->getOutputRasterInfo(&output);
    return dispatchFormat(_instances, output.format, 1, host, line, radius, aspect, fadeStart,
                          fadeLength, fadeType, raster, alphaOnly, mode, rows);
}
