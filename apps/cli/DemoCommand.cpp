#include "apps/cli/DemoScene.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/Mirrel.h"

namespace {

constexpr int kWidth = 960, kHeight = 540;
constexpr double kFloor = 0.62;

} // namespace

void demoCommand(Options const& o) {
    EffectSession session;
    // A long, soft and faded reflection over the dark floor, as on still water at dusk.
    std::vector<ValueSource> look = {
        {false, "Baseline Start=0,0.62"}, {false, "Baseline End=1,0.62"},
        {false, "Fade Length=40"},        {false, "Softness=80"},
        {false, "Mirrel Opacity=80"},     {false, "Transfer Mode=Normal"},
    };
    session.apply(resolveValues(look, session.params()));
    Picture result = session.render(demoScene(kWidth, kHeight, kFloor), {});
    writeImage(o.output, result, {.channels = 3, .hasAlpha = false});
}
