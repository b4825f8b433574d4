#include "fxplug/MirrelBundle.h"
#include "inprocess/InProcessHost.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

TEST(FxPlugCatalogue, HostReceivesSixGroupsOfThirtyFourParametersInOrder) {
    InProcessHost host(InProcessFamily::FinalCutPro);
    ASSERT_TRUE(host.load(MirrelBundle()));
    // Kinds by letter: Group Popup Bool(toggle) Float Int Angle X(point) Colour.
    std::string const kinds = "GPXXXC|GBAFFPPFC|GFFPFFP|GPFX|GPFFF|GFFIFFFFP|";
    std::vector<unsigned> const ids = {176, 174, 5,    6,   7,    164,  181, 170, 171, 172,
                                       180, 183, 184,  185, 188,  20,   3,   169, 166, 161,
                                       4,   162, 1008, 13,  1009, 1063, 22,  23,  24,  25,
                                       26,  178, 19,   18,  12,   11,   167, 8,   68,  9};
    std::vector<unsigned> const flags = {32, 33, 32, 32, 32, 32, 32, 33, 36, 44, 44, 36, 36, 44,
                                         36, 32, 8,  8,  33, 40, 40, 33, 32, 33, 40, 32, 40, 33,
                                         45, 45, 40, 32, 8,  8,  41, 40, 8,  8,  8,  0};
    // Labels, with a menu's entries and default entry in brackets.
    std::string const labels =
        "3D Transform|Light[Frontlit,Backlit:1]|Baseline Start|Baseline End|Height and Slant|"
        "Wireframe Color|Bend|Bend|Bend Angle|Bend Start|Bend Stretch|"
        "Seam Style[Constant,Linear,Square,Inverse Square:1]|"
        "Seam Size[None,Small,Medium,Large:1]|Seam Intensity|Seam Color|Mirrel Style|Softness|"
        "Softness Aspect|Softness Type[Simple,Mip Map,Progressive Linear,Progressive Square:2]|"
        "Fade Start|Fade Length|Fade Type[Linear,Square,Inverse Square:0]|2D Transform|"
        "Quality[Low,Medium,High:2]|Zoom|Translate|Motion Blur|Motion Blur[Off,On:0]|"
        "Shutter Angle|Shutter Phase|Samples|Blend|Gamma|Brightness|Random Seed|Fade Noise|"
        "Post Softness|Source Opacity|Mirrel Opacity|Transfer Mode[None,Based on Light,Behind,"
        "Normal,Add,Multiply,Screen,Overlay,Soft Light,Hard Light,Color Dodge,Color Burn,Darken,"
        "Lighten,Difference,Exclusion,Hue,Saturation,Color,Luminosity:1]|";
    std::string gotKinds, gotLabels;
    std::vector<unsigned> gotIds, gotFlags;
    int group = -1, i = 0;
    for (auto const& p : host.params().params()) {
        if (p.kind == ParameterStore::Kind::Group && i > 0) gotKinds += '|';
        gotKinds += "GPBFIAXC"[int(p.kind)];
        gotLabels += p.name;
        for (auto const& e : p.entries) gotLabels += (&e == &p.entries[0] ? "[" : ",") + e;
        if (!p.entries.empty()) gotLabels += ":" + std::to_string(int(p.defaultValue[0])) + "]";
        gotLabels += "|";
        gotIds.push_back(p.id);
        gotFlags.push_back(p.flags);
        // Groups stand at the top level; each parameter sits in the group declared before it.
        EXPECT_EQ(p.groupIndex, p.kind == ParameterStore::Kind::Group ? -1 : group) << p.name;
        if (p.kind == ParameterStore::Kind::Group) group = i;
        ++i;
    }
    EXPECT_EQ(gotKinds + '|', kinds);
    EXPECT_EQ(gotIds, ids);
    EXPECT_EQ(gotFlags, flags);
    EXPECT_EQ(gotLabels, labels);
}

TEST(FxPlugCatalogue, LimitsSlidersAndDefaultsReachTheHost) {
    InProcessHost host(InProcessFamily::Motion);
    ASSERT_TRUE(host.load(MirrelBundle()));
    ParameterStore& store = host.params();
    // Default, limits, slider ends and step of the sliders whose limits lie beyond their slider
    // range, and of the signed ones.
    std::pair<unsigned, std::array<double, 6>> const sliders[] = {
        {kShutterAngle, {360, 0, 720, 0, 360, 1}},
        {kSoftness, {0, 0, 1000, 0, 100, 1}},
        {kZoom, {1, -1000, 1000, -5, 5, 0.5}},
        {kBendStretch, {1, 0, 20, 0, 5, 1}},
        {kBrightness, {1, 0, 10, 0, 5, 1}},
        {kSamples, {8, 1, 64, 1, 32, 1}},
        {kSeamIntensity, {50, -100, 100, -100, 100, 1}},
        {kRandomSeed, {0, 0, 65535, 0, 65535, 0}}};
    for (auto const& [id, expected] : sliders) {
        auto const* p = store.find(id);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(
            (std::array{p->defaultValue[0], p->min, p->max, p->sliderMin, p->sliderMax, p->delta}),
            expected)
            << p->name;
    }
    // Bend Angle is declared in degrees and kept in radians.
    auto const* angle = store.find(kBendAngle);
    EXPECT_NEAR(angle->defaultValue[0], 45.0 * std::numbers::pi / 180.0, 1e-12);
    EXPECT_NEAR(angle->max, 100.0 * std::numbers::pi / 180.0, 1e-12);

    // A value beyond the slider but within the limit is kept; beyond the limit it is clamped.
    auto stored = [&](unsigned id, double v) {
        host.setValue(id, {v});
        double got = 0;
        store.getFloatValue_fromParm_atTime(&got, id, 0);
        return got;
    };
    EXPECT_EQ(stored(kZoom, -250.0), -250.0);
    EXPECT_EQ(stored(kShutterAngle, 900.0), 720.0);
}

TEST(FxPlugCatalogue, LoadingNeedsTheCreationInterfaceAndHappensOnce) {
    InProcessHost host(InProcessFamily::FinalCutPro);
    host.withhold(FxProtocol::ParameterCreation, true);
    EXPECT_FALSE(host.load(MirrelBundle()));
    host.withhold(FxProtocol::ParameterCreation, false);
    ASSERT_TRUE(host.load(MirrelBundle()));
    EXPECT_FALSE(host.load(MirrelBundle()));
    EXPECT_EQ(host.properties().count(), 5u);
}

} // namespace
