#include "Transform/Common/TX_Poly.h"
#include "host/SaturatingCast.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

// The antialiased scan. A pixel is 512 units wide and 16 sub-rows high. Per sub-row only the x of
// the two edges (nx, in 512ths) is stepped and turned into an integer sub-span; everything else is
// stepped once per pixel row. A pixel row then leaves as a left edge span with coverage, an
// interior span handed to the line function untouched, and a right edge span with coverage.

namespace {
const int kEmpty = -10000000; // both ends of an empty sub-span
// Sub-rows above the window that are still walked; a polygon reaching further up has its edges
// set up directly at the window's first row, so a far-off vertex costs nothing.
const double kWalkAbove = 16.0 * 4096;

void clearSpans(int (*spans)[2]) {
    for (int s = 0; s < 16; ++s) spans[s][0] = spans[s][1] = kEmpty;
}

bool isEmpty(const int* span) {
    return span[0] == kEmpty && span[1] == kEmpty;
}

void stepRow(TX_Poly_vert& p, const TX_Poly_vert& dp) {
    p.sx += dp.sx;
    p.u += dp.u;
    p.v += dp.v;
    p.q += dp.q;
}
} // namespace

void TX_Poly::polyAreaScan(TX_Window* win, int left, int top, int right, int bottom) {
    if (m_openMP) {
        // One interior record per pixel row at most.
        const int rows = (bottom - top > win->y1 - win->y0 ? bottom - top : win->y1 - win->y0) + 11;
        m_deferred = static_cast<LineRenderStruct*>(std::malloc(sizeof(LineRenderStruct) * rows));
        m_deferredCount = 0;
    }
    auto release = [this] {
        std::free(m_deferred);
        m_deferred = nullptr;
        m_deferredCount = 0;
    };
    try {
        polyAreaScan_internal(win, left, top, right, bottom);
        // Interior spans carry their own start values and touch only their own pixels, so they
        // can run apart from the walk; here they run in order on this thread.
        if (m_openMP)
            for (int i = 0; i < m_deferredCount; ++i) m_lineFunction(m_userData, &m_deferred[i]);
    } catch (...) {
        release();
        throw;
    }
    release();
}

void TX_Poly::polyAreaScan_internal(TX_Window* win, int left, int, int right, int) {
    TX_ASSERT(!(m_n > POLY_NMAX), "!(m_n>POLY_NMAX)");

    for (int i = 0; i < m_n; ++i) {
        m_vert[i].nx = 512.0 * m_vert[i].sx;
        m_vert[i].ny = 16.0 * m_vert[i].sy;
    }
    int const topIndex = topVertex();
    if (topIndex < 0) return;

    const TX_Poly_vert& topVert = m_vert[topIndex];
    // Sub-rows from the window's last row on are never drawn.
    const double windowSub = 16.0 * win->y0, endSub = 16.0 * (double(win->y1) + 2.0);
    const float topSub = std::ceil(float(topVert.ny));
    if (topSub >= endSub) return;
    int y, Y;
    if (topSub >= windowSub - kWalkAbove) {
        // The 1/16 keeps y the pixel row of the first sub-row.
        y = int(std::floor(float(topVert.sy + 0.0625)));
        Y = int(topSub);
    } else {
        y = win->y0;
        Y = int(windowSub);
    }
    // A vertex row as a sub-row; rows are only compared with Y from here on, so holding them to
    // the part of the walk that is left keeps every comparison (NaN counts as passed).
    const double passedSub = Y - 1.0;
    auto const subRowOf = [&](double ny) {
        const double c = std::ceil(ny);
        return !(c > passedSub) ? int(passedSub) : c > endSub ? int(endSub) : int(c);
    };
    int ly = Y - 1, ry = Y - 1;
    int li = topIndex, ri = topIndex;
    int rem = m_n;
    int spans[16][2];
    clearSpans(spans);

    TX_Poly_vert l, dl, r, dr;
    std::memset(&l, 0, sizeof(l));
    dl = r = dr = l;
    TX_Poly_vert* lo = &l;
    TX_Poly_vert* hi = &r;

    while (rem > 0) {
        while (rem >= 1 && Y >= ly) {
            const int i = (li == 0) ? m_n - 1 : li - 1;
            --rem;
            areaIncrementalize_y(&m_vert[li], &m_vert[i], &l, &dl, y, Y);
            ly = subRowOf(m_vert[i].ny);
            li = i;
        }
        while (rem >= 1 && Y >= ry) {
            const int i = (ri == m_n - 1) ? 0 : ri + 1;
            --rem;
            areaIncrementalize_y(&m_vert[ri], &m_vert[i], &r, &dr, y, Y);
            ry = subRowOf(m_vert[i].ny);
            ri = i;
        }
        while (Y < ly && Y < ry) {
            if (r.nx >= l.nx) {
                lo = &l;
                hi = &r;
            } else {
                lo = &r;
                hi = &l;
            }
            const int s = Y & 15;
            const int x0 = saturatingCast(std::ceil(float(lo->nx)));
            const int x1 = saturatingCast(std::floor(float(hi->nx)));
            // A sub-span counts only when it is more than one unit wide.
            if (x1 <= x0) {
                spans[s][0] = spans[s][1] = kEmpty;
            } else {
                spans[s][0] = x0;
                spans[s][1] = x1;
            }
            if (s == 15) {
                if (drawsRow(y, win)) areaScanline(y, left, right, lo, hi, win, spans);
                clearSpans(spans);
                if (++y > win->y1) return; // nothing further down is drawn
                stepRow(l, dl);
                stepRow(r, dr);
            }
            ++Y;
            l.nx += dl.nx;
            r.nx += dr.nx;
        }
    }
    // The last pixel row, when the polygon ends inside it.
    if ((Y & 15) != 0 && drawsRow(y, win)) areaScanline(y, left, right, lo, hi, win, spans);
}

void TX_Poly::areaScanline(int y, int left, int, TX_Poly_vert* lo, TX_Poly_vert* hi, TX_Window* win,
                           int (*spans)[2]) {
    int leftMin = 100000000, leftMax = -100000000;
    int rightMin = 100000000, rightMax = -100000000;
    bool someEmpty = false;
    for (int s = 0; s < 16; ++s) {
        if (isEmpty(spans[s])) {
            someEmpty = true;
            continue;
        }
        if (spans[s][0] < leftMin) leftMin = spans[s][0];
        if (spans[s][0] > leftMax) leftMax = spans[s][0];
        if (spans[s][1] < rightMin) rightMin = spans[s][1];
        if (spans[s][1] > rightMax) rightMax = spans[s][1];
    }
    // Sub-spans with no x in common (a sliver, or the shallow top of a slanted edge): the row is
    // dropped whole.
    if (rightMin < leftMax) return;
    if (rightMax < leftMin) return;

    const float unit = 0.001953125f; // 1/512
    int a, b, c, d;
    if (someEmpty) {
        // A partly covered row goes out as one edge span.
        a = int(leftMin * unit);
        b = c = d = int(rightMax * unit + 1.0f);
    } else {
        a = int(leftMin * unit);
        b = int(leftMax * unit + 1.0f);
        c = int(rightMin * unit);
        d = int(rightMax * unit + 1.0f);
    }
    // The left edge span ends at the window too (past it lies the next row, or no memory): c is
    // pushed up to b, and d - c may come out negative, which the call-backs read as no pixels.
    if (a < win->x0) a = win->x0;
    if (b < win->x0) b = win->x0;
    if (b > win->x1 + 1) b = win->x1 + 1;
    if (c > win->x1) c = win->x1;
    if (c < b) c = b;
    if (d > win->x1 + 1) d = win->x1 + 1;
    if (win->x1 < a) return;

    TX_Poly_vert p, dp;
    areaIncrementalize_x(lo, hi, &p, &dp, a);

    LineRenderStruct span;
    span.u = p.u;
    span.v = p.v;
    span.q = p.q;
    span.du = dp.u;
    span.dv = dp.v;
    span.dq = dp.q;

    calcCoverage(b - a, a, spans);
    span.leftCount = 0;
    span.rightCount = 0;
    span.count = b - a;
    span.dest = m_pixels + std::ptrdiff_t(y - m_rowOrigin) * m_rowBytes +
                std::ptrdiff_t(a - left) * m_pixelBytes;
    span.coverage = m_coverage;
    m_edgeFunction(m_userData, &span);

    span.leftCount = 0;
    span.rightCount = 0;
    span.count = c - b;
    span.dest += std::ptrdiff_t(b - a) * m_pixelBytes;
    if (m_openMP) {
        m_deferred[m_deferredCount++] = span;
        if (span.count > 0) {
            span.u += span.count * span.du;
            span.v += span.count * span.dv;
            span.q += span.count * span.dq;
        }
    } else {
        m_lineFunction(m_userData, &span);
    }

    calcCoverage(d - c, c, spans);
    span.count = d - c;
    span.dest += std::ptrdiff_t(c - b) * m_pixelBytes;
    span.leftCount = 0;
    span.rightCount = 0;
    span.coverage = m_coverage;
    m_edgeFunction(m_userData, &span);
}

void TX_Poly::calcCoverage(int n, int x, int (*spans)[2]) {
    // Sub-row masks of a pixel, kept as data; the integer sums below need no masks.
    [[maybe_unused]] static const unsigned short leftMaskTable[16] = {
        65535, 32767, 16383, 8191, 4095, 2047, 1023, 511, 255, 127, 63, 31, 15, 7, 3, 1};
    [[maybe_unused]] static const unsigned short rightMaskTable[16] = {
        32768, 49152, 57344, 61440, 63488, 64512, 65024, 65280,
        65408, 65472, 65504, 65520, 65528, 65532, 65534, 65535};
    if (m_coverageSize < n) {
        delete[] m_coverage;
        m_coverage = new float[n];
        m_coverageSize = n;
    }
    for (int i = 0; i < n; ++i) {
        const int lo = (x + i) << 9;
        const int hi = lo | 511;
        int sum = 0;
        for (int s = 0; s < 16; ++s) {
            // Both end points of a sub-span count as covered.
            const int e = (hi < spans[s][1] ? hi : spans[s][1]);
            const int b = (lo > spans[s][0] ? lo : spans[s][0]);
            const long long w = (long long)e - b + 1; // a far-off end is far from every pixel
            if (w > 0) sum += int(w);
        }
        m_coverage[i] = float(sum) * 0.00012207031f;
    }
}
