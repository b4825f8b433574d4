#include "CommandTestSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <sys/stat.h>

namespace {

// Frames of a small picture with partial alpha, each a little different.
void writeFrames(Scratch const& s, std::string const& prefix, std::vector<int> const& frames) {
    for (int f : frames) {
        Picture p(24, 16, 8);
        for (size_t i = 0; i < p.pixelCount(); ++i)
            for (int c = 0; c < 4; ++c)
                p.setChannel(i, c, c == 3 ? 0.75 : double((i * size_t(c + 2) + size_t(f)) % 9) / 8);
        writeImage(s(prefix + std::to_string(f) + ".png"), p, {});
    }
}

TEST(Sequence, PatternsAndFrameListsNameTheFilesOfEachFrame) {
    Scratch s;
    writeFrames(s, "in", {1, 2, 3, 4, 5});
    for (auto const& [out, frames, written] :
         std::vector<std::tuple<std::string, std::string, std::set<std::string>>>{
             {"a.%03d.png", "2-4", {"a.002.png", "a.003.png", "a.004.png"}},
             {"b.#.png", "1-5x2", {"b.0001.png", "b.0003.png", "b.0005.png"}},
             {"c.@@.png", "5,1,3-4", {"c.05.png", "c.01.png", "c.03.png", "c.04.png"}}}) {
        Outcome r = mirrel("render " + s("in%d.png") + " -o " + s(out) + " --frames " + frames);
        ASSERT_EQ(r.status, 0) << r.err;
        for (std::string const& name : written) EXPECT_TRUE(fs::exists(s(name))) << name;
        EXPECT_EQ(s.names().size(), 5 + written.size()) << out;
        for (std::string const& name : written) fs::remove(s(name));
    }
}

TEST(Sequence, AMissingFrameStopsTheRunOrIsSkipped) {
    Scratch s;
    writeFrames(s, "in", {1, 2, 4});
    std::string run = "render " + s("in%d.png") + " -o " + s("out%d.png") + " --frames 1-4 -j 1";
    Outcome r = mirrel(run);
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(contains(r.err, s("in3.png")) && contains(r.err, "2 written, 0 skipped, 1 failed"))
        << r.err;
    EXPECT_FALSE(fs::exists(s("out3.png")) || fs::exists(s("out4.png")));

    r = mirrel(run + " --skip-missing");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(contains(r.err, "skipped frame 3") &&
                contains(r.err, "3 written, 1 skipped, 0 failed"))
        << r.err;
    EXPECT_TRUE(fs::exists(s("out4.png")));
    EXPECT_EQ(mirrel(run + " --skip-missing --quiet").err, "");

    // A frame that is no file (a FIFO nothing writes to, a link to an endless device) is refused
    // before it is opened, as a first frame too.
    fs::remove(s("in1.png")), fs::remove(s("in2.png"));
    ASSERT_EQ(mkfifo(s("in1.png").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", s("in2.png"));
    for (std::string skip : {"", " --skip-missing"}) {
        r = ::run("timeout 20 " MIRREL_BINARY " " + run + skip);
        EXPECT_EQ(r.status, skip.empty() ? 1 : 0) << r.err;
        EXPECT_TRUE(contains(r.err, s("in1.png")) && contains(r.err, "not a regular file"))
            << r.err;
    }
}

TEST(Sequence, SeveralJobsWriteWhatOneJobWrites) {
    Scratch s;
    writeFrames(s, "in", {1, 2, 3, 4, 5, 6});
    std::string run = "render " + s("in%d.png") +
                      " --frames 1-6 --set 'Fade Noise=60' --set "
                      "'Softness=20' --set Zoom@1=1 --set Zoom@6=1.4 --set 'Transfer Mode=Normal'";
    ASSERT_EQ(mirrel(run + " -o " + s("one%d.png") + " --jobs 1").status, 0);
    Outcome r = mirrel(run + " -o " + s("two%d.png") + " --jobs 2");
    ASSERT_EQ(r.status, 0) << r.err;
    for (int f = 1; f <= 6; ++f) {
        std::string n = std::to_string(f) + ".png";
        EXPECT_EQ(s.pixels("two" + n), s.pixels("one" + n)) << "frame " << f;
    }
}

TEST(Sequence, AnOutputThatIsAnInputOfTheRunIsRefusedBeforeAnyFrame) {
    Scratch s;
    std::vector<int> frames;
    for (int f = 1; f <= 12; ++f) frames.push_back(f);
    writeFrames(s, "x", frames);
    fs::create_directory(s("links"));
    fs::create_hard_link(s("x2.png"), s("links/h3.png"));
    fs::create_symlink(s("x5.png"), s("links/s2.png"));
    auto before = s.names();
    for (auto const& [out, clash] :
         std::vector<std::pair<std::string, std::string>>{
             {s("x1%d.png"), s("x11.png")},         // frame 1 would write frame 11's input
             {s("links/h%d.png"), s("x2.png")},     // a hard link to an input
             {s("links/s%d.png"), s("x5.png")},     // a symbolic link to one
             {s("links/../x%d.png"), s("x1.png")}}) // the same file by another path
    {
        Outcome r = mirrel("render " + s("x%d.png") + " -o " + out + " --frames 1-12");
        EXPECT_EQ(r.status, 2) << out;
        EXPECT_TRUE(contains(r.err, clash)) << r.err;
        EXPECT_EQ(s.names(), before);
    }
}

} // namespace
