#include "pixel/Alpha.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

// One pixel raster of a format, with channels given as (a, r, g, b) whatever the order.
template <class P> struct OnePixel {
    MemoryImage image;
    MemoryHost host{&image, &image};
    MemoryRaster raster;
    explicit OnePixel(PluginRasterFormat f, MemoryImage::Rows rows = MemoryImage::Rows::BottomUp)
        : image(f, 3, 2, rows), raster(image.info, false) {}
    void set(double a, double r, double g, double b) {
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                auto* px = image.pixel<typename P::C>(x, y);
                px[P::ALPHA] = typename P::C(a), px[P::RED] = typename P::C(r);
                px[P::GREEN] = typename P::C(g), px[P::BLUE] = typename P::C(b);
            }
    }
    double ch(int i, int x = 2, int y = 1) { return image.pixel<typename P::C>(x, y)[i]; }
};

template <class P> struct Format;
template <> struct Format<PIXEL_ARGB8> { static constexpr auto value = RF_ARGB8; };
template <> struct Format<PIXEL_RGBA8> { static constexpr auto value = RF_RGBA8; };
template <> struct Format<PIXEL_ARGB16> { static constexpr auto value = RF_ARGB16; };
template <> struct Format<PIXEL_RGBA16> { static constexpr auto value = RF_RGBA16; };
template <> struct Format<PIXEL_ARGB32> { static constexpr auto value = RF_ARGB32; };
template <> struct Format<PIXEL_RGBA32> { static constexpr auto value = RF_RGBA32; };

template <class P> class AlphaOps : public ::testing::Test {};
using EffectFormats = ::testing::Types<PIXEL_ARGB8, PIXEL_RGBA8, PIXEL_ARGB16, PIXEL_RGBA16,
                                       PIXEL_ARGB32, PIXEL_RGBA32>;
TYPED_TEST_SUITE(AlphaOps, EffectFormats);

TYPED_TEST(AlphaOps, PremultAndUnPremultInEachDepth) {
    using P = TypeParam;
    OnePixel<P> px(Format<P>::value);
    double const full = P::MAX_VALUE();
    if constexpr (P::is8Bit()) {
        px.set(128, 255, 128, 0);
        Premult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_EQ(px.ch(P::RED), 128);
        EXPECT_EQ(px.ch(P::GREEN), 64);
        px.set(255, 255, 200, 129);
        Premult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_EQ(px.ch(P::RED), 254); // the biased multiply loses one step at the top
        EXPECT_EQ(px.ch(P::BLUE), 128);
        px.set(1, 2, 1, 0);
        UnPremult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_EQ(px.ch(P::RED), 255); // 510 clamped
        EXPECT_EQ(px.ch(P::GREEN), 255);
    } else if constexpr (P::is32Bit()) {
        px.set(0.5, 0.8, 0.25, 0);
        Premult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_FLOAT_EQ(px.ch(P::RED), 0.4f);
        px.set(0.5, 0.8, 0.25, 0);
        UnPremult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_FLOAT_EQ(px.ch(P::RED), 1.6f); // float is never clamped
    } else {
        px.set(32768, 65535, 1000, 0);
        Premult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_EQ(px.ch(P::RED), 32768);
        EXPECT_EQ(px.ch(P::GREEN), 500); // 500.0076 truncated at the store
        px.set(100, 200, 50, 0);
        UnPremult(PIXEL_VALUES(P), &px.host, &px.raster);
        EXPECT_EQ(px.ch(P::RED), 65535); // clamped
        EXPECT_EQ(px.ch(P::GREEN), 32767);
    }
    px.set(0, full / 2, full / 4, 0); // alpha 0 keeps its colour
    UnPremult(PIXEL_VALUES(P), &px.host, &px.raster);
    EXPECT_EQ(px.ch(P::RED), typename P::C(full / 2));
}

TYPED_TEST(AlphaOps, MultiplyAlphaAndTheAVXPasses) {
    using P = TypeParam;
    OnePixel<P> px(Format<P>::value, MemoryImage::Rows::Padded);
    double const full = P::MAX_VALUE();
    px.set(full, full, 0, 0);
    MultiplyAlpha(PIXEL_VALUES(P), &px.host, 1.0f, &px.raster);
    EXPECT_EQ(px.ch(P::ALPHA), P::is8Bit() ? 254 : full);
    MultiplyAlpha(PIXEL_VALUES(P), &px.host, 0.0f, &px.raster);
    EXPECT_EQ(px.ch(P::ALPHA), 0);
    EXPECT_EQ(px.ch(P::RED), typename P::C(full)); // colour untouched

    AVXSetAlpha(PIXEL_VALUES(P), &px.host, &px.raster);
    EXPECT_EQ(px.ch(P::ALPHA, 0, 0), full);
    OnePixel<P> other(Format<P>::value);
    other.set(full, 0, 0, 0);
    AVXUnsetAlpha(PIXEL_VALUES(P), &px.host, &px.raster, nullptr);
    EXPECT_EQ(px.ch(P::ALPHA, 1, 1), 0);
    EXPECT_EQ(other.ch(P::ALPHA), full); // a null second raster touches only the first
    AVXUnsetAlpha(PIXEL_VALUES(P), &px.host, &px.raster, &other.raster);
    EXPECT_EQ(other.ch(P::ALPHA), 0);
}

TYPED_TEST(AlphaOps, CrossFadeEndsAreNoWorkAndACopy) {
    using P = TypeParam;
    OnePixel<P> src(Format<P>::value, MemoryImage::Rows::BottomUp);
    OnePixel<P> dst(Format<P>::value, MemoryImage::Rows::Padded);
    double const full = P::MAX_VALUE();
    src.set(full, full, full, full);
    dst.set(0, 0, 0, 0);
    BlendAlphaImagesPreMult(PIXEL_VALUES(P), &dst.host, 0.0f, &src.image.info, &dst.image.info);
    EXPECT_EQ(dst.ch(P::RED), 0);
    BlendAlphaImagesPreMult(PIXEL_VALUES(P), &dst.host, 0.5f, &src.image.info, &dst.image.info);
    EXPECT_EQ(dst.ch(P::RED), P::is32Bit() ? 0.5 : (P::is8Bit() ? 128 : 32768));
    BlendAlphaImagesPreMult(PIXEL_VALUES(P), &dst.host, 1.0f, &src.image.info, &dst.image.info);
    EXPECT_EQ(dst.image.bytes(), src.image.bytes());
}

} // namespace
