#include "AppTestSupport.h"
#include "apps/common/Settings.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace {

TEST(Json, ReadsTheDocumentsPresetsUse) {
    JsonValue v = parseJson(" {\"a\": [1, -2.5e1, true, false, null], "
                            "\"b\\n\\u00e9\\ud83d\\ude00\": {\"c\": \"x\\\"y\"}} ");
    ASSERT_EQ(v.type, JsonValue::Type::Object);
    ASSERT_EQ(v.members.size(), 2u);
    auto const& a = v.members[0].second.items;
    ASSERT_EQ(a.size(), 5u);
    EXPECT_EQ(a[1].number, -25.0);
    EXPECT_TRUE(a[2].boolean);
    EXPECT_FALSE(a[3].boolean);
    EXPECT_EQ(a[4].type, JsonValue::Type::Null);
    EXPECT_EQ(v.members[1].first, "b\n\xc3\xa9\xf0\x9f\x98\x80");
    EXPECT_EQ(v.members[1].second.members[0].second.text, "x\"y");
}

TEST(Json, MalformedDocumentsNameWhereTheyBreak) {
    auto error = [](char const* text) -> std::string {
        try {
            parseJson(text);
        } catch (std::runtime_error const& e) {
            return e.what();
        }
        return "(parsed)";
    };
    EXPECT_TRUE(contains(error("{\n  \"a\": 1,\n  \"b\" 2}"), "line 3, column 7"));
    for (char const* bad : {"", "{", "[1,]", "{\"a\":1,}", "01x", "1.", "-", "\"abc", "tru",
                            "{\"a\" 1}", "[1] 2", "\"\\q\"", "1e999"})
        EXPECT_NE(error(bad), "(parsed)") << bad;
    EXPECT_NE(error(std::string(100, '[').c_str()), "(parsed)"); // depth is bounded
}

TEST(Presets, ValuesAndKeysOfEveryKind) {
    DeclaredParams d;
    auto settings = presetSettings(d.params(), parseJson(R"({
        "zoom": 2, "Bend": true, "Fade Type": "Square", "Transfer Mode": 5,
        "Baseline Start": [0.1, 0.8], "Seam Color": "1,0,0",
        "Translate": [[0, [0.5, 0.5]], [10, "0.7,0.5"]],
        "Bend Angle": [[2.5, 30]]
    })"));
    ASSERT_EQ(settings.size(), 9u);
    EXPECT_EQ(settings[0].value[0], 2.0);
    EXPECT_EQ(settings[1].value[0], 1.0);
    EXPECT_EQ(settings[2].value[0], 1.0);
    EXPECT_EQ(settings[3].value[0], 5.0);
    EXPECT_EQ(settings[4].value, (UserValue{0.1, 0.8, 0}));
    EXPECT_EQ(settings[5].value, (UserValue{1, 0, 0}));
    EXPECT_TRUE(settings[6].keyed && settings[7].keyed);
    EXPECT_EQ(settings[7].frame, 10.0);
    EXPECT_EQ(settings[7].value, (UserValue{0.7, 0.5, 0}));
    EXPECT_EQ(settings[8].frame, 2.5);
    EXPECT_EQ(settings[8].param->id, unsigned(kBendAngle));
}

TEST(Presets, MistakesAreUsageErrorsNamingTheFileAndUnreadableFilesAreFailures) {
    DeclaredParams d;
    std::string path = scratchPath("preset.json");
    auto write = [&](char const* text) { std::ofstream(path) << text; };
    write("{\"Zoom\": 2000}");
    std::string msg = usageMessage([&] { loadPreset(d.params(), path); });
    EXPECT_TRUE(contains(msg, path) && contains(msg, "-1000 to 1000")) << msg;
    write("{\"Zom\": 2}");
    EXPECT_TRUE(contains(usageMessage([&] { loadPreset(d.params(), path); }), "\"Zoom\""));
    write("[1, 2]");
    EXPECT_TRUE(contains(usageMessage([&] { loadPreset(d.params(), path); }), "JSON object"));
    write("{\"Zoom\": [[1, 2, 3]]}");
    EXPECT_TRUE(contains(usageMessage([&] { loadPreset(d.params(), path); }), "[frame, value]"));
    write("{\"Zoom\": 1,}");
    EXPECT_TRUE(contains(usageMessage([&] { loadPreset(d.params(), path); }), "not valid JSON"));
    std::remove(path.c_str());
    EXPECT_THROW(loadPreset(d.params(), path), Failure);
    EXPECT_THROW(loadPreset(d.params(), testing::TempDir()), Failure); // a folder
}

} // namespace
