#include "apps/common/PictureAlpha.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// 8-bit conversions read a table of the formula's own integers, [alpha][colour]; opaque pixels,
// which the formulas leave unchanged, are copied.
using Table8 = std::array<uint8_t, 256 * 256>;

Table8 const& premultiplyTable() {
    static Table8 const table = [] {
        Table8 t;
        for (uint32_t a = 0; a < 256; ++a)
            for (uint32_t c = 0; c < 256; ++c) t[a * 256 + c] = uint8_t((c * a + 127) / 255);
        return t;
    }();
    return table;
}

Table8 const& unpremultiplyTable() {
    static Table8 const table = [] {
        Table8 t;
        for (uint32_t a = 0; a < 256; ++a)
            for (uint32_t c = 0; c < 256; ++c) {
                uint32_t v = a == 0 ? 0 : (c * 255 + a / 2) / a;
                t[a * 256 + c] = uint8_t(v > 255 ? 255 : v);
            }
        return t;
    }();
    return table;
}

// src and dst may be the same memory.
void convert8(uint8_t const* src, uint8_t* dst, size_t pixels, Table8 const& table) {
    size_t i = 0;
    while (i < pixels) {
        // Four opaque pixels in a row move as one block (the tables give them back unchanged).
        if (i + 4 <= pixels && (src[3] & src[7] & src[11] & src[15]) == 0xFF) {
            if (src != dst) std::memcpy(dst, src, 16);
            i += 4, src += 16, dst += 16;
            continue;
        }
        uint8_t const a = src[3];
        uint8_t const* row = table.data() + a * 256;
        dst[0] = row[src[0]], dst[1] = row[src[1]], dst[2] = row[src[2]], dst[3] = a;
        ++i, src += 4, dst += 4;
    }
}

template <class T> T* channels(Picture& p) {
    return reinterpret_cast<T*>(p.bytes.data());
}

// Integer channels: c * a / full, rounded to nearest.
template <class T, uint32_t Full> void premultiplyInt(Picture& p) {
    T* px = channels<T>(p);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4) {
        uint32_t a = px[3];
        for (int c = 0; c < 3; ++c) px[c] = T((uint32_t(px[c]) * a + Full / 2) / Full);
    }
}

template <class T, uint32_t Full> void unpremultiplyInt(Picture& p) {
    T* px = channels<T>(p);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4) {
        uint32_t a = px[3];
        for (int c = 0; c < 3; ++c) {
            uint32_t v = a == 0 ? 0 : (uint32_t(px[c]) * Full + a / 2) / a;
            px[c] = T(v > Full ? Full : v);
        }
    }
}

} // namespace

void premultiplyPicture(Picture& p) {
    if (p.depth == 8) return premultiplyPicture8(p.bytes.data(), p);
    if (p.depth == 16) return premultiplyInt<uint16_t, 65535>(p);
    float* px = channels<float>(p);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4)
        for (int c = 0; c < 3; ++c) px[c] *= px[3];
}

void premultiplyPicture8(uint8_t const* straight, Picture& p) {
    premultiply8(straight, p.bytes.data(), p.pixelCount());
}

void unpremultiplyPicture8(Picture const& p, uint8_t* straight) {
    unpremultiply8(p.bytes.data(), straight, p.pixelCount());
}

void premultiply8(uint8_t const* src, uint8_t* dst, size_t pixels) {
    convert8(src, dst, pixels, premultiplyTable());
}

void unpremultiply8(uint8_t const* src, uint8_t* dst, size_t pixels) {
    convert8(src, dst, pixels, unpremultiplyTable());
}

bool opaque8(uint8_t const* pixels, size_t count) {
    // Two pixels a word, four words at once, and a block at a time so that a frame with
    // transparency stops early; the alpha bytes are picked out of the ANDed words.
    uint8_t const alphaBytes[8] = {0, 0, 0, 0xFF, 0, 0, 0, 0xFF};
    uint64_t alpha;
    std::memcpy(&alpha, alphaBytes, 8);
    size_t i = 0;
    while (i + 8 <= count) {
        size_t const end = i + std::min<size_t>((count - i) / 8 * 8, 4096);
        uint64_t all[4] = {~uint64_t(0), ~uint64_t(0), ~uint64_t(0), ~uint64_t(0)};
        for (; i < end; i += 8)
            for (int k = 0; k < 4; ++k) {
                uint64_t two;
                std::memcpy(&two, pixels + 4 * i + 8 * k, 8);
                all[k] &= two;
            }
        if ((all[0] & all[1] & all[2] & all[3] & alpha) != alpha) return false;
    }
    for (; i < count; ++i)
        if (pixels[4 * i + 3] != 0xFF) return false;
    return true;
}

void unpremultiplyPicture(Picture& p) {
    if (p.depth == 8) return unpremultiplyPicture8(p, p.bytes.data());
    if (p.depth == 16) return unpremultiplyInt<uint16_t, 65535>(p);
    float* px = channels<float>(p);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4)
        for (int c = 0; c < 3; ++c) px[c] = px[3] == 0.0f ? 0.0f : px[c] / px[3];
}
