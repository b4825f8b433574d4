#pragma once
#include "apps/common/ParamLookup.h"

#include <nlohmann/json.hpp>

#include <string>

// A value as the user states it: angles in degrees, points as fractions of the frame with y
// down, colours 0 to 1, popups by index, toggles 0 or 1.
using UserValue = ParameterStore::Value;

struct Limits {
    bool bounded = false;
    double min = 0, max = 0;
};

// Hard limits in the user's units (degrees for angles); none for points.
Limits userLimits(Param const& p);
UserValue userDefault(Param const& p);

// Parses VALUE text by the parameter's kind and checks it against the limits. Throws UsageError
// naming the parameter, and the limits or the menu entries.
UserValue parseValue(Param const& p, std::string const& text);
// The same from a preset: a number, true/false, an entry's label or index, [x, y], [r, g, b], or
// any of the text forms.
UserValue valueFromJson(Param const& p, nlohmann::ordered_json const& v);

std::string formatNumber(double v);
// The value as parseValue reads it back, its numbers written by the given formatter.
std::string formatValue(Param const& p, UserValue const& v,
                        std::string (*number)(double) = formatNumber);
