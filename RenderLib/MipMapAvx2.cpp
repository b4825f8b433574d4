#include "RenderLib/MipMapBlur.h"
#include "RenderLib/MipMapKernels.h"
#include "pixel/Processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

#include <algorithm>
#include <bit>
#include <type_traits>

namespace blur_detail {
namespace {

using u8 = unsigned char;
using u16 = unsigned short;

// --- 3x3 smoothing: lanes across the channel values of a row ---

// Sixteen or eight channel values widened to 16 or 32 bits.
MIRREL_AVX2_INLINE __m256i w(u8 const* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)));
}
MIRREL_AVX2_INLINE __m256i w(u16 const* p) {
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<__m128i const*>(p)));
}

MIRREL_AVX2_INLINE __m256i load16(unsigned short const* p) {
    return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p));
}

// Down the columns first, into a block of 16-bit sums, then across: integer sums are exact in
// any order, and each column sum serves three outputs.
MIRREL_AVX2 void smoothRow(u8 const* up, u8 const* mid, u8 const* down, u8* out,
                           std::ptrdiff_t values, int n) {
    constexpr std::ptrdiff_t kBlock = 512;
    alignas(32) unsigned short column[kBlock + 8];
    for (std::ptrdiff_t b = 0; b < values; b += kBlock) {
        std::ptrdiff_t const count = std::min(kBlock, values - b), span = count + 2 * n;
        u8 const *u = up + b - n, *m = mid + b - n, *d = down + b - n;
        std::ptrdiff_t i = 0;
        for (; i + 16 <= span; i += 16) // at most 4 * 255
            _mm256_store_si256(reinterpret_cast<__m256i*>(column + i),
                               _mm256_add_epi16(_mm256_add_epi16(w(u + i), w(d + i)),
                                                _mm256_slli_epi16(w(m + i), 1)));
        for (; i < span; ++i) column[i] = (unsigned short)(u[i] + d[i] + 2 * m[i]);
        std::ptrdiff_t j = 0;
        for (; j + 16 <= count; j += 16) { // at most 16 * 255
            __m256i const sum =
                _mm256_add_epi16(_mm256_add_epi16(load16(column + j), load16(column + j + 2 * n)),
                                 _mm256_slli_epi16(load16(column + j + n), 1));
            __m256i const s4 = _mm256_srli_epi16(sum, 4);
            _mm_storeu_si128(
                reinterpret_cast<__m128i*>(out + b + j),
                _mm_packus_epi16(_mm256_castsi256_si128(s4), _mm256_extracti128_si256(s4, 1)));
        }
        for (; j < count; ++j)
            out[b + j] = u8((column[j] + column[j + 2 * n] + 2 * column[j + n]) >> 4);
    }
}

MIRREL_AVX2 void smoothRow(u16 const* up, u16 const* mid, u16 const* down, u16* out,
                           std::ptrdiff_t values, int n) {
    std::ptrdiff_t v = 0;
    for (; v + 8 <= values; v += 8) {
        __m256i s = _mm256_add_epi32(_mm256_add_epi32(w(up + v - n), w(up + v + n)),
                                     _mm256_add_epi32(w(down + v - n), w(down + v + n)));
        __m256i const twice = _mm256_add_epi32(_mm256_add_epi32(w(up + v), w(down + v)),
                                               _mm256_add_epi32(w(mid + v - n), w(mid + v + n)));
        s = _mm256_add_epi32(s, _mm256_slli_epi32(twice, 1));
        s = _mm256_srli_epi32(_mm256_add_epi32(s, _mm256_slli_epi32(w(mid + v), 2)), 4);
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(out + v),
            _mm_packus_epi32(_mm256_castsi256_si128(s), _mm256_extracti128_si256(s, 1)));
    }
    for (; v < values; ++v)
        out[v] = u16((int(up[v - n]) + 2 * int(up[v]) + int(up[v + n]) +
                      2 * (int(mid[v - n]) + int(mid[v + n])) + 4 * int(mid[v]) + int(down[v - n]) +
                      2 * int(down[v]) + int(down[v + n])) >>
                     4);
}

// Float sums add the nine products one by one in the table's order, as the portable loop does.
MIRREL_AVX2 void smoothRow(float const* up, float const* mid, float const* down, float* out,
                           std::ptrdiff_t values, int n) {
    float const* taps[9] = {up - n, up, up + n, mid - n, mid, mid + n, down - n, down, down + n};
    static float const weights[9] = {1.0f, 2.0f, 1.0f, 2.0f, 4.0f, 2.0f, 1.0f, 2.0f, 1.0f};
    std::ptrdiff_t v = 0;
    for (; v + 8 <= values; v += 8) {
        __m256 sum = _mm256_setzero_ps();
#pragma GCC unroll 9
        for (int k = 0; k < 9; ++k)
            sum = _mm256_add_ps(
                sum, _mm256_mul_ps(_mm256_set1_ps(weights[k]), _mm256_loadu_ps(taps[k] + v)));
        _mm256_storeu_ps(out + v, _mm256_mul_ps(sum, _mm256_set1_ps(0.0625f)));
    }
    for (; v < values; ++v) {
        float sum = 0.0f;
#pragma GCC unroll 9
        for (int k = 0; k < 9; ++k) sum += weights[k] * taps[k][v];
        out[v] = sum * 0.0625f;
    }
}

// --- the pixel loop: lanes across eight pixels of a row; 16 and 32 bits in four float
// registers by channel ---

struct Px {
    __m256 c[4];
};

MIRREL_AVX2_INLINE __m256 toFloat(__m256i v) {
    return _mm256_cvtepi32_ps(v);
}

MIRREL_AVX2_INLINE __m256i iota() {
    return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
}

// Eight pixels in a run (16 and 32 bits; 8 bits have their own path below). Four registers
// of two pixels each, [0 1], [2 3], [4 5], [6 7], turned to one a channel.
MIRREL_AVX2_INLINE Px planar(__m256 r0, __m256 r1, __m256 r2, __m256 r3) {
    __m256 const t0 = _mm256_permute2f128_ps(r0, r2, 0x20),
                 t1 = _mm256_permute2f128_ps(r0, r2, 0x31);
    __m256 const t2 = _mm256_permute2f128_ps(r1, r3, 0x20),
                 t3 = _mm256_permute2f128_ps(r1, r3, 0x31);
    __m256 const u0 = _mm256_unpacklo_ps(t0, t1), u1 = _mm256_unpackhi_ps(t0, t1);
    __m256 const u2 = _mm256_unpacklo_ps(t2, t3), u3 = _mm256_unpackhi_ps(t2, t3);
    return {{_mm256_shuffle_ps(u0, u2, 0x44), _mm256_shuffle_ps(u0, u2, 0xEE),
             _mm256_shuffle_ps(u1, u3, 0x44), _mm256_shuffle_ps(u1, u3, 0xEE)}};
}
MIRREL_AVX2_INLINE Px load(u16 const* p) {
    __m256i const a = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p));
    __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p + 16));
    return planar(toFloat(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(a))),
                  toFloat(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(a, 1))),
                  toFloat(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(b))),
                  toFloat(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(b, 1))));
}
MIRREL_AVX2_INLINE Px load(float const* p) {
    return planar(_mm256_loadu_ps(p), _mm256_loadu_ps(p + 8), _mm256_loadu_ps(p + 16),
                  _mm256_loadu_ps(p + 24));
}

// The alpha of eight pixels in a run, as a float channel value.
MIRREL_AVX2_INLINE __m256 loadAlpha(u8 const* p, int alpha) {
    __m256i const v = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(p));
    return toFloat(_mm256_and_si256(_mm256_srlv_epi32(v, _mm256_set1_epi32(8 * alpha)),
                                    _mm256_set1_epi32(255)));
}
MIRREL_AVX2_INLINE __m256 loadAlpha(u16 const* p, int alpha) {
    // The dword that holds the channel, so nothing past the eighth pixel is read.
    __m256i const at =
        _mm256_add_epi32(_mm256_slli_epi32(iota(), 1), _mm256_set1_epi32(alpha >> 1));
    __m256i const v = _mm256_i32gather_epi32(reinterpret_cast<int const*>(p), at, 4);
    return toFloat(_mm256_and_si256(_mm256_srlv_epi32(v, _mm256_set1_epi32(16 * (alpha & 1))),
                                    _mm256_set1_epi32(0xffff)));
}
MIRREL_AVX2_INLINE __m256 loadAlpha(float const* p, int alpha) {
    return _mm256_i32gather_ps(
        p, _mm256_add_epi32(_mm256_slli_epi32(iota(), 2), _mm256_set1_epi32(alpha)), 4);
}

// Stores truncate each lane to int and keep the channel type's low bits, as the portable C(int).
MIRREL_AVX2_INLINE __m256i pair(__m256 a, __m256 b) {
    return _mm256_or_si256(_mm256_and_si256(_mm256_cvttps_epi32(a), _mm256_set1_epi32(0xffff)),
                           _mm256_slli_epi32(_mm256_cvttps_epi32(b), 16));
}
MIRREL_AVX2_INLINE void store(u16* p, Px const& v) {
    __m256i const rg = pair(v.c[0], v.c[1]), ba = pair(v.c[2], v.c[3]);
    __m256i const lo = _mm256_unpacklo_epi32(rg, ba), hi = _mm256_unpackhi_epi32(rg, ba);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_permute2x128_si256(lo, hi, 0x20));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 16),
                        _mm256_permute2x128_si256(lo, hi, 0x31));
}
MIRREL_AVX2_INLINE void store(float* p, Px const& v) {
    __m256 const t0 = _mm256_unpacklo_ps(v.c[0], v.c[1]), t1 = _mm256_unpackhi_ps(v.c[0], v.c[1]);
    __m256 const t2 = _mm256_unpacklo_ps(v.c[2], v.c[3]), t3 = _mm256_unpackhi_ps(v.c[2], v.c[3]);
    __m256 const p04 = _mm256_shuffle_ps(t0, t2, 0x44), p15 = _mm256_shuffle_ps(t0, t2, 0xEE);
    __m256 const p26 = _mm256_shuffle_ps(t1, t3, 0x44), p37 = _mm256_shuffle_ps(t1, t3, 0xEE);
    _mm256_storeu_ps(p, _mm256_permute2f128_ps(p04, p15, 0x20));
    _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(p26, p37, 0x20));
    _mm256_storeu_ps(p + 16, _mm256_permute2f128_ps(p04, p15, 0x31));
    _mm256_storeu_ps(p + 24, _mm256_permute2f128_ps(p26, p37, 0x31));
}

template <class C> MIRREL_AVX2_INLINE __m256 truncated(__m256 v) {
    if constexpr (std::is_floating_point_v<C>)
        return v;
    else
        return _mm256_cvtepi32_ps(_mm256_cvttps_epi32(v));
}

template <class C> MIRREL_AVX2_INLINE Px lerp(Px const& a, Px const& b, __m256 f) {
    Px r;
#pragma GCC unroll 4
    for (int c = 0; c < 4; ++c)
        r.c[c] =
            truncated<C>(_mm256_add_ps(a.c[c], _mm256_mul_ps(_mm256_sub_ps(b.c[c], a.c[c]), f)));
    return r;
}

// 8 bits: every mix of the pyramid is exact in float before its truncation (a difference of at
// most 255 times a weight of at most 8 fractional bits, or of 16 for the level weight q / 2^16,
// fits float's 24 bits), so each is (a * (2^s - m) + b * m) >> s in integers. Pixels 0-3 and 4-7
// sit in two registers of 16-bit lanes, channels in pixel order.
struct Wide {
    __m256i lo, hi;
};

MIRREL_AVX2_INLINE Wide widen(__m256i px) {
    return {_mm256_cvtepu8_epi16(_mm256_castsi256_si128(px)),
            _mm256_cvtepu8_epi16(_mm256_extracti128_si256(px, 1))};
}
MIRREL_AVX2_INLINE Wide widen(u8 const* p) {
    return widen(_mm256_loadu_si256(reinterpret_cast<__m256i const*>(p)));
}

// A value below 2^16 per pixel (32-bit lanes) in each 16-bit lane of its four channels.
MIRREL_AVX2_INLINE Wide spread(__m256i v) {
    __m256i const lo = _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3));
    __m256i const hi = _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(4, 4, 5, 5, 6, 6, 7, 7));
    return {_mm256_or_si256(lo, _mm256_slli_epi32(lo, 16)),
            _mm256_or_si256(hi, _mm256_slli_epi32(hi, 16))};
}

// (a * wa + b * wb) >> s, wa + wb = 2^s <= 256: the sums stay below 2^16. A clamped read has
// a == b and a weight beyond 2^s; the lanes wrap, but the sum is a * 2^s all the same.
MIRREL_AVX2_INLINE __m256i mix(__m256i a, __m256i b, __m256i wa, __m256i wb, __m128i s) {
    return _mm256_srl_epi16(_mm256_add_epi16(_mm256_mullo_epi16(a, wa), _mm256_mullo_epi16(b, wb)),
                            s);
}
MIRREL_AVX2_INLINE Wide mix(Wide a, Wide b, Wide wa, Wide wb, __m128i s) {
    return {mix(a.lo, b.lo, wa.lo, wb.lo, s), mix(a.hi, b.hi, wa.hi, wb.hi, s)};
}

// Texel row `texels` of a level of shift s > 0 mixed across for the eight picture columns
// from x, packed back to 8 bits.
MIRREL_AVX2_INLINE __m256i across8(int const* texels, int levelWidth, int s, int x) {
    int const half = 1 << (s - 1);
    __m128i const shift = _mm_cvtsi32_si128(s);
    __m256i const last = _mm256_set1_epi32(levelWidth - 1);
    __m256i const X = _mm256_max_epi32(_mm256_add_epi32(_mm256_set1_epi32(x - half), iota()),
                                       _mm256_setzero_si256());
    __m256i const ix = _mm256_min_epi32(_mm256_srl_epi32(X, shift), last);
    __m256i const mx = _mm256_sub_epi32(X, _mm256_sll_epi32(ix, shift));
    __m256i const jx = _mm256_sub_epi32(
        ix, _mm256_andnot_si256(_mm256_cmpeq_epi32(ix, last), _mm256_set1_epi32(-1)));
    __m256i const low = _mm256_set1_epi32(0xffff);
    Wide const wb = spread(_mm256_and_si256(mx, low));
    Wide const wa = spread(_mm256_and_si256(_mm256_sub_epi32(_mm256_set1_epi32(1 << s), mx), low));
    __m256i left, right;
    // Eight columns read at most six neighbouring texels: one load and shuffles where the
    // eight from the first lie within the row, gathers otherwise.
    int const ix0 = _mm256_cvtsi256_si32(ix);
    if (ix0 + 8 <= levelWidth) {
        __m256i const t = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(texels + ix0));
        left = _mm256_permutevar8x32_epi32(t, _mm256_sub_epi32(ix, _mm256_set1_epi32(ix0)));
        right = _mm256_permutevar8x32_epi32(t, _mm256_sub_epi32(jx, _mm256_set1_epi32(ix0)));
    } else {
        left = _mm256_i32gather_epi32(texels, ix, 4), right = _mm256_i32gather_epi32(texels, jx, 4);
    }
    Wide const m = mix(widen(left), widen(right), wa, wb, shift);
    // The pack leaves the pixel pairs in the order 01 45 23 67.
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(m.lo, m.hi), 0xD8);
}

// Texel row r of a level of shift s > 0 mixed across for every picture column: the top (or
// bottom) pixel that sampleLevel mixes down, so one row serves all picture rows that read it.
template <class C> MIRREL_AVX2 void acrossRow(MipLevel<C, 4> const& lv, int r, int width, C* out) {
    int const s = lv.shift, half = 1 << (s - 1);
    C const* texels = lv.at(0, r);
    int x = 0;
    if constexpr (std::is_same_v<C, u8>)
        for (; x + 8 <= width; x += 8)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * x),
                                across8(reinterpret_cast<int const*>(texels), lv.width, s, x));
    for (; x < width; ++x) {
        int const X = std::max(x - half, 0), ix = std::min(X >> s, lv.width - 1);
        int const jx = ix == lv.width - 1 ? ix : ix + 1;
        float const fx = float(X - (ix << s)) / float(1 << s);
        for (int c = 0; c < 4; ++c)
            out[4 * x + c] = lerpUnit(texels[4 * ix + c], texels[4 * jx + c], fx);
    }
}

// What the pixels of one picture row read from one level: its own row (s = 0), or the two
// rows mixed across, to be mixed down by my / 2^s.
template <class C> struct LevelRow {
    C const *top, *bottom;
    int s, my;
};

// The rows mixed across kept for the picture: two a level, by the parity of the texel row.
// Picture rows read texel rows that only grow, so each is mixed across once.
template <class C> struct Held {
    C* rows;
    int width;
    int texelRow[20];
    MIRREL_AVX2_INLINE C const* get(MipLevel<C, 4> const& lv, int k, int r) {
        int const slot = 2 * k + (r & 1);
        C* out = rows + std::ptrdiff_t(slot) * width * 4;
        if (texelRow[slot] != r) acrossRow(lv, r, width, out), texelRow[slot] = r;
        return out;
    }
};

template <class C>
MIRREL_AVX2_INLINE LevelRow<C> levelRow(MipLevel<C, 4> const& lv, int k, int y, Held<C>& held) {
    int const s = lv.shift;
    if (s == 0) return {lv.at(0, y), nullptr, 0, 0};
    int const half = 1 << (s - 1);
    int const Y = std::max(y - half, 0), iy = std::min(Y >> s, lv.height - 1);
    int const jy = iy == lv.height - 1 ? iy : iy + 1;
    return {held.get(lv, k, iy), held.get(lv, k, jy), s, Y - (iy << s)};
}

// sampleLevel for the eight pixels from column x.
template <class C> MIRREL_AVX2_INLINE Px sample(LevelRow<C> const& lr, int x) {
    if (lr.s == 0) return load(lr.top + 4 * x);
    // Dividing by 2^s is multiplying by 2^-s, to the bit.
    float const fy = float(lr.my) * std::bit_cast<float>((127 - lr.s) << 23);
    return lerp<C>(load(lr.top + 4 * x), load(lr.bottom + 4 * x), _mm256_set1_ps(fy));
}
MIRREL_AVX2_INLINE Wide sample8(LevelRow<u8> const& lr, int x) {
    if (lr.s == 0) return widen(lr.top + 4 * x);
    __m256i const vb = _mm256_set1_epi16(short(lr.my));
    __m256i const va = _mm256_set1_epi16(short((1 << lr.s) - lr.my));
    Wide const upper = widen(lr.top + 4 * x), lower = widen(lr.bottom + 4 * x);
    __m128i const shift = _mm_cvtsi32_si128(lr.s);
    return {mix(upper.lo, lower.lo, va, vb, shift), mix(upper.hi, lower.hi, va, vb, shift)};
}

// c + floor((n - c) * q / 2^16) for q in [0, 2^16]: the signed high product with q read as
// signed is floor(d * q / 2^16) - d where q >= 2^15; q = 2^16 gives n.
MIRREL_AVX2_INLINE __m256i towards(__m256i c, __m256i n, __m256i q, __m256i whole) {
    __m256i const d = _mm256_sub_epi16(n, c);
    __m256i const t =
        _mm256_add_epi16(_mm256_mulhi_epi16(d, q), _mm256_and_si256(d, _mm256_srai_epi16(q, 15)));
    return _mm256_blendv_epi8(_mm256_add_epi16(c, t), n, whole);
}

// The channels of pixels p and p + 1 (16-bit lanes) times their alpha, truncated.
MIRREL_AVX2_INLINE __m256i scaled(__m128i two, __m256 a, int p) {
    __m256 const ap =
        _mm256_permutevar8x32_ps(a, _mm256_setr_epi32(p, p, p, p, p + 1, p + 1, p + 1, p + 1));
    return _mm256_cvttps_epi32(_mm256_mul_ps(toFloat(_mm256_cvtepu16_epi32(two)), ap));
}

// q of the eight pixels from column x, every one on level k of the pyramid (so q < 2^26 and
// the plain conversion is the saturating one), taken down to the weight of level k + 1.
MIRREL_AVX2_INLINE __m256i levelWeight(int k, int x, float rowBase, float dX, float radius) {
    __m256 const d = _mm256_add_ps(
        _mm256_mul_ps(toFloat(_mm256_add_epi32(_mm256_set1_epi32(x), iota())), _mm256_set1_ps(dX)),
        _mm256_set1_ps(rowBase));
    __m256i q = _mm256_cvttps_epi32(
        _mm256_mul_ps(_mm256_mul_ps(d, _mm256_set1_ps(radius)), _mm256_set1_ps(65536.0f)));
    if (k >= 1)
        q = _mm256_sub_epi32(_mm256_slli_epi32(_mm256_sra_epi32(q, _mm_cvtsi32_si128(k)), 1),
                             _mm256_set1_epi32(65536));
    return q;
}

// Eight pixels that all have alpha and lie on level k of the pyramid; false, with nothing
// written, if some pixel has none.
template <class C>
MIRREL_AVX2_INLINE bool eight(MipLevel<C, 4> const* level, int L, int k, Held<C>& held, C* px,
                              int x, int y, float rowBase, float dX, float radius, int alpha,
                              float scale) {
    __m256 const a = _mm256_mul_ps(loadAlpha(px, alpha), _mm256_set1_ps(scale));
    int const clear = _mm256_movemask_ps(_mm256_cmp_ps(a, _mm256_setzero_ps(), _CMP_EQ_OQ));
    if (clear) return clear == 0xff; // pixels without alpha stay
    __m256i const q = levelWeight(k, x, rowBase, dX, radius);
    __m256 f = _mm256_mul_ps(toFloat(q), _mm256_set1_ps(1.5258789e-05f));
    f = _mm256_min_ps(_mm256_max_ps(f, _mm256_setzero_ps()), _mm256_set1_ps(1.0f));
    Px c = sample(levelRow(level[k], k, y, held), x);
    __m256 const mixed = _mm256_cmp_ps(f, _mm256_setzero_ps(), _CMP_GT_OQ);
    if (_mm256_movemask_ps(mixed)) {
        Px m;
        if (k < L - 1) {
            m = lerp<C>(c, sample(levelRow(level[k + 1], k + 1, y, held), x), f);
        } else {
            __m256 const keep = _mm256_sub_ps(_mm256_set1_ps(1.0f), f);
#pragma GCC unroll 4
            for (int ch = 0; ch < 4; ++ch) m.c[ch] = truncated<C>(_mm256_mul_ps(c.c[ch], keep));
        }
#pragma GCC unroll 4
        for (int ch = 0; ch < 4; ++ch) c.c[ch] = _mm256_blendv_ps(c.c[ch], m.c[ch], mixed);
    }
#pragma GCC unroll 4
    for (int ch = 0; ch < 4; ++ch) c.c[ch] = _mm256_mul_ps(c.c[ch], a);
    store(px, c);
    return true;
}

MIRREL_AVX2_INLINE bool eight(MipLevel<u8, 4> const* level, int L, int k, Held<u8>& held, u8* px,
                              int x, int y, float rowBase, float dX, float radius, int alpha,
                              float scale) {
    __m256 const a = _mm256_mul_ps(loadAlpha(px, alpha), _mm256_set1_ps(scale));
    int const clear = _mm256_movemask_ps(_mm256_cmp_ps(a, _mm256_setzero_ps(), _CMP_EQ_OQ));
    if (clear) return clear == 0xff; // pixels without alpha stay
    // The level weight q / 2^16, held to [0, 1] as the float weight is.
    __m256i q = levelWeight(k, x, rowBase, dX, radius);
    q = _mm256_min_epi32(_mm256_max_epi32(q, _mm256_setzero_si256()), _mm256_set1_epi32(65536));
    Wide c = sample8(levelRow(level[k], k, y, held), x);
    if (!_mm256_testz_si256(q, q)) {
        Wide const n = k < L - 1 ? sample8(levelRow(level[k + 1], k + 1, y, held), x)
                                 : Wide{_mm256_setzero_si256(), _mm256_setzero_si256()};
        Wide const w = spread(_mm256_and_si256(q, _mm256_set1_epi32(0xffff)));
        Wide const whole = spread(_mm256_cmpeq_epi32(q, _mm256_set1_epi32(65536)));
        c = {towards(c.lo, n.lo, w.lo, whole.lo), towards(c.hi, n.hi, w.hi, whole.hi)};
    }
    // Times the pixel's own alpha, in float; the products stay below 255.
    __m256i const r0 = scaled(_mm256_castsi256_si128(c.lo), a, 0);
    __m256i const r1 = scaled(_mm256_extracti128_si256(c.lo, 1), a, 2);
    __m256i const r2 = scaled(_mm256_castsi256_si128(c.hi), a, 4);
    __m256i const r3 = scaled(_mm256_extracti128_si256(c.hi, 1), a, 6);
    // The packs leave the pixels in the order 0 2 4 6 1 3 5 7.
    __m256i const packed =
        _mm256_packus_epi16(_mm256_packus_epi32(r0, r1), _mm256_packus_epi32(r2, r3));
    _mm256_storeu_si256(
        reinterpret_cast<__m256i*>(px),
        _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
    return true;
}

// Rows where the distance is negative somewhere (the walk stands still there), pixels without
// alpha, runs that straddle two levels or leave the pyramid, and the row's last few pixels
// take the portable loop. The distance grows or falls steadily along a row, in float too, so
// the level of the first and last pixel of a run bounds those between.
template <class C>
MIRREL_AVX2 void pixels(MipLevel<C, 4> const* level, int L, PluginRasterInfo const& raster,
                        float d0, float dX, float dY, float radius, int alpha, float scale,
                        void* rows) {
    int const width = raster.width;
    Held<C> held{static_cast<C*>(rows), width, {}};
    for (int& r : held.texelRow) r = -1;
    for (int y = 0; y < raster.height; ++y) {
        float const rowBase = d0 + dY * float(y);
        C* row = reinterpret_cast<C*>(raster.row(y));
        float const first = float(0) * dX + rowBase, last = float(width - 1) * dX + rowBase;
        if (!(first >= 0.0f && last >= 0.0f)) {
            mipRow<C, 4>(level, L, row, y, 0, width, rowBase, dX, radius, alpha, scale);
            continue;
        }
        // One level for the whole row, or a level to find for each run.
        int const kFirst = mipLevelOf(first, radius);
        int const kRow = mipLevelOf(last, radius) == kFirst ? kFirst : -1;
        int x = 0;
        for (; x + 8 <= width; x += 8) {
            C* px = row + std::ptrdiff_t(x) * 4;
            int const k = kRow >= 0 ? kRow : mipLevelOf(float(x) * dX + rowBase, radius);
            if (k > L - 1 || (kRow < 0 && mipLevelOf(float(x + 7) * dX + rowBase, radius) != k) ||
                !eight(level, L, k, held, px, x, y, rowBase, dX, radius, alpha, scale))
                mipRow<C, 4>(level, L, px, y, x, x + 8, rowBase, dX, radius, alpha, scale);
        }
        mipRow<C, 4>(level, L, row + std::ptrdiff_t(x) * 4, y, x, width, rowBase, dX, radius, alpha,
                     scale);
    }
}

template <class C> MipKernels<C> const kKernels = {&smoothRow, &pixels<C>};

} // namespace

template <class C> MipKernels<C> const* mipKernelsAvx2() {
    return __builtin_cpu_supports("avx2") ? &kKernels<C> : nullptr;
}

} // namespace blur_detail

#else

namespace blur_detail {
template <class C> MipKernels<C> const* mipKernelsAvx2() {
    return nullptr;
}
} // namespace blur_detail

#endif

namespace blur_detail {

template <class C> MipKernels<C> const* chosenMipKernels() {
    static MipKernels<C> const* const chosen = processorHasAvx2() ? mipKernelsAvx2<C>() : nullptr;
    return chosen;
}

template MipKernels<unsigned char> const* mipKernelsAvx2();
template MipKernels<unsigned short> const* mipKernelsAvx2();
template MipKernels<float> const* mipKernelsAvx2();
template MipKernels<unsigned char> const* chosenMipKernels();
template MipKernels<unsigned short> const* chosenMipKernels();
template MipKernels<float> const* chosenMipKernels();

} // namespace blur_detail
