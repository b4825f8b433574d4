#include "fxplug/FxFrame.h"
#include "fxplug/MirrelBundle.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "params/ParamIds.h"
#include "platform/FxBitmap.h"
#include "support/HostPicture.h"

#include <gtest/gtest.h>

namespace {

unsigned char* rowOf(FxBitmap* b, unsigned y) {
    return static_cast<unsigned char*>(b->dataPtr()) + y * b->rowBytes();
}

// A bitmap whose row r holds the byte 16 * (r + 1) plus its column, so rows tell where they
// came from.
FxBitmap* numberedBitmap(unsigned width, unsigned height) {
    FxImageInfo info;
    info.width = width;
    info.height = height;
    FxBitmap* b = FxBitmap::alloc()->initWithInfo(info);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned i = 0; i < width * 4; ++i)
            rowOf(b, y)[i] = (unsigned char)((y + 1) * 16 + i % 16);
    return b;
}

TEST(FxPlugFrame, LineHalfKeepsOneFieldAndStopsWhenTheSourceRunsOut) {
    FxBitmap* doubled = numberedBitmap(3, 8);
    FxBitmap* out = numberedBitmap(3, 6);
    for (bool odd : {false, true}) {
        render_lineHalf(doubled, out, odd);
        for (unsigned y = 0; y < 4; ++y) EXPECT_EQ(rowOf(out, y)[0], (2 * y + 1 + odd) * 16) << y;
    }
    EXPECT_EQ(rowOf(out, 4)[0], 5 * 16) << "rows beyond half the source are left";
    for (FxBitmap* b : {doubled, out}) b->release();
}

TEST(FxPlugFrame, InputIsCroppedOrPaddedToTheOutputSize) {
    FxBitmap* input = numberedBitmap(3, 2);
    FxBitmap* sizes[] = {numberedBitmap(3, 2), numberedBitmap(5, 4), numberedBitmap(2, 1)};
    EXPECT_EQ(getSameSizedInputAsOutput(input, sizes[0]), input);
    FxBitmap* padded = getSameSizedInputAsOutput(input, sizes[1]);
    ASSERT_EQ(std::pair(padded->width(), padded->height()), std::pair(5u, 4u));
    for (unsigned y = 0; y < 4; ++y)
        for (unsigned i = 0; i < 20; ++i)
            EXPECT_EQ(rowOf(padded, y)[i], y < 2 && i < 12 ? rowOf(input, y)[i] : 0)
                << y << " " << i;
    FxBitmap* cropped = getSameSizedInputAsOutput(input, sizes[2]);
    ASSERT_EQ(cropped->width(), 2u);
    EXPECT_EQ(0, std::memcmp(rowOf(cropped, 0), rowOf(input, 0), 8));
    for (FxBitmap* b : {input, sizes[0], sizes[1], sizes[2], padded, cropped}) b->release();
}

// Sizes that follow the proxy scale (softness, seam) shrink by half again on a field.
TEST(FxPlugRender, AFieldHalvesTheVerticalScale) {
    FxRenderInfo info;
    info.scaleX = info.scaleY = 0.5;
    PluginHost_FXPLUG_Impl face(nullptr, nullptr, nullptr, nullptr, &info, nullptr, nullptr,
                                nullptr, nullptr);
    for (auto [field, scaleY] : {std::pair{0u, 0.5}, {1u, 0.25}, {2u, 0.25}}) {
        info.field = field;
        EXPECT_EQ(std::pair(face.getScaleX(), face.getScaleY()), std::pair(0.5, scaleY));
    }
}

TEST(FxPlugRender, RenderWithoutRetrievalLeavesTheOutput) {
    HostPicture input(8, 4), output(8, 4);
    input.fillGradient();
    std::memset(output.row(0), 7, output.rowLength());
    InProcessHost host(InProcessFamily::FinalCutExpress);
    ASSERT_TRUE(host.load(MirrelBundle()));
    host.withhold(FxProtocol::ParameterRetrieval, true);
    auto before = output.bytes();
    EXPECT_FALSE(host.render(input.image, output.image, {}));
    EXPECT_EQ(output.bytes(), before);
    EXPECT_FALSE(host.outputPremultiplied());
}

} // namespace
