#include "pixel/InFrontRows8.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// (a * b + 128) >> 8 in every lane.
MIRREL_AVX2_INLINE __m256i mul(__m256i a, __m256i b) {
    return _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(a, b), _mm256_set1_epi32(128)), 8);
}

// The table entries of the eight alphas; a group whose alphas are all 0 or all full, as most are,
// reads its one entry without a gather.
template <int AI> MIRREL_AVX2_INLINE __m256i scaled(__m256i px, int const* table) {
    __m256i const alphas = _mm256_and_si256(px, _mm256_set1_epi32(int(0xFFu << (8 * AI))));
    if (_mm256_testz_si256(alphas, alphas)) return _mm256_set1_epi32(table[0]);
    if (_mm256_testc_si256(alphas, _mm256_set1_epi32(int(0xFFu << (8 * AI)))))
        return _mm256_set1_epi32(table[255]);
    return _mm256_i32gather_epi32(table, byteLanes<AI>(px), 4);
}

// The per-pixel conditions and terms of eight pixels, shared by their three colours.
struct Lanes {
    __m256i A1, A2, K, noTop, partBottom, topOnly;
    __m256 sum;
};

// Colour I of eight pixels, in place at its byte. Without Divide, no lane needs the division.
template <int I, bool Divide>
MIRREL_AVX2_INLINE __m256i colour(__m256i t, __m256i b, Lanes const& l) {
    __m256i const full = _mm256_set1_epi32(255);
    __m256i const c1 = byteLanes<I>(t);
    __m256i const c2 = byteLanes<I>(b);
    __m256i r = _mm256_blendv_epi8(
        c1, _mm256_add_epi32(mul(c1, _mm256_sub_epi32(full, l.A2)), mul(c1, l.A2)), l.partBottom);
    if constexpr (Divide) {
        __m256i const n = _mm256_add_epi32(mul(r, l.A1), mul(c2, l.K));
        __m256i const q = _mm256_cvttps_epi32(
            _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_mullo_epi32(n, full)), l.sum));
        r = _mm256_blendv_epi8(q, r, l.topOnly);
    }
    r = _mm256_blendv_epi8(r, c2, l.noTop);
    r = _mm256_max_epi32(_mm256_min_epi32(r, full), _mm256_setzero_si256());
    return _mm256_slli_epi32(r, 8 * I);
}

// The three colours, at the bytes other than alpha's.
template <int AI, bool Divide>
MIRREL_AVX2_INLINE __m256i colours(__m256i t, __m256i b, Lanes const& l) {
    constexpr int C0 = AI == 0 ? 1 : 0;
    return _mm256_or_si256(
        _mm256_or_si256(colour<C0, Divide>(t, b, l), colour<C0 + 1, Divide>(t, b, l)),
        colour<C0 + 2, Divide>(t, b, l));
}

template <int AI>
MIRREL_AVX2 int inFrontRow(unsigned char const* top, unsigned char const* bottom,
                           unsigned char* out, int width, int const* scaledTop,
                           int const* scaledBottom, bool forceOpaque) {
    __m256i const zero = _mm256_setzero_si256();
    __m256i const full = _mm256_set1_epi32(255);
    __m256i const ones = _mm256_cmpeq_epi32(full, full);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        __m256i const t = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(top + 4 * x));
        __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(bottom + 4 * x));
        Lanes l;
        l.A1 = scaled<AI>(t, scaledTop);
        l.A2 = scaled<AI>(b, scaledBottom);
        // No top: the bottom pixel as it is, under the union alpha.
        l.noTop = _mm256_cmpeq_epi32(l.A1, zero);
        // A partly transparent bottom fades the mode's colour toward the top's.
        l.partBottom =
            _mm256_and_si256(_mm256_cmpgt_epi32(l.A2, zero), _mm256_cmpgt_epi32(full, l.A2));
        // An opaque top, or no bottom: the top's colour under its own alpha.
        l.topOnly = _mm256_or_si256(_mm256_cmpeq_epi32(l.A1, full), _mm256_cmpeq_epi32(l.A2, zero));
        l.K = mul(_mm256_sub_epi32(full, l.A1), l.A2);
        l.sum = _mm256_cvtepi32_ps(_mm256_add_epi32(l.A1, l.K));
        __m256i const unionAlpha = _mm256_sub_epi32(_mm256_add_epi32(l.A1, l.A2), mul(l.A1, l.A2));
        __m256i a = _mm256_blendv_epi8(unionAlpha, l.A1, _mm256_andnot_si256(l.noTop, l.topOnly));
        a = forceOpaque ? full : _mm256_max_epi32(_mm256_min_epi32(a, full), zero);
        // Groups wholly outside the top keep the bottom's colour; most others need no division.
        __m256i rgb;
        if (_mm256_testc_si256(l.noTop, ones))
            rgb = _mm256_andnot_si256(_mm256_slli_epi32(full, 8 * AI), b);
        else if (_mm256_testc_si256(_mm256_or_si256(l.noTop, l.topOnly), ones))
            rgb = colours<AI, false>(t, b, l);
        else
            rgb = colours<AI, true>(t, b, l);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * x),
                            _mm256_or_si256(rgb, _mm256_slli_epi32(a, 8 * AI)));
    }
    return x;
}

} // namespace

InFrontRow8 inFrontRow8Avx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return alphaIndex == 0 ? &inFrontRow<0> : &inFrontRow<3>;
}

#else

InFrontRow8 inFrontRow8Avx2(int) {
    return nullptr;
}

#endif

InFrontRow8 chosenInFrontRow8(int alphaIndex) {
    return processorHasAvx2() ? inFrontRow8Avx2(alphaIndex) : nullptr;
}
