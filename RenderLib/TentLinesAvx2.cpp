#include "RenderLib/TentLines.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

#include <cstring>

namespace {

// Four channel values widened to double, and back with the portable cast: truncation for the
// integers (the sums stay in their range), rounding to nearest for float.
MIRREL_AVX2_INLINE __m256d load4(unsigned char const* p) {
    int bits;
    std::memcpy(&bits, p, 4);
    return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bits)));
}
MIRREL_AVX2_INLINE __m256d load4(unsigned short const* p) {
    return _mm256_cvtepi32_pd(
        _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p))));
}
MIRREL_AVX2_INLINE __m256d load4(float const* p) {
    return _mm256_cvtps_pd(_mm_loadu_ps(p));
}
MIRREL_AVX2_INLINE void store4(unsigned char* p, __m256d v) {
    __m128i const i = _mm256_cvttpd_epi32(v);
    int const bits = _mm_cvtsi128_si32(_mm_packus_epi16(_mm_packus_epi32(i, i), i));
    std::memcpy(p, &bits, 4);
}
MIRREL_AVX2_INLINE void store4(unsigned short* p, __m256d v) {
    __m128i const i = _mm256_cvttpd_epi32(v);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi32(i, i));
}
MIRREL_AVX2_INLINE void store4(float* p, __m256d v) {
    _mm_storeu_ps(p, _mm256_cvtpd_ps(v));
}

template <class C>
MIRREL_AVX2_INLINE __m256d at(unsigned char const* base, std::ptrdiff_t step, int i) {
    return load4(reinterpret_cast<C const*>(base + std::ptrdiff_t(i) * step));
}

// Output i, then S += D; D += (pl + pr) - 2 m.
template <class C>
MIRREL_AVX2_INLINE void emitAdvance(unsigned char* dst, std::ptrdiff_t dstStep, int i, __m256d& S,
                                    __m256d& D, __m256d recip, __m256d pl, __m256d pr, __m256d m) {
    store4(reinterpret_cast<C*>(dst + std::ptrdiff_t(i) * dstStep), _mm256_mul_pd(S, recip));
    S = _mm256_add_pd(S, D);
    D = _mm256_add_pd(D,
                      _mm256_sub_pd(_mm256_add_pd(pl, pr), _mm256_mul_pd(_mm256_set1_pd(2.0), m)));
}

template <class C>
MIRREL_AVX2 void line(unsigned char const* src, std::ptrdiff_t srcStep, unsigned char* dst,
                      std::ptrdiff_t dstStep, int length, int r) {
    __m256d const recip = _mm256_set1_pd(1.0 / (double(r + 1) * double(r + 1)));
    __m256d const p0 = at<C>(src, srcStep, 0), pEnd = at<C>(src, srcStep, length - 1);
    __m256d S = _mm256_mul_pd(_mm256_set1_pd(double(r + 1)), p0);
    for (int k = 1; k <= r; ++k)
        S = _mm256_add_pd(S, _mm256_add_pd(_mm256_mul_pd(_mm256_set1_pd(double(k)), p0),
                                           _mm256_mul_pd(_mm256_set1_pd(double(r + 1 - k)),
                                                         at<C>(src, srcStep, k))));
    __m256d D = _mm256_setzero_pd();
    for (int k = 1; k <= r + 1; ++k)
        D = _mm256_add_pd(D, _mm256_sub_pd(at<C>(src, srcStep, k), p0));
    int i = 0;
    for (; i <= r; ++i)
        emitAdvance<C>(dst, dstStep, i, S, D, recip, p0, at<C>(src, srcStep, i + r + 2),
                       at<C>(src, srcStep, i + 1));
    for (; i <= length - r - 3; ++i)
        emitAdvance<C>(dst, dstStep, i, S, D, recip, at<C>(src, srcStep, i - r),
                       at<C>(src, srcStep, i + r + 2), at<C>(src, srcStep, i + 1));
    for (; i <= length - 2; ++i)
        emitAdvance<C>(dst, dstStep, i, S, D, recip, at<C>(src, srcStep, i - r), pEnd,
                       at<C>(src, srcStep, i + 1));
    store4(reinterpret_cast<C*>(dst + std::ptrdiff_t(i) * dstStep), _mm256_mul_pd(S, recip));
}

template <class C>
MIRREL_AVX2 void step(C const* L, C const* R, C const* M, C* out, double* S, double* D, int values,
                      double recip) {
    __m256d const rv = _mm256_set1_pd(recip), two = _mm256_set1_pd(2.0);
    int v = 0;
    for (; v + 4 <= values; v += 4) {
        __m256d const s = _mm256_loadu_pd(S + v), d = _mm256_loadu_pd(D + v);
        store4(out + v, _mm256_mul_pd(s, rv));
        _mm256_storeu_pd(S + v, _mm256_add_pd(s, d));
        _mm256_storeu_pd(D + v,
                         _mm256_add_pd(d, _mm256_sub_pd(_mm256_add_pd(load4(L + v), load4(R + v)),
                                                        _mm256_mul_pd(two, load4(M + v)))));
    }
    for (; v < values; ++v) {
        out[v] = C(S[v] * recip);
        S[v] += D[v];
        D[v] += double(L[v]) + double(R[v]) - 2.0 * double(M[v]);
    }
}

template <class C> TentKernels<C> const kKernels = {&line<C>, &step<C>};

} // namespace

template <class C> TentKernels<C> const* tentKernelsAvx2() {
    return __builtin_cpu_supports("avx2") ? &kKernels<C> : nullptr;
}

#else

template <class C> TentKernels<C> const* tentKernelsAvx2() {
    return nullptr;
}

#endif

template <class C> TentKernels<C> const* chosenTentKernels() {
    static TentKernels<C> const* const chosen = processorHasAvx2() ? tentKernelsAvx2<C>() : nullptr;
    return chosen;
}

template TentKernels<unsigned char> const* tentKernelsAvx2();
template TentKernels<unsigned short> const* tentKernelsAvx2();
template TentKernels<float> const* tentKernelsAvx2();
template TentKernels<unsigned char> const* chosenTentKernels();
template TentKernels<unsigned short> const* chosenTentKernels();
template TentKernels<float> const* chosenTentKernels();
