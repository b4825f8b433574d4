#include "fxplug/HostIndex.h"
#include "fxplug/MirrelBundle.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "fxplug/PluginUpdate_FXPLUG_Impl.h"
#include "inprocess/InProcessHost.h"
#include "params/Catalogue.h"
#include "params/RenderArguments.h"
#include "platform/Process.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

constexpr double kDegrees = 57.29577951308232;

// A loaded plug-in on a host of one family, and the host object of a change in the inspector
// (setting and action interfaces present), at `frame`.
struct Loaded {
    InProcessHost host;
    FxRenderInfo info;
    PluginHost_FXPLUG_Impl face;

    explicit Loaded(InProcessFamily family, double frame = 0.0)
        : host(family), face(nullptr, &host.params(), nullptr, nullptr, &info, nullptr,
                             &host.params(), nullptr, &host.params()) {
        info.frame = frame;
        EXPECT_TRUE(host.load(MirrelBundle()));
        host.setCurrentTime(frame);
    }
    ParameterStore::Value value(unsigned id, double frame = 0.0) {
        return host.params().valueAt(*host.params().find(id), frame);
    }
};

TEST(FxPlugChangeRules, SwitchesEnableAndDisableWhatTheyGovern) {
    Loaded l(InProcessFamily::FinalCutPro);
    ParameterStore& s = l.host.params();
    auto disabled = [&](std::vector<unsigned> const& ids) {
        std::string r;
        for (unsigned id : ids) r += s.isDisabled(id) ? 'x' : '.';
        return r;
    };
    std::vector<unsigned> const blur = {kShutterAngle, kShutterPhase, kSamples};
    std::vector<unsigned> const bend = {kBendAngle, kBendStart,     kBendStretch, kSeamStyle,
                                        kSeamSize,  kSeamIntensity, kSeamColor,   kBend};
    EXPECT_EQ(disabled(blur), "xx.") << "until the switch first changes, the catalogue holds";
    l.host.setValue(kMotionBlur, {1});
    EXPECT_EQ(disabled(blur), "...");
    l.host.setValue(kMotionBlur, {0});
    EXPECT_EQ(disabled(blur), "xxx");
    EXPECT_EQ(s.find(kShutterAngle)->flags, catalogueRow(kShutterAngle)->flags)
        << "other bits stay";
    l.host.setValue(kTransferMode, {0});
    EXPECT_EQ(disabled({kSourceOpacity, kMirrelOpacity}), "x.");
    l.host.setValue(kTransferMode, {14});
    EXPECT_EQ(disabled({kSourceOpacity}), ".");
    l.host.setValue(kBend, {1});
    EXPECT_EQ(disabled(bend), "........");
    l.host.setValue(kBend, {0});
    EXPECT_EQ(disabled(bend), "xxxxxxx.");

    // Other ids, and a host without the action interface, touch no flag.
    auto flags = [&] {
        std::vector<unsigned> f;
        for (auto const& p : s.params()) f.push_back(p.flags);
        return f;
    };
    auto before = flags();
    s.setConstant(kMotionBlur, {1});
    for (unsigned id : {kSamples, kGroupMotionBlur})
        EXPECT_EQ(l.host.filter()->parameterChanged(id), YES);
    EXPECT_EQ(flags(), before);
    l.host.withhold(FxProtocol::CustomParameterAction, true);
    EXPECT_EQ(l.host.filter()->parameterChanged(kMotionBlur), NO);
    EXPECT_EQ(flags(), before);
}

TEST(FxPlugParameterAccess, MotionPointsAreFlippedBothWays) {
    for (auto family : {InProcessFamily::FinalCutPro, InProcessFamily::Motion}) {
        Loaded l(family);
        bool motion = family == InProcessFamily::Motion;
        SCOPED_TRACE(motion ? "Motion" : "Final Cut Pro");
        l.host.setValue(kBaselineStart, {0.25, 0.75});
        l.host.setValue(kTranslate, {0.5, 0.125});
        PluginHost_API::TimeObject now(0, 100, 3000);

        double x = 0, y = 0;
        l.face.GetPoint2DValue(paramIndex(kBaselineStart), kBaselineStart, now, x, y);
        RenderArguments args;
        ParamsRetrieveValues(&l.face, &args);
        EXPECT_EQ(std::tuple(x, y, args.baselineStartY, args.translateY),
                  motion ? std::tuple(0.25, 0.25, 0.25, 0.875)
                         : std::tuple(0.25, 0.75, 0.75, 0.125));

        // Writing back what was read restores the stored value.
        l.host.setValue(kBaselineStart, {0, 0});
        l.face.SetPoint2DValue(paramIndex(kBaselineStart), kBaselineStart, x, y);
        EXPECT_EQ(l.value(kBaselineStart), (ParameterStore::Value{0.25, 0.75, 0}));
        PluginUpdate_FXPLUG_Impl update(&l.face);
        update.setPoint2DValue(0, kHeightSlant, 0.5, 0.25);
        EXPECT_EQ(l.value(kHeightSlant)[1], motion ? 0.75 : 0.25);
    }
}

TEST(FxPlugParameterAccess, AnglesConvertBothWaysAndTheTimeBaseIsOneHundredTicksAFrame) {
    Loaded l(InProcessFamily::Motion, 2.999);
    l.host.setValue(kBendAngle, {1.0}); // the host keeps radians
    PluginHost_API::TimeObject now(0, 100, 3000);
    double degrees = 0, plain = 0;
    l.face.GetAngleValue(paramIndex(kBendAngle), kBendAngle, now, degrees);
    l.face.GetFloatValue(paramIndex(kBendAngle), kBendAngle, now, plain);
    RenderArguments args;
    ParamsRetrieveValues(&l.face, &args);
    EXPECT_EQ(std::tuple(degrees, args.bendAngle, plain), std::tuple(kDegrees, kDegrees, 1.0));
    PluginUpdate_FXPLUG_Impl update(&l.face);
    update.setAngleValue(0, kBendAngle, 90.0);
    EXPECT_DOUBLE_EQ(l.value(kBendAngle)[0], std::numbers::pi / 2);
    double value = 30.0; // the host interface converts the caller's value in place
    l.face.SetAngleValue(paramIndex(kBendAngle), kBendAngle, value);
    EXPECT_DOUBLE_EQ(value, std::numbers::pi / 6);

    EXPECT_EQ((std::array{l.face.getTimeScale(), l.face.getTimeStep(), l.face.getFrameLength(),
                          l.face.getCurrentTime()}),
              (std::array{3000, 100, 3000, 299}));
    // Keys at frames 12 and 13: tick 1250 of 100 a frame reads halfway.
    l.host.setKey(kZoom, 12.0, {0.0});
    l.host.setKey(kZoom, 13.0, {10.0});
    double zoom = 0;
    l.face.GetFixedFloatValue(paramIndex(kZoom), kZoom, PluginHost_API::TimeObject(1250, 100, 3000),
                              zoom);
    EXPECT_DOUBLE_EQ(zoom, 5.0);
    l.info.frame = 12.25; // a render reads its own frame
    ParamsRetrieveValues(&l.face, &args);
    EXPECT_DOUBLE_EQ(args.zoom, 2.5);
}

TEST(FxPlugHostIdentity, VersionBitsApplicationCodesAndProcessNames) {
    InProcessHost host(InProcessFamily::Motion, 0xFA5FFFFFu);
    ASSERT_TRUE(host.load(MirrelBundle()));
    EXPECT_EQ(g_hostIndex, kHostMotion);
    PluginHost_FXPLUG_Impl face(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr);
    int first = -1, second = -1;
    EXPECT_EQ(face.getHostVersionNum(first, second), 1);
    EXPECT_EQ(std::pair(first, second), std::pair(0, 0));
    face.setHostVersionNum(host.apiManager());
    face.getHostVersionNum(first, second);
    EXPECT_EQ(std::pair(first, second), std::pair(5, 10)) << "minor first";

    // A host of unknown family is told by the process name, or assumed Final Cut Pro aloud.
    long const fcpr = 0x46435052, motn = 0x4D4F544E;
    auto const unknown = InProcessFamily::Unknown;
    for (auto [family, process, index] : {std::tuple{InProcessFamily::FinalCutPro, "", 0u},
                                          {InProcessFamily::Motion, "", 1u},
                                          {InProcessFamily::FinalCutExpress, "", 2u},
                                          {unknown, "Apple Motion 3", 1u},
                                          {unknown, "Final Cut Express HD", 2u},
                                          {unknown, "Final Cut Pro", 0u},
                                          {unknown, "mirrel-render", 0u}}) {
        SetCurrentProcessName(process);
        InProcessHost h(family);
        testing::internal::CaptureStderr();
        ASSERT_TRUE(h.load(MirrelBundle()));
        std::string err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(g_hostIndex, index) << process;
        EXPECT_EQ(std::tuple(face.isApplication(fcpr), face.isApplication(motn), face.hasCamera()),
                  std::tuple(index == 0, index == 1, index == 1));
        EXPECT_EQ(err,
                  process == std::string("mirrel-render")
                      ? "Host Error: Unable to figure out your host.  Assuming Final Cut Pro.\n"
                      : "");
    }
    SetCurrentProcessName("");
}

} // namespace
