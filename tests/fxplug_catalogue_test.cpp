#include "fxplug/MirrelBundle.h"
#include "inprocess/InProcessHost.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

// The ids, kinds and order are what saved projects refer to; they never change.
TEST(FxPlugCatalogue, IdsAndKindsOfSavedProjectsStayInOrder) {
    InProcessHost host(InProcessFamily::FinalCutPro);
    ASSERT_TRUE(host.load(MirrelBundle()));
    // Kinds by letter: Group Popup Bool(toggle) Float Int Angle X(point) Colour.
    std::string const kinds = "GPXXXC|GBAFFPPFC|GFFPFFP|GPFX|GPFFF|GFFIFFFFP|";
    std::vector<unsigned> const ids = {176, 174, 5,    6,   7,    164,  181, 170, 171, 172,
                                       180, 183, 184,  185, 188,  20,   3,   169, 166, 161,
                                       4,   162, 1008, 13,  1009, 1063, 22,  23,  24,  25,
                                       26,  178, 19,   18,  12,   11,   167, 8,   68,  9};
    std::string gotKinds;
    std::vector<unsigned> gotIds;
    for (auto const& p : host.params().params()) {
        if (p.kind == ParameterStore::Kind::Group && !gotIds.empty()) gotKinds += '|';
        gotKinds += "GPBFIAXC"[int(p.kind)];
        gotIds.push_back(p.id);
    }
    EXPECT_EQ(gotKinds + '|', kinds);
    EXPECT_EQ(gotIds, ids);
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
