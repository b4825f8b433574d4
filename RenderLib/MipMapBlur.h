#pragma once
#include "RenderLib/Gauss1.h"
#include "RenderLib/TentBlur.h"
#include "RenderLib/TransformRecords.h"
#include "Transform/Common/TX_Line2D.h"
#include "host/PluginHost_API.h"
#include "host/SaturatingCast.h"
#include "pixel/Avx2.h"
#include "pixel/Processor.h"
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

template <class C, int N> struct MipLevel {
    unsigned char* data = nullptr;
    std::ptrdiff_t rowBytes = 0;
    int width = 0, height = 0, shift = 0;
    C const* at(int x, int y) const {
        return reinterpret_cast<C const*>(data + std::ptrdiff_t(y) * rowBytes) +
               std::ptrdiff_t(x) * N;
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

#if defined(__x86_64__) || defined(__i386__)
// The same reads and mixes with the four channels of a pixel as float lanes: each lane does its
// channel's operations in the loop's order, integer channels truncated after every step.
template <class C> MIRREL_AVX2_INLINE __m128 loadPixel4(C const* p) {
    if constexpr (sizeof(C) == 1) {
        int v;
        std::memcpy(&v, p, 4);
        return _mm_cvtepi32_ps(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(v)));
    } else if constexpr (sizeof(C) == 2) {
        return _mm_cvtepi32_ps(
            _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(p))));
    } else {
        return _mm_loadu_ps(p);
    }
}

// Lanes that hold whole numbers of the channel's range (integer channels) or floats, stored.
template <class C> MIRREL_AVX2_INLINE void storePixel4(C* p, __m128 v) {
    if constexpr (sizeof(C) == 1) {
        __m128i const i = _mm_cvttps_epi32(v);
        int const packed = _mm_cvtsi128_si32(_mm_packus_epi16(_mm_packus_epi32(i, i), i));
        std::memcpy(p, &packed, 4);
    } else if constexpr (sizeof(C) == 2) {
        __m128i const i = _mm_cvttps_epi32(v);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi32(i, i));
    } else {
        _mm_storeu_ps(p, v);
    }
}

template <class C> MIRREL_AVX2_INLINE __m128 truncate4(__m128 v) {
    if constexpr (std::is_floating_point_v<C>)
        return v;
    else
        return _mm_cvtepi32_ps(_mm_cvttps_epi32(v));
}

template <class C> MIRREL_AVX2_INLINE __m128 lerpUnit4(__m128 a, __m128 b, __m128 f) {
    return truncate4<C>(_mm_add_ps(a, _mm_mul_ps(_mm_sub_ps(b, a), f)));
}

template <class C> MIRREL_AVX2_INLINE __m128 sampleLevel4(MipLevel<C, 4> const& lv, int x, int y) {
    int const s = lv.shift;
    if (s == 0) return loadPixel4(lv.at(x, y));
    int const half = 1 << (s - 1);
    int const X = std::max(x - half, 0), Y = std::max(y - half, 0);
    int const ix = std::min(X >> s, lv.width - 1), iy = std::min(Y >> s, lv.height - 1);
    // Dividing by 2^s is multiplying by 2^-s, to the bit.
    float const inverse = std::bit_cast<float>((127 - s) << 23);
    __m128 const fx = _mm_set1_ps(float(X - (ix << s)) * inverse);
    __m128 const fy = _mm_set1_ps(float(Y - (iy << s)) * inverse);
    int const jx = ix == lv.width - 1 ? ix : ix + 1;
    int const jy = iy == lv.height - 1 ? iy : iy + 1;
    __m128 const top = lerpUnit4<C>(loadPixel4(lv.at(ix, iy)), loadPixel4(lv.at(jx, iy)), fx);
    __m128 const bottom = lerpUnit4<C>(loadPixel4(lv.at(ix, jy)), loadPixel4(lv.at(jx, jy)), fx);
    return lerpUnit4<C>(top, bottom, fy);
}

// The pixel loop of mipMapBlur on four channels, a pixel's channels at once.
template <class P>
MIRREL_AVX2 void mipPixels4Avx2(MipLevel<typename P::C, 4> const* level, int L,
                                PluginRasterInfo* raster, float d0, float dX, float dY,
                                float radius) {
    using C = typename P::C;
    float const scale = unitScale<P>();
    for (int y = 0; y < raster->height; ++y) {
        float const rowBase = d0 + dY * float(y);
        C* px = reinterpret_cast<C*>(raster->row(y));
        for (int x = 0; x < raster->width; ++x) {
            float const d = float(x) * dX + rowBase;
            if (d < 0.0f) continue; // the scalar walk's standing still, as there
            float const a = float(px[P::ALPHA]) * scale;
            if (a == 0.0f) {
                px += 4;
                continue;
            }
            int q = truncToInt(d * radius * 65536.0f);
            int lvl = 0;
            while (q > 65536) q >>= 1, ++lvl;
            if (lvl > L - 1) {
                for (int ch = 0; ch < 4; ++ch) px[ch] = C(0);
                px += 4;
                continue;
            }
            if (lvl >= 1) q = 2 * q - 65536;
            float f = float(q) * 1.5258789e-05f;
            f = f < 0.0f ? 0.0f : (f > 1.0f ? 1.0f : f);
            __m128 c = sampleLevel4(level[lvl], x, y);
            if (f > 0.0f) {
                if (lvl < L - 1)
                    c = lerpUnit4<C>(c, sampleLevel4(level[lvl + 1], x, y), _mm_set1_ps(f));
                else
                    c = truncate4<C>(_mm_mul_ps(c, _mm_set1_ps(1.0f - f)));
            }
            if (a >= 0.0f && a <= 1.0f) {
                storePixel4(px, truncate4<C>(_mm_mul_ps(c, _mm_set1_ps(a))));
            } else {
                C held[4];
                storePixel4(held, c);
                for (int ch = 0; ch < 4; ++ch) px[ch] = scaleChannel(held[ch], a);
            }
            px += 4;
        }
    }
}
#endif

// Number of pyramid levels for a picture: doublings until the larger side is covered, at most 10.
inline int mipLevelCount(int width, int height) {
    int levels = 1, span = 1;
    while (std::max(width, height) - 1 > span) span *= 2, ++levels;
    return std::min(levels, 10);
}

// The pyramid path on N channels a pixel (4, or 1 for a single-channel picture).
template <class P, int N>
int mipMapBlur(PluginHost_API* host, TX_Line2D& line, float radius, PluginRasterInfo* raster) {
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
            if (k == 1) {
                for (int y = 0; y < height; ++y)
                    std::memcpy(lv.data + y * lv.rowBytes, raster->row(y), lv.rowBytes);
            } else {
                for (int y = 0; y < lv.height; ++y) {
                    C* out = reinterpret_cast<C*>(lv.data + y * lv.rowBytes);
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
            if (lv.width > 2 && lv.height > 2 &&
                smooth3x3<C, N>(host, reinterpret_cast<C*>(lv.data), lv.width, lv.height) != 0)
                return 1;
        }

#if defined(__x86_64__) || defined(__i386__)
        if constexpr (N == 4)
            if (processorHasAvx2()) {
                mipPixels4Avx2<P>(level, L, raster, d0, dX, dY, radius);
                return 0;
            }
#endif
        int const alpha = N == 4 ? P::ALPHA : 0;
        float const scale = unitScale<P>();
        for (int y = 0; y < height; ++y) {
            float const rowBase = d0 + dY * float(y);
            C* px = reinterpret_cast<C*>(raster->row(y));
            for (int x = 0; x < width; ++x) {
                float const d = float(x) * dX + rowBase;
                if (d < 0.0f) {
                    // Beyond the line a four-channel walk stands still: the pixels after it
                    // land behind their own places.
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
