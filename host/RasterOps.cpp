#include "host/RasterOps.h"

#include <algorithm>
#include <cstring>

void zeroRaster(PluginRasterInfo const& info) {
    std::size_t n = std::size_t(info.width) * info.pixelBytes;
    for (int y = 0; y < info.height; ++y) std::memset(info.row(y), 0, n);
}

void zeroRasterRect(PluginRasterInfo const& info, TX_Rect const& rect) {
    std::size_t n = std::size_t(rect.right - rect.left) * info.pixelBytes;
    for (int y = rect.top; y <= rect.bottom; ++y)
        std::memset(info.row(y) + std::ptrdiff_t(rect.left) * info.pixelBytes, 0, n);
}

void copyRaster(PluginRasterInfo const& src, PluginRasterInfo const& dst) {
    std::size_t n = std::size_t(std::min(src.width, dst.width)) * dst.pixelBytes;
    for (int y = 0; y < dst.height && y < src.height; ++y) std::memcpy(dst.row(y), src.row(y), n);
}

void copyRasterRect(PluginRasterInfo const& src, PluginRasterInfo const& dst, TX_Rect r,
                    TX_Rect const& dstRect) {
    if (!(r.bottom < src.height)) r.bottom = int16_t(src.height - 1);
    if (!(r.bottom < dst.height)) r.bottom = int16_t(dst.height - 1);
    std::size_t n = std::size_t(r.right - r.left) * src.pixelBytes;
    for (int y = r.top; y <= r.bottom; ++y)
        std::memcpy(dst.row(dstRect.top + y - r.top) +
                        std::ptrdiff_t(dstRect.left) * dst.pixelBytes,
                    src.row(y) + std::ptrdiff_t(r.left) * src.pixelBytes, n);
}

PluginRasterInfo packedRasterInfo(void* data, PluginRasterFormat format, int width, int height,
                                  int pixelBytes) {
    PluginRasterInfo info;
    info.data = data;
    info.format = format;
    info.width = width;
    info.height = height;
    info.rowBytes = width * pixelBytes;
    info.pixelBytes = pixelBytes;
    return info;
}

bool rastersOverlap(PluginRasterInfo const& a, PluginRasterInfo const& b) {
    auto range = [](PluginRasterInfo const& r, unsigned char const*& lo, unsigned char const*& hi) {
        unsigned char const* first = r.row(0);
        unsigned char const* last = r.row(r.height > 0 ? r.height - 1 : 0);
        lo = std::min(first, last);
        hi = std::max(first, last) + std::ptrdiff_t(r.width) * r.pixelBytes;
    };
    unsigned char const *aLo, *aHi, *bLo, *bHi;
    range(a, aLo, aHi);
    range(b, bLo, bHi);
    return aLo < bHi && bLo < aHi;
}
