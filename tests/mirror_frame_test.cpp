#include "effect/QuadToQuadRender.h"
#include "effect/Render.h"
#include "params/ParamIds.h"
#include "support/MemoryHost.h"
#include "support/Pixels.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <deque>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace {

// A parameter's constant value, or its key at a frame.
struct Setting {
    ParamId id;
    ParameterStore::Value value;
    double key = -1;
};
using Settings = std::vector<Setting>;

double straight(Rgba const& p, int i) {
    return p[3] > 0 ? p[i] / p[3] : 0.0;
}

// The source: red grows down the rows, green across the columns, opaque.
Rgba sourceAt(double x, double y) {
    return {0.1 + 0.016 * y, 0.1 + 0.012 * x, 0.5, 1.0};
}

constexpr int kW = 64, kH = 48;
constexpr double kBaseline = 0.75 * (kH - 1); // default "Baseline Start" and "Baseline End"

// Where row y of a reflection takes the source from: the source plane is a frame tall, the mirror
// a frame less one row; flipped unless "Frontlit".
double mirroredRow(double y, bool flip) {
    return kBaseline + (flip ? -1 : 1) * (y - kBaseline) * kH / (kH - 1);
}

struct Frame {
    MemoryImage input, output;
    MemoryHost host;
    explicit Frame(Settings const& set = {}, PluginRasterFormat format = RF_RGBA8, double at = 0,
                   RenderSettings* hostSettings = nullptr)
        : input(format, kW, kH, MemoryImage::Rows::Padded),
          output(format, kW, kH, MemoryImage::Rows::BottomUp), host(&input, &output) {
        for (int i = 0; i < kW * kH; ++i) rgbaAt(input, i % kW, i / kW, sourceAt(i % kW, i / kW));
        output.fillBytes(7);
        host.frame = at;
        host.setUserData(hostSettings);
        for (auto const& s : set)
            s.key < 0 ? host.params.setConstant(s.id, s.value)
                      : host.params.setKey(s.id, s.key, s.value);
        EXPECT_EQ(Render(&host), 0);
        EXPECT_EQ(host.liveBlocks, 0);
        EXPECT_EQ(host.lockBalance, 0);
    }
    Rgba in(int x, int y) { return rgbaAt(input, x, y); }
    Rgba out(int x, int y) { return rgbaAt(output, x, y); }
};

void expectSame(MemoryImage& a, MemoryImage& b, double tolerance) {
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int i = 0; i < 4; ++i)
                ASSERT_NEAR(rgbaAt(a, x, y)[i], rgbaAt(b, x, y)[i], tolerance) << x << "," << y;
}

// The flat image leaves undrawn the rows that the drawing onto the frame never samples. A host
// that hands settings of its own (here the ones the effect would make) has every row drawn; the
// frames are the same to the byte over geometries, lights, qualities and both integer depths.
TEST(MirrorFrame, RowsLeftUndrawnAreNeverSampled) {
    RenderSettings given;
    given.dstRect = given.srcRect = TX_IRect(0, 0, kW - 1, kH - 1);
    Settings const tilted = {
        {kBaselineStart, {0.2, 0.6}}, {kBaselineEnd, {0.85, 0.65}}, {kHeightSlant, {0.45, 0.1}}};
    for (Settings const& c :
         {Settings{}, tilted, Settings{{kLight, {0}}}, Settings{{kQuality, {0}}},
          Settings{{kQuality, {3}}}, Settings{{kFadeLength, {30.0}}}})
        for (auto format : {RF_RGBA8, RF_ARGB16}) {
            Frame drawn(c, format), whole(c, format, 0, &given);
            ASSERT_EQ(drawn.output.bytes(), whole.output.bytes()) << c.size() << " " << format;
        }
}

TEST(MirrorFrame, FrontlitTakesTheHandleSideUnflippedAndGoesBehind) {
    Frame none({{kLight, {0}}, {kTransferMode, {0}}}), based({{kLight, {0}}});
    for (int y = int(kBaseline) + 2; y < kH - 1; ++y)
        for (int x = 2; x < kW - 2; ++x)
            EXPECT_NEAR(straight(none.out(x, y), 0), sourceAt(x, mirroredRow(y, false))[0], 0.02)
                << x << "," << y;
    expectSame(based.output, based.input, 1.5 / 255); // hidden behind the opaque source
}

// The blurred frame is the mean of the frames at the sample times, in whole ticks (a hundred a
// frame) from the frame's time plus the phase, the sample count rounded.
TEST(MirrorFrame, MotionBlurAveragesTheFramesAtTheSampleTimesButNotTheZoom) {
    Settings moving{{kTransferMode, {0}}}; // the baseline drops a twentieth of the frame a frame
    for (double t : {9, 11})
        for (double x : {0.25, 0.75})
            moving.push_back(
                {x < 0.5 ? kBaselineStart : kBaselineEnd, {x, 0.75 + (t - 10) / 20, 0}, t});
    struct Case {
        double blur, angle, phase, samples;
        std::vector<double> frames;
    } const cases[] = {
        {1, 180, 0, 8, {10.0, 10.06, 10.12, 10.18, 10.25, 10.31, 10.37, 10.43}},
        {1, 360, 0, 1.5, {10.0, 10.5}},
        {1, 360, -180, 2, {9.5, 10.0}},
        {1, 360, 0, 1.4, {10.0}},
        {1, 0, 0, 8, {10.0}},
        {0, 180, 0, 8, {10.0}},
    };
    for (auto const& c : cases) {
        Settings s = moving;
        s.insert(s.end(), {{kMotionBlur, {c.blur}}, {kShutterAngle, {c.angle}}});
        s.insert(s.end(), {{kShutterPhase, {c.phase}}, {kSamples, {c.samples}}});
        Frame blurred(s, RF_RGBA32, 10);
        std::deque<Frame> at;
        for (double t : c.frames) at.emplace_back(moving, RF_RGBA32, t);
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                for (int i = 0; i < 4; ++i) {
                    double mean = 0;
                    for (Frame& f : at) mean += f.out(x, y)[i] / double(at.size());
                    ASSERT_NEAR(blurred.out(x, y)[i], mean, 1e-4)
                        << c.samples << " " << x << "," << y;
                }
    }
    Frame at9(moving, RF_RGBA32, 9), at11(moving, RF_RGBA32, 11);
    EXPECT_NE(at9.output.bytes(), at11.output.bytes()); // the samples really differ

    // The quads take the frame's zoom, so a moving zoom leaves no blur.
    Frame zooming({{kMotionBlur, {1}}, {kZoom, {0.5, 0, 0}, 0}, {kZoom, {1.5, 0, 0}, 20}}, RF_RGBA8,
                  10);
    Frame still({{kZoom, {1.0}}});
    expectSame(zooming.output, still.output, 1.0 / 255);

    // "Simple" softness blurs one sample whole and the samples after it only in their flat image,
    // so two samples of a still frame are not the one sample again.
    Settings const simple{{kSoftness, {40.0}}, {kSoftnessType, {0}}};
    Settings twice = simple;
    twice.insert(twice.end(), {{kMotionBlur, {1}}, {kShutterAngle, {360.0}}, {kSamples, {2}}});
    EXPECT_FALSE(Frame(simple).output.bytes() == Frame(twice).output.bytes());
}

// A short mirror hanging up from a baseline near the bottom, "Frontlit" so that its source lies
// inside the frame: near edge at row 46.06, far edge at row 27.26, bend line at row 36.66. No
// fade and no seam: the passes alone.
Settings shortMirror(bool bend, double angle) {
    Settings s{{kTransferMode, {0}}, {kLight, {0}}, {kFadeStart, {100.0}}, {kSeamSize, {0}}};
    s.insert(s.end(), {{kBaselineStart, {0.25, 0.98, 0}}, {kBaselineEnd, {0.75, 0.98, 0}}});
    s.insert(s.end(), {{kHeightSlant, {0.5, 0.88, 0}}, {kBend, {bend ? 1.0 : 0.0}}});
    s.push_back({kBendAngle, {angle / 57.29577951308232}});
    return s;
}

TEST(MirrorFrame, BendKeepsTheNearPartAndTurnsTheFarPart) {
    Frame flat(shortMirror(false, 0)), folded(shortMirror(true, 90)), level(shortMirror(true, 0));
    for (int x = 4; x < kW - 4; ++x) {
        for (int y = 38; y <= 44; ++y)
            for (int i = 0; i < 4; ++i)
                EXPECT_NEAR(folded.out(x, y)[i], flat.out(x, y)[i], 2.0 / 255) << x << "," << y;
        for (int y = 29; y <= 35; ++y) { // a quarter turn puts the far part edge-on
            EXPECT_GT(flat.out(x, y)[3], 0.5);
            EXPECT_EQ(folded.out(x, y)[3], 0.0) << x << "," << y;
            EXPECT_NEAR(straight(level.out(x, y), 0), straight(flat.out(x, y), 0), 0.02)
                << x << "," << y;
        }
    }
}

// The wide merge gives the bytes of the pixel merge: near alphas empty, full and between, far
// alphas empty and not, mixed and in runs, against colours of every byte on both pictures.
TEST(MirrorFrame, WideBendMergeEqualsThePixelMerge) {
    for (int alphaIndex : {0, 3}) {
        BendMergeRow8 row = bendMergeRow8Avx2(alphaIndex);
        if (!row) GTEST_SKIP() << "no AVX2 on this processor";
        std::vector<unsigned char> d, b, n, f;
        for (int i = 0; i < 4 * 65536 + 20; ++i) {
            int const near[] = {0, 255, 1, 128, 254}, far[] = {0, 255, 77, 0};
            for (int k = 0; k < 4; ++k) {
                d.push_back((unsigned char)(i + 61 * k)), b.push_back((unsigned char)(i >> 8) + k);
                n.push_back((unsigned char)near[(i < 65536 ? i / 7 : i / 24) % 5]);
                f.push_back((unsigned char)far[(i < 65536 ? i : i / 40) % 4]);
            }
        }
        int const width = int(d.size() / 4);
        std::vector<unsigned char> want = d, apart(d.size(), 0xA5);
        float const recip = float(PIXEL_RGBA8::RECIP_VALUE());
        // Into another row (the unbent one left as it is), then in place.
        int const done =
            row(d.data(), apart.data(), b.data(), n.data(), f.data(), width, recip, 0.5f);
        ASSERT_EQ(done, width / 8 * 8);
        row(d.data(), d.data(), b.data(), n.data(), f.data(), width, recip, 0.5f);
        mergeBendPixels<PIXEL_RGBA8, unsigned char, int>(want.data(), b.data(), n.data(), f.data(),
                                                         done, alphaIndex);
        apart.resize(4 * std::size_t(done)), d.resize(4 * std::size_t(done)), want.resize(d.size());
        EXPECT_EQ(d, want) << alphaIndex;
        EXPECT_EQ(apart, want) << alphaIndex;
    }
}

TEST(MirrorFrame, ChannelOrderDoesNotChangeThePictureAndFloatScreenIsAdd) {
    std::pair<PluginRasterFormat, PluginRasterFormat> const pairs[] = {
        {RF_ARGB8, RF_RGBA8}, {RF_ARGB16, RF_RGBA16}, {RF_ARGB32, RF_RGBA32}};
    for (auto [first, second] : pairs) {
        Frame a({{kBend, {1.0}}}, first), b({{kBend, {1.0}}}, second);
        expectSame(a.output, b.output, 0.0);
    }
    Frame screen({{kTransferMode, {6}}}, RF_RGBA32), add({{kTransferMode, {4}}}, RF_RGBA32);
    Frame screen8({{kTransferMode, {6}}}), add8({{kTransferMode, {4}}});
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
    Frame f({{kBend, {1.0}}}, RF_ARGB8);
    int const calls = f.host.allocMemoryCalls;
    // Working copy, two driver images, bent image and masks, the flat image (pass 1 draws pass
    // 0's), and the copy the flat image's blur at radius 0 takes, as a fractional radius would.
    ASSERT_EQ(calls, 8);
    // The first call is the working copy's raster; the others are scratch.
    for (int n = 2; n <= calls; ++n)
        for (bool throwing : {false, true}) {
            f.output.fillBytes(3);
            FailingHost host(&f.input, &f.output);
            host.params.setConstant(kBend, {1.0});
            (throwing ? host.throwAt : host.failAllocMemoryAt) = n;
            // A pass's own flat image is forgotten: the last pass decides the result.
            bool const passFlat = n >= 5 && n <= 6;
            EXPECT_EQ(Render(&host), passFlat ? 0 : 1) << n;
            EXPECT_EQ(host.liveBlocks, 0) << n;
            EXPECT_EQ(host.lockBalance, 0) << n;
            if (throwing || passFlat) continue;
            // Without the driver's images or the bent image the frame is empty; after a failed
            // mask the composite is left out, so the source never shows above the baseline.
            for (int x = 0; x < kW; ++x) {
                EXPECT_EQ(f.out(x, 5)[3], 0.0) << n;
                EXPECT_TRUE(n > 4 || f.out(x, kH - 2)[3] == 0.0) << n;
            }
        }
    // Unbent samples drawn in a scratch picture: a failure before the drawing leaves it empty,
    // not holding what the memory held.
    Settings const blur = {{kMotionBlur, {1.0}}, {kShutterAngle, {360.0}}, {kSamples, {2.0}}};
    Frame m(blur);
    for (int n = 2; n <= m.host.allocMemoryCalls; ++n) {
        FailingHost host(&m.input, &m.output);
        for (auto const& s : blur) host.params.setConstant(s.id, s.value);
        host.failAllocMemoryAt = n;
        if (Render(&host) == 0) continue;
        for (int x = 0; x < kW; ++x) EXPECT_EQ(m.out(x, kH - 2)[3], 0.0) << n;
    }
}

} // namespace

// A handle far above the frame raises the mirror past the top: the frame shows the limit of ever
// taller mirrors, and nothing below the baseline.
TEST(MirrorFrame, FarOffHandleDrawsTheLimitOfTallerMirrors) {
    Settings const extras[] = {
        {},
        {{kQuality, {0}}}, // nearest: the point-sampled scan
        {{kBend, {1.0}}},
        {{kMotionBlur, {1.0}}, {kShutterAngle, {360.0}}, {kSamples, {64.0}}},
    };
    for (auto const& extra : extras) {
        auto settings = [&](double y) {
            Settings s{{kTransferMode, {0}}, {kHeightSlant, {0.5, y, 0}}};
            s.insert(s.end(), extra.begin(), extra.end());
            return s;
        };
        Frame far(settings(-1e6)), tall(settings(-40));
        expectSame(far.output, tall.output, 1.5 / 255);
        EXPECT_GT(far.out(kW / 2, 2)[3], 0.5);
        for (int y = int(kBaseline) + 2; y < kH; ++y)
            for (int x = 0; x < kW; ++x) EXPECT_EQ(far.out(x, y)[3], 0.0) << x << "," << y;
    }
}

// Float pictures may hold anything; every transfer mode and a steep tone must take it (the
// sanitizer build checks the conversions on the way).
TEST(MirrorFrame, NonFiniteFloatPixelsPassEveryTransferModeAndASteepTone) {
    float const odd[] = {NAN, INFINITY, -INFINITY, 3e38f, -1e30f, 0.5f, 1.0f};
    for (int mode = 0; mode < 20; ++mode) {
        PluginRasterFormat const format = mode % 2 ? RF_ARGB32 : RF_RGBA32;
        MemoryImage input(format, kW, kH), output(format, kW, kH);
        for (int i = 0; i < kW * kH * 4; ++i)
            input.pixel<float>(i / 4 % kW, i / 4 / kW)[i % 4] = odd[i % 7];
        MemoryHost host(&input, &output);
        host.params.setConstant(kTransferMode, {double(mode)});
        host.params.setConstant(kGamma, {mode % 4 < 2 ? 10.0 : 0.1});
        host.params.setConstant(kBrightness, {10.0});
        EXPECT_EQ(Render(&host), 0) << mode;
        EXPECT_EQ(host.liveBlocks, 0);
    }
}
