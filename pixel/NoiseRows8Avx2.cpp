#include "pixel/NoiseRows8.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

template <int AI>
MIRREL_AVX2 int noiseRow(unsigned char* px, unsigned char const* field, int width, float a,
                         float h) {
    constexpr int C0 = AI == 0 ? 1 : 0;
    __m256i const alphaBits = _mm256_set1_epi32(int(0xFFu << (8 * AI)));
    __m256 const av = _mm256_set1_ps(a), hv = _mm256_set1_ps(h);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        auto* p = reinterpret_cast<__m256i*>(px + 4 * x);
        __m256i const v = _mm256_loadu_si256(p);
        __m256i const f = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(field + 4 * x));
        __m256 const n = _mm256_mul_ps(_mm256_sub_ps(_mm256_cvtepi32_ps(byteLanes<AI>(f)), hv), av);
        __m256i const colours = _mm256_or_si256(
            _mm256_or_si256(grained<C0>(v, n), grained<C0 + 1>(v, n)), grained<C0 + 2>(v, n));
        _mm256_storeu_si256(p, _mm256_or_si256(colours, _mm256_and_si256(v, alphaBits)));
    }
    return x;
}

} // namespace

NoiseRow8 noiseRow8Avx2(int alphaIndex) {
    if (!__builtin_cpu_supports("avx2")) return nullptr;
    return alphaIndex == 0 ? &noiseRow<0> : &noiseRow<3>;
}

#else

NoiseRow8 noiseRow8Avx2(int) {
    return nullptr;
}

#endif

NoiseRow8 chosenNoiseRow8(int alphaIndex) {
    return processorHasAvx2() ? noiseRow8Avx2(alphaIndex) : nullptr;
}
