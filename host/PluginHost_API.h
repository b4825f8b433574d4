#pragma once
#include "host/PluginFXPLUGFace.h"
#include "host/PluginPath_API.h"
#include "host/PluginRaster_API.h"
#include "host/PluginUpdate_API.h"
#include "host/RasterInfo.h"
#include "host/TX_Rect.h"

struct TX_FloatMatrix;

// An application's four-character code, as isApplication takes it.
constexpr long fourCC(char const (&c)[5]) {
    return long(c[0]) << 24 | long(c[1]) << 16 | long(c[2]) << 8 | long(c[3]);
}

// The abstract host of one frame. Every parameter operation takes the parameter's index in the
// generic numbering of other host families, then its catalogue id.
class PluginHost_API {
  public:
    using RasterFormat = PluginRasterFormat;
    using RasterInfo = PluginRasterInfo;

    // A time in host ticks: time, ticks a frame, ticks a second.
    struct TimeObject {
        long time;
        long timeStep;
        long timeScale;
        TimeObject(long t, long step, long scale) : time(t), timeStep(step), timeScale(scale) {}
        double getTime() const { return double(time); }
        long time_step() const { return timeStep; }
    };

    virtual ~PluginHost_API() = default;

    virtual int getOutputWidth() = 0;
    virtual int getOutputHeight() = 0;
    virtual int getOutputOriginX() { return 0; }
    virtual int getOutputOriginY() { return 0; }
    virtual int fillOutput() = 0;
    virtual int fill(PluginRaster_API* raster) = 0;
    virtual int fill(PluginRaster_API* raster, TX_Rect* rect);
    virtual int copyInputToOutput() = 0;
    virtual int copy(PluginRaster_API* src, PluginRaster_API* dst) = 0;
    virtual int copy(PluginRaster_API* src, PluginRaster_API* dst, TX_Rect* srcRect,
                     TX_Rect* dstRect) = 0;
    virtual PluginRaster_API* getInputRaster(int index) = 0;
    virtual PluginRaster_API* getOutputRaster() = 0;
    virtual PluginRaster_API* allocRaster(int width, int height, PluginRaster_API::PixelType type,
                                          int& error, int flags) = 0;
    virtual PluginRaster_API* allocRaster(RasterInfo* info) = 0;
    virtual int deallocRaster(PluginRaster_API* raster) = 0;
    virtual bool isQualityHigh() = 0;
    virtual double getScaleX() = 0;
    virtual double getScaleY() = 0;
    virtual double geAspectRatio(PluginRaster_API* raster) = 0;
    virtual void* getAEHost() = 0;
    virtual void* getAVX1Host() = 0;
    virtual void* getAVX2Host() = 0;
    virtual PluginFXPLUGFace* getFXPLUGHost() = 0;
    virtual void* getSPARKHost() = 0;
    virtual void* getOFXHost() { return nullptr; }
    virtual void* getGASKETHost() { return nullptr; }
    virtual void* getRTFXHost() { return nullptr; }
    virtual void* getVEGASHost() { return nullptr; }
    virtual int getInputRasterInfo(int index, RasterInfo* info) = 0;
    virtual int getOutputRasterInfo(RasterInfo* info) = 0;
    virtual int getRasterInfo(PluginRaster_API* raster, RasterInfo* info) = 0;

    // The host may supply its own mathematics.
    virtual double math_sqrt(double x);
    virtual float math_sqrt(float x);
    virtual double math_floor(double x);
    virtual float math_floor(float x);
    virtual double math_exp(double x);
    virtual float math_exp(float x);
    virtual double math_atan2(double y, double x);
    virtual float math_atan2(float y, float x);
    virtual double math_fabs(double x);
    virtual float math_fabs(float x);
    virtual double math_sin(double x);
    virtual float math_sin(float x);
    virtual double math_cos(double x);
    virtual float math_cos(float x);
    virtual double math_fmod(double x, double y);
    virtual float math_fmod(float x, float y);
    virtual double math_pow(double x, double y);
    virtual float math_pow(float x, float y);
    virtual float math_ceil(float x);
    virtual double math_ceil(double x);
    virtual float math_log(float x);
    virtual double math_log(double x);

    virtual int maintainEvenSize(PluginRaster_API*) { return 0; }
    virtual void* allocMemory(int size) = 0;
    virtual void* lockMemory(void* handle) = 0;
    virtual void unlockMemory(void* handle) = 0;
    virtual void deallocMemory(void* handle) = 0;
    virtual void showWarning(char const*) {}
    virtual void resetOutputOrigin(int, int, int, int) {}
    virtual bool hasGlobalSeqData() = 0;
    virtual void* loadDLL(char const*) { return nullptr; }
    virtual void* unloadDLL() { return nullptr; }
    virtual void* getDLL() { return nullptr; }
    virtual int getSourceLayerDimensions(int& width, int& height) = 0;
    virtual int getTimeScale() = 0;
    virtual int getCurrentTime() = 0;
    virtual int getTimeStep() = 0;
    virtual int getFrameLength() = 0;
    virtual int getLocalTimeStep() = 0;
    // `code` is an application's four-character code, as fourCC("FXTC") makes it.
    virtual bool isApplication(long code) = 0;
    virtual void* getUserData() { return m_userData; }
    virtual void* setUserData(void* data) {
        m_userData = data;
        return data;
    }
    virtual void getOrigin(int& x, int& y) {
        x = m_originX;
        y = m_originY;
    }
    virtual void setOrigin(int x, int y) {
        m_originX = x;
        m_originY = y;
    }
    virtual int acquireSuite(char const*, int, char const*, void**) { return 1; }
    virtual int releaseSuite(char const*, int, char const*) { return 1; }
    virtual float getShutterAngle() { return 0.0f; }
    virtual float getShutterPhase() { return 0.0f; }
    virtual int GetFixedFloatValue(int index, int id, TimeObject const& t, double& value) {
        return GetFloatValue(index, id, t, value);
    }
    virtual int GetFloatValue(int index, int id, TimeObject const& t, double& value) = 0;
    virtual int GetAngleValue(int index, int id, TimeObject const& t, double& degrees) = 0;
    virtual int GetIntValue(int index, int id, TimeObject const& t, int& value) = 0;
    virtual int GetUIntValue(int index, int id, TimeObject const& t, unsigned int& value) = 0;
    virtual int GetBoolValue(int index, int id, TimeObject const& t, bool& value) = 0;
    virtual int GetPoint2DValue(int index, int id, TimeObject const& t, double& x, double& y) = 0;
    virtual int GetColorValue(int index, int id, TimeObject const& t, double& r, double& g,
                              double& b) = 0;
    virtual int progress(long, long) { return 0; }
    virtual PluginPath_API* getPathAPI() { return m_path; }
    virtual PluginPath_API* setPathAPI(PluginPath_API* path) {
        m_path = path;
        return path;
    }
    virtual PluginRaster_API* lockTemporalRaster(double, bool, bool) { return nullptr; }
    virtual int unlockTemporalRaster(PluginRaster_API*) { return 0; }
    virtual int blend(int, double, double, PluginRaster_API*, PluginRaster_API*) { return 1; }
    virtual bool isFieldRendering() { return false; }
    virtual void getFullFrameInfo(double, int fieldHeight, int& fullHeight, int& rowStep,
                                  int& firstRow) {
        fullHeight = fieldHeight;
        rowStep = 1;
        firstRow = 0;
    }
    virtual int doAbort() { return 0; }
    virtual PluginRaster_API* checkoutLayer(int, int) { return nullptr; }
    virtual PluginRaster_API* checkoutLayer(int, double, int) { return nullptr; }
    virtual int checkinLayer(PluginRaster_API*) { return 1; }
    virtual int setCursor(long) { return 1; }
    virtual int forceUIUpdate() { return 1; }
    virtual int getAppColor(int, int&, int&, int&) { return 1; }
    virtual int getMousePos(long&, long&) { return 1; }
    virtual int getHostVersionNum(int&, int&) { return 1; }
    virtual void setOutputRaster(PluginRaster_API* raster) = 0;
    virtual int transformWorld(PluginRaster_API*, TX_FloatMatrix*, TX_Rect*, PluginRaster_API*) {
        return 1;
    }
    virtual int getFloatColor(int, int, double*, double*, double*, TimeObject*) { return 1; }
    virtual void showAboutBox(int, void*, void*, char const*, char const*) {}
    virtual void dependOnOrigin() {}
    virtual double getHeightScale() const { return 1.0; }
    virtual bool hasCamera() { return false; }
    virtual int getLayerSize(int, int, float&, float&) { return 1; }
    virtual int setOutputSize(int, int) { return 1; }
    virtual int getFrameIncrement() { return 1; }
    virtual int getFPS(float&) { return 0; }
    virtual void refreshUi() {}
    virtual void SetFloatValue(int, int, double&) {}
    virtual void SetPoint2DValue(int, int, double, double) {}
    virtual void SetAngleValue(int, int, double&) {}
    virtual void getParamTriggerChangedEvent(int& a, int& b) { a = b = -1; }
    virtual void setEnablePropertyIndex(int, bool) {}
    virtual bool ignoreNormalComposite() { return false; }
    virtual PluginUpdate_API* makeUpdateApi() { return nullptr; }

  private:
    void* m_userData = nullptr;
    int m_originX = 0;
    int m_originY = 0;
    PluginPath_API* m_path = nullptr;
};

// Scope holder for one raster: frees the pixels if asked, then deletes the object if asked.
class PluginRasterProxy {
  public:
    PluginRasterProxy(PluginHost_API* host, PluginRaster_API* raster, bool freePixels,
                      bool deleteObject)
        : rasterImpl(raster), hostImpl(host), freePixels(freePixels), deleteObject(deleteObject) {}
    ~PluginRasterProxy() { release(); }
    PluginRasterProxy(PluginRasterProxy const&) = delete;
    PluginRasterProxy& operator=(PluginRasterProxy const&) = delete;

    void setRaster(PluginRaster_API* raster, bool free) {
        rasterImpl = raster;
        freePixels = free;
    }
    PluginRaster_API* operator->() { return rasterImpl; }
    PluginRaster_API* getImpl() { return rasterImpl; }

    // Releases now what the destructor would release, leaving the holder empty.
    void release() {
        if (freePixels) hostImpl->deallocRaster(rasterImpl);
        if (rasterImpl && deleteObject) delete rasterImpl;
        rasterImpl = nullptr;
        freePixels = false;
    }

  private:
    PluginRaster_API* rasterImpl;
    PluginHost_API* hostImpl;
    bool freePixels;
    bool deleteObject;
};
