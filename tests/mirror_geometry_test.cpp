#include "RenderLib/TransformRecords.h"
#include "effect/MirrorGeometry.h"
#include "params/RenderArguments.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

using Quad = std::array<std::array<double, 2>, 4>;
struct Quads {
    Quad dest, src;
};

// The two quads of a 640 x 480 frame, in pixels; light 1 is "Backlit".
Quads quads(MirrorHandles h, int light = 1, double zoom = 1.0, double translateX = 0.5) {
    MemoryImage input(RF_RGBA8, 640, 480), output(RF_RGBA8, 640, 480);
    MemoryHost host(&input, &output);
    RenderArguments args;
    args.zoom = zoom, args.translateX = translateX, args.translateY = 0.5, args.light = light;
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

void expectQuad(Quad const& got, Quad const& want, std::string const& what, double tol = 1e-3) {
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 2; ++k)
            EXPECT_NEAR(got[i][k], want[i][k], tol) << what << " corner " << i << " axis " << k;
}

MirrorHandles const kLevel{0.25, 0.75, 0.75, 0.75, 0.5, 1.0};
Quad const kLevelDest{{{-0.5, 838.25}, {-0.5, 359.25}, {639.5, 838.25}, {639.5, 359.25}}};
Quad const kLevelSrc{{{-0.5, -120.75}, {-0.5, 359.25}, {639.5, -120.75}, {639.5, 359.25}}};

void expectQuads(char const* what, MirrorHandles h, int light, double zoom, double translateX,
                 Quad const& dest, Quad const& src) {
    Quads const q = quads(h, light, zoom, translateX);
    expectQuad(q.dest, dest, std::string(what) + " dest");
    expectQuad(q.src, src, std::string(what) + " src");
}

TEST(MirrorGeometry, QuadsOfTheHandlesLightZoomAndTranslation) {
    expectQuads("level", kLevel, 1, 1, 0.5, kLevelDest, kLevelSrc);
    expectQuads("swapped ends", {0.75, 0.75, 0.25, 0.75, 0.5, 1.0}, 1, 1, 0.5, kLevelDest,
                kLevelSrc);
    expectQuads("frontlit", kLevel, 0, 1, 0.5, kLevelDest,
                {{{-0.5, 839.25}, {-0.5, 359.25}, {639.5, 839.25}, {639.5, 359.25}}});
    expectQuads("slant shears", {0.25, 0.75, 0.75, 0.75, 0.75, 1.0}, 1, 1, 0.5,
                {{{638.5, 838.25}, {-0.5, 359.25}, {1278.5, 838.25}, {639.5, 359.25}}}, kLevelSrc);
    expectQuads("handle above", {0.25, 0.25, 0.75, 0.25, 0.5, 0.0}, 1, 1, 0.5,
                {{{-0.5, -359.25}, {-0.5, 119.75}, {639.5, -359.25}, {639.5, 119.75}}},
                {{{-0.5, 599.75}, {-0.5, 119.75}, {639.5, 599.75}, {639.5, 119.75}}});
    expectQuads("vertical, handle right", {0.5, 0.25, 0.5, 0.75, 0.75, 0.5}, 1, 1, 0.5,
                {{{958.5, -80.5}, {319.5, -80.5}, {958.5, 559.5}, {319.5, 559.5}}},
                {{{-160.5, -80.5}, {319.5, -80.5}, {-160.5, 559.5}, {319.5, 559.5}}});
    expectQuads("vertical, handle left", {0.5, 0.25, 0.5, 0.75, 0.25, 0.5}, 1, 1, 0.5,
                {{{-319.5, -80.5}, {319.5, -80.5}, {-319.5, 559.5}, {319.5, 559.5}}},
                {{{799.5, -80.5}, {319.5, -80.5}, {799.5, 559.5}, {319.5, 559.5}}});
    // Zoom and translation move only the destination.
    expectQuads("zoom", kLevel, 1, 0.5, 0.5,
                {{{159.5, 598.75}, {159.5, 359.25}, {479.5, 598.75}, {479.5, 359.25}}}, kLevelSrc);
    expectQuads("translate", kLevel, 1, 1, 0.6,
                {{{63.5, 838.25}, {63.5, 359.25}, {703.5, 838.25}, {703.5, 359.25}}}, kLevelSrc);
}

TEST(MirrorGeometry, DegenerateHandles) {
    // A baseline without length lies flat, two pixels long through its point.
    Quads const point = quads({0.5, 0.75, 0.5, 0.75, 0.5, 1.0});
    Quads const flat = quads({(319.5 - 1) / 639, 0.75, (319.5 + 1) / 639, 0.75, 0.5, 1.0});
    expectQuad(point.dest, flat.dest, "zero-length dest");
    expectQuad(point.src, flat.src, "zero-length src");
    // The handle on the midpoint: the far corners fall onto the near ones.
    Quad const d = quads({0.25, 0.75, 0.75, 0.75, 0.5, 0.75}).dest;
    expectQuad(d, {d[1], d[1], d[3], d[3]}, "handle on the baseline", 1e-6);
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
