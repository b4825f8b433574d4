#include "effect/Render.h"
#include "effect/SoftnessStages.h"
#include "params/ParamIds.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

namespace {

// Mean red difference between horizontal neighbours in rows y0 to y1: the detail.
double detail(MemoryImage& m, int y0, int y1) {
    long d = 0;
    for (int y = y0; y <= y1; ++y)
        for (int x = 9; x < std::min(55, m.info.width); ++x)
            d += std::abs(m.pixel<unsigned char>(x, y)[0] - m.pixel<unsigned char>(x - 1, y)[0]);
    return double(d) / (y1 - y0 + 1);
}

TEST(PlainSoftness, SimpleBlursTheFirstSampleOnlyAndTurnsTheModeToMinusOne) {
    MemoryImage sample(RF_ARGB8, 40, 30);
    MemoryHost host(&sample, &sample);
    TX_Line2D baseline(0, 29, 39, 29, false);
    // The detail left, as a part of the detail before.
    auto blur = [&](double softness, int& mode, double scale = 1.0) {
        sample.fillBytes(4);
        double const before = detail(sample, 0, 29);
        SampleSettings const s{
            .softness = softness, .softnessAspect = 1.0, .softnessMode = mode, .fadeLength = 100};
        if (plainSoftness(&host, baseline, 40, 30, 30, scale, s, sample.info))
            mode = kSoftnessUniform;
        return detail(sample, 0, 29) / before;
    };
    int mode = 0, progressive = 2;
    EXPECT_EQ(blur(0.0, mode), 1.0);      // no softness: no blur, the mode stays
    EXPECT_EQ(blur(4.0, mode, 0.5), 1.0); // 30 * 30 * 4 / 2000 * 0.5 truncates to 0
    EXPECT_EQ(mode, 0);
    EXPECT_LT(blur(5.0, mode, 0.5), 0.5);
    EXPECT_EQ(mode, -1);
    EXPECT_EQ(blur(3.0, mode), 1.0); // later samples are left to their flat images
    EXPECT_EQ(blur(3.0, progressive), 1.0);
}

// A reflection alone in a 64 x 96 frame, far edge near row 10, baseline at row 85.5, of an
// opaque source: grey, or vertical stripes 4 pixels wide.
std::unique_ptr<MemoryImage> reflection(bool stripes, std::map<ParamId, double> set) {
    MemoryImage input(RF_RGBA8, 64, 96);
    auto output = std::make_unique<MemoryImage>(RF_RGBA8, 64, 96);
    for (int i = 0; i < 64 * 96; ++i) {
        auto* p = input.pixel<unsigned char>(i % 64, i / 64);
        p[0] = p[1] = p[2] = stripes ? (i % 64 / 4 % 2) * 255 : 200;
        p[3] = 255;
    }
    MemoryHost host(&input, output.get());
    host.params.setConstant(kBaselineStart, {0.0, 0.9, 0});
    host.params.setConstant(kBaselineEnd, {1.0, 0.9, 0});
    host.params.setConstant(kHeightSlant, {0.5, 0.7, 0});
    set.insert({{kTransferMode, 0}, {kLight, 0}});
    for (auto [id, v] : set) host.params.setConstant(id, {v});
    EXPECT_EQ(Render(&host), 0);
    return output;
}

TEST(FlatSoftness, ReflectionSoftensWithDistanceUnderEachTypeAndSimpleIsUniform) {
    auto sharp = reflection(true, {{kFadeStart, 100}}); // no fade
    // The detail left near the baseline and far from it.
    auto nearAndFar = [&](int type, double softness) {
        auto r =
            reflection(true, {{kFadeStart, 100}, {kSoftnessType, type}, {kSoftness, softness}});
        return std::pair(detail(*r, 70, 82) / detail(*sharp, 70, 82),
                         detail(*r, 26, 44) / detail(*sharp, 26, 44));
    };
    auto [simpleNear, simpleFar] = nearAndFar(0, 3);
    EXPECT_LT(simpleNear, 0.6);
    EXPECT_NEAR(simpleNear, simpleFar, 0.05);
    double far[4];
    for (int type : {1, 2, 3}) {
        auto [nearDetail, farDetail] = nearAndFar(type, type == 1 ? 2 : 100);
        EXPECT_GT(nearDetail, 0.9) << type;
        EXPECT_LT(farDetail, 0.7) << type;
        far[type] = farDetail;
    }
    EXPECT_GT(far[3], far[2] + 0.1); // the square ramp is gentler in the middle distance
}

TEST(FlatSoftness, FadeByStartLengthAndType) {
    auto linear = reflection(false, {}), square = reflection(false, {{kFadeType, 1}});
    auto root = reflection(false, {{kFadeType, 2}});
    auto late = reflection(false, {{kFadeStart, 30}, {kFadeLength, 40}});
    auto alpha = [](auto& m, int y) { return m->template pixel<unsigned char>(32, y)[3]; };
    EXPECT_NEAR(alpha(linear, 48), (alpha(linear, 20) + alpha(linear, 76)) / 2.0, 4);
    EXPECT_NEAR(alpha(linear, 84), 255, 6);
    for (int y = 20; y <= 84; y += 8) {
        double const f = alpha(linear, y) / 255.0; // 1 - distance from the baseline
        EXPECT_NEAR(alpha(square, y), 255 * f * f, 4) << y;
        EXPECT_NEAR(alpha(root, y), 255 * std::sqrt(f), 4) << y;
        EXPECT_NEAR(alpha(late, y), 255 * std::clamp(1 - (0.7 - f) / 0.4, 0.0, 1.0), 5) << y;
    }
}

} // namespace
