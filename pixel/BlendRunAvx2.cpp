#include "pixel/BlendRun.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// Eight values through every step: s mix + d keep + h in that order, as the scalar loop adds
// them; integer formats truncate after each step, as the store to the channel does.
template <bool Truncate>
MIRREL_AVX2_INLINE __m256 run(__m256 s, __m256 d, float const* mix, float const* keep, int steps,
                              __m256 h) {
    for (int j = 0; j < steps; ++j) {
        __m256 const m = _mm256_broadcast_ss(mix + j), k = _mm256_broadcast_ss(keep + j);
        d = _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(s, m), _mm256_mul_ps(d, k)), h);
        if constexpr (Truncate) d = _mm256_cvtepi32_ps(_mm256_cvttps_epi32(d));
    }
    return d;
}

// Integer results lie in the channel's range, so the saturating packs only narrow.
MIRREL_AVX2 int run8(unsigned char const* s, unsigned char* d, int values, float const* mix,
                     float const* keep, int steps, float h, bool fromSource) {
    __m256 const hv = _mm256_set1_ps(h);
    int i = 0;
    for (; i + 8 <= values; i += 8) {
        __m256 const sv = _mm256_cvtepi32_ps(
            _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(s + i))));
        __m256 const dv = fromSource ? sv
                                     : _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(
                                           reinterpret_cast<__m128i const*>(d + i))));
        __m256i const r = _mm256_cvtps_epi32(run<true>(sv, dv, mix, keep, steps, hv));
        __m128i const w =
            _mm_packus_epi32(_mm256_castsi256_si128(r), _mm256_extracti128_si256(r, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(w, w));
    }
    return i;
}

MIRREL_AVX2 int run16(unsigned short const* s, unsigned short* d, int values, float const* mix,
                      float const* keep, int steps, float h, bool fromSource) {
    __m256 const hv = _mm256_set1_ps(h);
    int i = 0;
    for (; i + 8 <= values; i += 8) {
        __m256 const sv = _mm256_cvtepi32_ps(
            _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(s + i))));
        __m256 const dv = fromSource ? sv
                                     : _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(_mm_loadu_si128(
                                           reinterpret_cast<__m128i const*>(d + i))));
        __m256i const r = _mm256_cvtps_epi32(run<true>(sv, dv, mix, keep, steps, hv));
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(d + i),
            _mm_packus_epi32(_mm256_castsi256_si128(r), _mm256_extracti128_si256(r, 1)));
    }
    return i;
}

MIRREL_AVX2 int run32(float const* s, float* d, int values, float const* mix, float const* keep,
                      int steps, float h, bool fromSource) {
    __m256 const hv = _mm256_set1_ps(h);
    int i = 0;
    for (; i + 8 <= values; i += 8) {
        __m256 const sv = _mm256_loadu_ps(s + i);
        __m256 const dv = fromSource ? sv : _mm256_loadu_ps(d + i);
        _mm256_storeu_ps(d + i, run<false>(sv, dv, mix, keep, steps, hv));
    }
    return i;
}

BlendRunRows const kRows = {&run8, &run16, &run32};

} // namespace

BlendRunRows const* blendRunRowsAvx2() {
    return __builtin_cpu_supports("avx2") ? &kRows : nullptr;
}

#else

BlendRunRows const* blendRunRowsAvx2() {
    return nullptr;
}

#endif

BlendRunRows const* chosenBlendRunRows() {
    return processorHasAvx2() ? blendRunRowsAvx2() : nullptr;
}
