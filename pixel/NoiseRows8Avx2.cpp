#include "pixel/NoiseRows8.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

template <int AI>
MIRREL_AVX2 int noiseRow(unsigned char* px, unsigned char const* field, int width, float a,
                         float h) {
    __m256 const av = _mm256_set1_ps(a), hv = _mm256_set1_ps(h);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        __m256i const f = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(field + 4 * x));
        addGrain8<AI>(px + 4 * x, byteLanes<AI>(f), hv, av);
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
