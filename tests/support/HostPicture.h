#pragma once
#include "inprocess/InProcessHost.h"

#include <cstring>
#include <vector>

// A picture in test memory for the in-process host, top-down with a padded stride, or bottom-up.
struct HostPicture {
    std::vector<unsigned char> storage;
    InProcessImage image;

    HostPicture(int width, int height, unsigned depth = 8, unsigned format = kFxPixelFormat_RGBA,
                bool bottomUp = false) {
        image.width = width;
        image.height = height;
        image.depth = depth;
        image.pixelFormat = format;
        long stride = long(width) * image.pixelBytes() + 12;
        storage.assign(std::size_t(stride * height), 0);
        image.data = bottomUp ? storage.data() + stride * (height - 1) : storage.data();
        image.rowBytes = bottomUp ? -stride : stride;
    }
    unsigned char* row(int y) {
        return static_cast<unsigned char*>(image.data) + y * image.rowBytes;
    }
    std::size_t rowLength() const { return std::size_t(image.width) * image.pixelBytes(); }
    // The visible bytes, top row first.
    std::vector<unsigned char> bytes() {
        std::vector<unsigned char> out;
        for (int y = 0; y < image.height; ++y) out.insert(out.end(), row(y), row(y) + rowLength());
        return out;
    }
    std::vector<unsigned char> rowBytes(int y) { return {row(y), row(y) + rowLength()}; }
    // Opaque 8-bit pixels with a smooth gradient and some texture, alpha in the format's place.
    void fillGradient() {
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                unsigned char* p = row(y) + 4 * x;
                unsigned char rgb[3] = {(unsigned char)(x * 255 / image.width),
                                        (unsigned char)(y * 255 / image.height),
                                        (unsigned char)((x * 7 + y * 13) & 255)};
                bool alphaFirst = image.pixelFormat == kFxPixelFormat_ARGB;
                p[alphaFirst ? 0 : 3] = 255;
                std::memcpy(p + (alphaFirst ? 1 : 0), rgb, 3);
            }
    }
};
