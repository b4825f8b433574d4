#include "fxplug/MirrelBundle.h"
#include "inprocess/InProcessHost.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

using Kind = ParameterStore::Kind;

TEST(FxPlugCatalogue, HostReceivesSixGroupsOfThirtyFourParametersInOrder) {
    InProcessHost host(InProcessFamily::FinalCutPro);
    ASSERT_TRUE(host.load(MirrelBundle()));
    auto const& params = host.params().params();

    struct Row {
        unsigned id;
        char const* label;
        Kind kind;
        unsigned flags;
        int group; // id of the enclosing group, 0 for none
    };
    Row const expected[] = {
        {176, "3D Transform", Kind::Group, 32, 0},
        {174, "Light", Kind::Popup, 33, 176},
        {5, "Baseline Start", Kind::Point, 32, 176},
        {6, "Baseline End", Kind::Point, 32, 176},
        {7, "Height and Slant", Kind::Point, 32, 176},
        {164, "Wireframe Color", Kind::Color, 32, 176},
        {181, "Bend", Kind::Group, 32, 0},
        {170, "Bend", Kind::Toggle, 33, 181},
        {171, "Bend Angle", Kind::Angle, 36, 181},
        {172, "Bend Start", Kind::Float, 44, 181},
        {180, "Bend Stretch", Kind::Float, 44, 181},
        {183, "Seam Style", Kind::Popup, 36, 181},
        {184, "Seam Size", Kind::Popup, 36, 181},
        {185, "Seam Intensity", Kind::Float, 44, 181},
        {188, "Seam Color", Kind::Color, 36, 181},
        {20, "Mirrel Style", Kind::Group, 32, 0},
        {3, "Softness", Kind::Float, 8, 20},
        {169, "Softness Aspect", Kind::Float, 8, 20},
        {166, "Softness Type", Kind::Popup, 33, 20},
        {161, "Fade Start", Kind::Float, 40, 20},
        {4, "Fade Length", Kind::Float, 40, 20},
        {162, "Fade Type", Kind::Popup, 33, 20},
        {1008, "2D Transform", Kind::Group, 32, 0},
        {13, "Quality", Kind::Popup, 33, 1008},
        {1009, "Zoom", Kind::Float, 40, 1008},
        {1063, "Translate", Kind::Point, 32, 1008},
        {22, "Motion Blur", Kind::Group, 40, 0},
        {23, "Motion Blur", Kind::Popup, 33, 22},
        {24, "Shutter Angle", Kind::Float, 45, 22},
        {25, "Shutter Phase", Kind::Float, 45, 22},
        {26, "Samples", Kind::Float, 40, 22},
        {178, "Blend", Kind::Group, 32, 0},
        {19, "Gamma", Kind::Float, 8, 178},
        {18, "Brightness", Kind::Float, 8, 178},
        {12, "Random Seed", Kind::Int, 41, 178},
        {11, "Fade Noise", Kind::Float, 40, 178},
        {167, "Post Softness", Kind::Float, 8, 178},
        {8, "Source Opacity", Kind::Float, 8, 178},
        {68, "Mirrel Opacity", Kind::Float, 8, 178},
        {9, "Transfer Mode", Kind::Popup, 0, 178},
    };
    ASSERT_EQ(params.size(), std::size(expected));
    int groups = 0;
    for (std::size_t i = 0; i < params.size(); ++i) {
        auto const& p = params[i];
        Row const& e = expected[i];
        SCOPED_TRACE(e.label);
        EXPECT_EQ(p.id, e.id);
        EXPECT_EQ(p.name, e.label);
        EXPECT_EQ(p.kind, e.kind);
        EXPECT_EQ(p.flags, e.flags);
        unsigned group = p.groupIndex < 0 ? 0 : params[std::size_t(p.groupIndex)].id;
        EXPECT_EQ(group, unsigned(e.group));
        groups += p.kind == Kind::Group;
    }
    EXPECT_EQ(groups, 6);
    EXPECT_EQ(params.size() - std::size_t(groups), 34u);
}

TEST(FxPlugCatalogue, LimitsSlidersAndDefaultsReachTheHost) {
    InProcessHost host(InProcessFamily::Motion);
    ASSERT_TRUE(host.load(MirrelBundle()));
    ParameterStore& store = host.params();

    struct Slider {
        unsigned id;
        double def, min, max, smin, smax, delta;
    };
    // The sliders whose limits lie beyond their slider range, and the signed ones.
    for (Slider s :
         {Slider{kShutterAngle, 360, 0, 720, 0, 360, 1}, Slider{kSoftness, 0, 0, 1000, 0, 100, 1},
          Slider{kZoom, 1, -1000, 1000, -5, 5, 0.5}, Slider{kBendStretch, 1, 0, 20, 0, 5, 1},
          Slider{kBrightness, 1, 0, 10, 0, 5, 1}, Slider{kSamples, 8, 1, 64, 1, 32, 1},
          Slider{kSeamIntensity, 50, -100, 100, -100, 100, 1},
          Slider{kRandomSeed, 0, 0, 65535, 0, 65535, 0}}) {
        auto const* p = store.find(s.id);
        ASSERT_NE(p, nullptr);
        SCOPED_TRACE(p->name);
        EXPECT_EQ(p->defaultValue[0], s.def);
        EXPECT_EQ(p->min, s.min);
        EXPECT_EQ(p->max, s.max);
        EXPECT_EQ(p->sliderMin, s.smin);
        EXPECT_EQ(p->sliderMax, s.smax);
        EXPECT_EQ(p->delta, s.delta);
    }
    // Bend Angle is declared in degrees and kept in radians.
    auto const* angle = store.find(kBendAngle);
    EXPECT_NEAR(angle->defaultValue[0], 45.0 * std::numbers::pi / 180.0, 1e-12);
    EXPECT_NEAR(angle->max, 100.0 * std::numbers::pi / 180.0, 1e-12);
    EXPECT_DOUBLE_EQ(store.find(kWireframeColor)->defaultValue[1], 128.0 / 255.0);
    EXPECT_EQ(store.find(kHeightSlant)->defaultValue, (ParameterStore::Value{0.5, 1.0, 0}));

    // A value beyond the slider but within the limit is kept; beyond the limit it is clamped.
    host.setValue(kZoom, {-250.0});
    double zoom = 0;
    store.getFloatValue_fromParm_atTime(&zoom, kZoom, 0);
    EXPECT_EQ(zoom, -250.0);
    host.setValue(kShutterAngle, {900.0});
    double shutter = 0;
    store.getFloatValue_fromParm_atTime(&shutter, kShutterAngle, 0);
    EXPECT_EQ(shutter, 720.0);
}

TEST(FxPlugCatalogue, PopupEntriesAndDefaults) {
    InProcessHost host(InProcessFamily::FinalCutExpress);
    ASSERT_TRUE(host.load(MirrelBundle()));
    using Entries = std::vector<std::string>;
    struct Popup {
        unsigned id;
        double def;
        Entries entries;
    };
    Popup const popups[] = {
        {kLight, 1, {"Frontlit", "Backlit"}},
        {kSeamStyle, 1, {"Constant", "Linear", "Square", "Inverse Square"}},
        {kSeamSize, 1, {"None", "Small", "Medium", "Large"}},
        {kSoftnessType, 2, {"Simple", "Mip Map", "Progressive Linear", "Progressive Square"}},
        {kFadeType, 0, {"Linear", "Square", "Inverse Square"}},
        {kQuality, 2, {"Low", "Medium", "High"}},
        {kMotionBlur, 0, {"Off", "On"}},
        {kTransferMode, 1, {"None",       "Based on Light", "Behind",      "Normal",
                            "Add",        "Multiply",       "Screen",      "Overlay",
                            "Soft Light", "Hard Light",     "Color Dodge", "Color Burn",
                            "Darken",     "Lighten",        "Difference",  "Exclusion",
                            "Hue",        "Saturation",     "Color",       "Luminosity"}},
    };
    for (auto const& e : popups) {
        auto const* p = host.params().find(e.id);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(p->entries, e.entries) << p->name;
        EXPECT_EQ(p->defaultValue[0], e.def) << p->name;
    }
}

TEST(FxPlugCatalogue, PropertiesAndLoading) {
    InProcessHost host(InProcessFamily::FinalCutPro);
    host.withhold(FxProtocol::ParameterCreation, true);
    EXPECT_FALSE(host.load(MirrelBundle())) << "addParameters needs the creation interface";
    host.withhold(FxProtocol::ParameterCreation, false);
    ASSERT_TRUE(host.load(MirrelBundle()));
    EXPECT_FALSE(host.load(MirrelBundle())) << "one plug-in a host";

    NSDictionary const& props = host.properties();
    EXPECT_EQ(props.count(), 5u);
    EXPECT_EQ(*props.objectForKey("SupportsRowBytes"), NSNumber::numberWithBool(true));
    EXPECT_EQ(*props.objectForKey("SupportsR408"), NSNumber::numberWithBool(false));
    EXPECT_EQ(*props.objectForKey("SupportsR4fl"), NSNumber::numberWithBool(false));
    EXPECT_EQ(*props.objectForKey("MayRemapTime"), NSNumber::numberWithBool(false));
    EXPECT_EQ(*props.objectForKey("EquivalentSMPTEWipeCode"), NSNumber::numberWithInt(0));
    EXPECT_FALSE(host.filter()->variesOverTime());
}

} // namespace
