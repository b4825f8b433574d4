#include "pixel/ColorHSL.h"

#include "host/SaturatingCast.h"

float max3(float a, float b, float c) {
    float m = a > b ? a : b;
    return m > c ? m : c;
}

float min3(float a, float b, float c) {
    float m = a < b ? a : b;
    return m < c ? m : c;
}

void rgb2hsl(float r, float g, float b, float& h, float& s, float& l) {
    l = 0.299f * r + 0.587f * g + 0.114f * b;
    float lo = min3(r, g, b);
    float hi = max3(r, g, b);
    if (0.0001f > hi) {
        h = s = l = 0.0f;
        return;
    }
    float d = hi - lo;
    if (0.0001f > d) {
        h = s = 0.0f;
        return;
    }
    // The second divisor uses the difference where the usual formula has the sum; the blend
    // modes' colour model depends on it.
    float divisor = 1.0f > hi + lo ? hi + lo : 2.0f - (hi - lo);
    s = d / divisor;
    if (r == hi)
        h = (g - b) / d;
    else if (g == hi)
        h = 2.0f + (b - r) / d;
    else
        h = 4.0f + (r - g) / d;
    if (h < 0.0f) h += 6.0f;
}

void hsl2rgb(float h, float s, float l, float& r, float& g, float& b) {
    float p = 0.5f + s * 0.5f;
    float q = 1.0f - p;
    int k = saturatingCast(h); // float pixels may hold anything
    float f = h - k;
    switch (k) {
    case 0:
        r = p, g = q + (p - q) * f, b = q;
        break;
    case 1:
        r = q + (p - q) * (1 - f), g = p, b = q;
        break;
    case 2:
        r = q, g = p, b = q + (p - q) * f;
        break;
    case 3:
        r = q, g = q + (p - q) * (1 - f), b = p;
        break;
    case 4:
        r = q + (p - q) * f, g = q, b = p;
        break;
    default:
        r = p, g = q, b = q + (p - q) * (1 - f);
        break;
    }
    float y = 0.299f * r + 0.587f * g + 0.114f * b;
    if (y >= l) {
        float k2 = l / y;
        r *= k2, g *= k2, b *= k2;
    } else {
        float t = (1 - l) / (1 - y);
        r = 1 - (1 - r) * t;
        g = 1 - (1 - g) * t;
        b = 1 - (1 - b) * t;
    }
}
