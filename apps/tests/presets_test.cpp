#include "AppTestSupport.h"
#include "apps/common/Settings.h"
#include "params/ParamIds.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace {

TEST(Presets, ValuesAndKeysOfEveryKind) {
    DeclaredParams d;
    auto settings = presetSettings(d.params(), R"({
        "zoom": 2, "Bend": true, "Fade Type": "Square", "Transfer Mode": 5,
        "Baseline Start": [0.1, 0.8], "Seam Color": "1,0,0",
        "Translate": [[0, [0.5, 0.5]], [10, "0.7,0.5"]],
        "Bend Angle": [[2.5, 30]]
    })",
                                   "test");
    std::string got;
    for (Setting const& s : settings) got += text(s) + ";";
    EXPECT_EQ(got, "Zoom=2,0,0;Bend=1,0,0;Fade Type=1,0,0;Transfer Mode=5,0,0;"
                   "Baseline Start=0.1,0.8,0;Seam Color=1,0,0;Translate@0=0.5,0.5,0;"
                   "Translate@10=0.7,0.5,0;Bend Angle@2.5=30,0,0;");
}

TEST(Presets, MistakesNameTheFileLineAndColumnAndUnreadableFilesAreFailures) {
    DeclaredParams d;
    std::string path = scratchPath("preset.json");
    for (auto [content, message] :
         {std::pair{"{\"Zoom\": 1,\n \"Bend\": on}", "line 2, column 10: not valid JSON"},
          {"{\"Zoom\": 1,\n  \"zoom\": 2, \"Zoom\": 3}",
           "line 2, column 3: key \"zoom\" is given twice"},
          {"{\"Zoom\": [1, [2", "line 1, column 16: not valid JSON"},
          {"{\"Zoom\": 1,\n  \"Bend\": {\"on\": 1}}",
           "line 2, column 3: \"Bend\": a value must be"},
          {"{\n \"Zoom\": 2000}",
           "line 2, column 2: \"Zoom\": 2000 is outside the limits -1000 to 1000"},
          {"{\"Zom\": 2}", "closest: \"Zoom\""},
          {"[1, 2]", "JSON object"},
          {"{\"Zoom\": [[1, 2, 3]]}", "[frame, value]"},
          {"{\"Zoom\":\n  1e400}", "line 2, column 3: not valid JSON"},
          {"{\"\\u001b[2K\\rZoom\": 1}", "unknown parameter \"\\x1b[2K\\x0dZoom\""}}) {
        std::ofstream(path) << content;
        std::string msg = usageMessage([&] { loadPreset(d.params(), path); });
        EXPECT_TRUE(contains(msg, path) && contains(msg, message)) << msg;
    }
    std::remove(path.c_str());
    EXPECT_THROW(loadPreset(d.params(), path), Failure);
    EXPECT_THROW(loadPreset(d.params(), testing::TempDir()), Failure); // a folder
}

} // namespace
