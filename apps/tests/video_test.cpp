#include "CommandTestSupport.h"
#include "apps/preview/PreviewExport.h"
#include "apps/preview/PreviewSession.h"
#include "apps/video/VideoReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <map>
#include <thread>
#include <unistd.h>

#ifdef MIRREL_FFMPEG_TOOL
namespace {

// The clips every test reads, made once: H.264 with AAC sound in MP4, and 10-bit FFV1.
struct VideoRender : testing::Test {
    static inline std::string dir;
    static void SetUpTestSuite() {
        dir = scratchPath("video_clips");
        fs::create_directories(dir);
        std::string const src = " -f lavfi -i testsrc2=size=64x48:rate=24:duration=0.5 ";
        ASSERT_EQ(run(MIRREL_FFMPEG_TOOL " -y" + src +
                      "-f lavfi -i sine=duration=0.5 -c:v libx264 -pix_fmt yuv420p -c:a aac " +
                      dir + "/clip.mp4")
                      .status,
                  0);
        ASSERT_EQ(run(MIRREL_FFMPEG_TOOL " -y" + src + "-c:v ffv1 -pix_fmt yuv444p10le " + dir +
                      "/ten.mkv")
                      .status,
                  0);
    }
    static void TearDownTestSuite() { fs::remove_all(dir); }
    static std::string clip(std::string const& name = "clip.mp4") { return dir + "/" + name; }
    Scratch f;
};

std::vector<Picture> framesOf(std::string const& path, int depth = 8) {
    VideoReader reader(path, depth);
    std::vector<Picture> out;
    for (VideoFrame v; reader.next(v);) out.push_back(std::move(v.picture));
    return out;
}

// The stream kinds of a file as ffprobe lists them, one a line.
std::string streams(std::string const& path) {
    std::string out;
    if (FILE* p =
            popen(("ffprobe -v error -show_entries stream=codec_type -of csv=p=0 " + path).c_str(),
                  "r")) {
        for (int c; (c = fgetc(p)) != EOF;) out += char(c);
        pclose(p);
    }
    return out;
}

// The largest and the mean difference of the colour channels, in steps of 8 bits.
std::pair<double, double> colourError(Picture const& a, Picture const& b) {
    if (a.width != b.width || a.height != b.height) return {1e9, 1e9};
    double worst = 0, sum = 0;
    for (size_t i = 0; i < a.pixelCount(); ++i)
        for (int c = 0; c < 3; ++c) {
            double const d = std::abs(a.channel(i, c) - b.channel(i, c)) * 255;
            worst = std::max(worst, d), sum += d;
        }
    return {worst, sum / double(a.pixelCount() * 3)};
}

std::string const kKeys = " --set 'Zoom@0=1' --set 'Zoom@11=1.5' --set 'Fade Length@4=40'";

TEST_F(VideoRender, EveryFrameIsTheStillRenderOfThatFrameAndTheSoundIsKept) {
    // Frame 11 is at its key: the same as the value held, at any frame.
    std::map<int, Picture> stills;
    for (auto [frame, set] : {std::pair{0, kKeys},
                              {5, kKeys},
                              {11, std::string(" --set Zoom=1.5 --set 'Fade Length=40'")}}) {
        std::string const still = f("still.png");
        ASSERT_EQ(
            mirrel("render " + clip() + " --frame " + std::to_string(frame) + " -o " + still + set)
                .status,
            0);
        stills[frame] = readImage(still, 8).picture;
    }
    struct Case {
        std::string out, options;
        double worst, mean; // allowed colour errors against the stills (4:2:0 costs ~3.5)
    };
    for (Case const& c :
         std::vector<Case>{{"o.mp4", " --crf 12", 255, 5}, {"o.mkv", " --codec ffv1", 0, 0}}) {
        ASSERT_EQ(mirrel("render " + clip() + " -o " + f(c.out) + kKeys + c.options).status, 0);
        std::vector<Picture> frames = framesOf(f(c.out));
        ASSERT_EQ(frames.size(), 12u) << c.out;
        EXPECT_EQ(streams(f(c.out)), "video\naudio\n") << c.out;
        for (auto const& [frame, still] : stills) {
            auto [worst, mean] = colourError(frames[size_t(frame)], still);
            EXPECT_LE(worst, c.worst) << c.out << " frame " << frame;
            EXPECT_LE(mean, c.mean) << c.out << " frame " << frame;
        }
    }
    // A lossless render is the same file on two threads as on one.
    ASSERT_EQ(
        mirrel("render " + clip() + " -o " + f("j2.mkv") + " --codec ffv1 -j 2" + kKeys).status, 0);
    std::ifstream one(f("o.mkv"), std::ios::binary), two(f("j2.mkv"), std::ios::binary);
    EXPECT_TRUE(std::equal(std::istreambuf_iterator<char>(one), {},
                           std::istreambuf_iterator<char>(two), {}));
}

TEST_F(VideoRender, RangesAndSequencesInAndOut) {
    ASSERT_EQ(
        mirrel("render " + clip() + " -o " + f("r.mkv") + " --codec ffv1 --frames 3-6" + kKeys)
            .status,
        0);
    std::vector<Picture> range = framesOf(f("r.mkv"));
    ASSERT_EQ(range.size(), 4u);
    EXPECT_EQ(streams(f("r.mkv")), "video\naudio\n");
    ASSERT_EQ(
        mirrel("render " + clip() + " -o " + f("s.%02d.png") + " --frames 3-6" + kKeys).status, 0);
    EXPECT_EQ(f.names(),
              (std::set<std::string>{"r.mkv", "s.03.png", "s.04.png", "s.05.png", "s.06.png"}));
    EXPECT_EQ(colourError(range[0], readImage(f("s.03.png"), 8).picture).first, 0);
    // Pictures in: their frame numbers are the times, the rate is --fps.
    ASSERT_EQ(mirrel("render " + f("s.%02d.png") + " -o " + f("back.mkv") +
                     " --codec ffv1 --frames 3-6 --fps 12 --set 'Source Opacity=100'")
                  .status,
              0);
    VideoReader back(f("back.mkv"), 8);
    EXPECT_EQ(back.info().rateNum * 1.0 / back.info().rateDen, 12.0);
    EXPECT_EQ(framesOf(f("back.mkv")).size(), 4u);
}

TEST_F(VideoRender, DeepSourcesAndAlphaAreKept) {
    // 10 bits through a 16-bit lossless file: above the baseline the source is drawn as it is,
    // to well within one 8-bit step.
    ASSERT_EQ(mirrel("render " + clip("ten.mkv") + " -o " + f("deep.mkv") + " --codec ffv1").status,
              0);
    Picture const deep = framesOf(f("deep.mkv"), 16)[0], source = framesOf(clip("ten.mkv"), 16)[0];
    double sum = 0;
    for (size_t i = 0; i < size_t(deep.width * 30); ++i)
        for (int c = 0; c < 3; ++c) sum += std::abs(deep.channel(i, c) - source.channel(i, c));
    EXPECT_LT(sum / (deep.width * 90) * 65535, 16);
    // The reflection alone: nothing above the baseline (3/4 down), something below.
    for (std::string out : {"a.mov", "a.mkv"}) {
        ASSERT_EQ(mirrel("render " + clip() + " -o " + f(out) + " --set 'Source Opacity=0'").status,
                  0)
            << out;
        Picture p = framesOf(f(out))[4];
        double above = 0, below = 0;
        for (int y = 0; y < p.height; ++y)
            for (int x = 0; x < p.width; ++x) {
                double a = p.channel(size_t(y * p.width + x), 3);
                (y < 35 ? above : below) = std::max(y < 35 ? above : below, a);
            }
        EXPECT_EQ(above, 0) << out;
        EXPECT_GT(below, 0.2) << out;
    }
    auto [status, err] = mirrel("render " + clip() + " -o " + f("a.mp4") + " --alpha on");
    EXPECT_EQ(status, 2);
    EXPECT_TRUE(contains(err, "prores_ks") && contains(err, "ffv1")) << err;
}

TEST_F(VideoRender, FailuresLeaveNothingBehind) {
    ASSERT_EQ(mirrel("render " + clip() + " -o " + f("o.mp4")).status, 0);
    std::ofstream(f("bad.mp4")) << "not a video";
    struct Case {
        std::string command, message;
        int status;
    };
    for (Case const& c : std::vector<Case>{
             {MIRREL_BINARY " render " + f("bad.mp4") + " -o " + f("o.mp4"), f("bad.mp4"), 1},
             {MIRREL_BINARY " render " + clip() + " -o " + f("o.mp4") + " --codec nope", "nope", 2},
             {"MIRREL_FAULT_ENOSPC_AFTER=3000 " + kFaulty + MIRREL_BINARY " render " + clip() +
                  " -o " + f("o.mp4") + " --set Zoom=2",
              "No space left", 1},
             {MIRREL_BINARY " render " + f("o.mp4") + " -o " + f("o.mp4"), "is the input", 2}}) {
        auto const names = f.names();
        auto const size = fs::file_size(f("o.mp4"));
        auto [status, err] = run(c.command);
        EXPECT_EQ(status, c.status) << c.command;
        EXPECT_TRUE(contains(err, c.message)) << err;
        EXPECT_EQ(f.names(), names) << c.command;
        EXPECT_EQ(fs::file_size(f("o.mp4")), size) << c.command;
    }
    // Interrupted while writing: the temporary file goes with the process.
    std::string const marker = f("writing");
    pid_t const child =
        startFaulty({"MIRREL_FAULT_PAUSE=" + marker}, {"render", clip(), "-o", f("o.mp4"), "-q"});
    ASSERT_TRUE(appears(marker));
    kill(child, SIGINT);
    int const status = finish(child);
    fs::remove(marker);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    EXPECT_EQ(f.names(), (std::set<std::string>{"bad.mp4", "o.mp4"}));
}

TEST_F(VideoRender, ThePreviewShowsEachFrameAndExportsTheVideoCommand) {
    // A Matroska file does not say how many frames it has.
    PreviewSession s(clip("ten.mkv"),
                     {[](std::string const& p) { return readImage(p, 0).picture; }, resizePicture});
    ASSERT_EQ(s.frames().size(), 12u);
    for (int frame : {7, 8, 2}) { // on, then back: a seek
        s.setFrame({{"frame", frame}});
        std::string const still = f("still.png");
        ASSERT_EQ(mirrel("render " + clip("ten.mkv") + " --frame " + std::to_string(frame) +
                         " -o " + still)
                      .status,
                  0);
        EXPECT_EQ(s.picture(false, false).bytes, readImage(still, 8).picture.bytes) << frame;
    }
    s.setValue({{"label", "Zoom"}, {"value", 1.5}, {"key", true}});
    EXPECT_EQ(renderCommandLine(s),
              "mirrel render " + clip("ten.mkv") + " -o ten-mirrel.mkv --set Zoom@2=1.5");
}

} // namespace
#endif
