#pragma once
#include "apps/common/ValueText.h"

#include <string>
#include <vector>

// How the effect's parameters appear to a frei0r host: every parameter of the catalogue, in its
// order, named by its label. A point is two doubles, "<Label> X" and "<Label> Y" (fractions of
// the frame, y down), since MLT cannot set frei0r positions. Toggles are bools, colours colours.
//
// One reading for every host, with no offset, since Kdenlive passes a value to MLT as its display
// divided by a factor and has no offset, and GStreamer's properties hold 0..1: a number is its
// frei0r value times the parameter's factor (the far end of its slider, so 0..1 spans the slider
// where it starts at 0), held at the hard limits; a menu of n entries takes entry k at k/(n-1),
// written with 6 significant digits as Kdenlive keeps a menu value, the nearest entry chosen.
struct Frei0rParam {
    Param const* param = nullptr;
    int coordinate = -1; // of a point: 0 x, 1 y
    int type = 0;        // F0R_PARAM_*
    std::string name;
    std::string explanation;
};

std::vector<Frei0rParam> frei0rParams(std::vector<Param> const& params);

// The user's value (degrees for angles) of a number whose frei0r value is 1.
double frei0rFactor(Param const& p);

// Sets the user's value (degrees, y down) from the frei0r value v: v[0] for bools and doubles,
// r g b for colours. A point's other coordinate is left as it is; a NaN leaves the default.
void setFromFrei0r(Frei0rParam const& f, double const* v, UserValue& u);
// The inverse: the frei0r value of a user's value.
void frei0rFromUserValue(Frei0rParam const& f, UserValue const& u, double* v);
// The same as ffmpeg's filter_params and MLT's properties take it: y or n, a number (the
// shortest text that reads back the same; a menu's as Kdenlive writes it), r/g/b.
std::string frei0rText(Frei0rParam const& f, UserValue const& u);
// ffmpeg's whole filter_params: every frei0r parameter's text in order, joined by |. `values`
// stand beside `params`, one for each catalogue entry, groups included.
std::string frei0rFilterParams(std::vector<Param> const& params,
                               std::vector<UserValue> const& values);

// A double's control in Kdenlive and Shotcut: it shows the frei0r value times `factor`, from
// `min` to `max` with `decimals`, followed by `unit`. Numbers show the user's units (their slider,
// or their limits where those are not far beyond it); points show percent of the frame.
struct EditorControl {
    double factor = 1, min = 0, max = 1;
    int decimals = 0;
    std::string unit;
};
EditorControl editorControl(Frei0rParam const& f);

// A value as Kdenlive's and Shotcut's panels show it, for typing it there: the number in the
// control's units (points in percent), a menu entry's label, "on"/"off", a colour as #rrggbb.
struct EditorDisplay {
    std::string text;
    std::string unit; // "%", "°" or empty
};
EditorDisplay frei0rEditorDisplay(Frei0rParam const& f, UserValue const& u);

// What the plug-in tells its hosts about itself.
inline constexpr char kFrei0rName[] = "Mirrel";
inline constexpr char kFrei0rAuthor[] = "The Mirrel developers";
inline constexpr char kFrei0rExplanation[] =
    "A mirrored copy of the picture on a floor line, in perspective";
