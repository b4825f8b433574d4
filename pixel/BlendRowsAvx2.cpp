#include "pixel/BlendRows.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// s * mix + d * keep + h, in that order, as the scalar loop computes it.
MIRREL_AVX2_INLINE __m256 blended(__m256 s, __m256 d, __m256 mix, __m256 keep, __m256 h) {
    return _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(s, mix), _mm256_mul_ps(d, keep)), h);
}

// Integer results lie in the channel's range, so the saturating packs only narrow.
MIRREL_AVX2 int blend8(unsigned char const* s, unsigned char* d, int values, float mix, float keep,
                       float h) {
    __m256 const m = _mm256_set1_ps(mix), k = _mm256_set1_ps(keep), hv = _mm256_set1_ps(h);
    int i = 0;
    for (; i + 8 <= values; i += 8) {
        __m256 const sv = _mm256_cvtepi32_ps(
            _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(s + i))));
        __m256 const dv = _mm256_cvtepi32_ps(
            _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(d + i))));
        __m256i const r = _mm256_cvttps_epi32(blended(sv, dv, m, k, hv));
        __m128i const w =
            _mm_packus_epi32(_mm256_castsi256_si128(r), _mm256_extracti128_si256(r, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(w, w));
    }
    return i;
}

MIRREL_AVX2 int blend16(unsigned short const* s, unsigned short* d, int values, float mix,
                        float keep, float h) {
    __m256 const m = _mm256_set1_ps(mix), k = _mm256_set1_ps(keep), hv = _mm256_set1_ps(h);
    int i = 0;
    for (; i + 8 <= values; i += 8) {
        __m256 const sv = _mm256_cvtepi32_ps(
            _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(s + i))));
        __m256 const dv = _mm256_cvtepi32_ps(
            _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(d + i))));
        __m256i const r = _mm256_cvttps_epi32(blended(sv, dv, m, k, hv));
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(d + i),
            _mm_packus_epi32(_mm256_castsi256_si128(r), _mm256_extracti128_si256(r, 1)));
    }
    return i;
}

MIRREL_AVX2 int blend32(float const* s, float* d, int values, float mix, float keep, float h) {
    __m256 const m = _mm256_set1_ps(mix), k = _mm256_set1_ps(keep), hv = _mm256_set1_ps(h);
    int i = 0;
    for (; i + 8 <= values; i += 8)
        _mm256_storeu_ps(d + i, blended(_mm256_loadu_ps(s + i), _mm256_loadu_ps(d + i), m, k, hv));
    return i;
}

BlendRows const kRows = {&blend8, &blend16, &blend32};

} // namespace

BlendRows const* blendRowsAvx2() {
    return __builtin_cpu_supports("avx2") ? &kRows : nullptr;
}

#else

BlendRows const* blendRowsAvx2() {
    return nullptr;
}

#endif

BlendRows const* chosenBlendRows() {
    return processorHasAvx2() ? blendRowsAvx2() : nullptr;
}
