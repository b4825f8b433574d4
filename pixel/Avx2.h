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

// Eight channel values widened to 32-bit lanes.
MIRREL_AVX2_INLINE __m256i load8(unsigned char const* p) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p)));
}
MIRREL_AVX2_INLINE __m256i load8(unsigned short const* p) {
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)));
}

// Eight whole sums times a reciprocal in double, truncated, as the portable blurs store them.
MIRREL_AVX2_INLINE __m256i sumsTimes(__m256i sums, __m256d recip) {
    __m128i const lo =
        _mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(sums)), recip));
    __m128i const hi = _mm256_cvttpd_epi32(
        _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(sums, 1)), recip));
    return _mm256_setr_m128i(lo, hi);
}

// Byte I of every pixel plus the grain n, truncated and held to 0..255, back in byte I.
template <int I> MIRREL_AVX2_INLINE __m256i grained(__m256i px, __m256 n) {
    __m256i const v = _mm256_cvttps_epi32(_mm256_add_ps(_mm256_cvtepi32_ps(byteLanes<I>(px)), n));
    __m256i const held =
        _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(255));
    return _mm256_slli_epi32(held, 8 * I);
}

// Eight packed 8-bit pixels at px take the grain of their field values f (int lanes):
// colour = clamp(int(colour + (f - h) * a)), alpha at byte AI kept.
template <int AI>
MIRREL_AVX2_INLINE void addGrain8(unsigned char* px, __m256i f, __m256 hv, __m256 av) {
    constexpr int C0 = AI == 0 ? 1 : 0;
    auto* p = reinterpret_cast<__m256i*>(px);
    __m256i const v = _mm256_loadu_si256(p);
    __m256 const n = _mm256_mul_ps(_mm256_sub_ps(_mm256_cvtepi32_ps(f), hv), av);
    __m256i const colours = _mm256_or_si256(
        _mm256_or_si256(grained<C0>(v, n), grained<C0 + 1>(v, n)), grained<C0 + 2>(v, n));
    __m256i const alphaBits = _mm256_set1_epi32(int(0xFFu << (8 * AI)));
    _mm256_storeu_si256(p, _mm256_or_si256(colours, _mm256_and_si256(v, alphaBits)));
}
#endif
