#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

// A picture in memory as a host holds it: four channels in R G B A order, rows top-down and
// tightly packed, 8 or 16 bits a channel as unsigned integers or 32 as float.
struct Picture {
    int width = 0;
    int height = 0;
    int depth = 8; // bits a channel: 8, 16 or 32 (float)
    std::vector<unsigned char> bytes;

    Picture() = default;
    Picture(int w, int h, int d) : width(w), height(h), depth(d), bytes(byteCount(w, h, d)) {}

    static size_t byteCount(int w, int h, int d) { return size_t(w) * size_t(h) * 4 * (d / 8); }
    int channelBytes() const { return depth / 8; }
    int rowBytes() const { return width * 4 * channelBytes(); }
    unsigned char* row(int y) { return bytes.data() + size_t(y) * size_t(rowBytes()); }
    unsigned char const* row(int y) const { return bytes.data() + size_t(y) * size_t(rowBytes()); }

    // Channel c (0 R, 1 G, 2 B, 3 A) of pixel i as a fraction of full scale.
    double channel(size_t i, int c) const;
    void setChannel(size_t i, int c, double v); // rounds to nearest, clamps integers
    size_t pixelCount() const { return size_t(width) * size_t(height); }
};
