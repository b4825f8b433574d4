#pragma once
#include "host/RasterInfo.h"

#include <cstddef>

namespace blur_detail {

// One level of the pyramid: its pixels, and s, where one of its pixels spans 2^s of the picture.
template <class C, int N> struct MipLevel {
    unsigned char* data = nullptr;
    std::ptrdiff_t rowBytes = 0;
    int width = 0, height = 0, shift = 0;
    C const* at(int x, int y) const {
        return reinterpret_cast<C const*>(data + std::ptrdiff_t(y) * rowBytes) +
               std::ptrdiff_t(x) * N;
    }
};

// The pyramid's inner loops in vector form, chosen once; each lane does one value's or one
// pixel's operations in the order of the portable loop, so the bits are the same.
//   smooth: the interior of one row of the 3x3 smoothing: out[v] for v in [0, values) from the
//           rows up, mid and down, whose neighbours lie `step` values either side.
//   pixels: the pixel loop of the pyramid over a four-channel picture of at least 8 columns;
//           rows holds 2 * levels rows of the picture's width, packed.
template <class C> struct MipKernels {
    void (*smooth)(C const* up, C const* mid, C const* down, C* out, std::ptrdiff_t values,
                   int step);
    void (*pixels)(MipLevel<C, 4> const* level, int levels, PluginRasterInfo const& raster,
                   float d0, float dX, float dY, float radius, int alpha, float scale, void* rows);
};

// The kernels for unsigned char, unsigned short and float channels, or null where the
// processor or the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
template <class C> MipKernels<C> const* mipKernelsAvx2();
template <class C> MipKernels<C> const* chosenMipKernels();

} // namespace blur_detail
