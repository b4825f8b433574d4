#include "fxplug/MirrelBundle.h"
#include "fxplug/Mirrel_FXPLUG_Overlay.h"
#include "params/ParamIds.h"
#include "support/HostPicture.h"

#include <gtest/gtest.h>

namespace {

using Value = ParameterStore::Value;
constexpr int W = 200, H = 100; // canvas: fractions times this size are drawing units

// Start (40, 60), end (160, 60), height point (100, 90), middle (100, 60), translate (100, 20).
struct Canvas {
    InProcessHost host;
    explicit Canvas(InProcessFamily family = InProcessFamily::FinalCutPro) : host(family) {
        EXPECT_TRUE(host.load(MirrelBundle()));
        host.setValue(kBaselineStart, {0.2, 0.6});
        host.setValue(kBaselineEnd, {0.8, 0.6});
        host.setValue(kHeightSlant, {0.5, 0.9});
        host.setValue(kTranslate, {0.5, 0.2});
    }
    Value at(unsigned id) { return host.params().valueAt(*host.params().find(id), 0.0); }
    int part(double x, double y) { return host.activePartAt(x, y, W, H, 0.0); }
    std::vector<Value> points() {
        return {at(kBaselineStart), at(kBaselineEnd), at(kHeightSlant), at(kTranslate)};
    }
};

void expectNear(Value const& v, double x, double y) {
    EXPECT_NEAR(v[0], x, 1e-12);
    EXPECT_NEAR(v[1], y, 1e-12);
}

TEST(FxPlugOverlay, SelectionFindsLinesAndHandlesByTheirPickAreas) {
    // Baseline 1, height line 16, start 2, end 4, height 8, translate 32; off by 1.5 and 2.5
    // units from the baseline, 8 units off a handle in x and y, 10 below it.
    std::tuple<double, double, int> const picks[] = {
        {0.35, 0.6, 1},  {0.35, 0.615, 1}, {0.35, 0.625, 0}, {0.5, 0.75, 16}, {0.2, 0.6, 2},
        {0.24, 0.68, 2}, {0.2, 0.7, 0},    {0.8, 0.6, 4},    {0.5, 0.9, 8},   {0.5, 0.2, 32}};
    for (auto family : {InProcessFamily::FinalCutPro, InProcessFamily::Motion}) {
        Canvas c(family); // no flip: the same stored points pick at the same positions
        for (auto [x, y, part] : picks) EXPECT_EQ(c.part(x, y), part) << x << ", " << y;
        int middle = c.part(0.5, 0.6);
        EXPECT_TRUE(middle == 1 || middle == 16) << "the middle has no handle: " << middle;
    }
}

TEST(FxPlugOverlay, LinesMoveTheWholeFloorAndHandlesTheirOwnPoint) {
    // Pressed on the baseline, the height line, each handle, nothing; which of start, end,
    // height and translate move.
    std::tuple<double, double, char const*> const cases[] = {
        {0.35, 0.6, "xxx."}, {0.5, 0.75, "xxx."}, {0.2, 0.6, "x..."},  {0.8, 0.6, ".x.."},
        {0.5, 0.9, "..x."},  {0.5, 0.2, "...x"},  {0.05, 0.05, "xxx."}};
    for (auto [x, y, moved] : cases) {
        SCOPED_TRACE(testing::Message() << x << ", " << y);
        Canvas c;
        auto before = c.points();
        EXPECT_TRUE(c.host.mouseDown(x, y, W, H, 0.0));
        EXPECT_TRUE(c.host.mouseDragged(x + 0.3, y - 0.1, 0.0));
        EXPECT_TRUE(c.host.mouseDragged(x + 0.1, y - 0.05, 0.0)); // from the press, not the last
        for (int i = 0; i < 4; ++i) {
            bool m = moved[i] == 'x';
            expectNear(c.points()[size_t(i)], before[size_t(i)][0] + (m ? 0.1 : 0.0),
                       before[size_t(i)][1] - (m ? 0.05 : 0.0));
        }
        // Released where it was pressed, everything is back.
        EXPECT_TRUE(c.host.mouseUp(x, y, 0.0));
        EXPECT_EQ(c.points(), before);
    }
    // A handle goes off the frame unclamped.
    Canvas c;
    c.host.mouseDown(0.5, 0.9, W, H, 0.0);
    c.host.mouseUp(-0.25, 1.5, 0.0);
    expectNear(c.at(kHeightSlant), -0.25, 1.5);
}

TEST(FxPlugOverlay, NoDragWithoutAPressAfterReleaseOrWithoutTheInterface) {
    Canvas c;
    auto before = c.points();
    EXPECT_FALSE(c.host.mouseDragged(0.9, 0.9, 0.0) || c.host.mouseUp(0.9, 0.9, 0.0));
    c.host.mouseDown(0.8, 0.6, W, H, 0.0);
    c.host.mouseUp(0.8, 0.6, 0.0);
    EXPECT_FALSE(c.host.mouseDragged(0.1, 0.1, 0.0));
    c.host.withhold(FxProtocol::OnScreenControl, true);
    EXPECT_FALSE(c.host.mouseDown(0.2, 0.6, W, H, 0.0));
    c.host.withhold(FxProtocol::OnScreenControl, false);
    EXPECT_FALSE(c.host.mouseDragged(0.3, 0.3, 0.0));
    EXPECT_EQ(c.points(), before);
}

TEST(FxPlugOverlay, ControlsAreDrawnInTheHostsDirection) {
    for (auto family : {InProcessFamily::FinalCutPro, InProcessFamily::Motion}) {
        Canvas c(family);
        HostPicture canvas(W, H);
        ASSERT_TRUE(c.host.drawControls(canvas.image, 0.0));
        int row = family == InProcessFamily::Motion ? H - 90 : 90; // the height handle
        unsigned char const* p = canvas.row(row) + 4 * 100;
        EXPECT_EQ(std::vector<int>(p, p + 4), (std::vector<int>{255, 255, 0, 255}));
        unsigned char const* blank = canvas.row(H - 1 - row) + 4 * 100;
        EXPECT_EQ(blank[3], 0);
    }
}

} // namespace
