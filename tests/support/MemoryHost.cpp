#include "support/MemoryHost.h"

#include "host/RasterOps.h"
#include "params/ParamsSetup.h"

#include <cstdlib>
#include <cstring>

MemoryImage::MemoryImage(PluginRasterFormat format, int width, int height, Rows rows) {
    // Bytes a pixel by format number, kept apart from the core's own classification.
    static int const bytes[21] = {4,  4, 4, 8,  8, 8, 8, 8, 8, 16, 16,
                                  16, 4, 8, 16, 4, 4, 8, 8, 4, 16};
    int const pb = bytes[int(format) >= 0 && int(format) <= 20 ? int(format) : 0];
    int const stride = width * pb + (rows == Rows::Padded ? 3 * pb + 4 : 0);
    storage.assign(std::size_t(stride) * (height > 0 ? height : 1), 0);
    info.format = format;
    info.width = width;
    info.height = height;
    info.pixelBytes = pb;
    info.isYUV = format == RF_R408 || format == RF_R4FL;
    bool const up = rows == Rows::BottomUp;
    info.data = storage.data() + (up ? std::size_t(stride) * (height > 0 ? height - 1 : 0) : 0);
    info.rowBytes = up ? -stride : stride;
}

std::vector<unsigned char> MemoryImage::bytes() const {
    std::vector<unsigned char> out;
    std::size_t n = std::size_t(info.width) * info.pixelBytes;
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
    static int const type[21] = {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 4, 0, 1, 4, 0, 0, 2, 2, 0, 4};
    return PixelType(type[int(m_info.format) >= 0 && int(m_info.format) <= 20 ? m_info.format : 0]);
}

MemoryHost::MemoryHost(MemoryImage* input, MemoryImage* output)
    : PluginHost_FXPLUG_Impl(&params, &params, nullptr, nullptr, &request, nullptr, nullptr,
                             nullptr, nullptr),
      m_input(input), m_output(output), m_outputRaster(output->info) {
    setOutputRaster(nullptr);
    ParamsSetup(this);
}

int MemoryHost::getInputRasterInfo(int, RasterInfo* info) {
    *info = m_input->info;
    return 0;
}

int MemoryHost::copyInputToOutput() {
    copyRaster(m_input->info, m_output->info);
    return 0;
}

PluginRaster_API* MemoryHost::allocRaster(int width, int height, PluginRaster_API::PixelType type,
                                          int& error, int flags) {
    if (++allocRasterCalls == failAllocRasterAt) return nullptr;
    // A host outside the FxPlug family (answerFXPLUG off) is asked for other depths than the
    // output's, and gives packed A R G B of that depth.
    if (type == m_outputRaster.getPixelType())
        return PluginHost_FXPLUG_Impl::allocRaster(width, height, type, error, flags);
    static PluginRasterFormat const byType[] = {RF_ARGB8, RF_ARGB15, RF_ARGB14, RF_ARGB16,
                                                RF_ARGB32};
    auto* info = new RasterInfo(MemoryImage(byType[type], width, 0).info);
    info->height = height;
    info->rowBytes = width * info->pixelBytes;
    info->data = allocMemory(info->rowBytes * height);
    error = 0;
    return PluginHost_FXPLUG_Impl::allocRaster(info);
}

void* MemoryHost::allocMemory(int size) {
    if (++allocMemoryCalls == failAllocMemoryAt) return nullptr;
    void* p = PluginHost_FXPLUG_Impl::allocMemory(size);
    liveBlocks += p != nullptr;
    // Scratch memory holds whatever was there before, never promised zeros.
    if (p) std::memset(p, 0x5A, std::size_t(std::abs(size)));
    return p;
}

void MemoryHost::deallocMemory(void* handle) {
    liveBlocks -= handle != nullptr;
    PluginHost_FXPLUG_Impl::deallocMemory(handle);
}
