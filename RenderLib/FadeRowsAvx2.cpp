#include "RenderLib/FadeRows.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// Eight values in 32-bit lanes scaled and truncated; the products lie in the channel's range.
MIRREL_AVX2_INLINE __m256i scaled(__m256i v, __m256 f) {
    return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(v), f));
}

// 32 bytes a step, the bytes of each place in four taken apart by masks and shifts rather than
// shuffles; a run of zeros stays as it is.
MIRREL_AVX2 int scaleU8(unsigned char* row, int values, float factor) {
    __m256 const f = _mm256_set1_ps(factor);
    __m256i const low = _mm256_set1_epi32(255);
    int i = 0;
    for (; i + 32 <= values; i += 32) {
        auto* p = reinterpret_cast<__m256i*>(row + i);
        __m256i const v = _mm256_loadu_si256(p);
        if (_mm256_testz_si256(v, v)) continue;
        __m256i const b0 = scaled(_mm256_and_si256(v, low), f);
        __m256i const b1 = scaled(_mm256_and_si256(_mm256_srli_epi32(v, 8), low), f);
        __m256i const b2 = scaled(_mm256_and_si256(_mm256_srli_epi32(v, 16), low), f);
        __m256i const b3 = scaled(_mm256_srli_epi32(v, 24), f);
        _mm256_storeu_si256(p, _mm256_or_si256(_mm256_or_si256(b0, _mm256_slli_epi32(b1, 8)),
                                               _mm256_or_si256(_mm256_slli_epi32(b2, 16),
                                                               _mm256_slli_epi32(b3, 24))));
    }
    return i;
}

MIRREL_AVX2 int scaleU16(unsigned short* row, int values, float factor) {
    __m256 const f = _mm256_set1_ps(factor);
    int i = 0;
    for (; i + 16 <= values; i += 16) {
        __m256i const v = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(row + i));
        if (_mm256_testz_si256(v, v)) continue;
        __m256i const lo = scaled(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(v)), f);
        __m256i const hi = scaled(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(v, 1)), f);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + i),
                            _mm256_permute4x64_epi64(_mm256_packus_epi32(lo, hi), 0xd8));
    }
    return i;
}

FadeRows const kRows = {&scaleU8, &scaleU16};

} // namespace

FadeRows const* fadeRowsAvx2() {
    return __builtin_cpu_supports("avx2") ? &kRows : nullptr;
}

#else

FadeRows const* fadeRowsAvx2() {
    return nullptr;
}

#endif

FadeRows const* chosenFadeRows() {
    static FadeRows const* const chosen = processorHasAvx2() ? fadeRowsAvx2() : nullptr;
    return chosen;
}
