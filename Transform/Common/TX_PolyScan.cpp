#include "Transform/Common/TX_Poly.h"

#include <cmath>
#include <cstring>

namespace {
// Rows above the window that are still walked.
const double kWalkAbove = 4096;

void stepEdge(TX_Poly_vert& p, const TX_Poly_vert& dp, unsigned long mask) {
    double* v = p.fields();
    const double* d = dp.fields();
    for (int i = 0; mask != 0; mask >>= 1, ++i)
        if (mask & 1) v[i] += d[i];
}
} // namespace

int TX_Poly::topVertex() const {
    double ymin = 3.4028234663852886e38; // the largest float: no real vertex lies above it
    int top = -1;
    for (int i = 0; i < m_n; ++i)
        if (m_vert[i].sy < ymin) {
            ymin = m_vert[i].sy;
            top = i;
        }
    return top;
}

void TX_Poly::poly_scan(TX_Window* win, int left, int, int right, int) {
    TX_ASSERT(!(m_n > POLY_NMAX), "!(m_n>POLY_NMAX)");

    int const top = topVertex();
    if (top < 0) return;
    double const ymin = m_vert[top].sy;

    // Rows whose centre y + 0.5 lies within the polygon's extent. Rows past the window are never
    // drawn; rows far above it are not walked, the edges are set up at the window's first row.
    const double firstRow = std::ceil(ymin - 0.5), endRow = double(win->y1) + 1.0;
    if (firstRow >= endRow) return;
    int y = firstRow >= double(win->y0) - kWalkAbove ? int(firstRow) : win->y0;
    // A vertex's row is only compared with y from here on (NaN counts as passed).
    const double passedRow = y - 1.0;
    auto const rowOf = [&](double sy) {
        const double r = std::floor(sy + 0.5);
        return !(r > passedRow) ? int(passedRow) : r > endRow ? int(endRow) : int(r);
    };
    int ly = y - 1, ry = y - 1;
    int li = top, ri = top;
    int rem = m_n;
    const unsigned long mask = m_mask & ~POLY_MASK_SY;

    TX_Poly_vert l, dl, r, dr;
    std::memset(&l, 0, sizeof(l));
    dl = r = dr = l;

    while (rem > 0) {
        // Advance the left edge (walking the ring backwards) past vertices at or above row y.
        while (rem >= 1 && y >= ly) {
            const int i = (li == 0) ? m_n - 1 : li - 1;
            --rem;
            incrementalize_y(m_vert[li].fields(), m_vert[i].fields(), l.fields(), dl.fields(), y,
                             mask);
            ly = rowOf(m_vert[i].sy);
            li = i;
        }
        while (rem >= 1 && y >= ry) {
            const int i = (ri == m_n - 1) ? 0 : ri + 1;
            --rem;
            incrementalize_y(m_vert[ri].fields(), m_vert[i].fields(), r.fields(), dr.fields(), y,
                             mask);
            ry = rowOf(m_vert[i].sy);
            ri = i;
        }
        while (y < ly && y < ry) {
            if (drawsRow(y, win)) {
                // Either winding: the edge further left this row is the span's start.
                if (r.sx >= l.sx)
                    scanline(y, left, right, &l, &r, win, mask);
                else
                    scanline(y, left, right, &r, &l, win, mask);
            }
            if (++y > win->y1) return;
            stepEdge(l, dl, mask);
            stepEdge(r, dr, mask);
        }
    }
}

void TX_Poly::scanline(int y, int left, int right, TX_Poly_vert* lo, TX_Poly_vert* hi,
                       TX_Window* win, unsigned long mask) {
    mask &= ~POLY_MASK_SX;
    // Pixels whose centre x + 0.5 lies between the edges.
    const double cl = std::ceil(lo->sx - 0.5);
    const double cr = std::floor(hi->sx - 0.5);
    if (cl > win->x1 || cr < win->x0) return;
    const int xl = cl > win->x0 ? int(cl) : win->x0;
    const int xr = cr < win->x1 ? int(cr) : win->x1;
    if (xl > xr) return;

    TX_Poly_vert p, dp;
    std::memset(&p, 0, sizeof(p));
    dp = p;
    incrementalize_x(lo->fields(), hi->fields(), p.fields(), dp.fields(), xl, mask);

    LineRenderStruct span;
    span.u = p.u;
    span.v = p.v;
    span.q = p.q;
    span.du = dp.u;
    span.dv = dp.v;
    span.dq = dp.q;
    span.leftCount = xl - left;
    span.count = xr - xl + 1;
    span.rightCount = right - xr;
    span.dest = m_pixels + std::ptrdiff_t(y - m_rowOrigin) * m_rowBytes;
    span.coverage = nullptr;
    m_lineFunction(m_userData, &span);
}
