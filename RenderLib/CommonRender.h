#pragma once
// Drawing one raster into another through a plane-to-plane mapping: the source rectangle becomes
// a four-sided polygon, its corners go through a matrix or are placed explicitly, the polygon is
// clipped and scan converted, and each span goes to a line function.
#include "RenderLib/TransformRecords.h"
#include "Transform/Common/TX_Mtrx44.h"
#include "host/PluginHost_API.h"
#include "pixel/FormatDispatch.h"

// Scratch raster memory through the host: allocMemory(byteCount), then lockMemory. Returns the
// memory handle (to unlock and free later), or null when either step fails. The pixel type is
// not read.
void* allocTransformRaster(PluginHost_API* host, PluginHost_API::RasterInfo& info,
                           PluginRaster_API::PixelType type, int width, int height, int byteCount,
                           int pixelBytes, PluginHost_API::RasterFormat format);

// Builds the matrix of a transform. Returns 1 for a concave or degenerate quad, else 0. Writes
// the stored quads into the settings and, for all but full 3D, zeroes translateZ, rotationX and
// rotationY of the arguments. The two int& are not touched.
int calcMatrix(TX_Mtrx44& matrix, CoreRenderArguments& args, RenderSettings& settings, int width,
               int height, int&, int&);

// Four points in stored (crossing) order, walked as the ring 0, 1, 3, 2. True when the turns
// disagree in sign, or when every corner is in line.
bool checkConcave(const double* quad);

// Dispatches on the format of the host's output raster. 0 done, 1 unknown format.
int CommonRender_CoreTransformRender(PluginHost_API* host, CoreRenderArguments& args,
                                     const PluginHost_API::RasterInfo& source,
                                     const PluginHost_API::RasterInfo& destination, bool clearDest,
                                     bool singleChannel, RenderSettings* settings,
                                     bool edgeCoverage, bool fillPolygon);

#define MIRREL_DECLARE_CORE_TRANSFORM_RENDER(FMT)                                                  \
    int CommonRender_##FMT##_CoreTransformRender(                                                  \
        PluginHost_API* host, CoreRenderArguments& args, const PluginHost_API::RasterInfo& source, \
        const PluginHost_API::RasterInfo& destination, bool clearDest, bool singleChannel,         \
        RenderSettings* settings, bool edgeCoverage, bool fillPolygon);

MIRREL_LIBRARY_FORMATS(MIRREL_DECLARE_CORE_TRANSFORM_RENDER)

#undef MIRREL_DECLARE_CORE_TRANSFORM_RENDER
