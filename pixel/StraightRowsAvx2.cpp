#include "pixel/Processor.h"
#include "pixel/StraightRows.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// The alpha of each of two pixels in all its four lanes.
template <int AI> MIRREL_AVX2_INLINE __m256 alphas(__m256 v) {
    return _mm256_permutevar8x32_ps(
        v, _mm256_setr_epi32(AI, AI, AI, AI, 4 + AI, 4 + AI, 4 + AI, 4 + AI));
}

// Lanes that keep their value: the alpha lanes, and every lane of a pixel whose alpha is not
// above 0.
template <int AI> MIRREL_AVX2_INLINE __m256 kept(__m256 a) {
    __m256 const alphaLanes = _mm256_castsi256_ps(_mm256_setr_epi32(
        AI == 0 ? -1 : 0, 0, 0, AI == 3 ? -1 : 0, AI == 0 ? -1 : 0, 0, 0, AI == 3 ? -1 : 0));
    return _mm256_or_ps(alphaLanes, _mm256_cmp_ps(a, _mm256_setzero_ps(), _CMP_NGT_UQ));
}

template <int AI> MIRREL_AVX2 int straight16(unsigned short* px, int width) {
    __m256 const full = _mm256_set1_ps(65535.0f);
    int x = 0;
    for (; x + 2 <= width; x += 2) {
        auto* p = reinterpret_cast<__m128i*>(px + 4 * x);
        __m128i const raw = _mm_loadu_si128(p);
        __m256i const wide = _mm256_cvtepu16_epi32(raw);
        __m256 const v = _mm256_cvtepi32_ps(wide);
        __m256 const a = alphas<AI>(v);
        __m256 const keep = kept<AI>(a);
        if (_mm256_movemask_ps(keep) == 0xFF) continue; // both clear: nothing changes
        // x 65535 / a, then values above 65535 become 65535 (the quotient is never NaN here).
        __m256 const q = _mm256_div_ps(_mm256_mul_ps(v, full), a);
        __m256 const held = _mm256_blendv_ps(q, full, _mm256_cmp_ps(q, full, _CMP_GT_OQ));
        __m256i const t =
            _mm256_blendv_epi8(_mm256_cvttps_epi32(held), wide, _mm256_castps_si256(keep));
        _mm_storeu_si128(
            p, _mm_packus_epi32(_mm256_castsi256_si128(t), _mm256_extracti128_si256(t, 1)));
    }
    return x;
}

template <int AI> MIRREL_AVX2 int straight32(float* px, int width) {
    __m256 const one = _mm256_set1_ps(1.0f);
    int x = 0;
    for (; x + 2 <= width; x += 2) {
        float* p = px + 4 * x;
        __m256 const v = _mm256_loadu_ps(p);
        __m256 const a = alphas<AI>(v);
        __m256 const keep = kept<AI>(a);
        if (_mm256_movemask_ps(keep) == 0xFF) continue; // both clear: nothing changes
        __m256 const q = _mm256_div_ps(_mm256_mul_ps(v, one), a);
        _mm256_storeu_ps(p, _mm256_blendv_ps(q, v, keep));
    }
    return x;
}

StraightRows const kRows[2] = {{&straight16<0>, &straight32<0>}, {&straight16<3>, &straight32<3>}};

} // namespace

StraightRows const* straightRowsAvx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return &kRows[alphaIndex == 0 ? 0 : 1];
}

#else

StraightRows const* straightRowsAvx2(int) {
    return nullptr;
}

#endif

StraightRows const* chosenStraightRows(int alphaIndex) {
    return processorHasAvx2() ? straightRowsAvx2(alphaIndex) : nullptr;
}
