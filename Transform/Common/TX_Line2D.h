#pragma once
#include "Transform/Common/TX_Point2D.h"

class TX_Matrix2D;

// A line as origin and direction. m_normalized says the direction has length 1; it is trusted,
// not checked.
class TX_Line2D {
  public:
    double x;
    double y;
    double dx;
    double dy;
    bool m_normalized;

    TX_Line2D() : x(0.0), y(0.0), dx(1.0), dy(0.0), m_normalized(true) {}
    TX_Line2D(double x1, double y1, double x2, double y2, bool normalized)
        : x(x1), y(y1), dx(x2 - x1), dy(y2 - y1), m_normalized(normalized) {}
    TX_Line2D(const TX_Point2D& p1, const TX_Point2D& p2, bool normalized)
        : TX_Line2D(p1.x, p1.y, p2.x, p2.y, normalized) {}

    double length() const;
    double angle() const;
    // Unsigned distance of a point from the infinite line; NaN for a zero direction.
    double distance(double px, double py) const;
    TX_Point2D point(double t) const { return TX_Point2D(x + t * dx, y + t * dy); }
    TX_Point2D center() const { return TX_Point2D(x + 0.5 * dx, y + 0.5 * dy); }
    void translate(double tx, double ty) {
        x += tx;
        y += ty;
    }
    TX_Line2D translated(double tx, double ty) const;
    // Leaves the line where it is (the matrix is not applied); only the flag is cleared.
    TX_Line2D operator*(const TX_Matrix2D&) const;
    // The end point turned a quarter about (0, 0), minus the origin: (-dy, dx) only for lines
    // through the origin.
    TX_Line2D perpendicular() const;
    void normalize();
    TX_Line2D normalized() const;
    bool operator==(const TX_Line2D& o) const;
};
