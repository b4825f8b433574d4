#include "Frei0rTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/common/EffectSession.h"
#include "apps/common/PictureAlpha.h"

extern "C" {
#include <frei0r.h>
}
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <tuple>

namespace fs = std::filesystem;

namespace {

// The user's value after a frei0r host sets value x on a parameter that held its default.
double userFrom(Frei0rParam const& f, double x) {
    double v[3] = {x, x, x};
    UserValue u = userDefault(*f.param);
    setFromFrei0r(f, v, u);
    return u[size_t(std::max(f.coordinate, 0))];
}

// What a frei0r value means, in the units the user reads: numbers are the value times their
// factor with no offset (as Kdenlive shows them), held at the limits; menus take the nearest
// entry; NaN leaves the default.
TEST(Frei0rMapping, ValuesAsHostsSetThem) {
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    for (auto [name, x, user] : {std::tuple{"Zoom", 0.2, 1.0},
                                 {"Zoom", -1.0, -5.0},
                                 {"Zoom", 1e300, 1000.0},
                                 {"Zoom", -INFINITY, -1000.0},
                                 {"Softness", 0.5, 50.0},
                                 {"Softness", 10.0, 1000.0},
                                 {"Seam Intensity", -0.25, -25.0},
                                 {"Shutter Phase", -0.5, -180.0},
                                 {"Shutter Angle", 2.0, 720.0},
                                 {"Samples", 0.25, 8.0},
                                 {"Gamma", 0.0, 0.1},
                                 {"Gamma", 0.25, 2.5},
                                 {"Bend Angle", 0.45, 45.0},
                                 {"Random Seed", 0.5, 32768.0},
                                 {"Random Seed", 77 / 65535.0, 77.0},
                                 {"Baseline Start X", -0.5, -0.5},
                                 {"Light", 0.4, 0.0},
                                 {"Light", 7.0, 1.0},
                                 {"Transfer Mode", 0.157895, 3.0},
                                 {"Transfer Mode", 0.17, 3.0},
                                 {"Softness Type", NAN, 2.0},
                                 {"Fade Length", NAN, 100.0}}) {
        SCOPED_TRACE(std::string(name) + " " + std::to_string(x));
        EXPECT_EQ(userFrom(byName(mapped, name), x), user);
    }
}

// ffmpeg's and MLT's text of a value, and what Kdenlive's and Shotcut's panels show (every
// default's text goes through ffmpeg in the equality test below).
TEST(Frei0rMapping, TextAndEditorDisplay) {
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    for (auto [name, u, text, shown, unit] :
         {std::tuple{"Bend", UserValue{1, 0, 0}, "y", "on", ""},
          {"Bend", {0, 0, 0}, "n", "off", ""},
          {"Seam Color", {1, 0.5, 0}, "1/0.5/0", "#ff8000", ""},
          {"Transfer Mode", {3, 0, 0}, "0.157895", "Normal", ""},
          {"Fade Length", {100, 0, 0}, "0.2", "100.0", ""},
          {"Zoom", {1, 0, 0}, "0.2", "1.00", ""},
          {"Baseline End Y", {0.75, 0.625, 0}, "0.625", "62.5", "%"},
          {"Bend Angle", {45, 0, 0}, "0.45", "45.0", "°"},
          {"Shutter Phase", {-90, 0, 0}, "-0.25", "-90.0", "°"},
          {"Random Seed", {65535, 0, 0}, "1", "65535", ""}}) {
        SCOPED_TRACE(name);
        Frei0rParam const& f = byName(mapped, name);
        EXPECT_EQ(frei0rText(f, u), text);
        EditorDisplay e = frei0rEditorDisplay(f, u);
        EXPECT_EQ(e.text, shown);
        EXPECT_EQ(e.unit, unit);
    }
}

// The plug-in itself, as a host loads it: a point's two parameters set one value between them.
TEST_F(Frei0rPlugin, PointCoordinatesAreSetAndReadApart) {
    auto get = module.sym<void(f0r_instance_t, f0r_param_t, int)>("f0r_get_param_value");
    ASSERT_TRUE(get);
    auto [init, deinit, construct, destruct, set, update] = f0r;
    f0r_instance_t instance = construct(96, 64);
    ASSERT_NE(instance, nullptr);
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    auto value = [&](int index) {
        double v = -1;
        get(instance, &v, index);
        return v;
    };
    int startX = int(&byName(mapped, "Baseline Start X") - mapped.data());
    int endY = int(&byName(mapped, "Baseline End Y") - mapped.data());
    double x = 0.125, y = 0.375;
    set(instance, &x, startX);
    set(instance, &y, endY);
    EXPECT_EQ(value(startX), 0.125);
    EXPECT_EQ(value(startX + 1), 0.75);
    EXPECT_EQ(value(endY - 1), 0.75);
    EXPECT_EQ(value(endY), 0.375);
    destruct(instance);
}

// The plug-in reads an opaque frame where the host keeps it and draws into the host's frame, or
// into its own when the host hands one frame for both; every way gives the session's pixels.
TEST_F(Frei0rPlugin, OpaqueAndSharedFramesGiveTheSessionsPixels) {
    auto [init, deinit, construct, destruct, set, update] = f0r;
    int const w = 37, h = 26;
    f0r_instance_t instance = construct(w, h);
    EffectSession session;
    for (bool opaque : {true, false}) {
        std::vector<uint32_t> input(size_t(w) * h);
        for (size_t i = 0; i < input.size(); ++i)
            input[i] = (opaque || i % 7 ? 0xffu : 0x60u) << 24 | (uint32_t(i) * 2654435761u >> 8);
        Picture in(w, h, 8);
        premultiplyPicture8(reinterpret_cast<uint8_t const*>(input.data()), in);
        std::vector<uint32_t> want(input.size()), apart(input.size()), shared = input;
        unpremultiplyPicture8(session.render(in, FrameRequest{}),
                              reinterpret_cast<uint8_t*>(want.data()));
        update(instance, 0.0, input.data(), apart.data());
        update(instance, 0.0, shared.data(), shared.data());
        EXPECT_EQ(apart, want) << "opaque " << opaque;
        EXPECT_EQ(shared, want) << "opaque " << opaque;
        EXPECT_NE(want, input);
    }
    destruct(instance);
}

// ffmpeg renders a generated clip through the plug-in; the mirrel command renders the same
// frames at the same times with the same values; the pixels are equal.
TEST_F(Frei0rPlugin, FfmpegThroughThePluginEqualsTheCommand) {
#ifndef MIRREL_FFMPEG
    GTEST_SKIP() << "ffmpeg is absent, or cannot load a sanitized plug-in";
#else
    Scratch s;
    std::string d = writeClip(s, MIRREL_FFMPEG);
    // Values a user sets (the mapping of every kind is the mapping tests'); noise with a seed
    // makes the frame time count. "Bend Stretch" lies beyond its slider.
    char const* chosen[] = {
        "Baseline Start", "0.1,0.7", "Bend",       "on",    "Bend Angle",    "25",
        "Bend Stretch",   "6",       "Seam Color", "1,0,0", "Softness",      "7.8125",
        "Random Seed",    "16384",   "Fade Noise", "12.5",  "Transfer Mode", "Add"}; // label, value
    DeclaredParams declared;
    auto const& params = declared.params();
    std::vector<UserValue> values;
    for (Param const& p : params) values.push_back(userDefault(p));
    std::string sets;
    for (size_t i = 0; i < std::size(chosen); i += 2) {
        Param const& p = findParam(params, chosen[i]);
        values[size_t(&p - params.data())] = parseValue(p, chosen[i + 1]);
        sets += std::string(" --set '") + chosen[i] + "=" + chosen[i + 1] + "'";
    }
    // ffmpeg passes the time in milliseconds, 40 a frame at 25 frames a second; frames without
    // timestamps come with a time of about -3.7e20, and the plug-in counts them.
    for (auto [name, options, filter, step] :
         {std::tuple{"ff", "", "", 40},
          {"nopts", " -fps_mode passthrough", "setpts=-9223372036854775808,", 1}}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_FFMPEG " -v error -i " + d +
                        "in.%d.png" + options + " -vf '" + filter +
                        "frei0r=filter_name=mirrel:filter_params=" +
                        frei0rFilterParams(params, values) + "' " + d + name + ".%d.png"),
                  0);
        expectRunsEqualTheCommand(s, {name}, [&, step = step](int f) {
            return " --frame " + std::to_string(step * (f - 1)) + sets;
        });
    }
#endif
}

} // namespace
