#include "AppTestSupport.h"
#include "CommandTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/Progress.h"
#include "apps/common/PictureAlpha.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// A small picture with structure above the floor line and partial alpha.
Picture sample(int depth, int w = 24, int h = 16) {
    Picture p(w, h, depth);
    for (size_t i = 0; i < p.pixelCount(); ++i) {
        int x = int(i) % w, y = int(i) / w;
        double rgba[4] = {double(x) / (w - 1), double(y) / (h - 1), (x / 3 + y / 3) % 2 ? 0.9 : 0.1,
                          x < w / 4 ? 0.5 : 1.0};
        for (int c = 0; c < 4; ++c) p.setChannel(i, c, rgba[c]);
    }
    return p;
}

std::vector<std::string> const kLook = {"Fade Length=60", "Softness=10", "Transfer Mode=Normal",
                                        "Baseline Start=0.1,0.7", "Baseline End=0.9,0.65"};
std::string const kLookArgs = [] {
    std::string args;
    for (auto const& v : kLook) args += " --set '" + v + "'";
    return args;
}();

TEST(Cli, RendersMatchTheEffectDrivenDirectlyAtEachDepth) {
    Scratch s;
    for (auto [ext, depth] : {std::pair{".png", 8}, {".png", 16}, {".tif", 16}, {".exr", 32}}) {
        SCOPED_TRACE(ext + std::to_string(depth));
        std::string in = s(std::string("in") + ext), out = s(std::string("out") + ext);
        Picture picture = sample(depth);
        premultiplyPicture(picture);
        writeImage(in, picture, {.straight = formatKeepsStraightAlpha(in), .depth = depth});
        LoadedImage source = readImage(in, 0);
        Outcome r = mirrel("render " + in + " -o " + out + kLookArgs);
        ASSERT_EQ(r.status, 0) << r.err;
        LoadedImage result = readImage(out, 0);
        EXPECT_EQ(result.layout.depth, depth);
        EXPECT_TRUE(result.layout.hasAlpha);

        EffectSession direct;
        std::vector<Setting> look;
        for (auto const& v : kLook) look.push_back(parseSetArgument(direct.params(), v));
        direct.apply(look);
        Picture expected = direct.render(source.picture, {});
        // Through a straight-alpha file the colour of faint pixels is rounded twice.
        if (result.layout.straight) unpremultiplyPicture(expected), premultiplyPicture(expected);
        EXPECT_EQ(result.picture.bytes, expected.bytes);
        EXPECT_NE(result.picture.bytes, source.picture.bytes); // the mirror is there
    }
}

TEST(Cli, SamePixelsInBothOrdersAndUnderEveryHost) {
    Scratch s;
    for (int depth : {8, 16, 32}) {
        SCOPED_TRACE(depth);
        std::string in = s("in.exr");
        writeImage(in, sample(depth), {.straight = false, .depth = depth});
        std::string base = "render " + in + " --depth " + std::to_string(depth) + kLookArgs +
                           " --set 'Height and Slant=0.4,0.95' --set Bend=on";
        ASSERT_EQ(mirrel(base + " -o " + s("ref.exr")).status, 0);
        for (char const* variant :
             {"--order argb", "--host motion", "--host fce", "--host motion --order argb"}) {
            Outcome r = mirrel(base + " " + variant + " -o " + s("v.exr"));
            ASSERT_EQ(r.status, 0) << r.err;
            EXPECT_EQ(s.pixels("v.exr"), s.pixels("ref.exr")) << variant;
        }
    }
}

TEST(Cli, SequencesFollowKeyframesAndStopAtTheFirstBadFrame) {
    Scratch s;
    for (char const* f : {"in.1.png", "in.2.png", "in.3.png"}) writeImage(s(f), sample(8), {});
    std::string sequence = "render " + s("in.%d.png") + " -o " + s("out.%02d.png") +
                           " --frames 1-3 --set 'Transfer Mode=Normal'";
    Outcome r = mirrel(sequence + " --set Zoom@1=1 --set Zoom@3=2");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "mirrel: 3 written, 0 skipped, 0 failed\n"); // no progress line off a terminal
    ASSERT_EQ(mirrel("render " + s("in.2.png") + " -o " + s("single.png") +
                     " --set Zoom=1.5 --set 'Transfer Mode=Normal' --frame 2")
                  .status,
              0);
    EXPECT_EQ(s.pixels("out.02.png"), s.pixels("single.png"));
    EXPECT_NE(s.pixels("out.01.png"), s.pixels("out.03.png"));

    // A frame of another size stops the sequence with its name; frames before it are done.
    sequence += " --jobs 1";
    writeImage(s("in.2.png"), sample(8, 20, 16), {});
    for (char const* f : {"out.01.png", "out.02.png", "out.03.png"}) fs::remove(s(f));
    r = mirrel(sequence);
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(contains(r.err, s("in.2.png")) && contains(r.err, "20x16")) << r.err;
    EXPECT_TRUE(fs::exists(s("out.01.png")));
    EXPECT_FALSE(fs::exists(s("out.02.png")) || fs::exists(s("out.03.png")));
}

TEST(Cli, ErrorsExitWithTheirStatusAndNameWhatIsWrong) {
    Scratch s;
    std::string in = s("in.png"), render = "render " + in + " -o " + s("o.png");
    writeImage(in, sample(8), {});
    auto before = s.pixels("in.png");
    for (auto const& [args, status, message] :
         std::vector<std::tuple<std::string, int, std::string>>{
             {render + " --set Softnes=3", 2, "closest: \"Softness\""},
             {render + " --set 'Fade Type=Constant'", 2, "2 \"Inverse Square\""},
             {render + " --preset " + s("none.json"), 1, s("none.json")},
             {"render " + s("missing.png") + " -o " + s("o.png"), 1, s("missing.png")},
             {"render " + in + " -o " + s("no/dir/o.png"), 1, s("no/dir/o.png")},
             {"render " + in + " -o " + in, 2, "is the input"},
             {"render " + in + " -o " + s("./in.png"), 2, "is the input"}, // the same file
             {"render " + in + " -o " + s("o.%d.png") + " --frames 1-2", 2,
              "not a sequence pattern"},
             {"render " + in, 2, "-o OUTPUT"},
             {"render " + in + " -o " + s("o.%d.png") + " --frames 0-9223372036854775807", 2,
              "frame numbers up to"},
             {"render " + in + " -o " + s("o.%d.png") + " --frames 0-99999999", 2,
              "more than a million"},
             {"bogus", 2, "unknown command"},
             {"render --help", 0, ""}}) {
        Outcome r = mirrel(args);
        EXPECT_EQ(r.status, status) << args << "\n" << r.err;
        EXPECT_TRUE(contains(r.err, message)) << args << "\n" << r.err;
    }
    // A damaged PNG: libpng's complaint comes on the line that names the file, never alone.
    std::string png = s("crc.png");
    std::ifstream source(in, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(source), {}};
    size_t idat = bytes.find("IDAT"); // the chunk's checksum follows its data
    bytes[idat + 4 + (uint8_t(bytes[idat - 2]) << 8 | uint8_t(bytes[idat - 1]))] ^= 1;
    std::ofstream(png, std::ios::binary) << bytes;
    Outcome r = mirrel("render " + png + " -o " + s("o.png"));
    EXPECT_EQ(r.status, 1);
    for (size_t a = 0, b; (b = r.err.find('\n', a)) != std::string::npos; a = b + 1)
        EXPECT_TRUE(contains(r.err.substr(a, b - a), png)) << r.err;
    fs::remove(png);
    // Only the input is left: no output and no temporary file from any failure.
    EXPECT_EQ(std::distance(fs::directory_iterator(s.dir), fs::directory_iterator()), 1);
    EXPECT_EQ(s.pixels("in.png"), before);
}

// Handles far outside the frame (as far as a double goes) are clipped before they become pixel
// numbers: no endless loop, no overflow.
TEST(Cli, ControlsFarOutsideTheFrameAreDrawnAtOnce) {
    Scratch s;
    writeImage(s("in.png"), sample(8, 320, 506), {});
    for (char const* far : {"Height and Slant=0.5,4244038.818181818", "Baseline Start=0,1.7e308",
                            "Baseline End=-1e300,-1e300"}) {
        Outcome r = run("timeout 20 " MIRREL_BINARY " render " + s("in.png") + " -o " +
                        s("out.png") + " --host motion --show-controls --set '" + far + "'");
        EXPECT_EQ(r.status, 0) << far << "\n" << r.err;
    }
}

TEST(Cli, ProgressLineAndDemo) {
    EXPECT_EQ(Progress::line(12, 3, 10, 1.5), "frame 12 (3 of 10)  2.0 fps  0:04 left");
    EXPECT_EQ(Progress::line(5, 1, 200, 2.0), "frame 5 (1 of 200)  0.5 fps  6:38 left");
    Scratch s;
    ASSERT_EQ(mirrel("demo -o " + s("demo.png")).status, 0);
    LoadedImage demo = readImage(s("demo.png"), 0);
    EXPECT_EQ(std::pair(demo.picture.width, demo.layout.hasAlpha), std::pair(960, false));
}

} // namespace
