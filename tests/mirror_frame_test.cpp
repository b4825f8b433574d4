#include "effect/Render.h"
#include "params/ParamIds.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <stdexcept>

namespace {

using Rgba = std::array<double, 4>; // straight or premultiplied, 0 to 1

bool argbOrder(PluginRasterFormat f) {
    return f == RF_ARGB8 || f == RF_ARGB16 || f == RF_ARGB32;
}

// Logical channel i (r, g, b, a) of a pixel, scaled to 0..1, whatever the format.
Rgba read(MemoryImage& im, int x, int y) {
    int const order[4] = {1, 2, 3, 0};
    Rgba out{};
    for (int i = 0; i < 4; ++i) {
        int const ch = argbOrder(im.info.format) ? order[i] : i;
        switch (im.info.pixelBytes) {
        case 4:
            out[i] = im.pixel<unsigned char>(x, y)[ch] / 255.0;
            break;
        case 8:
            out[i] = im.pixel<unsigned short>(x, y)[ch] / 65535.0;
            break;
        default:
            out[i] = im.pixel<float>(x, y)[ch];
            break;
        }
    }
    return out;
}

void write(MemoryImage& im, int x, int y, Rgba v) {
    int const order[4] = {1, 2, 3, 0};
    for (int i = 0; i < 4; ++i) {
        int const ch = argbOrder(im.info.format) ? order[i] : i;
        switch (im.info.pixelBytes) {
        case 4:
            im.pixel<unsigned char>(x, y)[ch] = (unsigned char)(v[i] * 255.0 + 0.5);
            break;
        case 8:
            im.pixel<unsigned short>(x, y)[ch] = (unsigned short)(v[i] * 65535.0 + 0.5);
            break;
        default:
            im.pixel<float>(x, y)[ch] = float(v[i]);
            break;
        }
    }
}

// The source: red grows down the rows, green across the columns, opaque.
Rgba sourceAt(double x, double y) {
    return {0.1 + 0.016 * y, 0.1 + 0.012 * x, 0.5, 1.0};
}

constexpr int kW = 64, kH = 48;
constexpr double kBaseline = 0.75 * (kH - 1); // default "Baseline Start" and "Baseline End"

struct Frame {
    MemoryImage input, output;
    MemoryHost host;
    explicit Frame(PluginRasterFormat format = RF_RGBA8)
        : input(format, kW, kH, MemoryImage::Rows::Padded),
          output(format, kW, kH, MemoryImage::Rows::BottomUp), host(&input, &output) {
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) write(input, x, y, sourceAt(x, y));
        output.fillBytes(7);
    }
    int render() {
        int status = Render(&host);
        EXPECT_EQ(host.liveBlocks, 0);
        EXPECT_EQ(host.lockBalance, 0);
        return status;
    }
    void set(ParamId id, ParameterStore::Value v) { host.params.setConstant(id, v); }
};

double straight(Rgba const& p, int i) {
    return p[3] > 0 ? p[i] / p[3] : 0.0;
}

TEST(MirrorFrame, NoneShowsTheReflectionAloneBelowTheBaseline) {
    Frame f;
    f.set(kTransferMode, {0});
    ASSERT_EQ(f.render(), 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 2; x < kW - 2; ++x) {
            Rgba o = read(f.output, x, y);
            if (y < kBaseline - 1) {
                EXPECT_EQ(o[3], 0.0) << x << "," << y;
            } else if (y > kBaseline + 1) {
                // The source plane is a frame tall, the mirror a frame less one row.
                double const k = y - kBaseline;
                Rgba want = sourceAt(x, kBaseline - k * kH / (kH - 1));
                ASSERT_GT(o[3], 0.2) << y;
                EXPECT_NEAR(straight(o, 0), want[0], 0.02) << x << "," << y;
                EXPECT_NEAR(straight(o, 1), want[1], 0.02) << x << "," << y;
            }
        }
}

TEST(MirrorFrame, BacklitComposesTheReflectionOverTheSource) {
    Frame none, normal;
    none.set(kTransferMode, {0});
    ASSERT_EQ(none.render(), 0);
    ASSERT_EQ(normal.render(), 0); // "Based on Light" under "Backlit": normal
    for (int y = 0; y < kH; ++y)
        for (int x = 2; x < kW - 2; ++x) {
            Rgba const m = read(none.output, x, y), s = read(normal.input, x, y);
            Rgba const o = read(normal.output, x, y);
            for (int i = 0; i < 3; ++i) // the mirror, premultiplied, over the opaque source
                EXPECT_NEAR(o[i], m[i] + s[i] * (1 - m[3]), 0.015) << x << "," << y << " " << i;
            EXPECT_NEAR(o[3], 1.0, 0.005);
        }
}

TEST(MirrorFrame, FrontlitTakesTheHandleSideUnflippedAndGoesBehind) {
    Frame none, based;
    none.set(kLight, {0});
    none.set(kTransferMode, {0});
    based.set(kLight, {0});
    ASSERT_EQ(none.render(), 0);
    ASSERT_EQ(based.render(), 0);
    for (int y = int(kBaseline) + 2; y < kH - 1; ++y)
        for (int x = 2; x < kW - 2; ++x) {
            double const k = y - kBaseline;
            Rgba want = sourceAt(x, kBaseline + k * kH / (kH - 1));
            Rgba o = read(none.output, x, y);
            EXPECT_NEAR(straight(o, 0), want[0], 0.02) << x << "," << y;
        }
    // Behind an opaque source the reflection does not show.
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int i = 0; i < 4; ++i)
                EXPECT_NEAR(read(based.output, x, y)[i], read(based.input, x, y)[i], 1.5 / 255);
}

TEST(MirrorFrame, Opacities) {
    Frame full, half;
    full.set(kTransferMode, {0});
    half.set(kTransferMode, {0});
    half.set(kMirrelOpacity, {50.0});
    ASSERT_EQ(full.render(), 0);
    ASSERT_EQ(half.render(), 0);
    for (int x = 0; x < kW; ++x) {
        int const a = int(std::lround(read(full.output, x, kH - 3)[3] * 255));
        EXPECT_EQ(std::lround(read(half.output, x, kH - 3)[3] * 255), (a * 127 + 128) >> 8);
    }

    // Without the source only the reflection is left; without the reflection only the source.
    Frame noSource, noMirror;
    noSource.set(kSourceOpacity, {0.0});
    noMirror.set(kMirrelOpacity, {0.0});
    ASSERT_EQ(noSource.render(), 0);
    ASSERT_EQ(noMirror.render(), 0);
    for (int x = 0; x < kW; ++x) {
        EXPECT_EQ(read(noSource.output, x, 10)[3], 0.0);
        EXPECT_GT(read(noSource.output, x, kH - 3)[3], 0.3);
        for (int y : {10, kH - 3})
            EXPECT_NEAR(read(noMirror.output, x, y)[0], read(noMirror.input, x, y)[0], 1.5 / 255);
    }
}

TEST(MirrorFrame, MotionBlurSampleTimes) {
    struct Case {
        double angle, phase, samples;
        std::vector<double> frames;
    } const cases[] = {
        {180, 0, 8, {10.0, 10.06, 10.12, 10.18, 10.25, 10.31, 10.37, 10.43}},
        {360, 0, 1.5, {10.0, 10.5}},
        {360, -180, 2, {9.5, 10.0}},
        {360, 0, 1.4, {}}, // one sample: nothing is read again
        {0, 0, 8, {}},
    };
    for (auto const& c : cases) {
        Frame f;
        f.host.frame = 10;
        f.set(kMotionBlur, {1});
        f.set(kShutterAngle, {c.angle});
        f.set(kShutterPhase, {c.phase});
        f.set(kSamples, {c.samples});
        ASSERT_EQ(f.render(), 0);
        ASSERT_EQ(f.host.readFrames.size(), 15 * c.frames.size()) << c.samples;
        for (std::size_t i = 0; i < f.host.readFrames.size(); ++i)
            EXPECT_NEAR(f.host.readFrames[i], c.frames[i / 15], 1e-9) << c.samples << " " << i;
    }
    Frame off;
    off.set(kSamples, {8.0});
    ASSERT_EQ(off.render(), 0);
    EXPECT_TRUE(off.host.readFrames.empty());
}

TEST(MirrorFrame, MotionBlurAveragesTheSamples) {
    auto animate = [](Frame& f) {
        f.set(kTransferMode, {0});
        f.host.params.setKey(kBaselineStart, 10, {0.25, 0.70, 0});
        f.host.params.setKey(kBaselineStart, 11, {0.25, 0.80, 0});
        f.host.params.setKey(kBaselineEnd, 10, {0.75, 0.70, 0});
        f.host.params.setKey(kBaselineEnd, 11, {0.75, 0.80, 0});
    };
    Frame blurred(RF_RGBA32), at0(RF_RGBA32), at1(RF_RGBA32);
    for (Frame* f : {&blurred, &at0, &at1}) animate(*f);
    blurred.host.frame = 10;
    blurred.set(kMotionBlur, {1});
    blurred.set(kShutterAngle, {360.0});
    blurred.set(kSamples, {2.0});
    at0.host.frame = 10;
    at1.host.frame = 10.5;
    for (Frame* f : {&blurred, &at0, &at1}) ASSERT_EQ(f->render(), 0);
    int differing = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            Rgba const a = read(at0.output, x, y), b = read(at1.output, x, y);
            Rgba const m = read(blurred.output, x, y);
            for (int i = 0; i < 4; ++i) EXPECT_NEAR(m[i], (a[i] + b[i]) / 2, 1e-4);
            differing += std::fabs(a[3] - b[3]) > 0.1;
        }
    EXPECT_GT(differing, kW); // the two samples really differ

    // A moving zoom leaves no blur: the quads take the frame's zoom.
    Frame zooming, still;
    zooming.host.params.setKey(kZoom, 0, {0.5, 0, 0});
    zooming.host.params.setKey(kZoom, 20, {1.5, 0, 0});
    zooming.host.frame = 10;
    zooming.set(kMotionBlur, {1});
    still.set(kZoom, {1.0});
    ASSERT_EQ(zooming.render(), 0);
    ASSERT_EQ(still.render(), 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int i = 0; i < 4; ++i)
                EXPECT_NEAR(read(zooming.output, x, y)[i], read(still.output, x, y)[i], 1.0 / 255);
}

// A short mirror hanging up from a baseline near the bottom, "Frontlit" so that its source lies
// inside the frame: near edge at row 46.06, far edge at row 27.26, bend line at row 36.66.
void shortMirror(Frame& f, bool bend, double angle) {
    f.set(kTransferMode, {0});
    f.set(kLight, {0});
    f.set(kBaselineStart, {0.25, 0.98, 0});
    f.set(kBaselineEnd, {0.75, 0.98, 0});
    f.set(kHeightSlant, {0.5, 0.88, 0});
    f.set(kBend, {bend ? 1.0 : 0.0});
    f.set(kBendAngle, {angle / 57.29577951308232});
    f.set(kFadeStart, {100.0}); // no fade and no seam: the passes alone
    f.set(kSeamSize, {0});
}

TEST(MirrorFrame, BendKeepsTheNearPartAndTurnsTheFarPart) {
    Frame flat, folded, straightFold;
    shortMirror(flat, false, 0);
    shortMirror(folded, true, 90); // the far part turns edge-on and vanishes
    shortMirror(straightFold, true, 0);
    for (Frame* f : {&flat, &folded, &straightFold}) ASSERT_EQ(f->render(), 0);
    for (int x = 4; x < kW - 4; ++x) {
        for (int y = 38; y <= 44; ++y)
            for (int i = 0; i < 4; ++i)
                EXPECT_NEAR(read(folded.output, x, y)[i], read(flat.output, x, y)[i], 2.0 / 255)
                    << x << "," << y;
        for (int y = 29; y <= 35; ++y) {
            EXPECT_GT(read(flat.output, x, y)[3], 0.5);
            EXPECT_EQ(read(folded.output, x, y)[3], 0.0) << x << "," << y;
            EXPECT_NEAR(straight(read(straightFold.output, x, y), 0),
                        straight(read(flat.output, x, y), 0), 0.02)
                << x << "," << y;
        }
    }
}

TEST(MirrorFrame, ChannelOrderDoesNotChangeThePicture) {
    std::pair<PluginRasterFormat, PluginRasterFormat> const pairs[] = {
        {RF_ARGB8, RF_RGBA8}, {RF_ARGB16, RF_RGBA16}, {RF_ARGB32, RF_RGBA32}};
    for (auto [first, second] : pairs) {
        Frame a(first), b(second);
        a.set(kBend, {1.0});
        b.set(kBend, {1.0});
        ASSERT_EQ(a.render(), 0);
        ASSERT_EQ(b.render(), 0);
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) ASSERT_EQ(read(a.output, x, y), read(b.output, x, y));
    }
}

TEST(MirrorFrame, FloatScreenIsAdd) {
    Frame screen(RF_RGBA32), add(RF_RGBA32), screen8(RF_RGBA8), add8(RF_RGBA8);
    for (Frame* f : {&screen, &screen8}) f->set(kTransferMode, {6});
    for (Frame* f : {&add, &add8}) f->set(kTransferMode, {4});
    for (Frame* f : {&screen, &add, &screen8, &add8}) ASSERT_EQ(f->render(), 0);
    EXPECT_EQ(screen.output.bytes(), add.output.bytes());
    EXPECT_NE(screen8.output.bytes(), add8.output.bytes());
}

// A host whose scratch memory runs out, or throws, at a chosen call.
struct FailingHost : MemoryHost {
    using MemoryHost::MemoryHost;
    int throwAt = 0;
    void* allocMemory(int size) override {
        if (allocMemoryCalls + 1 == throwAt) {
            ++allocMemoryCalls;
            throw std::runtime_error("out of memory");
        }
        return MemoryHost::allocMemory(size);
    }
};

TEST(MirrorFrame, EveryScratchFailureReleasesEverything) {
    MemoryImage input(RF_ARGB8, kW, kH), output(RF_ARGB8, kW, kH);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) write(input, x, y, sourceAt(x, y));
    int calls = 0;
    {
        FailingHost probe(&input, &output);
        probe.params.setConstant(kBend, {1.0});
        ASSERT_EQ(Render(&probe), 0);
        calls = probe.allocMemoryCalls;
    }
    // Working copy, two driver images, bent image and masks, two flat images, and the two
    // scratch rasters of the flat image's blur (a radius of 0 still blurs at weight 0).
    ASSERT_EQ(calls, 10);
    // The first call is the working copy's raster; the others are scratch.
    for (int n = 2; n <= calls; ++n)
        for (bool throwing : {false, true}) {
            output.fillBytes(3);
            FailingHost host(&input, &output);
            host.params.setConstant(kBend, {1.0});
            (throwing ? host.throwAt : host.failAllocMemoryAt) = n;
            // A pass's own flat image is forgotten: the last pass decides the result.
            // So is a failed blur of the flat image.
            bool const passFlat = n == 5 || n == 6 || n == 7 || n == 8;
            EXPECT_EQ(Render(&host), passFlat ? 0 : 1) << n;
            EXPECT_EQ(host.liveBlocks, 0) << n;
            EXPECT_EQ(host.lockBalance, 0) << n;
            if (throwing || passFlat) continue;
            // Without the driver's images or the bent image the frame is empty; after a failed
            // mask the composite is left out, so the source never shows above the baseline.
            for (int x = 0; x < kW; ++x) {
                EXPECT_EQ(read(output, x, 5)[3], 0.0) << n;
                if (n <= 4) {
                    EXPECT_EQ(read(output, x, kH - 2)[3], 0.0) << n;
                }
            }
        }
}

} // namespace
