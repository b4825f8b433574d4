#pragma once
// Line functions: each fills one span of a destination row by sampling the source at
// coordinates that run linearly in homogeneous form, so perspective is exact at every pixel.
// LineFuncCP<C> serves every format whose channel type is C; the full scale comes from
// maxValue. Names ending in _1 work on single-channel rasters; edge forms scale by coverage.
#include "RenderLib/FilterKernels.h"
#include "RenderLib/TransformRecords.h"

#include <cstddef>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <type_traits>

// Nearest-neighbour copy of srcPixelBytes at a time; serves every format.
int lineFunc(void* settings, LineRenderStruct* line);

namespace linefunc_detail {

// Everything a sampler reads from the settings, pulled into locals once per span.
template <class C> struct Source {
    const unsigned char* base;
    std::ptrdiff_t rowBytes;
    std::ptrdiff_t pixelBytes;
    int left, top, right, bottom;
    float fLeft, fTop, fRight, fBottom;

    explicit Source(const RenderSettings* s)
        : base(s->srcPixels), rowBytes(s->srcRowBytes), pixelBytes(s->srcPixelBytes),
          left(s->srcLeft), top(s->srcTop), right(s->srcRight), bottom(s->srcBottom),
          fLeft(float(s->srcLeft)), fTop(float(s->srcTop)), fRight(float(s->srcRight)),
          fBottom(float(s->srcBottom)) {}

    const C* at(int x, int y) const {
        return reinterpret_cast<const C*>(base + y * rowBytes + x * pixelBytes);
    }
    bool inside(int x, int y) const { return x >= left && x <= right && y >= top && y <= bottom; }
    int clampX(int x) const { return x < left ? left : (x > right ? right : x); }
    int clampY(int y) const { return y < top ? top : (y > bottom ? bottom : y); }
};

// Source position of pixel i of a span, computed from the span start rather than accumulated.
struct SpanCoords {
    double u, v, q, du, dv, dq;
    explicit SpanCoords(const LineRenderStruct* l)
        : u(l->u), v(l->v), q(l->q), du(l->du), dv(l->dv), dq(l->dq) {}
    void at(int i, float& x, float& y) const {
        const double w = dq * i + q;
        x = float((du * i + u) / w);
        y = float((dv * i + v) / w);
    }
};

inline void advance(LineRenderStruct* line) {
    if (line->count < 1) return;
    line->u += line->du * line->count;
    line->v += line->dv * line->count;
    line->q += line->dq * line->count;
}

template <class C> constexpr bool isFloat = std::is_floating_point_v<C>;

// Truncation to the channel type; integer values wrap as the channel type does.
template <class C> inline C truncate(float v) {
    if constexpr (isFloat<C>)
        return v;
    else
        return C(int(v));
}
template <class C> inline C roundHalf(float v) {
    if constexpr (isFloat<C>)
        return v;
    else
        return C(int(v + 0.5f));
}

// Four channels of one pixel side by side. Each lane does exactly the scalar arithmetic, in the
// same order; the compiler only gets to do the four at once.
typedef float Float4 __attribute__((vector_size(16)));
typedef int Int4 __attribute__((vector_size(16)));

template <class C> inline Float4 load4(const C* p) {
    if constexpr (isFloat<C>) {
        Float4 v;
        __builtin_memcpy(&v, p, sizeof v);
        return v;
    }
#if defined(__SSE2__)
    else if constexpr (sizeof(C) == 1) {
        int bits;
        __builtin_memcpy(&bits, p, sizeof bits);
        const __m128i zero = _mm_setzero_si128();
        const __m128i wide =
            _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(bits), zero), zero);
        return Float4(_mm_cvtepi32_ps(wide));
    } else if constexpr (sizeof(C) == 2) {
        const __m128i narrow = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        return Float4(_mm_cvtepi32_ps(_mm_unpacklo_epi16(narrow, _mm_setzero_si128())));
    }
#endif
    else {
        return Float4{float(p[0]), float(p[1]), float(p[2]), float(p[3])};
    }
}

// Truncation to the channel type, lane by lane, kept as float.
template <class C> inline Float4 truncate4(Float4 v) {
    if constexpr (isFloat<C>) {
        return v;
    } else {
        const Int4 mask = Int4{} + int((1u << (8 * sizeof(C))) - 1u);
        return __builtin_convertvector(__builtin_convertvector(v, Int4) & mask, Float4);
    }
}

// Truncating store: the integer wraps into the channel type as a scalar conversion does.
template <class C> inline void store4(C* out, Float4 v) {
    if constexpr (isFloat<C>) {
        __builtin_memcpy(out, &v, sizeof v);
    }
#if defined(__SSE2__)
    else if constexpr (sizeof(C) == 1) {
        __m128i i = _mm_and_si128(_mm_cvttps_epi32(__m128(v)), _mm_set1_epi32(0xFF));
        i = _mm_packs_epi32(i, i);
        i = _mm_packus_epi16(i, i);
        const int bits = _mm_cvtsi128_si32(i);
        __builtin_memcpy(out, &bits, sizeof bits);
    } else if constexpr (sizeof(C) == 2) {
        // No unsigned 32-to-16 pack in SSE2: shift into the signed range and back.
        __m128i i = _mm_and_si128(_mm_cvttps_epi32(__m128(v)), _mm_set1_epi32(0xFFFF));
        i = _mm_packs_epi32(_mm_sub_epi32(i, _mm_set1_epi32(0x8000)), i);
        i = _mm_xor_si128(i, _mm_set1_epi16(short(0x8000)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), i);
    }
#endif
    else {
        const Int4 i = __builtin_convertvector(v, Int4);
        out[0] = C(i[0]), out[1] = C(i[1]), out[2] = C(i[2]), out[3] = C(i[3]);
    }
}

// Bilinear sample of NCH channels at (x, y), clamped to the bounds axis by axis.
#define MIRREL_INLINE inline __attribute__((always_inline))

template <class C, int NCH>
MIRREL_INLINE void bilinear(const Source<C>& src, float x, float y, C* out) {
    const bool xIn = x >= src.fLeft && !(x >= src.fRight);
    const bool yIn = y >= src.fTop && !(y >= src.fBottom);
    // Only a coordinate inside the bounds becomes an integer: outside, it may be anything.
    const int ix = xIn ? int(x) : 0, iy = yIn ? int(y) : 0;
    const float fx = x - float(ix), fy = y - float(iy);
    const int col = x < src.fLeft ? src.left : src.right;
    const int row = y < src.fTop ? src.top : src.bottom;
    if (xIn && yIn) {
        const C* a = src.at(ix, iy);
        const C* b = src.at(ix + 1, iy);
        const C* c = src.at(ix, iy + 1);
        const C* d = src.at(ix + 1, iy + 1);
        const float gx = 1.0f - fx, gy = 1.0f - fy;
        if constexpr (NCH == 4) {
            const Float4 top = truncate4<C>(load4(a) * gx + load4(b) * fx);
            const Float4 bottom = truncate4<C>(load4(c) * gx + load4(d) * fx);
            store4(out, top * gy + bottom * fy);
        } else {
            const C top = truncate<C>(float(a[0]) * gx + float(b[0]) * fx);
            const C bottom = truncate<C>(float(c[0]) * gx + float(d[0]) * fx);
            out[0] = truncate<C>(float(top) * gy + float(bottom) * fy);
        }
    } else if (xIn) {
        const C* a = src.at(ix, row);
        const C* b = src.at(ix + 1, row);
        const float gx = 1.0f - fx;
        for (int k = 0; k < NCH; ++k) out[k] = truncate<C>(float(a[k]) * gx + float(b[k]) * fx);
    } else if (yIn) {
        const C* a = src.at(col, iy);
        const C* b = src.at(col, iy + 1);
        const float gy = 1.0f - fy;
        for (int k = 0; k < NCH; ++k) out[k] = truncate<C>(float(a[k]) * gy + float(b[k]) * fy);
    } else {
        const C* a = src.at(col, row);
        for (int k = 0; k < NCH; ++k) out[k] = a[k];
    }
}

inline float row4(float w0, float w1, float w2, float w3, float a, float b, float c, float d) {
    return w0 * a + w1 * b + w2 * c + w3 * d;
}

// The 4 by 4 weighted sum of NCH channels. The weight rows are copied into locals first;
// r0 to r3 are the block's rows, ps the step from column to column in channels.
template <class C, int NCH>
inline void cubic4x4(const float* wx, const float* wy, const C* r0, const C* r1, const C* r2,
                     const C* r3, std::ptrdiff_t ps, float* sum) {
    const float x0 = wx[0], x1 = wx[1], x2 = wx[2], x3 = wx[3];
    const float y0 = wy[0], y1 = wy[1], y2 = wy[2], y3 = wy[3];
    const std::ptrdiff_t p2 = 2 * ps, p3 = 3 * ps;
    if constexpr (NCH == 4) {
        const Float4 s0 =
            x0 * load4(r0) + x1 * load4(r0 + ps) + x2 * load4(r0 + p2) + x3 * load4(r0 + p3);
        const Float4 s1 =
            x0 * load4(r1) + x1 * load4(r1 + ps) + x2 * load4(r1 + p2) + x3 * load4(r1 + p3);
        const Float4 s2 =
            x0 * load4(r2) + x1 * load4(r2 + ps) + x2 * load4(r2 + p2) + x3 * load4(r2 + p3);
        const Float4 s3 =
            x0 * load4(r3) + x1 * load4(r3 + ps) + x2 * load4(r3 + p2) + x3 * load4(r3 + p3);
        const Float4 v = y0 * s0 + y1 * s1 + y2 * s2 + y3 * s3;
        __builtin_memcpy(sum, &v, sizeof v);
    } else {
        sum[0] = y0 * row4(x0, x1, x2, x3, r0[0], r0[ps], r0[p2], r0[p3]) +
                 y1 * row4(x0, x1, x2, x3, r1[0], r1[ps], r1[p2], r1[p3]) +
                 y2 * row4(x0, x1, x2, x3, r2[0], r2[ps], r2[p2], r2[p3]) +
                 y3 * row4(x0, x1, x2, x3, r3[0], r3[ps], r3[p2], r3[p3]);
    }
}

// Table-weighted 4 by 4 sum at (x, y). Near the border the block is gathered: the four-channel
// form repeats the border pixels, the single-channel form reads zero outside.
template <class C, int NCH>
MIRREL_INLINE void sample4x4(const Source<C>& src, const float* lut, float x, float y, float* sum) {
    const int ix = int(x), iy = int(y);
    const float fx = x - float(ix), fy = y - float(iy);
    const float* wx = lut + kernelLutRow(fx) * 4;
    const float* wy = lut + kernelLutRow(fy) * 4;
    int x0 = ix - 1, y0 = iy - 1;
    if (x0 >= src.left && ix + 2 <= src.right && y0 >= src.top && iy + 2 <= src.bottom) {
        const std::ptrdiff_t ps = src.pixelBytes / std::ptrdiff_t(sizeof(C));
        cubic4x4<C, NCH>(wx, wy, src.at(x0, y0), src.at(x0, y0 + 1), src.at(x0, y0 + 2),
                         src.at(x0, y0 + 3), ps, sum);
        return;
    }
    if (x0 < -3) x0 = -3;
    if (y0 < -3) y0 = -3;
    C block[16 * NCH];
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 4; ++i) {
            C* d = block + (j * 4 + i) * NCH;
            const int px = x0 + i, py = y0 + j;
            if constexpr (NCH == 4) {
                const C* s = src.at(src.clampX(px), src.clampY(py));
                d[0] = s[0], d[1] = s[1], d[2] = s[2], d[3] = s[3];
            } else {
                d[0] = src.inside(px, py) ? *src.at(px, py) : C(0);
            }
        }
    }
    cubic4x4<C, NCH>(wx, wy, block, block + 4 * NCH, block + 8 * NCH, block + 12 * NCH, NCH, sum);
}

// Scales a stored value by a coverage with rounding (integer) or plainly (float).
template <class C> inline C coverRound(C v, float coverage) {
    if constexpr (isFloat<C>)
        return v * coverage;
    else
        return C(int(float(v) * coverage + 0.5f));
}

// One pixel p of a span of the 4 by 4 sampler, rounded and clamped to the settings' range.
template <class C, int NCH>
MIRREL_INLINE void cubic4x4Pixel(const RenderSettings* s, const Source<C>& src,
                                 const SpanCoords& co, int p, C* d) {
    float x, y, sum[NCH];
    co.at(p, x, y);
    sample4x4<C, NCH>(src, s->kernelLut, x, y, sum);
    const int minV = s->minValue, maxV = s->maxValue;
    for (int k = 0; k < NCH; ++k) {
        if constexpr (isFloat<C>) {
            d[k] = sum[k];
        } else if constexpr (NCH == 4) {
            int v = int(sum[k] + 0.5f);
            d[k] = C(v < minV ? minV : (v > maxV ? maxV : v));
        } else {
            d[k] = roundHalf<C>(sum[k]);
        }
    }
}

} // namespace linefunc_detail

// The 4 by 4 table-weighted span, one pixel at a time: the reference every faster form equals.
template <class C, int NCH>
void cubic4x4SpanPortable(const RenderSettings* s, LineRenderStruct* line) {
    using namespace linefunc_detail;
    const Source<C> src(s);
    const SpanCoords co(line);
    C* d = reinterpret_cast<C*>(line->dest + std::ptrdiff_t(line->leftCount) * s->srcPixelBytes);
    const int n = line->count;
    for (int p = 0; p < n; ++p, d += NCH) cubic4x4Pixel<C, NCH>(s, src, co, p, d);
    advance(line);
}

// Block-row sums of the four-channel 4 by 4 span kept from span to span of one transform. Where
// a span holds v and q (no step along it) and starts and steps as the spans before it, every span
// samples the same columns, so a source row summed across for one destination row serves the
// next ones as they are: the same floats the pixel would have made. The transform points lineData
// at one for the vector span; the portable span does not use it.
struct Cubic4x4RowCache {
    static constexpr int kRows = 6;
    static constexpr int kOutside = -2147483647 - 1;
    int capacity = 0;                    // pixels a span may have
    float* sums = nullptr;               // kRows rows of capacity pixels of four floats
    int* firstColumns = nullptr;         // per pixel: first block column, kOutside where it leaves
    int* weightRows = nullptr;           // per pixel: row of the weight table
    double u = 0, du = 0, q = 0, dq = 0; // the spans the columns belong to
    int count = 0;                       // pixels worked out; 0 when none
    int runFrom = 0, runTo = 0;          // pixels [runFrom, runTo) all inside
    int rows[kRows];                     // source row whose sums each slot holds
    int filled[kRows];                   // pixels of that row summed

    static std::size_t bytesFor(int pixels) {
        return std::size_t(pixels) * (kRows * 4 * sizeof(float) + 2 * sizeof(int));
    }
    // Lays the cache over `memory` of bytesFor(pixels) bytes, aligned for floats.
    void attach(void* memory, int pixels) {
        capacity = pixels;
        sums = static_cast<float*>(memory);
        firstColumns = reinterpret_cast<int*>(sums + std::size_t(kRows) * 4 * pixels);
        weightRows = firstColumns + pixels;
        count = 0;
        runFrom = runTo = 0;
        for (int k = 0; k < kRows; ++k) rows[k] = kOutside, filled[k] = 0;
    }
};

// The four-channel span, by processor: chosen once per process (MIRREL_CPU=baseline keeps the
// portable form, so both can be checked against the same outputs).
template <class C> using Cubic4x4Span = void (*)(const RenderSettings*, LineRenderStruct*);
template <class C> Cubic4x4Span<C> chosenCubic4x4Span();
// The AVX2 form: two pixels a register, each with the portable arithmetic. Null where the
// processor or the build has no AVX2.
template <class C> Cubic4x4Span<C> cubic4x4SpanAvx2();

template <class C> struct LineFuncCP {
    using Src = linefunc_detail::Source<C>;
    using Coords = linefunc_detail::SpanCoords;

    static RenderSettings* settingsOf(void* s) { return static_cast<RenderSettings*>(s); }
    static C* destOf(const RenderSettings* s, const LineRenderStruct* line) {
        return reinterpret_cast<C*>(line->dest +
                                    std::ptrdiff_t(line->leftCount) * s->srcPixelBytes);
    }

    template <int NCH> static void bilinearSpan(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        const Src src(s);
        const Coords co(line);
        C* d = destOf(s, line);
        const int n = line->count;
        for (int i = 0; i < n; ++i, d += NCH) {
            float x, y;
            co.at(i, x, y);
            linefunc_detail::bilinear<C, NCH>(src, x, y, d);
        }
        linefunc_detail::advance(line);
    }

    static int bilinearFunc(void* s, LineRenderStruct* line) {
        bilinearSpan<4>(s, line);
        return 0;
    }
    static int bilinearFunc_1(void* s, LineRenderStruct* line) {
        bilinearSpan<1>(s, line);
        return 0;
    }

    // Four channels truncate the covered value; one channel rounds it.
    static int edgeBilinearFunc(void* sp, LineRenderStruct* line) {
        C* d = destOf(settingsOf(sp), line);
        bilinearSpan<4>(sp, line);
        const float* cov = line->coverage;
        for (int i = 0; i < line->count; ++i, d += 4) {
            for (int k = 0; k < 4; ++k) {
                if constexpr (linefunc_detail::isFloat<C>)
                    d[k] = d[k] * cov[i];
                else
                    d[k] = C(int(float(d[k]) * cov[i]));
            }
        }
        return 0;
    }
    static int edgeBilinearFunc_1(void* sp, LineRenderStruct* line) {
        C* d = destOf(settingsOf(sp), line);
        bilinearSpan<1>(sp, line);
        const float* cov = line->coverage;
        for (int i = 0; i < line->count; ++i) d[i] = linefunc_detail::coverRound(d[i], cov[i]);
        return 0;
    }

    // Table-weighted kernelSize by kernelSize sample. Beyond the bounds the block reads zero,
    // so the picture fades toward transparent black.
    template <int NCH> static void biCubicSpan(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        const Src src(s);
        const Coords co(line);
        C* d = destOf(s, line);
        const int n = line->count;
        const int N = s->kernelSize;
        const int h = N / 2 - 1;
        const float* lut = s->kernelLut;
        const float minV = float(s->minValue), maxV = float(s->maxValue);
        C block[10 * 10 * NCH];
        for (int p = 0; p < n; ++p, d += NCH) {
            float x, y;
            co.at(p, x, y);
            const int ix = int(x), iy = int(y);
            const float fx = x - float(ix), fy = y - float(iy);
            int x0 = ix - h, y0 = iy - h;
            const unsigned char* base;
            std::ptrdiff_t colStep, rowStep;
            if (x0 >= src.left && y0 >= src.top && x0 + N - 1 <= src.right &&
                y0 + N - 1 <= src.bottom) {
                base = reinterpret_cast<const unsigned char*>(src.at(x0, y0));
                colStep = src.pixelBytes;
                rowStep = src.rowBytes;
            } else {
                if (x0 < -(N - 1)) x0 = -(N - 1);
                if (y0 < -(N - 1)) y0 = -(N - 1);
                for (int j = 0; j < N; ++j) {
                    for (int i = 0; i < N; ++i) {
                        C* b = block + (j * N + i) * NCH;
                        if (src.inside(x0 + i, y0 + j)) {
                            const C* sp2 = src.at(x0 + i, y0 + j);
                            for (int k = 0; k < NCH; ++k) b[k] = sp2[k];
                        } else {
                            for (int k = 0; k < NCH; ++k) b[k] = C(0);
                        }
                    }
                }
                base = reinterpret_cast<const unsigned char*>(block);
                colStep = NCH * std::ptrdiff_t(sizeof(C));
                rowStep = N * colStep;
            }
            const float* wx = lut + kernelLutRow(fx) * N;
            const float* wy = lut + kernelLutRow(fy) * N;
            float sum[NCH] = {};
            for (int j = 0; j < N; ++j) {
                const unsigned char* r = base + j * rowStep;
                float rowSum[NCH] = {};
                for (int i = 0; i < N; ++i) {
                    const C* px = reinterpret_cast<const C*>(r + i * colStep);
                    for (int k = 0; k < NCH; ++k) rowSum[k] += wx[i] * float(px[k]);
                }
                for (int k = 0; k < NCH; ++k) sum[k] += rowSum[k] * wy[j];
            }
            for (int k = 0; k < NCH; ++k) {
                if constexpr (linefunc_detail::isFloat<C>) {
                    d[k] = sum[k];
                } else if constexpr (NCH == 4) {
                    float v = sum[k] < minV ? minV : (sum[k] > maxV ? maxV : sum[k]);
                    d[k] = C(int(v + 0.5f));
                } else {
                    d[k] = linefunc_detail::roundHalf<C>(sum[k]);
                }
            }
        }
        linefunc_detail::advance(line);
    }

    static int biCubicFunc(void* s, LineRenderStruct* line) {
        biCubicSpan<4>(s, line);
        return 0;
    }
    static int biCubicFunc_1(void* s, LineRenderStruct* line) {
        biCubicSpan<1>(s, line);
        return 0;
    }

    template <int NCH> static void biCubic4x4Span(void* sp, LineRenderStruct* line) {
        if constexpr (NCH == 4)
            chosenCubic4x4Span<C>()(settingsOf(sp), line);
        else
            cubic4x4SpanPortable<C, 1>(settingsOf(sp), line);
    }

    static int biCubicFunc_4x4(void* s, LineRenderStruct* line) {
        biCubic4x4Span<4>(s, line);
        return 0;
    }
    static int biCubicFunc_4x4_1(void* s, LineRenderStruct* line) {
        biCubic4x4Span<1>(s, line);
        return 0;
    }

    // Nine border-repeating 4 by 4 samples around each pixel, weighted, summed in double.
    static int biCubicFunc_4x4_ss(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        const Src src(s);
        const Coords co(line);
        C* d = destOf(s, line);
        const int n = line->count;
        const float* lut = s->kernelLut;
        const int minV = s->minValue, maxV = s->maxValue;
        float weights[9];
        for (int k = 0; k < 9; ++k) weights[k] = float(s->ssWeights[k]);
        for (int p = 0; p < n; ++p, d += 4) {
            float x, y;
            co.at(p, x, y);
            double acc[4] = {0.0, 0.0, 0.0, 0.0};
            for (int k = 0; k < 9; ++k) {
                float sum[4];
                linefunc_detail::sample4x4<C, 4>(src, lut, float(x + s->ssOffsetX[k]),
                                                 float(y + s->ssOffsetY[k]), sum);
                for (int c = 0; c < 4; ++c) acc[c] += sum[c] * weights[k];
            }
            for (int c = 0; c < 4; ++c) {
                if constexpr (linefunc_detail::isFloat<C>) {
                    d[c] = float(acc[c]);
                } else {
                    int v = int(acc[c] + 0.5);
                    d[c] = C(v < minV ? minV : (v > maxV ? maxV : v));
                }
            }
        }
        linefunc_detail::advance(line);
        return 0;
    }

    // The plain sampler over the span, then each channel scaled by the pixel's coverage.
    template <int NCH, int (*Plain)(void*, LineRenderStruct*)>
    static int covered(void* sp, LineRenderStruct* line) {
        C* d = destOf(settingsOf(sp), line);
        Plain(sp, line);
        const float* cov = line->coverage;
        for (int i = 0; i < line->count; ++i, d += NCH) {
            for (int k = 0; k < NCH; ++k) d[k] = linefunc_detail::coverRound(d[k], cov[i]);
        }
        return 0;
    }

    static int edge_biCubicFunc(void* s, LineRenderStruct* line) {
        return covered<4, biCubicFunc>(s, line);
    }
    static int edge_biCubicFunc_1(void* s, LineRenderStruct* line) {
        return covered<1, biCubicFunc_1>(s, line);
    }
    static int edge_biCubicFunc_4x4(void* s, LineRenderStruct* line) {
        return covered<4, biCubicFunc_4x4>(s, line);
    }
    static int edge_biCubicFunc_4x4_1(void* s, LineRenderStruct* line) {
        return covered<1, biCubicFunc_4x4_1>(s, line);
    }
    static int edgeBiCubicFunc_4x4_ss(void* s, LineRenderStruct* line) {
        return covered<4, biCubicFunc_4x4_ss>(s, line);
    }

    // The fill functions draw the polygon's shape and read nothing from the source.
    static int fillPolygonFunc(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        C* d = destOf(s, line) + s->alphaIndex;
        const C full = C(s->maxValue);
        for (int i = 0; i < line->count; ++i) d[4 * i] = full;
        linefunc_detail::advance(line);
        return 0;
    }
    static int fillPolygonFunc_1(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        C* d = destOf(s, line);
        const C full = C(s->maxValue);
        for (int i = 0; i < line->count; ++i) d[i] = full;
        linefunc_detail::advance(line);
        return 0;
    }
    static int edgePolygonFunc(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        C* d = destOf(s, line) + s->alphaIndex;
        fillPolygonFunc(sp, line);
        const float* cov = line->coverage;
        for (int i = 0; i < line->count; ++i)
            d[4 * i] = linefunc_detail::coverRound(d[4 * i], cov[i]);
        return 0;
    }
    // Writes at a four-channel stride but scales at a one-sample stride: it must only be given
    // memory that can take the wider stride.
    static int edgePolygonFunc_1(void* sp, LineRenderStruct* line) {
        const RenderSettings* s = settingsOf(sp);
        C* d = destOf(s, line);
        const C full = C(s->maxValue);
        for (int i = 0; i < line->count; ++i) d[s->alphaIndex + 4 * i] = full;
        const float* cov = line->coverage;
        for (int i = 0; i < line->count; ++i) d[i] = linefunc_detail::coverRound(d[i], cov[i]);
        linefunc_detail::advance(line);
        return 0;
    }

    // Border pixels of a single-channel polygon resampled without coverage.
    static int edge_noOp_edgeBilinearFunc_1(void* s, LineRenderStruct* line) {
        return bilinearFunc_1(s, line);
    }
    static int edge_noOp_edge_biCubicFunc_1(void* s, LineRenderStruct* line) {
        return biCubicFunc_1(s, line);
    }
    static int edge_noOp_biCubicFunc_4x4_1(void* s, LineRenderStruct* line) {
        return biCubicFunc_4x4_1(s, line);
    }
};

extern template struct LineFuncCP<unsigned char>;
extern template struct LineFuncCP<unsigned short>;
extern template struct LineFuncCP<float>;
