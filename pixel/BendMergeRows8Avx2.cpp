#include "pixel/BendMergeRows8.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

MIRREL_AVX2_INLINE __m256i stored(__m256 x) {
    __m256i const v = _mm256_cvttps_epi32(x);
    return _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(255));
}

// Channel I of the eight pixels, merged and moved back to its byte.
template <int I>
MIRREL_AVX2_INLINE __m256i merged(__m256i d, __m256i b, __m256 kFar, __m256 kNear, __m256 notFar,
                                  __m256 half, __m256i nearEmpty, __m256i nearFull) {
    __m256 const bf = _mm256_cvtepi32_ps(byteLanes<I>(b));
    __m256 const df = _mm256_cvtepi32_ps(byteLanes<I>(d));
    __m256i const fromBent = stored(_mm256_add_ps(_mm256_mul_ps(bf, kFar), half));
    __m256i const fromNear = stored(_mm256_add_ps(_mm256_mul_ps(df, kNear), half));
    __m256i const blended = stored(
        _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(bf, kFar), _mm256_mul_ps(df, notFar)), half));
    __m256i const v =
        _mm256_blendv_epi8(_mm256_blendv_epi8(blended, fromNear, nearFull), fromBent, nearEmpty);
    return _mm256_slli_epi32(v, 8 * I);
}

template <int AI>
MIRREL_AVX2 int mergeRow(unsigned char const* unbent, unsigned char* dest,
                         unsigned char const* bent, unsigned char const* nearMask,
                         unsigned char const* farMask, int width, float recip, float half) {
    bool const apart = unbent != dest;
    __m256 const r = _mm256_set1_ps(recip), h = _mm256_set1_ps(half);
    __m256 const one = _mm256_set1_ps(1.0f);
    __m256i const zero = _mm256_setzero_si256(), full = _mm256_set1_epi32(255);
    // Runs of pixels that the masks settle alone are not read further: full near coverage keeps
    // the unbent pixel where the factor at full alpha gives every byte back, and no coverage at
    // all gives 0 (the bent picture times 0, plus half, truncated), which the check makes sure of.
    bool fullKeeps = true;
    for (int v = 0; v < 256; ++v) fullKeeps &= int(float(v) * (255.0f * recip) + half) == v;
    bool const emptyClears = int(0.0f + half) == 0;
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        auto const* u = reinterpret_cast<__m256i const*>(unbent + 4 * x);
        auto* p = reinterpret_cast<__m256i*>(dest + 4 * x);
        __m256i const nearA =
            byteLanes<AI>(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(nearMask + 4 * x)));
        __m256i const nearEmpty = _mm256_cmpeq_epi32(nearA, zero);
        __m256i const nearFull = _mm256_cmpeq_epi32(nearA, full);
        if (fullKeeps && _mm256_movemask_epi8(nearFull) == -1) {
            if (apart) _mm256_storeu_si256(p, _mm256_loadu_si256(u));
            continue;
        }
        __m256i const farA =
            byteLanes<AI>(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(farMask + 4 * x)));
        __m256i const farEmpty = _mm256_cmpeq_epi32(farA, zero);
        if (emptyClears && _mm256_movemask_epi8(_mm256_and_si256(nearEmpty, farEmpty)) == -1) {
            _mm256_storeu_si256(p, zero);
            continue;
        }
        __m256i const d = _mm256_loadu_si256(u);
        __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(bent + 4 * x));
        // Partly near and not far: the pixel stays.
        __m256i const keep = _mm256_andnot_si256(_mm256_or_si256(nearEmpty, nearFull), farEmpty);
        if (_mm256_movemask_epi8(keep) == -1) {
            if (apart) _mm256_storeu_si256(p, d);
            continue;
        }
        __m256 const kFar = _mm256_mul_ps(_mm256_cvtepi32_ps(farA), r);
        __m256 const kNear = _mm256_mul_ps(_mm256_cvtepi32_ps(nearA), r);
        __m256 const notFar = _mm256_sub_ps(one, kFar);
        __m256i const v = _mm256_or_si256(
            _mm256_or_si256(merged<0>(d, b, kFar, kNear, notFar, h, nearEmpty, nearFull),
                            merged<1>(d, b, kFar, kNear, notFar, h, nearEmpty, nearFull)),
            _mm256_or_si256(merged<2>(d, b, kFar, kNear, notFar, h, nearEmpty, nearFull),
                            merged<3>(d, b, kFar, kNear, notFar, h, nearEmpty, nearFull)));
        _mm256_storeu_si256(p, _mm256_blendv_epi8(v, d, keep));
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
