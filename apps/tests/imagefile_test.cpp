#include "AppTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/common/PictureAlpha.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
    for (auto [name, depth, straight] : {std::tuple{"a.png", 8, true},
                                         {"b.png", 16, true},
                                         {"c.tif", 16, false},
                                         {"d.exr", 32, false},
                                         {"e.tif", 8, false}}) {
        SCOPED_TRACE(name);
        std::string path = scratchPath(name);
        Picture premultiplied = straightRamp(depth);
        premultiplyPicture(premultiplied);
        writeImage(path, premultiplied, {.straight = straight, .depth = depth});
        LoadedImage back = readImage(path, 0);
        EXPECT_EQ(std::tuple(back.layout.depth, back.layout.straight, back.layout.hasAlpha),
                  std::tuple(depth, straight, true));
        EXPECT_EQ(back.picture.bytes, premultiplied.bytes);

        // What the file holds is the format's own convention, converted once.
        int channels = 0;
        auto raw = rawPixels(path, &channels);
        ASSERT_EQ(channels, 4);
        Picture expected = premultiplied;
        if (straight) unpremultiplyPicture(expected);
        for (size_t i = 0; i < expected.pixelCount() * 4; ++i)
            ASSERT_NEAR(raw[i], expected.channel(i / 4, int(i % 4)), 1e-6) << i;
        fs::remove(path);
    }
}

TEST(ImageFile, DepthConversionGreyAndOpaqueFiles) {
    std::string path = scratchPath("grey.png"), rgb = scratchPath("rgb.png");
    auto out = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(out && out->open(path, OIIO::ImageSpec(3, 2, 1, OIIO::TypeDesc::UINT16)));
    std::vector<uint16_t> grey = {0, 1000, 30000, 65535, 257, 12345};
    out->write_image(OIIO::TypeDesc::UINT16, grey.data());
    out->close();
    LoadedImage img = readImage(path, 8);
    EXPECT_EQ(std::tuple(img.layout.depth, img.layout.hasAlpha, img.picture.depth),
              std::tuple(16, false, 8));
    for (size_t i = 0; i < 6; ++i) { // grey as colour, opaque, 257 of 65535 is 1 of 255
        EXPECT_EQ(img.picture.bytes[i * 4], img.picture.bytes[i * 4 + 2]);
        EXPECT_EQ(img.picture.bytes[i * 4 + 3], 255);
    }
    EXPECT_EQ(img.picture.bytes[4 * 4], 1);
    writeImage(rgb, img.picture, img.layout);
    int channels = 0;
    rawPixels(rgb, &channels);
    EXPECT_EQ(channels, 3);
    fs::remove(path), fs::remove(rgb);
}

long residentPeakKiB() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
    return -1;
}

// Files whose channels the library reports oddly: a GIF's alpha is said to be a fifth channel of
// four (an opaque GIF read past its pixels and came out transparent); an EXR with many channels
// takes only the memory of the picture, not of all its channels as float.
TEST(ImageFile, OnlyTheChannelsUsedAreReadWhereTheyBelong) {
    std::string gif = scratchPath("opaque.gif"), exr = scratchPath("many.exr");
    Picture opaque = straightRamp(8);
    for (size_t i = 0; i < opaque.pixelCount(); ++i) opaque.setChannel(i, 3, 1.0);
    writeImage(gif, opaque, {.channels = 3, .hasAlpha = false});
    LoadedImage g = readImage(gif, 0);
    EXPECT_FALSE(hasTransparency(g.picture));
    EXPECT_EQ(g.picture.bytes, opaque.bytes);

    int const w = 2000, h = 2000, n = 12;
    {
        OIIO::ImageSpec spec(w, h, n, OIIO::TypeDesc::HALF);
        spec.attribute("compression", "zip");
        auto out = OIIO::ImageOutput::create(exr);
        std::vector<uint16_t> zeros(size_t(w) * h * n);
        ASSERT_TRUE(out && out->open(exr, spec) &&
                    out->write_image(OIIO::TypeDesc::HALF, zeros.data()) && out->close());
    }
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak starts again from here
    long const before = residentPeakKiB();
    LoadedImage e = readImage(exr, 0);
    long const grown = residentPeakKiB() - before;
    long const picture = long(e.picture.bytes.size() / 1024);
    EXPECT_LT(grown, 2 * picture) << grown << " KiB for a picture of " << picture;
    fs::remove(gif), fs::remove(exr);
}

// A missing file and a folder that does not exist are the command's tests.
TEST(ImageFile, FailuresNameTheFileAndLeaveNothingBehind) {
    auto failure = [](auto f) -> std::string {
        try {
            f();
        } catch (Failure const& e) {
            return e.what();
        }
        return "(no failure)";
    };
    std::string dir = scratchPath("outdir"), junk = dir + "/junk.png", odd = dir + "/o.unknown";
    fs::create_directories(dir);
    std::ofstream(junk) << "not a picture";
    EXPECT_TRUE(contains(failure([&] { readImage(junk, 0); }), junk));
    std::string const wide = dir + "/wide.exr"; // a display window too large to work on
    OIIO::ImageSpec spec(2, 2, 4, OIIO::TypeDesc::HALF);
    spec.full_width = 40000;
    std::vector<uint16_t> zeros(16);
    auto out = OIIO::ImageOutput::create(wide);
    ASSERT_TRUE(out && out->open(wide, spec) &&
                out->write_image(OIIO::TypeDesc::HALF, zeros.data()));
    out->close();
    EXPECT_TRUE(contains(failure([&] { readImage(wide, 0); }), wide));
    fs::remove(wide);
    EXPECT_TRUE(contains(failure([&] { writeImage(odd, Picture(2, 2, 8), {}); }), odd));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 1);
    fs::remove_all(dir);
}

TEST(Alpha, PremultiplyRoundsToNearestAndStraighteningUndoesIt) {
    Picture p8(2, 1, 8);
    p8.bytes = {200, 255, 1, 100, 7, 9, 11, 0};
    premultiplyPicture(p8);
    EXPECT_EQ(p8.bytes, (std::vector<unsigned char>{78, 100, 0, 100, 0, 0, 0, 0}));
    unpremultiplyPicture(p8);
    EXPECT_EQ(p8.bytes, (std::vector<unsigned char>{199, 255, 0, 100, 0, 0, 0, 0}));

    // The way back holds 16 bits to full scale and leaves float unclamped.
    Picture p16(1, 1, 16), pf(1, 1, 32);
    for (int c = 0; c < 4; ++c)
        p16.setChannel(0, c, c == 3 ? 0.5 : 1.0), pf.setChannel(0, c, c == 3 ? 0.25 : 2.0);
    premultiplyPicture(p16), premultiplyPicture(pf), unpremultiplyPicture(p16),
        unpremultiplyPicture(pf);
    EXPECT_EQ(std::pair(p16.channel(0, 0), pf.channel(0, 2)), std::pair(1.0, 2.0));

    // Every 8-bit colour under every alpha, in place and between a picture and outside memory.
    Picture all(256, 256, 8);
    for (size_t i = 0; i < all.pixelCount(); ++i)
        for (int c = 0; c < 4; ++c) all.bytes[i * 4 + c] = uint8_t(c == 3 ? i >> 8 : i + c);
    std::vector<uint8_t> const straight = all.bytes;
    Picture fused(256, 256, 8);
    premultiplyPicture(all);
    premultiplyPicture8(straight.data(), fused);
    EXPECT_EQ(all.bytes, fused.bytes);
    std::vector<uint8_t> back(straight.size());
    unpremultiplyPicture8(fused, back.data());
    unpremultiplyPicture(all);
    EXPECT_EQ(all.bytes, back);
    for (size_t i = 0; i < all.pixelCount(); ++i) {
        long const c = straight[i * 4 + 1], a = straight[i * 4 + 3];
        long const pre = std::lround(double(c * a) / 255.0);
        ASSERT_EQ(fused.bytes[i * 4 + 1], pre) << c << " " << a;
        ASSERT_EQ(back[i * 4 + 1], a == 0 ? 0 : std::min(255L, (pre * 255 + a / 2) / a));
        ASSERT_EQ(back[i * 4 + 3], a);
    }

    // One pixel short of full alpha anywhere, blocks and tail included, makes a frame not opaque.
    for (size_t count : {size_t(1), size_t(7), size_t(8), size_t(9), size_t(4100), size_t(8203)}) {
        std::vector<uint8_t> frame(count * 4, 0xFF);
        EXPECT_TRUE(opaque8(frame.data(), count));
        for (size_t at : {size_t(0), count / 2, count - 1}) {
            frame[at * 4 + 3] = 0xFE;
            EXPECT_FALSE(opaque8(frame.data(), count)) << count << " " << at;
            frame[at * 4 + 3] = 0xFF, frame[at * 4] = 0; // colour does not count
            EXPECT_TRUE(opaque8(frame.data(), count)) << count << " " << at;
        }
    }
}

} // namespace
