#pragma once
#include "fxplug/PluginRaster_FXPLUG_Impl.h"
#include "host/PluginHost_API.h"
#include "platform/FxTypes.h"

class FxAPIManager;
class FxBitmap;
class FxCustomParameterActionAPI;
class FxParameterCreationAPI;
class FxParameterRetrievalAPI;
class FxParameterSettingAPI;
class FxScratchMemoryAPI;
class FxTemporalImageAPI;

// The host of one FxPlug call, on the caller's stack: presents the host's bitmaps, render record
// and parameter interfaces to the core. Members that a call does not need are null.
class PluginHost_FXPLUG_Impl : public PluginHost_API, public PluginFXPLUGFace {
  public:
    PluginHost_FXPLUG_Impl(FxParameterCreationAPI* creation, FxParameterRetrievalAPI* retrieval,
                           FxBitmap* input, FxBitmap* output, FxRenderInfo* renderInfo,
                           FxTemporalImageAPI* temporalSource, FxParameterSettingAPI* setting,
                           void* reserved, FxCustomParameterActionAPI* action);

    // PluginFXPLUGFace
    FxParameterCreationAPI* creationAPI() override { return m_creation; }
    FxParameterRetrievalAPI* retrievalAPI() override { return m_retrieval; }
    // The render record's frame, or without a record the frame member.
    double getFrame() override;
    unsigned hostIndex() override;

    double timeToFrame(TimeObject const& t) const { return double(t.time) / double(t.timeStep); }
    // Reads the host's version from FxHostCapabilities of the manager.
    void setHostVersionNum(FxAPIManager* manager);
    // Scratch memory from the host's own store where it lends one, else from the heap.
    void setScratchMemory(FxScratchMemoryAPI* scratch) { m_scratch = scratch; }

    // Plain operations on unwrapped rasters.
    int fill(FXPLUGRaster* raster);
    int copy(FXPLUGRaster* src, FXPLUGRaster* dst);
    int getRasterInfo(FXPLUGRaster* raster, RasterInfo* info);
    // Source row 0 to destination row `firstRow`, each next one `rowStep` rows further on.
    int copy(RasterInfo* src, RasterInfo* dst, int firstRow, int rowStep);

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
    bool isQualityHigh() override;
    double getScaleX() override;
    double getScaleY() override;
    double geAspectRatio(PluginRaster_API* raster) override;
    void* getAEHost() override { return nullptr; }
    void* getAVX1Host() override { return nullptr; }
    void* getAVX2Host() override { return nullptr; }
    PluginFXPLUGFace* getFXPLUGHost() override { return this; }
    void* getSPARKHost() override { return nullptr; }
    int getInputRasterInfo(int index, RasterInfo* info) override;
    int getOutputRasterInfo(RasterInfo* info) override;
    int getRasterInfo(PluginRaster_API* raster, RasterInfo* info) override;
    int maintainEvenSize(PluginRaster_API*) override { return 0; }
    void* allocMemory(int size) override;
    void* lockMemory(void* handle) override { return handle; }
    void unlockMemory(void*) override {}
    void deallocMemory(void* handle) override;
    void showWarning(char const*) override {}
    void resetOutputOrigin(int, int, int, int) override {}
    bool hasGlobalSeqData() override { return true; }
    int getSourceLayerDimensions(int& width, int& height) override;
    int getTimeScale() override { return 3000; }
    int getCurrentTime() override;
    int getTimeStep() override { return 100; }
    int getFrameLength() override { return getTimeStep() * 30; }
    int getLocalTimeStep() override { return getTimeStep(); }
    bool isApplication(long code) override;
    int acquireSuite(char const*, int, char const*, void**) override { return 2; }
    int releaseSuite(char const*, int, char const*) override { return 2; }
    int GetFloatValue(int index, int id, TimeObject const& t, double& value) override;
    int GetAngleValue(int index, int id, TimeObject const& t, double& degrees) override;
    int GetIntValue(int index, int id, TimeObject const& t, int& value) override;
    int GetUIntValue(int index, int id, TimeObject const& t, unsigned int& value) override;
    int GetBoolValue(int index, int id, TimeObject const& t, bool& value) override;
    int GetPoint2DValue(int index, int id, TimeObject const& t, double& x, double& y) override;
    int GetColorValue(int index, int id, TimeObject const& t, double& r, double& g,
                      double& b) override;
    int progress(long, long) override { return 0; }
    PluginRaster_API* lockTemporalRaster(double frame, bool weave, bool upperFirst) override;
    int unlockTemporalRaster(PluginRaster_API* raster) override;
    bool isFieldRendering() override;
    void getFullFrameInfo(double frame, int fieldHeight, int& fullHeight, int& rowStep,
                          int& firstRow) override;
    int doAbort() override { return 0; }
    PluginRaster_API* checkoutLayer(int index, int parmId) override;
    PluginRaster_API* checkoutLayer(int index, double frame, int parmId) override;
    int checkinLayer(PluginRaster_API* raster) override;
    int getHostVersionNum(int& first, int& second) override;
    void setOutputRaster(PluginRaster_API* raster) override { m_outputOverride = raster; }
    void dependOnOrigin() override { m_flipRows = true; }
    bool hasCamera() override;
    void SetFloatValue(int index, int id, double& value) override;
    void SetPoint2DValue(int index, int id, double x, double y) override;
    void SetAngleValue(int index, int id, double& value) override;

    FxParameterSettingAPI* settingAPI() { return m_setting; }
    FxCustomParameterActionAPI* actionAPI() { return m_action; }

  private:
    // The pair behind any raster of this family; null for a foreign raster.
    static FXPLUGRaster* unwrap(PluginRaster_API* raster);
    // Copies a host bitmap into a scratch raster, its rows `rowStep` apart from `firstRow` on.
    void weaveInto(FxBitmap* bitmap, PluginRaster_API* scratch, int firstRow, int rowStep);

    FxParameterCreationAPI* m_creation;
    FxParameterRetrievalAPI* m_retrieval;
    FxBitmap* m_input;
    FxBitmap* m_output;
    FxRenderInfo* m_renderInfo;
    FxTemporalImageAPI* m_temporalSource;
    FxParameterSettingAPI* m_setting;
    double m_frame = 0.0;
    PluginRaster_API* m_outputOverride = nullptr;
    bool m_flipRows = true;
    int m_versionMajor = 0;
    int m_versionMinor = 0;
    FxScratchMemoryAPI* m_scratch = nullptr;
    void* m_reserved;
    FxCustomParameterActionAPI* m_action;
};
