#pragma once
#include "RenderLib/SoftnessMode.h"
#include "RenderLib/TentLines.h"
#include "host/PluginHost_API.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Triangular blur of integer radius along the lines of a picture. A tent of radius r weighs
// p[i + k] by r + 1 - |k| and divides by (r + 1)^2; it is kept as a running sum S and a running
// first difference D, so a pixel costs the same at every radius. Edges are replicated.

namespace blur_detail {

// The kernel must stay inside the line: 2r + 2 has to be below the length (worked in 64 bits,
// for a saturated radius).
inline int limitTentRadius(int radius, int length) {
    if (2 * std::int64_t(radius) + 2 >= length) radius = (length >> 1) - 2;
    return radius;
}

// float to int truncation that saturates instead of overflowing; NaN gives 0.
template <class T> inline int truncToInt(T v) {
    if (!(v == v)) return 0;
    if (v >= T(2147483647.0)) return 2147483647;
    if (v <= T(-2147483648.0)) return -2147483647 - 1;
    return int(v);
}

// Alpha position of a raster format, read at run time.
inline int alphaIndexOfFormat(int format) {
    int red = 0, green = 0, blue = 0, alpha = 0; // unknown formats leave alpha first
    getRasterChannelOrder(PluginRasterFormat(format), red, green, blue, alpha);
    return alpha;
}

// The vector kernels for a channel type, where there are any.
template <class C> inline TentKernels<C> const* kernelsFor() {
    if constexpr (std::is_same_v<C, unsigned char> || std::is_same_v<C, unsigned short> ||
                  std::is_same_v<C, float>)
        return chosenTentKernels<C>();
    else
        return nullptr;
}

// Tent over one line of `length` pixels whose N channels of type C start at channel `first`;
// pixels lie `srcStep` and `dstStep` bytes apart.
template <class C, int N>
void tentLine(unsigned char const* src, std::ptrdiff_t srcStep, unsigned char* dst,
              std::ptrdiff_t dstStep, int length, int radius, int first,
              TentKernels<C> const* kernels = kernelsFor<C>()) {
    int const r = limitTentRadius(radius, length);
    auto in = [&](int i, int c) {
        return double(reinterpret_cast<C const*>(src + std::ptrdiff_t(i) * srcStep)[first + c]);
    };
    auto out = [&](int i) {
        return reinterpret_cast<C*>(dst + std::ptrdiff_t(i) * dstStep) + first;
    };
    if (r <= 0) {
        for (int i = 0; i < length; ++i)
            for (int c = 0; c < N; ++c) out(i)[c] = C(in(i, c));
        return;
    }
    if constexpr (N == 4) {
        if (kernels && first == 0) return kernels->line(src, srcStep, dst, dstStep, length, r);
    }
    double const recip = 1.0 / (double(r + 1) * double(r + 1));
    double S[N], D[N], p0[N], pEnd[N];
    for (int c = 0; c < N; ++c) {
        p0[c] = in(0, c);
        pEnd[c] = in(length - 1, c);
        S[c] = (r + 1) * p0[c];
        for (int k = 1; k <= r; ++k) S[c] += k * p0[c] + (r + 1 - k) * in(k, c);
        D[c] = 0.0;
        for (int k = 1; k <= r + 1; ++k) D[c] += in(k, c) - p0[c];
    }
    unsigned char const* left = src + srcStep;                          // p[i - r] once i passes r
    unsigned char const* mid = src + srcStep;                           // p[i + 1]
    unsigned char const* right = src + std::ptrdiff_t(r + 2) * srcStep; // p[i + r + 2]
    unsigned char* o = dst;
    auto emit = [&] {
        C* q = reinterpret_cast<C*>(o) + first;
        for (int c = 0; c < N; ++c) q[c] = C(S[c] * recip);
        o += dstStep;
    };
    auto advance = [&](double const* pl, double const* pr) {
        C const* m = reinterpret_cast<C const*>(mid) + first;
        for (int c = 0; c < N; ++c) {
            S[c] += D[c];
            D[c] += pl[c] + pr[c] - 2.0 * double(m[c]);
        }
        mid += srcStep;
    };
    double pl[N], pr[N];
    int i = 0;
    // Left edge: p[i - r] is p[0].
    for (; i <= r; ++i) {
        C const* rp = reinterpret_cast<C const*>(right) + first;
        for (int c = 0; c < N; ++c) pr[c] = double(rp[c]);
        emit();
        advance(p0, pr);
        right += srcStep;
    }
    // Both ends of the kernel inside the line.
    for (; i <= length - r - 3; ++i) {
        C const* lp = reinterpret_cast<C const*>(left) + first;
        C const* rp = reinterpret_cast<C const*>(right) + first;
        for (int c = 0; c < N; ++c) pl[c] = double(lp[c]), pr[c] = double(rp[c]);
        emit();
        advance(pl, pr);
        left += srcStep;
        right += srcStep;
    }
    // Right edge: p[i + r + 2] is p[length - 1].
    for (; i <= length - 2; ++i) {
        C const* lp = reinterpret_cast<C const*>(left) + first;
        for (int c = 0; c < N; ++c) pl[c] = double(lp[c]);
        emit();
        advance(pl, pEnd);
        left += srcStep;
    }
    emit();
}

// A pass whose radius, held to the line length, leaves every line as it is.
inline bool passCopies(int limitedRadius, bool vertical, int mode) {
    return limitedRadius == 0 || (mode == kSoftnessColumnRamp && !vertical) ||
           (mode == kSoftnessRowRamp && vertical);
}

// Radius of line n of `lines` in a pass; progressive passes fall from full at line 0.
inline int passLineRadius(int radius, int n, int lines, bool progressive, int mode) {
    if (!progressive) return radius;
    float t = 1.0f - float(n) / float(lines - 1);
    if (mode == kSoftnessProgressiveSquare) {
        t = t * t;
    } else if (mode == kSoftnessProgressiveInverseSquare) {
        // The inverted test is kept; at the last line t * t is 0, whose reciprocal is infinite,
        // so the radius saturates and the limit holds it to the line.
        float const tt = t * t;
        t = std::fabs(tt) <= 1e-5
                ? (tt == 0.0f ? std::numeric_limits<float>::infinity() : 1.0f / tt)
                : 0.0f;
    }
    return truncToInt(t * float(radius));
}

// 64 bytes a test, ORed first.
inline bool zeroBytes(unsigned char const* p, std::size_t n) {
    std::size_t i = 0;
#if defined(__SSE2__)
    for (; i + 64 <= n; i += 64) {
        auto const* v = reinterpret_cast<__m128i const*>(p + i);
        __m128i const any =
            _mm_or_si128(_mm_or_si128(_mm_loadu_si128(v), _mm_loadu_si128(v + 1)),
                         _mm_or_si128(_mm_loadu_si128(v + 2), _mm_loadu_si128(v + 3)));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(any, _mm_setzero_si128())) != 0xffff) return false;
    }
#endif
    for (std::uint64_t w; i + 8 <= n; i += 8)
        if (std::memcpy(&w, p + i, 8), w != 0) return false;
    for (; i < n; ++i)
        if (p[i] != 0) return false;
    return true;
}

// Rows all of zero bits give zero sums: the tent of a column is zero up to `from` and, the sums
// of integer channels being exact, again from `to` on. A reflection's sample is mostly empty.
template <class C> void zeroOutputRows(PluginRasterInfo& src, int r, int& from, int& to) {
    std::size_t const bytes = std::size_t(src.width) * src.pixelBytes;
    int const height = src.height;
    int lead = 0;
    while (lead < height && zeroBytes(src.row(lead), bytes)) ++lead;
    from = lead == height ? height : std::max(lead - r - 2, 0); // sums at `from` still zero
    to = height;
    if (lead == height || std::is_floating_point_v<C>) return;
    int last = height - 1;
    while (zeroBytes(src.row(last), bytes)) --last;
    to = int(std::min<std::int64_t>(height, std::int64_t(last) + r + 1));
}

// The vertical pass at one radius r > 0, held to the height, over every column at once: the
// lines' running sums are kept for a tile of columns and moved down the rows together, each
// value by the same operations as tentLine, so that rows are read whole and in order.
template <class C, int N>
void tentColumns(PluginRasterInfo& src, PluginRasterInfo& dst, int r, int first,
                 TentKernels<C> const* kernels = kernelsFor<C>()) {
    int const width = dst.width, height = dst.height;
    double const recip = 1.0 / (double(r + 1) * double(r + 1));
    int from = 0, to = height;
    if (N == 4 && first == 0) {
        zeroOutputRows<C>(src, r, from, to);
        std::size_t const bytes = std::size_t(width) * dst.pixelBytes;
        for (int y = 0; y < height; ++y)
            if (y < from || y >= to) std::memset(dst.row(y), 0, bytes);
        if (kernels && kernels->columns && r <= kernels->exactRadius) {
            if (from < to)
                kernels->columns(src.row(0), src.rowBytes, dst.row(0), dst.rowBytes, width, height,
                                 r, from, to);
            return;
        }
    }
    constexpr int kTile = 256; // pixels: the sums of a tile stay in the first-level cache
    double S[kTile * N], D[kTile * N];
    if (N == 4 && first != 0) kernels = nullptr;
    C gathered[3][N == 1 ? kTile : 1], stepped[N == 1 ? kTile : 1]; // one channel, packed
    auto rowOf = [](PluginRasterInfo& r, int y) { return reinterpret_cast<C*>(r.row(y)); };
    for (int x0 = 0; x0 < width; x0 += kTile) {
        int const values = std::min(kTile, width - x0) * N;
        auto at = [&](int v) { return std::ptrdiff_t(x0 + v / N) * 4 + first + v % N; };
        C const* p0 = rowOf(src, 0);
        for (int v = 0; v < values; ++v) {
            S[v] = from > 0 ? 0.0 : (r + 1) * double(p0[at(v)]);
            D[v] = 0.0;
        }
        for (int k = 1; k <= r && from == 0; ++k) {
            C const* pk = rowOf(src, k);
            for (int v = 0; v < values; ++v)
                S[v] += k * double(p0[at(v)]) + (r + 1 - k) * double(pk[at(v)]);
        }
        for (int k = 1; k <= r + 1 && from == 0; ++k) {
            C const* pk = rowOf(src, k);
            for (int v = 0; v < values; ++v) D[v] += double(pk[at(v)]) - double(p0[at(v)]);
        }
        for (int i = from; i < to; ++i) {
            C* out = rowOf(dst, i);
            if (i == height - 1) {
                for (int v = 0; v < values; ++v) out[at(v)] = C(S[v] * recip);
                break;
            }
            C const* L = rowOf(src, std::max(i - r, 0));
            C const* R = rowOf(src, std::min(i + r + 2, height - 1));
            C const* M = rowOf(src, i + 1);
            if (kernels && N == 4) {
                std::ptrdiff_t const o = std::ptrdiff_t(x0) * 4;
                kernels->step(L + o, R + o, M + o, out + o, S, D, values, recip);
                continue;
            }
            if (kernels) { // one channel: packed for the kernel and back
                for (int v = 0; v < values; ++v) {
                    std::ptrdiff_t const a = at(v);
                    gathered[0][v] = L[a], gathered[1][v] = R[a], gathered[2][v] = M[a];
                }
                kernels->step(gathered[0], gathered[1], gathered[2], stepped, S, D, values, recip);
                for (int v = 0; v < values; ++v) out[at(v)] = stepped[v];
                continue;
            }
            for (int v = 0; v < values; ++v) {
                std::ptrdiff_t const a = at(v);
                out[a] = C(S[v] * recip);
                S[v] += D[v];
                D[v] += double(L[a]) + double(R[a]) - 2.0 * double(M[a]);
            }
        }
    }
}

// The horizontal pass of packed four-channel rows at a radius held to the width; dst may be
// src. A row of zero bits stays zero. Runs of rows at one radius go to the exact integer form
// where there is one.
template <class C>
void tentRows(PluginRasterInfo& src, PluginRasterInfo& dst, int radius, bool progressive, int mode,
              TentKernels<C> const* kernels = kernelsFor<C>()) {
    int const width = dst.width, height = dst.height;
    std::size_t const bytes = std::size_t(width) * dst.pixelBytes;
    bool const inPlace = src.data == dst.data && src.rowBytes == dst.rowBytes;
    int runStart = 0, runCount = 0, runRadius = 0;
    auto flush = [&] {
        if (runCount > 0)
            kernels->rows(src.row(runStart), src.rowBytes, dst.row(runStart), dst.rowBytes, width,
                          runCount, runRadius);
        runCount = 0;
    };
    std::ptrdiff_t const step = 4 * sizeof(C);
    for (int n = 0; n < height; ++n) {
        int const r = passLineRadius(radius, n, height, progressive, mode);
        if (progressive && r == 0) {
            flush();
            if (!inPlace) std::memcpy(dst.row(n), src.row(n), bytes);
            continue;
        }
        if (zeroBytes(src.row(n), bytes)) {
            flush();
            if (!inPlace) std::memset(dst.row(n), 0, bytes);
            continue;
        }
        if (kernels && kernels->rows && r > 0 && r <= kernels->exactRadius) {
            if (runCount > 0 && (r != runRadius || runStart + runCount != n)) flush();
            if (runCount == 0) runStart = n, runRadius = r;
            ++runCount;
            continue;
        }
        flush();
        if (inPlace) {
            std::vector<unsigned char> line(src.row(n), src.row(n) + bytes);
            tentLine<C, 4>(line.data(), step, dst.row(n), step, width, r, 0, kernels);
        } else {
            tentLine<C, 4>(src.row(n), step, dst.row(n), step, width, r, 0, kernels);
        }
    }
    flush();
}

template <class C, int N>
int tentPass(PluginRasterInfo& src, PluginRasterInfo& dst, int radius, bool vertical,
             bool progressive, int mode, int first) {
    int const width = dst.width, height = dst.height;
    int const length = vertical ? height : width;
    int const lines = vertical ? width : height;
    std::size_t const rowCopy = std::size_t(width) * dst.pixelBytes;
    auto copyRow = [&](int y) {
        if (y < height) std::memcpy(dst.row(y), src.row(y), rowCopy);
    };
    radius = limitTentRadius(radius, length);
    if (passCopies(radius, vertical, mode)) {
        for (int y = 0; y < height; ++y) copyRow(y);
        return 0;
    }
    std::ptrdiff_t const srcAlong = vertical ? src.rowBytes : src.pixelBytes;
    std::ptrdiff_t const srcAcross = vertical ? src.pixelBytes : src.rowBytes;
    std::ptrdiff_t const dstAlong = vertical ? dst.rowBytes : dst.pixelBytes;
    std::ptrdiff_t const dstAcross = vertical ? dst.pixelBytes : dst.rowBytes;
    // A radius held below 0 (a line of fewer than four pixels) copies, as tentLine does.
    if (vertical && !progressive && radius > 0 && src.pixelBytes == int(4 * sizeof(C)) &&
        dst.pixelBytes == int(4 * sizeof(C)) && src.width == width && src.height == height) {
        tentColumns<C, N>(src, dst, radius, first);
        return 0;
    }
    if (!vertical && N == 4 && first == 0 && src.pixelBytes == int(4 * sizeof(C)) &&
        dst.pixelBytes == int(4 * sizeof(C))) {
        tentRows<C>(src, dst, radius, progressive, mode);
        return 0;
    }
    auto* s = static_cast<unsigned char*>(src.data);
    auto* d = static_cast<unsigned char*>(dst.data);
    for (int n = 0; n < lines; ++n) {
        int const r = passLineRadius(radius, n, lines, progressive, mode);
        if (progressive && r == 0) {
            copyRow(n); // whole rows, in either direction
            continue;
        }
        tentLine<C, N>(s + n * srcAcross, srcAlong, d + n * dstAcross, dstAlong, length, r, first);
    }
    return 0;
}

// Both passes of a blur in place at once, where the exact integer form takes them: the rows at
// `radius` (ramped when progressive), then the columns at `columnRadius` (held to the height).
// False where it does not apply.
template <class C>
bool tentBlurInPlace(PluginRasterInfo& raster, int radius, int columnRadius, bool progressive,
                     int mode, TentKernels<C> const* kernels = kernelsFor<C>()) {
    int const width = raster.width, height = raster.height;
    radius = limitTentRadius(radius, width);
    if (!kernels || !kernels->blur || raster.pixelBytes != int(4 * sizeof(C)) ||
        columnRadius <= 0 || columnRadius > kernels->exactRadius || radius > kernels->exactRadius)
        return false;
    bool const copies = passCopies(radius, false, mode);
    std::vector<int> radii(height, 0);
    for (int n = 0; n < height && !copies; ++n) {
        radii[n] = limitTentRadius(passLineRadius(radius, n, height, progressive, mode), width);
        if (radii[n] > kernels->exactRadius) return false; // mode 4 ramps up to the limit
    }
    int from, to;
    zeroOutputRows<C>(raster, columnRadius, from, to);
    if (from < to)
        kernels->blur(raster.row(0), raster.rowBytes, width, height, radii.data(), columnRadius,
                      from, to);
    return true;
}

// The horizontal pass of all channels in place, for when the vertical pass after it would copy
// every row back unchanged: each row it changes goes through the first row of `scratch` (a
// raster of the picture's size, as the two passes would take), and the rows it copies are not
// touched at all.
template <class C>
void tentRowsInPlace(PluginRasterInfo& raster, PluginRasterInfo& scratch, int radius,
                     bool progressive, int mode) {
    int const width = raster.width, height = raster.height;
    radius = limitTentRadius(radius, width);
    if (passCopies(radius, false, mode)) return;
    if (raster.pixelBytes == int(4 * sizeof(C)))
        return tentRows<C>(raster, raster, radius, progressive, mode);
    std::size_t const rowBytes = std::size_t(width) * raster.pixelBytes;
    unsigned char* line = scratch.row(0);
    for (int n = 0; n < height; ++n) {
        int const r = passLineRadius(radius, n, height, progressive, mode);
        if (progressive && r == 0) continue;
        std::memcpy(line, raster.row(n), rowBytes);
        tentLine<C, 4>(line, raster.pixelBytes, raster.row(n), raster.pixelBytes, width, r, 0);
    }
}

} // namespace blur_detail

// Tent over one packed line of four-channel pixels; src and dst are separate.
template <class P, class C, class A, class V, class F>
int LineTentBlurPass_RGBA(P, C, A, V, F, PluginHost_API*, F* src, F* dst, int length, int radius) {
    std::ptrdiff_t const step = 4 * sizeof(C);
    blur_detail::tentLine<C, 4>(reinterpret_cast<unsigned char const*>(src), step,
                                reinterpret_cast<unsigned char*>(dst), step, length, radius, 0);
    return 0;
}

// Tent over every row (vertical false) or column (true) of src into dst, all channels. With
// progressive set the radius falls from full at the first line to none at the last; mode 3
// squares that ramp. Mode -10 leaves rows alone and -11 columns.
template <class P, class C, class A, class V, class F>
int TentBlurPass_RGBA(P, C, A, V, F, PluginHost_API*, PluginRasterInfo& src, PluginRasterInfo& dst,
                      int radius, bool vertical, bool progressive, int mode) {
    return blur_detail::tentPass<C, 4>(src, dst, radius, vertical, progressive, mode, 0);
}

// The same on the alpha component only, wherever src's format keeps it.
template <class P, class C, class A, class V, class F>
int TentBlurPass_A(P, C, A, V, F, PluginHost_API*, PluginRasterInfo& src, PluginRasterInfo& dst,
                   int radius, bool vertical, bool progressive, int mode) {
    return blur_detail::tentPass<C, 1>(src, dst, radius, vertical, progressive, mode,
                                       blur_detail::alphaIndexOfFormat(int(src.format)));
}
