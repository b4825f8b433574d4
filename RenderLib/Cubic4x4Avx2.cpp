// The four-channel 4 by 4 span with AVX2: two output pixels share each 256-bit register, one a
// lane. Every lane does the portable arithmetic in the portable order (no fused multiply-add,
// correctly rounded double division, the same truncations), so the outputs are bit for bit the
// same. Pixels whose block leaves the bounds, and an odd last pixel, go through the portable
// pixel itself.
#include "RenderLib/LineFuncCP.h"
#include "pixel/Processor.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#if defined(__x86_64__) || defined(__i386__)
#include "pixel/Avx2.h"

namespace {

using namespace linefunc_detail;

// Column c of pixels a (low lane) and b (high lane), as floats.
template <class C> MIRREL_AVX2_INLINE __m256 loadPair(const C* a, const C* b) {
    if constexpr (sizeof(C) == 1) {
        int ai, bi;
        __builtin_memcpy(&ai, a, 4);
        __builtin_memcpy(&bi, b, 4);
        const __m128i both = _mm_unpacklo_epi32(_mm_cvtsi32_si128(ai), _mm_cvtsi32_si128(bi));
        return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(both));
    } else if constexpr (sizeof(C) == 2) {
        const __m128i both =
            _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a)),
                               _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b)));
        return _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(both));
    } else {
        return _mm256_set_m128(_mm_loadu_ps(b), _mm_loadu_ps(a));
    }
}

// Byte shuffles that widen column c of a row of packed pixels to 32-bit channels, in each lane:
// four pixels of 8-bit channels make 16 bytes, two of 16-bit ones.
template <class C> MIRREL_AVX2_INLINE __m256i widen(int c) {
    alignas(16) char m[16];
    for (int k = 0; k < 16; ++k) {
        const int channel = k / 4, byte = k % 4;
        m[k] = char(byte < int(sizeof(C)) ? c * 4 * int(sizeof(C)) + channel * int(sizeof(C)) + byte
                                          : 0x80);
    }
    const __m128i lane = _mm_load_si128(reinterpret_cast<const __m128i*>(m));
    return _mm256_broadcastsi128_si256(lane);
}

// The 16 bytes at a (low lane) and at b (high lane).
MIRREL_AVX2_INLINE __m256i loadLanes(const void* a, const void* b) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(a))),
        _mm_loadu_si128(static_cast<const __m128i*>(b)), 1);
}

// Weight rows ra (low lane) and rb (high lane) of the table, each weight spread over its lane.
MIRREL_AVX2_INLINE void pairWeights(const float* lut, int ra, int rb, __m256* w) {
    const __m256 both = _mm256_set_m128(_mm_loadu_ps(lut + rb * 4), _mm_loadu_ps(lut + ra * 4));
    w[0] = _mm256_permute_ps(both, 0x00), w[1] = _mm256_permute_ps(both, 0x55);
    w[2] = _mm256_permute_ps(both, 0xAA), w[3] = _mm256_permute_ps(both, 0xFF);
}

// ((w0 v0 + w1 v1) + w2 v2) + w3 v3, as the portable sums associate.
MIRREL_AVX2_INLINE __m256 weightedSum(const __m256* w, const __m256* v) {
    __m256 s = _mm256_add_ps(_mm256_mul_ps(w[0], v[0]), _mm256_mul_ps(w[1], v[1]));
    s = _mm256_add_ps(s, _mm256_mul_ps(w[2], v[2]));
    return _mm256_add_ps(s, _mm256_mul_ps(w[3], v[3]));
}

// Block rows whose pixels lie side by side are read whole and spread by shuffles.
template <class C> struct PackedRows {
    __m256i w0, w1, w2, w3;

    MIRREL_AVX2_INLINE PackedRows()
        : w0(widen<C>(0)), w1(widen<C>(1)), w2(widen<C>(2)), w3(widen<C>(3)) {}

    MIRREL_AVX2_INLINE void columns(const C* a, const C* b, __m256* p) const {
        const __m256i first = loadLanes(a, b);
        if constexpr (sizeof(C) == 1) {
            p[0] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(first, w0));
            p[1] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(first, w1));
            p[2] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(first, w2));
            p[3] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(first, w3));
        } else {
            const __m256i second = loadLanes(a + 8, b + 8);
            p[0] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(first, w0));
            p[1] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(first, w1));
            p[2] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(second, w0));
            p[3] = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(second, w1));
        }
    }
};

// One block row: ((x0 p0 + x1 p1) + x2 p2) + x3 p3, as the portable sum associates.
template <class C, bool Packed>
MIRREL_AVX2_INLINE __m256 rowSum(const __m256* x, const C* a, const C* b, std::ptrdiff_t ps,
                                 const PackedRows<C>& packed) {
    __m256 p[4];
    if constexpr (Packed) {
        packed.columns(a, b, p);
    } else {
        for (int i = 0; i < 4; ++i) p[i] = loadPair(a + i * ps, b + i * ps);
    }
    return weightedSum(x, p);
}

// Rounds and clamps one register of two pixels, the channels wrapped into the channel type;
// Whole leaves the clamp to the packs that follow.
template <class C, bool Whole = false>
MIRREL_AVX2_INLINE __m256i roundPair(__m256 v, __m256i minV, __m256i maxV) {
    const __m256i i = _mm256_cvttps_epi32(_mm256_add_ps(v, _mm256_set1_ps(0.5f)));
    if constexpr (Whole) return i;
    return _mm256_and_si256(_mm256_min_epi32(_mm256_max_epi32(i, minV), maxV),
                            _mm256_set1_epi32(sizeof(C) == 1 ? 0xFF : 0xFFFF));
}

// Rounds, clamps and stores both pixels, a then b.
template <class C> MIRREL_AVX2_INLINE void storePair(C* d, __m256 v, __m256i minV, __m256i maxV) {
    if constexpr (isFloat<C>) {
        _mm256_storeu_ps(d, v);
    } else {
        // Wrapped into the channel type, the packs below cannot saturate.
        const __m256i i = roundPair<C>(v, minV, maxV);
        const __m128i words =
            _mm_packus_epi32(_mm256_castsi256_si128(i), _mm256_extracti128_si256(i, 1));
        if constexpr (sizeof(C) == 1)
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d), _mm_packus_epi16(words, words));
        else
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d), words);
    }
}

// Down the block: the row sums of two pixels, from float `at` of each of the four rows.
MIRREL_AVX2_INLINE __m256 downBlock(const __m256* yw, const float* const* sums, int at) {
    const __m256 rows[4] = {_mm256_loadu_ps(sums[0] + at), _mm256_loadu_ps(sums[1] + at),
                            _mm256_loadu_ps(sums[2] + at), _mm256_loadu_ps(sums[3] + at)};
    return weightedSum(yw, rows);
}

// Two registers of two pixels rounded and packed to 16-bit lanes, lane by lane.
template <class C, bool Whole>
MIRREL_AVX2_INLINE __m256i packPairs(__m256 x, __m256 y, __m256i minV, __m256i maxV) {
    const __m256i p = roundPair<C, Whole>(x, minV, maxV), q = roundPair<C, Whole>(y, minV, maxV);
    return sizeof(C) == 1 && Whole ? _mm256_packs_epi32(p, q) : _mm256_packus_epi32(p, q);
}

// Rounds, clamps and stores pixels 0 to 7, two a register in order (a, b, c, e), at once. Where
// the range is the channel type's whole range (Whole), the saturating packs are the clamp: the
// signed one brings every integer, the out-of-range one included, within the 16-bit range, and
// the unsigned one to the channel's.
template <class C, bool Whole>
MIRREL_AVX2_INLINE void storeEight(C* d, __m256 a, __m256 b, __m256 c, __m256 e, __m256i minV,
                                   __m256i maxV) {
    if constexpr (isFloat<C>) {
        _mm256_storeu_ps(d, a), _mm256_storeu_ps(d + 8, b);
        _mm256_storeu_ps(d + 16, c), _mm256_storeu_ps(d + 24, e);
    } else {
        // Lane by lane the packs interleave the registers: pixels 0 2 | 1 3 and 4 6 | 5 7.
        const __m256i low = packPairs<C, Whole>(a, b, minV, maxV);
        const __m256i high = packPairs<C, Whole>(c, e, minV, maxV);
        if constexpr (sizeof(C) == 1) {
            const __m256i bytes = _mm256_packus_epi16(low, high); // 0 2 4 6 | 1 3 5 7
            _mm256_storeu_si256(
                reinterpret_cast<__m256i*>(d),
                _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
        } else {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm256_permute4x64_epi64(low, 0xD8));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 16),
                                _mm256_permute4x64_epi64(high, 0xD8));
        }
    }
}

// The first block column and the weight row of each pixel of the span, four pixels a time: x as
// SpanCoords::at works it out, in the same double operations, and the column and row as the
// portable pixel takes them. True where there were entries and the first cache.count came out as
// they were.
template <class C>
MIRREL_AVX2_INLINE bool refillColumns(const SpanCoords& co, int n, const Source<C>& src,
                                      Cubic4x4RowCache& cache) {
    using Cache = Cubic4x4RowCache;
    const __m256d u = _mm256_set1_pd(co.u), du = _mm256_set1_pd(co.du);
    const __m256d q = _mm256_set1_pd(co.q), dq = _mm256_set1_pd(co.dq);
    const __m128i outside = _mm_set1_epi32(Cache::kOutside);
    const __m128i left = _mm_set1_epi32(src.left + 1), right = _mm_set1_epi32(src.right - 2);
    const int kept = std::min(cache.count, n);
    __m128i changed = _mm_setzero_si128();
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        const __m256d at = _mm256_set_pd(i + 3, i + 2, i + 1, i);
        const __m256d w = _mm256_add_pd(_mm256_mul_pd(dq, at), q);
        const __m128 x = _mm256_cvtpd_ps(_mm256_div_pd(_mm256_add_pd(_mm256_mul_pd(du, at), u), w));
        const __m128i ix = _mm_cvttps_epi32(x); // out of range gives INT_MIN, as int(x) does
        const __m128i inside = _mm_andnot_si128(
            _mm_or_si128(_mm_cmpeq_epi32(ix, outside),
                         _mm_or_si128(_mm_cmplt_epi32(ix, left), _mm_cmpgt_epi32(ix, right))),
            _mm_set1_epi32(-1));
        const __m128 f = _mm_sub_ps(x, _mm_cvtepi32_ps(ix));
        __m128i row = _mm_cvttps_epi32(_mm_mul_ps(
            _mm_mul_ps(_mm_add_ps(f, _mm_set1_ps(1.0f)), _mm_set1_ps(255.0f)), _mm_set1_ps(0.5f)));
        row = _mm_min_epi32(_mm_max_epi32(row, _mm_setzero_si128()), _mm_set1_epi32(255));
        const __m128i col = _mm_blendv_epi8(outside, _mm_sub_epi32(ix, _mm_set1_epi32(1)), inside);
        row = _mm_and_si128(row, inside);
        auto* colAt = reinterpret_cast<__m128i*>(cache.firstColumns + i);
        auto* rowAt = reinterpret_cast<__m128i*>(cache.weightRows + i);
        // Only the entries the old span had count.
        const __m128i had = _mm_cmplt_epi32(
            _mm_add_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(i)), _mm_set1_epi32(kept));
        changed = _mm_or_si128(
            changed, _mm_and_si128(had, _mm_or_si128(_mm_xor_si128(_mm_loadu_si128(colAt), col),
                                                     _mm_xor_si128(_mm_loadu_si128(rowAt), row))));
        _mm_storeu_si128(colAt, col);
        _mm_storeu_si128(rowAt, row);
    }
    bool same = _mm_testz_si128(changed, changed);
    for (; i < n; ++i) {
        float x, y;
        co.at(i, x, y);
        const int ix = _mm_cvtt_ss2si(_mm_set_ss(x));
        const bool inside = ix != Cache::kOutside && ix - 1 >= src.left && ix + 2 <= src.right;
        const int col = inside ? ix - 1 : Cache::kOutside;
        const int row = inside ? kernelLutRow(x - float(ix)) : 0;
        if (i < kept) same = same && cache.firstColumns[i] == col && cache.weightRows[i] == row;
        cache.firstColumns[i] = col;
        cache.weightRows[i] = row;
    }
    return kept > 0 && same;
}

// Whether every pixel of a span whose v steps has one float y. Along the span the exact
// y = (v + dv i) / (q + dq i) runs one way while w keeps its sign, and the y each pixel works out
// lies within a rounding bound e of it; so every pixel's y lies between the ends' widened by 2e,
// and where that interval rounds to one float, each pixel's does. The bound follows the
// operations of SpanCoords::at, with twice the unit roundoff and further margins for the widening
// itself. A matrix leaves such hairs of dv on rows that are level in exact arithmetic.
MIRREL_AVX2_INLINE bool oneYAlong(const SpanCoords& co, int n) {
    const double last = n - 1;
    const double w0 = co.dq * 0 + co.q, w1 = co.dq * last + co.q;
    const double y0 = (co.dv * 0 + co.v) / w0, y1 = (co.dv * last + co.v) / w1;
    constexpr double u = 0x1p-52;
    const double A = std::fabs(co.dv) * last + std::fabs(co.v); // at least every |v + dv i|
    const double B = std::fabs(co.dq) * last + std::fabs(co.q);
    const double eN = 2.0 * u * A, eW = 2.0 * u * B; // worked-out v + dv i and w against exact
    const double wMin = std::min(std::fabs(w0), std::fabs(w1)) - eW; // at most every exact |w|
    if (!((w0 > 0.0 && w1 > 0.0) || (w0 < 0.0 && w1 < 0.0)) || !(wMin > 2.0 * eW)) return false;
    const double wLow = wMin - eW; // at most every worked-out |w|
    const double e = eN / wLow + A * eW / (wLow * wMin) + u * A / wLow;
    const double margin = 4.0 * e + 4.0 * u * std::max(std::fabs(y0), std::fabs(y1));
    const float low = float(std::min(y0, y1) - margin), high = float(std::max(y0, y1) + margin);
    return low == high && std::isfinite(low);
}

// The span through the row cache; false, having written nothing, where it does not apply: its
// pixels do not all fall on one source y, its rows or the cache's width do not
// fit.
template <class C, bool Packed>
MIRREL_AVX2_INLINE bool spanFromRows(const RenderSettings* s, const Source<C>& src,
                                     const SpanCoords& co, int n, C* d, Cubic4x4RowCache& cache,
                                     const PackedRows<C>& packed) {
    using Cache = Cubic4x4RowCache;
    if (n < 2 || n > cache.capacity) return false;
    float x, y;
    co.at(0, x, y);
    if (!(co.dv == 0.0)) {
        if (!oneYAlong(co, n)) return false;
    } else if (co.dq != 0.0) {
        // Along the span w = dq i + q moves one way, and y = v / w with it while w keeps its
        // sign; so where both ends give the same y, every pixel has it.
        float lastX, lastY;
        co.at(n - 1, lastX, lastY);
        const double w0 = co.dq * 0 + co.q, w1 = co.dq * (n - 1) + co.q;
        if (!(y == lastY) || !((w0 > 0.0 && w1 > 0.0) || (w0 < 0.0 && w1 < 0.0))) return false;
    }
    const int iy = _mm_cvtt_ss2si(_mm_set_ss(y)); // out of range gives INT_MIN, as int(y) does
    if (iy == Cache::kOutside || iy - 1 < src.top || iy + 2 > src.bottom) return false;
    const float* lut = s->kernelLut;
    const std::ptrdiff_t ps = src.pixelBytes / std::ptrdiff_t(sizeof(C));

    if (!(co.u == cache.u && co.du == cache.du && co.q == cache.q && co.dq == cache.dq) ||
        n > cache.count) {
        // The summed rows stay good where the columns and weights they were summed with come
        // out the same, as they mostly do when u moves by a rounding from row to row.
        const bool same = refillColumns(co, n, src, cache);
        const int oldCount = cache.count;
        cache.u = co.u, cache.du = co.du, cache.q = co.q, cache.dq = co.dq;
        if (!same)
            for (int k = 0; k < Cache::kRows; ++k) cache.rows[k] = Cache::kOutside;
        for (int k = 0; k < Cache::kRows; ++k)
            cache.filled[k] = same ? std::min(cache.filled[k], cache.count) : 0;
        cache.count = n;
        if (!same || n > oldCount) {
            // The longest stretch of pixels inside from the first one inside; x runs one way along
            // a span, so it is mostly all of them.
            int from = 0;
            while (from < n && cache.firstColumns[from] == Cache::kOutside) ++from;
            int to = from;
            while (to < n && cache.firstColumns[to] != Cache::kOutside) ++to;
            cache.runFrom = from, cache.runTo = to;
        }
    }
    const int* cols = cache.firstColumns;
    const int* wrow = cache.weightRows;
    const int runFrom = cache.runFrom, runTo = std::min(cache.runTo, n);
    auto pairInside = [&](int i) {
        return cols[i] != Cache::kOutside && cols[i + 1] != Cache::kOutside;
    };

    // The four source rows, summed across where a slot does not hold them yet.
    const float* sums[4];
    for (int j = 0; j < 4; ++j) {
        const int r = iy - 1 + j;
        int slot = -1;
        for (int k = 0; k < Cache::kRows; ++k)
            if (cache.rows[k] == r) slot = k;
        if (slot < 0 || cache.filled[slot] < n) {
            // Rows are scanned in order, so the slot farthest from this row goes first; the
            // four rows of this span are nearer than any other.
            auto distance = [&](int k) { return std::llabs((long long)cache.rows[k] - r); };
            if (slot < 0)
                for (int k = 0; k < Cache::kRows; ++k) {
                    const bool needed = cache.rows[k] >= iy - 1 && cache.rows[k] <= iy + 2;
                    if (!needed && (slot < 0 || distance(k) > distance(slot))) slot = k;
                }
            float* out = cache.sums + std::size_t(slot) * 4 * cache.capacity;
            for (int i = 0; i + 1 < n; i += 2) {
                if (!(i >= runFrom && i + 2 <= runTo) && !pairInside(i)) continue;
                __m256 xw[4];
                pairWeights(lut, wrow[i], wrow[i + 1], xw);
                const C* a = src.at(cols[i], r);
                if (isFloat<C> && ps == 4 && cols[i + 1] == cols[i] + 1) {
                    // Float pixels side by side: a column of both pixels is one load.
                    const __m256 p[4] = {_mm256_loadu_ps(reinterpret_cast<const float*>(a)),
                                         _mm256_loadu_ps(reinterpret_cast<const float*>(a + 4)),
                                         _mm256_loadu_ps(reinterpret_cast<const float*>(a + 8)),
                                         _mm256_loadu_ps(reinterpret_cast<const float*>(a + 12))};
                    _mm256_storeu_ps(out + 4 * i, weightedSum(xw, p));
                    continue;
                }
                _mm256_storeu_ps(out + 4 * i,
                                 rowSum<C, Packed>(xw, a, src.at(cols[i + 1], r), ps, packed));
            }
            cache.rows[slot] = r;
            cache.filled[slot] = n;
        }
        sums[j] = cache.sums + std::size_t(slot) * 4 * cache.capacity;
    }

    // The row's one set of weights down the block.
    const int wyRow = kernelLutRow(y - float(iy));
    __m256 yw[4];
    pairWeights(lut, wyRow, wyRow, yw);
    const __m256i minV = _mm256_set1_epi32(s->minValue), maxV = _mm256_set1_epi32(s->maxValue);
    const bool whole = s->minValue == 0 && s->maxValue == (sizeof(C) == 1 ? 0xFF : 0xFFFF);
    int i = 0;
    while (i + 1 < n) {
        if (i >= runFrom && i + 8 <= runTo) {
            const __m256 a = downBlock(yw, sums, 4 * i), b = downBlock(yw, sums, 4 * i + 8);
            const __m256 c = downBlock(yw, sums, 4 * i + 16), e = downBlock(yw, sums, 4 * i + 24);
            if (whole)
                storeEight<C, true>(d, a, b, c, e, minV, maxV);
            else
                storeEight<C, false>(d, a, b, c, e, minV, maxV);
            i += 8, d += 32;
            continue;
        }
        if (!pairInside(i)) {
            cubic4x4Pixel<C, 4>(s, src, co, i, d);
            cubic4x4Pixel<C, 4>(s, src, co, i + 1, d + 4);
        } else {
            storePair(d, downBlock(yw, sums, 4 * i), minV, maxV);
        }
        i += 2, d += 8;
    }
    if (i < n) cubic4x4Pixel<C, 4>(s, src, co, i, d);
    return true;
}

template <class C, bool Packed>
MIRREL_AVX2 void spanAvx2(const RenderSettings* s, LineRenderStruct* line) {
    const Source<C> src(s);
    const SpanCoords co(line);
    C* d = reinterpret_cast<C*>(line->dest + std::ptrdiff_t(line->leftCount) * s->srcPixelBytes);
    const int n = line->count;
    const float* lut = s->kernelLut;
    const std::ptrdiff_t ps = src.pixelBytes / std::ptrdiff_t(sizeof(C));
    const PackedRows<C> packed;
    if (auto* cache = static_cast<Cubic4x4RowCache*>(s->lineData);
        cache && spanFromRows<C, Packed>(s, src, co, n, d, *cache, packed)) {
        advance(line);
        return;
    }
    const __m256i minV = _mm256_set1_epi32(s->minValue), maxV = _mm256_set1_epi32(s->maxValue);

    const __m256d uv = _mm256_set_pd(co.v, co.u, co.v, co.u);
    const __m256d duv = _mm256_set_pd(co.dv, co.du, co.dv, co.du);
    const __m256d q = _mm256_set1_pd(co.q), dq = _mm256_set1_pd(co.dq);
    // A block is whole inside when its first column and row are at least left and top and its
    // last at most right and bottom: ix - 1 >= left, ix + 2 <= right, the same for y.
    const __m128i lo = _mm_setr_epi32(src.left + 1, src.top + 1, src.left + 1, src.top + 1);
    const __m128i hi = _mm_setr_epi32(src.right - 2, src.bottom - 2, src.right - 2, src.bottom - 2);

    // Positions, table rows and bounds are worked out a batch ahead, so the divisions overlap
    // instead of each waiting at the head of its pixel's chain.
    constexpr int kBatch = 16;
    alignas(16) int cols[kBatch][4], lutRows[kBatch][4];
    bool inside[kBatch];
    int p = 0;
    for (; p + 1 < n; p += 2, d += 8) {
        const int slot = (p / 2) % kBatch;
        if (slot == 0) {
            for (int k = 0; k < kBatch; ++k) {
                // x and y of both pixels in one division, as SpanCoords::at does each.
                const double at = p + 2 * k;
                const __m256d i = _mm256_set_pd(at + 1, at + 1, at, at);
                const __m256d num = _mm256_add_pd(_mm256_mul_pd(duv, i), uv);
                const __m256d w = _mm256_add_pd(_mm256_mul_pd(dq, i), q);
                const __m128 xy = _mm256_cvtpd_ps(_mm256_div_pd(num, w)); // xa ya xb yb
                const __m128i ixy = _mm_cvttps_epi32(xy);
                const __m128i out =
                    _mm_or_si128(_mm_cmplt_epi32(ixy, lo), _mm_cmpgt_epi32(ixy, hi));
                inside[k] = _mm_testz_si128(out, out);
                const __m128 f = _mm_sub_ps(xy, _mm_cvtepi32_ps(ixy));
                __m128i row = _mm_cvttps_epi32(
                    _mm_mul_ps(_mm_mul_ps(_mm_add_ps(f, _mm_set1_ps(1.0f)), _mm_set1_ps(255.0f)),
                               _mm_set1_ps(0.5f)));
                row = _mm_min_epi32(_mm_max_epi32(row, _mm_setzero_si128()), _mm_set1_epi32(255));
                _mm_store_si128(reinterpret_cast<__m128i*>(lutRows[k]), row);
                _mm_store_si128(reinterpret_cast<__m128i*>(cols[k]), ixy);
            }
        }
        if (!inside[slot]) {
            cubic4x4Pixel<C, 4>(s, src, co, p, d);
            cubic4x4Pixel<C, 4>(s, src, co, p + 1, d + 4);
            continue;
        }
        const int* r = lutRows[slot];
        const int* c = cols[slot];
        __m256 x[4], yw[4];
        pairWeights(lut, r[0], r[2], x);
        pairWeights(lut, r[1], r[3], yw);
        const int ax = c[0] - 1, ay = c[1] - 1, bx = c[2] - 1, by = c[3] - 1;
        __m256 rows[4];
        for (int j = 0; j < 4; ++j)
            rows[j] = rowSum<C, Packed>(x, src.at(ax, ay + j), src.at(bx, by + j), ps, packed);
        storePair(d, weightedSum(yw, rows), minV, maxV);
    }
    if (p < n) cubic4x4Pixel<C, 4>(s, src, co, p, d);
    advance(line);
}

// Pixels of four channels side by side are read a block row at a time; other strides a pixel at a
// time.
template <class C> MIRREL_AVX2 void spanAvx2Any(const RenderSettings* s, LineRenderStruct* line) {
    if (!isFloat<C> && s->srcPixelBytes == 4 * int(sizeof(C)))
        spanAvx2<C, !isFloat<C>>(s, line);
    else
        spanAvx2<C, false>(s, line);
}

} // namespace

template <class C> Cubic4x4Span<C> cubic4x4SpanAvx2() {
    return __builtin_cpu_supports("avx2") ? &spanAvx2Any<C> : nullptr;
}

#else

template <class C> Cubic4x4Span<C> cubic4x4SpanAvx2() {
    return nullptr;
}

#endif

template <class C> Cubic4x4Span<C> chosenCubic4x4Span() {
    static const Cubic4x4Span<C> chosen = [] {
        Cubic4x4Span<C> fast = processorHasAvx2() ? cubic4x4SpanAvx2<C>() : nullptr;
        return fast ? fast : &cubic4x4SpanPortable<C, 4>;
    }();
    return chosen;
}

template Cubic4x4Span<unsigned char> cubic4x4SpanAvx2<unsigned char>();
template Cubic4x4Span<unsigned short> cubic4x4SpanAvx2<unsigned short>();
template Cubic4x4Span<float> cubic4x4SpanAvx2<float>();
template Cubic4x4Span<unsigned char> chosenCubic4x4Span<unsigned char>();
template Cubic4x4Span<unsigned short> chosenCubic4x4Span<unsigned short>();
template Cubic4x4Span<float> chosenCubic4x4Span<float>();
