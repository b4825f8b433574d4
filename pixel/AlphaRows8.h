#pragma once

// The 8-bit alpha passes over a row, eight pixels at a time where the processor has AVX2. Each
// does the scalar formula in every lane: premultiply (x a + 128) >> 8; straighten x 255 / a
// held below 256, as a float division, which gives the truncated quotient exactly (x 255 is far
// below 2^24), skipping pixels of alpha 0 or full. Each returns how many leading pixels it did.
struct AlphaRows8 {
    int (*premultiply)(unsigned char* px, int width);
    int (*unpremultiply)(unsigned char* px, int width);
};

// The rows for alpha at byte `alphaIndex` of a pixel (0 or 3), or null where the processor or
// the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
AlphaRows8 const* alphaRows8Avx2(int alphaIndex);
AlphaRows8 const* chosenAlphaRows8(int alphaIndex);
