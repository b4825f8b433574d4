#include "Frei0rTestSupport.h"
#include "apps/frei0r/KdenliveEffect.h"

extern "C" {
#include <frei0r.h>
}
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <map>

namespace {

std::string prop(xmlNodePtr node, char const* name) {
    xmlChar* v = xmlGetProp(node, reinterpret_cast<xmlChar const*>(name));
    std::string s = v ? reinterpret_cast<char const*>(v) : "";
    xmlFree(v);
    return s;
}

bool named(xmlNodePtr node, char const* name) {
    return node->type == XML_ELEMENT_NODE &&
           std::string(reinterpret_cast<char const*>(node->name)) == name;
}

std::vector<std::string> split(std::string const& s, char sep) {
    std::vector<std::string> out(1);
    for (char c : s)
        if (c == sep)
            out.emplace_back();
        else
            out.back().push_back(c);
    return out;
}

std::string childText(xmlNodePtr node, char const* name) {
    for (xmlNodePtr c = node->children; c; c = c->next)
        if (named(c, name)) {
            xmlChar* text = xmlNodeGetContent(c);
            std::string s = reinterpret_cast<char const*>(text);
            xmlFree(text);
            return s;
        }
    return "";
}

// The file the build wrote, read as Kdenlive reads it: `default` and menu values go to MLT as
// written, and Kdenlive keeps a menu value with 6 significant digits; a number shows its MLT
// value times `factor`, so that its ends and default are the catalogue's in the user's units.
TEST(KdenliveEffect, ReadAsKdenliveReadsItGivesTheCatalogue) {
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    xmlDocPtr doc = xmlReadFile(MIRREL_KDENLIVE_EFFECT, nullptr, XML_PARSE_NONET);
    ASSERT_NE(doc, nullptr);
    xmlNodePtr root = xmlDocGetRootElement(doc);
    ASSERT_TRUE(named(root, "effect"));
    EXPECT_EQ(prop(root, "tag"), "frei0r.mirrel");
    std::map<std::string, int> seen;
    for (xmlNodePtr node = root->children; node; node = node->next) {
        if (!named(node, "parameter")) continue;
        std::string name = prop(node, "name"), type = prop(node, "type");
        SCOPED_TRACE(name);
        if (seen[name]++) continue;
        Frei0rParam const& f = byName(mapped, name);
        UserValue want = userDefault(*f.param), u{-9, -9, -9};
        auto number = [&](char const* attr) {
            return std::strtod(prop(node, attr).c_str(), nullptr);
        };
        auto user = [&](double mlt) {
            double v[3] = {mlt, mlt, mlt};
            UserValue r = want;
            setFromFrei0r(f, v, r);
            return r[size_t(std::max(f.coordinate, 0))];
        };
        auto kept = [](std::string const& text) -> std::string {
            char six[32];
            std::snprintf(six, sizeof six, "%.6g", std::strtod(text.c_str(), nullptr));
            return six;
        };
        double v[3] = {number("default"), 0, 0};
        if (type == "list") {
            auto values = split(prop(node, "paramlist"), ';');
            EXPECT_EQ(split(childText(node, "paramlistdisplay"), ','), f.param->entries);
            ASSERT_EQ(values.size(), f.param->entries.size());
            for (size_t k = 0; k < values.size(); ++k) {
                EXPECT_EQ(kept(values[k]), values[k]);
                EXPECT_EQ(user(std::strtod(values[k].c_str(), nullptr)), double(k));
            }
            EXPECT_EQ(values.at(size_t(want[0])), prop(node, "default"));
        } else if (type == "color") {
            unsigned rgb[3];
            ASSERT_EQ(
                std::sscanf(prop(node, "default").c_str(), "#%2x%2x%2x", &rgb[0], &rgb[1], &rgb[2]),
                3);
            for (int c = 0; c < 3; ++c) v[c] = rgb[c] / 255.0;
        } else if (type != "bool") {
            ASSERT_TRUE(type == "animated" || type == "constant") << type;
            EXPECT_EQ(prop(node, "offset"), "");
            double factor = number("factor"), min = number("min"), max = number("max");
            if (f.param->kind == ParamKind::Point) {
                EXPECT_EQ(factor, 100); // percent of the frame
            } else {
                // The slider's ends are the user's values, inside the limits.
                Limits l = userLimits(*f.param);
                EXPECT_NEAR(user(min / factor), min, 1e-9);
                EXPECT_NEAR(user(max / factor), max, 1e-9);
                EXPECT_TRUE(min >= l.min && max <= l.max && min < max);
                EXPECT_TRUE(want[0] >= min && want[0] <= max);
            }
        }
        setFromFrei0r(f, v, u);
        size_t c = size_t(std::max(f.coordinate, 0));
        EXPECT_NEAR(u[c], want[c], 1e-9);
        if (type == "color") {
            for (size_t i = 1; i < 3; ++i) EXPECT_NEAR(u[i], want[i], 1e-9);
        }
    }
    xmlFreeDoc(doc);
    EXPECT_EQ(seen.size(), mapped.size());
    for (auto const& [name, count] : seen) EXPECT_EQ(count, 1) << name;
}

// melt renders a generated clip through the plug-in with properties as the editors write them:
// from its command line on one thread and on two, and from a project as Shotcut's panel saves
// it; each frame equals the mirrel command's render of the same values in the user's units.
TEST(Melt, PropertiesAsEditorsWriteThemEqualTheCommand) {
#if !defined(MIRREL_MELT) || !defined(MIRREL_FFMPEG)
    GTEST_SKIP() << "melt or ffmpeg is absent, or cannot load a sanitized plug-in";
#else
    Scratch s;
    std::string d = writeClip(s, MIRREL_FFMPEG);
    ASSERT_EQ(shell(std::string(MIRREL_FFMPEG) + " -v error -i " + d + "in.%d.png -c:v ffv1 " +
                    "-pix_fmt rgba " + d + "in.mkv"),
              0);
    // Property, its text, and the same value for the command.
    std::tuple<char const*, char const*, char const*> chosen[] = {
        {"Baseline Start X", "0.1", "Baseline Start=0.1,0.7"},
        {"Baseline Start Y", "0.7", ""},
        {"Height and Slant Y", "0.95", "Height and Slant=0.5,0.95"},
        {"Softness", "0.12", "Softness=12"},
        {"Zoom", "0.25", "Zoom=1.25"},
        {"Bend", "1", "Bend=on"},
        {"Bend Stretch", "1.4", "Bend Stretch=7"},
        {"Seam Intensity", "-0.4", "Seam Intensity=-40"},
        {"Light", "0", "Light=Frontlit"},
        {"Fade Noise", "0.3", "Fade Noise=30"},
        {"Random Seed", "0.00117494", "Random Seed=77"},
        {"Transfer Mode", "0.157895", "Transfer Mode=Normal"}};
    // "Fade Length" goes from 125 to 375 over the three frames: by frame number on the command
    // line, by time in the project.
    std::string cmd = "FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_MELT " " + d +
                      "in.mkv -filter frei0r.mirrel 'Fade Length=0=0.25;2=0.75'";
    std::string project =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt LC_NUMERIC=\"C\">\n"
        " <profile width=\"96\" height=\"64\" progressive=\"1\" sample_aspect_num=\"1\" "
        "sample_aspect_den=\"1\" display_aspect_num=\"3\" display_aspect_den=\"2\" "
        "frame_rate_num=\"25\" frame_rate_den=\"1\" colorspace=\"709\"/>\n"
        " <producer id=\"clip\" in=\"0\" out=\"2\">\n"
        "  <property name=\"resource\">" +
        d +
        "in.mkv</property>\n"
        "  <property name=\"mlt_service\">avformat</property>\n"
        "  <filter id=\"filter0\">\n"
        "   <property name=\"mlt_service\">frei0r.mirrel</property>\n"
        "   <property name=\"shotcut:filter\">mirrel</property>\n"
        "   <property name=\"Fade Length\">00:00:00.000=0.25;00:00:00.080=0.75</property>\n";
    std::string sets;
    for (auto [name, text, set] : chosen) {
        cmd += std::string(" '") + name + "=" + text + "'";
        project += std::string("   <property name=\"") + name + "\">" + text + "</property>\n";
        if (*set) sets += std::string(" --set '") + set + "'";
    }
    project += "  </filter>\n </producer>\n</mlt>\n";
    std::ofstream(d + "shotcut.mlt") << project;
    auto to = [&](std::string const& name, int realTime = -1) {
        return " -consumer avformat:" + d + name +
               ".%d.png vcodec=png pix_fmt=rgba real_time=" + std::to_string(realTime) + " >>" + d +
               "melt.log 2>&1";
    };
    ASSERT_EQ(shell(cmd + to("cmd")), 0);
    // Frame threading: two threads, each with its own instance, render alternate frames.
    ASSERT_EQ(shell(cmd + to("threads", -2)), 0);
    ASSERT_EQ(shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_MELT " " + d + "shotcut.mlt" +
                    to("shotcut")),
              0);
    // MLT passes the time in seconds; with noise it tells the frames apart.
    expectRunsEqualTheCommand(s, {"cmd", "threads", "shotcut"}, [&](int f) {
        char time[32];
        std::snprintf(time, sizeof time, "%.17g", (f - 1) / 25.0);
        return " --frame " + std::string(time) + sets +
               " --set 'Fade Length=" + std::to_string(125 * f) + "'";
    });
#endif
}

// A project saved by Kdenlive 22.12 itself after applying Mirrel to a 640x360 clip one second
// into the timeline and setting "Light" Frontlit, "Transfer Mode" Normal, "Baseline Start X"
// 10 % and "Softness" 20 in its panel: melt renders it as the command renders those values.
TEST(Melt, ProjectSavedByKdenliveEqualsTheCommand) {
#if !defined(MIRREL_MELT) || !defined(MIRREL_FFMPEG)
    GTEST_SKIP() << "melt or ffmpeg is absent, or cannot load a sanitized plug-in";
#else
    Scratch s;
    std::string d = s.dir.string() + "/";
    // The project names its clip relative to its root; a lossless clip of the same size stands
    // in for it, so that melt and the command read the same pixels.
    ASSERT_EQ(shell(std::string(MIRREL_FFMPEG) +
                    " -v error -f lavfi -i testsrc2=size=640x360:rate=25 -frames:v 3 -c:v ffv1 " +
                    "-pix_fmt rgba " + d + "clip.mkv && " MIRREL_FFMPEG " -v error -i " + d +
                    "clip.mkv " + d + "in.%d.png"),
              0);
    std::ifstream fixture(MIRREL_TEST_FIXTURES "/kdenlive-mirrel.kdenlive");
    std::string project((std::istreambuf_iterator<char>(fixture)), {});
    for (auto [from, to] : {std::pair<std::string, std::string>{"root=\"/tmp/editors\"",
                                                                "root=\"" + s.dir.string() + "\""},
                            {">clip.mp4<", ">clip.mkv<"}})
        for (size_t at; (at = project.find(from)) != std::string::npos;)
            project.replace(at, from.size(), to);
    std::ofstream(d + "project.kdenlive") << project;
    ASSERT_EQ(shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_MELT " " + d +
                    "project.kdenlive in=25 out=27 -consumer avformat:" + d +
                    "kd.%d.png vcodec=png pix_fmt=rgba real_time=-1 >" + d + "melt.log 2>&1"),
              0);
    expectRunsEqualTheCommand(s, {"kd"}, [](int) {
        return " --set Light=Frontlit --set 'Transfer Mode=Normal' --set 'Baseline Start=0.1,0.75' "
               "--set Softness=20";
    });
#endif
}

} // namespace
