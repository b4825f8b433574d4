#include "AppTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/common/Alpha.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

// Straight colour with every kind of alpha, including 0 and full.
Picture straightRamp(int depth) {
    Picture p(7, 5, depth);
    for (size_t i = 0; i < p.pixelCount(); ++i) {
        for (int c = 0; c < 3; ++c) p.setChannel(i, c, double((i * (c + 3)) % 11) / 10.0);
        p.setChannel(i, 3, double(i % 6) / 5.0);
    }
    return p;
}

std::string tempPath(std::string const& name) {
    return scratchPath(name);
}

std::vector<float> rawPixels(std::string const& path, int* channels) {
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    auto in = OIIO::ImageInput::open(path, &config);
    EXPECT_TRUE(in);
    *channels = in->spec().nchannels;
    std::vector<float> v(size_t(in->spec().image_pixels()) * size_t(*channels));
    in->read_image(0, 0, 0, *channels, OIIO::TypeDesc::FLOAT, v.data());
    return v;
}

TEST(ImageFile, RoundTripsKeepEachFormatsAlphaConvention) {
    struct Case {
        char const* name;
        int depth;
        bool straight;
    };
    for (Case c : {Case{"a.png", 8, true}, Case{"b.png", 16, true}, Case{"c.tif", 16, false},
                   Case{"d.exr", 32, false}, Case{"e.tif", 8, false}}) {
        SCOPED_TRACE(c.name);
        std::string path = tempPath(c.name);
        Picture premultiplied = straightRamp(c.depth);
        premultiply(premultiplied);
        writeImage(path, premultiplied, {4, true, c.straight, c.depth, false});

        LoadedImage back = readImage(path, 0);
        EXPECT_EQ(back.layout.depth, c.depth);
        EXPECT_EQ(back.layout.straight, c.straight);
        EXPECT_TRUE(back.layout.hasAlpha);
        EXPECT_EQ(back.picture.bytes, premultiplied.bytes);

        // What the file holds is the format's own convention, converted once.
        int channels = 0;
        auto raw = rawPixels(path, &channels);
        ASSERT_EQ(channels, 4);
        Picture expected = premultiplied;
        if (c.straight) unpremultiply(expected);
        for (size_t i = 0; i < expected.pixelCount(); ++i) {
            for (int k = 0; k < 4; ++k)
                ASSERT_NEAR(raw[i * 4 + size_t(k)], expected.channel(i, k), 1e-6) << i << k;
        }
        fs::remove(path);
    }
}

TEST(ImageFile, DepthConversionGreyAndOpaqueFiles) {
    std::string path = tempPath("grey.png");
    {
        OIIO::ImageSpec spec(3, 2, 1, OIIO::TypeDesc::UINT16);
        std::vector<uint16_t> grey = {0, 1000, 30000, 65535, 257, 12345};
        auto out = OIIO::ImageOutput::create(path);
        ASSERT_TRUE(out && out->open(path, spec));
        out->write_image(OIIO::TypeDesc::UINT16, grey.data());
        out->close();
    }
    LoadedImage img = readImage(path, 8);
    EXPECT_EQ(img.layout.depth, 16);
    EXPECT_FALSE(img.layout.hasAlpha);
    EXPECT_EQ(img.picture.depth, 8);
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(img.picture.bytes[i * 4], img.picture.bytes[i * 4 + 2]);
        EXPECT_EQ(img.picture.bytes[i * 4 + 3], 255); // no alpha means opaque
    }
    EXPECT_EQ(img.picture.bytes[4 * 4], 1); // 257 of 65535 is 1 of 255

    std::string rgb = tempPath("rgb.png");
    writeImage(rgb, img.picture, img.layout);
    int channels = 0;
    rawPixels(rgb, &channels);
    EXPECT_EQ(channels, 3);
    fs::remove(path);
    fs::remove(rgb);
}

TEST(ImageFile, FailuresNameTheFileAndLeaveNothingBehind) {
    auto failure = [](auto f) -> std::string {
        try {
            f();
        } catch (Failure const& e) {
            return e.what();
        }
        return "(no failure)";
    };
    std::string missing = tempPath("missing.png");
    EXPECT_TRUE(contains(failure([&] { readImage(missing, 0); }), missing));
    std::string junk = tempPath("junk.png");
    std::ofstream(junk) << "not a picture";
    EXPECT_TRUE(contains(failure([&] { readImage(junk, 0); }), junk));
    fs::remove(junk);

    std::string dir = tempPath("outdir");
    fs::create_directories(dir);
    std::string nowhere = dir + "/no/such/folder/out.png";
    Picture p(2, 2, 8);
    EXPECT_TRUE(contains(failure([&] { writeImage(nowhere, p, {}); }), nowhere));
    std::string unknown = dir + "/out.unknownformat";
    EXPECT_TRUE(contains(failure([&] { writeImage(unknown, p, {}); }), unknown));
    EXPECT_TRUE(fs::is_empty(dir));
    fs::remove_all(dir);
}

} // namespace

namespace {

TEST(Alpha, PremultiplyRoundsToNearestAndStraighteningUndoesIt) {
    Picture p8(2, 1, 8);
    p8.bytes = {200, 255, 1, 100, 7, 9, 11, 0};
    premultiply(p8);
    EXPECT_EQ(p8.bytes, (std::vector<unsigned char>{78, 100, 0, 100, 0, 0, 0, 0}));
    unpremultiply(p8);
    EXPECT_EQ(p8.bytes, (std::vector<unsigned char>{199, 255, 0, 100, 0, 0, 0, 0}));

    Picture p16(1, 1, 16);
    p16.setChannel(0, 0, 1.0);
    p16.setChannel(0, 1, 0.5);
    p16.setChannel(0, 3, 0.5);
    premultiply(p16);
    EXPECT_NEAR(p16.channel(0, 0), 0.5, 1.0 / 65535);
    EXPECT_NEAR(p16.channel(0, 1), 0.25, 1.0 / 65535);
    unpremultiply(p16);
    EXPECT_EQ(p16.channel(0, 0), 1.0); // held to full scale

    Picture pf(1, 1, 32);
    for (int c = 0; c < 4; ++c) pf.setChannel(0, c, c == 3 ? 0.25 : 2.0); // float is not clamped
    premultiply(pf);
    EXPECT_EQ(pf.channel(0, 0), 0.5);
    unpremultiply(pf);
    EXPECT_EQ(pf.channel(0, 2), 2.0);
}

} // namespace
