#include "RenderLib/NoisePlane8.h"
#include "RenderLib/TentBlur.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Eight int lanes within 0..255 as bytes.
MIRREL_AVX2_INLINE void store8(unsigned char* p, __m256i v) {
    __m128i const w = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(w, w));
}

// For radii up to 15 the sums stay below 2^16, and 16 lanes of 16 bits take them, with the
// truncated product by 1 / (r + 1)^2 in double done as a high product by m and a shift by k. Such
// an m and k are taken only once every sum the radius can give has been checked to come out as
// the double product does.
struct Divider {
    int m = 0, k = 0;
    bool exact = false;
};

Divider const& dividerFor(int r) {
    thread_local Divider known[16];
    thread_local bool tried[16] = {};
    Divider& d = known[r];
    if (tried[r]) return d;
    tried[r] = true;
    int const n = (r + 1) * (r + 1);
    double const recip = 1.0 / (double(r + 1) * double(r + 1));
    for (int k = 0; k < 16 && !d.exact; ++k) {
        long const m = ((1L << (16 + k)) + n - 1) / n;
        if (m >= 65536) break;
        bool all = true;
        for (int S = 0; S <= 255 * n && all; ++S)
            all = ((long(S) * m) >> (16 + k)) == long(double(S) * recip);
        if (all) d = Divider{int(m), k, true};
    }
    return d;
}

MIRREL_AVX2_INLINE __m256i load16(unsigned char const* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)));
}
// Sixteen sums divided and stored as bytes.
MIRREL_AVX2_INLINE void store16(unsigned char* p, __m256i sums, __m256i m, __m128i k) {
    __m256i const q = _mm256_srl_epi16(_mm256_mulhi_epu16(sums, m), k);
    __m128i const bytes =
        _mm_packus_epi16(_mm256_castsi256_si128(q), _mm256_extracti128_si256(q, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), bytes);
}

MIRREL_AVX2 void fill(unsigned char* field, int const* rands, int n) {
    __m256i const top = _mm256_set1_epi32(2147483647), full = _mm256_set1_epi32(255);
    __m256 const unit = _mm256_set1_ps(4.656613e-10f), scale = _mm256_set1_ps(255.0f);
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        __m256i v = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(rands + i));
        v = _mm256_andnot_si256(_mm256_cmpeq_epi32(v, top), v); // v % 2147483647
        __m256 const u = _mm256_mul_ps(_mm256_cvtepi32_ps(v), unit);
        __m256i const b = _mm256_cvttps_epi32(_mm256_mul_ps(u, scale));
        store8(field + i, _mm256_min_epi32(_mm256_max_epi32(b, _mm256_setzero_si256()), full));
    }
    for (; i < n; ++i)
        field[i] = (unsigned char)std::clamp(
            int(float(rands[i] % 2147483647) * 4.656613e-10f * 255.0f), 0, 255);
}

MIRREL_AVX2 void planeRows(unsigned char const* field, unsigned char* work, int width, int height,
                           int r) {
    double const recip = 1.0 / (double(r + 1) * double(r + 1));
    __m256d const recipV = _mm256_set1_pd(recip);
    int const taps = 2 * r + 1;
    std::vector<unsigned char> pad(std::size_t(width + taps + 16));
    Divider const div = r < 16 ? dividerFor(r) : Divider{};
    __m256i const m16 = _mm256_set1_epi16(short(div.m));
    __m128i const k16 = _mm_cvtsi32_si128(div.k);
    for (int y = 0; y < height; ++y) {
        unsigned char const* src = field + std::ptrdiff_t(y) * width;
        unsigned char* dst = work + std::ptrdiff_t(y) * width;
        // The row with its ends repeated r times, so that every tap reads inside.
        std::memset(pad.data(), src[0], std::size_t(r));
        std::memcpy(pad.data() + r, src, std::size_t(width));
        std::memset(pad.data() + r + width, src[width - 1], std::size_t(r));
        int x = 0;
        if (div.exact)
            for (; x + 16 <= width; x += 16) {
                __m256i sum = _mm256_setzero_si256();
                for (int t = 0; t < taps; ++t)
                    sum = _mm256_add_epi16(
                        sum, _mm256_mullo_epi16(load16(&pad[std::size_t(x + t)]),
                                                _mm256_set1_epi16(short(r + 1 - std::abs(t - r)))));
                store16(dst + x, sum, m16, k16);
            }
        for (; x + 8 <= width; x += 8) {
            __m256i sum = _mm256_setzero_si256();
            for (int t = 0; t < taps; ++t)
                sum = _mm256_add_epi32(
                    sum, _mm256_mullo_epi32(load8(&pad[std::size_t(x + t)]),
                                            _mm256_set1_epi32(r + 1 - std::abs(t - r))));
            store8(dst + x, sumsTimes(sum, recipV));
        }
        for (; x < width; ++x) {
            int sum = 0;
            for (int t = 0; t < taps; ++t)
                sum += (r + 1 - std::abs(t - r)) * pad[std::size_t(x + t)];
            dst[x] = (unsigned char)(double(sum) * recip);
        }
    }
}

// The columns by the running sum S and first difference D of every column, moved down the rows
// together as the four-channel column pass moves them.
MIRREL_AVX2 void planeColumns(unsigned char const* work, unsigned char* field, int width,
                              int height, int r) {
    double const recip = 1.0 / (double(r + 1) * double(r + 1));
    __m256d const recipV = _mm256_set1_pd(recip);
    auto row = [&](int y) { return work + std::ptrdiff_t(y) * width; };
    std::vector<std::int32_t> S(std::size_t(width) + 8), D(std::size_t(width) + 8);
    unsigned char const* p0 = row(0);
    for (int x = 0; x < width; ++x) S[x] = (r + 1) * p0[x], D[x] = 0;
    for (int k = 1; k <= r; ++k)
        for (int x = 0; x < width; ++x) S[x] += k * p0[x] + (r + 1 - k) * row(k)[x];
    for (int k = 1; k <= r + 1; ++k)
        for (int x = 0; x < width; ++x) D[x] += row(k)[x] - p0[x];
    // Sixteen-bit copies of the sums for the columns the wide lanes take: S stays within its
    // true value's 16 bits, D wraps alike.
    Divider const div = r < 16 ? dividerFor(r) : Divider{};
    int const wide = div.exact ? width / 16 * 16 : 0;
    std::vector<std::uint16_t> S16(static_cast<std::size_t>(wide)), D16(S16.size());
    for (int x = 0; x < wide; ++x) S16[x] = std::uint16_t(S[x]), D16[x] = std::uint16_t(D[x]);
    __m256i const m16 = _mm256_set1_epi16(short(div.m));
    __m128i const k16 = _mm_cvtsi32_si128(div.k);
    for (int i = 0; i < height; ++i) {
        unsigned char* out = field + std::ptrdiff_t(i) * width;
        bool const last = i == height - 1;
        unsigned char const* L = row(std::max(i - r, 0));
        unsigned char const* R = row(std::min(i + r + 2, height - 1));
        unsigned char const* M = row(std::min(i + 1, height - 1));
        int x = 0;
        for (; x < wide; x += 16) {
            auto* sp = reinterpret_cast<__m256i*>(&S16[x]);
            auto* dp = reinterpret_cast<__m256i*>(&D16[x]);
            __m256i s = _mm256_loadu_si256(sp), d = _mm256_loadu_si256(dp);
            store16(out + x, s, m16, k16);
            if (last) continue;
            _mm256_storeu_si256(sp, _mm256_add_epi16(s, d));
            d = _mm256_add_epi16(d, _mm256_sub_epi16(_mm256_add_epi16(load16(L + x), load16(R + x)),
                                                     _mm256_slli_epi16(load16(M + x), 1)));
            _mm256_storeu_si256(dp, d);
        }
        for (; x + 8 <= width; x += 8) {
            __m256i s = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(&S[x]));
            __m256i d = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(&D[x]));
            store8(out + x, sumsTimes(s, recipV));
            if (last) continue;
            s = _mm256_add_epi32(s, d);
            d = _mm256_add_epi32(d, _mm256_sub_epi32(_mm256_add_epi32(load8(L + x), load8(R + x)),
                                                     _mm256_slli_epi32(load8(M + x), 1)));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(&S[x]), s);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(&D[x]), d);
        }
        for (; x < width; ++x) {
            out[x] = (unsigned char)(double(S[x]) * recip);
            S[x] += D[x];
            D[x] += L[x] + R[x] - 2 * M[x];
        }
    }
}

MIRREL_AVX2 void tent(unsigned char* field, unsigned char* work, int width, int height, int across,
                      int down) {
    across = blur_detail::limitTentRadius(across, width);
    down = blur_detail::limitTentRadius(down, height);
    std::size_t const bytes = std::size_t(width) * std::size_t(height);
    if (across > 0)
        planeRows(field, work, width, height, across);
    else
        std::memcpy(work, field, bytes);
    if (down > 0)
        planeColumns(work, field, width, height, down);
    else
        std::memcpy(field, work, bytes);
}

MIRREL_AVX2 void blend(unsigned char* field, unsigned char const* other, int n, float mix,
                       float keep) {
    __m256 const m = _mm256_set1_ps(mix), k = _mm256_set1_ps(keep), half = _mm256_set1_ps(0.5f);
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        __m256 const a = _mm256_cvtepi32_ps(load8(field + i));
        __m256 const b = _mm256_cvtepi32_ps(load8(other + i));
        __m256 const v =
            _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(a, m), _mm256_mul_ps(b, k)), half);
        store8(field + i, _mm256_cvttps_epi32(v));
    }
    for (; i < n; ++i)
        field[i] = (unsigned char)int(float(field[i]) * mix + float(other[i]) * keep + 0.5f);
}

template <int AI>
MIRREL_AVX2 int add(unsigned char* px, unsigned char const* field, int width, float a, float h) {
    __m256 const av = _mm256_set1_ps(a), hv = _mm256_set1_ps(h);
    int x = 0;
    for (; x + 8 <= width; x += 8) addGrain8<AI>(px + 4 * x, load8(field + x), hv, av);
    return x;
}

NoisePlane8 const kPlane = {&fill, &tent, &blend, {&add<0>, &add<3>}};

} // namespace

NoisePlane8 const* noisePlane8Avx2() {
    return __builtin_cpu_supports("avx2") ? &kPlane : nullptr;
}

#else

NoisePlane8 const* noisePlane8Avx2() {
    return nullptr;
}

#endif

NoisePlane8 const* chosenNoisePlane8() {
    return processorHasAvx2() ? noisePlane8Avx2() : nullptr;
}
