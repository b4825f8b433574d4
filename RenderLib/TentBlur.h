#pragma once
#include "RenderLib/SoftnessMode.h"
#include "host/PluginHost_API.h"
#include "pixel/PixelFormats.h"
#include "pixel/Traits.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

// Triangular blur of integer radius along the lines of a picture. A tent of radius r weighs
// p[i + k] by r + 1 - |k| and divides by (r + 1)^2; it is kept as a running sum S and a running
// first difference D, so a pixel costs the same at every radius. Edges are replicated.

namespace blur_detail {

// The kernel must stay inside the line: 2r + 2 has to be below the length.
inline int limitTentRadius(int radius, int length) {
    if (2 * radius + 2 >= length) radius = (length >> 1) - 2;
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

// Tent over one line of `length` pixels whose N channels of type C start at channel `first`;
// pixels lie `srcStep` and `dstStep` bytes apart.
template <class C, int N>
void tentLine(unsigned char const* src, std::ptrdiff_t srcStep, unsigned char* dst,
              std::ptrdiff_t dstStep, int length, int radius, int first) {
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
    double const recip = 1.0 / double((r + 1) * (r + 1));
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
    if (mode == 3) {
        t = t * t;
    } else if (mode == 4) {
        float const tt = t * t;
        t = std::fabs(tt) <= 1e-5 ? 1.0f / tt : 0.0f;
    }
    return truncToInt(t * float(radius));
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

// The horizontal pass of all channels in place, for when the vertical pass after it would copy
// every row back unchanged: each row it changes goes through one line of scratch, and the
// rows it copies are not touched at all.
template <class C>
void tentRowsInPlace(PluginRasterInfo& raster, int radius, bool progressive, int mode) {
    int const width = raster.width, height = raster.height;
    radius = limitTentRadius(radius, width);
    if (passCopies(radius, false, mode)) return;
    std::size_t const rowBytes = std::size_t(width) * raster.pixelBytes;
    std::vector<unsigned char> line(rowBytes);
    for (int n = 0; n < height; ++n) {
        int const r = passLineRadius(radius, n, height, progressive, mode);
        if (progressive && r == 0) continue;
        std::memcpy(line.data(), raster.row(n), rowBytes);
        tentLine<C, 4>(line.data(), raster.pixelBytes, raster.row(n), raster.pixelBytes, width, r,
                       0);
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
