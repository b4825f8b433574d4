#pragma once
#include <cstddef>
#include <cstdint>

// Pixel layout of a raster, 0 to 20; the numbers are what hosts hand over.
// PluginHost_API::RasterFormat names this type.
enum PluginRasterFormat : int32_t {
    RF_ARGB8 = 0,
    RF_BGRA8 = 1,
    RF_RGBA8 = 2,
    RF_ARGB15 = 3,
    RF_BGRA15 = 4,
    RF_ARGB14 = 5,
    RF_BGRA14 = 6,
    RF_ARGB16 = 7,
    RF_RGBA16 = 8,
    RF_ARGB32 = 9,
    RF_RGBA32 = 10,
    RF_BGRA32 = 11,
    // Layouts of other hosts, stored B G R A: classified, never rendered.
    RF_BGRA8_12 = 12,
    RF_BGRA15_13 = 13,
    RF_BGRA32_14 = 14,
    RF_BGRA8_15 = 15,
    RF_BGRA8_16 = 16,
    RF_BGRA14_17 = 17,
    RF_BGRA14_18 = 18,
    RF_R408 = 19,
    RF_R4FL = 20,
};

// The plain description of a raster. Row y begins at data + y * rowBytes; rowBytes may be
// negative (bottom-up hosts) or wider than width * pixelBytes.
struct PluginRasterInfo {
    void* data = nullptr;
    PluginRasterFormat format = RF_ARGB8;
    int32_t width = 0;
    int32_t height = 0;
    int32_t rowBytes = 0;
    int32_t pixelBytes = 0;
    float aspectRatio = 1.0f;
    float heightRatio = 1.0f;
    bool isYUV = false;

    unsigned char* row(int y) const {
        return static_cast<unsigned char*>(data) + std::ptrdiff_t(y) * rowBytes;
    }
};
