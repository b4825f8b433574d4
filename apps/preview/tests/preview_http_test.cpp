#include "PreviewTestSupport.h"

#include <cstdlib>
#include <fstream>
#include <set>

namespace {

struct Point {
    double x, y;
};

Point pointOf(json const& state, std::string const& label) {
    json v = paramOf(state, label)["value"];
    return {v[0].get<double>(), v[1].get<double>()};
}

json mouse(char const* type, Point p, int width = 0, int height = 0) {
    json m{{"type", type}, {"x", p.x}, {"y", p.y}};
    if (width) m["width"] = width, m["height"] = height;
    return m;
}

// Status of a POST; 200 when it was accepted.
int code(Served& s, char const* path, json const& body) {
    return s.post(path, body).first;
}

// Runs a command line in the scratch folder as a shell does, `mirrel` on the PATH.
int shell(Scratch const& scratch, std::string const& command) {
    std::string bin = fs::path(MIRREL_BINARY).parent_path().string();
    return std::system(
        ("cd " + scratch.dir.string() + " && PATH=" + bin + ":$PATH " + command).c_str());
}

TEST(PreviewHttp, TheFrameFollowsTheDragAndEqualsTheExportedRender) {
    Scratch scratch;
    std::string input = writeSample(scratch("in.png"));
    Served s(input);
    EXPECT_FALSE(paramOf(s.state(), "Bend Angle")["enabled"]); // the switch governs it
    for (auto [label, value] :
         {std::pair<char const*, json>{"Fade Length", 60}, {"Bend", true}, {"Bend Angle", 30.5}})
        ASSERT_EQ(code(s, "/api/value", {{"label", label}, {"value", value}}), 200);
    EXPECT_TRUE(paramOf(s.state(), "Bend Angle")["enabled"]);
    Picture before = decodePng(s.bytes("/api/frame.png?controls=0"));

    Point end = pointOf(s.state(), "Baseline End"), to{end.x + 0.1, end.y - 0.123};
    ASSERT_EQ(code(s, "/api/mouse", mouse("down", end, 160, 120)), 200);
    ASSERT_EQ(code(s, "/api/mouse", mouse("drag", to)), 200);
    Picture proxy = decodePng(s.bytes("/api/frame.png?proxy=1"));
    EXPECT_EQ(proxy.width, 80);
    EXPECT_EQ(proxy.height, 60);
    ASSERT_EQ(code(s, "/api/mouse", mouse("up", to)), 200);
    Picture after = decodePng(s.bytes("/api/frame.png?controls=0"));
    ASSERT_EQ(after.width, 160);
    EXPECT_NE(after.bytes, before.bytes);

    // The preset through `mirrel render --preset`, and the exported command line as a shell
    // runs it, in a folder where the output it names lands.
    std::string preset = s.bytes("/api/preset");
    { std::ofstream(scratch("preset.json")) << preset; }
    ASSERT_EQ(shell(scratch, "mirrel render in.png -o via-preset.png --preset preset.json"), 0);
    EXPECT_EQ(straightPixels(scratch("via-preset.png")).bytes, after.bytes);

    json exported = s.get("/api/export");
    EXPECT_EQ(exported["preset"], json::parse(preset));
    std::string command = exported["command"];
    ASSERT_EQ(shell(scratch, command), 0) << command;
    EXPECT_EQ(straightPixels(scratch("in-mirrel.png")).bytes, after.bytes);
    // The hosts' strings are those of `mirrel export` with the same preset.
    for (char const* host : {"ffmpeg", "melt", "gst"}) {
        std::string file = std::string(host) + ".txt", line;
        ASSERT_EQ(
            shell(scratch, "mirrel export preset.json --for " + std::string(host) + " >" + file),
            0);
        std::ifstream in(scratch(file));
        std::getline(in, line);
        EXPECT_EQ(exported["hosts"][host], line) << host;
    }
}

// The page hands the controls the frame's size on screen: a press 3 screen pixels from a handle
// grabs it at every zoom, one 12 pixels away does not; undo takes every value back exactly.
TEST(PreviewHttp, TheCanvasZoomReachesTheControlsHitTest) {
    Scratch scratch;
    Served s(writeSample(scratch("in.png"), 160, 120));
    json const start = s.state();
    for (double zoom : {0.25, 1.0, 4.0})
        for (auto [away, grabs] : {std::pair{3, true}, {12, false}}) {
            SCOPED_TRACE(std::to_string(zoom) + "x, " + std::to_string(away) + " px away");
            int w = int(160 * zoom), h = int(120 * zoom);
            Point at = pointOf(start, "Translate");
            at.x += double(away) / w;
            ASSERT_EQ(code(s, "/api/mouse", mouse("down", at, w, h)), 200);
            ASSERT_EQ(code(s, "/api/mouse", mouse("up", {at.x + 0.1, at.y})), 200);
            EXPECT_EQ(pointOf(s.state(), "Translate").x != pointOf(start, "Translate").x, grabs);
            ASSERT_EQ(code(s, "/api/undo", json::object()), 200);
            json back = s.state();
            EXPECT_EQ(valuesOf(back), valuesOf(start));
            EXPECT_TRUE(back["canRedo"]);
        }
}

TEST(PreviewHttp, BadRequestsAnswer4xxAndChangeNothing) {
    Scratch scratch;
    Served s(writeSample(scratch("in.png")));
    struct Case {
        char const* path;
        std::string body;
        int status;
        httplib::Headers headers = {}; // a client of the page's own, when none
        char const* type = "application/json";
    };
    auto j = [](json const& v) { return v.dump(); };
    std::string const own = "127.0.0.1:" + std::to_string(s.port),
                      fade = j({{"label", "Fade Length"}, {"value", 60}});
    // Other web pages, names rebound to 127.0.0.1, and changes without the page's token.
    httplib::Headers const token = {{"X-Mirrel-Token", s.server.token()}};
    auto with = [&](httplib::Headers h) {
        h.insert(token.begin(), token.end());
        return h;
    };
    Case const cases[] = {
        {"/api/value", fade, 403, with({{"Host", "evil.example:" + std::to_string(s.port)}})},
        {"/api/value", fade, 403, with({{"Host", own}, {"Origin", "http://evil.example"}})},
        {"/api/value", fade, 403, with({{"Host", own}, {"Origin", "http://127.0.0.1:1"}})},
        {"/api/value", fade, 403, with({{"Host", own}, {"Sec-Fetch-Site", "same-site"}})},
        {"/api/value", fade, 403, with({{"Host", own}}), "text/plain"},
        {"/api/value", fade, 403, {{"Host", own}}},
        {"/api/value", fade, 403, {{"Host", own}, {"X-Mirrel-Token", "0"}}},
        {"/api/save", "{}", 403, {{"Host", own}}, "text/plain"},
        {"/api/value", j({{"label", "Fade Lenght"}, {"value", 60}}), 404},
        {"/api/value", j({{"label", "3D Transform"}, {"value", 1}}), 404},
        {"/api/value", j({{"label", "Fade Length"}, {"value", 500.5}}), 400},
        {"/api/value", j({{"label", "Zoom"}, {"value", -1000.01}}), 400},
        {"/api/value", j({{"label", "Random Seed"}, {"value", 2.5}}), 400},
        {"/api/value", j({{"label", "Transfer Mode"}, {"value", "Sideways"}}), 400},
        {"/api/value", j({{"label", "Baseline End"}, {"value", {0.5}}}), 400},
        {"/api/value", j({{"label", "Seam Color"}, {"value", {0.5, 1.5, 0}}}), 400},
        {"/api/value", j({{"label", "Zoom"}, {"value", 2}, {"key", "yes"}}), 400},
        {"/api/value", j({{"label", "Zoom"}}), 400},
        {"/api/value", "{\"label\": \"Zoom\", \"value\": ", 400},
        {"/api/value", "[1, 2]", 400},
        {"/api/frame", j({{"frame", 3}}), 400},
        {"/api/mouse", j({{"type", "wiggle"}, {"x", 0.5}, {"y", 0.5}}), 400},
        {"/api/mouse", j({{"type", "down"}, {"x", 0.5}, {"y", 0.5}}), 400},
        {"/api/mouse", j({{"type", "down"}, {"x", 0.5}, {"y", "top"}, {"width", 9}, {"height", 9}}),
         400},
        {"/api/mouse", j({{"type", "drag"}, {"x", 0.9}, {"y", 0.9}}), 409},
        {"/api/mouse", j({{"type", "up"}, {"x", 0.9}, {"y", 0.9}}), 409},
        {"/api/save", "{}", 409},
        {"/api/undo", "{}", 409},
        {"/api/redo", "{}", 409},
        {"/api/nudge", j({{"dx", 1}, {"dy", 0}}), 409},
        {"/api/nothing", "{}", 404},
    };
    json before = s.state();
    std::string frame = s.bytes("/api/frame.png");
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.path) + " " + c.body);
        auto [status, answer] = c.headers.empty() ? s.post(c.path, c.body) : [&] {
            httplib::Client bare("127.0.0.1", s.port);
            auto r = bare.Post(c.path, c.headers, c.body, c.type);
            return r ? std::pair(r->status, json::parse(r->body, nullptr, false))
                     : std::pair(0, json());
        }();
        EXPECT_EQ(status, c.status);
        if (std::string(c.path) != "/api/nothing") {
            EXPECT_TRUE(answer.contains("error"));
        }
        EXPECT_EQ(s.state(), before);
    }
    EXPECT_EQ(s.bytes("/api/frame.png"), frame);
    // Reads too, from a name rebound to 127.0.0.1; the page's other name is its own.
    for (auto [host, status] : {std::pair{"evil.example", 403}, {"localhost", 200}}) {
        httplib::Client bare("127.0.0.1", s.port);
        auto r = bare.Get("/api/export", {{"Host", host + (":" + std::to_string(s.port))}});
        EXPECT_EQ(r ? r->status : 0, status) << host;
    }
}

TEST(PreviewHttp, KeysAreSetAtThePlayheadOfASequence) {
    Scratch scratch;
    for (int f : {1, 2, 4}) writeSample(scratch("shot." + std::to_string(f) + ".png"), 48, 32, f);
    std::string save = scratch("look.json");
    Served s(scratch("shot.%d.png"), save);
    EXPECT_EQ(s.state()["frames"], json({1, 2, 4}));
    ASSERT_EQ(code(s, "/api/frame", {{"frame", 4}}), 200);
    ASSERT_EQ(code(s, "/api/value", {{"label", "Zoom"}, {"value", 2}, {"key", true}}), 200);
    ASSERT_EQ(code(s, "/api/frame", {{"frame", 1}}), 200);
    // An animated parameter takes a key wherever it is edited.
    auto [status, st] = s.post("/api/value", json{{"label", "Zoom"}, {"value", 1}});
    ASSERT_EQ(status, 200);
    EXPECT_EQ(paramOf(st, "Zoom")["keys"], json({1, 4}));
    ASSERT_EQ(code(s, "/api/frame", {{"frame", 2}}), 200);
    EXPECT_NEAR(paramOf(s.state(), "Zoom")["value"].get<double>(), 4.0 / 3, 1e-12);

    json preset = s.get("/api/preset");
    EXPECT_EQ(preset, json({{"Zoom", {{1, 1}, {4, 2}}}}));
    std::string command = s.get("/api/export")["command"];
    EXPECT_NE(command.find("--frames 1-2,4"), std::string::npos) << command;
    EXPECT_NE(command.find("Zoom@4=2"), std::string::npos) << command;
    ASSERT_EQ(shell(scratch, command + " 2>/dev/null"), 0) << command;
    for (int f : {1, 2, 4})
        EXPECT_TRUE(fs::exists(scratch("shot." + std::to_string(f) + "-mirrel.png")));

    auto [saved, answer] = s.post("/api/save", std::string("{}"));
    ASSERT_EQ(saved, 200);
    std::ifstream in(save);
    EXPECT_EQ(json::parse(in), preset);
    // Three frames, three renders and the preset, no temporary left.
    EXPECT_EQ(scratch.names().size(), 7u);

    ASSERT_EQ(code(s, "/api/keys/clear", {{"label", "Zoom"}}), 200);
    EXPECT_EQ(s.get("/api/preset"), json({{"Zoom", 4.0 / 3}}));

    // A frame whose file is gone since the start is refused, and the playhead stays.
    fs::remove(scratch("shot.4.png"));
    EXPECT_GE(code(s, "/api/frame", {{"frame", 4}}), 400);
    EXPECT_EQ(s.state()["frame"], 2);
    ASSERT_EQ(code(s, "/api/value", {{"label", "Zoom"}, {"value", 3}}), 200);
    EXPECT_EQ(paramOf(s.state(), "Zoom")["value"], 3);
}

} // namespace
