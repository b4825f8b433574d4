#include "pixel/PixelFormats.h"

PluginRaster_API::PixelType convertToPixelType(PluginHost_API::RasterFormat format) {
    switch (int(format)) {
    case 3:
    case 4:
    case 13:
        return PluginRaster_API::PixelType(1);
    case 5:
    case 6:
    case 17:
    case 18:
        return PluginRaster_API::PixelType(2);
    case 7:
    case 8:
        return PluginRaster_API::PixelType(3);
    case 9:
    case 10:
    case 11:
    case 14:
    case 20:
        return PluginRaster_API::PixelType(4);
    default:
        return PluginRaster_API::PixelType(0);
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
    switch (int(format)) {
    case 0:
    case 3:
    case 5:
    case 7:
    case 9:
    case 19:
    case 20:
        red = 1, green = 2, blue = 3, alpha = 0;
        break;
    case 2:
    case 8:
    case 10:
        red = 0, green = 1, blue = 2, alpha = 3;
        break;
    case 1:
    case 4:
    case 6:
    case 11:
    case 12:
    case 13:
    case 14:
    case 15:
    case 16:
    case 17:
    case 18:
        red = 2, green = 1, blue = 0, alpha = 3;
        break;
    default:
        break; // unknown formats leave the outputs as they were
    }
}
