#pragma once
#include "apps/common/ValueText.h"

#include <string>
#include <vector>

// One value the user asked for: constant, or a keyframe at a frame.
struct Setting {
    Param const* param = nullptr;
    bool keyed = false;
    double frame = 0.0;
    UserValue value{};
};

// 'LABEL=VALUE' or 'LABEL@FRAME=VALUE'. Throws UsageError.
Setting parseSetArgument(std::vector<Param> const& params, std::string const& arg);

// A preset: a JSON object from label to a value or to a list of [frame, value] keys. Throws
// Failure if the file cannot be read and UsageError, naming the file, the line and the column,
// if its content is wrong (malformed JSON, a key given twice, an unknown label, a wrong value).
std::vector<Setting> loadPreset(std::vector<Param> const& params, std::string const& path);
// The same from preset text; `name` leads each message.
std::vector<Setting> presetSettings(std::vector<Param> const& params, std::string const& text,
                                    std::string const& name);
