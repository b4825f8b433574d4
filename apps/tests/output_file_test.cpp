#include "CommandTestSupport.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

namespace {

void writePixels(std::string const& path, OIIO::ImageSpec const& spec,
                 std::vector<float> const& v) {
    auto out = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(out && out->open(path, spec));
    ASSERT_TRUE(out->write_image(OIIO::TypeDesc::FLOAT, v.data()));
    out->close();
}

// A straight opaque or HDR picture written as the file's own pixels.
void writeFile(std::string const& path, OIIO::ImageSpec spec, float value) {
    std::vector<float> pixels(size_t(spec.image_pixels()) * size_t(spec.nchannels));
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = value * float((i * 7) % 13) / 12.0f + (i % size_t(spec.nchannels) == 3);
    writePixels(path, spec, pixels);
}

struct FileRead {
    OIIO::ImageSpec spec;
    std::vector<float> pixels; // data window
};

FileRead readFile(std::string const& path) {
    auto in = OIIO::ImageInput::open(path);
    EXPECT_TRUE(in) << path;
    if (!in) return {};
    FileRead r{in->spec(), {}};
    r.pixels.resize(size_t(r.spec.image_pixels()) * size_t(r.spec.nchannels));
    in->read_image(0, 0, 0, r.spec.nchannels, OIIO::TypeDesc::FLOAT, r.pixels.data());
    return r;
}

TEST(OutputFile, AReflectionOnlyLayerKeepsItsTransparencyUnlessAlphaIsOff) {
    Scratch s;
    for (char const* ext : {".png", ".tif", ".exr"}) {
        SCOPED_TRACE(ext);
        std::string in = s(std::string("rgb") + ext), out = s(std::string("out") + ext);
        writeFile(in, OIIO::ImageSpec(20, 16, 3, OIIO::TypeDesc::UINT8), 1.0f);
        for (auto [alpha, channels] : {std::pair{"", 4}, {"--alpha off", 3}, {"--alpha on", 4}}) {
            Outcome r =
                mirrel("render " + in + " -o " + out + " --set 'Transfer Mode=None' " + alpha);
            ASSERT_EQ(r.status, 0) << r.err;
            FileRead f = readFile(out);
            ASSERT_EQ(f.spec.nchannels, channels) << alpha;
            if (channels == 4) { // above the baseline (row 12) only the mirror could show: nothing
                for (int i = 0; i < 10 * 20; ++i) ASSERT_EQ(f.pixels[size_t(i) * 4 + 3], 0.0f);
            }
        }
        // An opaque result of an opaque input stays without alpha.
        ASSERT_EQ(mirrel("render " + in + " -o " + out + " --set 'Transfer Mode=Normal'").status,
                  0);
        EXPECT_EQ(readFile(out).spec.nchannels, 3);
    }
}

TEST(OutputFile, AnExrKeepsItsWindowsAndAttributesAndTheMirrorLandsOnTheFullFrame) {
    Scratch s;
    OIIO::ImageSpec spec(40, 20, 4, OIIO::TypeDesc::HALF);
    spec.x = 10, spec.y = 5, spec.full_width = 64, spec.full_height = 48;
    spec.alpha_channel = 3;
    spec.attribute("compression", "piz");
    unsigned timecode[2] = {0x01020304, 0};
    spec.attribute("smpte:TimeCode", OIIO::TypeTimeCode, timecode);
    float chroma[8] = {0.64f, 0.33f, 0.3f, 0.6f, 0.15f, 0.06f, 0.3127f, 0.329f};
    spec.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), chroma);
    writeFile(s("window.exr"), spec, 0.8f);

    // The same picture on the whole frame, transparent where the data window was not.
    FileRead window = readFile(s("window.exr"));
    OIIO::ImageSpec fullSpec(64, 48, 4, OIIO::TypeDesc::HALF);
    fullSpec.alpha_channel = 3;
    std::vector<float> full(64 * 48 * 4, 0.0f);
    for (int y = 0; y < 20; ++y)
        std::copy_n(window.pixels.begin() + y * 40 * 4, 40 * 4,
                    full.begin() + ((y + 5) * 64 + 10) * 4);
    writePixels(s("full.exr"), fullSpec, full);

    std::string look = " --set 'Transfer Mode=Normal' --set 'Baseline Start=0,0.5' --set "
                       "'Baseline End=1,0.5' --depth 32";
    for (char const* name : {"window", "full"})
        ASSERT_EQ(mirrel("render " + s(name + std::string(".exr")) + " -o " +
                         s(name + std::string("-out.exr")) + look)
                      .status,
                  0);
    FileRead got = readFile(s("window-out.exr")), expected = readFile(s("full-out.exr"));
    OIIO::ImageSpec const& g = got.spec;
    EXPECT_EQ(std::tuple(g.x, g.y, g.width, g.height, g.full_x, g.full_y, g.full_width,
                         g.full_height, g.format),
              std::tuple(0, 0, 64, 48, 0, 0, 64, 48, OIIO::TypeDesc(OIIO::TypeDesc::HALF)));
    EXPECT_EQ(g.get_string_attribute("compression"), "piz");
    OIIO::ParamValue const* tc = g.find_attribute("smpte:TimeCode");
    ASSERT_TRUE(tc);
    EXPECT_EQ(static_cast<unsigned const*>(tc->data())[0], timecode[0]);
    OIIO::ParamValue const* ch = g.find_attribute("chromaticities");
    ASSERT_TRUE(ch);
    EXPECT_EQ(static_cast<float const*>(ch->data())[6], chroma[6]);
    EXPECT_EQ(got.pixels, expected.pixels);
    // The reflection reaches below the floor line, outside the input's data window.
    EXPECT_GT(got.pixels[size_t((40 * 64 + 20) * 4 + 3)], 0.0f);
}

TEST(OutputFile, TheFileKeepsTheInputDepthUnlessAskedOtherwise) {
    Scratch s;
    writeFile(s("in8.png"), OIIO::ImageSpec(16, 12, 3, OIIO::TypeDesc::UINT8), 1.0f);
    writeFile(s("hdr.exr"), OIIO::ImageSpec(16, 12, 4, OIIO::TypeDesc::FLOAT), 4.0f);
    for (auto [in, args, format] :
         std::vector<std::tuple<std::string, std::string, OIIO::TypeDesc>>{
             {"in8.png", "--depth 16", OIIO::TypeDesc::UINT8},
             {"in8.png", "--out-depth 16", OIIO::TypeDesc::UINT16},
             {"hdr.exr", "", OIIO::TypeDesc::FLOAT},
             {"hdr.exr", "--depth 16", OIIO::TypeDesc::FLOAT},
             {"hdr.exr", "--out-depth half", OIIO::TypeDesc::HALF}}) {
        std::string out = s("out" + fs::path(in).extension().string());
        Outcome r =
            mirrel("render " + s(in) + " -o " + out + " --set 'Transfer Mode=Normal' " + args);
        ASSERT_EQ(r.status, 0) << r.err;
        FileRead f = readFile(out);
        EXPECT_EQ(f.spec.format, format) << in << " " << args;
        float brightest = *std::max_element(f.pixels.begin(), f.pixels.end());
        // Float work keeps highlights above 1; integer work clips them.
        if (in == "hdr.exr") {
            EXPECT_EQ(brightest > 1.5f, args.empty() || contains(args, "half"));
        }
    }
}

} // namespace
