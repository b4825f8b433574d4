#include "pixel/AlphaRows8.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

template <int I> MIRREL_AVX2_INLINE __m256i premultiplied(__m256i px, __m256i a) {
    __m256i const c = _mm256_mullo_epi32(byteLanes<I>(px), a);
    return _mm256_slli_epi32(_mm256_srli_epi32(_mm256_add_epi32(c, _mm256_set1_epi32(128)), 8),
                             8 * I);
}

template <int I> MIRREL_AVX2_INLINE __m256i straightened(__m256i px, __m256 a) {
    __m256i const c = _mm256_mullo_epi32(byteLanes<I>(px), _mm256_set1_epi32(255));
    __m256i const q = _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(c), a));
    return _mm256_slli_epi32(_mm256_min_epi32(q, _mm256_set1_epi32(255)), 8 * I);
}

template <int AI> MIRREL_AVX2 int premultiplyRow(unsigned char* px, int width) {
    constexpr int C0 = AI == 0 ? 1 : 0;
    __m256i const alphaBits = _mm256_set1_epi32(int(0xFFu << (8 * AI)));
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        auto* p = reinterpret_cast<__m256i*>(px + 4 * x);
        __m256i const v = _mm256_loadu_si256(p);
        __m256i const a = byteLanes<AI>(v);
        __m256i const colours =
            _mm256_or_si256(_mm256_or_si256(premultiplied<C0>(v, a), premultiplied<C0 + 1>(v, a)),
                            premultiplied<C0 + 2>(v, a));
        _mm256_storeu_si256(p, _mm256_or_si256(colours, _mm256_and_si256(v, alphaBits)));
    }
    return x;
}

template <int AI> MIRREL_AVX2 int unpremultiplyRow(unsigned char* px, int width) {
    constexpr int C0 = AI == 0 ? 1 : 0;
    __m256i const alphaBits = _mm256_set1_epi32(int(0xFFu << (8 * AI)));
    __m256i const zero = _mm256_setzero_si256();
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        auto* p = reinterpret_cast<__m256i*>(px + 4 * x);
        __m256i const v = _mm256_loadu_si256(p);
        __m256i const alphas = _mm256_and_si256(v, alphaBits);
        // Alpha 0 keeps its colour and full alpha divides to itself.
        __m256i const keep = _mm256_or_si256(_mm256_cmpeq_epi32(alphas, zero),
                                             _mm256_cmpeq_epi32(alphas, alphaBits));
        if (_mm256_movemask_epi8(keep) == -1) continue;
        __m256 const a = _mm256_cvtepi32_ps(byteLanes<AI>(v));
        __m256i const colours =
            _mm256_or_si256(_mm256_or_si256(straightened<C0>(v, a), straightened<C0 + 1>(v, a)),
                            straightened<C0 + 2>(v, a));
        _mm256_storeu_si256(p, _mm256_blendv_epi8(_mm256_or_si256(colours, alphas), v, keep));
    }
    return x;
}

AlphaRows8 const kRows[2] = {{&premultiplyRow<0>, &unpremultiplyRow<0>},
                             {&premultiplyRow<3>, &unpremultiplyRow<3>}};

} // namespace

AlphaRows8 const* alphaRows8Avx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return &kRows[alphaIndex == 0 ? 0 : 1];
}

#else

AlphaRows8 const* alphaRows8Avx2(int) {
    return nullptr;
}

#endif

AlphaRows8 const* chosenAlphaRows8(int alphaIndex) {
    return processorHasAvx2() ? alphaRows8Avx2(alphaIndex) : nullptr;
}
