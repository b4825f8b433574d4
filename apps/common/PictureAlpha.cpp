#include "apps/common/PictureAlpha.h"

#include <cstring>

namespace {

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
    if (p.depth == 8) return premultiplyInt<uint8_t, 255>(p);
    if (p.depth == 16) return premultiplyInt<uint16_t, 65535>(p);
    float* px = channels<float>(p);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4)
        for (int c = 0; c < 3; ++c) px[c] *= px[3];
}

void unpremultiplyPicture(Picture& p) {
    if (p.depth == 8) return unpremultiplyInt<uint8_t, 255>(p);
    if (p.depth == 16) return unpremultiplyInt<uint16_t, 65535>(p);
    float* px = channels<float>(p);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4)
        for (int c = 0; c < 3; ++c) px[c] = px[3] == 0.0f ? 0.0f : px[c] / px[3];
}
