#include "RenderLib/TransformRecords.h"
#include "effect/MirrorGeometry.h"
#include "params/RenderArguments.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

using Quad = std::array<std::array<double, 2>, 4>;

// The two quads of a 640 x 480 frame, in pixels.
struct Quads {
    Quad dest, src;
};

struct GeometryFrame {
    MemoryImage input{RF_RGBA8, 640, 480}, output{RF_RGBA8, 640, 480};
    MemoryHost host{&input, &output};
    RenderArguments args;
    GeometryFrame() {
        args.zoom = 1.0;
        args.translateX = args.translateY = 0.5;
        args.light = 1; // "Backlit"
    }
    Quads quads(MirrorHandles h) {
        CoreRenderArguments core;
        initializeCoreRenderArguments(&core);
        loadMirrorQuads(&host, h, args, 640, 480, core);
        Quads q;
        for (int i = 0; i < 4; ++i) {
            q.dest[i] = {core.destQuad[i][0] * 639, core.destQuad[i][1] * 479};
            q.src[i] = {core.srcQuad[i][0] * 639, core.srcQuad[i][1] * 479};
        }
        return q;
    }
};

void expectQuad(Quad const& got, Quad const& want, char const* what) {
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(got[i][0], want[i][0], 1e-3) << what << " corner " << i << " x";
        EXPECT_NEAR(got[i][1], want[i][1], 1e-3) << what << " corner " << i << " y";
    }
}

MirrorHandles const kLevel{0.25, 0.75, 0.75, 0.75, 0.5, 1.0};
Quad const kLevelDest{{{-0.5, 838.25}, {-0.5, 359.25}, {639.5, 838.25}, {639.5, 359.25}}};

TEST(MirrorGeometry, LevelBaselineBothLightsAndSwappedEnds) {
    GeometryFrame f;
    Quads q = f.quads(kLevel);
    expectQuad(q.dest, kLevelDest, "backlit dest");
    expectQuad(q.src, {{{-0.5, -120.75}, {-0.5, 359.25}, {639.5, -120.75}, {639.5, 359.25}}},
               "backlit src");

    MirrorHandles swapped{0.75, 0.75, 0.25, 0.75, 0.5, 1.0};
    Quads s = f.quads(swapped);
    expectQuad(s.dest, q.dest, "swapped dest");
    expectQuad(s.src, q.src, "swapped src");

    f.args.light = 0; // "Frontlit"
    q = f.quads(kLevel);
    expectQuad(q.dest, kLevelDest, "frontlit dest");
    expectQuad(q.src, {{{-0.5, 839.25}, {-0.5, 359.25}, {639.5, 839.25}, {639.5, 359.25}}},
               "frontlit src");
}

TEST(MirrorGeometry, SlantShearsAndHandleSidePicksDirection) {
    GeometryFrame f;
    Quads q = f.quads({0.25, 0.75, 0.75, 0.75, 0.75, 1.0});
    expectQuad(q.dest, {{{638.5, 838.25}, {-0.5, 359.25}, {1278.5, 838.25}, {639.5, 359.25}}},
               "sheared dest");
    expectQuad(q.src, {{{-0.5, -120.75}, {-0.5, 359.25}, {639.5, -120.75}, {639.5, 359.25}}},
               "sheared src");

    q = f.quads({0.25, 0.25, 0.75, 0.25, 0.5, 0.0});
    expectQuad(q.dest, {{{-0.5, -359.25}, {-0.5, 119.75}, {639.5, -359.25}, {639.5, 119.75}}},
               "handle above dest");
    expectQuad(q.src, {{{-0.5, 599.75}, {-0.5, 119.75}, {639.5, 599.75}, {639.5, 119.75}}},
               "handle above src");
}

TEST(MirrorGeometry, VerticalBaseline) {
    GeometryFrame f;
    Quads q = f.quads({0.5, 0.25, 0.5, 0.75, 0.75, 0.5});
    expectQuad(q.dest, {{{958.5, -80.5}, {319.5, -80.5}, {958.5, 559.5}, {319.5, 559.5}}},
               "right dest");
    expectQuad(q.src, {{{-160.5, -80.5}, {319.5, -80.5}, {-160.5, 559.5}, {319.5, 559.5}}},
               "right src");
    q = f.quads({0.5, 0.25, 0.5, 0.75, 0.25, 0.5});
    expectQuad(q.dest, {{{-319.5, -80.5}, {319.5, -80.5}, {-319.5, 559.5}, {319.5, 559.5}}},
               "left dest");
    expectQuad(q.src, {{{799.5, -80.5}, {319.5, -80.5}, {799.5, 559.5}, {319.5, 559.5}}},
               "left src");
}

TEST(MirrorGeometry, ZoomAndTranslateMoveOnlyTheDestination) {
    GeometryFrame f;
    Quads const base = f.quads(kLevel);
    f.args.zoom = 0.5;
    Quads q = f.quads(kLevel);
    expectQuad(q.dest, {{{159.5, 598.75}, {159.5, 359.25}, {479.5, 598.75}, {479.5, 359.25}}},
               "zoom dest");
    expectQuad(q.src, base.src, "zoom src");

    f.args.zoom = 1.0;
    f.args.translateX = 0.6;
    q = f.quads(kLevel);
    Quad shifted = base.dest;
    for (auto& c : shifted) c[0] += 64;
    expectQuad(q.dest, shifted, "translate dest");
    expectQuad(q.src, base.src, "translate src");
}

TEST(MirrorGeometry, DegenerateHandles) {
    GeometryFrame f;
    // A baseline without length lies flat, two pixels long through its point.
    double const x = 0.5, y = 0.75;
    Quads point = f.quads({x, y, x, y, 0.5, 1.0});
    Quads flat = f.quads({(x * 639 - 1) / 639, y, (x * 639 + 1) / 639, y, 0.5, 1.0});
    expectQuad(point.dest, flat.dest, "zero-length dest");
    expectQuad(point.src, flat.src, "zero-length src");

    // The handle on the midpoint: the far corners fall onto the near ones.
    Quads q = f.quads({0.25, 0.75, 0.75, 0.75, 0.5, 0.75});
    EXPECT_NEAR(q.dest[0][0], q.dest[1][0], 1e-6);
    EXPECT_NEAR(q.dest[0][1], q.dest[1][1], 1e-6);
    EXPECT_NEAR(q.dest[2][0], q.dest[3][0], 1e-6);
    EXPECT_NEAR(q.dest[2][1], q.dest[3][1], 1e-6);
}

TEST(MirrorGeometry, BendPassesSplitTheQuad) {
    // Far edge at y 0, baseline at y 100; the bend line half way, turned a quarter.
    auto bend = [](int pass, double start, double angle, double stretch) {
        Quad q{{{0, 0}, {0, 100}, {100, 0}, {100, 100}}};
        EXPECT_EQ(bendPoints(q[0][0], q[0][1], q[1][0], q[1][1], q[2][0], q[2][1], q[3][0], q[3][1],
                             start, angle, stretch, 101, 101, pass),
                  0);
        return q;
    };
    expectQuad(bend(0, 50, 90, 2), {{{0, 0}, {0, 100}, {100, 0}, {100, 100}}}, "pass 0");
    expectQuad(bend(1, 50, 90, 1), {{{-50, 50}, {50, 50}, {50, 50}, {150, 50}}}, "pass 1");
    expectQuad(bend(1, 50, 90, 2), {{{-100, 50}, {100, 50}, {0, 50}, {200, 50}}}, "stretch 2");
    expectQuad(bend(2, 50, 90, 1), {{{0, 49.99}, {0, 100}, {100, 49.99}, {100, 100}}}, "pass 2");
    expectQuad(bend(3, 50, 90, 1), {{{-50, 50}, {0, 50}, {50, 50}, {100, 50}}}, "pass 3");
    // The bend line runs from the far edge (0) to the baseline (100).
    expectQuad(bend(3, 100, 0, 1), {{{0, 0}, {0, 100}, {100, 0}, {100, 100}}}, "start 100");
    expectQuad(bend(2, 0, 0, 1), {{{0, -0.01}, {0, 100}, {100, -0.01}, {100, 100}}}, "start 0");
}

} // namespace
