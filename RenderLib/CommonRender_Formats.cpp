#include "RenderLib/CoreTransformRender.h"
#include "pixel/Traits.h"

#define MIRREL_DEFINE_CORE_TRANSFORM_RENDER(FMT)                                                   \
    int CommonRender_##FMT##_CoreTransformRender(                                                  \
        PluginHost_API* host, CoreRenderArguments& args, const PluginHost_API::RasterInfo& source, \
        const PluginHost_API::RasterInfo& destination, bool clearDest, bool singleChannel,         \
        RenderSettings* settings, bool edgeCoverage, bool fillPolygon) {                           \
        return coreTransformRender(PIXEL_VALUES(PIXEL_##FMT), host, args, source, destination,     \
                                   clearDest, singleChannel, settings, edgeCoverage, fillPolygon); \
    }

MIRREL_LIBRARY_FORMATS(MIRREL_DEFINE_CORE_TRANSFORM_RENDER)
