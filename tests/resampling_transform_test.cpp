#include "RenderLib/CommonRender.h"
#include "RenderLib/LineFuncCP.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

const PluginRasterFormat kAllFormats[] = {RF_ARGB8,  RF_BGRA8,  RF_RGBA8,  RF_ARGB15,
                                          RF_ARGB14, RF_BGRA14, RF_ARGB16, RF_RGBA16,
                                          RF_ARGB32, RF_RGBA32, RF_BGRA32};

double fullScale(PluginRasterFormat f) {
    switch (int(f)) {
    case 3:
        return 32768;
    case 5:
    case 6:
        return 16384;
    case 7:
    case 8:
        return 65535;
    case 9:
    case 10:
    case 11:
        return 1.0;
    default:
        return 255;
    }
}

double channel(MemoryImage& img, int x, int y, int k) {
    switch (img.info.pixelBytes) {
    case 4:
        return img.pixel<unsigned char>(x, y)[k];
    case 8:
        return img.pixel<unsigned short>(x, y)[k];
    default:
        return img.pixel<float>(x, y)[k];
    }
}

void setChannel(MemoryImage& img, int x, int y, int k, double value) {
    switch (img.info.pixelBytes) {
    case 4:
        img.pixel<unsigned char>(x, y)[k] = (unsigned char)value;
        break;
    case 8:
        img.pixel<unsigned short>(x, y)[k] = (unsigned short)value;
        break;
    default:
        img.pixel<float>(x, y)[k] = float(value);
        break;
    }
}

// A picture that changes slowly, so resampling errors stay small, in the format's range.
void fillSmooth(MemoryImage& img) {
    const double full = fullScale(img.info.format);
    for (int y = 0; y < img.info.height; ++y)
        for (int x = 0; x < img.info.width; ++x)
            for (int k = 0; k < 4; ++k)
                setChannel(img, x, y, k,
                           full * (0.5 + 0.4 * std::sin(0.21 * x + 0.13 * y + 1.7 * k)));
}

// Any value of the format's range in every channel.
void fillNoise(MemoryImage& img, unsigned seed) {
    const double full = fullScale(img.info.format);
    unsigned s = seed * 2654435761u + 7;
    for (int y = 0; y < img.info.height; ++y)
        for (int x = 0; x < img.info.width; ++x)
            for (int k = 0; k < 4; ++k) {
                s = s * 1664525u + 1013904223u;
                double v = (s >> 8) / double(1 << 24) * full;
                setChannel(img, x, y, k, full == 1.0 ? v : std::floor(v));
            }
}

struct Transform {
    CoreRenderArguments args;
    RenderSettings settings;

    Transform(int filter, const MemoryImage& src, const MemoryImage& dst) {
        initializeCoreRenderArguments(&args);
        args.filter = filter;
        args.renderMode = 0;
        args.transformType = 3;
        std::memset(static_cast<void*>(&settings), 0, sizeof settings);
        settings.srcRect = TX_IRect(0, 0, src.info.width - 1, src.info.height - 1);
        settings.dstRect = TX_IRect(0, 0, dst.info.width - 1, dst.info.height - 1);
    }
    // Quads as the caller lists them: (0,0), (0,1), (1,0), (1,1) of the unit square.
    static void setQuad(double (*quad)[2], std::initializer_list<double> xy) {
        auto it = xy.begin();
        for (int i = 0; i < 4; ++i) quad[i][0] = *it++, quad[i][1] = *it++;
    }
    int run(MemoryImage& src, MemoryImage& dst, bool clearDest = true, bool fill = false) {
        MemoryHost host(&src, &dst);
        return CommonRender_CoreTransformRender(&host, args, src.info, dst.info, clearDest, false,
                                                &settings, true, fill);
    }
};

// Largest difference over the pixels at least `margin` inside the picture, in full scales.
double maxInteriorError(MemoryImage& a, MemoryImage& b, int margin) {
    double worst = 0;
    for (int y = margin; y < a.info.height - margin; ++y)
        for (int x = margin; x < a.info.width - margin; ++x)
            for (int k = 0; k < 4; ++k)
                worst = std::max(worst, std::fabs(channel(a, x, y, k) - channel(b, x, y, k)));
    return worst / fullScale(a.info.format);
}

TEST(CoreTransformRender, IdentityKeepsThePictureInEveryFormat) {
    for (PluginRasterFormat f : kAllFormats) {
        SCOPED_TRACE(int(f));
        MemoryImage src(f, 32, 24), dst(f, 32, 24);
        fillNoise(src, 3);
        // Nearest stops half a pixel inside the window; reaching one pixel past the right and
        // bottom lines the texture up with the destination pixels exactly.
        Transform nearest(0, src, dst);
        nearest.settings.srcRect = TX_IRect(0, 0, 32, 24);
        ASSERT_EQ(nearest.run(src, dst), 0);
        EXPECT_EQ(dst.bytes(), src.bytes());

        // Bilinear truncates twice (rows, then columns): at most two units lost, nothing more.
        const double unit = fullScale(f) == 1.0 ? 1e-4 : 1.0 / fullScale(f);
        Transform bilinear(1, src, dst);
        bilinear.run(src, dst);
        EXPECT_LE(maxInteriorError(src, dst, 1), 2.01 * unit);

        fillSmooth(src);
        for (int filter : {4, 9}) {
            Transform cubic(filter, src, dst);
            cubic.run(src, dst);
            // Parzen is a B-spline and smooths even at zero phase.
            EXPECT_LE(maxInteriorError(src, dst, 3), filter == 9 ? 0.02 : 2.01 / 255) << filter;
        }
    }
}

TEST(CoreTransformRender, PerspectiveQuadAndBackApproximatesTheSource) {
    for (PluginRasterFormat f : {RF_RGBA8, RF_ARGB16, RF_RGBA32, RF_ARGB14}) {
        SCOPED_TRACE(int(f));
        MemoryImage src(f, 96, 72), flat(f, 96, 72), back(f, 96, 72);
        fillSmooth(src);
        Transform forward(1, src, flat);
        forward.args.transformType = 2;
        Transform::setQuad(forward.args.destQuad, {0.25, 0.1, 0.0, 1.0, 0.75, 0.1, 1.0, 1.0});
        forward.run(src, flat);
        Transform inverse(1, flat, back);
        inverse.args.transformType = 4;
        Transform::setQuad(inverse.args.srcQuad, {0.25, 0.1, 0.0, 1.0, 0.75, 0.1, 1.0, 1.0});
        inverse.run(flat, back);
        EXPECT_LT(maxInteriorError(src, back, 12), 0.06);
        // The picture did go through the quad: the top middle of the intermediate is pixels
        // from the source's top, its top corners stay empty.
        EXPECT_EQ(channel(flat, 2, 2, 0), 0);
        EXPECT_NE(channel(flat, 48, 12, 0), 0);

        // Rows walked upward in memory give the same picture, through the table sampler too.
        MemoryImage flatUp(f, 96, 72, MemoryImage::Rows::BottomUp);
        MemoryImage srcUp(f, 96, 72, MemoryImage::Rows::BottomUp);
        fillSmooth(srcUp);
        for (int filter : {1, 9}) {
            forward.args.filter = filter;
            Transform forwardUp = forward;
            forward.run(src, flat);
            forwardUp.run(srcUp, flatUp);
            EXPECT_EQ(flatUp.bytes(), flat.bytes());
        }
    }
}

TEST(CoreTransformRender, OriginShiftsTheScanAndCornersPlaceThePolygon) {
    MemoryImage src(RF_ARGB8, 30, 20), plain(RF_ARGB8, 30, 20), shifted(RF_ARGB8, 30, 20);
    fillNoise(src, 4);
    // At output size no settings are needed; the origin moves the scan over the frame.
    CoreRenderArguments args;
    initializeCoreRenderArguments(&args);
    args.renderMode = 1;
    MemoryHost host(&src, &plain);
    CommonRender_CoreTransformRender(&host, args, src.info, plain.info, true, false, nullptr, true,
                                     false);
    MemoryHost hostShifted(&src, &shifted);
    hostShifted.setOrigin(5, 3);
    CommonRender_CoreTransformRender(&hostShifted, args, src.info, shifted.info, true, false,
                                     nullptr, true, false);
    // The window's own edge cuts the polygon there: its first row and column are border pixels.
    for (int y = 1; y < 17; ++y)
        for (int x = 1; x < 25; ++x)
            ASSERT_EQ(*shifted.pixel<uint32_t>(x, y), *plain.pixel<uint32_t>(x + 5, y + 3));

    // Supersampling without the caller's settings has a grid of its own: close to the plain
    // table sampler it stands on.
    MemoryImage smooth(RF_RGBA32, 30, 20), plainOut(RF_RGBA32, 30, 20), ssOut(RF_RGBA32, 30, 20);
    fillSmooth(smooth);
    for (int filter : {9, 22}) {
        args.filter = filter;
        MemoryImage& out = filter == 9 ? plainOut : ssOut;
        MemoryHost floatHost(&smooth, &out);
        CommonRender_CoreTransformRender(&floatHost, args, smooth.info, out.info, true, false,
                                         nullptr, true, false);
    }
    EXPECT_LT(maxInteriorError(plainOut, ssOut, 2), 0.03);

    // Nearest texture runs from 0.5 to width - 1.5: corners there, a hair off the pixel centres,
    // copy pixel for pixel all but the last two rows and columns.
    Transform corners(0, src, plain);
    corners.args.renderMode = corners.settings.renderMode = 2;
    const double in = 0.5 - 1e-9;
    const double xs[4] = {in, in, in + 28, in + 28}, ys[4] = {in, in + 18, in + 18, in};
    for (int i = 0; i < 4; ++i) corners.settings.corners[i] = TX_Point2D(xs[i], ys[i]);
    corners.run(src, plain);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x)
            ASSERT_EQ(*plain.pixel<uint32_t>(x, y),
                      (x < 28 && y < 18) ? *src.pixel<uint32_t>(x, y) : 0u);
}

TEST(CoreTransformRender, ConcaveAndDegenerateQuadsDrawNothing) {
    const double unitStored[8] = {0, 0, 1, 0, 0, 1, 1, 1};
    const double bowTie[8] = {0, 0, 1, 0, 1, 1, 0, 1};
    const double point[8] = {0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3};
    EXPECT_FALSE(checkConcave(unitStored));
    EXPECT_TRUE(checkConcave(bowTie));
    EXPECT_TRUE(checkConcave(point));

    MemoryImage src(RF_ARGB8, 16, 16), dst(RF_ARGB8, 16, 16);
    fillNoise(src, 1);
    for (int type : {2, 4}) {
        for (const double* stored : {bowTie, point}) {
            dst.fillBytes(9);
            const std::vector<unsigned char> before = dst.bytes();
            Transform t(1, src, dst);
            t.args.transformType = type;
            auto& quad = type == 2 ? t.args.destQuad : t.args.srcQuad;
            // Back from crossing order to the caller's order.
            for (int i = 0; i < 4; ++i) {
                const int from = i == 1 ? 2 : (i == 2 ? 1 : i);
                quad[i][0] = stored[2 * from], quad[i][1] = stored[2 * from + 1];
            }
            EXPECT_EQ(t.run(src, dst, false), 0);
            EXPECT_EQ(dst.bytes(), before);
            t.run(src, dst, true);
            EXPECT_EQ(dst.bytes(), std::vector<unsigned char>(before.size(), 0));
        }
    }
}

TEST(CoreTransformRender, PolygonBehindTheEyeIsDrawnMirrored) {
    // A mirrored source quad makes w negative over the whole polygon.
    MemoryImage src(RF_RGBA32, 40, 30), dst(RF_RGBA32, 40, 30);
    fillSmooth(src);
    Transform t(1, src, dst);
    t.args.transformType = 4;
    Transform::setQuad(t.args.srcQuad, {1, 0, 1, 1, 0, 0, 0, 1});
    EXPECT_EQ(t.run(src, dst), 0);
    double worst = 0;
    for (int y = 2; y < 28; ++y)
        for (int x = 2; x < 38; ++x)
            worst = std::max(worst, std::fabs(channel(dst, x, y, 1) - channel(src, 39 - x, y, 1)));
    EXPECT_LT(worst, 0.02);
}

TEST(CoreTransformRender, SettingsAndArgumentsAsTheyComeBack) {
    MemoryImage src(RF_ARGB8, 24, 24), dst(RF_ARGB8, 24, 24), ref(RF_ARGB8, 24, 24);
    fillNoise(src, 5);
    Transform ss(22, src, dst);
    ss.run(src, dst);
    EXPECT_EQ(ss.args.filter, 9);
    EXPECT_EQ(ss.settings.interpMode, 3);

    // At a quarter scale a bilinear request falls back to nearest; sharpening restores the
    // table sampler at four taps.
    Transform nearest(0, src, ref);
    nearest.run(src, ref);
    Transform small(1, src, dst);
    {
        MemoryHost host(&src, &dst);
        host.scaleX = host.scaleY = 0.25;
        CommonRender_CoreTransformRender(&host, small.args, src.info, dst.info, true, false,
                                         &small.settings, true, false);
        EXPECT_EQ(small.settings.interpMode, 0);
        EXPECT_EQ(dst.bytes(), ref.bytes());
        small.args.sharpen = true;
        CommonRender_CoreTransformRender(&host, small.args, src.info, dst.info, true, false,
                                         &small.settings, true, false);
        EXPECT_EQ(small.settings.interpMode, 2);
        EXPECT_EQ(small.settings.kernelSize, 1);
        EXPECT_EQ(small.settings.lineFunction, &LineFuncCP<unsigned char>::biCubicFunc_4x4);
    }

    // The format comes from the host's output raster.
    MemoryImage odd(PluginRasterFormat(4), 8, 8);
    MemoryHost host(&src, &odd);
    EXPECT_EQ(CommonRender_CoreTransformRender(&host, ss.args, src.info, odd.info, true, false,
                                               &ss.settings, true, false),
              1);

    // An empty destination window draws nothing.
    dst.fillBytes(2);
    const auto before = dst.bytes();
    Transform empty(1, src, dst);
    empty.settings.dstRect = TX_IRect(10, 0, 9, 23);
    EXPECT_EQ(empty.run(src, dst, false), 0);
    EXPECT_EQ(dst.bytes(), before);
}

TEST(CoreTransformRender, FillAndClampUseTheFormatsFullScale) {
    for (PluginRasterFormat f : {RF_ARGB14, RF_BGRA14, RF_ARGB15, RF_ARGB16, RF_BGRA8}) {
        SCOPED_TRACE(int(f));
        const double full = fullScale(f);
        const int alpha = (f == RF_BGRA14 || f == RF_BGRA8) ? 3 : 0;
        MemoryImage src(f, 8, 8), dst(f, 40, 40);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                for (int k = 0; k < 4; ++k) setChannel(src, x, y, k, (x & 1) ? full : 0);
        // Catmull-Rom overshoots at every edge of the stripes; the store clamps at full scale.
        Transform t(4, src, dst);
        t.run(src, dst);
        double highest = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x) highest = std::max(highest, channel(dst, x, y, 1));
        EXPECT_EQ(highest, full);

        Transform fill(1, src, dst);
        fill.settings.alphaIndex = alpha;
        fill.run(src, dst, true, true);
        EXPECT_EQ(channel(dst, 20, 20, alpha), full);
        EXPECT_EQ(channel(dst, 20, 20, alpha ^ 1), 0);
    }
}

} // namespace
