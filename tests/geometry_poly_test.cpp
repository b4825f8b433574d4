#include "Transform/Common/TX_Poly.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

const int W = 320, H = 240;

// A float raster the call-backs accumulate into, with a visit count per pixel and a log of calls.
// u and v are loaded with the screen position, so every pixel can check the values it is handed.
struct Canvas {
    std::vector<float> value = std::vector<float>(W * H, 0.0f);
    std::vector<int> visits = std::vector<int>(W * H, 0);
    std::vector<LineRenderStruct> edges, lines; // every span as it arrived
    std::vector<char> order;                    // 'e' or 'l' per call
    double worstUV = 0.0;

    unsigned char* base() { return reinterpret_cast<unsigned char*>(value.data()); }
    float& at(int x, int y) { return value[y * W + x]; }

    void paint(LineRenderStruct* s, int first, const float* coverage) {
        for (int k = 0; k < s->count; ++k) {
            const long idx =
                (reinterpret_cast<float*>(s->dest) - value.data()) + first + k; // row start + x
            const int x = int(idx % W), y = int(idx / W);
            value[idx] += coverage ? coverage[k] : 1.0f;
            visits[idx]++;
            worstUV = std::max(worstUV, std::fabs(s->u / s->q - (x + 0.5)));
            worstUV = std::max(worstUV, std::fabs(s->v / s->q - (y + 0.5)));
            s->u += s->du;
            s->v += s->dv;
            s->q += s->dq;
        }
    }
    static int line(void* self, LineRenderStruct* s) {
        auto* c = static_cast<Canvas*>(self);
        c->lines.push_back(*s);
        c->order.push_back('l');
        c->paint(s, s->leftCount, nullptr);
        return 0;
    }
    static int edge(void* self, LineRenderStruct* s) {
        auto* c = static_cast<Canvas*>(self);
        c->edges.push_back(*s);
        c->order.push_back('e');
        c->paint(s, 0, s->coverage);
        return 0;
    }
};

// A polygon in screen space, already divided: u / q and v / q follow the screen position.
void load(TX_Poly& p, Canvas& c, const std::vector<TX_Point2D>& ring) {
    p.m_n = int(ring.size());
    p.m_mask = POLY_MASK_SX | POLY_MASK_SY | POLY_MASK_SZ | POLY_MASK_U | POLY_MASK_V | POLY_MASK_Q;
    for (int i = 0; i < p.m_n; ++i) {
        const double q = 0.5;
        p.m_vert[i] = TX_Poly_vert{ring[i].x,     ring[i].y,     0, 1, 0, 0, 0,
                                   ring[i].x * q, ring[i].y * q, q, 0, 0, 0};
    }
    p.m_pixels = c.base();
    p.m_rowBytes = W * sizeof(float);
    p.m_pixelBytes = sizeof(float);
    p.m_rowOrigin = 0;
    p.m_lineFunction = Canvas::line;
    p.m_edgeFunction = Canvas::edge;
    p.m_userData = &c;
}

// Convex quad: four points in angular order on an ellipse, either winding.
std::vector<TX_Point2D> randomQuad(std::mt19937& rng) {
    std::uniform_real_distribution<double> cx(60, W - 60), cy(60, H - 60), rad(12, 55),
        step(0.45, 1.5), any(0, 6.3);
    std::vector<TX_Point2D> ring;
    double a = any(rng);
    const double x = cx(rng), y = cy(rng), rx = rad(rng), ry = rad(rng);
    for (int i = 0; i < 4; ++i, a += step(rng))
        ring.emplace_back(x + rx * std::cos(a), y + ry * std::sin(a));
    if (rng() & 1) std::swap(ring[1], ring[3]);
    return ring;
}

// Signed distance of p inside every edge (positive inside) for a ring of either winding; far
// points only report that they are well outside.
double insideBy(const std::vector<TX_Point2D>& ring, double px, double py) {
    double x0 = 1e300, x1 = -1e300, y0 = 1e300, y1 = -1e300;
    for (const TX_Point2D& v : ring) {
        x0 = std::min(x0, v.x), x1 = std::max(x1, v.x), y0 = std::min(y0, v.y),
        y1 = std::max(y1, v.y);
    }
    if (px < x0 - 2 || px > x1 + 2 || py < y0 - 2 || py > y1 + 2) return -2.0;
    double area2 = 0, worst = 1e300;
    for (size_t i = 0; i < ring.size(); ++i) {
        const TX_Point2D &a = ring[i], &b = ring[(i + 1) % ring.size()];
        area2 += a.x * b.y - b.x * a.y;
    }
    for (size_t i = 0; i < ring.size(); ++i) {
        const TX_Point2D &a = ring[i], &b = ring[(i + 1) % ring.size()];
        double d = ((b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x)) /
                   std::hypot(b.x - a.x, b.y - a.y);
        worst = std::min(worst, area2 > 0 ? d : -d);
    }
    return worst;
}

double area(const std::vector<TX_Point2D>& ring) {
    double a2 = 0;
    for (size_t i = 0; i < ring.size(); ++i) {
        const TX_Point2D &a = ring[i], &b = ring[(i + 1) % ring.size()];
        a2 += a.x * b.y - b.x * a.y;
    }
    return std::fabs(a2) / 2;
}

// Area of the ring between rows y and y + 1, by clipping it to the strip.
double stripArea(const std::vector<TX_Point2D>& ring, int y) {
    std::vector<TX_Point2D> poly = ring;
    for (int side = 0; side < 2; ++side) {
        const double edge = y + side, sign = side ? -1 : 1; // keep sign * (py - edge) >= 0
        std::vector<TX_Point2D> out;
        for (size_t i = 0; i < poly.size(); ++i) {
            const TX_Point2D &a = poly[i], &b = poly[(i + 1) % poly.size()];
            const double da = sign * (a.y - edge), db = sign * (b.y - edge);
            if (da >= 0) out.push_back(a);
            if ((da >= 0) != (db >= 0)) {
                const double t = da / (da - db);
                out.emplace_back(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t);
            }
        }
        poly = out;
    }
    return poly.size() < 3 ? 0.0 : area(poly);
}

TX_Window fullWindow() {
    return TX_Window{0, 0, W - 1, H - 1};
}

TEST(PolyScan, VisitsExactlyThePixelsWhoseCentresAreInside) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 150; ++trial) {
        std::vector<TX_Point2D> ring = randomQuad(rng);
        if (trial % 10 == 0) ring = {{30.2, 20.0}, {90.7, 20.0}, {60.3, 77.6}}; // flat top
        Canvas c;
        TX_Poly p;
        load(p, c, ring);
        TX_Window win = fullWindow();
        p.poly_scan(&win, 0, 0, W - 1, H - 1);
        for (int y = 0; y < H; ++y) {
            for (int x = 0; x < W; ++x) {
                const double in = insideBy(ring, x + 0.5, y + 0.5);
                if (std::fabs(in) < 1e-9) continue;
                ASSERT_EQ(c.visits[y * W + x], in > 0 ? 1 : 0) << trial << " at " << x << "," << y;
            }
        }
        EXPECT_LT(c.worstUV, 1e-6);
        for (const auto& s : c.lines) EXPECT_EQ(s.leftCount + s.count + s.rightCount, W);
    }
}

TEST(PolyAreaScan, CoverageSumsToTheAreaAndIsExactInsideAndOutside) {
    std::mt19937 rng(5);
    for (int trial = 0; trial < 150; ++trial) {
        const std::vector<TX_Point2D> ring = randomQuad(rng);
        Canvas c;
        TX_Poly p;
        load(p, c, ring);
        if (trial & 1) p.setOpenMP();
        TX_Window win = fullWindow();
        p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
        double ymin = 1e9, ymax = -1e9, tol = 0, kept = 0, keptExact = 0;
        for (size_t i = 0; i < ring.size(); ++i) {
            ymin = std::min(ymin, ring[i].y);
            ymax = std::max(ymax, ring[i].y);
            // Sub-rows are sampled at their top: an edge can be off by up to a sixteenth of a row
            // over its horizontal run, but the two sides' errors mostly cancel; a quarter of that
            // is allowed, plus the rounding to 1/512 of every sub-row.
            tol += std::fabs(ring[(i + 1) % ring.size()].x - ring[i].x) / 64;
        }
        tol += (ymax - ymin) / 64 + 0.01;
        for (int y = 0; y < H; ++y) {
            double row = 0;
            for (int x = 0; x < W; ++x) {
                const float v = c.at(x, y);
                ASSERT_LE(c.visits[y * W + x], 1);
                ASSERT_LE(v, 1.0f);
                row += v;
                const double in = insideBy(ring, x + 0.5, y + 0.5);
                if (in > 0.75) {
                    ASSERT_FLOAT_EQ(v, 1.0f) << trial << " at " << x << "," << y;
                } else if (in < -0.75) {
                    ASSERT_EQ(v, 0.0f) << trial << " at " << x << "," << y;
                }
            }
            const double exact = stripArea(ring, y);
            if (row == 0.0 && exact > 0.0) {
                // A row whose sub-spans share no x is dropped whole; on a fat convex quad that
                // happens only where a shallow edge meets the top or bottom vertex.
                EXPECT_TRUE(y <= std::floor(ymin) + 1 || y >= std::floor(ymax) - 1)
                    << trial << " row " << y;
                continue;
            }
            kept += row;
            keptExact += exact;
        }
        EXPECT_NEAR(kept, keptExact, tol) << trial;
        EXPECT_LT(c.worstUV, 1e-6);
    }
}

TEST(PolyAreaScan, SquareRowsGiveEdgeInteriorEdgeAndPartialRowsOneSpan) {
    Canvas c;
    TX_Poly p;
    load(p, c, {{10, 10.5}, {20, 10.5}, {20, 20}, {10, 20}});
    TX_Window win = fullWindow();
    p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
    ASSERT_EQ(c.order.size(), 30u);
    // Row 10 has only its lower eight sub-rows: one edge span of pixels 10 to 20.
    EXPECT_EQ(c.edges[0].count, 11);
    EXPECT_EQ(c.lines[0].count, 0);
    EXPECT_EQ(c.edges[1].count, 0);
    EXPECT_FLOAT_EQ(c.at(10, 10), 0.5f);
    EXPECT_FLOAT_EQ(c.at(19, 10), 0.5f);
    EXPECT_FLOAT_EQ(c.at(20, 10), 8.0f / 8192);
    // Full rows: pixel 10 whole, interior 11 to 19, and pixel 20 touched by the closed end.
    for (int y = 11; y < 20; ++y) {
        EXPECT_EQ(c.edges[2 * (y - 10)].count, 1);
        EXPECT_EQ(c.lines[y - 10].count, 9);
        EXPECT_EQ(c.edges[2 * (y - 10) + 1].count, 1);
        EXPECT_FLOAT_EQ(c.at(10, y), 1.0f);
        EXPECT_FLOAT_EQ(c.at(20, y), 0.001953125f);
    }
    EXPECT_EQ(c.at(15, 20), 0.0f);
}

TEST(PolyAreaScan, DeferredInteriorsRunAfterTheWalkWithTheSameResult) {
    std::mt19937 rng(9);
    for (int trial = 0; trial < 20; ++trial) {
        const std::vector<TX_Point2D> ring = randomQuad(rng);
        Canvas direct, deferred;
        TX_Poly a, b;
        load(a, direct, ring);
        load(b, deferred, ring);
        b.setOpenMP();
        TX_Window win = fullWindow();
        a.polyAreaScan(&win, 0, 0, W - 1, H - 1);
        b.polyAreaScan(&win, 0, 0, W - 1, H - 1);
        EXPECT_EQ(direct.value, deferred.value);
        const std::string order(deferred.order.begin(), deferred.order.end());
        EXPECT_EQ(order.find_last_of('e'), deferred.edges.size() - 1) << order;
        EXPECT_EQ(b.m_deferred, nullptr);
    }
}

TEST(PolyAreaScan, LeftEdgeSpanIsNotCutAtTheWindowsRightBound) {
    Canvas c;
    TX_Poly p;
    load(p, c, {{10, 0}, {40, 0}, {43, 1}, {13, 1}});
    TX_Window win{0, 0, 11, H - 1};
    p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
    ASSERT_EQ(c.order.size(), 3u);
    EXPECT_EQ(c.edges[0].count, 3);
    EXPECT_EQ(c.lines[0].count, 0);
    EXPECT_EQ(c.edges[1].count, -1); // read as no pixels
}

TEST(PolyClip, EvenCutsLandInsideAndAnOddLastCutIsLeftOut) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<double> xy(-150, 450), z(-0.6, 1.6), w(0.5, 2.0);
    TX_Poly_box box{0, W, 0, H, 0, 1};
    int seen[7] = {};
    for (int trial = 0; trial < 2000; ++trial) {
        TX_Poly p;
        p.m_n = 3 + trial % 2;
        p.m_mask = POLY_MASK_SX | POLY_MASK_SY | POLY_MASK_SZ | POLY_MASK_SW | POLY_MASK_U;
        for (int i = 0; i < p.m_n; ++i) {
            const double ww = w(rng);
            TX_Poly_vert& v = p.m_vert[i];
            v = TX_Poly_vert{
                xy(rng) * ww, xy(rng) * ww, z(rng) * ww, ww, 0, 0, 0, 0, 0, 0, 0, 0, 0};
            v.u = 0.3 * v.sx - 0.2 * v.sy + 5 * v.sw; // stays linear through every cut
        }
        const bool clipXY = trial % 3 != 0;
        // Planes the polygon crosses, in clipping order, as the vertices fall; x and y are left
        // alone (though still counted) without clipXY.
        std::vector<int> crossed;
        bool anyOut = false, allOutOfOne = false;
        for (int plane = 0; plane < 6; ++plane) {
            int out = 0;
            for (int i = 0; i < p.m_n; ++i) {
                const TX_Poly_vert& v = p.m_vert[i];
                const double f = v.fields()[plane / 2];
                const double k = (&box.x0)[plane];
                out += (plane % 2 == 0) ? (v.sw * k > f) : (f > v.sw * k);
            }
            anyOut |= out != 0;
            if (out && (clipXY || plane >= 4)) crossed.push_back(plane);
            allOutOfOne |= out == p.m_n && (clipXY || plane >= 4);
        }
        TX_Poly before;
        before.m_n = p.m_n;
        std::copy(p.m_vert, p.m_vert + p.m_n, before.m_vert);
        const int result = TX_Poly::poly_clip_to_box(&p, &box, clipXY);
        if (!anyOut) {
            EXPECT_EQ(result, 2);
            continue;
        }
        if (allOutOfOne) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(p.m_n, 0);
            continue;
        }
        if (result == 0) continue;
        ASSERT_EQ(result, 1);
        ASSERT_LE(p.m_n, POLY_NMAX);
        const size_t held = crossed.size() % 2 ? crossed.size() - 1 : crossed.size();
        seen[crossed.size()]++;
        if (crossed.size() <= 1) {
            ASSERT_EQ(p.m_n, before.m_n);
            for (int i = 0; i < p.m_n; ++i) EXPECT_EQ(p.m_vert[i].sx, before.m_vert[i].sx);
        }
        for (int i = 0; i < p.m_n; ++i) {
            const TX_Poly_vert& v = p.m_vert[i];
            EXPECT_NEAR(v.u, 0.3 * v.sx - 0.2 * v.sy + 5 * v.sw, 1e-9);
            for (size_t j = 0; j < held; ++j) {
                const int plane = crossed[j];
                const double f = v.fields()[plane / 2], k = (&box.x0)[plane] * v.sw;
                if (plane % 2 == 0)
                    EXPECT_GE(f, k - 1e-9) << trial;
                else
                    EXPECT_LE(f, k + 1e-9) << trial;
            }
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
    TX_Window win = fullWindow();
    p.m_n = POLY_NMAX + 1;
    EXPECT_DEATH(p.poly_scan(&win, 0, 0, 0, 0), "!\\(m_n>POLY_NMAX\\)");
    EXPECT_DEATH(p.polyAreaScan(&win, 0, 0, 0, 0), "!\\(m_n>POLY_NMAX\\)");
    // No vertices: nothing is called.
    Canvas c;
    load(p, c, {});
    p.poly_scan(&win, 0, 0, W - 1, H - 1);
    p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
    EXPECT_TRUE(c.order.empty());
}

} // namespace
