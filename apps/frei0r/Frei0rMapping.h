#pragma once
#include "apps/common/ValueText.h"

#include <string>
#include <vector>

// How the effect's parameters appear to a frei0r host: every parameter of the catalogue, in its
// order, named by its label. A point is two doubles, "<Label> X" and "<Label> Y" (fractions of
// the frame, y down), since MLT cannot set frei0r positions. Toggles are bools, colours colours.
// A number's 0..1 spans its slider and continues linearly beyond, held at the hard limits; a
// menu of n entries is a double where entry k is k/(n-1), the nearest entry chosen.
struct Frei0rParam {
    Param const* param = nullptr;
    int coordinate = -1; // of a point: 0 x, 1 y
    int type = 0;        // F0R_PARAM_*
    std::string name;
    std::string explanation;
};

std::vector<Frei0rParam> frei0rParams(std::vector<Param> const& params);

// The range in the user's units that a number's frei0r 0..1 spans: its slider, or its limits
// where it has none.
Limits frei0rSpan(Param const& p);

// Sets the user's value (degrees, y down) from the frei0r value v: v[0] for bools and doubles,
// r g b for colours. A point's other coordinate is left as it is; a NaN leaves the default.
void setFromFrei0r(Frei0rParam const& f, double const* v, UserValue& u);
// The inverse: the frei0r value of a user's value.
void frei0rFromUserValue(Frei0rParam const& f, UserValue const& u, double* v);
// The same as ffmpeg's filter_params take it: y or n, a number, r/g/b.
std::string frei0rText(Frei0rParam const& f, UserValue const& u);
// ffmpeg's whole filter_params: every frei0r parameter's text in order, joined by |. `values`
// stand beside `params`, one for each catalogue entry, groups included.
std::string frei0rFilterParams(std::vector<Param> const& params,
                               std::vector<UserValue> const& values);

// What the plug-in tells its hosts about itself.
inline constexpr char kFrei0rName[] = "Mirrel";
inline constexpr char kFrei0rAuthor[] = "The Mirrel developers";
inline constexpr char kFrei0rExplanation[] =
    "A mirrored copy of the picture on a floor line, in perspective";
