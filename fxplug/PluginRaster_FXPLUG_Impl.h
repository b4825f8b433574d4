#pragma once
#include "host/PluginHost_API.h"

class FxBitmap;

// What a raster of this family wraps: a host bitmap or a record of its own, exactly one of the two.
struct FXPLUGRaster {
    FxBitmap* bitmap;
    PluginHost_API::RasterInfo* info;
};

// A raster over a host bitmap (the pixels and the bitmap stay the host's) or over a record that
// the raster owns (the pixels of a scratch raster are freed through deallocRaster, not here).
class PluginRaster_FXPLUG_Impl : public PluginRaster_API {
  public:
    PluginRaster_FXPLUG_Impl(FxBitmap* bitmap, PluginHost_API::RasterInfo* info)
        : m_raster{bitmap, info} {}
    ~PluginRaster_FXPLUG_Impl() override;
    PluginRaster_FXPLUG_Impl(PluginRaster_FXPLUG_Impl const&) = delete;
    PluginRaster_FXPLUG_Impl& operator=(PluginRaster_FXPLUG_Impl const&) = delete;

    FXPLUGRaster* getRaster() { return &m_raster; }

    int getWidth() override;
    int getHeight() override;
    PixelType getPixelType() override;
    int getRowBytes() override;
    void* getFXPLUGRaster() override { return this; }
    PluginHost_API::RasterInfo* getRasterInfoBase() override { return nullptr; }

  private:
    FXPLUGRaster m_raster;
};
