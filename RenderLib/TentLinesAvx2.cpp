#include "RenderLib/TentLines.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

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

// The exact integer forms (unsigned char and unsigned short channels).

inline double tentRecip(int r) {
    return 1.0 / (double(r + 1) * double(r + 1));
}

// Eight whole sums at radius r as the portable loop stores them: the double times the
// reciprocal, truncated (the results lie in the channel's range).
struct DoubleQuotients {
    __m256d recip;
    MIRREL_AVX2 explicit DoubleQuotients(int r) : recip(_mm256_set1_pd(tentRecip(r))) {}
    MIRREL_AVX2_INLINE __m256i operator()(__m256i S) const { return sumsTimes(S, recip); }
};

// The same for 8-bit channels without the double product, up to kFloatRadius. Let n = (r + 1)^2,
// S = q n + t, 0 <= t < n, S <= 255 n; every S + 0.5 is then a float, and the float product
// (S + 0.5) * fl(1 / n) differs from (S + 0.5) / n < 255.5, which lies 0.5 / n or more from a
// whole number, by at most 255.5 * 2^-23 (1 + 2^-25), below 0.5 / n for n < 16384: it truncates
// to q. The double product truncates to q too (its error is far below 1 / n) but at some
// multiples, t = 0, where it lands just below q: those q are a table per radius, bit 31 - q / 8
// of lane q % 8, empty for most radii (Drops false).
constexpr int kFloatRadius = 126;
inline bool dropsBelow(int r, int q) {
    return int(double(q * (r + 1) * (r + 1)) * tentRecip(r)) != q;
}
inline bool anyDrops(int r) {
    for (int q = 1; q < 256; ++q)
        if (dropsBelow(r, q)) return true;
    return false;
}
template <bool Drops> struct FloatQuotients {
    __m256 recip;
    __m256i n, drops;
    MIRREL_AVX2 explicit FloatQuotients(int r) {
        int const square = (r + 1) * (r + 1);
        alignas(32) unsigned bits[8] = {};
        for (int q = 0; q < 256; ++q)
            if (dropsBelow(r, q)) bits[q % 8] |= 1u << (31 - q / 8);
        recip = _mm256_set1_ps(1.0f / float(square));
        n = _mm256_set1_epi32(square);
        drops = _mm256_load_si256(reinterpret_cast<__m256i const*>(bits));
    }
    MIRREL_AVX2_INLINE __m256i operator()(__m256i S) const {
        __m256 const half = _mm256_set1_ps(0.5f);
        __m256i q =
            _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_add_ps(_mm256_cvtepi32_ps(S), half), recip));
        if constexpr (Drops) {
            __m256i const multiple = _mm256_cmpeq_epi32(S, _mm256_mullo_epi32(q, n));
            __m256i const bit =
                _mm256_sllv_epi32(_mm256_permutevar8x32_epi32(drops, q), _mm256_srli_epi32(q, 3));
            q = _mm256_add_epi32(q, _mm256_and_si256(multiple, _mm256_srai_epi32(bit, 31)));
        }
        return q;
    }
};

// Eight sums divided, packed in channel order.
template <class Div> MIRREL_AVX2_INLINE __m128i outputs(__m256i S, Div const& div) {
    __m256i const t = div(S);
    return _mm_packus_epi32(_mm256_castsi256_si128(t), _mm256_extracti128_si256(t, 1));
}
MIRREL_AVX2_INLINE void store8(unsigned char* p, __m128i words) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
}
MIRREL_AVX2_INLINE void store8(unsigned short* p, __m128i words) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), words);
}
// The two pixels of eight stored apart.
MIRREL_AVX2_INLINE void store2(unsigned char* a, unsigned char* b, __m128i words) {
    __m128i const bytes = _mm_packus_epi16(words, words);
    int const pa = _mm_cvtsi128_si32(bytes), pb = _mm_extract_epi32(bytes, 1);
    std::memcpy(a, &pa, 4);
    std::memcpy(b, &pb, 4);
}
MIRREL_AVX2_INLINE void store2(unsigned short* a, unsigned short* b, __m128i words) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(a), words);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(b), _mm_unpackhi_epi64(words, words));
}

// S += D; D += (L + R) - 2 M.
MIRREL_AVX2_INLINE void advance8(__m256i& S, __m256i& D, __m256i L, __m256i R, __m256i M) {
    S = _mm256_add_epi32(S, D);
    D = _mm256_add_epi32(D, _mm256_sub_epi32(_mm256_add_epi32(L, R), _mm256_add_epi32(M, M)));
}

// Pixel pair i of two interleaved rows.
template <class C> MIRREL_AVX2_INLINE __m256i pairAt(C const* base, int i) {
    return load8(base + 8 * std::ptrdiff_t(i));
}

// Rows a and b at radius r into da and db, through `pair`: the two interleaved pixel by pixel,
// their ends repeated far enough for every tap (length + 2 r + 4 pixel pairs).
template <class C>
MIRREL_AVX2 void rowPair(C const* a, C const* b, C* da, C* db, int length, int r, C* pair) {
    int const pad = r + 2;
    auto put = [&](int j, int k) {
        std::memcpy(pair + 8 * std::ptrdiff_t(j + pad), a + 4 * std::ptrdiff_t(k), 4 * sizeof(C));
        std::memcpy(pair + 8 * std::ptrdiff_t(j + pad) + 4, b + 4 * std::ptrdiff_t(k),
                    4 * sizeof(C));
    };
    for (int j = -pad; j < 0; ++j) put(j, 0);
    int j = 0;
    // Whole 32-byte runs of both rows, interleaved by pixel.
    constexpr int kRun = 32 / (4 * sizeof(C));
    for (; j + kRun <= length; j += kRun) {
        __m256i const va = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(a + 4 * j));
        __m256i const vb = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(b + 4 * j));
        __m256i lo, hi;
        if constexpr (sizeof(C) == 1)
            lo = _mm256_unpacklo_epi32(va, vb), hi = _mm256_unpackhi_epi32(va, vb);
        else
            lo = _mm256_unpacklo_epi64(va, vb), hi = _mm256_unpackhi_epi64(va, vb);
        auto* out = reinterpret_cast<__m256i*>(pair + 8 * std::ptrdiff_t(j + pad));
        _mm256_storeu_si256(out, _mm256_permute2x128_si256(lo, hi, 0x20));
        _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(lo, hi, 0x31));
    }
    for (; j < length; ++j) put(j, j);
    for (; j < length + pad; ++j) put(j, length - 1);
    C const* const base = pair + 8 * pad;
    DoubleQuotients const recip(r);
    __m256i S = _mm256_setzero_si256(), D = _mm256_setzero_si256();
    for (int k = -r; k <= r; ++k)
        S = _mm256_add_epi32(
            S, _mm256_mullo_epi32(_mm256_set1_epi32(r + 1 - std::abs(k)), pairAt(base, k)));
    for (int k = 1; k <= r + 1; ++k)
        D = _mm256_add_epi32(D, _mm256_sub_epi32(pairAt(base, k), pairAt(base, k - r - 1)));
    for (int i = 0; i < length; ++i) {
        store2(da + 4 * i, db + 4 * i, outputs(S, recip));
        advance8(S, D, pairAt(base, i - r), pairAt(base, i + r + 2), pairAt(base, i + 1));
    }
}

// The 8x8 transpose of 32-bit lanes: lane j of v[k] goes to lane k of v[j].
MIRREL_AVX2_INLINE void transpose8(__m256i* v) {
    __m256i t[8], u[8];
    for (int k = 0; k < 8; k += 2) {
        t[k] = _mm256_unpacklo_epi32(v[k], v[k + 1]);
        t[k + 1] = _mm256_unpackhi_epi32(v[k], v[k + 1]);
    }
    for (int k = 0; k < 8; k += 4) {
        u[k] = _mm256_unpacklo_epi64(t[k], t[k + 2]);
        u[k + 1] = _mm256_unpackhi_epi64(t[k], t[k + 2]);
        u[k + 2] = _mm256_unpacklo_epi64(t[k + 1], t[k + 3]);
        u[k + 3] = _mm256_unpackhi_epi64(t[k + 1], t[k + 3]);
    }
    for (int k = 0; k < 4; ++k) {
        v[k] = _mm256_permute2x128_si256(u[k], u[k + 4], 0x20);
        v[k + 4] = _mm256_permute2x128_si256(u[k], u[k + 4], 0x31);
    }
}

// The four channels of eight packed 8-bit pixels, one a vector.
struct Channels {
    __m256i c[4];
};
MIRREL_AVX2_INLINE Channels channelsOf(__m256i px) {
    return {{byteLanes<0>(px), byteLanes<1>(px), byteLanes<2>(px), byteLanes<3>(px)}};
}

// `count` vectors, aligned.
struct ColumnBuffer {
    std::vector<int> lanes;
    explicit ColumnBuffer(int count) : lanes(8 * std::size_t(count) + 8) {}
    __m256i* data() {
        auto const at = (reinterpret_cast<std::uintptr_t>(lanes.data()) + 31) & ~std::uintptr_t(31);
        return reinterpret_cast<__m256i*>(at);
    }
};

// Eight packed 8-bit pixels from their channels.
MIRREL_AVX2_INLINE __m256i packed(__m256i const* q) {
    return _mm256_or_si256(
        _mm256_or_si256(q[0], _mm256_slli_epi32(q[1], 8)),
        _mm256_or_si256(_mm256_slli_epi32(q[2], 16), _mm256_slli_epi32(q[3], 24)));
}

// (L + R) - 2 M of each channel of eight packed 8-bit pixels, worked in 16-bit lanes (the
// results lie within +-510), even and odd channels apart.
MIRREL_AVX2_INLINE Channels steps(__m256i L, __m256i R, __m256i M) {
    __m256i const even = _mm256_set1_epi32(0x00ff00ff);
    __m256i const me = _mm256_and_si256(M, even), mo = _mm256_srli_epi16(M, 8);
    __m256i const e =
        _mm256_sub_epi16(_mm256_add_epi16(_mm256_and_si256(L, even), _mm256_and_si256(R, even)),
                         _mm256_add_epi16(me, me));
    __m256i const o =
        _mm256_sub_epi16(_mm256_add_epi16(_mm256_srli_epi16(L, 8), _mm256_srli_epi16(R, 8)),
                         _mm256_add_epi16(mo, mo));
    return {{_mm256_srai_epi32(_mm256_slli_epi32(e, 16), 16),
             _mm256_srai_epi32(_mm256_slli_epi32(o, 16), 16), _mm256_srai_epi32(e, 16),
             _mm256_srai_epi32(o, 16)}};
}

// Eight rows of 8-bit pixels at radius r, lanes across rows and one channel a vector, so that
// no step shuffles: src[k] into dst[k] (which may be src[k]) through `cols`, which takes pixel j
// of the eight rows for j from -r - 2 to length + r + 1, the ends repeated.
template <class Div>
MIRREL_AVX2 void rowOctetBy(unsigned char const* const* src, unsigned char* const* dst, int length,
                            int r, __m256i* cols, Div const& div) {
    __m256i* const base = cols + r + 2;
    int j = 0;
    for (; j + 8 <= length; j += 8) {
        __m256i v[8];
        for (int k = 0; k < 8; ++k)
            v[k] = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(src[k] + 4 * j));
        transpose8(v);
        for (int k = 0; k < 8; ++k) base[j + k] = v[k];
    }
    for (; j < length; ++j) {
        alignas(32) int lanes[8];
        for (int k = 0; k < 8; ++k) std::memcpy(&lanes[k], src[k] + 4 * j, 4);
        base[j] = _mm256_load_si256(reinterpret_cast<__m256i const*>(lanes));
    }
    for (int k = 1; k <= r + 2; ++k) base[-k] = base[0], base[length - 1 + k] = base[length - 1];
    __m256i S[4], D[4];
#pragma GCC unroll 4
    for (int c = 0; c < 4; ++c) S[c] = D[c] = _mm256_setzero_si256();
    for (int k = -r; k <= r; ++k) {
        __m256i const w = _mm256_set1_epi32(r + 1 - std::abs(k));
        Channels const p = channelsOf(base[k]);
#pragma GCC unroll 4
        for (int c = 0; c < 4; ++c) S[c] = _mm256_add_epi32(S[c], _mm256_mullo_epi32(w, p.c[c]));
    }
    for (int k = 1; k <= r + 1; ++k) {
        Channels const a = channelsOf(base[k]), b = channelsOf(base[k - r - 1]);
#pragma GCC unroll 4
        for (int c = 0; c < 4; ++c) D[c] = _mm256_add_epi32(D[c], _mm256_sub_epi32(a.c[c], b.c[c]));
    }
    for (int i0 = 0; i0 < length; i0 += 8) {
        int const n = length - i0 < 8 ? length - i0 : 8;
        __m256i block[8];
        for (int t = 0; t < n; ++t) {
            int const i = i0 + t;
            __m256i q[4];
#pragma GCC unroll 4
            for (int c = 0; c < 4; ++c) q[c] = div(S[c]);
            block[t] = packed(q);
            Channels const step = steps(base[i - r], base[i + r + 2], base[i + 1]);
#pragma GCC unroll 4
            for (int c = 0; c < 4; ++c) {
                S[c] = _mm256_add_epi32(S[c], D[c]);
                D[c] = _mm256_add_epi32(D[c], step.c[c]);
            }
        }
        transpose8(block);
        for (int k = 0; k < 8; ++k)
            if (n == 8)
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst[k] + 4 * i0), block[k]);
            else
                std::memcpy(dst[k] + 4 * i0, &block[k], 4 * std::size_t(n));
    }
}

MIRREL_AVX2 void rowOctet(unsigned char const* const* src, unsigned char* const* dst, int length,
                          int r, __m256i* cols) {
    if (r > kFloatRadius) return rowOctetBy(src, dst, length, r, cols, DoubleQuotients(r));
    if (anyDrops(r)) return rowOctetBy(src, dst, length, r, cols, FloatQuotients<true>(r));
    rowOctetBy(src, dst, length, r, cols, FloatQuotients<false>(r));
}

template <class C>
MIRREL_AVX2 void rowsExact(unsigned char const* src, std::ptrdiff_t srcRowBytes, unsigned char* dst,
                           std::ptrdiff_t dstRowBytes, int length, int count, int r) {
    int n = 0;
    if constexpr (sizeof(C) == 1) {
        ColumnBuffer cols(length + 2 * r + 4);
        for (; n + 8 <= count; n += 8) {
            unsigned char const* in[8];
            unsigned char* out[8];
            for (int k = 0; k < 8; ++k) in[k] = src + (n + k) * srcRowBytes;
            for (int k = 0; k < 8; ++k) out[k] = dst + (n + k) * dstRowBytes;
            rowOctet(in, out, length, r, cols.data());
        }
    }
    std::vector<C> pair(8 * std::size_t(length + 2 * r + 4));
    for (; n < count; n += 2) {
        int const m = n + 1 < count ? n + 1 : n; // an odd last row goes with itself
        rowPair(reinterpret_cast<C const*>(src + n * srcRowBytes),
                reinterpret_cast<C const*>(src + m * srcRowBytes),
                reinterpret_cast<C*>(dst + n * dstRowBytes),
                reinterpret_cast<C*>(dst + m * dstRowBytes), length, r, pair.data());
    }
}

// The sums of a column pass, a value each: sums += weight * p over `values` channel values,
// `wide` of them (a multiple of 8) by vector. 8-bit pixels keep theirs by groups of eight pixels,
// as a vector of each channel, so that no step shuffles; the values past the last whole group
// stay in order.
template <class C>
MIRREL_AVX2_INLINE void addRow(int* sums, C const* p, int weight, int values, int wide) {
    __m256i const w = _mm256_set1_epi32(weight);
    int v = 0;
    if constexpr (sizeof(C) == 1) {
        for (; v + 32 <= values; v += 32) {
            Channels const px =
                channelsOf(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(p + v)));
            __m256i* s = reinterpret_cast<__m256i*>(sums + v);
#pragma GCC unroll 4
            for (int c = 0; c < 4; ++c)
                _mm256_storeu_si256(s + c, _mm256_add_epi32(_mm256_loadu_si256(s + c),
                                                            _mm256_mullo_epi32(w, px.c[c])));
        }
        wide = v;
    }
    for (; v < wide; v += 8) {
        __m256i* s = reinterpret_cast<__m256i*>(sums + v);
        _mm256_storeu_si256(
            s, _mm256_add_epi32(_mm256_loadu_si256(s), _mm256_mullo_epi32(w, load8(p + v))));
    }
    for (; v < values; ++v) sums[v] += weight * int(p[v]);
}

// One output row of a column pass from the running sums S and steps D of every value, which
// then move on by one row: L, R and M are the rows that enter, leave and count twice.
template <class C, class Div>
MIRREL_AVX2_INLINE void columnRow(C* out, int* S, int* D, C const* L, C const* R, C const* M,
                                  int values, int wide, Div const& recip, double recipScalar) {
    int v = 0;
    if constexpr (sizeof(C) == 1) {
        for (; v + 32 <= values; v += 32) {
            Channels const step =
                steps(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(L + v)),
                      _mm256_loadu_si256(reinterpret_cast<__m256i const*>(R + v)),
                      _mm256_loadu_si256(reinterpret_cast<__m256i const*>(M + v)));
            __m256i* sp = reinterpret_cast<__m256i*>(S + v);
            __m256i* dp = reinterpret_cast<__m256i*>(D + v);
            __m256i q[4];
#pragma GCC unroll 4
            for (int c = 0; c < 4; ++c) {
                __m256i const s = _mm256_loadu_si256(sp + c), d = _mm256_loadu_si256(dp + c);
                q[c] = recip(s);
                _mm256_storeu_si256(sp + c, _mm256_add_epi32(s, d));
                _mm256_storeu_si256(dp + c, _mm256_add_epi32(d, step.c[c]));
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + v), packed(q));
        }
        wide = v;
    }
    for (; v < wide; v += 8) {
        __m256i* sp = reinterpret_cast<__m256i*>(S + v);
        __m256i* dp = reinterpret_cast<__m256i*>(D + v);
        __m256i s = _mm256_loadu_si256(sp), d = _mm256_loadu_si256(dp);
        store8(out + v, outputs(s, recip));
        advance8(s, d, load8(L + v), load8(R + v), load8(M + v));
        _mm256_storeu_si256(sp, s);
        _mm256_storeu_si256(dp, d);
    }
    for (; v < values; ++v) {
        out[v] = C(double(S[v]) * recipScalar);
        S[v] += D[v];
        D[v] += int(L[v]) + int(R[v]) - 2 * int(M[v]);
    }
}

template <class C, class Div>
MIRREL_AVX2 void columnsBy(unsigned char const* src, std::ptrdiff_t srcRowBytes, unsigned char* dst,
                           std::ptrdiff_t dstRowBytes, int width, int height, int r, int from,
                           int to, Div const& recip) {
    constexpr int kTile = 512; // pixels: the sums of a tile stay in the first-level cache
    alignas(32) int S[4 * kTile], D[4 * kTile];
    double const recipScalar = tentRecip(r);
    auto row = [&](int y) {
        y = y < 0 ? 0 : y >= height ? height - 1 : y;
        return reinterpret_cast<C const*>(src + y * srcRowBytes);
    };
    for (int x0 = 0; x0 < width; x0 += kTile) {
        int const values = 4 * (width - x0 < kTile ? width - x0 : kTile);
        int const wide = values & ~7;
        std::ptrdiff_t const o = 4 * std::ptrdiff_t(x0);
        // The sums at `from`: the tent of the rows around it and the first difference.
        std::memset(S, 0, sizeof(int) * values);
        std::memset(D, 0, sizeof(int) * values);
        for (int k = -r; k <= r; ++k)
            addRow(S, row(from + k) + o, r + 1 - std::abs(k), values, wide);
        for (int k = 1; k <= r + 1; ++k) {
            addRow(D, row(from + k) + o, 1, values, wide);
            addRow(D, row(from + k - r - 1) + o, -1, values, wide);
        }
        for (int i = from; i < to; ++i) {
            C* out = reinterpret_cast<C*>(dst + i * dstRowBytes) + o;
            C const* L = row(i - r) + o;
            C const* R = row(i + r + 2) + o;
            C const* M = row(i + 1) + o;
            columnRow(out, S, D, L, R, M, values, wide, recip, recipScalar);
        }
    }
}

MIRREL_AVX2 bool zeroBytes(void const* p, std::size_t n) {
    auto const* b = static_cast<unsigned char const*>(p);
    std::size_t i = 0;
    for (; i + 128 <= n; i += 128) {
        auto const* v = reinterpret_cast<__m256i const*>(b + i);
        __m256i const any =
            _mm256_or_si256(_mm256_or_si256(_mm256_loadu_si256(v), _mm256_loadu_si256(v + 1)),
                            _mm256_or_si256(_mm256_loadu_si256(v + 2), _mm256_loadu_si256(v + 3)));
        if (!_mm256_testz_si256(any, any)) return false;
    }
    for (; i < n; ++i)
        if (b[i] != 0) return false;
    return true;
}

template <class C, class Div>
MIRREL_AVX2 void blurBy(unsigned char* pixels, std::ptrdiff_t rowBytes, int width, int height,
                        int const* rowRadius, int r, int from, int to, Div const& recip) {
    int const values = 4 * width, wide = values & ~7;
    // Rows i - r to i + r + 2 of the row pass, and up to seven made ahead with the last.
    int const ringRows = 2 * r + 10;
    int maxRow = 0;
    for (int y = 0; y < height; ++y) maxRow = rowRadius[y] > maxRow ? rowRadius[y] : maxRow;
    std::vector<C> ring(std::size_t(ringRows) * values);
    std::vector<C> pair(8 * std::size_t(width + 2 * maxRow + 4));
    ColumnBuffer cols(sizeof(C) == 1 ? width + 2 * maxRow + 4 : 0);
    std::vector<int> sums(2 * std::size_t(values) + 8);
    int* S = sums.data();
    int* D = S + values;
    auto input = [&](int y) { return reinterpret_cast<C const*>(pixels + y * rowBytes); };
    auto passed = [&](int y) { // row y of the row pass, held to the picture
        y = y < 0 ? 0 : y >= height ? height - 1 : y;
        return ring.data() + std::ptrdiff_t(y % ringRows) * values;
    };
    // The row pass, eight or two rows at a time where they share a radius; a row at radius 0 or
    // below is copied, as is a row of zeros, which the pass would leave zero.
    int made = std::max(from - r, 0); // rows of the row pass made so far
    auto makeUpTo = [&](int last) {
        last = last < height - 1 ? last : height - 1;
        while (made <= last) {
            int const y = made;
            int const ry = rowRadius[y];
            if (ry <= 0 || zeroBytes(input(y), values * sizeof(C))) {
                std::memcpy(passed(y), input(y), values * sizeof(C));
                made = y + 1;
                continue;
            }
            if constexpr (sizeof(C) == 1) {
                int k = 1;
                while (k < 8 && y + k < height && rowRadius[y + k] == ry) ++k;
                if (k == 8) {
                    unsigned char const* in[8];
                    unsigned char* out[8];
                    for (k = 0; k < 8; ++k) {
                        in[k] = pixels + (y + k) * rowBytes;
                        out[k] = passed(y + k);
                    }
                    rowOctet(in, out, width, ry, cols.data());
                    made = y + 8;
                    continue;
                }
            }
            int const y2 = y + 1 < height && rowRadius[y + 1] == ry ? y + 1 : y;
            rowPair(input(y), input(y2), passed(y), passed(y2), width, ry, pair.data());
            made = y2 + 1;
        }
    };
    makeUpTo(from + r + 1);
    std::memset(S, 0, sizeof(int) * 2 * values);
    for (int k = -r; k <= r; ++k) addRow(S, passed(from + k), r + 1 - std::abs(k), values, wide);
    for (int k = 1; k <= r + 1; ++k) {
        addRow(D, passed(from + k), 1, values, wide);
        addRow(D, passed(from + k - r - 1), -1, values, wide);
    }
    double const recipScalar = tentRecip(r);
    for (int i = from; i < to; ++i) {
        makeUpTo(i + r + 2);
        C* out = reinterpret_cast<C*>(pixels + i * rowBytes);
        C const* L = passed(i - r);
        C const* R = passed(i + r + 2);
        C const* M = passed(i + 1);
        columnRow(out, S, D, L, R, M, values, wide, recip, recipScalar);
    }
}

// The column passes of 8-bit channels divide without the double product where they can.
template <class C>
MIRREL_AVX2 void columnsExact(unsigned char const* src, std::ptrdiff_t srcRowBytes,
                              unsigned char* dst, std::ptrdiff_t dstRowBytes, int width, int height,
                              int r, int from, int to) {
    if constexpr (sizeof(C) == 1) {
        if (r <= kFloatRadius && anyDrops(r))
            return columnsBy<C>(src, srcRowBytes, dst, dstRowBytes, width, height, r, from, to,
                                FloatQuotients<true>(r));
        if (r <= kFloatRadius)
            return columnsBy<C>(src, srcRowBytes, dst, dstRowBytes, width, height, r, from, to,
                                FloatQuotients<false>(r));
    }
    columnsBy<C>(src, srcRowBytes, dst, dstRowBytes, width, height, r, from, to,
                 DoubleQuotients(r));
}

template <class C>
MIRREL_AVX2 void blurExact(unsigned char* pixels, std::ptrdiff_t rowBytes, int width, int height,
                           int const* rowRadius, int r, int from, int to) {
    if constexpr (sizeof(C) == 1) {
        if (r <= kFloatRadius && anyDrops(r))
            return blurBy<C>(pixels, rowBytes, width, height, rowRadius, r, from, to,
                             FloatQuotients<true>(r));
        if (r <= kFloatRadius)
            return blurBy<C>(pixels, rowBytes, width, height, rowRadius, r, from, to,
                             FloatQuotients<false>(r));
    }
    blurBy<C>(pixels, rowBytes, width, height, rowRadius, r, from, to, DoubleQuotients(r));
}

template <class C>
constexpr TentKernels<C> kKernels = {&line<C>, &step<C>, nullptr, nullptr, nullptr, 0};
// Sums up to (r + 1)^2 times the largest channel value within 32 bits.
template <>
constexpr TentKernels<unsigned char> kKernels<unsigned char> = {
    &line<unsigned char>,         &step<unsigned char>,      &rowsExact<unsigned char>,
    &columnsExact<unsigned char>, &blurExact<unsigned char>, 2900};
template <>
constexpr TentKernels<unsigned short> kKernels<unsigned short> = {
    &line<unsigned short>,         &step<unsigned short>,      &rowsExact<unsigned short>,
    &columnsExact<unsigned short>, &blurExact<unsigned short>, 180};

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
