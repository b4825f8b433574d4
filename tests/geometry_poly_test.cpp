#include "Transform/Common/TX_Poly.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

const int W = 320, H = 240;
using Ring = std::vector<TX_Point2D>;

// A float raster the call-backs accumulate into, with a visit count per pixel and a log of calls.
// u and v are loaded with the screen position, so every pixel can check the values it is handed.
struct Canvas {
    std::vector<float> value = std::vector<float>(W * H, 0.0f);
    std::vector<int> visits = std::vector<int>(W * H, 0);
    std::vector<LineRenderStruct> edges, lines; // every span as it arrived
    std::string order;                          // 'e' or 'l' per call
    double worstUV = 0.0;

    float& at(int x, int y) { return value[y * W + x]; }
    // Edge spans start at dest and carry coverage; interior spans start leftCount pixels in.
    int paint(LineRenderStruct* s, bool edge) {
        (edge ? edges : lines).push_back(*s), order += edge ? 'e' : 'l';
        const long start =
            reinterpret_cast<float*>(s->dest) - value.data() + (edge ? 0 : s->leftCount);
        for (long k = 0, idx = start; k < s->count; ++k, ++idx) {
            value[idx] += edge ? s->coverage[k] : 1.0f;
            visits[idx]++;
            worstUV = std::max({worstUV, std::fabs(s->u / s->q - (idx % W + 0.5)),
                                std::fabs(s->v / s->q - (idx / W + 0.5))});
            s->u += s->du, s->v += s->dv, s->q += s->dq;
        }
        return 0;
    }
    static int line(void* self, LineRenderStruct* s) {
        return static_cast<Canvas*>(self)->paint(s, false);
    }
    static int edge(void* self, LineRenderStruct* s) {
        return static_cast<Canvas*>(self)->paint(s, true);
    }
    // A polygon in screen space, already divided: u / q and v / q follow the screen position.
    TX_Poly p;
    explicit Canvas(const Ring& ring) {
        p.m_n = int(ring.size());
        p.m_mask =
            POLY_MASK_SX | POLY_MASK_SY | POLY_MASK_SZ | POLY_MASK_U | POLY_MASK_V | POLY_MASK_Q;
        for (int i = 0; i < p.m_n; ++i)
            p.m_vert[i] = {ring[i].x,     ring[i].y,     0,   1, 0, 0, 0,
                           ring[i].x / 2, ring[i].y / 2, 0.5, 0, 0, 0};
        p.m_pixels = reinterpret_cast<unsigned char*>(value.data());
        p.m_rowBytes = W * sizeof(float);
        p.m_pixelBytes = sizeof(float);
        p.m_rowOrigin = 0;
        p.m_lineFunction = line;
        p.m_edgeFunction = edge;
        p.m_userData = this;
    }
};

// Convex quad: four points in angular order on an ellipse, either winding.
Ring randomQuad(std::mt19937& rng) {
    std::uniform_real_distribution<double> cx(60, W - 60), cy(60, H - 60), rad(12, 55),
        step(0.45, 1.5), any(0, 6.3);
    Ring ring;
    double a = any(rng);
    const double x = cx(rng), y = cy(rng), rx = rad(rng), ry = rad(rng);
    for (int i = 0; i < 4; ++i, a += step(rng))
        ring.emplace_back(x + rx * std::cos(a), y + ry * std::sin(a));
    if (rng() & 1) std::swap(ring[1], ring[3]);
    return ring;
}

double signedArea(const Ring& ring) {
    double a2 = 0;
    for (size_t i = 0; i < ring.size(); ++i) {
        const TX_Point2D &a = ring[i], &b = ring[(i + 1) % ring.size()];
        a2 += a.x * b.y - b.x * a.y;
    }
    return a2 / 2;
}

// Least distance of p inside the edges of a convex ring of either winding (negative outside, and
// then at least as far out as the point really is).
double insideBy(const Ring& ring, double px, double py) {
    const double sign = signedArea(ring) > 0 ? 1 : -1;
    double worst = 1e300;
    for (size_t i = 0; i < ring.size(); ++i) {
        const TX_Point2D &a = ring[i], &b = ring[(i + 1) % ring.size()];
        worst = std::min(worst, sign * ((b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x)) /
                                    std::hypot(b.x - a.x, b.y - a.y));
    }
    return worst;
}

// Area of the ring between rows y and y + 1, by clipping it to the strip.
double stripArea(Ring poly, int y) {
    for (int side = 0; side < 2; ++side) {
        const double edge = y + side, sign = side ? -1 : 1; // keep sign * (py - edge) >= 0
        Ring out;
        for (size_t i = 0; i < poly.size(); ++i) {
            const TX_Point2D &a = poly[i], &b = poly[(i + 1) % poly.size()];
            const double da = sign * (a.y - edge), db = sign * (b.y - edge);
            if (da >= 0) out.push_back(a);
            if ((da >= 0) != (db >= 0))
                out.emplace_back(a.x + (b.x - a.x) * da / (da - db),
                                 a.y + (b.y - a.y) * da / (da - db));
        }
        poly = out;
    }
    return poly.size() < 3 ? 0.0 : std::fabs(signedArea(poly));
}

TX_Window win{0, 0, W - 1, H - 1};

TEST(PolyScan, RandomQuadsCoverTheirCentresAndArea) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 150; ++trial) {
        Ring ring = randomQuad(rng);
        if (trial % 10 == 0) ring = {{30.2, 20.0}, {90.7, 20.0}, {60.3, 77.6}}; // flat top
        Canvas hard(ring), c(ring), deferred(ring);
        deferred.p.setOpenMP();
        hard.p.poly_scan(&win, 0, 0, W - 1, H - 1);
        c.p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
        deferred.p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
        for (const auto& s : hard.lines) EXPECT_EQ(s.leftCount + s.count + s.rightCount, W);
        // Deferred interiors run after the walk, with the same result.
        EXPECT_EQ(c.value, deferred.value);
        EXPECT_EQ(deferred.order.find_last_of('e'), deferred.edges.size() - 1);
        EXPECT_EQ(deferred.p.m_deferred, nullptr);

        double ymin = 1e9, ymax = -1e9, tol = 0.01, kept = 0, keptExact = 0;
        for (size_t i = 0; i < ring.size(); ++i) {
            ymin = std::min(ymin, ring[i].y), ymax = std::max(ymax, ring[i].y);
            // Sub-rows are sampled at their top: an edge can be off by up to a sixteenth of a row
            // over its horizontal run, but the two sides' errors mostly cancel; a quarter of that
            // is allowed, plus the rounding to 1/512 of every sub-row.
            tol += std::fabs(ring[(i + 1) % ring.size()].x - ring[i].x) / 64;
        }
        tol += (ymax - ymin) / 64;
        for (int y = 0; y < H; ++y) {
            double row = 0;
            for (int x = 0; x < W; ++x) {
                // Hard scans visit exactly the pixels whose centres are inside; area scans give
                // full coverage well inside and none well outside.
                const float v = c.at(x, y);
                const double in = insideBy(ring, x + 0.5, y + 0.5);
                ASSERT_TRUE(std::fabs(in) < 1e-9 || hard.visits[y * W + x] == (in > 0)) << trial;
                ASSERT_TRUE(std::fabs(in) < 0.75 || v == (in > 0)) << trial << " " << x << "," << y;
                ASSERT_LE(c.visits[y * W + x], 1);
                ASSERT_LE(v, 1.0f);
                row += v;
            }
            const double exact = stripArea(ring, y);
            if (row == 0.0 && exact > 0.0) {
                // A row whose sub-spans share no x is dropped whole; on a fat convex quad that
                // happens only where a shallow edge meets the top or bottom vertex.
                EXPECT_TRUE(y <= std::floor(ymin) + 1 || y >= std::floor(ymax) - 1) << trial;
                continue;
            }
            kept += row, keptExact += exact;
        }
        EXPECT_NEAR(kept, keptExact, tol) << trial;
        EXPECT_LT(std::max(hard.worstUV, c.worstUV), 1e-6);
    }
}

// No span runs past the window's right bound.
TEST(PolyAreaScan, SpansStopAtTheWindow) {
    Canvas n({{10, 0}, {40, 0}, {43, 1}, {13, 1}});
    TX_Window narrow{0, 0, 11, H - 1};
    n.p.polyAreaScan(&narrow, 0, 0, W - 1, H - 1);
    ASSERT_EQ(n.order, "ele");
    EXPECT_EQ(n.edges[0].count, 2);
    EXPECT_LE(n.edges[1].count, 0); // read as no pixels
    EXPECT_EQ(n.at(12, 0), 0.0f);
}

TEST(PolyClip, EvenCutsLandInsideAndAnOddLastCutIsLeftOut) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<double> xy(-150, 450), z(-0.6, 1.6), w(0.5, 2.0);
    TX_Poly_box box{0, W, 0, H, 0, 1};
    const double* bound = &box.x0;
    // Whether v is outside plane k (x0, x1, y0, y1, z0, z1), by more than eps.
    auto outside = [&](const TX_Poly_vert& v, int k, double eps) {
        const double f = v.fields()[k / 2], b = bound[k] * v.sw;
        return k % 2 ? f > b + eps : f < b - eps;
    };
    auto linearU = [](const TX_Poly_vert& v) { return 0.3 * v.sx - 0.2 * v.sy + 5 * v.sw; };
    int seen[7] = {};
    for (int trial = 0; trial < 2000; ++trial) {
        TX_Poly p;
        p.m_n = 3 + trial % 2;
        p.m_mask = POLY_MASK_SX | POLY_MASK_SY | POLY_MASK_SZ | POLY_MASK_SW | POLY_MASK_U;
        for (int i = 0; i < p.m_n; ++i) {
            const double ww = w(rng);
            p.m_vert[i] = {xy(rng) * ww, xy(rng) * ww, z(rng) * ww, ww, 0, 0, 0, 0, 0, 0, 0, 0, 0};
            p.m_vert[i].u = linearU(p.m_vert[i]); // stays linear through every cut
        }
        const bool clipXY = trial % 3 != 0;
        // Planes the polygon crosses, in clipping order; x and y are left alone without clipXY.
        std::vector<int> crossed;
        bool anyOut = false, allOutOfOne = false;
        for (int k = 0; k < 6; ++k) {
            int out = 0;
            for (int i = 0; i < p.m_n; ++i) out += outside(p.m_vert[i], k, 0);
            anyOut |= out != 0;
            if (out && (clipXY || k >= 4)) crossed.push_back(k);
            allOutOfOne |= out == p.m_n && (clipXY || k >= 4);
        }
        const std::vector<TX_Poly_vert> before(p.m_vert, p.m_vert + p.m_n);
        const int result = TX_Poly::poly_clip_to_box(&p, &box, clipXY);
        if (!anyOut || allOutOfOne) {
            EXPECT_EQ(result, anyOut ? 0 : 2);
            EXPECT_EQ(p.m_n, anyOut ? 0 : int(before.size()));
            continue;
        }
        if (result == 0) continue;
        ASSERT_EQ(result, 1);
        ASSERT_LE(p.m_n, POLY_NMAX);
        seen[crossed.size()]++;
        if (crossed.size() <= 1) {
            ASSERT_EQ(p.m_n, int(before.size()));
            for (int i = 0; i < p.m_n; ++i) EXPECT_EQ(p.m_vert[i].sx, before[i].sx);
        }
        const size_t held = crossed.size() & ~size_t(1);
        for (int i = 0; i < p.m_n; ++i) {
            EXPECT_NEAR(p.m_vert[i].u, linearU(p.m_vert[i]), 1e-9);
            for (size_t j = 0; j < held; ++j) EXPECT_FALSE(outside(p.m_vert[i], crossed[j], 1e-9));
        }
    }
    for (int k = 0; k <= 4; ++k) EXPECT_GT(seen[k], 0) << k << " planes never cut";
}

TEST(PolyDeathTest, TooManyVerticesAbort) {
    TX_Poly p;
    p.m_n = 5;
    p.m_mask = POLY_MASK_SX;
    TX_Poly_box box{0, 1, 0, 1, 0, 1};
    EXPECT_DEATH(TX_Poly::poly_clip_to_box(&p, &box, true), "!\\(p1->m_n\\+6>POLY_NMAX\\)");
    p.m_n = POLY_NMAX + 1;
    EXPECT_DEATH(p.poly_scan(&win, 0, 0, 0, 0), "!\\(m_n>POLY_NMAX\\)");
    EXPECT_DEATH(p.polyAreaScan(&win, 0, 0, 0, 0), "!\\(m_n>POLY_NMAX\\)");
    // No vertices: nothing is called.
    Canvas c{Ring{}};
    c.p.poly_scan(&win, 0, 0, W - 1, H - 1);
    c.p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
    EXPECT_TRUE(c.order.empty());
}

} // namespace
