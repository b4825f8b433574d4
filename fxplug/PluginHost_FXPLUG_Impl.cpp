#include "fxplug/PluginHost_FXPLUG_Impl.h"

#include "fxplug/HostIndex.h"
#include "host/RasterOps.h"
#include "host/SaturatingCast.h"
#include "platform/FxAPIManager.h"
#include "platform/FxBitmap.h"
#include "platform/FxHostCapabilities.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// Host bitmaps reach the core only through a raster object of this family, built here on the
// stack when an operation starts from a bitmap.
FXPLUGRaster pairOf(FxBitmap* bitmap) {
    return FXPLUGRaster{bitmap, nullptr};
}

} // namespace

PluginHost_FXPLUG_Impl::PluginHost_FXPLUG_Impl(FxParameterCreationAPI* creation,
                                               FxParameterRetrievalAPI* retrieval, FxBitmap* input,
                                               FxBitmap* output, FxRenderInfo* renderInfo,
                                               FxTemporalImageAPI* temporalSource,
                                               FxParameterSettingAPI* setting, void* reserved,
                                               FxCustomParameterActionAPI* action)
    : m_creation(creation), m_retrieval(retrieval), m_input(input), m_output(output),
      m_renderInfo(renderInfo), m_temporalSource(temporalSource), m_setting(setting),
      m_reserved(reserved), m_action(action) {}

double PluginHost_FXPLUG_Impl::getFrame() {
    return m_renderInfo ? m_renderInfo->frame : m_frame;
}

unsigned PluginHost_FXPLUG_Impl::hostIndex() {
    return g_hostIndex;
}

void PluginHost_FXPLUG_Impl::setHostVersionNum(FxAPIManager* manager) {
    int version = 0;
    if (NSClass const* cls = NSClassFromString("FxHostCapabilities"))
        if (auto* caps = dynamic_cast<FxHostCapabilities*>(cls->alloc())) {
            version = caps->initWithAPIManager(manager)->hostVersionNumber();
            caps->release();
        }
    if (version != 0) {
        m_versionMajor = (version >> 24) & 0xF;
        m_versionMinor = (version >> 20) & 0xF;
    }
}

int PluginHost_FXPLUG_Impl::getHostVersionNum(int& first, int& second) {
    first = m_versionMinor;
    second = m_versionMajor;
    return 1;
}

FXPLUGRaster* PluginHost_FXPLUG_Impl::unwrap(PluginRaster_API* raster) {
    auto* impl =
        raster ? static_cast<PluginRaster_FXPLUG_Impl*>(raster->getFXPLUGRaster()) : nullptr;
    return impl ? impl->getRaster() : nullptr;
}

// ---- Raster records ----------------------------------------------------------------------------

int PluginHost_FXPLUG_Impl::getRasterInfo(FXPLUGRaster* raster, RasterInfo* info) {
    if (raster->info) {
        *info = *raster->info;
        return 0;
    }
    FxBitmap* bitmap = raster->bitmap;
    FxImageInfo image = bitmap->imageInfo();
    bool motion = hostIndex() == kHostMotion;
    RasterFormat format;
    bool yuv = false;
    switch (image.depth) {
    case 8:
        if (image.pixelFormat == kFxPixelFormat_ARGB)
            format = RF_ARGB8;
        else if (image.pixelFormat == kFxPixelFormat_RGBA)
            format = motion ? RF_ARGB8 : RF_RGBA8;
        else if (image.pixelFormat == kFxPixelFormat_R408)
            format = RF_R408, yuv = true;
        else
            return 0;
        break;
    case 16:
        if (image.pixelFormat == kFxPixelFormat_ARGB)
            format = RF_ARGB16;
        else if (image.pixelFormat == kFxPixelFormat_RGBA)
            format = motion ? RF_ARGB16 : RF_RGBA16;
        else
            return 0;
        break;
    case 32:
        if (image.pixelFormat == kFxPixelFormat_ARGB)
            format = RF_ARGB32;
        else if (image.pixelFormat == kFxPixelFormat_RGBA)
            format = motion ? RF_ARGB32 : RF_RGBA32;
        else if (image.pixelFormat == kFxPixelFormat_R4fl)
            format = RF_R4FL, yuv = true;
        else
            return 0;
        break;
    default:
        return 0;
    }
    info->data = bitmap->dataPtr();
    info->format = format;
    info->width = int32_t(bitmap->width());
    info->height = int32_t(bitmap->height());
    info->rowBytes = int32_t(bitmap->rowBytes());
    info->pixelBytes = int32_t(bitmap->bytes() * 4);
    info->aspectRatio = float(bitmap->pixelAspect());
    info->heightRatio = 1.0f;
    info->isYUV = yuv;
    // Motion's rows run bottom-up: the core gets a top-down view of them without copying.
    if (motion && m_flipRows) {
        info->data = info->row(info->height - 1);
        info->rowBytes = -info->rowBytes;
    }
    return 0;
}

int PluginHost_FXPLUG_Impl::getRasterInfo(PluginRaster_API* raster, RasterInfo* info) {
    if (RasterInfo* base = raster->getRasterInfoBase()) {
        *info = *base;
        return 0;
    }
    FXPLUGRaster* pair = unwrap(raster);
    return pair ? getRasterInfo(pair, info) : 0;
}

int PluginHost_FXPLUG_Impl::getInputRasterInfo(int, RasterInfo* info) {
    FXPLUGRaster pair = pairOf(m_input);
    return getRasterInfo(&pair, info);
}

int PluginHost_FXPLUG_Impl::getOutputRasterInfo(RasterInfo* info) {
    if (m_outputOverride) return getRasterInfo(m_outputOverride, info);
    FXPLUGRaster pair = pairOf(m_output);
    return getRasterInfo(&pair, info);
}

double PluginHost_FXPLUG_Impl::geAspectRatio(PluginRaster_API* raster) {
    // The pixel aspect of host bitmaps is deliberately not applied.
    FXPLUGRaster* pair = unwrap(raster);
    return pair && pair->info ? double(pair->info->aspectRatio) : 1.0;
}

// ---- Sizes, fill and copy
// --------------------------------------------------------------------------

int PluginHost_FXPLUG_Impl::getOutputWidth() {
    return m_outputOverride ? m_outputOverride->getWidth() : int(m_output->width());
}

int PluginHost_FXPLUG_Impl::getOutputHeight() {
    return m_outputOverride ? m_outputOverride->getHeight() : int(m_output->height());
}

int PluginHost_FXPLUG_Impl::fill(FXPLUGRaster* raster) {
    RasterInfo info;
    getRasterInfo(raster, &info);
    zeroRaster(info);
    return 0;
}

int PluginHost_FXPLUG_Impl::fill(PluginRaster_API* raster) {
    RasterInfo info;
    getRasterInfo(raster, &info);
    FXPLUGRaster pair{nullptr, &info};
    return fill(&pair);
}

int PluginHost_FXPLUG_Impl::fillOutput() {
    if (m_outputOverride) return fill(m_outputOverride);
    FXPLUGRaster pair = pairOf(m_output);
    return fill(&pair);
}

int PluginHost_FXPLUG_Impl::copy(FXPLUGRaster* src, FXPLUGRaster* dst) {
    RasterInfo s, d;
    getRasterInfo(src, &s);
    getRasterInfo(dst, &d);
    copyRaster(s, d);
    return 0;
}

int PluginHost_FXPLUG_Impl::copy(PluginRaster_API* src, PluginRaster_API* dst) {
    RasterInfo s, d;
    getRasterInfo(src, &s);
    getRasterInfo(dst, &d);
    FXPLUGRaster sp{nullptr, &s}, dp{nullptr, &d};
    return copy(&sp, &dp);
}

int PluginHost_FXPLUG_Impl::copyInputToOutput() {
    FXPLUGRaster in = pairOf(m_input), out = pairOf(m_output);
    return copy(&in, &out);
}

int PluginHost_FXPLUG_Impl::copy(PluginRaster_API* src, PluginRaster_API* dst, TX_Rect* sr,
                                 TX_Rect* dr) {
    RasterInfo s, d;
    getRasterInfo(src, &s);
    getRasterInfo(dst, &d);
    copyRasterRect(s, d, *sr, *dr);
    return 0;
}

int PluginHost_FXPLUG_Impl::copy(RasterInfo* src, RasterInfo* dst, int firstRow, int rowStep) {
    std::size_t n = std::size_t(std::min(src->width, dst->width)) * dst->pixelBytes;
    for (int y = 0, to = firstRow; y < src->height && to >= 0 && to < dst->height;
         ++y, to += rowStep)
        std::memcpy(dst->row(to), src->row(y), n);
    return 0;
}

// ---- Raster objects and memory
// ---------------------------------------------------------------------

PluginRaster_API* PluginHost_FXPLUG_Impl::getInputRaster(int) {
    return new PluginRaster_FXPLUG_Impl(m_input, nullptr);
}

PluginRaster_API* PluginHost_FXPLUG_Impl::getOutputRaster() {
    if (m_outputOverride) {
        auto* info = new RasterInfo;
        getRasterInfo(m_outputOverride, info);
        return new PluginRaster_FXPLUG_Impl(nullptr, info);
    }
    return new PluginRaster_FXPLUG_Impl(m_output, nullptr);
}

PluginRaster_API* PluginHost_FXPLUG_Impl::allocRaster(int width, int height,
                                                      PluginRaster_API::PixelType, int& error,
                                                      int) {
    auto info = std::make_unique<RasterInfo>(); // kept if the scratch memory throws
    getOutputRasterInfo(info.get());
    info->width = width;
    info->height = height;
    // Scratch rasters run top-down, keeping a wider stride of the output's.
    if (info->rowBytes < width * info->pixelBytes) info->rowBytes = width * info->pixelBytes;
    info->data = allocMemory(info->rowBytes * height);
    error = 0;
    return new PluginRaster_FXPLUG_Impl(nullptr, info.release());
}

PluginRaster_API* PluginHost_FXPLUG_Impl::allocRaster(RasterInfo* info) {
    return new PluginRaster_FXPLUG_Impl(nullptr, info);
}

int PluginHost_FXPLUG_Impl::deallocRaster(PluginRaster_API* raster) {
    FXPLUGRaster* pair = unwrap(raster);
    if (!pair) return 0;
    if (!pair->info) return 1;
    deallocMemory(pair->info->data);
    pair->info->data = nullptr;
    return 0;
}

void* PluginHost_FXPLUG_Impl::allocMemory(int size) {
    std::size_t const bytes = std::size_t(std::abs(size));
    return m_scratch ? m_scratch->allocateBlock(bytes) : std::malloc(bytes);
}

void PluginHost_FXPLUG_Impl::deallocMemory(void* handle) {
    m_scratch ? m_scratch->releaseBlock(handle) : std::free(handle);
}

// ---- The request
// ------------------------------------------------------------------------------------

bool PluginHost_FXPLUG_Impl::isQualityHigh() {
    return m_renderInfo && m_renderInfo->qualityLevel == 2;
}

double PluginHost_FXPLUG_Impl::getScaleX() {
    return m_renderInfo ? m_renderInfo->scaleX : 1.0;
}

double PluginHost_FXPLUG_Impl::getScaleY() {
    if (!m_renderInfo) return 1.0;
    return m_renderInfo->field != 0 ? m_renderInfo->scaleY / 2.0 : m_renderInfo->scaleY;
}

bool PluginHost_FXPLUG_Impl::isFieldRendering() {
    return m_renderInfo && m_renderInfo->field != 0;
}

int PluginHost_FXPLUG_Impl::getSourceLayerDimensions(int& width, int& height) {
    if (m_outputOverride) {
        width = m_outputOverride->getWidth();
        height = m_outputOverride->getHeight();
        return 0;
    }
    width = int(double(m_input->width()) / m_renderInfo->scaleX);
    height = int(double(m_input->height()) / m_renderInfo->scaleY);
    return 0;
}

int PluginHost_FXPLUG_Impl::getCurrentTime() {
    return saturatingCast(double(getTimeStep()) * getFrame());
}

bool PluginHost_FXPLUG_Impl::isApplication(long code) {
    if (hostIndex() == kHostFinalCutPro) return code == fourCC("FCPR");
    if (hostIndex() == kHostMotion) return code == fourCC("MOTN");
    return false;
}

bool PluginHost_FXPLUG_Impl::hasCamera() {
    return isApplication(fourCC("MOTN"));
}

void PluginHost_FXPLUG_Impl::getFullFrameInfo(double frame, int fieldHeight, int& fullHeight,
                                              int& rowStep, int& firstRow) {
    if (!isFieldRendering()) {
        fullHeight = fieldHeight;
        rowStep = 1;
        firstRow = 0;
        return;
    }
    fullHeight = fieldHeight * 2;
    rowStep = 2;
    firstRow = frame >= std::floor(frame) + 0.49 ? 1 : 0;
}
