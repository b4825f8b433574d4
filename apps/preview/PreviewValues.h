#pragma once
#include "apps/common/ValueText.h"

#include <nlohmann/json.hpp>

#include <string>

// A number as the shortest text that reads back as the same double, so that exported values
// render the same pixels.
std::string exactNumber(double v);

// A value as the host holds it (radians) in the user's units (degrees, y down: the preview's
// host keeps y down).
UserValue userFromHost(Param const& p, ParameterStore::Value v);
// The value a parameter holds in the host at a frame, in the user's units.
UserValue userValueAt(ParameterStore const& store, Param const& p, double frame);

// A user value as JSON: numbers, true/false, [x, y], [r, g, b]; a popup by index, or by its
// entry's label when `labels` is set (as presets name them).
nlohmann::json jsonFromUser(Param const& p, UserValue const& v, bool labels);
// A value as the inspector sends it, checked against the parameter's kind and limits. Throws
// UsageError naming the parameter.
UserValue userFromJson(Param const& p, nlohmann::json const& v);
// The value as `--set` reads it back, exactly.
std::string exactValueText(Param const& p, UserValue const& v);
