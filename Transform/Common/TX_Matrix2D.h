#pragma once
#include "Transform/Common/TX_Point2D.h"

// Affine 3x3 matrix by rows, [r][c] at 3*r + c, for row vectors: translation at 6 and 7.
// The named transforms return this times their own matrix, so they act after this.
// rotate takes radians and turns the other way from TX_Mtrx44::rotZ.
class TX_Matrix2D {
  public:
    double m_elem[9];

    TX_Matrix2D();
    // Rows (a, b, 0), (c, d, 0), (tx, ty, 1).
    TX_Matrix2D(double a, double b, double c, double d, double tx, double ty);

    double& at(int r, int c) { return m_elem[3 * r + c]; }
    double at(int r, int c) const { return m_elem[3 * r + c]; }

    TX_Matrix2D operator*(const TX_Matrix2D& r) const;
    TX_Matrix2D scale(double sx, double sy) const;
    TX_Matrix2D rotate(double radians) const;
    TX_Matrix2D shearx(double k) const;
    TX_Matrix2D sheary(double k) const;
    // Adds to the translation and forces the third column to (0, 0, 1); not a product.
    TX_Matrix2D translate(double tx, double ty) const;
    TX_Matrix2D translate(const TX_Point2D& p) const { return translate(p.x, p.y); }
    // Gauss-Jordan with partial pivoting; a singular matrix gives the partial result.
    TX_Matrix2D inverse() const;
};
