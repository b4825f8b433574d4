#pragma once

// The grain added to an 8-bit row, eight pixels at a time where the processor has AVX2: each
// lane does the scalar formula, colour = clamp(int(colour + (field alpha - h) * a)), alpha kept.
// Returns how many leading pixels it did.
using NoiseRow8 = int (*)(unsigned char* px, unsigned char const* field, int width, float a,
                          float h);

// The row for alpha at byte `alphaIndex` of a pixel (0 or 3), or null where the processor or the
// build has no AVX2. The first form ignores MIRREL_CPU, for tests.
NoiseRow8 noiseRow8Avx2(int alphaIndex);
NoiseRow8 chosenNoiseRow8(int alphaIndex);
