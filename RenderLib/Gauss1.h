#pragma once
#include "RenderLib/MipMapKernels.h"
#include "host/PluginHost_API.h"
#include "pixel/Traits.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <type_traits>

// The fixed 3x3 smoothing (1 2 1, 2 4 2, 1 2 1) / 16 that the mip levels pass through, in place
// on a packed image. The image is copied to a scratch block first, so every tap reads the
// original values. Integer channels sum as integers and shift, so the result truncates.

namespace blur_detail {

struct AllRows {
    bool operator()(int) const { return true; }
};

// kernels null keeps the portable interior. With a source, a packed image of the same size, that
// image is smoothed into pixels instead; the scratch block is taken all the same, so memory
// fails as it would. wanted(y) false leaves row y of pixels as it was, for a caller that never
// reads it.
template <class C, int N, class Rows = AllRows>
int smooth3x3(PluginHost_API* host, C* pixels, int width, int height,
              MipKernels<C> const* kernels = chosenMipKernels<C>(), C const* source = nullptr,
              Rows const& wanted = {}) {
    static int const _weights[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    // The host counts bytes in an int: a larger image is memory that cannot be had.
    std::size_t const bytes = std::size_t(width) * std::size_t(height) * N * sizeof(C);
    if (bytes > std::size_t(INT_MAX)) return 1;
    void* handle = host->allocMemory(int(bytes));
    if (!handle) return 1;
    C* copy = static_cast<C*>(host->lockMemory(handle));
    if (!copy) {
        host->unlockMemory(handle);
        host->deallocMemory(handle);
        return 1;
    }
    if (!source) std::memcpy(copy, pixels, bytes);
    C const* const from = source ? source : copy;
    std::ptrdiff_t const stride = std::ptrdiff_t(width) * N;

    auto store = [&](C* out, auto const& tap) {
        for (int c = 0; c < N; ++c) {
            if constexpr (std::is_floating_point_v<C>) {
                float sum = 0.0f;
                for (int k = 0; k < 9; ++k) sum += float(_weights[k]) * float(tap(k)[c]);
                out[c] = C(sum * 0.0625f);
            } else {
                int sum = 0;
                for (int k = 0; k < 9; ++k) sum += _weights[k] * int(tap(k)[c]);
                out[c] = C(sum >> 4);
            }
        }
    };

    // Inner columns, a row at a time over its channel values: the first and last rows read
    // themselves for the row beyond. Integer sums are exact in any order; float ones add the
    // nine products in the table's order, as the border below does.
    for (int y = 0; y < height; ++y) {
        if (!wanted(y)) continue;
        C const* mid = from + y * stride + N;
        C const* up = y > 0 ? mid - stride : mid;
        C const* down = y < height - 1 ? mid + stride : mid;
        C* out = pixels + y * stride + N;
        std::ptrdiff_t const values = std::ptrdiff_t(width - 2) * N;
        if (kernels) {
            kernels->smooth(up, mid, down, out, values, N);
            continue;
        }
        for (std::ptrdiff_t v = 0; v < values; ++v) {
            if constexpr (std::is_floating_point_v<C>) {
                float sum = 0.0f;
                sum += 1.0f * float(up[v - N]);
                sum += 2.0f * float(up[v]);
                sum += 1.0f * float(up[v + N]);
                sum += 2.0f * float(mid[v - N]);
                sum += 4.0f * float(mid[v]);
                sum += 2.0f * float(mid[v + N]);
                sum += 1.0f * float(down[v - N]);
                sum += 2.0f * float(down[v]);
                sum += 1.0f * float(down[v + N]);
                out[v] = C(sum * 0.0625f);
            } else {
                int const sum = int(up[v - N]) + 2 * int(up[v]) + int(up[v + N]) +
                                2 * (int(mid[v - N]) + int(mid[v + N])) + 4 * int(mid[v]) +
                                int(down[v - N]) + 2 * int(down[v]) + int(down[v + N]);
                out[v] = C(sum >> 4);
            }
        }
    }
    // First and last columns: the taps are clamped into the image, repeating the edge.
    auto border = [&](int x, int y) {
        store(pixels + y * stride + x * N, [&](int k) {
            int tx = x + k % 3 - 1, ty = y + k / 3 - 1;
            tx = tx < 0 ? 0 : (tx > width - 1 ? width - 1 : tx);
            ty = ty < 0 ? 0 : (ty > height - 1 ? height - 1 : ty);
            return from + ty * stride + tx * N;
        });
    };
    for (int y = 0; y < height; ++y) {
        if (!wanted(y)) continue;
        border(0, y);
        if (width > 1) border(width - 1, y);
    }
    host->unlockMemory(handle);
    host->deallocMemory(handle);
    return 0;
}

} // namespace blur_detail

// 3x3 smoothing of a packed four-channel image. 0, or 1 when scratch memory fails.
template <class P, class C, class A, class V, class F>
int gauss1_RGBA(P, C, A, V, F, PluginHost_API* host, F* pixels, int width, int height) {
    return blur_detail::smooth3x3<C, 4>(host, reinterpret_cast<C*>(pixels), width, height);
}

// The same on a packed image of one channel.
template <class P, class C, class A, class V, class F>
int gauss1_A(P, C, A, V, F, PluginHost_API* host, C* pixels, int width, int height) {
    return blur_detail::smooth3x3<C, 1>(host, pixels, width, height);
}
