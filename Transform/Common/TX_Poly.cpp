#include "Transform/Common/TX_Poly.h"

#include <cstdio>
#include <cstring>
#include <utility>

TX_Poly::TX_Poly()
    : m_pixels(nullptr), m_rowBytes(0), m_rowOrigin(0), m_firstRow(0), m_endRow(2147483647),
      m_lineFunction(nullptr), m_lineData(nullptr), m_edgeFunction(nullptr), m_userData(nullptr),
      m_coverageSize(0), m_coverage(nullptr), m_openMP(false), m_deferred(nullptr),
      m_deferredCount(0) {}

TX_Poly::~TX_Poly() {
    delete[] m_coverage;
}

void TX_Poly::poly_clip_to_halfspace(TX_Poly* p, TX_Poly* q, int index, double sign, double k) {
    q->m_n = 0;
    q->m_mask = p->m_mask;
    if (p->m_n <= 0) return;

    const TX_Poly_vert* u = &p->m_vert[p->m_n - 1];
    double tu = sign * u->fields()[index] - u->sw * k;
    for (int i = 0; i < p->m_n; ++i) {
        const TX_Poly_vert* v = &p->m_vert[i];
        const double tv = sign * v->fields()[index] - v->sw * k;
        // A convex ring gains at most one vertex per plane; a self-crossing one could gain more,
        // and what would run past the array is dropped rather than written.
        if ((0.0 >= tu) != (0.0 >= tv) && q->m_n < POLY_NMAX) {
            // The edge crosses the plane: a new vertex where it does, for the live fields only.
            const double t = tu / (tu - tv);
            double* w = q->m_vert[q->m_n].fields();
            const double* a = u->fields();
            const double* b = v->fields();
            for (unsigned long m = p->m_mask, f = 0; m != 0; m >>= 1, ++f)
                if (m & 1) w[f] = a[f] + (b[f] - a[f]) * t;
            q->m_n++;
        }
        if (0.0 >= tv && q->m_n < POLY_NMAX) q->m_vert[q->m_n++] = *v;
        u = v;
        tu = tv;
    }
}

int TX_Poly::poly_clip_to_box(TX_Poly* p1, TX_Poly_box* box, bool clipXY) {
    TX_ASSERT(!(p1->m_n + 6 > POLY_NMAX), "!(p1->m_n+6>POLY_NMAX)");

    int x0 = 0, x1 = 0, y0 = 0, y1 = 0, z0 = 0, z1 = 0;
    for (int i = 0; i < p1->m_n; ++i) {
        const TX_Poly_vert& v = p1->m_vert[i];
        if (v.sw * box->x0 > v.sx) ++x0;
        if (v.sx > v.sw * box->x1) ++x1;
        if (v.sw * box->y0 > v.sy) ++y0;
        if (v.sy > v.sw * box->y1) ++y1;
        if (v.sw * box->z0 > v.sz) ++z0;
        if (v.sz > v.sw * box->z1) ++z1;
    }
    if (x0 == 0 && x1 == 0 && y0 == 0 && y1 == 0 && z0 == 0 && z1 == 0) return 2;

    const int n = p1->m_n;
    if (clipXY && (x0 == n || x1 == n || y0 == n || y1 == n || z0 == n || z1 == n)) {
        p1->m_n = 0;
        return 0;
    }

    TX_Poly scratch;
    std::memset(scratch.m_vert, 0, sizeof(scratch.m_vert));
    TX_Poly* src = p1;
    TX_Poly* dst = &scratch;
    auto clip = [&](int count, int index, double sign, double k) {
        if (count == 0) return true;
        poly_clip_to_halfspace(src, dst, index, sign, k);
        std::swap(src, dst);
        if (src->m_n == 0) {
            p1->m_n = 0;
            return false;
        }
        return true;
    };
    if (clipXY) {
        if (!clip(x0, 0, -1.0, -box->x0)) return 0;
        if (!clip(x1, 0, 1.0, box->x1)) return 0;
        if (!clip(y0, 1, -1.0, -box->y0)) return 0;
        if (!clip(y1, 1, 1.0, box->y1)) return 0;
    }
    if (!clip(z0, 2, -1.0, -box->z0)) return 0;
    if (!clip(z1, 2, 1.0, box->z1)) return 0;

    // The closing copy runs from p1 into the scratch polygon, so after an odd number of planes
    // p1 keeps the polygon as it stood before the last one. Callers rely on the scan converters
    // bounding x and y by the window in any case.
    scratch.m_n = p1->m_n;
    scratch.m_mask = p1->m_mask;
    std::memcpy(scratch.m_vert, p1->m_vert, sizeof(p1->m_vert));
    return 1;
}

void TX_Poly::incrementalize_y(double* p1, double* p2, double* p, double* dp, int y,
                               unsigned long mask) {
    double d = p2[1] - p1[1];
    if (d == 0.0) d = 1.0;
    const double t = y + 0.5 - p1[1]; // values exact at the pixel centre
    for (int i = 0; mask != 0; mask >>= 1, ++i) {
        if (mask & 1) {
            dp[i] = (p2[i] - p1[i]) / d;
            p[i] = dp[i] * t + p1[i];
        }
    }
}

void TX_Poly::incrementalize_x(double* p1, double* p2, double* p, double* dp, int x,
                               unsigned long mask) {
    double d = p2[0] - p1[0];
    if (d == 0.0) d = 1.0;
    const double t = x + 0.5 - p1[0];
    for (int i = 0; mask != 0; mask >>= 1, ++i) {
        if (mask & 1) {
            dp[i] = (p2[i] - p1[i]) / d;
            p[i] = dp[i] * t + p1[i];
        }
    }
}

void TX_Poly::areaIncrementalize_y(TX_Poly_vert* p1, TX_Poly_vert* p2, TX_Poly_vert* p,
                                   TX_Poly_vert* dp, int y, int subY) {
    double d = p2->sy - p1->sy;
    if (d == 0.0) d = 1.0;
    const double t = y + 0.5 - p1->sy;
    dp->sx = (p2->sx - p1->sx) / d;
    dp->u = (p2->u - p1->u) / d;
    dp->v = (p2->v - p1->v) / d;
    dp->q = (p2->q - p1->q) / d;
    p->sx = dp->sx * t + p1->sx;
    p->u = dp->u * t + p1->u;
    p->v = dp->v * t + p1->v;
    p->q = dp->q * t + p1->q;

    double e = p2->ny - p1->ny;
    if (e == 0.0) e = 1.0;
    dp->nx = (p2->nx - p1->nx) / e;
    p->nx = (subY - p1->ny) * dp->nx + p1->nx;
}

void TX_Poly::areaIncrementalize_x(TX_Poly_vert* lo, TX_Poly_vert* hi, TX_Poly_vert* p,
                                   TX_Poly_vert* dp, int x) {
    double d = hi->sx - lo->sx;
    if (d == 0.0) d = 1.0;
    const double t = x + 0.5 - lo->sx;
    dp->u = (hi->u - lo->u) / d;
    dp->v = (hi->v - lo->v) / d;
    dp->q = (hi->q - lo->q) / d;
    p->u = dp->u * t + lo->u;
    p->v = dp->v * t + lo->v;
    p->q = dp->q * t + lo->q;
}

void TX_Poly::poly_print(const char* name, TX_Poly* p) {
    std::printf("%s: %d sides\n", name, p->m_n);
    poly_vert_label("        ", p->m_mask);
    for (int i = 0; i < p->m_n; ++i) {
        std::printf("   v[%d] ", i);
        poly_vert_print("", &p->m_vert[i], p->m_mask);
    }
}

void TX_Poly::poly_vert_label(const char* prefix, unsigned long mask) {
    static const char* const labels[13] = {"   sx  ", "   sy  ", "   sz  ", "   sw  ", "   x   ",
                                           "   y   ", "   z   ", "   u   ", "   v   ", "   q   ",
                                           "   nx  ", "   ny  ", "   nz  "};
    std::printf("%s", prefix);
    for (int i = 0; i < 13 && (mask >> i) != 0; ++i)
        if (mask & (1ul << i)) std::printf("%s", labels[i]);
    std::printf("\n");
}

void TX_Poly::poly_vert_print(const char* prefix, TX_Poly_vert* v, unsigned long) {
    static char buf[256];
    std::snprintf(buf, sizeof(buf), "%s %6.1f %6.1f %6.2f\n", prefix, v->sx, v->sy, v->sz);
    std::fputs(buf, stdout);
}
