#pragma once
#include "host/RasterInfo.h"

class PluginHost_API;

// The abstract raster. The core calls only getWidth, getHeight, getPixelType and the destructor;
// everything else it reads through the host's getRasterInfo.
class PluginRaster_API {
  public:
    enum PixelType { PIXEL_8 = 0, PIXEL_15 = 1, PIXEL_14 = 2, PIXEL_16 = 3, PIXEL_32 = 4 };

    virtual ~PluginRaster_API() = default;
    virtual int getWidth() = 0;
    virtual int getHeight() = 0;
    virtual PixelType getPixelType() = 0;
    virtual int getRowBytes() = 0;
    virtual void* getAERaster() { return nullptr; }
    virtual void* getAVX1Raster() { return nullptr; }
    virtual void* getAVX2Raster() { return nullptr; }
    virtual void* getFXPLUGRaster() { return nullptr; }
    virtual void* getSPARKRaster() { return nullptr; }
    virtual void* getOFXRaster() { return nullptr; }
    virtual void* getGASKETRaster() { return nullptr; }
    virtual void* getRTFXRaster() { return nullptr; }
    virtual void* getVEGASRaster() { return nullptr; }
    virtual void setHost(PluginHost_API*) {}
    virtual int getExtentTop() { return 0; }
    virtual int getExtentLeft() { return 0; }
    virtual int getExtentBottom() { return getHeight() - 1; }
    virtual int getExtentRight() { return getWidth() - 1; }
    // A raster that keeps a ready record may return it; the host then copies it.
    virtual PluginRasterInfo* getRasterInfoBase() { return nullptr; }
};
