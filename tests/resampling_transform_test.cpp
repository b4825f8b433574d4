#include "RenderLib/CommonRender.h"
#include "RenderLib/CoreTransformRender.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

// Full scale by format number; 4 is not served.
const double kFull[12] = {255, 255, 255, 32768, 0, 16384, 16384, 65535, 65535, 1, 1, 1};
double fullScale(const MemoryImage& img) {
    return kFull[img.info.format];
}

// Reads channel k at (x, y), storing *set there first when given.
template <class T> double access(MemoryImage& img, int x, int y, int k, const double* set) {
    T& c = img.pixel<T>(x, y)[k];
    if (set) c = T(*set);
    return c;
}
double channel(MemoryImage& img, int x, int y, int k, const double* set = nullptr) {
    switch (img.info.pixelBytes) {
    case 4:
        return access<unsigned char>(img, x, y, k, set);
    case 8:
        return access<unsigned short>(img, x, y, k, set);
    default:
        return access<float>(img, x, y, k, set);
    }
}
template <class F> void fill(MemoryImage& img, F value) {
    for (int y = 0; y < img.info.height; ++y)
        for (int x = 0; x < img.info.width; ++x)
            for (int k = 0; k < 4; ++k) {
                const double v = value(x, y, k);
                channel(img, x, y, k, &v);
            }
}
// A picture in the format's range: slowly changing, so resampling errors stay small, or
// scattered over the whole range.
void fillPicture(MemoryImage& img, bool smooth) {
    const double full = fullScale(img);
    fill(img, [=](int x, int y, int k) {
        if (smooth) return full * (0.5 + 0.4 * std::sin(0.21 * x + 0.13 * y + 1.7 * k));
        const double v = std::fmod((x * 37 + y * 101 + k * 13) * 0.6180339887, 1.0) * full;
        return full == 1.0 ? v : std::floor(v);
    });
}

int render(MemoryHost& host, CoreRenderArguments& args, MemoryImage& src, MemoryImage& dst,
           RenderSettings* settings, bool clearDest = true, bool fillPolygon = false) {
    return CommonRender_CoreTransformRender(&host, args, src.info, dst.info, clearDest, false,
                                            settings, true, fillPolygon);
}

struct Transform {
    CoreRenderArguments args;
    RenderSettings settings;

    Transform(int filter, const MemoryImage& src, const MemoryImage& dst, int type = 3) {
        initializeCoreRenderArguments(&args);
        args.filter = filter;
        args.renderMode = 0;
        args.transformType = type;
        std::memset(static_cast<void*>(&settings), 0, sizeof settings);
        settings.srcRect = TX_IRect(0, 0, src.info.width - 1, src.info.height - 1);
        settings.dstRect = TX_IRect(0, 0, dst.info.width - 1, dst.info.height - 1);
    }
    // Quads as the caller lists them: (0,0), (0,1), (1,0), (1,1) of the unit square.
    static void setQuad(double (*quad)[2], const double* xy) {
        for (int i = 0; i < 8; ++i) quad[i / 2][i % 2] = xy[i];
    }
    int run(MemoryImage& src, MemoryImage& dst, bool clearDest = true, bool fill = false) {
        MemoryHost host(&src, &dst);
        return render(host, args, src, dst, &settings, clearDest, fill);
    }
};

// Largest difference over the pixels at least `margin` inside the picture, in full scales.
double maxInteriorError(MemoryImage& a, MemoryImage& b, int margin, int channels = 4) {
    double worst = 0;
    for (int y = margin; y < a.info.height - margin; ++y)
        for (int x = margin; x < a.info.width - margin; ++x)
            for (int k = 0; k < channels; ++k)
                worst = std::max(worst, std::fabs(channel(a, x, y, k) - channel(b, x, y, k)));
    return worst / fullScale(a);
}

TEST(CoreTransformRender, IdentityKeepsThePictureInEveryFormat) {
    for (PluginRasterFormat f : {RF_ARGB8, RF_BGRA8, RF_RGBA8, RF_ARGB15, RF_ARGB14, RF_BGRA14,
                                 RF_ARGB16, RF_RGBA16, RF_ARGB32, RF_RGBA32, RF_BGRA32}) {
        SCOPED_TRACE(int(f));
        MemoryImage src(f, 32, 24), dst(f, 32, 24);
        fillPicture(src, false);
        // Nearest stops half a pixel inside the window; reaching one pixel past the right and
        // bottom lines the texture up with the destination pixels exactly.
        Transform nearest(0, src, dst);
        nearest.settings.srcRect = TX_IRect(0, 0, 32, 24);
        ASSERT_EQ(nearest.run(src, dst), 0);
        EXPECT_EQ(dst.bytes(), src.bytes());

        // Bilinear truncates twice (rows, then columns): at most two units lost, nothing more.
        Transform(1, src, dst).run(src, dst);
        EXPECT_LE(maxInteriorError(src, dst, 1), 2.01 * std::max(1e-4, 1.0 / fullScale(src)));

        fillPicture(src, true);
        for (int filter : {4, 9}) {
            Transform(filter, src, dst).run(src, dst);
            // Parzen is a B-spline and smooths even at zero phase.
            EXPECT_LE(maxInteriorError(src, dst, 3), filter == 9 ? 0.02 : 2.01 / 255) << filter;
        }
    }
}

TEST(CoreTransformRender, PerspectiveQuadAndBackApproximatesTheSource) {
    const double quad[8] = {0.25, 0.1, 0.0, 1.0, 0.75, 0.1, 1.0, 1.0};
    for (PluginRasterFormat f : {RF_RGBA8, RF_ARGB16, RF_RGBA32, RF_ARGB14}) {
        SCOPED_TRACE(int(f));
        MemoryImage src(f, 96, 72), flat(f, 96, 72), back(f, 96, 72);
        MemoryImage srcUp(f, 96, 72, MemoryImage::Rows::BottomUp);
        MemoryImage flatUp(f, 96, 72, MemoryImage::Rows::BottomUp);
        fillPicture(src, true);
        fillPicture(srcUp, true);
        Transform forward(1, src, flat, 2), inverse(1, flat, back, 4);
        Transform::setQuad(forward.args.destQuad, quad);
        Transform::setQuad(inverse.args.srcQuad, quad);
        forward.run(src, flat);
        inverse.run(flat, back);
        EXPECT_LT(maxInteriorError(src, back, 12), 0.06);
        // The picture did go through the quad: the top corners of the intermediate stay empty.
        EXPECT_EQ(channel(flat, 2, 2, 0), 0);
        EXPECT_NE(channel(flat, 48, 12, 0), 0);

        // Rows walked upward in memory give the same picture, through every sampler.
        for (int filter : {0, 1, 9}) {
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
    fillPicture(src, false);
    // At output size no settings are needed; the origin moves the scan over the frame.
    CoreRenderArguments args;
    initializeCoreRenderArguments(&args);
    args.renderMode = 1;
    MemoryHost host(&src, &plain), hostShifted(&src, &shifted);
    hostShifted.setOrigin(5, 3);
    render(host, args, src, plain, nullptr);
    render(hostShifted, args, src, shifted, nullptr);
    // The window's own edge cuts the polygon there: its first row and column are border pixels.
    for (int y = 1; y < 17; ++y)
        for (int x = 1; x < 25; ++x)
            ASSERT_EQ(*shifted.pixel<uint32_t>(x, y), *plain.pixel<uint32_t>(x + 5, y + 3));

    // Supersampling without the caller's settings has a grid of its own: close to the plain
    // table sampler it stands on.
    MemoryImage smooth(RF_RGBA32, 30, 20), plainOut(RF_RGBA32, 30, 20), ssOut(RF_RGBA32, 30, 20);
    fillPicture(smooth, true);
    MemoryHost plainHost(&smooth, &plainOut), ssHost(&smooth, &ssOut);
    args.filter = 9;
    render(plainHost, args, smooth, plainOut, nullptr);
    args.filter = 22;
    render(ssHost, args, smooth, ssOut, nullptr);
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
    // Crossing order (corners 0,1,3,2 form the ring), as checkConcave reads them.
    const double unit[8] = {0, 0, 1, 0, 0, 1, 1, 1}, bowTie[8] = {0, 0, 1, 0, 1, 1, 0, 1};
    const double point[8] = {0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3};
    EXPECT_FALSE(checkConcave(unit));
    EXPECT_TRUE(checkConcave(bowTie));
    EXPECT_TRUE(checkConcave(point));

    MemoryImage src(RF_ARGB8, 16, 16), dst(RF_ARGB8, 16, 16);
    fillPicture(src, false);
    auto drawsNothing = [&](Transform& t) {
        dst.fillBytes(9);
        const std::vector<unsigned char> before = dst.bytes();
        EXPECT_EQ(t.run(src, dst, false), 0);
        EXPECT_EQ(dst.bytes(), before);
        t.run(src, dst, true);
        EXPECT_EQ(dst.bytes(), std::vector<unsigned char>(before.size(), 0));
    };
    for (int type : {2, 4})
        for (const double* stored : {bowTie, point}) {
            Transform t(1, src, dst, type);
            // The caller lists corners 1 and 2 the other way round.
            const double listed[8] = {stored[0], stored[1], stored[4], stored[5],
                                      stored[2], stored[3], stored[6], stored[7]};
            Transform::setQuad(type == 2 ? t.args.destQuad : t.args.srcQuad, listed);
            drawsNothing(t);
        }
    // So does an empty destination window.
    Transform empty(1, src, dst);
    empty.settings.dstRect = TX_IRect(10, 0, 9, 15);
    drawsNothing(empty);
}

TEST(CoreTransformRender, PolygonBehindTheEyeIsDrawnMirrored) {
    // A mirrored source quad makes w negative over the whole polygon.
    MemoryImage src(RF_RGBA32, 40, 30), dst(RF_RGBA32, 40, 30), mirrored(RF_RGBA32, 40, 30);
    fillPicture(src, true);
    fill(mirrored, [&](int x, int y, int k) { return channel(src, 39 - x, y, k); });
    Transform t(1, src, dst, 4);
    const double flipped[8] = {1, 0, 1, 1, 0, 0, 0, 1};
    Transform::setQuad(t.args.srcQuad, flipped);
    EXPECT_EQ(t.run(src, dst), 0);
    EXPECT_LT(maxInteriorError(dst, mirrored, 2, 2), 0.02);
}

// At a quarter scale a bilinear request falls back to nearest; a host raster of a format not
// served is refused.
TEST(CoreTransformRender, QuarterScaleBilinearIsNearestAndTheHostsFormatIsChecked) {
    MemoryImage src(RF_ARGB8, 24, 24), dst(RF_ARGB8, 24, 24), ref(RF_ARGB8, 24, 24);
    fillPicture(src, false);
    Transform(0, src, ref).run(src, ref);
    Transform small(1, src, dst);
    MemoryHost host(&src, &dst);
    host.scaleX = host.scaleY = 0.25;
    render(host, small.args, src, dst, &small.settings);
    EXPECT_EQ(dst.bytes(), ref.bytes());
    small.args.sharpen = true; // sharpening restores the table sampler
    render(host, small.args, src, dst, &small.settings);
    EXPECT_NE(dst.bytes(), ref.bytes());

    MemoryImage odd(RF_BGRA15, 8, 8);
    MemoryHost oddHost(&src, &odd);
    EXPECT_EQ(render(oddHost, small.args, src, odd, &small.settings), 1);
}

TEST(CoreTransformRender, MatrixIsBuiltAtTheOutputSize) {
    // Left half black, right half white; the output is twice the destination, so the picture
    // spreads over twice the destination and only its black half lands there.
    MemoryImage src(RF_ARGB8, 20, 20), dst(RF_ARGB8, 20, 20), output(RF_ARGB8, 40, 40);
    fill(src, [](int x, int, int) { return x < 10 ? 0.0 : 255.0; });
    Transform t(1, src, dst, 1);
    MemoryHost host(&src, &output);
    render(host, t.args, src, dst, &t.settings);
    EXPECT_EQ(channel(dst, 4, 10, 1), 0);
    EXPECT_EQ(channel(dst, 15, 10, 1), 0);
}

TEST(CoreTransformRender, FillAndClampUseTheFormatsFullScale) {
    for (PluginRasterFormat f : {RF_ARGB14, RF_BGRA14, RF_ARGB15, RF_ARGB16, RF_BGRA8}) {
        SCOPED_TRACE(int(f));
        const int alpha = (f == RF_BGRA14 || f == RF_BGRA8) ? 3 : 0;
        MemoryImage src(f, 8, 8), dst(f, 40, 40);
        const double full = fullScale(src);
        fill(src, [=](int x, int, int) { return (x & 1) ? full : 0; });
        // Catmull-Rom overshoots at every edge of the stripes; the store clamps at full scale.
        Transform(4, src, dst).run(src, dst);
        double highest = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x) highest = std::max(highest, channel(dst, x, y, 1));
        EXPECT_EQ(highest, full);

        Transform fillPoly(1, src, dst);
        fillPoly.settings.alphaIndex = alpha;
        fillPoly.run(src, dst, true, true);
        EXPECT_EQ(channel(dst, 20, 20, alpha), full);
        EXPECT_EQ(channel(dst, 20, 20, alpha ^ 1), 0);
    }
}

// The clear left to the end against a clear before the spans: rows top-down and bottom-up with
// padding past them (never touched), spans in any order, overlapping, empty, more to a row than
// are held, and in the last rounds one that lies outside, which ends the watch midway.
TEST(CoreTransformRender, ClearLeftToTheEndEqualsAClearFirst) {
    std::mt19937 rng(5);
    for (int round = 0; round < 60; ++round) {
        const int w = 1 + int(rng() % 16), h = 1 + int(rng() % 2), rowBytes = 4 * w + 8;
        std::vector<unsigned char> a(std::size_t(rowBytes) * h), b;
        for (auto& v : a) v = (unsigned char)(rng() | 1);
        b = a;
        auto raster = [&](std::vector<unsigned char>& m) {
            PluginRasterInfo r;
            r.width = w, r.height = h, r.pixelBytes = 4;
            r.rowBytes = round % 2 ? -rowBytes : rowBytes;
            r.data = m.data() + (round % 2 ? std::ptrdiff_t(h - 1) * rowBytes : 0);
            return r;
        };
        const PluginRasterInfo ra = raster(a), rb = raster(b);
        for (int y = 0; y < h; ++y) std::memset(ra.row(y), 0, std::size_t(w) * 4);
        {
            core_transform_detail::DeferredClear clear(rb, true);
            for (int k = 0, n = int(rng() % 24); k < n; ++k) {
                const int y = int(rng() % h), x = int(rng() % w);
                const int count = std::min(int(rng() % 3) - (k % 6 == 0), w - x);
                const bool outside = round >= 50 && k == n / 2;
                clear.willWrite(rb.row(y) + 4 * (outside ? w : x), count + outside);
                for (int i = 0; i < count; ++i)
                    for (int c = 0; c < 4; ++c)
                        ra.row(y)[4 * (x + i) + c] = rb.row(y)[4 * (x + i) + c] =
                            (unsigned char)(2 * k + 2);
            }
        }
        ASSERT_EQ(a, b) << "round " << round;
    }
}

} // namespace
