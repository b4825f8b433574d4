#pragma once

// The fade's scaling of a row of integer channel values by a factor f in [0, 1], 32 bytes at a
// time where the processor has AVX2: each value converted to float, multiplied and truncated,
// as the scalar loop does. Each returns how many leading values it did.
struct FadeRows {
    int (*u8)(unsigned char* row, int values, float f);
    int (*u16)(unsigned short* row, int values, float f);
};

// Null where the processor or the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
FadeRows const* fadeRowsAvx2();
FadeRows const* chosenFadeRows();
