#pragma once
#include <cstddef>

// The tent's inner loops in vector form, chosen once; each lane does one line's running sums
// in the order of the portable loop, so the bits are the same.
//   line: one line of packed four-channel pixels (lanes across channels), radius already held
//         to the length and above 0.
//   step: one output row of a column pass over `values` channel values (lanes across columns):
//         out = C(S * recip); S += D; D += (L + R) - 2 M, where L, R and M are the rows p[i - r],
//         p[i + r + 2] and p[i + 1], held to the ends.
// For integer channels the portable sums are whole numbers far below 2^53, so every double
// addition is exact and 32-bit integer sums hold the same values; only the output goes through
// the double product (8-bit channels at small radii divide in float, proved equal). Those forms
// run whole passes of packed four-channel pixels, at a radius (held, above 0) of at most
// `exactRadius`, where the sums stay within 32 bits:
//   rows:    `count` rows of `length` pixels, eight rows a vector for 8-bit channels (lanes
//            across rows, a vector a channel), else two (lanes across rows and channels); dst
//            may be src.
//   columns: output rows `from` to `to` - 1 of a column pass over `height` rows (lanes across
//            columns); the sums at `from` are taken afresh from the rows around it.
//   blur:    both passes in place, rows at `rowRadius[y]` (0 or below copies the row), then
//            columns at `radius`, for output rows `from` to `to` - 1 (the others must be zero
//            and stay so); the row pass goes through a ring of 2 radius + 10 rows, so that the
//            picture between the passes stays in the cache.
template <class C> struct TentKernels {
    void (*line)(unsigned char const* src, std::ptrdiff_t srcStep, unsigned char* dst,
                 std::ptrdiff_t dstStep, int length, int radius);
    void (*step)(C const* L, C const* R, C const* M, C* out, double* S, double* D, int values,
                 double recip);
    void (*rows)(unsigned char const* src, std::ptrdiff_t srcRowBytes, unsigned char* dst,
                 std::ptrdiff_t dstRowBytes, int length, int count, int radius);
    void (*columns)(unsigned char const* src, std::ptrdiff_t srcRowBytes, unsigned char* dst,
                    std::ptrdiff_t dstRowBytes, int width, int height, int radius, int from,
                    int to);
    void (*blur)(unsigned char* pixels, std::ptrdiff_t rowBytes, int width, int height,
                 int const* rowRadius, int radius, int from, int to);
    int exactRadius; // 0 where there are no exact forms (float)
};

// The kernels for unsigned char, unsigned short and float channels, or null where the
// processor or the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
template <class C> TentKernels<C> const* tentKernelsAvx2();
template <class C> TentKernels<C> const* chosenTentKernels();
