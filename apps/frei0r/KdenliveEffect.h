#pragma once
#include "apps/frei0r/Frei0rMapping.h"

#include <string>
#include <vector>

// Kdenlive's description of the frei0r filter, so that the editor lists it with labels, ranges
// in the user's units, defaults and menus. Kdenlive shows a number as its MLT value times
// `factor` plus `offset`, which undoes the frei0r mapping exactly.
std::string kdenliveEffectXml(std::vector<Frei0rParam> const& params);
