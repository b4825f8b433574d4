#pragma once

// The in-front composite of 16-bit and float rows, two pixels to a vector where the processor has
// AVX2. Each lane does the float arithmetic of the loop in Blend, the same operations in the same
// order (no contraction), so every result is the loop's to the bit.
//
// A row function composites the leading pixels of a row and returns how many it did; the caller
// does the rest.
template <class C>
using InFrontRowDeep = int (*)(C const* top, C const* bottom, C* out, int width, float opacityTop,
                               float opacityBottom, bool forceOpaque);

// The vector row for alpha at channel `alphaIndex` of a pixel (0 or 3), or null where the
// processor or the build has no AVX2. The Avx2 forms ignore MIRREL_CPU, for tests.
InFrontRowDeep<unsigned short> inFrontRow16Avx2(int alphaIndex);
InFrontRowDeep<float> inFrontRow32Avx2(int alphaIndex);
InFrontRowDeep<unsigned short> chosenInFrontRow16(int alphaIndex);
InFrontRowDeep<float> chosenInFrontRow32(int alphaIndex);
