#pragma once

// The merge of a bent 8-bit mirror image over a row, eight pixels at a time where the processor
// has AVX2. Each lane does the pixel formula of the merge in float: where the near mask's alpha
// is 0 the bent picture at the far mask's alpha, where it is full the unbent picture at it, else
// where the far mask covers a blend of the two by the far alpha; each sum + half truncated and
// held to 0..255. The unbent picture is read from `unbent` and the merge written to `dest`, which
// may be the same row. Returns how many leading pixels it did.
using BendMergeRow8 = int (*)(unsigned char const* unbent, unsigned char* dest,
                              unsigned char const* bent, unsigned char const* nearMask,
                              unsigned char const* farMask, int width, float recip, float half);

// The row for alpha at byte `alphaIndex` of a pixel (0 or 3), or null where the processor or the
// build has no AVX2. The first form ignores MIRREL_CPU, for tests.
BendMergeRow8 bendMergeRow8Avx2(int alphaIndex);
BendMergeRow8 chosenBendMergeRow8(int alphaIndex);
