#include "support/MemoryHost.h"

#include "host/RasterOps.h"
#include "params/ParamsSetup.h"

#include <cstdlib>
#include <cstring>

namespace {
// The pixel type of each raster format number, kept apart from the core's own classification.
PluginRaster_API::PixelType pixelTypeOf(int format) {
    static int const type[21] = {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4, 0, 1, 4, 0, 0, 2, 2, 0, 4};
    return PluginRaster_API::PixelType(format >= 0 && format <= 20 ? type[format] : 0);
}
} // namespace

int bytesPerPixel(PluginRasterFormat format) {
    static int const bytes[] = {4, 8, 8, 8, 16};
    return bytes[pixelTypeOf(int(format))];
}

MemoryImage::MemoryImage(PluginRasterFormat format, int width, int height, Rows rows) {
    int pb = bytesPerPixel(format);
    int stride = width * pb + (rows == Rows::Padded ? 3 * pb + 4 : 0);
    storage.assign(std::size_t(stride) * (height > 0 ? height : 1), 0);
    info.format = format;
    info.width = width;
    info.height = height;
    info.pixelBytes = pb;
    info.isYUV = format == RF_R408 || format == RF_R4FL;
    if (rows == Rows::BottomUp) {
        info.data = storage.data() + std::size_t(stride) * (height > 0 ? height - 1 : 0);
        info.rowBytes = -stride;
    } else {
        info.data = storage.data();
        info.rowBytes = stride;
    }
}

std::vector<unsigned char> MemoryImage::bytes() const {
    std::vector<unsigned char> out;
    std::size_t n = std::size_t(info.width) * info.pixelBytes;
    out.reserve(n * info.height);
    for (int y = 0; y < info.height; ++y) out.insert(out.end(), info.row(y), info.row(y) + n);
    return out;
}

void MemoryImage::fillBytes(unsigned seed) {
    unsigned s = seed * 2654435761u + 1;
    std::size_t n = std::size_t(info.width) * info.pixelBytes;
    for (int y = 0; y < info.height; ++y)
        for (std::size_t i = 0; i < n; ++i) {
            s = s * 1664525u + 1013904223u;
            info.row(y)[i] = (unsigned char)(s >> 24);
        }
}

PluginRaster_API::PixelType MemoryRaster::getPixelType() {
    return pixelTypeOf(int(m_info.format));
}

MemoryHost::MemoryHost(MemoryImage* input, MemoryImage* output)
    : PluginHost_FXPLUG_Impl(&params, &params, nullptr, nullptr, &request, nullptr, nullptr,
                             nullptr, nullptr),
      m_input(input), m_output(output) {
    ParamsSetup(this);
}

int MemoryHost::getOutputWidth() {
    RasterInfo info;
    getOutputRasterInfo(&info);
    return info.width;
}

int MemoryHost::getOutputHeight() {
    RasterInfo info;
    getOutputRasterInfo(&info);
    return info.height;
}

int MemoryHost::fillOutput() {
    if (m_outputOverride) return fill(m_outputOverride);
    zeroRaster(m_output->info);
    return 0;
}

int MemoryHost::fill(PluginRaster_API* raster) {
    RasterInfo info;
    getRasterInfo(raster, &info);
    zeroRaster(info);
    return 0;
}

int MemoryHost::copyInputToOutput() {
    copyRaster(m_input->info, m_output->info);
    return 0;
}

int MemoryHost::copy(PluginRaster_API* src, PluginRaster_API* dst) {
    RasterInfo s, d;
    getRasterInfo(src, &s);
    getRasterInfo(dst, &d);
    copyRaster(s, d);
    return 0;
}

int MemoryHost::copy(PluginRaster_API* src, PluginRaster_API* dst, TX_Rect* sr, TX_Rect* dr) {
    RasterInfo s, d;
    getRasterInfo(src, &s);
    getRasterInfo(dst, &d);
    copyRasterRect(s, d, *sr, *dr);
    return 0;
}

PluginRaster_API* MemoryHost::getInputRaster(int) {
    return new MemoryRaster(m_input->info, false);
}

PluginRaster_API* MemoryHost::getOutputRaster() {
    if (m_outputOverride) {
        RasterInfo info;
        getRasterInfo(m_outputOverride, &info);
        return new MemoryRaster(info, false);
    }
    return new MemoryRaster(m_output->info, false);
}

PluginRaster_API* MemoryHost::allocRaster(int width, int height, PluginRaster_API::PixelType type,
                                          int& error, int) {
    ++allocRasterCalls;
    if (failAllocRasterAt == allocRasterCalls) return nullptr;
    RasterInfo info;
    getOutputRasterInfo(&info);
    // The output's layout, unless another depth is asked for: then packed A R G B of that depth.
    if (MemoryRaster(info, false).getPixelType() != type) {
        static PluginRasterFormat const byType[] = {RF_ARGB8, RF_ARGB15, RF_ARGB14, RF_ARGB16,
                                                    RF_ARGB32};
        info.format = byType[int(type) >= 0 && int(type) <= 4 ? int(type) : 0];
        info.pixelBytes = bytesPerPixel(info.format);
        info.rowBytes = 0;
    }
    info.width = width;
    info.height = height;
    if (info.rowBytes < width * info.pixelBytes) info.rowBytes = width * info.pixelBytes;
    info.data = allocMemory(info.rowBytes * height);
    error = 0;
    return new MemoryRaster(info, true);
}

PluginRaster_API* MemoryHost::allocRaster(RasterInfo* info) {
    return new MemoryRaster(*info, true);
}

int MemoryHost::deallocRaster(PluginRaster_API* raster) {
    auto* r = dynamic_cast<MemoryRaster*>(raster);
    if (!r || !r->ownsPixels()) return 1;
    deallocMemory(r->getRasterInfoBase()->data);
    r->dropPixels();
    return 0;
}

double MemoryHost::geAspectRatio(PluginRaster_API* raster) {
    RasterInfo info;
    getRasterInfo(raster, &info);
    return info.aspectRatio;
}

int MemoryHost::getInputRasterInfo(int, RasterInfo* info) {
    *info = m_input->info;
    return 0;
}

int MemoryHost::getOutputRasterInfo(RasterInfo* info) {
    if (m_outputOverride) return getRasterInfo(m_outputOverride, info);
    *info = m_output->info;
    return 0;
}

int MemoryHost::getRasterInfo(PluginRaster_API* raster, RasterInfo* info) {
    if (PluginRasterInfo* base = raster ? raster->getRasterInfoBase() : nullptr) *info = *base;
    return 0;
}

void* MemoryHost::allocMemory(int size) {
    ++allocMemoryCalls;
    if (failAllocMemoryAt == allocMemoryCalls) return nullptr;
    void* p = std::malloc(std::size_t(size < 0 ? -size : size) + 1);
    if (p) ++liveBlocks;
    return p;
}

void* MemoryHost::lockMemory(void* handle) {
    ++lockBalance;
    return handle;
}

void MemoryHost::unlockMemory(void*) {
    --lockBalance;
}

void MemoryHost::deallocMemory(void* handle) {
    if (handle) --liveBlocks;
    std::free(handle);
}
