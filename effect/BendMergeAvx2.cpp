#include "effect/BendMerge.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

// Channel I of eight pixels merged, back in its byte. The selection follows the scalar order:
// near mask empty, near mask full, far mask showing, else the pixel stays.
template <int I>
MIRREL_AVX2_INLINE __m256i merged(__m256i d, __m256i b, __m256 kFar, __m256 kNear, __m256 half,
                                  __m256i nearEmpty, __m256i nearFull, __m256i farShows) {
    __m256i const dc = byteLanes<I>(d);
    __m256 const df = _mm256_cvtepi32_ps(dc), bf = _mm256_cvtepi32_ps(byteLanes<I>(b));
    __m256 const bk = _mm256_mul_ps(bf, kFar);
    __m256i const turned = _mm256_cvttps_epi32(_mm256_add_ps(bk, half));
    __m256i const kept = _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(df, kNear), half));
    __m256 const mixF = _mm256_add_ps(
        _mm256_add_ps(bk, _mm256_mul_ps(df, _mm256_sub_ps(_mm256_set1_ps(1.0f), kFar))), half);
    __m256i const mixed = _mm256_cvttps_epi32(mixF);
    __m256i v = _mm256_blendv_epi8(dc, mixed, farShows);
    v = _mm256_blendv_epi8(v, kept, nearFull);
    v = _mm256_blendv_epi8(v, turned, nearEmpty);
    v = _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(255));
    return _mm256_slli_epi32(v, 8 * I);
}

MIRREL_AVX2_INLINE __m256i load(unsigned char const* p) {
    return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p));
}

template <int AI>
MIRREL_AVX2 int mergeRow(unsigned char* dst, unsigned char const* bent,
                         unsigned char const* nearMask, unsigned char const* farMask, int width) {
    __m256 const recip = _mm256_set1_ps(float(0.003921568627)), half = _mm256_set1_ps(0.5f);
    __m256i const zero = _mm256_setzero_si256(), full = _mm256_set1_epi32(255);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        __m256i const d = load(dst + 4 * x), b = load(bent + 4 * x);
        __m256i const nearA = byteLanes<AI>(load(nearMask + 4 * x));
        __m256i const farA = byteLanes<AI>(load(farMask + 4 * x));
        __m256i const nearEmpty = _mm256_cmpeq_epi32(nearA, zero);
        __m256i const nearFull = _mm256_cmpeq_epi32(nearA, full);
        __m256i const farEmpty = _mm256_cmpeq_epi32(farA, zero);
        // Where the near mask is full, the picture comes back as it was (d times 255 times the
        // reciprocal, which rounds to 1, plus a half, truncated); where both masks are empty,
        // it becomes zero. Groups wholly of one kind skip the arithmetic.
        if (_mm256_movemask_epi8(nearFull) == -1) continue;
        if (_mm256_movemask_epi8(_mm256_and_si256(nearEmpty, farEmpty)) == -1) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 4 * x), zero);
            continue;
        }
        __m256i const farShows = _mm256_xor_si256(farEmpty, _mm256_set1_epi32(-1));
        __m256 const kFar = _mm256_mul_ps(_mm256_cvtepi32_ps(farA), recip);
        __m256 const kNear = _mm256_mul_ps(_mm256_cvtepi32_ps(nearA), recip);
        __m256i const out = _mm256_or_si256(
            _mm256_or_si256(merged<0>(d, b, kFar, kNear, half, nearEmpty, nearFull, farShows),
                            merged<1>(d, b, kFar, kNear, half, nearEmpty, nearFull, farShows)),
            _mm256_or_si256(merged<2>(d, b, kFar, kNear, half, nearEmpty, nearFull, farShows),
                            merged<3>(d, b, kFar, kNear, half, nearEmpty, nearFull, farShows)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 4 * x), out);
    }
    return x;
}

} // namespace

BendMergeRow8 bendMergeRow8Avx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return alphaIndex == 0 ? &mergeRow<0> : &mergeRow<3>;
}

#else

BendMergeRow8 bendMergeRow8Avx2(int) {
    return nullptr;
}

#endif

BendMergeRow8 chosenBendMergeRow8(int alphaIndex) {
    return processorHasAvx2() ? bendMergeRow8Avx2(alphaIndex) : nullptr;
}
