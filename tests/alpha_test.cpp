#include "pixel/Alpha.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

template <class P, PluginRasterFormat F> struct Served {
    using Pixel = P;
    static constexpr PluginRasterFormat format = F;
};

// A raster of 3 x 2 pixels of a format, all set alike, channels given as (a, r, g, b).
template <class T> struct Pixels {
    using P = typename T::Pixel;
    using C = typename P::C;
    MemoryImage image;
    MemoryHost host{&image, &image};
    MemoryRaster raster;
    explicit Pixels(MemoryImage::Rows rows) : image(T::format, 3, 2, rows), raster(image.info, 0) {}
    PluginRaster_API* set(double a, double r, double g, double b) {
        for (int i = 0; i < 6; ++i) {
            C* px = image.pixel<C>(i % 3, i / 3);
            px[P::ALPHA] = C(a), px[P::RED] = C(r), px[P::GREEN] = C(g), px[P::BLUE] = C(b);
        }
        return &raster;
    }
    double ch(int i) { return image.pixel<C>(2, 1)[i]; }
};

template <class T> class AlphaOps : public ::testing::Test {};
using EffectFormats =
    ::testing::Types<Served<PIXEL_ARGB8, RF_ARGB8>, Served<PIXEL_RGBA8, RF_RGBA8>,
                     Served<PIXEL_ARGB16, RF_ARGB16>, Served<PIXEL_RGBA16, RF_RGBA16>,
                     Served<PIXEL_ARGB32, RF_ARGB32>, Served<PIXEL_RGBA32, RF_RGBA32>>;
TYPED_TEST_SUITE(AlphaOps, EffectFormats);

TYPED_TEST(AlphaOps, PremultAndUnPremultInEachDepth) {
    using P = typename TypeParam::Pixel;
    Pixels<TypeParam> px(MemoryImage::Rows::BottomUp);
    auto* host = &px.host;
    if constexpr (P::is8Bit()) {
        Premult(PIXEL_VALUES(P), host, px.set(128, 255, 128, 0));
        EXPECT_EQ(px.ch(P::RED), 128);
        EXPECT_EQ(px.ch(P::GREEN), 64);
        Premult(PIXEL_VALUES(P), host, px.set(255, 255, 200, 129));
        EXPECT_EQ(px.ch(P::RED), 254); // the biased multiply loses one step at the top
        EXPECT_EQ(px.ch(P::BLUE), 128);
        UnPremult(PIXEL_VALUES(P), host, px.set(1, 2, 1, 0));
        EXPECT_EQ(px.ch(P::RED), 255); // 510 clamped
        EXPECT_EQ(px.ch(P::GREEN), 255);
    } else if constexpr (P::is32Bit()) {
        Premult(PIXEL_VALUES(P), host, px.set(0.5, 0.8, 0.25, 0));
        EXPECT_FLOAT_EQ(px.ch(P::RED), 0.4f);
        UnPremult(PIXEL_VALUES(P), host, px.set(0.5, 0.8, 0.25, 0));
        EXPECT_FLOAT_EQ(px.ch(P::RED), 1.6f); // float is never clamped
    } else {
        Premult(PIXEL_VALUES(P), host, px.set(32768, 65535, 1000, 0));
        EXPECT_EQ(px.ch(P::RED), 32768);
        EXPECT_EQ(px.ch(P::GREEN), 500); // 500.0076 truncated at the store
        UnPremult(PIXEL_VALUES(P), host, px.set(100, 200, 50, 0));
        EXPECT_EQ(px.ch(P::RED), 65535); // clamped
        EXPECT_EQ(px.ch(P::GREEN), 32767);
    }
    double const full = P::MAX_VALUE();
    UnPremult(PIXEL_VALUES(P), host, px.set(0, full / 2, full / 4, 0)); // alpha 0 keeps colour
    EXPECT_EQ(px.ch(P::RED), typename P::C(full / 2));
}

TYPED_TEST(AlphaOps, MultiplyAlphaAndCrossFade) {
    using P = typename TypeParam::Pixel;
    Pixels<TypeParam> src(MemoryImage::Rows::BottomUp), dst(MemoryImage::Rows::Padded);
    double const full = P::MAX_VALUE();
    MultiplyAlpha(PIXEL_VALUES(P), &src.host, 1.0f, src.set(full, full, 0, 0));
    EXPECT_EQ(src.ch(P::ALPHA), P::is8Bit() ? 254 : full);
    MultiplyAlpha(PIXEL_VALUES(P), &src.host, 0.0f, &src.raster);
    EXPECT_EQ(src.ch(P::ALPHA), 0);
    EXPECT_EQ(src.ch(P::RED), typename P::C(full)); // colour untouched

    // The ends of a cross-fade are no work and a copy.
    src.set(full, full, full, full), dst.set(0, 0, 0, 0);
    double const half = P::is32Bit() ? 0.5 : (P::is8Bit() ? 128 : 32768);
    for (float mix : {0.0f, 0.5f, 1.0f}) {
        BlendAlphaImagesPreMult(PIXEL_VALUES(P), &dst.host, mix, &src.image.info, &dst.image.info);
        EXPECT_EQ(dst.ch(P::RED), mix == 0 ? 0 : mix == 1 ? full : half);
    }
    EXPECT_EQ(dst.image.bytes(), src.image.bytes());
}

} // namespace
