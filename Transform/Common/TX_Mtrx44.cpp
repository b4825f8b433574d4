#include "Transform/Common/TX_Mtrx44.h"

#include "Transform/Common/TX_Assert.h"
#include "host/Angles.h"

#include <cmath>
#include <cstdio>
#include <cstring>

void TX_Mtrx44::unify() {
    for (int i = 0; i < 16; ++i) m_elem[i] = (i % 5 == 0) ? 1.0 : 0.0;
}

void TX_Mtrx44::multLeft(const TX_Mtrx44& t) {
    // Through a temporary, so that t may be this.
    double r[16];
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            double s = 0.0;
            for (int k = 0; k < 4; ++k) s += t.m_elem[4 * i + k] * m_elem[4 * k + j];
            r[4 * i + j] = s;
        }
    }
    std::memcpy(m_elem, r, sizeof(r));
}

void TX_Mtrx44::scale(double sx, double sy, double sz) {
    TX_Mtrx44 t;
    t.m_elem[0] = sx;
    t.m_elem[5] = sy;
    t.m_elem[10] = sz;
    multLeft(t);
}

void TX_Mtrx44::translate(double tx, double ty, double tz) {
    TX_Mtrx44 t;
    t.m_elem[12] = tx;
    t.m_elem[13] = ty;
    t.m_elem[14] = tz;
    multLeft(t);
}

// A rotation in the plane of axes i and j, turning i towards j, applied on the left.
static void rotateInPlane(TX_Mtrx44& m, int i, int j, double degrees) {
    const double a = degrees * kDegreesToRadians;
    const double c = std::cos(a), s = std::sin(a);
    TX_Mtrx44 t;
    t.at(i, i) = c;
    t.at(i, j) = s;
    t.at(j, i) = -s;
    t.at(j, j) = c;
    m.multLeft(t);
}

void TX_Mtrx44::rotX(double degrees) {
    rotateInPlane(*this, 1, 2, degrees);
}
void TX_Mtrx44::rotY(double degrees) {
    rotateInPlane(*this, 2, 0, degrees);
}
void TX_Mtrx44::rotZ(double degrees) {
    rotateInPlane(*this, 0, 1, degrees);
}

void TX_Mtrx44::inputTransform(double tx, double ty, double sx, double sy, double rotation, double,
                               double, double, double aspect) {
    // A point meets these last to first: centre to the origin, scale, stretch x by the pixel
    // aspect, rotate, take the stretch back, offset (in percent), centre back.
    translate(0.5, 0.5, -0.0);
    translate(0.01 * tx, 0.01 * ty, 0.0);
    scale(1.0 / aspect, 1.0, 1.0);
    rotZ(rotation);
    scale(aspect, 1.0, 1.0);
    scale(sx, sy, 1.0);
    translate(-0.5, -0.5, 0.0);
}

void TX_Mtrx44::perspective(double fovDegrees, double aspect, double zNear, double zFar) {
    TX_ASSERT(zNear != 0.0, "zNear != 0.0");
    TX_ASSERT((zFar - zNear) != 0.0, "(zFar - zNear) != 0.0");
    // Scaled by 1/n against the usual form, and the aspect multiplies y: the divide by w gives
    // the same, and callers rely on these values.
    const double t = std::tan(fovDegrees * kHalfDegreesToRadians);
    const double n = zNear, f = zFar;
    TX_Mtrx44 p;
    p.at(0, 0) = 1.0 / (t * n);
    p.at(1, 1) = (1.0 / (t * n)) * aspect;
    p.at(2, 2) = (-f / (f - n)) * (1.0 / n);
    p.at(2, 3) = -1.0 / n;
    p.at(3, 2) = -f / (f - n);
    p.at(3, 3) = 0.0;
    multLeft(p);
}

void TX_Mtrx44::frameCamera(double zNear) {
    perspective(40.0, 1.0, zNear, 10000.0);
    const float distance = float(1.0 / (2.0 * std::tan(kCameraHalfAngle)));
    translate(0.0, 0.0, -double(distance));
}

void TX_Mtrx44::perspectiveInverse(double fovDegrees, double aspect, double zNear, double zFar) {
    TX_ASSERT(zNear != 0.0, "zNear != 0.0");
    TX_ASSERT((zFar - zNear) != 0.0, "(zFar - zNear) != 0.0");
    // The tangent in single precision, unlike perspective.
    const double t = std::tan(float(fovDegrees * kHalfDegreesToRadians));
    const double n = zNear, f = zFar;
    TX_Mtrx44 p;
    p.at(0, 0) = t * n;
    p.at(1, 1) = (t * n) / aspect;
    p.at(2, 2) = 0.0;
    p.at(2, 3) = -(f - n) / f;
    p.at(3, 2) = -n;
    p.at(3, 3) = 1.0;
    multLeft(p);
}

int TX_Mtrx44::square2Quad(const double* quad) {
    const double x0 = quad[0], y0 = quad[1], x1 = quad[2], y1 = quad[3];
    const double x2 = quad[4], y2 = quad[5], x3 = quad[6], y3 = quad[7];
    const double dx1 = x1 - x3, dx2 = x2 - x3, dy1 = y1 - y3, dy2 = y2 - y3;
    const double px = x0 - x1 + x3 - x2, py = y0 - y1 + y3 - y2;
    const double det = dx1 * dy2 - dx2 * dy1;
    // A singular quad degrades to the affine map through corners 0, 1 and 2.
    const double r = (det == 0.0) ? 0.0 : 1.0 / det;
    const double g = (px * dy2 - dx2 * py) * r;
    const double h = (py * dx1 - px * dy1) * r;

    TX_Mtrx44 s;
    s.at(0, 0) = x1 - x0 + x1 * g;
    s.at(0, 1) = y1 - y0 + y1 * g;
    s.at(0, 2) = 0.0;
    s.at(0, 3) = g;
    s.at(1, 0) = x2 - x0 + x2 * h;
    s.at(1, 1) = y2 - y0 + y2 * h;
    s.at(1, 2) = 0.0;
    s.at(1, 3) = h;
    for (int c = 0; c < 4; ++c) s.at(2, c) = 0.0;
    s.at(3, 0) = x0;
    s.at(3, 1) = y0;
    s.at(3, 2) = 0.0;
    s.at(3, 3) = 1.0;
    multLeft(s);
    return 1;
}

TX_Mtrx44 TX_Mtrx44::square2QuadInverse(bool replace) {
    // Adjugate of the 3x3 of rows and columns 0, 1, 3; the determinant cancels in the divide by w.
    const double* m = m_elem;
    TX_Mtrx44 r;
    for (int i = 0; i < 16; ++i) r.m_elem[i] = 0.0;
    r.m_elem[0] = m[5] * m[15] - m[7] * m[13];
    r.m_elem[1] = m[3] * m[13] - m[1] * m[15];
    r.m_elem[3] = m[1] * m[7] - m[3] * m[5];
    r.m_elem[4] = m[7] * m[12] - m[4] * m[15];
    r.m_elem[5] = m[0] * m[15] - m[3] * m[12];
    r.m_elem[7] = m[3] * m[4] - m[0] * m[7];
    r.m_elem[12] = m[4] * m[13] - m[5] * m[12];
    r.m_elem[13] = m[1] * m[12] - m[0] * m[13];
    r.m_elem[15] = m[0] * m[5] - m[1] * m[4];
    if (replace) std::memcpy(m_elem, r.m_elem, sizeof(m_elem));
    return r;
}

int TX_Mtrx44::quad2Square(const double* quad) {
    TX_Mtrx44 q;
    q.square2Quad(quad);
    q.square2QuadInverse(true);
    multLeft(q);
    return 1;
}

int TX_Mtrx44::quad2Quad(const double* srcQuad, const double* dstQuad, bool useInputTransform,
                         double tx, double ty, double sx, double sy, double rotation, double a6,
                         double a7, double a8, double aspect) {
    // Source quad to unit square, input transform, unit square to destination quad, then this.
    TX_Mtrx44 q;
    q.square2Quad(dstQuad);
    if (useInputTransform) {
        TX_Mtrx44 in;
        in.inputTransform(tx, ty, sx, sy, rotation, a6, a7, a8, aspect);
        q.multLeft(in);
    }
    q.quad2Square(srcQuad);
    multLeft(q);
    return 1;
}

void TX_Mtrx44::transform(double x, double y, double z, double w, double* ox, double* oy,
                          double* oz, double* ow) const {
    const double* m = m_elem;
    *ox = x * m[0] + y * m[4] + z * m[8] + w * m[12];
    *oy = x * m[1] + y * m[5] + z * m[9] + w * m[13];
    *oz = x * m[2] + y * m[6] + z * m[10] + w * m[14];
    *ow = x * m[3] + y * m[7] + z * m[11] + w * m[15];
}

void TX_Mtrx44::print() const {
    std::printf("Matrix = \n");
    for (int r = 0; r < 4; ++r)
        std::printf("\t%f %f %f %f \n", at(r, 0), at(r, 1), at(r, 2), at(r, 3));
}
