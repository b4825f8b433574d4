#pragma once

class TX_Matrix2D;

// A point of the plane; a row vector for TX_Matrix2D.
class TX_Point2D {
  public:
    double x;
    double y;

    TX_Point2D() : x(0.0), y(0.0) {}
    TX_Point2D(double px, double py) : x(px), y(py) {}

    // (x, y, 1) times the matrix, without a divide: the third column plays no part.
    TX_Point2D operator*(const TX_Matrix2D& m) const;
    TX_Point2D& operator*=(const TX_Matrix2D& m);
    TX_Point2D operator-() const { return TX_Point2D(-x, -y); }
};
