#pragma once
#include "apps/frei0r/Frei0rMapping.h"

#include <string>
#include <vector>

// Shotcut's filter for the frei0r plug-in, written from the catalogue beside the hand-written
// panels ui.qml and vui.qml: meta.qml, by which Shotcut lists the filter and knows what its
// keyframes animate, and mirrel.js, the table of parameters the panel builds its controls from
// (frei0r values, so the panel writes what every frei0r host reads).
std::string shotcutMetaQml(std::vector<Frei0rParam> const& params);
std::string shotcutParamsJs(std::vector<Frei0rParam> const& params);
