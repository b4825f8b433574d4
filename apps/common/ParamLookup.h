#pragma once
#include "inprocess/ParameterStore.h"

#include <string>
#include <vector>

using Param = ParameterStore::Param;
using ParamKind = ParameterStore::Kind;

// The parameter a user names by its label, case-insensitively. Groups are never addressed: a
// label shared by a group and the switch inside it ("Bend", "Motion Blur") means the switch.
// Throws UsageError naming the closest labels.
Param const& findParam(std::vector<Param> const& params, std::string const& label);

// Up to `count` labels of parameters nearest to `label` by edit distance, nearest first.
std::vector<std::string> closestLabels(std::vector<Param> const& params, std::string const& label,
                                       size_t count = 3);

std::string lowercase(std::string s);
char const* kindName(ParamKind kind);
