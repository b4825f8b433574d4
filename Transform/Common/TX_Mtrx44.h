#pragma once

// The 4x4 homogeneous matrix of every projective mapping. Stored by rows: [r][c] at 4*r + c.
// Points are row vectors (p * M): translation in the last row, projective terms in the last
// column. Accumulating operations multiply on the left, so the last call acts first on a point.
// Angles are degrees. Quads are eight doubles x0,y0..x3,y3 in crossing order: corner 0 is the unit
// square's (0,0), 1 is (1,0), 2 is (0,1), 3 is (1,1).
class TX_Mtrx44 {
  public:
    double m_elem[16];

    TX_Mtrx44() { unify(); }

    double& at(int r, int c) { return m_elem[4 * r + c]; }
    double at(int r, int c) const { return m_elem[4 * r + c]; }

    void unify();
    void multLeft(const TX_Mtrx44& t);
    void scale(double sx, double sy, double sz);
    void translate(double tx, double ty, double tz);
    void rotX(double degrees);
    void rotY(double degrees);
    void rotZ(double degrees);
    void inputTransform(double tx, double ty, double sx, double sy, double rotation, double, double,
                        double, double aspect);
    void perspective(double fovDegrees, double aspect, double zNear, double zFar);
    void perspectiveInverse(double fovDegrees, double aspect, double zNear, double zFar);
    // A camera of 40 degrees at the distance where the unit square fills the frame; the callers
    // differ in the rounding of the near plane.
    void frameCamera(double zNear);
    int square2Quad(const double* quad);
    TX_Mtrx44 square2QuadInverse(bool replace);
    int quad2Square(const double* quad);
    int quad2Quad(const double* srcQuad, const double* dstQuad, bool useInputTransform, double tx,
                  double ty, double sx, double sy, double rotation, double a6, double a7, double a8,
                  double aspect);
    void transform(double x, double y, double z, double w, double* ox, double* oy, double* oz,
                   double* ow) const;
    void print() const;
};
