#include "fxplug/HostIndex.h"
#include "fxplug/MirrelBundle.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "platform/FxBitmap.h"
#include "support/HostPicture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

// The host object of a render over one bitmap as input and output, on a family.
struct Render {
    InProcessHost host;
    FxRenderInfo info;
    std::unique_ptr<FxBitmap, void (*)(FxBitmap*)> bitmap;
    PluginHost_FXPLUG_Impl face;
    Render(InProcessFamily family, unsigned depth, unsigned format, unsigned width = 6,
           unsigned height = 4)
        : host(family),
          bitmap(FxBitmap::alloc()->initWithInfo(
                     {.width = width, .height = height, .depth = depth, .pixelFormat = format}),
                 [](FxBitmap* b) { b->release(); }),
          face(nullptr, &host.params(), bitmap.get(), bitmap.get(), &info, nullptr, nullptr,
               nullptr, nullptr) {
        EXPECT_TRUE(host.load(MirrelBundle()));
    }
    unsigned char* pixels() { return static_cast<unsigned char*>(bitmap->dataPtr()); }
};

TEST(FxPlugHost, BitmapFormatsBecomeRasterFormats) {
    struct Case {
        unsigned depth, format;
        int other, motion; // -1: no record written
    };
    Case const cases[] = {{8, 2, RF_ARGB8, RF_ARGB8},
                          {8, 0, RF_RGBA8, RF_ARGB8},
                          {8, 4, RF_R408, RF_R408},
                          {16, 2, RF_ARGB16, RF_ARGB16},
                          {16, 0, RF_RGBA16, RF_ARGB16},
                          {32, 2, RF_ARGB32, RF_ARGB32},
                          {32, 0, RF_RGBA32, RF_ARGB32},
                          {32, 5, RF_R4FL, RF_R4FL},
                          {16, 4, -1, -1},
                          {8, 5, -1, -1}};
    for (auto family : {InProcessFamily::FinalCutExpress, InProcessFamily::Motion})
        for (Case c : cases) {
            SCOPED_TRACE(testing::Message() << int(family) << ": " << c.depth << "/" << c.format);
            Render r(family, c.depth, c.format);
            PluginHost_API::RasterInfo info;
            info.format = PluginRasterFormat(77);
            r.face.getOutputRasterInfo(&info);
            int expected = family == InProcessFamily::Motion ? c.motion : c.other;
            EXPECT_EQ(int(info.format), expected < 0 ? 77 : expected);
            if (expected < 0) continue;
            EXPECT_EQ(info.isYUV, c.format >= 4);
            EXPECT_EQ(std::tuple(info.pixelBytes, info.width, info.height),
                      std::tuple(int(c.depth / 2), 6, 4));
        }
}

TEST(FxPlugHost, MotionRowsAreSeenTopDownAndScratchRastersAreNot) {
    for (auto family : {InProcessFamily::FinalCutPro, InProcessFamily::Motion}) {
        bool motion = family == InProcessFamily::Motion;
        Render r(family, 8, 0, 5, 3);
        unsigned char* base = r.pixels();
        long stride = r.bitmap->rowBytes();
        PluginHost_API::RasterInfo in, s;
        r.face.getInputRasterInfo(0, &in);
        EXPECT_EQ(in.data, motion ? base + 2 * stride : base);
        EXPECT_EQ(in.rowBytes, motion ? -stride : stride);

        int error = -1;
        std::unique_ptr<PluginRaster_API> scratch(
            r.face.allocRaster(7, 2, PluginRaster_API::PIXEL_8, error, 0));
        EXPECT_EQ(error, 0);
        for (int twice = 0; twice < 2; ++twice) { // a scratch record is never flipped
            EXPECT_EQ(r.face.getRasterInfo(scratch.get(), &s), 0);
            EXPECT_EQ(s.rowBytes, 28) << "top-down, packed for the wider width";
        }
        EXPECT_EQ(s.format, in.format);
        EXPECT_EQ(r.face.deallocRaster(scratch.get()), 0);
        std::unique_ptr<PluginRaster_API> input(r.face.getInputRaster(3));
        EXPECT_EQ(r.face.deallocRaster(input.get()), 1) << "host pixels are not freed";
    }
}

TEST(FxPlugHost, PixelTypesAndAFieldHalvingTheVerticalScale) {
    Render r(InProcessFamily::FinalCutPro, 16, 2);
    std::unique_ptr<PluginRaster_API> input(r.face.getInputRaster(0));
    int error = 0;
    std::unique_ptr<PluginRaster_API> scratch(
        r.face.allocRaster(2, 2, PluginRaster_API::PIXEL_16, error, 0));
    EXPECT_EQ(input->getPixelType(), PluginRaster_API::PIXEL_16);
    EXPECT_EQ(scratch->getPixelType(), PluginRaster_API::PIXEL_14) << "told by pixel size only";
    r.face.deallocRaster(scratch.get());
    r.info.scaleX = r.info.scaleY = 0.5;
    for (auto [field, scaleY] : {std::pair{0, 0.5}, {1, 0.25}, {2, 0.25}}) {
        r.info.field = decltype(r.info.field)(field);
        EXPECT_EQ(std::pair(r.face.getScaleX(), r.face.getScaleY()), std::pair(0.5, scaleY));
    }
}

} // namespace
