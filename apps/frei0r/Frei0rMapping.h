#pragma once
#include "apps/common/ValueText.h"

#include <string>
#include <vector>

// How the effect's parameters appear to a frei0r host: every parameter of the catalogue, in its
// order, named by its label. Toggles are bools, points positions, colours colours; numbers are
// doubles mapped linearly from 0..1 onto the parameter's limits, and a menu of n entries is a
// double where entry k is k/(n-1), the nearest entry chosen.
struct Frei0rParam {
    Param const* param = nullptr;
    int type = 0; // F0R_PARAM_*
    std::string explanation;
};

std::vector<Frei0rParam> frei0rParams(std::vector<Param> const& params);

// Between the frei0r value (v[0] for bools and doubles, x and y for positions, r g b for
// colours) and the user's value (degrees, y down) of a parameter. Out-of-range frei0r values
// are held to 0..1.
UserValue userValueFromFrei0r(Param const& p, double const* v);
void frei0rFromUserValue(Param const& p, UserValue const& u, double* v);
