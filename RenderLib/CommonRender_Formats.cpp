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

MIRREL_DEFINE_CORE_TRANSFORM_RENDER(ARGB8)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(BGRA8)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(RGBA8)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(ARGB14)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(BGRA14)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(ARGB15)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(ARGB16)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(RGBA16)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(ARGB32)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(RGBA32)
MIRREL_DEFINE_CORE_TRANSFORM_RENDER(BGRA32)
