#include "AppTestSupport.h"
#include "apps/common/Settings.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace {

TEST(Json, ReadsTheDocumentsPresetsUseAndNamesWhereOthersBreak) {
    JsonValue v = parseJson(" {\"a\": [1, -2.5e1, true, false, null], "
                            "\"b\\n\\u00e9\\ud83d\\ude00\": {\"c\": \"x\\\"y\"}} ");
    ASSERT_EQ(v.type, JsonValue::Type::Object);
    ASSERT_EQ(v.members.size(), 2u);
    auto const& a = v.members[0].second.items;
    ASSERT_EQ(a.size(), 5u);
    EXPECT_EQ(std::tuple(a[1].number, a[2].boolean, a[3].boolean, a[4].type),
              std::tuple(-25.0, true, false, JsonValue::Type::Null));
    EXPECT_EQ(v.members[1].first, "b\n\xc3\xa9\xf0\x9f\x98\x80");
    EXPECT_EQ(v.members[1].second.members[0].second.text, "x\"y");

    auto error = [](std::string const& text) -> std::string {
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
    EXPECT_NE(error(std::string(100, '[')), "(parsed)"); // depth is bounded
}

TEST(Presets, ValuesAndKeysOfEveryKind) {
    DeclaredParams d;
    auto settings = presetSettings(d.params(), parseJson(R"({
        "zoom": 2, "Bend": true, "Fade Type": "Square", "Transfer Mode": 5,
        "Baseline Start": [0.1, 0.8], "Seam Color": "1,0,0",
        "Translate": [[0, [0.5, 0.5]], [10, "0.7,0.5"]],
        "Bend Angle": [[2.5, 30]]
    })"));
    std::string got;
    for (Setting const& s : settings) got += text(s) + ";";
    EXPECT_EQ(got, "Zoom=2,0,0;Bend=1,0,0;Fade Type=1,0,0;Transfer Mode=5,0,0;"
                   "Baseline Start=0.1,0.8,0;Seam Color=1,0,0;Translate@0=0.5,0.5,0;"
                   "Translate@10=0.7,0.5,0;Bend Angle@2.5=30,0,0;");
}

TEST(Presets, MistakesAreUsageErrorsNamingTheFileAndUnreadableFilesAreFailures) {
    DeclaredParams d;
    std::string path = scratchPath("preset.json");
    for (auto [content, message] : {std::pair{"{\"Zoom\": 2000}", "-1000 to 1000"},
                                    {"{\"Zom\": 2}", "\"Zoom\""},
                                    {"[1, 2]", "JSON object"},
                                    {"{\"Zoom\": [[1, 2, 3]]}", "[frame, value]"},
                                    {"{\"Zoom\": 1,}", "not valid JSON"}}) {
        std::ofstream(path) << content;
        std::string msg = usageMessage([&] { loadPreset(d.params(), path); });
        EXPECT_TRUE(contains(msg, path) && contains(msg, message)) << msg;
    }
    std::remove(path.c_str());
    EXPECT_THROW(loadPreset(d.params(), path), Failure);
    EXPECT_THROW(loadPreset(d.params(), testing::TempDir()), Failure); // a folder
}

} // namespace
