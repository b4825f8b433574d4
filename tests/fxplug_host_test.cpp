#include "fxplug/HostIndex.h"
#include "fxplug/MirrelBundle.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "platform/FxBitmap.h"
#include "support/HostPicture.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

struct Bitmap {
    FxBitmap* b;
    Bitmap(unsigned width, unsigned height, unsigned depth, unsigned format) {
        FxImageInfo info;
        info.width = width;
        info.height = height;
        info.depth = depth;
        info.pixelFormat = format;
        b = FxBitmap::alloc()->initWithInfo(info);
    }
    ~Bitmap() { b->release(); }
};

// The host object of a render over one bitmap as input and output, on a family.
struct Render {
    InProcessHost host;
    FxRenderInfo info;
    Bitmap bitmap;
    PluginHost_FXPLUG_Impl face;
    Render(InProcessFamily family, unsigned depth, unsigned format, unsigned width = 6,
           unsigned height = 4)
        : host(family), bitmap(width, height, depth, format),
          face(nullptr, &host.params(), bitmap.b, bitmap.b, &info, nullptr, nullptr, nullptr,
               nullptr) {
        EXPECT_TRUE(host.load(MirrelBundle()));
    }
};

TEST(FxPlugHost, BitmapFormatsBecomeRasterFormats) {
    struct Case {
        unsigned depth, format;
        int other, motion; // -1: no record written
        bool yuv;
    };
    Case const cases[] = {
        {8, 2, RF_ARGB8, RF_ARGB8, false},
        {8, 0, RF_RGBA8, RF_ARGB8, false},
        {8, 4, RF_R408, RF_R408, true},
        {16, 2, RF_ARGB16, RF_ARGB16, false},
        {16, 0, RF_RGBA16, RF_ARGB16, false},
        {32, 2, RF_ARGB32, RF_ARGB32, false},
        {32, 0, RF_RGBA32, RF_ARGB32, false},
        {32, 5, RF_R4FL, RF_R4FL, true},
        {16, 4, -1, -1, false},
        {8, 5, -1, -1, false},
    };
    for (auto family : {InProcessFamily::FinalCutExpress, InProcessFamily::Motion})
        for (Case c : cases) {
            SCOPED_TRACE(testing::Message() << int(family) << ": " << c.depth << "/" << c.format);
            Render r(family, c.depth, c.format);
            PluginHost_API::RasterInfo info;
            info.format = PluginRasterFormat(77);
            r.face.getOutputRasterInfo(&info);
            int expected = family == InProcessFamily::Motion ? c.motion : c.other;
            if (expected < 0) {
                EXPECT_EQ(int(info.format), 77);
                EXPECT_EQ(info.data, nullptr);
                continue;
            }
            EXPECT_EQ(int(info.format), expected);
            EXPECT_EQ(info.isYUV, c.yuv);
            EXPECT_EQ(info.pixelBytes, int(c.depth / 2));
            EXPECT_EQ(info.width, 6);
            EXPECT_EQ(info.height, 4);
        }
}

TEST(FxPlugHost, MotionRowsAreSeenTopDownAndScratchRastersAreNot) {
    for (auto family : {InProcessFamily::FinalCutPro, InProcessFamily::Motion}) {
        bool motion = family == InProcessFamily::Motion;
        Render r(family, 8, 0, 5, 3);
        auto* base = static_cast<unsigned char*>(r.bitmap.b->dataPtr());
        long stride = r.bitmap.b->rowBytes();
        PluginHost_API::RasterInfo in;
        r.face.getInputRasterInfo(0, &in);
        EXPECT_EQ(in.data, motion ? base + 2 * stride : base);
        EXPECT_EQ(in.rowBytes, motion ? -stride : stride);

        int error = -1;
        std::unique_ptr<PluginRaster_API> scratch(
            r.face.allocRaster(7, 2, PluginRaster_API::PIXEL_8, error, 0));
        PluginHost_API::RasterInfo s;
        r.face.getRasterInfo(scratch.get(), &s);
        EXPECT_EQ(error, 0);
        EXPECT_EQ(s.rowBytes, 28) << "top-down, packed for the wider width";
        EXPECT_EQ(s.format, in.format);
        EXPECT_EQ(r.face.getRasterInfo(scratch.get(), &s), 0);
        EXPECT_EQ(s.rowBytes, 28) << "no flip of a scratch record";
        EXPECT_EQ(r.face.deallocRaster(scratch.get()), 0);

        std::unique_ptr<PluginRaster_API> input(r.face.getInputRaster(3));
        EXPECT_EQ(r.face.deallocRaster(input.get()), 1) << "host pixels are not freed";
        EXPECT_EQ(input->getWidth(), 5);
        EXPECT_EQ(input->getRowBytes(), 20);
    }
}

TEST(FxPlugHost, AspectScaleFieldsAndPixelTypes) {
    Render r(InProcessFamily::FinalCutPro, 16, 2);
    r.bitmap.b->setPixelAspect(1.5);
    std::unique_ptr<PluginRaster_API> input(r.face.getInputRaster(0));
    PluginHost_API::RasterInfo info;
    r.face.getRasterInfo(input.get(), &info);
    EXPECT_EQ(info.aspectRatio, 1.5f);
    EXPECT_EQ(r.face.geAspectRatio(input.get()), 1.0) << "host pixel aspect is not applied";
    int error = 0;
    std::unique_ptr<PluginRaster_API> scratch(
        r.face.allocRaster(2, 2, PluginRaster_API::PIXEL_16, error, 0));
    EXPECT_EQ(r.face.geAspectRatio(scratch.get()), 1.5);
    EXPECT_EQ(input->getPixelType(), PluginRaster_API::PIXEL_16);
    EXPECT_EQ(scratch->getPixelType(), PluginRaster_API::PIXEL_14) << "told by pixel size only";
    r.face.deallocRaster(scratch.get());

    r.info.scaleX = 0.5;
    r.info.scaleY = 0.5;
    r.info.field = 2;
    r.info.qualityLevel = 1;
    EXPECT_EQ(r.face.getScaleX(), 0.5);
    EXPECT_EQ(r.face.getScaleY(), 0.25);
    EXPECT_FALSE(r.face.isQualityHigh());
    int w = 0, h = 0;
    r.face.getSourceLayerDimensions(w, h);
    EXPECT_EQ(w, 12);
    EXPECT_EQ(h, 8);
    int full = 0, step = 0, first = -1;
    r.face.getFullFrameInfo(10.49, 240, full, step, first);
    EXPECT_EQ(full, 480);
    EXPECT_EQ(step, 2);
    EXPECT_EQ(first, 1);
    r.face.getFullFrameInfo(10.48, 240, full, step, first);
    EXPECT_EQ(first, 0);
    r.info.field = 0;
    EXPECT_EQ(r.face.getScaleY(), 0.5);
    r.face.getFullFrameInfo(10.49, 240, full, step, first);
    EXPECT_EQ(full, 240);
    EXPECT_EQ(step, 1);
    EXPECT_EQ(first, 0);
}

TEST(FxPlugHost, OutputOverrideTakesTheOutputsPlace) {
    Render r(InProcessFamily::Motion, 8, 2, 4, 2);
    std::memset(r.bitmap.b->dataPtr(), 9, 4 * 4 * 2);
    int error = 0;
    std::unique_ptr<PluginRaster_API> scratch(
        r.face.allocRaster(3, 5, PluginRaster_API::PIXEL_8, error, 0));
    r.face.setOutputRaster(scratch.get());
    EXPECT_EQ(r.face.getOutputWidth(), 3);
    EXPECT_EQ(r.face.getOutputHeight(), 5);
    std::unique_ptr<PluginRaster_API> out(r.face.getOutputRaster());
    PluginHost_API::RasterInfo o, s;
    r.face.getRasterInfo(out.get(), &o);
    r.face.getRasterInfo(scratch.get(), &s);
    EXPECT_EQ(o.data, s.data) << "a private record over the same pixels";
    std::memset(s.data, 5, std::size_t(s.rowBytes) * 5);
    r.face.fillOutput();
    EXPECT_EQ(static_cast<unsigned char*>(s.data)[s.rowBytes * 4 + 11], 0);
    EXPECT_EQ(static_cast<unsigned char*>(r.bitmap.b->dataPtr())[0], 9) << "the bitmap stays";
    r.face.setOutputRaster(nullptr);
    r.face.deallocRaster(scratch.get());
    r.face.fillOutput();
    EXPECT_EQ(static_cast<unsigned char*>(r.bitmap.b->dataPtr())[0], 0);
}

} // namespace
