#pragma once

// Premultiplied colour from straight 16-bit and float rows, two pixels a vector where the
// processor has AVX2, each lane doing the scalar formula: 16-bit x a / 65535 truncated,
// float x a. Each returns how many leading pixels it did.
struct PremultRowsDeep {
    int (*u16)(unsigned short* px, int width);
    int (*f32)(float* px, int width);
};

// The rows for alpha at channel `alphaIndex` of a pixel (0 or 3), or null where the processor
// or the build cannot. The first form ignores MIRREL_CPU, for tests.
PremultRowsDeep const* premultRowsDeepAvx2(int alphaIndex);
PremultRowsDeep const* chosenPremultRowsDeep(int alphaIndex);
