#pragma once

// The in-front composite of 8-bit rows, eight pixels at a time where the processor has AVX2.
// Each lane does the scalar arithmetic of the loop in Blend: the same int products, and the one
// division in float, which gives the truncated quotient exactly while the numerator times 255
// stays below 2^24 (it stays below 2^17 when every scaled alpha lies in 0..255, which the
// caller checks).
//
// A row function composites the leading pixels of a row and returns how many it did; the caller
// does the rest. scaledTop and scaledBottom are the 256-entry tables of alpha times opacity.
using InFrontRow8 = int (*)(unsigned char const* top, unsigned char const* bottom,
                            unsigned char* out, int width, int const* scaledTop,
                            int const* scaledBottom, bool forceOpaque);

// The vector row for alpha at byte `alphaIndex` of a pixel (0 or 3), or null where the processor
// or the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
InFrontRow8 inFrontRow8Avx2(int alphaIndex);
InFrontRow8 chosenInFrontRow8(int alphaIndex);
