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

// Each kind of value read from its text: "=a,b,c" for the value, else the message.
TEST(Values, EachKindIsReadOrRefusedWithItsRule) {
    DeclaredParams d;
    // LABEL|TEXT|EXPECTED; cases. Numbers are held to the hard limits, not the sliders, angles in
    // degrees; the same word has its own index in each menu; points may leave the frame.
    std::string table =
        "Shutter Angle|720|=720,0,0;Zoom|-1000|=-1000,;Zoom|0|=0,;Random Seed|65535|=65535,;"
        "Bend Angle|100|=100,;Zoom|1000.5|\"Zoom\": 1000.5 is outside the limits -1000 to 1000;"
        "Bend Angle|100.5|0 to 100;Gamma|0.05|0.1 to 10;Random Seed|2.5|whole number;"
        "Random Seed|65536|0 to 65535;Softness||not a number;Softness|abc|not a number;"
        "Softness|1x|not a number;Softness|nan|not a number;Softness|inf|not a number;"
        "Softness| 1|not a number;Bend|on|=1,;Bend|OFF|=0,;Bend|maybe|on or off;"
        "Seam Style|linear|=1,;Fade Type|Linear|=0,;Fade Type|inverse square|=2,;"
        "Transfer Mode|19|=19,;Motion Blur|On|=1,;Transfer Mode|20|19 \"Luminosity\";"
        "Seam Style|1.5|0 \"Constant\";Seam Style|-1|0 \"Constant\";Seam Style|Linearr|Constant;"
        "Baseline Start|0.1, 1.25|=0.1,1.25,0;Translate|0.5|x,y;Translate|0.5,0.5,0.5|x,y;"
        "Translate|a,b|x,y;Translate|0.5,|x,y;Seam Color|1,0.5,0|=1,0.5,0;"
        "Seam Color|1.5,0,0|0 to 1;Seam Color|1,0|r,g,b;";
    std::vector<std::string> cases;
    for (std::size_t at = 0, end; (end = table.find(';', at)) != std::string::npos; at = end + 1)
        cases.push_back(table.substr(at, end - at));
    ASSERT_EQ(cases.size(), 36u);
    for (std::string const& c : cases) {
        std::size_t bar = c.find('|'), bar2 = c.find('|', bar + 1);
        std::string got = usageMessage([&] {
            throw UsageError("=" + text(parseValue(findParam(d.params(), c.substr(0, bar)),
                                                   c.substr(bar + 1, bar2 - bar - 1))));
        });
        EXPECT_TRUE(contains(got, c.substr(bar2 + 1))) << c << ": " << got;
    }
}

TEST(Values, SetArgumentsAndKeyframes) {
    DeclaredParams d;
    EXPECT_EQ(text(parseSetArgument(d.params(), "zoom@12.5=2")), "Zoom@12.5=2,0,0");
    EXPECT_EQ(text(parseSetArgument(d.params(), "Height and Slant=0.5,0.9")),
              "Height and Slant=0.5,0.9,0");
    for (char const* bad : {"Zoom", "=2", "Zoom@x=2", "Zoom@=2", "Zoomm=2"})
        EXPECT_NE(usageMessage([&] { parseSetArgument(d.params(), bad); }), "(no usage error)")
            << bad;
}

TEST(Values, SettingsReachTheHostInItsUnits) {
    // Degrees become radians, keys are interpolated, a constant drops the keys before it, and
    // Motion, whose y points up, has every point flipped, the untouched defaults too.
    for (unsigned family : {0u, 1u}) {
        EffectSession session(family);
        std::vector<Setting> settings;
        for (char const* set : {"Bend Angle=90", "Zoom@0=1", "Zoom@10=3", "Softness@0=50",
                                "Softness=7", "Baseline End=0.6,0.2"})
            settings.push_back(parseSetArgument(session.params(), set));
        session.apply(settings);
        ParameterStore& store = session.host().params();
        auto at = [&](int id, double frame) { return store.valueAt(*store.find(id), frame); };
        EXPECT_EQ(std::tuple(at(kBendAngle, 0)[0], at(kZoom, 2.5)[0], at(kSoftness, 0)[0]),
                  std::tuple(3.141592653589793 / 2, 1.5, 7.0));
        EXPECT_EQ(
            std::tuple(at(kBaselineEnd, 0)[1], at(kBaselineStart, 0)[1], at(kHeightSlant, 0)[1]),
            family ? std::tuple(0.8, 0.25, 0.0) : std::tuple(0.2, 0.75, 1.0));
    }
}

} // namespace
