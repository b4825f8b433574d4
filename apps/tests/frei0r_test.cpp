#include "AppTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/frei0r/Frei0rMapping.h"

extern "C" {
#include <frei0r.h>
}
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

TEST(Frei0rMapping, EveryParameterInOrderWithItsRangeEndsAndMenuEntries) {
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    ASSERT_EQ(mapped.size(), 34u);
    auto user = [](Param const& p, double x) {
        double v[3] = {x, 0, 0};
        return userValueFromFrei0r(p, v)[0];
    };
    size_t k = 0;
    for (Param const& p : d.params()) {
        if (p.kind == ParamKind::Group) continue;
        Frei0rParam const& f = mapped[k++];
        SCOPED_TRACE(p.name);
        ASSERT_EQ(f.param, &p);
        int type = p.kind == ParamKind::Toggle  ? F0R_PARAM_BOOL
                   : p.kind == ParamKind::Point ? F0R_PARAM_POSITION
                   : p.kind == ParamKind::Color ? F0R_PARAM_COLOR
                                                : F0R_PARAM_DOUBLE;
        EXPECT_EQ(f.type, type);
        double v[3] = {0, 0, 0};
        if (p.kind == ParamKind::Popup) {
            // Entry e of n stands at e / (n - 1) and owns the values nearer to it than to others.
            double n1 = double(p.entries.size() - 1);
            for (size_t e = 0; e < p.entries.size(); ++e) {
                EXPECT_TRUE(contains(f.explanation, p.entries[e]));
                for (double off : {0.0, -0.45, 0.45})
                    if (double x = (double(e) + off) / n1; x >= 0 && x <= 1) {
                        EXPECT_EQ(user(p, x), double(e)) << x;
                    }
                frei0rFromUserValue(p, {double(e), 0, 0}, v);
                EXPECT_EQ(v[0], double(e) / n1);
            }
        } else if (type == F0R_PARAM_DOUBLE) {
            Limits l = userLimits(p);
            EXPECT_TRUE(
                contains(f.explanation, formatNumber(l.min) + " to " + formatNumber(l.max)));
            for (auto [x, want] :
                 {std::pair{0.0, l.min}, {1.0, l.max}, {-3.0, l.min}, {7.0, l.max}})
                EXPECT_EQ(user(p, x), want) << x;
            EXPECT_NEAR(user(p, 0.5), (l.min + l.max) / 2, 0.5);
        }
        // Every default survives the trip to frei0r and back.
        frei0rFromUserValue(p, userDefault(p), v);
        UserValue back = userValueFromFrei0r(p, v);
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(back[c], userDefault(p)[c], 1e-9);
    }
}

#ifdef MIRREL_FREI0R_MODULE

int shell(std::string const& command) {
    int raw = std::system(command.c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

// ffmpeg renders a generated clip through the plug-in; the mirrel command renders the same
// frames at the same times with the same values; the pixels are equal.
TEST(Frei0rPlugin, FfmpegThroughThePluginEqualsTheCommand) {
    fs::path dir = scratchPath("frei0r");
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::string d = dir.string() + "/";
    ASSERT_EQ(shell(std::string(MIRREL_FFMPEG) +
                    " -v error -f lavfi -i \"testsrc2=size=96x64:rate=25,format=rgba,"
                    "geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='if(lt(X,24),128,255)'\" "
                    "-frames:v 3 " +
                    d + "in.%d.png"),
              0);

    // One frei0r value a parameter, in order; noise with a seed makes the frame time count.
    std::vector<std::string> values = {
        "1",       "0.1/0.7", "0.9/0.65", "0.5/1",  "0.5/0.5/0.5", "y",     "0.25",
        "0.5",     "0.0625",  "1",        "0.6666", "0.75",        "1/0/0", "0.0078125",
        "0.25",    "0",       "0.0625",   "0.125",  "0.5",         "0.5",   "0.50025",
        "0.5/0.5", "0",       "0.5",      "0.5",    "0",           "0.25",  "0.125",
        "0.25",    "0.125",   "0.25",     "1",      "0.75",        "0.2"};
    DeclaredParams declared;
    auto mapped = frei0rParams(declared.params());
    ASSERT_EQ(values.size(), mapped.size());
    std::string filterParams, sets;
    for (size_t i = 0; i < values.size(); ++i) {
        filterParams += (i ? "|" : "") + values[i];
        // The value as ffmpeg reads it: colours as floats, the rest as doubles.
        double v[3] = {0, 0, 0};
        std::sscanf(values[i].c_str(), "%lf/%lf/%lf", &v[0], &v[1], &v[2]);
        if (mapped[i].type == F0R_PARAM_BOOL) v[0] = values[i] == "y";
        if (mapped[i].type == F0R_PARAM_COLOR)
            for (double& c : v) c = double(float(c));
        Param const& p = *mapped[i].param;
        UserValue u = userValueFromFrei0r(p, v);
        int n = p.kind == ParamKind::Point ? 2 : p.kind == ParamKind::Color ? 3 : 1;
        char text[96] = "";
        for (int c = 0; c < n; ++c)
            std::snprintf(text + std::strlen(text), 32, "%s%.17g", c ? "," : "", u[size_t(c)]);
        sets += " --set '" + p.name + "=" + text + "'";
    }
    ASSERT_EQ(shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_FFMPEG " -v error -i " + d +
                    "in.%d.png -vf 'frei0r=filter_name=mirrel:filter_params=" + filterParams +
                    "' " + d + "ff.%d.png"),
              0);
    for (int f = 1; f <= 3; ++f) {
        // ffmpeg passes the time in milliseconds, 40 a frame at 25 frames a second.
        std::string n = std::to_string(f);
        ASSERT_EQ(shell(std::string(MIRREL_BINARY) + " render " + d + "in." + n + ".png -o " + d +
                        "cli." + n + ".png --frame " + std::to_string(40 * (f - 1)) + sets),
                  0);
        auto ff = readImage(d + "ff." + n + ".png", 0).picture.bytes;
        EXPECT_EQ(ff, readImage(d + "cli." + n + ".png", 0).picture.bytes) << "frame " << f;
        EXPECT_NE(ff, readImage(d + "in." + n + ".png", 0).picture.bytes);
    }
    // Frames without timestamps come with a time of about -3.7e20; the plug-in counts them.
    ASSERT_EQ(shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_FFMPEG " -v error -i " + d +
                    "in.%d.png -fps_mode passthrough -vf 'setpts=-9223372036854775808,"
                    "frei0r=filter_name=mirrel:filter_params=" +
                    filterParams + "' " + d + "nopts.%d.png"),
              0);
    for (int f = 1; f <= 3; ++f) {
        std::string n = std::to_string(f);
        ASSERT_EQ(shell(std::string(MIRREL_BINARY) + " render " + d + "in." + n + ".png -o " + d +
                        "counted." + n + ".png --frame " + std::to_string(f - 1) + sets),
                  0);
        EXPECT_EQ(readImage(d + "nopts." + n + ".png", 0).picture.bytes,
                  readImage(d + "counted." + n + ".png", 0).picture.bytes)
            << "frame " << f;
    }
    fs::remove_all(dir);
}

#endif

} // namespace
