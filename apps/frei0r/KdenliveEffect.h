#pragma once
#include "apps/frei0r/Frei0rMapping.h"

#include <string>
#include <vector>

// Kdenlive's description of the frei0r filter, so that the editor lists it with labels, ranges
// in the user's units, defaults and menus: defaults and menu values are frei0r values, which
// Kdenlive hands to MLT as written, and a number shows its frei0r value times `factor`.
std::string kdenliveEffectXml(std::vector<Frei0rParam> const& params);
