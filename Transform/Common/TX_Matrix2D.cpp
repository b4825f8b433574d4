#include "Transform/Common/TX_Matrix2D.h"

#include <cmath>
#include <utility>

TX_Point2D TX_Point2D::operator*(const TX_Matrix2D& m) const {
    const double* e = m.m_elem;
    return TX_Point2D(x * e[0] + y * e[3] + e[6], x * e[1] + y * e[4] + e[7]);
}

TX_Point2D& TX_Point2D::operator*=(const TX_Matrix2D& m) {
    *this = *this * m;
    return *this;
}

TX_Matrix2D::TX_Matrix2D() : TX_Matrix2D(1.0, 0.0, 0.0, 1.0, 0.0, 0.0) {}

TX_Matrix2D::TX_Matrix2D(double a, double b, double c, double d, double tx, double ty)
    : m_elem{a, b, 0.0, c, d, 0.0, tx, ty, 1.0} {}

TX_Matrix2D TX_Matrix2D::operator*(const TX_Matrix2D& r) const {
    TX_Matrix2D p;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            double s = 0.0;
            for (int k = 0; k < 3; ++k) s += at(i, k) * r.at(k, j);
            p.at(i, j) = s;
        }
    }
    return p;
}

TX_Matrix2D TX_Matrix2D::scale(double sx, double sy) const {
    return *this * TX_Matrix2D(sx, 0.0, 0.0, sy, 0.0, 0.0);
}

TX_Matrix2D TX_Matrix2D::rotate(double radians) const {
    const double c = std::cos(radians), s = std::sin(radians);
    return *this * TX_Matrix2D(c, -s, s, c, 0.0, 0.0);
}

TX_Matrix2D TX_Matrix2D::shearx(double k) const {
    return *this * TX_Matrix2D(1.0, 0.0, k, 1.0, 0.0, 0.0);
}

TX_Matrix2D TX_Matrix2D::sheary(double k) const {
    return *this * TX_Matrix2D(1.0, k, 0.0, 1.0, 0.0, 0.0);
}

TX_Matrix2D TX_Matrix2D::translate(double tx, double ty) const {
    TX_Matrix2D r = *this;
    r.m_elem[6] += tx;
    r.m_elem[7] += ty;
    r.m_elem[2] = 0.0;
    r.m_elem[5] = 0.0;
    r.m_elem[8] = 1.0;
    return r;
}

TX_Matrix2D TX_Matrix2D::inverse() const {
    TX_Matrix2D a = *this;
    TX_Matrix2D r;
    for (int c = 0; c < 3; ++c) {
        int pivot = c;
        for (int row = c + 1; row < 3; ++row)
            if (std::fabs(a.at(row, c)) > std::fabs(a.at(pivot, c))) pivot = row;
        if (pivot != c) {
            for (int j = 0; j < 3; ++j) {
                std::swap(a.at(c, j), a.at(pivot, j));
                std::swap(r.at(c, j), r.at(pivot, j));
            }
        }
        const double p = a.at(c, c);
        if (p == 0.0) return r; // singular: the half-finished result, unreported
        for (int j = 0; j < 3; ++j) {
            a.at(c, j) /= p;
            r.at(c, j) /= p;
        }
        for (int i = 0; i < 3; ++i) {
            if (i == c) continue;
            const double f = a.at(i, c);
            for (int j = 0; j < 3; ++j) {
                a.at(i, j) -= f * a.at(c, j);
                r.at(i, j) -= f * r.at(c, j);
            }
        }
    }
    return r;
}
