#pragma once
#include <cstddef>

// The tent's inner loops in vector form, chosen once; each lane does one line's running sums
// in the order of the portable loop, so the bits are the same.
//   line: one line of packed four-channel pixels (lanes across channels), radius already held
//         to the length and above 0.
//   step: one output row of a column pass over `values` channel values (lanes across columns):
//         out = C(S * recip); S += D; D += (L + R) - 2 M, where L, R and M are the rows p[i - r],
//         p[i + r + 2] and p[i + 1], held to the ends.
template <class C> struct TentKernels {
    void (*line)(unsigned char const* src, std::ptrdiff_t srcStep, unsigned char* dst,
                 std::ptrdiff_t dstStep, int length, int radius);
    void (*step)(C const* L, C const* R, C const* M, C* out, double* S, double* D, int values,
                 double recip);
};

// The kernels for unsigned char, unsigned short and float channels, or null where the
// processor or the build has no AVX2. The first form ignores MIRREL_CPU, for tests.
template <class C> TentKernels<C> const* tentKernelsAvx2();
template <class C> TentKernels<C> const* chosenTentKernels();
