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

TEST(Frei0rMapping, EveryParameterInOrderWithItsSliderLimitsAndMenuEntries) {
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    ASSERT_EQ(mapped.size(), 38u);
    size_t k = 0;
    for (Param const& p : d.params()) {
        if (p.kind == ParamKind::Group) continue;
        for (int c : p.kind == ParamKind::Point ? std::vector{0, 1} : std::vector{-1}) {
            Frei0rParam const& f = mapped[k++];
            SCOPED_TRACE(f.name);
            ASSERT_EQ(f.param, &p);
            EXPECT_EQ(f.coordinate, c);
            EXPECT_EQ(f.name, c < 0 ? p.name : p.name + (c ? " Y" : " X"));
            EXPECT_EQ(f.type, p.kind == ParamKind::Toggle  ? F0R_PARAM_BOOL
                              : p.kind == ParamKind::Color ? F0R_PARAM_COLOR
                                                           : F0R_PARAM_DOUBLE);
            double v[3] = {0, 0, 0};
            if (p.kind == ParamKind::Popup) {
                // Entry e of n stands at e / (n - 1) and owns the values nearer to it.
                double n1 = double(p.entries.size() - 1);
                for (size_t e = 0; e < p.entries.size(); ++e) {
                    EXPECT_TRUE(contains(f.explanation, p.entries[e]));
                    for (double off : {0.0, -0.45, 0.45, -9.0, 9.0})
                        EXPECT_EQ(userFrom(f, (double(e) + off) / n1),
                                  std::clamp(double(e) + std::round(off), 0.0, n1));
                    frei0rFromUserValue(f, {double(e), 0, 0}, v);
                    EXPECT_EQ(v[0], double(e) / n1);
                }
            } else if (p.kind == ParamKind::Point) {
                for (double x : {-0.5, 0.0, 0.3, 1.0, 2.5}) EXPECT_EQ(userFrom(f, x), x);
                EXPECT_EQ(userFrom(f, NAN), userDefault(p)[size_t(c)]);
            } else if (f.type == F0R_PARAM_DOUBLE) {
                // 0..1 spans the slider; beyond it the line goes on to the limits and stops.
                Limits s = frei0rSpan(p), l = userLimits(p);
                double span = s.max - s.min, hi = (l.max - s.min) / span,
                       lo = (l.min - s.min) / span, tol = 1e-9 * (l.max - l.min);
                EXPECT_TRUE(
                    contains(f.explanation, formatNumber(s.min) + " to " + formatNumber(s.max)));
                if (hi > 1 || lo < 0) {
                    EXPECT_TRUE(contains(f.explanation, "limits " + formatNumber(l.min) + " to " +
                                                            formatNumber(l.max)));
                }
                for (auto [x, want] : {std::pair{0.0, s.min},
                                       {1.0, s.max},
                                       {hi, l.max},
                                       {lo, l.min},
                                       {(1 + hi) / 2, (s.max + l.max) / 2},
                                       {lo / 2, (s.min + l.min) / 2},
                                       {hi + 1, l.max},
                                       {lo - 1, l.min},
                                       {INFINITY, l.max},
                                       {-INFINITY, l.min}}) {
                    double got = userFrom(f, x);
                    if (p.kind == ParamKind::Int) want = std::round(want);
                    EXPECT_NEAR(got, want, tol) << x;
                    EXPECT_GE(got, l.min);
                    EXPECT_LE(got, l.max);
                }
                EXPECT_EQ(userFrom(f, 0.0), s.min);
                EXPECT_EQ(userFrom(f, 1.0), s.max);
                EXPECT_EQ(userFrom(f, NAN), userDefault(p)[0]);
            }
            // Every default survives the trip to frei0r and back.
            frei0rFromUserValue(f, userDefault(p), v);
            UserValue back = userDefault(p);
            back[size_t(std::max(c, 0))] += 0.25; // so that the trip has to restore it
            setFromFrei0r(f, v, back);
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(back[size_t(i)], userDefault(p)[size_t(i)], 1e-9);
        }
    }
}

// Where the catalogue's defaults and useful values sit on the 0..1 of a frei0r host.
TEST(Frei0rMapping, DefaultsAndUsefulValuesSitOnTheSlider) {
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    auto named = [&](std::string const& name) -> Frei0rParam const& {
        return byName(mapped, name);
    };
    for (auto [name, x, user] : {std::tuple{"Zoom", 0.6, 1.0},
                                 {"Softness", 0.5, 50.0},
                                 {"Softness", 10.0, 1000.0},
                                 {"Shutter Angle", 2.0, 720.0},
                                 {"Bend Angle", 0.45, 45.0},
                                 {"Random Seed", 0.5, 32768.0},
                                 {"Gamma", 0.0, 0.1}}) {
        SCOPED_TRACE(name);
        EXPECT_NEAR(userFrom(named(name), x), user, 1e-9);
    }
    // ffmpeg's filter_params text of a value.
    EXPECT_EQ(frei0rText(named("Bend"), {1, 0, 0}), "y");
    EXPECT_EQ(frei0rText(named("Bend"), {0, 0, 0}), "n");
    EXPECT_EQ(frei0rText(named("Seam Color"), {1, 0.5, 0}), "1/0.5/0");
    EXPECT_EQ(frei0rText(named("Transfer Mode"), {19, 0, 0}), "1");
    EXPECT_EQ(frei0rText(named("Fade Length"), {100, 0, 0}), "0.20000000000000001");
    EXPECT_EQ(frei0rText(named("Baseline End Y"), {0.75, 0.625, 0}), "0.625");
}

// The plug-in itself, as a host loads it: a point's two parameters set one value between them.
TEST_F(Frei0rPlugin, PointCoordinatesAreSetAndReadApart) {
    auto get = module.sym<void(f0r_instance_t, f0r_param_t, int)>("f0r_get_param_value");
    auto info = module.sym<void(f0r_param_info_t*, int)>("f0r_get_param_info");
    ASSERT_TRUE(get && info);
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
    for (int i = 0; i < int(mapped.size()); ++i) {
        f0r_param_info_t pi{};
        info(&pi, i);
        EXPECT_EQ(std::string(pi.name), mapped[size_t(i)].name);
    }
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
    std::string d = clipFolder("frei0r", MIRREL_FFMPEG);
    // Values a user sets; the rest keep their defaults. Noise with a seed makes the frame
    // time count; "Bend Stretch" lies beyond its slider.
    char const* chosen[] = {"Baseline Start", "0.1,0.7", "Baseline End",    "0.9,0.65",
                            "Bend",           "on",      "Bend Angle",      "25",
                            "Bend Stretch",   "6",       "Seam Style",      "Inverse Square",
                            "Seam Size",      "Medium",  "Seam Color",      "1,0,0",
                            "Softness",       "7.8125",  "Softness Aspect", "1.25",
                            "Softness Type",  "Simple",  "Fade Start",      "6.25",
                            "Fade Length",    "62.5",    "Fade Type",       "Square",
                            "Quality",        "Medium",  "Gamma",           "2.5",
                            "Brightness",     "1.25",    "Random Seed",     "16384",
                            "Fade Noise",     "12.5",    "Post Softness",   "2.5",
                            "Mirrel Opacity", "75",      "Transfer Mode",   "Add"}; // label, value
    DeclaredParams declared;
    auto const& params = declared.params();
    std::vector<UserValue> values, held;
    for (Param const& p : params) values.push_back(userDefault(p));
    held = values;
    for (size_t i = 0; i < std::size(chosen); i += 2) {
        Param const& p = findParam(params, chosen[i]);
        values[size_t(&p - params.data())] = parseValue(p, chosen[i + 1]);
    }
    auto mapped = frei0rParams(params);
    for (Frei0rParam const& f : mapped) {
        size_t at = size_t(f.param - params.data());
        std::string t = frei0rText(f, values[at]);
        // The value as ffmpeg reads the text: colours as floats, the rest as doubles.
        double v[3] = {t == "y" ? 1.0 : 0.0, 0, 0};
        if (f.type == F0R_PARAM_COLOR) {
            float c[3];
            std::sscanf(t.c_str(), "%f/%f/%f", &c[0], &c[1], &c[2]);
            v[0] = c[0], v[1] = c[1], v[2] = c[2];
        } else if (f.type == F0R_PARAM_DOUBLE) {
            v[0] = std::strtod(t.c_str(), nullptr);
        }
        setFromFrei0r(f, v, held[at]);
    }
    std::string sets;
    for (size_t i = 0; i < params.size(); ++i)
        if (params[i].kind != ParamKind::Group) sets += setOption(params[i], held[i]);
    // ffmpeg passes the time in milliseconds, 40 a frame at 25 frames a second; frames without
    // timestamps come with a time of about -3.7e20, and the plug-in counts them.
    for (auto [name, options, filter, step] :
         {std::tuple{"ff", "", "", 40},
          {"nopts", " -fps_mode passthrough", "setpts=-9223372036854775808,", 1}}) {
        SCOPED_TRACE(name);
        std::string out = d + name;
        ASSERT_EQ(shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_FFMPEG " -v error -i " + d +
                        "in.%d.png" + options + " -vf '" + filter +
                        "frei0r=filter_name=mirrel:filter_params=" +
                        frei0rFilterParams(params, values) + "' " + out + ".%d.png"),
                  0);
        for (int f = 1; f <= 3; ++f) {
            std::string n = std::to_string(f);
            ASSERT_EQ(shell(std::string(MIRREL_BINARY) + " render " + d + "in." + n + ".png -o " +
                            out + "-cli." + n + ".png --frame " + std::to_string(step * (f - 1)) +
                            sets),
                      0);
            auto ff = readImage(out + "." + n + ".png", 0).picture.bytes;
            EXPECT_EQ(ff, readImage(out + "-cli." + n + ".png", 0).picture.bytes) << "frame " << f;
            EXPECT_NE(ff, readImage(d + "in." + n + ".png", 0).picture.bytes);
        }
    }
    fs::remove_all(d);
#endif
}

} // namespace
