#include "Frei0rTestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

#if defined(MIRREL_FFMPEG) && defined(MIRREL_MELT) && defined(MIRREL_GST_LAUNCH)
std::string output(std::string const& command) {
    std::string text;
    FILE* p = popen(command.c_str(), "r");
    for (int c; p && (c = std::fgetc(p)) != EOF;) text += char(c);
    EXPECT_EQ(p ? pclose(p) : -1, 0) << command;
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}
#endif

// The strings `mirrel export` prints for ffmpeg, melt and GStreamer, run in those programs,
// give the pixels of `mirrel render --preset` with the same preset: points, a bool, a colour,
// menus, a number past the middle of its slider, and (in melt) a keyed value between its keys.
TEST(Export, HostsRenderWhatTheCommandRenders) {
#if !defined(MIRREL_FFMPEG) || !defined(MIRREL_MELT) || !defined(MIRREL_GST_LAUNCH)
    GTEST_SKIP() << "ffmpeg, melt or GStreamer is absent, or cannot load a sanitized plug-in";
#else
    Scratch s;
    std::string d = writeClip(s, MIRREL_FFMPEG);
    std::ofstream(d + "look.json") << R"({"Baseline Start": [0.1, 0.7], "Baseline End": [0.9, 0.65],
        "Bend": true, "Bend Angle": 25, "Seam Color": [1, 0, 0], "Seam Size": "Medium",
        "Softness": 7.8125, "Fade Length": [[0, 62.5], [2, 250]], "Transfer Mode": "Add",
        "Light": "Frontlit"})";
    std::string mirrel = MIRREL_BINARY, path = "FREI0R_PATH=" MIRREL_FREI0R_DIR " ";
    auto exported = [&](char const* host) {
        return output(mirrel + " export " + d + "look.json --for " + host);
    };
    auto const preset = [&](int f) {
        return " --preset " + d + "look.json --frame " + std::to_string(f - 1);
    };
    ASSERT_EQ(shell(path + MIRREL_FFMPEG " -v error -i " + d + "in.1.png -vf '" +
                    exported("ffmpeg") + "' " + d + "ff.png"),
              0);
    ASSERT_EQ(shell(path + MIRREL_GST_LAUNCH " -q filesrc location=" + d +
                    "in.1.png ! pngdec ! videoconvert ! " + exported("gst") +
                    " ! videoconvert ! pngenc ! filesink location=" + d + "gst.png"),
              0);
    ASSERT_EQ(shell(mirrel + " render " + d + "in.1.png -o " + d + "cli.png" + preset(1)), 0);
    EXPECT_EQ(s.pixels("ff.png"), s.pixels("cli.png"));
    EXPECT_EQ(s.pixels("gst.png"), s.pixels("cli.png"));

    ASSERT_EQ(shell(MIRREL_FFMPEG " -v error -i " + d + "in.%d.png -c:v ffv1 -pix_fmt rgba " + d +
                    "in.mkv"),
              0);
    ASSERT_EQ(shell(path + MIRREL_MELT " -quiet " + d + "in.mkv " + exported("melt") +
                    " -consumer avformat:" + d + "melt.%d.png vcodec=png pix_fmt=rgba"),
              0);
    expectRunsEqualTheCommand(s, {"melt"}, preset);
#endif
}

} // namespace
