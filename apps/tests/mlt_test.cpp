#include "Frei0rTestSupport.h"
#include "apps/cli/ImageFile.h"
#include "apps/frei0r/KdenliveEffect.h"

extern "C" {
#include <frei0r.h>
}
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cmath>
#include <fstream>
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

// The file the build wrote: every frei0r parameter once, with the catalogue's default, and the
// ends of every number's Kdenlive slider on frei0r's 0 and 1.
TEST(KdenliveEffect, NamesEveryParameterOnceWithItsDefault) {
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
        UserValue want = userDefault(*f.param), u = want;
        u[size_t(std::max(f.coordinate, 0))] += 0.25; // the default must restore it
        double v[3] = {0, 0, 0};
        auto number = [&](char const* attr) {
            return std::strtod(prop(node, attr).c_str(), nullptr);
        };
        // Kdenlive shows the MLT value times factor plus offset.
        auto mlt = [&](double shown) { return (shown - number("offset")) / number("factor"); };
        if (type == "list") {
            auto values = split(prop(node, "paramlist"), ';');
            std::string labels;
            for (xmlNodePtr c = node->children; c; c = c->next)
                if (named(c, "paramlistdisplay")) {
                    xmlChar* text = xmlNodeGetContent(c);
                    labels = reinterpret_cast<char const*>(text);
                    xmlFree(text);
                }
            EXPECT_EQ(split(labels, ','), f.param->entries);
            ASSERT_EQ(values.size(), f.param->entries.size());
            for (size_t k = 0; k < values.size(); ++k) {
                UserValue e{};
                v[0] = std::strtod(values[k].c_str(), nullptr);
                setFromFrei0r(f, v, e);
                EXPECT_EQ(e[0], double(k));
            }
            v[0] = number("default");
        } else if (type == "bool") {
            v[0] = number("default");
        } else if (type == "color") {
            unsigned rgb[3];
            ASSERT_EQ(
                std::sscanf(prop(node, "default").c_str(), "#%2x%2x%2x", &rgb[0], &rgb[1], &rgb[2]),
                3);
            for (int c = 0; c < 3; ++c) v[c] = rgb[c] / 255.0;
        } else {
            ASSERT_TRUE(type == "animated" || type == "constant") << type;
            v[0] = mlt(number("default"));
            if (f.param->kind != ParamKind::Point) {
                EXPECT_NEAR(mlt(number("min")), 0.0, 1e-12);
                EXPECT_NEAR(mlt(number("max")), 1.0, 1e-12);
            }
        }
        setFromFrei0r(f, v, u);
        for (size_t c = 0; c < 3; ++c) EXPECT_NEAR(u[c], want[c], 1e-9) << c;
    }
    xmlFreeDoc(doc);
    EXPECT_EQ(seen.size(), mapped.size());
    for (auto const& [name, count] : seen) EXPECT_EQ(count, 1) << name;
}

// melt renders a generated clip through the plug-in with values set by name, from its command
// line on one thread and on two, and from a project as Kdenlive saves it; each frame equals the
// mirrel command's render of the same values.
TEST(Melt, FilterSetByNameEqualsTheCommand) {
#if !defined(MIRREL_MELT) || !defined(MIRREL_FFMPEG)
    GTEST_SKIP() << "melt or ffmpeg is absent, or cannot load a sanitized plug-in";
#else
    std::string d = clipFolder("melt", MIRREL_FFMPEG);
    ASSERT_EQ(shell(std::string(MIRREL_FFMPEG) + " -v error -i " + d + "in.%d.png -c:v ffv1 " +
                    "-pix_fmt rgba " + d + "in.mkv"),
              0);
    DeclaredParams declared;
    auto const& params = declared.params();
    auto mapped = frei0rParams(params);
    // Points, numbers (one beyond its slider) and menus, as MLT properties.
    std::vector<std::pair<std::string, UserValue>> chosen = {{"Baseline Start X", {0.1, 0, 0}},
                                                             {"Baseline Start Y", {0, 0.7, 0}},
                                                             {"Height and Slant Y", {0, 0.95, 0}},
                                                             {"Softness", {12, 0, 0}},
                                                             {"Zoom", {1.25, 0, 0}},
                                                             {"Bend Stretch", {7, 0, 0}},
                                                             {"Light", {0, 0, 0}},
                                                             {"Fade Noise", {30, 0, 0}},
                                                             {"Random Seed", {77, 0, 0}},
                                                             {"Transfer Mode", {3, 0, 0}}};
    std::vector<UserValue> held;
    for (Param const& p : params) held.push_back(userDefault(p));
    std::vector<std::pair<std::string, std::string>> properties;
    for (auto const& [name, u] : chosen) {
        Frei0rParam const& f = byName(mapped, name);
        std::string text = frei0rText(f, u);
        double v[3] = {std::strtod(text.c_str(), nullptr), 0, 0};
        setFromFrei0r(f, v, held[size_t(f.param - params.data())]);
        properties.push_back({name, text});
    }
    // "Fade Length" goes from 125 to 375 over the three frames: by frame number on the command
    // line, by time in the project.
    std::string cmd = "FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_MELT " " + d +
                      "in.mkv -filter frei0r.mirrel 'Fade Length=0=0.25;2=0.75'";
    std::string project =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<mlt LC_NUMERIC=\"C\" producer=\"main_bin\">\n"
        " <profile description=\"96x64 25fps\" width=\"96\" height=\"64\" progressive=\"1\" "
        "sample_aspect_num=\"1\" sample_aspect_den=\"1\" display_aspect_num=\"3\" "
        "display_aspect_den=\"2\" frame_rate_num=\"25\" frame_rate_den=\"1\" colorspace=\"709\"/>\n"
        " <producer id=\"clip\" in=\"00:00:00.000\" out=\"00:00:00.080\">\n"
        "  <property name=\"resource\">" +
        d +
        "in.mkv</property>\n"
        "  <property name=\"mlt_service\">avformat</property>\n </producer>\n"
        " <playlist id=\"playlist0\">\n"
        "  <entry producer=\"clip\" in=\"00:00:00.000\" out=\"00:00:00.080\">\n"
        "   <filter id=\"filter0\">\n"
        "    <property name=\"mlt_service\">frei0r.mirrel</property>\n"
        "    <property name=\"kdenlive_id\">frei0r.mirrel</property>\n"
        "    <property name=\"Fade Length\">00:00:00.000=0.25;00:00:00.080=0.75</property>\n";
    for (auto const& [name, text] : properties) {
        cmd += " '" + name + "=" + text + "'";
        project += "    <property name=\"" + name + "\">" + text + "</property>\n";
    }
    project +=
        "   </filter>\n  </entry>\n </playlist>\n"
        " <tractor id=\"tractor0\">\n  <track producer=\"playlist0\"/>\n </tractor>\n</mlt>\n";
    std::ofstream(d + "project.mlt") << project;
    auto to = [&](std::string const& name, int realTime = -1) {
        return " -consumer avformat:" + d + name +
               ".%d.png vcodec=png pix_fmt=rgba real_time=" + std::to_string(realTime) + " >>" + d +
               "melt.log 2>&1";
    };
    ASSERT_EQ(shell(cmd + to("cmd")), 0);
    // Frame threading: two threads, each with its own instance, render alternate frames.
    ASSERT_EQ(shell(cmd + to("threads", -2)), 0);
    ASSERT_EQ(
        shell("FREI0R_PATH=" MIRREL_FREI0R_DIR " " MIRREL_MELT " " + d + "project.mlt" + to("kd")),
        0);

    Param const& fadeLength = findParam(params, "Fade Length");
    Frei0rParam const& fadeF = byName(mapped, "Fade Length");
    for (int f = 1; f <= 3; ++f) {
        double v[3] = {0.25 * f, 0, 0};
        setFromFrei0r(fadeF, v, held[size_t(&fadeLength - params.data())]);
        // MLT passes the time in seconds; with noise it tells the frames apart.
        char time[32];
        std::snprintf(time, sizeof time, "%.17g", (f - 1) / 25.0);
        std::string sets = std::string(" --frame ") + time, n = std::to_string(f);
        for (size_t i = 0; i < params.size(); ++i)
            if (params[i].kind != ParamKind::Group) sets += setOption(params[i], held[i]);
        ASSERT_EQ(shell(std::string(MIRREL_BINARY) + " render " + d + "in." + n + ".png -o " + d +
                        "cli." + n + ".png" + sets),
                  0);
        auto cli = readImage(d + "cli." + n + ".png", 0).picture.bytes;
        EXPECT_NE(cli, readImage(d + "in." + n + ".png", 0).picture.bytes);
        for (std::string run : {"cmd", "threads", "kd"})
            EXPECT_EQ(readImage(d + run + "." + n + ".png", 0).picture.bytes, cli)
                << run << " frame " << f;
    }
    std::filesystem::remove_all(d);
#endif
}

} // namespace
