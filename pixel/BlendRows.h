#pragma once

// The cross-fade of premultiplied rows, d = C(s * mix + d * keep + h), eight values at a time
// where the processor has AVX2: the same float products and sums in every lane, then the
// truncation. Each returns how many leading values it did.
struct BlendRows {
    int (*u8)(unsigned char const* s, unsigned char* d, int values, float mix, float keep, float h);
    int (*u16)(unsigned short const* s, unsigned short* d, int values, float mix, float keep,
               float h);
    int (*f32)(float const* s, float* d, int values, float mix, float keep, float h);
};

// The rows, or null where the processor or the build has no AVX2. The first form ignores
// MIRREL_CPU, for tests.
BlendRows const* blendRowsAvx2();
BlendRows const* chosenBlendRows();
