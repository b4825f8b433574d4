#pragma once
#include "apps/common/ParamLookup.h"

#include <string>
#include <vector>

// The catalogue as `mirrel params` shows it: in display order under group headings, or as a
// JSON array of parameters (each with its group).
std::string paramsTable(std::vector<Param> const& params);
std::string paramsJson(std::vector<Param> const& params);
