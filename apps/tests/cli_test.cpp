#include "AppTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/cli/Progress.h"
#include "apps/cli/TempFile.h"
#include "apps/common/Alpha.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct Outcome {
    int status = -1;
    std::string out, err;
};

// Runs the mirrel program with the arguments as the shell reads them.
Outcome mirrel(std::string const& args) {
    std::string tag = scratchPath("run");
    std::string out = tag + ".out", err = tag + ".err";
    int raw =
        std::system((std::string(MIRREL_BINARY) + " " + args + " >" + out + " 2>" + err).c_str());
    Outcome r;
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    std::ifstream o(out), e(err);
    r.out.assign(std::istreambuf_iterator<char>(o), {});
    r.err.assign(std::istreambuf_iterator<char>(e), {});
    fs::remove(out), fs::remove(err);
    return r;
}

// A folder of its own for each test, removed afterwards.
struct Scratch {
    fs::path dir;
    Scratch() {
        dir = scratchPath(testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    ~Scratch() { fs::remove_all(dir); }
    std::string operator()(std::string const& name) const { return (dir / name).string(); }
};

// A small picture with structure above the floor line and partial alpha.
Picture sample(int depth, int w = 24, int h = 16) {
    Picture p(w, h, depth);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            size_t i = size_t(y) * size_t(w) + size_t(x);
            p.setChannel(i, 0, double(x) / (w - 1));
            p.setChannel(i, 1, double(y) / (h - 1));
            p.setChannel(i, 2, ((x / 3 + y / 3) % 2) ? 0.9 : 0.1);
            p.setChannel(i, 3, x < w / 4 ? 0.5 : 1.0);
        }
    return p;
}

char const* const kLook = "--set 'Fade Length=60' --set Softness=10 --set 'Transfer Mode=Normal' "
                          "--set 'Baseline Start=0.1,0.7' --set 'Baseline End=0.9,0.65'";

TEST(Cli, RendersMatchTheEffectDrivenDirectlyAtEachDepth) {
    Scratch s;
    struct Case {
        char const* ext;
        int depth;
    };
    for (Case c : {Case{".png", 8}, Case{".png", 16}, Case{".tif", 16}, Case{".exr", 32}}) {
        SCOPED_TRACE(c.ext + std::to_string(c.depth));
        std::string in = s(std::string("in") + c.ext), out = s(std::string("out") + c.ext);
        Picture picture = sample(c.depth);
        premultiply(picture);
        writeImage(in, picture, {4, true, formatKeepsStraightAlpha(in), c.depth, false});
        LoadedImage source = readImage(in, 0);

        Outcome r = mirrel("render " + in + " -o " + out + " " + kLook);
        ASSERT_EQ(r.status, 0) << r.err;
        LoadedImage result = readImage(out, 0);
        EXPECT_EQ(result.layout.depth, c.depth);
        EXPECT_EQ(result.layout.hasAlpha, true);

        EffectSession direct;
        direct.apply({parseSetArgument(direct.params(), "Fade Length=60"),
                      parseSetArgument(direct.params(), "Softness=10"),
                      parseSetArgument(direct.params(), "Transfer Mode=Normal"),
                      parseSetArgument(direct.params(), "Baseline Start=0.1,0.7"),
                      parseSetArgument(direct.params(), "Baseline End=0.9,0.65")});
        Picture expected = direct.render(source.picture, {});
        // Through a straight-alpha file the colour of faint pixels is rounded twice.
        Picture written = expected;
        if (result.layout.straight) unpremultiply(written), premultiply(written);
        EXPECT_EQ(result.picture.bytes, written.bytes);
        EXPECT_NE(result.picture.bytes, source.picture.bytes); // the mirror is there
    }
}

TEST(Cli, SamePixelsInBothOrdersAndUnderEveryHost) {
    Scratch s;
    for (int depth : {8, 16, 32}) {
        SCOPED_TRACE(depth);
        std::string in = s("in.exr");
        writeImage(in, sample(depth), {4, true, false, depth, false});
        std::string base = "render " + in + " --depth " + std::to_string(depth) + " " + kLook +
                           " --set 'Height and Slant=0.4,0.95' --set Bend=on";
        ASSERT_EQ(mirrel(base + " -o " + s("ref.exr")).status, 0);
        Picture ref = readImage(s("ref.exr"), 0).picture;
        for (char const* variant :
             {"--order argb", "--host motion", "--host fce", "--host motion --order argb"}) {
            Outcome r = mirrel(base + " " + variant + " -o " + s("v.exr"));
            ASSERT_EQ(r.status, 0) << r.err;
            EXPECT_EQ(readImage(s("v.exr"), 0).picture.bytes, ref.bytes) << variant;
        }
    }
}

TEST(Cli, SequencesFollowKeyframesAndStopAtTheFirstBadFrame) {
    Scratch s;
    for (int f = 1; f <= 3; ++f)
        writeImage(s("in." + std::to_string(f) + ".png"), sample(8), {4, true, true, 8, false});
    std::string keys = "--set Zoom@1=1 --set Zoom@3=2 --set 'Transfer Mode=Normal'";
    Outcome r =
        mirrel("render " + s("in.%d.png") + " -o " + s("out.%02d.png") + " --frames 1-3 " + keys);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, ""); // no progress line off a terminal
    ASSERT_EQ(mirrel("render " + s("in.2.png") + " -o " + s("single.png") +
                     " --set Zoom=1.5 --set 'Transfer Mode=Normal' --frame 2")
                  .status,
              0);
    EXPECT_EQ(readImage(s("out.02.png"), 0).picture.bytes,
              readImage(s("single.png"), 0).picture.bytes);
    EXPECT_NE(readImage(s("out.01.png"), 0).picture.bytes,
              readImage(s("out.03.png"), 0).picture.bytes);

    // A frame of another size stops the sequence with its name; frames before it are done.
    writeImage(s("in.2.png"), sample(8, 20, 16), {4, true, true, 8, false});
    fs::remove(s("out.01.png")), fs::remove(s("out.02.png")), fs::remove(s("out.03.png"));
    r = mirrel("render " + s("in.%d.png") + " -o " + s("out.%02d.png") + " --frames 1-3");
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(contains(r.err, s("in.2.png")) && contains(r.err, "20x16")) << r.err;
    EXPECT_TRUE(fs::exists(s("out.01.png")));
    EXPECT_FALSE(fs::exists(s("out.02.png")) || fs::exists(s("out.03.png")));
}

TEST(Cli, ErrorsExitWithTheirStatusAndNameWhatIsWrong) {
    Scratch s;
    std::string in = s("in.png");
    writeImage(in, sample(8), {4, true, true, 8, false});
    auto before = readImage(in, 0).picture.bytes;
    struct Case {
        std::string args;
        int status;
        std::string message;
    };
    std::vector<Case> cases = {
        {"render " + in + " -o " + s("o.png") + " --set Softnes=3", 2, "closest: \"Softness\""},
        {"render " + in + " -o " + s("o.png") + " --set Softness=3000", 2, "0 to 1000"},
        {"render " + in + " -o " + s("o.png") + " --set 'Fade Type=Constant'", 2,
         "2 \"Inverse Square\""},
        {"render " + in + " -o " + s("o.png") + " --preset " + s("none.json"), 1, s("none.json")},
        {"render " + s("missing.png") + " -o " + s("o.png"), 1, s("missing.png")},
        {"render " + in + " -o " + s("no/dir/o.png"), 1, s("no/dir/o.png")},
        {"render " + in + " -o " + in, 2, "is the input"},
        {"render " + in + " -o " + s("o.%d.png") + " --frames 1-2", 2, "not a sequence pattern"},
        {"render " + in, 2, "-o OUTPUT"},
        {"bogus", 2, "unknown command"},
        {"render --help", 0, ""},
    };
    for (auto const& c : cases) {
        Outcome r = mirrel(c.args);
        EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
        EXPECT_TRUE(contains(r.err, c.message)) << c.args << "\n" << r.err;
    }
    // Only the input is left: no output and no temporary file from any failure.
    EXPECT_EQ(std::distance(fs::directory_iterator(s.dir), fs::directory_iterator()), 1);
    EXPECT_EQ(readImage(in, 0).picture.bytes, before);
}

TEST(Cli, AnInterruptedWriteLeavesNoFile) {
    Scratch s;
    std::string target = s("out.png");
    pid_t child = fork();
    if (child == 0) {
        TempFile temp(target);
        std::ofstream(temp.path()) << "half a picture";
        std::raise(SIGINT);
        _exit(0); // not reached
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
    EXPECT_TRUE(fs::is_empty(s.dir));
}

TEST(Cli, ProgressLineAndDemo) {
    EXPECT_EQ(Progress::line(12, 3, 10, 1.5), "frame 12 (3 of 10)  2.0 fps  0:04 left");
    EXPECT_EQ(Progress::line(5, 1, 200, 2.0), "frame 5 (1 of 200)  0.5 fps  6:38 left");
    Scratch s;
    Outcome r = mirrel("demo -o " + s("demo.png"));
    ASSERT_EQ(r.status, 0) << r.err;
    LoadedImage demo = readImage(s("demo.png"), 0);
    EXPECT_EQ(demo.picture.width, 960);
    EXPECT_FALSE(demo.layout.hasAlpha);
}

} // namespace
