#include "AppTestSupport.h"
#include "apps/cli/CommandLine.h"
#include "apps/cli/FrameSequence.h"

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

TEST(CommandLine, RenderOptions) {
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

    o = parse("render a.%04d.png --frames 3-7x2,10 -o b.%04d.png");
    EXPECT_EQ(std::tuple(o.sequence, o.frames, o.frame),
              std::tuple(true, std::vector<int>{3, 5, 7, 10}, 3.0));
}

TEST(CommandLine, OtherCommandsAndHelp) {
    EXPECT_EQ(parse("demo").output, "mirrel-demo.png");
    EXPECT_TRUE(parse("params --json").json);
    EXPECT_EQ(parse("--version").command, Command::Version);
    Options o = parse("render --set x --help");
    EXPECT_EQ(o.command, Command::Help);
    EXPECT_TRUE(contains(o.text, "--show-controls") && contains(o.text, "r,g,b")) << o.text;
    EXPECT_EQ(parse("help params").text, parse("params --help").text);
    EXPECT_TRUE(contains(parse("--help").text, "render"));
}

TEST(CommandLine, MistakesAreUsageErrors) {
    for (char const* bad : {"", "rendr", "render in.png", "render -o out.png",
                            "render a.png b.png -o c.png", "demo --set Zoom=2", "params --frame 2"})
        EXPECT_NE(usageMessage([&] { parse(bad); }), "(no usage error)") << bad;
    for (char const* bad : {"--frames 1-", "--frames x", "--frames 1-2 --frame 1", "--frame two",
                            "--frames 1-10x0", "--frames 1-10x-1", "--frames x-1", "--max-pixels 0",
                            "--host avid", "--depth 12", "--scale 0", "--field 3", "--json"})
        EXPECT_NE(usageMessage([&] { parse(std::string("render in.png -o x ") + bad); }),
                  "(no usage error)")
            << bad;
    EXPECT_TRUE(contains(usageMessage([&] { parse("render i -o x --depth 12"); }), "8, 16 or 32"));
    EXPECT_LT(usageMessage([&] { parse("render i -o x --max-pixels 0"); }).size(), 100u);
}

TEST(CommandLine, FrameListsAndPatterns) {
    for (auto const& [spec, frames] : std::vector<std::pair<std::string, std::vector<int>>>{
             {"4", {4}},
             {"1-4", {1, 2, 3, 4}},
             {"1-9x3", {1, 4, 7}},
             {"1-2000001x1000000", {1, 1000001, 2000001}},
             {"1,5,9-11", {1, 5, 9, 10, 11}}})
        EXPECT_EQ(parseFrameList(spec), frames) << spec;
    for (auto const& [pattern, frame12] :
         std::vector<std::pair<std::string, std::string>>{{"shot.%04d.exr", "shot.0012.exr"},
                                                          {"shot.#.exr", "shot.0012.exr"},
                                                          {"shot.@@@.exr", "shot.012.exr"},
                                                          {"100%%/f%d.png", "100%/f12.png"},
                                                          {"f%3d", "f 12"}})
        EXPECT_EQ(sequenceFiles(framePattern(pattern), {12}), std::vector<std::string>{frame12})
            << pattern;
    for (char const* bad : {"plain.png", "%d%d.png", "%s.png", "%04x.png", "50%.png", "%"})
        EXPECT_THROW(framePattern(bad), UsageError) << bad;
}

} // namespace
