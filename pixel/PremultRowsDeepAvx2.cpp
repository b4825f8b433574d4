#include "pixel/PremultRowsDeep.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// The alpha of each of two pixels in all its four lanes, and the lanes that keep their value.
template <int AI> MIRREL_AVX2_INLINE __m256 alphas(__m256 v) {
    return _mm256_permute_ps(v, AI * 0x55);
}
template <int AI> MIRREL_AVX2_INLINE __m256 alphaLanes() {
    return _mm256_castsi256_ps(_mm256_setr_epi32(AI == 0 ? -1 : 0, 0, 0, AI == 3 ? -1 : 0,
                                                 AI == 0 ? -1 : 0, 0, 0, AI == 3 ? -1 : 0));
}

template <int AI> MIRREL_AVX2 int premultiply16(unsigned short* px, int width) {
    __m256 const keep = alphaLanes<AI>();
    int x = 0;
    for (; x + 2 <= width; x += 2) {
        auto* p = reinterpret_cast<__m128i*>(px + 4 * x);
        __m256i const wide = _mm256_cvtepu16_epi32(_mm_loadu_si128(p));
        __m256 const v = _mm256_cvtepi32_ps(wide);
        // Both factors lie in 0..65535, so the quotient does too and truncates into the lane.
        __m256i const m = _mm256_cvttps_epi32(
            _mm256_div_ps(_mm256_mul_ps(v, alphas<AI>(v)), _mm256_set1_ps(65535.0f)));
        __m256i const t = _mm256_blendv_epi8(m, wide, _mm256_castps_si256(keep));
        _mm_storeu_si128(
            p, _mm_packus_epi32(_mm256_castsi256_si128(t), _mm256_extracti128_si256(t, 1)));
    }
    return x;
}

template <int AI> MIRREL_AVX2 int premultiply32(float* px, int width) {
    __m256 const keep = alphaLanes<AI>();
    int x = 0;
    for (; x + 2 <= width; x += 2) {
        float* p = px + 4 * x;
        __m256 const v = _mm256_loadu_ps(p);
        _mm256_storeu_ps(p, _mm256_blendv_ps(_mm256_mul_ps(v, alphas<AI>(v)), v, keep));
    }
    return x;
}

PremultRowsDeep const kRows[2] = {{&premultiply16<0>, &premultiply32<0>},
                                  {&premultiply16<3>, &premultiply32<3>}};

} // namespace

PremultRowsDeep const* premultRowsDeepAvx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return &kRows[alphaIndex == 0 ? 0 : 1];
}

#else

PremultRowsDeep const* premultRowsDeepAvx2(int) {
    return nullptr;
}

#endif

PremultRowsDeep const* chosenPremultRowsDeep(int alphaIndex) {
    return processorHasAvx2() ? premultRowsDeepAvx2(alphaIndex) : nullptr;
}
