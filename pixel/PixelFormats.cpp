#include "pixel/PixelFormats.h"

PluginRaster_API::PixelType convertToPixelType(PluginHost_API::RasterFormat format) {
    switch (format) {
    case RF_ARGB15:
    case RF_BGRA15:
    case RF_BGRA15_13:
        return PluginRaster_API::PIXEL_15;
    case RF_ARGB14:
    case RF_BGRA14:
    case RF_BGRA14_17:
    case RF_BGRA14_18:
        return PluginRaster_API::PIXEL_14;
    case RF_ARGB16:
    case RF_RGBA16:
        return PluginRaster_API::PIXEL_16;
    case RF_ARGB32:
    case RF_RGBA32:
    case RF_BGRA32:
    case RF_BGRA32_14:
    case RF_R4FL:
        return PluginRaster_API::PIXEL_32;
    default:
        return PluginRaster_API::PIXEL_8;
    }
}

int convertToPixelDepth(PluginHost_API::RasterFormat format) {
    static int const depthByType[] = {8, 15, 14, 16, 32};
    return depthByType[convertToPixelType(format)];
}

int getPixelComponentSize(PluginRaster_API::PixelType type) {
    static int const compSizes[] = {8, 15, 14, 16, 32};
    return compSizes[type];
}

void getRasterChannelOrder(PluginHost_API::RasterFormat format, int& red, int& green, int& blue,
                           int& alpha) {
    switch (format) {
    case RF_ARGB8:
    case RF_ARGB15:
    case RF_ARGB14:
    case RF_ARGB16:
    case RF_ARGB32:
    case RF_R408:
    case RF_R4FL:
        red = 1, green = 2, blue = 3, alpha = 0;
        break;
    case RF_RGBA8:
    case RF_RGBA16:
    case RF_RGBA32:
        red = 0, green = 1, blue = 2, alpha = 3;
        break;
    case RF_BGRA8:
    case RF_BGRA15:
    case RF_BGRA14:
    case RF_BGRA32:
    case RF_BGRA8_12:
    case RF_BGRA15_13:
    case RF_BGRA32_14:
    case RF_BGRA8_15:
    case RF_BGRA8_16:
    case RF_BGRA14_17:
    case RF_BGRA14_18:
        red = 2, green = 1, blue = 0, alpha = 3;
        break;
    default:
        break; // unknown formats leave the outputs as they were
    }
}
