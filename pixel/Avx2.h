#pragma once
// What the AVX2 forms share: the attributes that compile a function for AVX2 inside a portable
// build, and the bytes of packed 8-bit pixels as int lanes. x86 only.
#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#define MIRREL_AVX2 __attribute__((target("avx2")))
#define MIRREL_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

// Byte I of each of eight packed 8-bit pixels.
template <int I> MIRREL_AVX2_INLINE __m256i byteLanes(__m256i px) {
    return _mm256_and_si256(_mm256_srli_epi32(px, 8 * I), _mm256_set1_epi32(255));
}
#endif
