#include "pixel/InFrontRowsDeep.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// Two pixels as eight float lanes, channels in stored order.
MIRREL_AVX2_INLINE __m256 load2(unsigned short const* p) {
    return _mm256_cvtepi32_ps(
        _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p))));
}
MIRREL_AVX2_INLINE __m256 load2(float const* p) {
    return _mm256_loadu_ps(p);
}

// 16 bits: held to 0..65535 and truncated; float: as it is.
MIRREL_AVX2_INLINE void store2(unsigned short* p, __m256 v) {
    v = _mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(65535.0f));
    __m256i const i = _mm256_cvttps_epi32(v);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p),
                     _mm_packus_epi32(_mm256_castsi256_si128(i), _mm256_extracti128_si256(i, 1)));
}
MIRREL_AVX2_INLINE void store2(float* p, __m256 v) {
    _mm256_storeu_ps(p, v);
}

// The depth's multiply and divide: a * b / 65535 and a / b * 65535 in 16 bits, a * b and a / b
// in float; a zero divisor gives 0.
template <bool F> MIRREL_AVX2_INLINE __m256 mul(__m256 a, __m256 b) {
    __m256 const p = _mm256_mul_ps(a, b);
    return F ? p : _mm256_div_ps(p, _mm256_set1_ps(65535.0f));
}
template <bool F> MIRREL_AVX2_INLINE __m256 div(__m256 a, __m256 b) {
    __m256 q = _mm256_div_ps(a, b);
    if (!F) q = _mm256_mul_ps(q, _mm256_set1_ps(65535.0f));
    return _mm256_andnot_ps(_mm256_cmp_ps(b, _mm256_setzero_ps(), _CMP_EQ_OQ), q);
}

template <class C, int AI>
MIRREL_AVX2 int inFrontRow(C const* top, C const* bottom, C* out, int width, float opacityTop,
                           float opacityBottom, bool forceOpaque) {
    constexpr bool F = sizeof(C) == 4;
    constexpr int S = AI * 0x55; // alpha into every lane of its pixel
    __m256 const zero = _mm256_setzero_ps();
    __m256 const M = _mm256_set1_ps(F ? 1.0f : 65535.0f);
    __m256 const opTop = _mm256_set1_ps(opacityTop), opBottom = _mm256_set1_ps(opacityBottom);
    __m256 const alphaLane =
        _mm256_castsi256_ps(_mm256_setr_epi32(-(AI == 0), -(AI == 1), -(AI == 2), -(AI == 3),
                                              -(AI == 0), -(AI == 1), -(AI == 2), -(AI == 3)));
    int x = 0;
    for (; x + 2 <= width; x += 2) {
        __m256 const T = load2(top + 4 * x), B = load2(bottom + 4 * x);
        __m256 const A1 = _mm256_mul_ps(_mm256_permute_ps(T, S), opTop);
        __m256 const A2 = _mm256_mul_ps(_mm256_permute_ps(B, S), opBottom);
        __m256 const O = _mm256_sub_ps(_mm256_add_ps(A1, A2), mul<F>(A1, A2));
        __m256 const noTop = _mm256_cmp_ps(A1, zero, _CMP_EQ_OQ);
        if (_mm256_movemask_ps(noTop) == 0xFF) {
            // Neither pixel has a top: the blends below would keep only the bottom and the union
            // alpha, so the rest is not worked out.
            store2(out + 4 * x, _mm256_blendv_ps(B, forceOpaque ? M : O, alphaLane));
            continue;
        }
        // Float colour below 0 is read as 0 (NaN stays, as the loop's test leaves it).
        __m256 const c1 = F ? _mm256_max_ps(zero, T) : T;
        __m256 const c2 = F ? _mm256_max_ps(zero, B) : B;
        // A partly transparent bottom fades the mode's colour toward the top's.
        __m256 const partBottom =
            _mm256_and_ps(_mm256_cmp_ps(A2, zero, _CMP_GT_OQ), _mm256_cmp_ps(A2, M, _CMP_LT_OQ));
        __m256 res = _mm256_blendv_ps(
            c1, _mm256_add_ps(mul<F>(c1, _mm256_sub_ps(M, A2)), mul<F>(c1, A2)), partBottom);
        // An opaque top, or no bottom: the top's colour under its own alpha.
        __m256 const topOnly =
            _mm256_or_ps(_mm256_cmp_ps(A1, M, _CMP_EQ_OQ), _mm256_cmp_ps(A2, zero, _CMP_EQ_OQ));
        __m256 const K = mul<F>(_mm256_sub_ps(M, A1), A2);
        __m256 const mixed =
            div<F>(_mm256_add_ps(mul<F>(res, A1), mul<F>(c2, K)), _mm256_add_ps(A1, K));
        res = _mm256_blendv_ps(mixed, res, topOnly);
        __m256 a = _mm256_blendv_ps(O, A1, topOnly);
        // No top: the bottom pixel as it is, under the union alpha.
        res = _mm256_blendv_ps(res, B, noTop);
        a = _mm256_blendv_ps(a, O, noTop);
        if (forceOpaque) a = M;
        store2(out + 4 * x, _mm256_blendv_ps(res, a, alphaLane));
    }
    return x;
}

} // namespace

InFrontRowDeep<unsigned short> inFrontRow16Avx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return alphaIndex == 0 ? &inFrontRow<unsigned short, 0> : &inFrontRow<unsigned short, 3>;
}

InFrontRowDeep<float> inFrontRow32Avx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return alphaIndex == 0 ? &inFrontRow<float, 0> : &inFrontRow<float, 3>;
}

#else

InFrontRowDeep<unsigned short> inFrontRow16Avx2(int) {
    return nullptr;
}
InFrontRowDeep<float> inFrontRow32Avx2(int) {
    return nullptr;
}

#endif

InFrontRowDeep<unsigned short> chosenInFrontRow16(int alphaIndex) {
    return processorHasAvx2() ? inFrontRow16Avx2(alphaIndex) : nullptr;
}
InFrontRowDeep<float> chosenInFrontRow32(int alphaIndex) {
    return processorHasAvx2() ? inFrontRow32Avx2(alphaIndex) : nullptr;
}
