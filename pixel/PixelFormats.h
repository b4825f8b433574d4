#pragma once
#include "host/PluginHost_API.h"

// Classification of the host's raster formats.
PluginRaster_API::PixelType convertToPixelType(PluginHost_API::RasterFormat format);
int convertToPixelDepth(PluginHost_API::RasterFormat format);
int getPixelComponentSize(PluginRaster_API::PixelType type);
void getRasterChannelOrder(PluginHost_API::RasterFormat format, int& red, int& green, int& blue,
                           int& alpha);
