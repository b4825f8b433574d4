#pragma once
#include "RenderLib/Gauss1.h"
#include "RenderLib/MipMapKernels.h"
#include "RenderLib/TentBlur.h"
#include "RenderLib/TransformRecords.h"
#include "Transform/Common/TX_Line2D.h"
#include "host/PluginHost_API.h"
#include "host/SaturatingCast.h"
#include "pixel/Traits.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstring>
#include <type_traits>

// Blur that grows with the distance from a line: a pyramid of smoothed, halved copies of the
// picture is built, and each pixel mixes the two levels that fit its distance. Level 0 is the
// picture, level 1 its smoothed copy at full size, level k from 2 on half the size of level k - 1.
// With radius k, level n is reached at distance 2^(n-1) / k.

namespace blur_detail {

// Factor that takes a channel value to 0..1.
template <class P> inline float unitScale() {
    using C = typename P::C;
    if constexpr (std::is_floating_point_v<C>) {
        return 1.0f;
    } else {
        switch (int(P::MAX_VALUE())) {
        case 255:
            return 0.003921569f;
        case 16384:
            return 6.1035156e-05f;
        case 32768:
            return 3.0517578e-05f;
        default:
            return 1.5259022e-05f;
        }
    }
}

// Integer channels truncate after every step; float ones carry on.
template <class C> inline C lerpChannel(C a, C b, float f) {
    if constexpr (std::is_floating_point_v<C>)
        return a + (b - a) * f;
    else
        return C(saturatingCast(float(a) + float(int(b) - int(a)) * f));
}

// The same two for a weight in [0, 1], as the pyramid's are: no product leaves the channel's
// range, so the plain truncation is the saturating one.
template <class C> inline C lerpUnit(C a, C b, float f) {
    if constexpr (std::is_floating_point_v<C>)
        return a + (b - a) * f;
    else
        return C(int(float(a) + float(int(b) - int(a)) * f));
}

template <class C> inline C scaleUnit(C v, float f) {
    if constexpr (std::is_floating_point_v<C>)
        return v * f;
    else
        return C(int(float(v) * f));
}

template <class C> inline C scaleChannel(C v, float f) {
    if constexpr (std::is_floating_point_v<C>)
        return v * f;
    else
        return C(saturatingCast(float(v) * f)); // a degenerate fade gives NaN
}

// Unlocks and frees the host blocks it was given, in reverse order, on every way out.
struct HostBlocks {
    PluginHost_API* host;
    void* handles[16] = {};
    int count = 0;
    explicit HostBlocks(PluginHost_API* h) : host(h) {}
    HostBlocks(HostBlocks const&) = delete;
    HostBlocks& operator=(HostBlocks const&) = delete;
    // A locked block of the given size, or null.
    void* take(std::size_t bytes) {
        // The host counts bytes in an int: more is memory that cannot be had.
        if (bytes > std::size_t(INT_MAX)) return nullptr;
        void* handle = host->allocMemory(int(bytes));
        if (!handle) return nullptr;
        handles[count++] = handle;
        return host->lockMemory(handle);
    }
    ~HostBlocks() {
        while (count > 0) {
            void* handle = handles[--count];
            host->unlockMemory(handle);
            host->deallocMemory(handle);
        }
    }
};

// Bilinear read of a level at picture coordinates (x, y).
template <class C, int N>
[[gnu::always_inline]] inline void sampleLevel(MipLevel<C, N> const& lv, int x, int y, C* out) {
    int const s = lv.shift;
    if (s == 0) {
        std::memcpy(out, lv.at(x, y), sizeof(C) * N);
        return;
    }
    int const half = 1 << (s - 1);
    int const X = std::max(x - half, 0), Y = std::max(y - half, 0);
    int const ix = std::min(X >> s, lv.width - 1), iy = std::min(Y >> s, lv.height - 1);
    float const fx = float(X - (ix << s)) / float(1 << s);
    float const fy = float(Y - (iy << s)) / float(1 << s);
    int const jx = ix == lv.width - 1 ? ix : ix + 1;
    int const jy = iy == lv.height - 1 ? iy : iy + 1;
    C const *tl = lv.at(ix, iy), *tr = lv.at(jx, iy), *bl = lv.at(ix, jy), *br = lv.at(jx, jy);
    for (int c = 0; c < N; ++c) {
        C const top = lerpUnit(tl[c], tr[c], fx);
        C const bottom = lerpUnit(bl[c], br[c], fx);
        out[c] = lerpUnit(top, bottom, fy);
    }
}

// The pixel loop over columns x0 to x1 of row y, px at column x0: each pixel mixes the two
// levels that fit its distance, then is cut back by its own alpha.
template <class C, int N>
void mipRow(MipLevel<C, N> const* level, int L, C* px, int y, int x0, int x1, float rowBase,
            float dX, float radius, int alpha, float scale) {
    for (int x = x0; x < x1; ++x) {
        float const d = float(x) * dX + rowBase;
        if (d < 0.0f) {
            // Beyond the line a four-channel walk stands still: the pixels after it land
            // behind their own places.
            if constexpr (N == 1) ++px;
            continue;
        }
        float const a = float(px[alpha]) * scale;
        if (a == 0.0f) {
            px += N;
            continue;
        }
        int q = truncToInt(d * radius * 65536.0f);
        int lvl = 0;
        while (q > 65536) q >>= 1, ++lvl;
        if (lvl > L - 1) {
            for (int ch = 0; ch < N; ++ch) px[ch] = C(0);
            px += N;
            continue;
        }
        if (lvl >= 1) q = 2 * q - 65536;
        float f = float(q) * 1.5258789e-05f;
        f = f < 0.0f ? 0.0f : (f > 1.0f ? 1.0f : f);
        C c[N];
        sampleLevel(level[lvl], x, y, c);
        if (f > 0.0f) {
            if (lvl < L - 1) {
                C next[N];
                sampleLevel(level[lvl + 1], x, y, next);
                for (int ch = 0; ch < N; ++ch) c[ch] = lerpUnit(c[ch], next[ch], f);
            } else {
                for (int ch = 0; ch < N; ++ch) c[ch] = scaleUnit(c[ch], 1.0f - f);
            }
        }
        // a is alpha over its full scale: in [0, 1] where alpha lies in its range.
        if (a >= 0.0f && a <= 1.0f)
            for (int ch = 0; ch < N; ++ch) px[ch] = scaleUnit(c[ch], a);
        else
            for (int ch = 0; ch < N; ++ch) px[ch] = scaleChannel(c[ch], a);
        px += N;
    }
}

// Level of a distance: the number of halvings that take q to 65536 or below, those that leave
// it 17 bits long and one more if it is still above.
inline int mipLevelOf(float d, float radius) {
    int const q = truncToInt(d * radius * 65536.0f);
    if (q <= 65536) return 0;
    int const k = std::max(int(std::bit_width(unsigned(q))) - 17, 0);
    return k + ((q >> k) > 65536 ? 1 : 0);
}

// Number of pyramid levels for a picture: doublings until the larger side is covered, at most 10.
inline int mipLevelCount(int width, int height) {
    int levels = 1, span = 1;
    while (std::max(width, height) - 1 > span) span *= 2, ++levels;
    return std::min(levels, 10);
}

// The pyramid path on N channels a pixel (4, or 1 for a single-channel picture); kernels null
// keeps the portable loops.
template <class P, int N>
int mipMapBlur(PluginHost_API* host, TX_Line2D& line, float radius, PluginRasterInfo* raster,
               MipKernels<typename P::C> const* kernels = chosenMipKernels<typename P::C>()) {
    using C = typename P::C;
    // The transform that made the picture may have moved its origin; the line follows.
    if (auto* settings = static_cast<RenderSettings*>(host->getUserData()))
        line.translate(settings->offsetX, settings->offsetY);
    float const d0 = float(line.distance(0.0, 0.0));
    float const dX = float(line.distance(1.0, 0.0) - d0);
    float const dY = float(line.distance(0.0, 1.0) - d0);
    if (std::fabs(double(radius)) < 1e-5) return 0;

    int const width = raster->width, height = raster->height;
    int const L = mipLevelCount(width, height);
    if (!raster->data) return 1;
    try {
        HostBlocks blocks(host);
        MipLevel<C, N> level[11];
        level[0].data = static_cast<unsigned char*>(raster->data);
        level[0].rowBytes = raster->rowBytes;
        level[0].width = width;
        level[0].height = height;
        for (int k = 1; k < L; ++k) {
            MipLevel<C, N> const& src = level[k - 1];
            MipLevel<C, N>& lv = level[k];
            lv.width = k == 1 ? width : (src.width + 1) >> 1;
            lv.height = k == 1 ? height : (src.height + 1) >> 1;
            lv.shift = k == 1 ? 0 : k - 1;
            lv.rowBytes = std::ptrdiff_t(lv.width) * N * sizeof(C);
            lv.data = static_cast<unsigned char*>(
                blocks.take(std::size_t(lv.rowBytes) * std::size_t(lv.height)));
            if (!lv.data) return 1;
            bool const smooth = lv.width > 2 && lv.height > 2;
            // A packed picture is smoothed straight into level 1, without a copy between.
            C const* from = k == 1 && smooth && raster->rowBytes == lv.rowBytes
                                ? reinterpret_cast<C const*>(raster->data)
                                : nullptr;
            if (k == 1) {
                if (!from)
                    for (int y = 0; y < height; ++y)
                        std::memcpy(lv.data + y * lv.rowBytes, raster->row(y), lv.rowBytes);
            } else {
                for (int y = 0; y < lv.height; ++y) {
                    C* out = reinterpret_cast<C*>(lv.data + y * lv.rowBytes);
                    if constexpr (!std::is_floating_point_v<C>) {
                        // 2x and 2y never pass the source's last column and row, so the four
                        // reads below are of one pixel, and their mean in integers is that pixel.
                        for (int x = 0; x < lv.width; ++x)
                            std::memcpy(out + x * N, src.at(2 * x, 2 * y), sizeof(C) * N);
                        continue;
                    }
                    int const sy = 2 * y, cy = sy > src.height - 1 ? 1 : 0;
                    for (int x = 0; x < lv.width; ++x, out += N) {
                        int const sx = 2 * x, cx = sx > src.width - 1 ? 1 : 0;
                        C const *a = src.at(sx, sy), *b = src.at(sx + cx, sy),
                                *c = src.at(sx, sy + cy), *e = src.at(sx + cx, sy + cy);
                        for (int ch = 0; ch < N; ++ch) {
                            if constexpr (std::is_floating_point_v<C>)
                                out[ch] = (a[ch] + b[ch] + c[ch] + e[ch]) * 0.25f;
                            else
                                out[ch] = C((int(a[ch]) + b[ch] + c[ch] + e[ch]) >> 2);
                        }
                    }
                }
            }
            // Level 1 is read only in its even rows, which level 2 is taken from, and in those
            // of picture rows with a pixel below level 2 or beyond the line; the distance runs
            // steadily along a row, so the row's ends tell.
            auto const read = [&](int y) {
                if (k != 1 || y % 2 == 0) return true;
                float const rowBase = d0 + dY * float(y);
                float const first = float(0) * dX + rowBase;
                float const last = float(width - 1) * dX + rowBase;
                return !(first >= 0.0f && last >= 0.0f) ||
                       std::min(mipLevelOf(first, radius), mipLevelOf(last, radius)) <= 1;
            };
            if (smooth && smooth3x3<C, N>(host, reinterpret_cast<C*>(lv.data), lv.width, lv.height,
                                          kernels, from, read) != 0)
                return 1;
        }

        int const alpha = N == 4 ? P::ALPHA : 0;
        float const scale = unitScale<P>();
        if constexpr (N == 4)
            if (kernels && width >= 8) {
                // The vector loop keeps, for each level, the two texel rows it reads mixed
                // across; without the memory the portable loop runs.
                if (void* rows = blocks.take(std::size_t(2) * L * width * N * sizeof(C))) {
                    kernels->pixels(level, L, *raster, d0, dX, dY, radius, alpha, scale, rows);
                    return 0;
                }
            }
        for (int y = 0; y < height; ++y)
            mipRow<C, N>(level, L, reinterpret_cast<C*>(raster->row(y)), y, 0, width,
                         d0 + dY * float(y), dX, radius, alpha, scale);
        return 0;
    } catch (...) {
        return 1;
    }
}

} // namespace blur_detail

// The pyramid path on a four-channel picture.
template <class P, class C, class A, class V, class F>
int progressiveBlur_RGBA(P, C, A, V, F, PluginHost_API* host, TX_Line2D& line, float radius,
                         PluginRasterInfo* raster) {
    return blur_detail::mipMapBlur<P, 4>(host, line, radius, raster);
}
