#include "params/ParamIds.h"
#include "params/RenderArguments.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

struct Args {
    MemoryImage image{RF_RGBA8, 2, 2};
    MemoryHost host{&image, &image};
    RenderArguments read() {
        RenderArguments a;
        ParamsRetrieveValues(&host, &a);
        return a;
    }
};

TEST(RenderArguments, DefaultsArriveInTheCoresUnits) {
    Args t;
    RenderArguments a = t.read();
    EXPECT_EQ(a.light, 1);
    EXPECT_DOUBLE_EQ(a.baselineStartX, 0.25);
    EXPECT_DOUBLE_EQ(a.baselineStartY, 0.75);
    EXPECT_DOUBLE_EQ(a.heightSlantY, 1.0);
    EXPECT_NEAR(a.bendAngle, 45.0, 1e-12);
    EXPECT_FALSE(a.bend);
    EXPECT_EQ(a.softnessType, 2);
    EXPECT_EQ(a.transferMode, 1);
    EXPECT_DOUBLE_EQ(a.samples, 8.0);
    EXPECT_DOUBLE_EQ(a.wireframeRed, 128.0 / 255.0);
}

TEST(RenderArguments, MotionTurnsPointsTopDownAndOnlyThere) {
    for (unsigned host : {0u, 1u, 2u}) {
        Args t;
        t.host.hostIdx = host;
        t.host.params.setConstant(kTranslate, {0.3, 0.2});
        RenderArguments a = t.read();
        double const flip = host == 1 ? 0.25 : 0.75;
        EXPECT_DOUBLE_EQ(a.baselineStartY, flip) << host;
        EXPECT_DOUBLE_EQ(a.baselineEndY, flip) << host;
        EXPECT_DOUBLE_EQ(a.heightSlantY, host == 1 ? 0.0 : 1.0) << host;
        EXPECT_DOUBLE_EQ(a.translateY, host == 1 ? 0.8 : 0.2) << host;
        EXPECT_DOUBLE_EQ(a.translateX, 0.3) << host;
    }
}

TEST(RenderArguments, AngleSamplesAndBoolAsRequired) {
    Args t;
    t.host.params.find(kBendAngle)->value = {1.0}; // stored in radians
    t.host.params.setConstant(kSamples, {8.4});
    t.host.params.setConstant(kBend, {1});
    RenderArguments a = t.read();
    EXPECT_DOUBLE_EQ(a.bendAngle, 57.29577951308232);
    EXPECT_DOUBLE_EQ(a.samples, 8.4);
    EXPECT_TRUE(a.bend);
}

TEST(RenderArguments, ValuesAreReadAtTheFrameAndNothingWithoutAFace) {
    Args t;
    t.host.params.setKey(kZoom, 0, {1.0});
    t.host.params.setKey(kZoom, 10, {3.0});
    t.host.frame = 2.5;
    EXPECT_DOUBLE_EQ(t.read().zoom, 1.5);
    EXPECT_EQ(GetMBlurValue(&t.host), 0);

    t.host.answerFXPLUG = false;
    RenderArguments a;
    a.zoom = -7;
    EXPECT_EQ(ParamsRetrieveValues(&t.host, &a), 1);
    EXPECT_EQ(a.zoom, -7);
    EXPECT_EQ(GetMBlurValue(&t.host), 1);
}

} // namespace
