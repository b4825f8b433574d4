#include "fxplug/MirrelBundle.h"
#include "inprocess/InProcessHost.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

// Saved projects refer to the ids, presets and editors to the labels and menu entries: none of
// them ever changes. Kinds by letter: Group Popup Bool(toggle) Float Int Angle X(point) Colour.
TEST(FxPlugCatalogue, IdsLabelsAndKindsOfSavedProjectsStayInOrder) {
    InProcessHost host(InProcessFamily::FinalCutPro);
    ASSERT_TRUE(host.load(MirrelBundle()));
    auto const& params = host.params().params();
    std::string got;
    int group = -1;
    for (auto const& p : params) {
        if (p.kind == ParameterStore::Kind::Group) group = int(&p - params.data());
        EXPECT_EQ(p.groupIndex, &p - params.data() == group ? -1 : group) << p.name;
        got += ";" + std::to_string(p.id) + "GPBFIAXC"[int(p.kind)] + p.name;
        for (size_t i = 0; i < p.entries.size(); ++i) got += (i ? "," : ":") + p.entries[i];
    }
    EXPECT_EQ(got,
              ";176G3D Transform;174PLight:Frontlit,Backlit;5XBaseline Start;6XBaseline End;"
              "7XHeight and Slant;164CWireframe Color;"
              "181GBend;170BBend;171ABend Angle;172FBend Start;180FBend Stretch;"
              "183PSeam Style:Constant,Linear,Square,Inverse Square;"
              "184PSeam Size:None,Small,Medium,Large;185FSeam Intensity;188CSeam Color;"
              "20GMirrel Style;3FSoftness;169FSoftness Aspect;"
              "166PSoftness Type:Simple,Mip Map,Progressive Linear,Progressive Square;"
              "161FFade Start;4FFade Length;162PFade Type:Linear,Square,Inverse Square;"
              "1008G2D Transform;13PQuality:Low,Medium,High;1009FZoom;1063XTranslate;"
              "22GMotion Blur;23PMotion Blur:Off,On;24FShutter Angle;25FShutter Phase;26FSamples;"
              "178GBlend;19FGamma;18FBrightness;12IRandom Seed;11FFade Noise;167FPost Softness;"
              "8FSource Opacity;68FMirrel Opacity;9PTransfer Mode:None,Based on Light,Behind,"
              "Normal,Add,Multiply,Screen,Overlay,Soft Light,Hard Light,Color Dodge,Color Burn,"
              "Darken,Lighten,Difference,Exclusion,Hue,Saturation,Color,Luminosity");
}

TEST(FxPlugCatalogue, AnglesAreKeptInRadiansAndValuesClampedAtTheLimitsNotTheSlider) {
    InProcessHost host(InProcessFamily::Motion);
    ASSERT_TRUE(host.load(MirrelBundle()));
    ParameterStore& store = host.params();
    auto const* angle = store.find(kBendAngle);
    EXPECT_NEAR(angle->defaultValue[0], 45.0 * std::numbers::pi / 180.0, 1e-12);
    EXPECT_NEAR(angle->max, 100.0 * std::numbers::pi / 180.0, 1e-12);
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
