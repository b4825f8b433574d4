#pragma once
#include "fxplug/HostIndex.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "host/PluginHost_API.h"
#include "inprocess/ParameterStore.h"

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

// A raster object over a picture's record; the pixels stay the picture's.
class MemoryRaster : public PluginRaster_API {
  public:
    explicit MemoryRaster(PluginRasterInfo info) : m_info(info) {}
    int getWidth() override { return m_info.width; }
    int getHeight() override { return m_info.height; }
    PixelType getPixelType() override;
    int getRowBytes() override { return m_info.rowBytes; }
    PluginRasterInfo* getRasterInfoBase() override { return &m_info; }

  private:
    PluginRasterInfo m_info;
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

// The FxPlug binding itself (parameters, scratch rasters, fill and copy are its own), on Final
// Cut Pro, over pictures in test memory of any raster format, even those no FxPlug host hands
// over (BGRA, 14 and 15 bits, YUV), which the in-process host cannot present. Adds what a test
// needs to see the core's bookkeeping: scratch memory and rasters that fail at a chosen call,
// counts of blocks and locks outstanding, host answers switched on and off.
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

    // The binding reads its input from a host bitmap; the output goes through its override.
    PluginRaster_API* getInputRaster(int) override { return new MemoryRaster(m_input->info); }
    int getInputRasterInfo(int, RasterInfo* info) override;
    int copyInputToOutput() override;
    void setOutputRaster(PluginRaster_API* raster) override {
        PluginHost_FXPLUG_Impl::setOutputRaster(raster ? raster : &m_outputRaster);
    }

    PluginRaster_API* allocRaster(int width, int height, PluginRaster_API::PixelType type,
                                  int& error, int flags) override;
    using PluginHost_FXPLUG_Impl::allocRaster;
    void* allocMemory(int size) override;
    void deallocMemory(void* handle) override;
    void* lockMemory(void* handle) override { return ++lockBalance, handle; }
    void unlockMemory(void*) override { --lockBalance; }

  private:
    MemoryImage* m_input;
    MemoryImage* m_output;
    MemoryRaster m_outputRaster;
};
