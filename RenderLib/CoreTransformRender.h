#pragma once
// The transform of one raster into another, stamped out per pixel format. The instances differ
// only in the full scale and in which LineFuncCP they install.
#include "RenderLib/CommonRender.h"
#include "RenderLib/FilterKernels.h"
#include "RenderLib/LineFuncCP.h"
#include "Transform/Common/TX_Poly.h"
#include "host/RasterOps.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

namespace core_transform_detail {

// Picks the samplers once interpolation, channel count and tap count are settled.
template <class C>
void chooseLineFunctions(RenderSettings& s, bool singleChannel, bool edgeCoverage,
                         bool fillPolygon) {
    using L = LineFuncCP<C>;
    if (fillPolygon) {
        s.lineFunction = singleChannel ? L::fillPolygonFunc_1 : L::fillPolygonFunc;
        s.edgeFunction = singleChannel ? L::edgePolygonFunc_1 : L::edgePolygonFunc;
        return;
    }
    // Border pixels are resampled bilinearly even where the interior is cubic.
    LineFunction edge1 = edgeCoverage ? L::edgeBilinearFunc_1 : L::edge_noOp_edgeBilinearFunc_1;
    switch (s.interpMode) {
    case 0:
        s.lineFunction = lineFunc;
        s.edgeFunction = nullptr;
        break;
    case 1:
        s.lineFunction = singleChannel ? L::bilinearFunc_1 : L::bilinearFunc;
        s.edgeFunction = singleChannel ? edge1 : L::edgeBilinearFunc;
        break;
    case 3:
        if (!singleChannel) {
            s.kernelSize = 4;
            s.lineFunction = L::biCubicFunc_4x4_ss;
            s.edgeFunction = L::edgeBiCubicFunc_4x4_ss;
            break;
        }
        // One channel samples as the kernel table would, with the tap count it was given.
        [[fallthrough]];
    default:
        if (s.kernelSize < 5) {
            s.lineFunction = singleChannel ? L::biCubicFunc_4x4_1 : L::biCubicFunc_4x4;
        } else {
            s.lineFunction = singleChannel ? L::biCubicFunc_1 : L::biCubicFunc;
        }
        s.edgeFunction = singleChannel ? edge1 : L::edgeBilinearFunc;
        break;
    }
}

// The four vertices (left top, left bottom, right bottom, right top) in model and texture
// coordinates.
inline void fillQuad(TX_Poly& poly, const TX_FRect& unit, const TX_Lerp& lerpX,
                     const TX_Lerp& lerpY, float e) {
    const double xs[4] = {unit.left, unit.left, unit.right, unit.right};
    const double ys[4] = {unit.top, unit.bottom, unit.bottom, unit.top};
    const float eu[4] = {e, e, -e, -e};
    const float ev[4] = {e, -e, -e, e};
    for (int i = 0; i < 4; ++i) {
        TX_Poly_vert& v = poly.m_vert[i];
        v.x = xs[i];
        v.y = ys[i];
        v.z = 0.0;
        v.u = lerpX(float(xs[i])) + eu[i];
        v.v = lerpY(float(ys[i])) + ev[i];
        v.q = 1.0;
    }
}

// Projects the first four vertices as they stand: a failed clip may have left others in their
// slots. On the second attempt a vertex behind the eye is mirrored through it.
inline void projectQuad(TX_Poly& poly, const RenderSettings& s, const TX_Mtrx44& matrix,
                        bool secondAttempt) {
    poly.m_n = 4;
    for (int i = 0; i < 4; ++i) {
        TX_Poly_vert& v = poly.m_vert[i];
        if (s.renderMode == 2 || s.renderMode == 3) {
            v.sx = s.corners[i].x;
            v.sy = s.corners[i].y;
            v.sz = 1.0;
            v.sw = 1.0;
        } else {
            matrix.transform(v.x, v.y, v.z, 1.0, &v.sx, &v.sy, &v.sz, &v.sw);
        }
        if (secondAttempt && v.sw < 0.0) {
            v.sx = -v.sx;
            v.sy = -v.sy;
            v.sz = -v.sz;
            v.sw = -v.sw;
        }
    }
    poly.m_mask =
        POLY_MASK_SX | POLY_MASK_SY | POLY_MASK_SZ | POLY_MASK_SW | POLY_MASK_U | POLY_MASK_V;
}

// The dry run's call-back: the span's y at both ends, then on to the next span as every sampler
// steps.
inline int recordRowsRead(void* settings, LineRenderStruct* line) {
    RowsRead& read = *static_cast<RenderSettings*>(settings)->rowsRead;
    if (line->count > 0) {
        const linefunc_detail::SpanCoords co(line);
        float x, first, last;
        co.at(0, x, first);
        co.at(line->count - 1, x, last);
        const double w0 = co.dq * 0 + co.q, w1 = co.dq * (line->count - 1) + co.q;
        if (std::isfinite(first) && std::isfinite(last) &&
            ((w0 > 0.0 && w1 > 0.0) || (w0 < 0.0 && w1 < 0.0))) {
            read.low = std::min({read.low, first, last});
            read.high = std::max({read.high, first, last});
        } else {
            read.bounded = false;
        }
    }
    linefunc_detail::advance(line);
    return 0;
}

// Row sums for the vector 4x4 span, held for one transform. The memory is the sampler's own, not
// the host's: the host sees the same requests with or without it, and without it (no memory, or
// the portable span) every row is simply summed again.
template <class C> class RowCache {
  public:
    RowCache(RenderSettings& s, int pixels) {
        if (s.lineFunction != LineFuncCP<C>::biCubicFunc_4x4 ||
            chosenCubic4x4Span<C>() == &cubic4x4SpanPortable<C, 4> || pixels < 2)
            return;
        m_memory.reset(
            new (std::nothrow) float[Cubic4x4RowCache::bytesFor(pixels) / sizeof(float)]);
        if (!m_memory) return;
        m_cache.attach(m_memory.get(), pixels);
        s.lineData = &m_cache;
    }

  private:
    std::unique_ptr<float[]> m_memory;
    Cubic4x4RowCache m_cache;
};

// The clear of the destination left to the end of the transform and done there only where no
// span wrote: spans of four channels overwrite every byte of their pixels and read none of the
// destination, so the outcome is that of a clear before them. Each row holds up to kHeld
// stretches written or cleared, in order; a span that would make one more first clears the
// narrowest gap between two, where nothing can have been written yet. Rows are found from the
// spans' addresses; a span that cannot be placed, or no memory for the rows, and all is cleared
// that no span wrote, as it stands, and the watch stops.
class DeferredClear {
  public:
    static constexpr int kHeld = 3;

    DeferredClear(const PluginHost_API::RasterInfo& d, bool watch) : m_d(d) {
        if (watch && d.rowBytes != 0 && d.height > 0)
            m_rows.reset(new (std::nothrow) Row[std::size_t(d.height)]());
        if (!m_rows) settle();
    }
    DeferredClear(const DeferredClear&) = delete;
    DeferredClear& operator=(const DeferredClear&) = delete;
    ~DeferredClear() { settle(); }

    bool watching() const { return bool(m_rows); }

    // Before a span of `count` pixels writes from `at`.
    void willWrite(const unsigned char* at, int count) {
        if (!m_rows || count <= 0) return;
        const std::ptrdiff_t off = at - static_cast<const unsigned char*>(m_d.data);
        const std::ptrdiff_t rb = m_d.rowBytes, step = rb > 0 ? rb : -rb;
        const std::ptrdiff_t q = off >= 0 ? off / step : -((-off + step - 1) / step);
        const std::ptrdiff_t y = rb > 0 ? q : -q, x = off - y * rb;
        if (y < 0 || y >= m_d.height || x % m_d.pixelBytes != 0 ||
            x / m_d.pixelBytes + count > m_d.width) {
            settle();
            return;
        }
        add(m_rows[y], int(y), int(x / m_d.pixelBytes), int(x / m_d.pixelBytes) + count);
    }

    // Clears every pixel no span wrote, once; the watch stops.
    void settle() {
        if (m_settled) return;
        m_settled = true;
        for (int y = 0; y < m_d.height; ++y) {
            const Row empty{};
            const Row& r = m_rows ? m_rows[y] : empty;
            int from = 0;
            for (int k = 0; k < r.n; ++k) {
                clear(y, from, r.at[k][0]);
                from = r.at[k][1];
            }
            clear(y, from, m_d.width);
        }
        m_rows.reset();
    }

  private:
    struct Row {
        int n = 0;
        int at[kHeld + 1][2]; // stretches [begin, end), apart and in order
    };

    void clear(int y, int from, int to) {
        if (to > from)
            std::memset(m_d.row(y) + std::ptrdiff_t(from) * m_d.pixelBytes, 0,
                        std::size_t(to - from) * m_d.pixelBytes);
    }

    void add(Row& r, int y, int begin, int end) {
        // Stretches touching or overlapping [begin, end) merge with it.
        int k = 0;
        while (k < r.n && r.at[k][1] < begin) ++k;
        int last = k;
        while (last < r.n && r.at[last][0] <= end) {
            begin = std::min(begin, r.at[last][0]);
            end = std::max(end, r.at[last][1]);
            ++last;
        }
        const int merged = last - k;
        std::memmove(r.at[k + 1], r.at[last], sizeof(r.at[0]) * std::size_t(r.n - last));
        r.n += 1 - merged;
        r.at[k][0] = begin, r.at[k][1] = end;
        if (r.n <= kHeld) return;
        int narrow = 0;
        for (int g = 1; g + 1 < r.n; ++g)
            if (r.at[g + 1][0] - r.at[g][1] < r.at[narrow + 1][0] - r.at[narrow][1]) narrow = g;
        clear(y, r.at[narrow][1], r.at[narrow + 1][0]);
        r.at[narrow][1] = r.at[narrow + 1][1];
        std::memmove(r.at[narrow + 1], r.at[narrow + 2],
                     sizeof(r.at[0]) * std::size_t(r.n - narrow - 2));
        --r.n;
    }

    const PluginHost_API::RasterInfo& m_d;
    std::unique_ptr<Row[]> m_rows;
    bool m_settled = false;
};

// The call-back the scan sees while the clear is deferred: the span's pixels are noted, then the
// sampler `Which` draws them.
template <LineFunction RenderSettings::*Which>
int watchedSpan(void* settings, LineRenderStruct* line) {
    RenderSettings& s = *static_cast<RenderSettings*>(settings);
    static_cast<DeferredClear*>(s.spanWatch)
        ->willWrite(line->dest + std::ptrdiff_t(line->leftCount) * s.srcPixelBytes, line->count);
    return (s.*Which)(settings, line);
}

} // namespace core_transform_detail

template <class PIXEL, class C, class ACC, class V, class FORMAT>
int coreTransformRender(PIXEL, C, ACC, V, FORMAT, PluginHost_API* host, CoreRenderArguments& args,
                        const PluginHost_API::RasterInfo& source,
                        const PluginHost_API::RasterInfo& destination, bool clearDest,
                        bool singleChannel, RenderSettings* given, bool edgeCoverage,
                        bool fillPolygon) {
    using namespace core_transform_detail;
    RenderSettings local; // nothing of the caller's to keep: a blank record
    RenderSettings& s = given ? *given : local;
    s.renderMode = args.renderMode;
    s.kernelSize = args.kernelIndex;

    switch (args.filter) {
    case kKernelTriangle:
        s.interpMode = 1;
        break;
    case kKernelBox:
        s.interpMode = 0;
        break;
    case kKernelSupersampled:
        s.interpMode = 3;
        args.filter = kKernelParzen;
        break;
    default:
        s.interpMode = 2;
        break;
    }

    const TX_IRect srcWin =
        given ? given->srcRect : TX_IRect(0, 0, source.width - 1, source.height - 1);
    const TX_IRect dstWin =
        given ? given->dstRect : TX_IRect(0, 0, destination.width - 1, destination.height - 1);

    // Samplers of four channels that fill whole pixels of a raster of their own leave the clear
    // to the end, where they did not write.
    std::optional<DeferredClear> clear;
    if (clearDest && !s.rowsRead)
        clear.emplace(destination, !singleChannel && !fillPolygon &&
                                       source.pixelBytes == destination.pixelBytes &&
                                       destination.pixelBytes == 4 * int(sizeof(C)) &&
                                       !rastersOverlap(source, destination));

    s.outputWidth = s.width = host->getOutputWidth();
    s.outputHeight = s.height = host->getOutputHeight();
    if (s.renderMode != 1) {
        s.width = destination.width;
        s.height = destination.height;
    }
    TX_Mtrx44 matrix;
    int unusedA = 0, unusedB = 0;
    // The matrix is built at the output's size, whatever the destination's.
    const int outW = s.outputWidth, outH = s.outputHeight;
    if (s.renderMode == 1 || !given) calcMatrix(matrix, args, s, outW, outH, unusedA, unusedB);
    if (s.renderMode == 0 && calcMatrix(matrix, args, s, outW, outH, unusedA, unusedB) != 0)
        return 0;

    s.lineData = nullptr;
    s.minValue = 0;
    s.maxValue = int(PIXEL::MAX_VALUE());

    const double hostScale = std::min(host->getScaleX(), host->getScaleY());
    setKernelTransformSize(&s, args.kernelIndex, float(hostScale));
    if (args.sharpen) s.interpMode = 2;
    chooseLineFunctions<C>(s, singleChannel, edgeCoverage, fillPolygon);

    int originX = 0, originY = 0;
    host->getOrigin(originX, originY);
    const TX_IRect scanRect(dstWin.left + originX, dstWin.top + originY, dstWin.right + originX,
                            dstWin.bottom + originY);

    TX_Poly poly;
    poly.setOpenMP();
    s.srcPixels = static_cast<unsigned char*>(source.data);
    s.srcPixelBytes = source.pixelBytes;
    s.srcRowBytes = source.rowBytes;
    s.dstPixels = static_cast<unsigned char*>(destination.data);
    s.dstRowBytes = destination.rowBytes;
    s.srcLeft = srcWin.left;
    s.srcTop = srcWin.top;
    s.srcRight = srcWin.right;
    s.srcBottom = srcWin.bottom;
    s.dstTop = dstWin.top;
    s.kernelScale = args.kernelScale;

    setInterpLineFunc(&s, args.mitchellB, args.mitchellC, args.filter, args.sharpen,
                      args.sharpenFilter, args.sharpenSize, args.sharpenClamp, args.sharpenB,
                      args.sharpenC, args.sharpenAmount, args.clampNegative, true);

    const TX_IRect& clipRect = s.renderMode == 1 ? scanRect : s.dstRect;
    const TX_FRect clip(clipRect.left, clipRect.top, clipRect.right, clipRect.bottom);
    TX_Poly_box box{clip.left, clip.right + 0.99, clip.top, clip.bottom + 0.99, 0.0, 1.0};
    TX_Window window{int(clip.left), int(clip.top), int(clip.right), int(clip.bottom)};

    TX_FRect unit(0.0, 0.0, 1.0, 1.0);
    if (s.renderMode == 1) {
        const double w1 = s.outputWidth - 1, h1 = s.outputHeight - 1;
        unit = TX_FRect(srcWin.left / w1, srcWin.top / h1, srcWin.right / w1, srcWin.bottom / h1) *
               TX_FRect(0.0, 0.0, 1.0, 1.0);
    }
    if (!unit.getDefined()) return 0;

    const TX_Lerp lerpX(float(unit.left), float(srcWin.left), float(unit.right),
                        float(srcWin.right));
    const TX_Lerp lerpY(float(unit.top), float(srcWin.top), float(unit.bottom),
                        float(srcWin.bottom));
    // With interpolation the texture reaches half a pixel past the source; nearest stops half a
    // pixel short of it.
    const float e = (s.interpMode >= 1 && s.interpMode <= 3) ? -0.5f : 0.5f;

    // A polygon wholly behind the eye is clipped away; the second attempt mirrors it through
    // the eye so that it is still drawn.
    fillQuad(poly, unit, lerpX, lerpY, e);
    bool drawn = false;
    for (int attempt = 0; attempt < 2 && !drawn; ++attempt) {
        projectQuad(poly, s, matrix, attempt == 1);
        drawn = TX_Poly::poly_clip_to_box(&poly, &box, true) != 0;
    }
    if (!drawn) return 0;

    for (int i = 0; i < poly.m_n; ++i) {
        TX_Poly_vert& v = poly.m_vert[i];
        const double w = v.sw;
        v.sx /= w;
        v.sy /= w;
        v.u /= w;
        v.v /= w;
        v.q = 1.0 / w;
    }
    poly.m_mask = (poly.m_mask & ~POLY_MASK_SW) | POLY_MASK_Q;

    s.dstTop = window.y0;
    const RowCache<C> rowCache(
        s, s.rowsRead ? 0 : std::max(window.x1 - window.x0 + 1, destination.width));
    poly.m_pixels = static_cast<unsigned char*>(destination.data);
    poly.m_rowBytes = destination.rowBytes;
    poly.m_pixelBytes = s.srcPixelBytes;
    poly.m_rowOrigin = s.dstTop;
    poly.m_firstRow = s.skipAbove;
    if (s.skipBelow > 0) poly.m_endRow = destination.height - s.skipBelow;
    poly.m_lineFunction = s.rowsRead ? &recordRowsRead : s.lineFunction;
    poly.m_lineData = s.lineData;
    poly.m_edgeFunction = s.rowsRead && s.edgeFunction ? &recordRowsRead : s.edgeFunction;
    poly.m_userData = &s;
    struct Unwatch {
        RenderSettings& s;
        ~Unwatch() { s.spanWatch = nullptr; }
    } unwatch{s};
    if (clear && clear->watching()) {
        s.spanWatch = &*clear;
        poly.m_lineFunction = &watchedSpan<&RenderSettings::lineFunction>;
        if (s.edgeFunction) poly.m_edgeFunction = &watchedSpan<&RenderSettings::edgeFunction>;
    }

    if (s.interpMode >= 1 && s.interpMode <= 3) {
        poly.polyAreaScan(&window, window.x0, window.y0, window.x1, window.y1);
    } else {
        poly.poly_scan(&window, window.x0, window.y0, window.x1, window.y1);
    }
    return 0;
}
