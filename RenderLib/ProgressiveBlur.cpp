#include "RenderLib/ProgressiveBlur.h"

namespace {
using FormatBlur = int (*)(PluginHost_API*, TX_Line2D&, float, float, float, float, int,
                           PluginHost_API::RasterInfo*, bool, int);

// By RasterFormat 0 to 11; the 15-bit B G R A format has no blur.
FormatBlur const _formatBlurs[12] = {
    CommonRender_ARGB8_progressiveBlur,
    CommonRender_BGRA8_progressiveBlur,
    CommonRender_RGBA8_progressiveBlur,
    CommonRender_ARGB15_progressiveBlur,
    nullptr,
    CommonRender_ARGB14_progressiveBlur,
    CommonRender_BGRA14_progressiveBlur,
    CommonRender_ARGB16_progressiveBlur,
    CommonRender_RGBA16_progressiveBlur,
    CommonRender_ARGB32_progressiveBlur,
    CommonRender_RGBA32_progressiveBlur,
    CommonRender_BGRA32_progressiveBlur,
};
} // namespace

int CommonRender_progressiveBlur(PluginHost_API* host, TX_Line2D& line, float radius, float aspect,
                                 float fadeStart, float fadeLength, int fadeType,
                                 PluginHost_API::RasterInfo* raster, bool alphaOnly, int mode,
                                 bool forceFloat) {
    FormatBlur blur = CommonRender_ARGB32_progressiveBlur;
    if (!forceFloat) {
        // The output's format decides, not the picture's.
        PluginHost_API::RasterInfo output;
        host->getOutputRasterInfo(&output);
        int const format = int(output.format);
        blur = format >= 0 && format < 12 ? _formatBlurs[format] : nullptr;
        if (!blur) return 1;
    }
    return blur(host, line, radius, aspect, fadeStart, fadeLength, fadeType, raster, alphaOnly,
                mode);
}
