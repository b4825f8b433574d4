#pragma once
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

// A stand-alone host of one frame over an input and an output image. Parameters come from a
// ParameterStore declared with the catalogue; getFXPLUGHost answers so that the core reads them.
class MemoryHost : public PluginHost_API, public PluginFXPLUGFace {
  public:
    MemoryHost(MemoryImage* input, MemoryImage* output);
    ~MemoryHost() override;

    // What the test chooses.
    ParameterStore params;
    double frame = 0.0;
    unsigned hostIdx = 0; // 0 Final Cut Pro, 1 Motion, 2 Final Cut Express
    double scaleX = 1.0, scaleY = 1.0;
    bool qualityHigh = true;
    bool answerFXPLUG = true, answerAE = false, answerAVX1 = false, answerAVX2 = false,
         answerGASKET = false;
    long applicationCode = 0;
    int failAllocMemoryAt = 0; // the Nth call (from 1) fails; 0 never
    int failAllocRasterAt = 0;
    bool ignoreComposite = false;

    // What the test can observe.
    int allocMemoryCalls = 0, allocRasterCalls = 0;
    int liveBlocks = 0;  // allocMemory minus deallocMemory
    int lockBalance = 0; // lockMemory minus unlockMemory

    // PluginFXPLUGFace
    FxParameterCreationAPI* creationAPI() override { return &params; }
    FxParameterRetrievalAPI* retrievalAPI() override { return &params; }
    double getFrame() override { return frame; }
    unsigned hostIndex() override { return hostIdx; }

    // PluginHost_API
    int getOutputWidth() override;
    int getOutputHeight() override;
    int fillOutput() override;
    int fill(PluginRaster_API* raster) override;
    using PluginHost_API::fill;
    int copyInputToOutput() override;
    int copy(PluginRaster_API* src, PluginRaster_API* dst) override;
    int copy(PluginRaster_API* src, PluginRaster_API* dst, TX_Rect* srcRect,
             TX_Rect* dstRect) override;
    PluginRaster_API* getInputRaster(int index) override;
    PluginRaster_API* getOutputRaster() override;
    PluginRaster_API* allocRaster(int width, int height, PluginRaster_API::PixelType type,
                                  int& error, int flags) override;
    PluginRaster_API* allocRaster(RasterInfo* info) override;
    int deallocRaster(PluginRaster_API* raster) override;
    bool isQualityHigh() override { return qualityHigh; }
    double getScaleX() override { return scaleX; }
    double getScaleY() override { return scaleY; }
    double geAspectRatio(PluginRaster_API* raster) override;
    void* getAEHost() override { return answerAE ? this : nullptr; }
    void* getAVX1Host() override { return answerAVX1 ? this : nullptr; }
    void* getAVX2Host() override { return answerAVX2 ? this : nullptr; }
    PluginFXPLUGFace* getFXPLUGHost() override { return answerFXPLUG ? this : nullptr; }
    void* getSPARKHost() override { return nullptr; }
    void* getGASKETHost() override { return answerGASKET ? this : nullptr; }
    int getInputRasterInfo(int index, RasterInfo* info) override;
    int getOutputRasterInfo(RasterInfo* info) override;
    int getRasterInfo(PluginRaster_API* raster, RasterInfo* info) override;
    void* allocMemory(int size) override;
    void* lockMemory(void* handle) override;
    void unlockMemory(void* handle) override;
    void deallocMemory(void* handle) override;
    bool hasGlobalSeqData() override { return false; }
    int getSourceLayerDimensions(int& width, int& height) override;
    int getTimeScale() override { return 3000; }
    int getCurrentTime() override { return int(100.0 * frame); }
    int getTimeStep() override { return 100; }
    int getFrameLength() override { return 3000; }
    int getLocalTimeStep() override { return 100; }
    bool isApplication(long code) override { return code == applicationCode && code != 0; }
    int GetFloatValue(int index, int id, TimeObject const& t, double& value) override;
    int GetAngleValue(int index, int id, TimeObject const& t, double& degrees) override;
    int GetIntValue(int index, int id, TimeObject const& t, int& value) override;
    int GetUIntValue(int index, int id, TimeObject const& t, unsigned int& value) override;
    int GetBoolValue(int index, int id, TimeObject const& t, bool& value) override;
    int GetPoint2DValue(int index, int id, TimeObject const& t, double& x, double& y) override;
    int GetColorValue(int index, int id, TimeObject const& t, double& r, double& g,
                      double& b) override;
    void setOutputRaster(PluginRaster_API* raster) override { m_outputOverride = raster; }
    bool ignoreNormalComposite() override { return ignoreComposite; }

  private:
    MemoryImage* m_input;
    MemoryImage* m_output;
    PluginRaster_API* m_outputOverride = nullptr;
};
