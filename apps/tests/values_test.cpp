#include "AppTestSupport.h"
#include "apps/common/Settings.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

namespace {

TEST(Values, LabelsAreCaseInsensitiveAndSharedLabelsMeanTheParameter) {
    DeclaredParams d;
    EXPECT_EQ(findParam(d.params(), "bEnD").id, unsigned(kBend));
    EXPECT_EQ(findParam(d.params(), "motion blur").id, unsigned(kMotionBlur));
    // A group that shares its label with no parameter cannot be addressed.
    EXPECT_TRUE(contains(usageMessage([&] { findParam(d.params(), "Blend"); }),
                         "unknown parameter \"Blend\""));
    std::string msg = usageMessage([&] { findParam(d.params(), "Softnes"); });
    EXPECT_TRUE(contains(msg, "closest: \"Softness\"")) << msg;
    msg = usageMessage([&] { findParam(d.params(), "shutter"); });
    EXPECT_TRUE(contains(msg, "\"Shutter Angle\"") && contains(msg, "\"Shutter Phase\"")) << msg;
}

TEST(Values, NumbersAreHeldToTheHardLimitsNotTheSliders) {
    DeclaredParams d;
    auto value = [&](char const* label, char const* text) {
        return parseValue(findParam(d.params(), label), text)[0];
    };
    EXPECT_EQ(value("Shutter Angle", "720"), 720.0); // slider ends at 360
    EXPECT_EQ(value("Zoom", "-1000"), -1000.0);
    EXPECT_EQ(value("Zoom", "0"), 0.0);
    EXPECT_EQ(value("Bend Angle", "100"), 100.0); // degrees, though the host keeps radians
    EXPECT_EQ(value("Random Seed", "65535"), 65535.0);
    std::string msg = usageMessage([&] { value("Zoom", "1000.5"); });
    EXPECT_TRUE(contains(msg, "\"Zoom\"") && contains(msg, "-1000 to 1000")) << msg;
    msg = usageMessage([&] { value("Bend Angle", "100.5"); });
    EXPECT_TRUE(contains(msg, "0 to 100")) << msg;
    msg = usageMessage([&] { value("Gamma", "0.05"); });
    EXPECT_TRUE(contains(msg, "0.1 to 10")) << msg;
    EXPECT_TRUE(contains(usageMessage([&] { value("Random Seed", "2.5"); }), "whole number"));
    EXPECT_TRUE(contains(usageMessage([&] { value("Random Seed", "65536"); }), "0 to 65535"));
    for (char const* junk : {"", "abc", "1x", "nan", "inf", " 1"})
        EXPECT_TRUE(contains(usageMessage([&] { value("Softness", junk); }), "not a number"))
            << junk;
}

TEST(Values, TogglesMenusPointsAndColours) {
    DeclaredParams d;
    auto parse = [&](char const* label, char const* text) {
        return parseValue(findParam(d.params(), label), text);
    };
    EXPECT_EQ(parse("Bend", "on")[0], 1.0);
    EXPECT_EQ(parse("Bend", "OFF")[0], 0.0);
    EXPECT_TRUE(contains(usageMessage([&] { parse("Bend", "maybe"); }), "on or off"));

    // The same word has its own index in each menu.
    EXPECT_EQ(parse("Seam Style", "linear")[0], 1.0);
    EXPECT_EQ(parse("Fade Type", "Linear")[0], 0.0);
    EXPECT_EQ(parse("Fade Type", "inverse square")[0], 2.0);
    EXPECT_EQ(parse("Transfer Mode", "19")[0], 19.0);
    EXPECT_EQ(parse("Motion Blur", "On")[0], 1.0);
    std::string msg = usageMessage([&] { parse("Transfer Mode", "20"); });
    EXPECT_TRUE(contains(msg, "0 \"None\"") && contains(msg, "19 \"Luminosity\"")) << msg;
    for (char const* junk : {"1.5", "-1", "Linearr"})
        EXPECT_NE(usageMessage([&] { parse("Seam Style", junk); }), "(no usage error)") << junk;

    auto point = parse("Baseline Start", "0.1, 1.25");
    EXPECT_EQ(point[0], 0.1);
    EXPECT_EQ(point[1], 1.25); // a handle may stand outside the frame
    for (char const* junk : {"0.5", "0.5,0.5,0.5", "a,b", "0.5,"})
        EXPECT_TRUE(contains(usageMessage([&] { parse("Translate", junk); }), "x,y")) << junk;

    auto colour = parse("Seam Color", "1,0.5,0");
    EXPECT_EQ(colour, (UserValue{1.0, 0.5, 0.0}));
    EXPECT_TRUE(contains(usageMessage([&] { parse("Seam Color", "1.5,0,0"); }), "0 to 1"));
    EXPECT_TRUE(contains(usageMessage([&] { parse("Seam Color", "1,0"); }), "r,g,b"));
}

TEST(Values, SetArgumentsAndKeyframes) {
    DeclaredParams d;
    Setting s = parseSetArgument(d.params(), "zoom@12.5=2");
    EXPECT_TRUE(s.keyed);
    EXPECT_EQ(s.frame, 12.5);
    EXPECT_EQ(s.param->id, unsigned(kZoom));
    EXPECT_EQ(s.value[0], 2.0);
    s = parseSetArgument(d.params(), "Height and Slant=0.5,0.9");
    EXPECT_FALSE(s.keyed);
    for (char const* bad : {"Zoom", "=2", "Zoom@x=2", "Zoom@=2", "Zoomm=2"})
        EXPECT_NE(usageMessage([&] { parseSetArgument(d.params(), bad); }), "(no usage error)")
            << bad;
}

TEST(Values, SettingsReachTheHostInItsUnits) {
    DeclaredParams d;
    d.session.apply({
        parseSetArgument(d.params(), "Bend Angle=90"),
        parseSetArgument(d.params(), "Zoom@0=1"),
        parseSetArgument(d.params(), "Zoom@10=3"),
        parseSetArgument(d.params(), "Softness@0=50"),
        parseSetArgument(d.params(), "Softness=7"), // a constant drops the keys before it
        parseSetArgument(d.params(), "Baseline End=0.6,0.2"),
    });
    ParameterStore& store = d.session.host().params();
    auto at = [&](int id, double frame) { return store.valueAt(*store.find(id), frame); };
    EXPECT_NEAR(at(kBendAngle, 0)[0], 3.141592653589793 / 2, 1e-12);
    EXPECT_DOUBLE_EQ(at(kZoom, 2.5)[0], 1.5);
    EXPECT_DOUBLE_EQ(at(kSoftness, 0)[0], 7.0);
    EXPECT_DOUBLE_EQ(at(kBaselineEnd, 0)[1], 0.2);

    // Motion keeps y upwards: every point is flipped, the untouched defaults too.
    EffectSession motion(1);
    motion.apply({parseSetArgument(motion.params(), "Baseline End=0.6,0.2")});
    ParameterStore& m = motion.host().params();
    EXPECT_DOUBLE_EQ(m.valueAt(*m.find(kBaselineEnd), 0)[1], 0.8);
    EXPECT_DOUBLE_EQ(m.valueAt(*m.find(kBaselineStart), 0)[1], 0.25);
    EXPECT_DOUBLE_EQ(m.valueAt(*m.find(kHeightSlant), 0)[1], 0.0);
}

} // namespace
