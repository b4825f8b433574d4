#include "apps/common/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

double Picture::channel(size_t i, int c) const {
    size_t k = i * 4 + size_t(c);
    switch (depth) {
    case 8:
        return bytes[k] / 255.0;
    case 16: {
        uint16_t v;
        std::memcpy(&v, bytes.data() + k * 2, 2);
        return v / 65535.0;
    }
    default: {
        float v;
        std::memcpy(&v, bytes.data() + k * 4, 4);
        return v;
    }
    }
}

void Picture::setChannel(size_t i, int c, double v) {
    size_t k = i * 4 + size_t(c);
    switch (depth) {
    case 8:
        bytes[k] = uint8_t(std::clamp(std::lround(v * 255.0), 0L, 255L));
        break;
    case 16: {
        uint16_t s = uint16_t(std::clamp(std::lround(v * 65535.0), 0L, 65535L));
        std::memcpy(bytes.data() + k * 2, &s, 2);
        break;
    }
    default: {
        float f = float(v);
        std::memcpy(bytes.data() + k * 4, &f, 4);
    }
    }
}
