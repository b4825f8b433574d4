#pragma once
#include "RenderLib/TentBlur.h"

// The 8-bit grain as a packed plane of one byte a pixel, where the processor has AVX2: the same
// bytes as the field kept in the alpha of a four-channel scratch raster and softened there by
// the alpha-only tent blur, in a quarter of the memory and eight or more pixels at a time.
struct NoisePlane8 {
    // Field bytes from rand() values: int(float(v % 2147483647) * 2^-31 * 255), held to 0..255.
    void (*fill)(unsigned char* field, int const* rands, int n);
    // The tent of radius `across` along the rows, then `down` along the columns, each held to
    // its line as the four-channel pass holds it: the running sums are whole numbers, kept
    // exactly, each value the truncated sum times 1 / (r + 1)^2 in double. `work` takes
    // width * height bytes. Only for radii that noisePlaneTentFits.
    void (*tent)(unsigned char* field, unsigned char* work, int width, int height, int across,
                 int down);
    // field = int(float(field) * mix + float(other) * keep + 0.5f), the blur's blend of two radii.
    void (*blend)(unsigned char* field, unsigned char const* other, int n, float mix, float keep);
    // The grain added to a row of pixels, [0] for alpha first, [1] for alpha last:
    // colour = clamp(int(colour + (field - h) * a)). Returns how many leading pixels it did.
    int (*add[2])(unsigned char* px, unsigned char const* field, int width, float a, float h);
};

// The row tent adds every tap, so it takes small radii; the sums of a column, kept in 32 bits,
// stay below 255 (r + 1)^2.
inline bool noisePlaneTentFits(int across, int down, int width, int height) {
    down = blur_detail::limitTentRadius(down, height);
    return blur_detail::limitTentRadius(across, width) <= 16 &&
           (down <= 0 || 255.0 * (down + 1.0) * (down + 1.0) < 2147483648.0);
}

// The kernels, or null where the processor or the build has no AVX2. The first form ignores
// MIRREL_CPU, for tests.
NoisePlane8 const* noisePlane8Avx2();
NoisePlane8 const* chosenNoisePlane8();
