#include "fxplug/PluginRaster_FXPLUG_Impl.h"

#include "platform/FxBitmap.h"

PluginRaster_FXPLUG_Impl::~PluginRaster_FXPLUG_Impl() {
    delete m_raster.info;
}

int PluginRaster_FXPLUG_Impl::getWidth() {
    return m_raster.info ? m_raster.info->width : int(m_raster.bitmap->width());
}

int PluginRaster_FXPLUG_Impl::getHeight() {
    return m_raster.info ? m_raster.info->height : int(m_raster.bitmap->height());
}

int PluginRaster_FXPLUG_Impl::getRowBytes() {
    return m_raster.info ? m_raster.info->rowBytes : int(m_raster.bitmap->rowBytes());
}

PluginRaster_API::PixelType PluginRaster_FXPLUG_Impl::getPixelType() {
    // A scratch record tells its depth only by pixel size, and so reports 16 bits as 14 and
    // float as 8; nothing downstream reads it but allocRaster, which ignores it.
    if (m_raster.info) return m_raster.info->pixelBytes == 8 ? PIXEL_14 : PIXEL_8;
    switch (m_raster.bitmap->imageInfo().depth) {
    case 16:
        return PIXEL_16;
    case 32:
        return PIXEL_32;
    default:
        return PIXEL_8;
    }
}
