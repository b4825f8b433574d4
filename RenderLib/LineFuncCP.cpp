#include "RenderLib/LineFuncCP.h"

#include <cstring>

template struct LineFuncCP<unsigned char>;
template struct LineFuncCP<unsigned short>;
template struct LineFuncCP<float>;

namespace {
// The one sampler that accumulates its position; the polygon that feeds it lies inside the
// source, so there is no bounds test.
template <int BYTES>
void nearestSpan(const RenderSettings* s, LineRenderStruct* line, unsigned char* d) {
    const unsigned char* src = s->srcPixels;
    const std::ptrdiff_t rowBytes = s->srcRowBytes;
    const std::ptrdiff_t pixelBytes = BYTES > 0 ? BYTES : s->srcPixelBytes;
    double u = line->u, v = line->v, q = line->q;
    const double du = line->du, dv = line->dv, dq = line->dq;
    for (int i = 0; i < line->count; ++i, d += pixelBytes) {
        const int col = int(u / q);
        const int row = int(v / q);
        const unsigned char* p = src + row * rowBytes + col * pixelBytes;
        if constexpr (BYTES > 0)
            std::memcpy(d, p, BYTES);
        else
            std::memcpy(d, p, std::size_t(pixelBytes));
        u += du;
        v += dv;
        q += dq;
    }
    line->u = u;
    line->v = v;
    line->q = q;
}
} // namespace

int lineFunc(void* settings, LineRenderStruct* line) {
    const RenderSettings* s = static_cast<const RenderSettings*>(settings);
    unsigned char* d = line->dest + std::ptrdiff_t(line->leftCount) * s->srcPixelBytes;
    switch (s->srcPixelBytes) {
    case 4:
        nearestSpan<4>(s, line, d);
        break;
    case 8:
        nearestSpan<8>(s, line, d);
        break;
    case 16:
        nearestSpan<16>(s, line, d);
        break;
    default:
        nearestSpan<0>(s, line, d);
        break;
    }
    return 0;
}
