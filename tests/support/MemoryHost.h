#pragma once
#include "fxplug/HostIndex.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "host/PluginHost_API.h"
#include "inprocess/ParameterStore.h"

#include <memory>
#include <vector>

// A picture over owned memory, in any raster format, with the row layout a test asks for.
struct MemoryImage {
    enum class Rows { TopDown, Padded, BottomUp };

    std::vector<unsigned char> storage;
    PluginRasterInfo info;

    MemoryImage() = default;
    MemoryImage(PluginRasterFormat format, int width, int height, Rows rows = Rows::TopDown);
    MemoryImage(MemoryImage const&) = delete;
    MemoryImage& operator=(MemoryImage const&) = delete;

    template <class T> T* pixel(int x, int y) {
        return reinterpret_cast<T*>(info.row(y) + std::ptrdiff_t(x) * info.pixelBytes);
    }
    // Bytes of the visible rows only, top row first.
    std::vector<unsigned char> bytes() const;
    void fillBytes(unsigned seed); // deterministic noise in every byte of the visible rows
};

int bytesPerPixel(PluginRasterFormat format);

// A raster object over a RasterInfo; owns its record and, for scratch rasters, its pixels
// (freed through the host's deallocRaster).
class MemoryRaster : public PluginRaster_API {
  public:
    MemoryRaster(PluginRasterInfo info, bool ownsPixels) : m_info(info), m_ownsPixels(ownsPixels) {}
    int getWidth() override { return m_info.width; }
    int getHeight() override { return m_info.height; }
    PixelType getPixelType() override;
    int getRowBytes() override { return m_info.rowBytes; }
    PluginRasterInfo* getRasterInfoBase() override { return &m_info; }
    bool ownsPixels() const { return m_ownsPixels; }
    void dropPixels() { m_info.data = nullptr, m_ownsPixels = false; }

  private:
    PluginRasterInfo m_info;
    bool m_ownsPixels;
};

// What a test chooses of the frame besides the pictures: the parameters, and the render request
// (frame, proxy scale, quality). A base of MemoryHost so that they exist before the binding reads
// them.
struct MemoryHostChoices {
    ParameterStore params;
    FxRenderInfo request;
    double& frame = request.frame;
    double& scaleX = request.scaleX;
    double& scaleY = request.scaleY;
};

// The FxPlug binding's host over pictures in test memory, in any raster format, with the faults
// and bookkeeping the in-process host does not offer: scratch memory and rasters that fail at a
// chosen call, counts of blocks and locks outstanding, host answers switched on and off. The
// parameters, their times and units are the binding's own (read from a ParameterStore declared
// with the catalogue), on Final Cut Pro.
class MemoryHost : public MemoryHostChoices, public PluginHost_FXPLUG_Impl {
  public:
    MemoryHost(MemoryImage* input, MemoryImage* output);

    bool answerFXPLUG = true, answerAE = false;
    int failAllocMemoryAt = 0; // the Nth call (from 1) fails; 0 never
    int failAllocRasterAt = 0;

    // What the test can observe.
    int allocMemoryCalls = 0, allocRasterCalls = 0;
    int liveBlocks = 0;  // allocMemory minus deallocMemory
    int lockBalance = 0; // lockMemory minus unlockMemory

    unsigned hostIndex() override { return kHostFinalCutPro; }
    PluginFXPLUGFace* getFXPLUGHost() override { return answerFXPLUG ? this : nullptr; }
    void* getAEHost() override { return answerAE ? this : nullptr; }

    int getOutputWidth() override;
    int getOutputHeight() override;
    int fillOutput() override;
    int fill(PluginRaster_API* raster) override;
    using PluginHost_API::fill;
    int copyInputToOutput() override;
    int copy(PluginRaster_API* src, PluginRaster_API* dst) override;
    int copy(PluginRaster_API* src, PluginRaster_API* dst, TX_Rect* srcRect,
             TX_Rect* dstRect) override;
    using PluginHost_FXPLUG_Impl::copy;
    PluginRaster_API* getInputRaster(int index) override;
    PluginRaster_API* getOutputRaster() override;
    PluginRaster_API* allocRaster(int width, int height, PluginRaster_API::PixelType type,
                                  int& error, int flags) override;
    PluginRaster_API* allocRaster(RasterInfo* info) override;
    int deallocRaster(PluginRaster_API* raster) override;
    double geAspectRatio(PluginRaster_API* raster) override;
    int getInputRasterInfo(int index, RasterInfo* info) override;
    int getOutputRasterInfo(RasterInfo* info) override;
    int getRasterInfo(PluginRaster_API* raster, RasterInfo* info) override;
    using PluginHost_FXPLUG_Impl::getRasterInfo;
    void* allocMemory(int size) override;
    void* lockMemory(void* handle) override;
    void unlockMemory(void* handle) override;
    void deallocMemory(void* handle) override;
    void setOutputRaster(PluginRaster_API* raster) override { m_outputOverride = raster; }

  private:
    MemoryImage* m_input;
    MemoryImage* m_output;
    PluginRaster_API* m_outputOverride = nullptr;
};
