#pragma once

// Straight colour from premultiplied 16-bit and float rows, two pixels at a time where the
// processor has AVX2, each lane doing the scalar formula: 16-bit x 65535 / a held to 65535 and
// truncated, float x 1 / a; pixels whose alpha is not above 0 keep their colour. Each returns
// how many leading pixels it did.
struct StraightRows {
    int (*u16)(unsigned short* px, int width);
    int (*f32)(float* px, int width);
};

// The rows for alpha at channel `alphaIndex` of a pixel (0 or 3), or null where the processor
// or the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
StraightRows const* straightRowsAvx2(int alphaIndex);
StraightRows const* chosenStraightRows(int alphaIndex);
