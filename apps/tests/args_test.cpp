#include "AppTestSupport.h"
#include "apps/cli/Args.h"
#include "apps/cli/FramePattern.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

// The words of a command line split at spaces.
Options parse(std::string const& line) {
    std::istringstream in(line);
    std::vector<std::string> args;
    for (std::string word; in >> word;) args.push_back(word);
    return parseArguments(args);
}

TEST(Args, RenderOptions) {
    Options o = parse("render in.png -o out.exr --set Zoom=2 --preset=p.json --set=Bend=on "
                      "--frame 2.5 --host motion --depth 16 --order argb --scale 0.5 --field 2 "
                      "--show-controls");
    EXPECT_EQ(o.command, Command::Render);
    EXPECT_EQ(o.input + " " + o.output, "in.png out.exr");
    ASSERT_EQ(o.values.size(), 3u); // in command-line order, --set values keep their '='
    EXPECT_TRUE(o.values[1].preset);
    EXPECT_EQ(o.values[2].text, "Bend=on");
    EXPECT_EQ(std::tuple(o.frame, o.host, o.depth, o.argb, o.showControls, o.scale, o.field),
              std::tuple(2.5, 1u, 16, true, true, 0.5, 2));

    o = parse("render a.%04d.png --frames 3-7 -o b.%04d.png");
    EXPECT_EQ(std::tuple(o.sequence, o.first, o.last, o.frame), std::tuple(true, 3L, 7L, 3.0));
}

TEST(Args, OtherCommandsAndHelp) {
    EXPECT_EQ(parse("demo").output, "mirrel-demo.png");
    EXPECT_TRUE(parse("params --json").json);
    EXPECT_EQ(parse("--version").command, Command::Version);
    Options o = parse("render --set x --help");
    EXPECT_EQ(o.command, Command::Help);
    EXPECT_EQ(o.helpTopic, "render");
    EXPECT_EQ(parse("--help").helpTopic, "");
}

TEST(Args, MistakesAreUsageErrors) {
    for (char const* bad : {"", "rendr", "render in.png", "render -o out.png",
                            "render a.png b.png -o c.png", "demo --set Zoom=2", "params --frame 2"})
        EXPECT_NE(usageMessage([&] { parse(bad); }), "(no usage error)") << bad;
    for (char const* bad :
         {"--frames 7-3", "--frames -3-4", "--frames 1-2 --frame 1", "--frame two", "--host avid",
          "--depth 12", "--scale 0", "--field 3", "--json"})
        EXPECT_NE(usageMessage([&] { parse(std::string("render in.png -o x ") + bad); }),
                  "(no usage error)")
            << bad;
    EXPECT_TRUE(contains(usageMessage([&] { parse("render i -o x --depth 12"); }), "8, 16 or 32"));
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
