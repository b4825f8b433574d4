#include "Transform/Common/TX_Poly.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kUnit[8] = {0, 0, 1, 0, 0, 1, 1, 1}; // crossing order: corners 0,1,3,2 form the ring

// Maps (x, y) through m and divides by w.
TX_Point2D project(const TX_Mtrx44& m, double x, double y) {
    double ox, oy, oz, ow;
    m.transform(x, y, 0.0, 1.0, &ox, &oy, &oz, &ow);
    return TX_Point2D(ox / ow, oy / ow);
}

// A convex quad in crossing order, away from degeneracy.
void randomQuad(std::mt19937& rng, double* q) {
    std::uniform_real_distribution<double> jitter(-0.2, 0.2), scale(50.0, 500.0), off(-300, 300);
    const double s = scale(rng), ox = off(rng), oy = off(rng);
    for (int i = 0; i < 8; ++i) q[i] = (i % 2 ? oy : ox) + s * (kUnit[i] + jitter(rng));
}

TEST(Mtrx44, QuadMappingsHitEveryCornerAfterTheDivide) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 500; ++trial) {
        double src[8], dst[8];
        randomQuad(rng, src);
        randomQuad(rng, dst);
        TX_Mtrx44 toQuad, toSquare, q2q;
        toQuad.square2Quad(dst);
        toSquare.quad2Square(src);
        ASSERT_EQ(q2q.quad2Quad(src, dst, false, 0, 0, 0, 0, 0, 0, 0, 0, 0), 1);
        for (int i = 0; i < 8; i += 2) {
            TX_Point2D a = project(toQuad, kUnit[i], kUnit[i + 1]);
            TX_Point2D b = project(toSquare, src[i], src[i + 1]);
            TX_Point2D c = project(q2q, src[i], src[i + 1]);
            EXPECT_NEAR(a.x, dst[i], 1e-4);
            EXPECT_NEAR(a.y, dst[i + 1], 1e-4);
            EXPECT_NEAR(b.x, kUnit[i], 1e-9);
            EXPECT_NEAR(b.y, kUnit[i + 1], 1e-9);
            EXPECT_NEAR(c.x, dst[i], 1e-4) << trial << " corner " << i / 2;
            EXPECT_NEAR(c.y, dst[i + 1], 1e-4) << trial << " corner " << i / 2;
        }
    }
}

TEST(Mtrx44, CollinearCornersGiveTheAffineMapThroughTheFirstThree) {
    const double quad[8] = {0, 0, 2, 0, 0, 2, 1, 1}; // corners 1, 2, 3 on x + y = 2
    TX_Mtrx44 m;
    m.square2Quad(quad);
    EXPECT_EQ(m.at(0, 3), 0.0);
    EXPECT_EQ(m.at(1, 3), 0.0);
    EXPECT_DOUBLE_EQ(project(m, 1, 0).x, 2);
    EXPECT_DOUBLE_EQ(project(m, 0, 1).y, 2);
    EXPECT_NE(project(m, 1, 1).x, 1); // corner 3 is no longer reached
}

TEST(Mtrx44, InputTransformTurnsAboutTheCentreAndOffsetsInPercent) {
    TX_Mtrx44 turn, moved;
    turn.quad2Quad(kUnit, kUnit, true, 0, 0, 1, 1, 90, kNaN, kNaN, kNaN, 1);
    EXPECT_NEAR(project(turn, 0, 0).x, 1, 1e-12);
    EXPECT_NEAR(project(turn, 0, 0).y, 0, 1e-12);
    EXPECT_NEAR(project(turn, 0.5, 0.5).x, 0.5, 1e-12);
    moved.quad2Quad(kUnit, kUnit, true, 50, -25, 2, 1, 0, 0, 0, 0, 1);
    TX_Point2D b = project(moved, 1, 1);
    EXPECT_NEAR(b.x, 1.5 + 0.5, 1e-12); // scaled about the centre, then half a square right
    EXPECT_NEAR(b.y, 1 - 0.25, 1e-12);
}

TEST(Mtrx44, InversesUndoTheirMatrices) {
    TX_Mtrx44 m;
    m.perspective(40, 1.5, 2, 900);
    m.perspectiveInverse(40, 1.5, 2, 900);
    const double pts[3][3] = {{0.3, -0.2, -5}, {10, 4, -100}, {-1, 2, -3}};
    for (const auto& v : pts) {
        double x, y, z, w;
        m.transform(v[0], v[1], v[2], 1.0, &x, &y, &z, &w);
        EXPECT_NEAR(x / w, v[0], 1e-5 * std::fabs(v[0]));
        EXPECT_NEAR(y / w, v[1], 1e-5 * std::fabs(v[1]));
    }
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> d(-10, 10);
    for (int trial = 0; trial < 200; ++trial) {
        TX_Matrix2D a(d(rng), d(rng), d(rng), d(rng), d(rng), d(rng));
        TX_Matrix2D p = a * a.inverse();
        for (int i = 0; i < 9; ++i) EXPECT_NEAR(p.m_elem[i], (i % 4 == 0) ? 1 : 0, 1e-9);
    }
}

TEST(Planar, LinesAndRectangles) {
    TX_Line2D l(0, 0, 3, 4, false), trusted(0, 0, 3, 4, true), tiny(1, 1, 1, 1 + 1e-7, false);
    const TX_Line2D n = l.normalized();
    for (TX_Line2D* line : {&l, &trusted, &tiny}) line->normalize();
    EXPECT_TRUE(n == l);
    EXPECT_DOUBLE_EQ(l.dy, 0.8);
    EXPECT_EQ(trusted.dx, 3);
    EXPECT_EQ(tiny.dx, 1); // too short to turn: the x axis
    EXPECT_NEAR(TX_Line2D(5, 1, 15, 1, false).distance(-40, -1), 2, 1e-12);
    EXPECT_TRUE(std::isnan(TX_Line2D(1, 1, 1, 1, false).distance(0, 0)));
    TX_Line2D q = TX_Line2D(1, 0, 4, 4, false).perpendicular(); // end (4,4) turned is (-4,4)
    EXPECT_EQ(q.dx, -5);
    EXPECT_EQ(q.dy, 4);
    EXPECT_EQ((TX_FRect(0, 0, 4, 4) * TX_FRect(2, -1, 9, 3)).bottom, 3);
    EXPECT_FALSE((TX_FRect(0, 0, 4, 4) * TX_FRect(5, 0, 9, 4)).getDefined());
}

TEST(GeometryDeathTest, AssertionsStayOn) {
    TX_Mtrx44 m;
    EXPECT_DEATH(m.perspective(40, 1, 0.0, 10), "zNear != 0.0");
    EXPECT_DEATH(m.perspective(40, 1, 5, 5), "\\(zFar - zNear\\) != 0.0");
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 0.0, 10), "zNear != 0.0");
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 5, 5), "\\(zFar - zNear\\) != 0.0");
    m.perspective(40, 1, 1, kNaN); // a NaN depth passes
    EXPECT_DEATH(TX_Lerp(2, 0, 2, 1), "m_a != 0");
}

} // namespace
