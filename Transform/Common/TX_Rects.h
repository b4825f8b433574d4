#pragma once
#include <cstdint>

// Rectangles as left, top, right, bottom.
class TX_FRect {
  public:
    double left;
    double top;
    double right;
    double bottom;

    TX_FRect() : left(0.0), top(0.0), right(0.0), bottom(0.0) {}
    TX_FRect(double l, double t, double r, double b) : left(l), top(t), right(r), bottom(b) {}

    // A zero-size rectangle counts as defined.
    bool getDefined() const { return !(left > right) && !(top > bottom); }
    void scale(double sx, double sy) {
        left *= sx;
        right *= sx;
        top *= sy;
        bottom *= sy;
    }
    // Intersection; an empty one simply fails getDefined.
    TX_FRect operator*(const TX_FRect& o) const {
        return TX_FRect(left > o.left ? left : o.left, top > o.top ? top : o.top,
                        right < o.right ? right : o.right, bottom < o.bottom ? bottom : o.bottom);
    }
};

// Integer rectangle; the default 0, 0, -1, -1 is empty.
class TX_IRect {
  public:
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;

    TX_IRect() : left(0), top(0), right(-1), bottom(-1) {}
    TX_IRect(int32_t l, int32_t t, int32_t r, int32_t b) : left(l), top(t), right(r), bottom(b) {}
};
