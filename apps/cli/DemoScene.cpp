#include "apps/cli/DemoScene.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

using Colour = std::array<double, 3>;

Colour mix(Colour a, Colour b, double t) {
    t = std::clamp(t, 0.0, 1.0);
    return {a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t, a[2] + (b[2] - a[2]) * t};
}

Colour scale(Colour a, double k) {
    return {a[0] * k, a[1] * k, a[2] * k};
}

// The scene at one point (x across, y down, both in units of the height); `aspect` is
// width / height and `f` the floor line.
Colour shade(double x, double y, double aspect, double f) {
    // Sky and ground.
    Colour c = y < f ? mix(Colour{0.06, 0.08, 0.22}, Colour{0.98, 0.56, 0.32}, std::pow(y / f, 1.6))
                     : mix(Colour{0.16, 0.10, 0.14}, Colour{0.05, 0.04, 0.08}, (y - f) / (1 - f));

    // The sun, with a glow.
    double sx = aspect * 0.72, sy = f * 0.52, sr = 0.085;
    double sd = std::hypot(x - sx, y - sy);
    if (y < f) c = mix(c, Colour{1.0, 0.8, 0.45}, 0.35 * std::exp(-std::pow(sd / (3 * sr), 2)));
    if (sd < sr) c = Colour{1.0, 0.92, 0.62};

    // Two ranges of hills behind the shapes.
    double far = f - 0.16 - 0.05 * std::sin(x * 5.1 + 0.7) - 0.03 * std::sin(x * 11.3);
    if (y > far && y < f)
        c = mix(Colour{0.42, 0.24, 0.36}, Colour{0.30, 0.17, 0.28}, (y - far) / 0.2);
    double near = f - 0.07 - 0.04 * std::sin(x * 3.3 + 2.0) - 0.015 * std::sin(x * 17.0);
    if (y > near && y < f) c = Colour{0.20, 0.12, 0.20};

    // A shaded sphere resting on the floor.
    double bx = aspect * 0.24, br = 0.15, by = f - br;
    double dx = (x - bx) / br, dy = (y - by) / br;
    if (dx * dx + dy * dy < 1.0) {
        double dz = std::sqrt(1.0 - dx * dx - dy * dy);
        double light = std::max(0.0, -0.45 * dx - 0.55 * dy + 0.70 * dz);
        double spec = std::pow(std::max(0.0, -0.35 * dx - 0.45 * dy + 0.82 * dz), 40);
        c = mix(scale(Colour{0.85, 0.12, 0.18}, 0.18 + 0.9 * light), Colour{1, 1, 1}, spec);
    }

    // A box, lit from the left.
    double x0 = aspect * 0.44, x1 = aspect * 0.58, top = f - 0.26;
    if (x >= x0 && x <= x1 && y >= top && y <= f)
        c = x < x0 + (x1 - x0) * 0.35 ? Colour{0.20, 0.55, 0.85} : Colour{0.10, 0.30, 0.55};

    // A pyramid.
    double px = aspect * 0.84, half = 0.13, peak = f - 0.30;
    double t = (y - peak) / (f - peak);
    if (t >= 0 && t <= 1 && std::fabs(x - px) <= half * t)
        c = x < px ? Colour{0.98, 0.80, 0.20} : Colour{0.75, 0.52, 0.08};
    return c;
}

} // namespace

Picture demoScene(int width, int height, double floorY) {
    Picture p(width, height, 8);
    double aspect = double(width) / height;
    constexpr int kSub = 4; // samples a side, for smooth edges
    for (int row = 0; row < height; ++row)
        for (int col = 0; col < width; ++col) {
            Colour sum{0, 0, 0};
            for (int j = 0; j < kSub; ++j)
                for (int i = 0; i < kSub; ++i) {
                    double x = (col + (i + 0.5) / kSub) / height;
                    double y = (row + (j + 0.5) / kSub) / height;
                    Colour s = shade(x, y, aspect, floorY);
                    for (int k = 0; k < 3; ++k) sum[k] += s[k];
                }
            size_t idx = size_t(row) * size_t(width) + size_t(col);
            for (int k = 0; k < 3; ++k) p.setChannel(idx, k, sum[k] / (kSub * kSub));
            p.setChannel(idx, 3, 1.0);
        }
    return p;
}
