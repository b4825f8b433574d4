#include "AppTestSupport.h"
#include "apps/cli/Args.h"
#include "apps/cli/FramePattern.h"

#include <gtest/gtest.h>

namespace {

Options parse(std::vector<std::string> args) {
    return parseArguments(args);
}

TEST(Args, RenderOptions) {
    Options o = parse({"render",
                       "in.png",
                       "-o",
                       "out.exr",
                       "--set",
                       "Zoom=2",
                       "--preset=p.json",
                       "--set=Bend=on",
                       "--frame",
                       "2.5",
                       "--host",
                       "motion",
                       "--depth",
                       "16",
                       "--order",
                       "argb",
                       "--scale",
                       "0.5",
                       "--field",
                       "2",
                       "--show-controls"});
    EXPECT_EQ(o.command, Command::Render);
    EXPECT_EQ(o.input, "in.png");
    EXPECT_EQ(o.output, "out.exr");
    ASSERT_EQ(o.values.size(), 3u); // in command-line order, --set values keep their '='
    EXPECT_EQ(o.values[1].preset, true);
    EXPECT_EQ(o.values[2].text, "Bend=on");
    EXPECT_EQ(o.frame, 2.5);
    EXPECT_EQ(o.host, 1u);
    EXPECT_EQ(o.depth, 16);
    EXPECT_TRUE(o.argb && o.showControls);
    EXPECT_EQ(o.scale, 0.5);
    EXPECT_EQ(o.field, 2);

    o = parse({"render", "a.%04d.png", "--frames", "3-7", "-o", "b.%04d.png"});
    EXPECT_TRUE(o.sequence);
    EXPECT_EQ(o.first, 3);
    EXPECT_EQ(o.last, 7);
    EXPECT_EQ(o.frame, 3.0);
}

TEST(Args, OtherCommandsAndHelp) {
    EXPECT_EQ(parse({"demo"}).output, "mirrel-demo.png");
    EXPECT_TRUE(parse({"params", "--json"}).json);
    EXPECT_EQ(parse({"--version"}).command, Command::Version);
    Options o = parse({"render", "--set", "x", "--help"});
    EXPECT_EQ(o.command, Command::Help);
    EXPECT_EQ(o.helpTopic, "render");
    EXPECT_EQ(parse({"--help"}).helpTopic, "");
}

TEST(Args, MistakesAreUsageErrors) {
    std::vector<std::vector<std::string>> bad = {
        {},
        {"rendr"},
        {"render", "in.png"},
        {"render", "-o", "out.png"},
        {"render", "a.png", "b.png", "-o", "c.png"},
        {"render", "in.png", "-o", "x", "--frames", "7-3"},
        {"render", "in.png", "-o", "x", "--frames", "-3-4"},
        {"render", "in.png", "-o", "x", "--frames", "1-2", "--frame", "1"},
        {"render", "in.png", "-o", "x", "--frame", "two"},
        {"render", "in.png", "-o", "x", "--host", "avid"},
        {"render", "in.png", "-o", "x", "--depth", "12"},
        {"render", "in.png", "-o", "x", "--scale", "0"},
        {"render", "in.png", "-o", "x", "--field", "3"},
        {"render", "in.png", "-o", "x", "--json"},
        {"demo", "--set", "Zoom=2"},
        {"params", "--frame", "2"},
    };
    for (auto const& args : bad)
        EXPECT_NE(usageMessage([&] { parse(args); }), "(no usage error)")
            << testing::PrintToString(args);
    EXPECT_TRUE(contains(usageMessage([&] {
                             parse({"render", "i", "-o", "x", "--depth", "12"});
                         }),
                         "8, 16 or 32"));
}

TEST(Args, FramePatterns) {
    EXPECT_EQ(expandFramePattern("shot.%04d.exr", 12), "shot.0012.exr");
    EXPECT_EQ(expandFramePattern("100%%/f%d.png", 7), "100%/f7.png");
    EXPECT_EQ(expandFramePattern("f%3d", 5), "f  5");
    EXPECT_EQ(expandFramePattern("f%02d", 12345), "f12345");
    for (char const* bad : {"plain.png", "%d%d.png", "%s.png", "%04x.png", "50%.png", "%"})
        EXPECT_FALSE(isFramePattern(bad)) << bad;
    EXPECT_THROW(expandFramePattern("plain.png", 1), UsageError);
}

} // namespace
