#include "RenderLib/TransformRecords.h"
#include "Transform/Common/TX_Poly.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Maps (x, y) through m and divides by w.
TX_Point2D project(const TX_Mtrx44& m, double x, double y) {
    double ox, oy, oz, ow;
    m.transform(x, y, 0.0, 1.0, &ox, &oy, &oz, &ow);
    return TX_Point2D(ox / ow, oy / ow);
}

// A convex quad in crossing order (corners 0,1,3,2 form the ring), away from degeneracy.
void randomQuad(std::mt19937& rng, double* q) {
    std::uniform_real_distribution<double> jitter(-0.2, 0.2), scale(50.0, 500.0), off(-300, 300);
    const double s = scale(rng), ox = off(rng), oy = off(rng);
    const double ux[4] = {0, 1, 0, 1}, uy[4] = {0, 0, 1, 1};
    for (int i = 0; i < 4; ++i) {
        q[2 * i] = ox + s * (ux[i] + jitter(rng));
        q[2 * i + 1] = oy + s * (uy[i] + jitter(rng));
    }
}

TEST(Mtrx44, LastCallActsFirst) {
    TX_Mtrx44 m;
    m.translate(1, 2, 3);
    m.scale(2, 2, 2);
    double x, y, z, w;
    m.transform(1, 1, 1, 1, &x, &y, &z, &w);
    EXPECT_EQ(x, 3);
    EXPECT_EQ(y, 4);
    EXPECT_EQ(z, 5);
    EXPECT_EQ(w, 1);
}

TEST(Mtrx44, UnitSquareLosesZ) {
    const double unit[8] = {0, 0, 1, 0, 0, 1, 1, 1};
    TX_Mtrx44 m;
    m.square2Quad(unit);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(m.m_elem[i], (i == 0 || i == 5 || i == 15) ? 1 : 0);
}

TEST(Mtrx44, QuadMappingsHitEveryCornerAfterTheDivide) {
    std::mt19937 rng(7);
    const double ux[4] = {0, 1, 0, 1}, uy[4] = {0, 0, 1, 1};
    for (int trial = 0; trial < 500; ++trial) {
        double src[8], dst[8];
        randomQuad(rng, src);
        randomQuad(rng, dst);
        TX_Mtrx44 toQuad, toSquare, q2q;
        toQuad.square2Quad(dst);
        toSquare.quad2Square(src);
        ASSERT_EQ(q2q.quad2Quad(src, dst, false, 0, 0, 0, 0, 0, 0, 0, 0, 0), 1);
        for (int i = 0; i < 4; ++i) {
            const double tol = 1e-4;
            TX_Point2D a = project(toQuad, ux[i], uy[i]);
            EXPECT_NEAR(a.x, dst[2 * i], tol);
            EXPECT_NEAR(a.y, dst[2 * i + 1], tol);
            TX_Point2D b = project(toSquare, src[2 * i], src[2 * i + 1]);
            EXPECT_NEAR(b.x, ux[i], 1e-9);
            EXPECT_NEAR(b.y, uy[i], 1e-9);
            TX_Point2D c = project(q2q, src[2 * i], src[2 * i + 1]);
            EXPECT_NEAR(c.x, dst[2 * i], tol) << trial << " corner " << i;
            EXPECT_NEAR(c.y, dst[2 * i + 1], tol) << trial << " corner " << i;
        }
    }
}

TEST(Mtrx44, CollinearCornersGiveTheAffineMapThroughTheFirstThree) {
    // Corners 1, 2, 3 on the line x + y = 2: det is 0.
    const double quad[8] = {0, 0, 2, 0, 0, 2, 1, 1};
    TX_Mtrx44 m;
    m.square2Quad(quad);
    EXPECT_EQ(m.at(0, 3), 0.0);
    EXPECT_EQ(m.at(1, 3), 0.0);
    TX_Point2D c1 = project(m, 1, 0), c2 = project(m, 0, 1), c3 = project(m, 1, 1);
    EXPECT_DOUBLE_EQ(c1.x, 2);
    EXPECT_DOUBLE_EQ(c2.y, 2);
    EXPECT_NE(c3.x, 1); // corner 3 is no longer reached
}

TEST(Mtrx44, InputTransformTurnsAboutTheCentreAndOffsetsInPercent) {
    const double unit[8] = {0, 0, 1, 0, 0, 1, 1, 1};
    TX_Mtrx44 turn, moved;
    turn.quad2Quad(unit, unit, true, 0, 0, 1, 1, 90, kNaN, kNaN, kNaN, 1);
    TX_Point2D a = project(turn, 0, 0), centre = project(turn, 0.5, 0.5);
    EXPECT_NEAR(a.x, 1, 1e-12);
    EXPECT_NEAR(a.y, 0, 1e-12);
    EXPECT_NEAR(centre.x, 0.5, 1e-12);
    moved.quad2Quad(unit, unit, true, 50, -25, 2, 1, 0, 0, 0, 0, 1);
    TX_Point2D b = project(moved, 1, 1);
    EXPECT_NEAR(b.x, 1.5 + 0.5, 1e-12); // scaled about the centre, then half a square right
    EXPECT_NEAR(b.y, 1 - 0.25, 1e-12);
    // Without the flag the nine values are not read.
    TX_Mtrx44 plain, ignored;
    plain.quad2Quad(unit, unit, false, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    ignored.quad2Quad(unit, unit, false, 50, 50, 3, 3, 45, 0, 0, 0, 0);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(plain.m_elem[i], ignored.m_elem[i]);
}

TEST(Mtrx44, PerspectiveAndItsInverseCancelAfterTheDivide) {
    TX_Mtrx44 m;
    m.perspective(40, 1.5, 2, 900);
    m.perspectiveInverse(40, 1.5, 2, 900);
    const double p[3][3] = {{0.3, -0.2, -5}, {10, 4, -100}, {-1, 2, -3}};
    for (const auto& v : p) {
        double x, y, z, w;
        m.transform(v[0], v[1], v[2], 1.0, &x, &y, &z, &w);
        EXPECT_NEAR(x / w, v[0], 1e-5 * std::fabs(v[0]) + 1e-9);
        EXPECT_NEAR(y / w, v[1], 1e-5 * std::fabs(v[1]) + 1e-9);
    }
}

TEST(Mtrx44DeathTest, PerspectiveRefusesAZeroNearOrDepth) {
    TX_Mtrx44 m;
    EXPECT_DEATH(m.perspective(40, 1, 0.0, 10), "zNear != 0.0");
    EXPECT_DEATH(m.perspective(40, 1, 5, 5), "\\(zFar - zNear\\) != 0.0");
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 0.0, 10), "zNear != 0.0");
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 5, 5), "\\(zFar - zNear\\) != 0.0");
    m.perspective(40, 1, 1, kNaN); // a NaN depth passes
}

TEST(Matrix2D, InverseUndoesRandomMatrices) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> d(-10, 10);
    for (int trial = 0; trial < 200; ++trial) {
        TX_Matrix2D m(d(rng), d(rng), d(rng), d(rng), d(rng), d(rng));
        TX_Matrix2D p = m * m.inverse();
        for (int i = 0; i < 9; ++i) EXPECT_NEAR(p.m_elem[i], (i % 4 == 0) ? 1 : 0, 1e-9);
    }
}

TEST(Matrix2D, TransformsActAfterThisAndRotateAgainstRotZ) {
    TX_Point2D p = TX_Point2D(1, 1) * TX_Matrix2D().scale(2, 3).translate(1, -1);
    EXPECT_EQ(p.x, 3);
    EXPECT_EQ(p.y, 2);
    TX_Point2D r = TX_Point2D(1, 0) * TX_Matrix2D().rotate(M_PI / 2);
    TX_Mtrx44 z;
    z.rotZ(90);
    TX_Point2D rz = project(z, 1, 0);
    EXPECT_NEAR(r.y, -1, 1e-12);
    EXPECT_NEAR(rz.y, 1, 1e-12);
    TX_Point2D s = TX_Point2D(1, 2) * TX_Matrix2D().shearx(3).sheary(0.5);
    EXPECT_EQ(s.x, 7);
    EXPECT_EQ(s.y, 5.5);
}

TEST(Line2D, NormalizeDistanceAndPerpendicular) {
    TX_Line2D l(0, 0, 3, 4, false);
    TX_Line2D n = l.normalized();
    l.normalize();
    EXPECT_DOUBLE_EQ(l.dx, 0.6);
    EXPECT_DOUBLE_EQ(l.dy, 0.8);
    EXPECT_TRUE(n == l);
    TX_Line2D trusted(0, 0, 3, 4, true);
    trusted.normalize();
    EXPECT_EQ(trusted.dx, 3);
    TX_Line2D tiny(1, 1, 1, 1 + 1e-7, false);
    tiny.normalize();
    EXPECT_EQ(tiny.dx, 1);
    EXPECT_EQ(tiny.dy, 0);

    TX_Line2D h(5, 1, 15, 1, false);
    EXPECT_NEAR(h.distance(7, 1), 0, 1e-12);
    EXPECT_NEAR(h.distance(7, 3), 2, 1e-12);
    EXPECT_NEAR(h.distance(-40, -1), 2, 1e-12);
    EXPECT_TRUE(std::isnan(TX_Line2D(1, 1, 1, 1, false).distance(0, 0)));

    TX_Line2D p = TX_Line2D(0, 0, 3, 4, false).perpendicular();
    EXPECT_EQ(p.dx, -4);
    EXPECT_EQ(p.dy, 3);
    TX_Line2D q = TX_Line2D(1, 0, 4, 4, false).perpendicular(); // end (4,4) turned is (-4,4)
    EXPECT_EQ(q.dx, -5);
    EXPECT_EQ(q.dy, 4);
}

TEST(Planar, RectanglesAndTolerances) {
    EXPECT_FALSE(TX_FRect(10, 10, 0, 0).getDefined());
    EXPECT_TRUE(TX_FRect(5, 5, 5, 5).getDefined());
    EXPECT_FALSE((TX_FRect(0, 0, 4, 4) * TX_FRect(5, 0, 9, 4)).getDefined());
    TX_FRect i = TX_FRect(0, 0, 4, 4) * TX_FRect(2, -1, 9, 3);
    EXPECT_EQ(i.left, 2);
    EXPECT_EQ(i.bottom, 3);
    // At exactly 1e-5 both tests hold; with a NaN neither.
    EXPECT_EQ(MACRO_NEARLY_EQUAL(1e-5, 0.0), 1.0);
    EXPECT_EQ(MACRO_NOT_NEARLY_EQUAL(1e-5, 0.0), 1.0);
    EXPECT_EQ(MACRO_NEARLY_EQUAL(kNaN, 0.0), 0.0);
    EXPECT_EQ(MACRO_NOT_NEARLY_EQUAL(kNaN, 0.0), 0.0);
    TX_Lerp lerp(2, 1, 4, 5);
    EXPECT_EQ(lerp(3), 3);
}

TEST(PlanarDeathTest, LerpThroughOneColumnAborts) {
    EXPECT_DEATH(TX_Lerp(2, 0, 2, 1), "m_a != 0");
}

TEST(TransformRecords, Defaults) {
    CoreRenderArguments a;
    initializeCoreRenderArguments(&a);
    EXPECT_EQ(a.transformType, 1);
    EXPECT_EQ(a.filter, 1);
    EXPECT_EQ(a.kernelScale, 1.0);
    EXPECT_EQ(a.scale, 1.0);
    EXPECT_EQ(a.centerX, 0.5);
    EXPECT_EQ(a.centerY, 0.5);
    const double unit[4][2] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(a.destQuad[i][0], unit[i][0]);
        EXPECT_EQ(a.srcQuad[i][1], unit[i][1]);
    }
    RenderSettings s;
    EXPECT_EQ(s.srcRight, -1);
    EXPECT_EQ(s.srcBottom, -1);
    EXPECT_EQ(s.dstRect.right, -1);
    EXPECT_EQ(s.corners[2].x, 0.0);
}

} // namespace
