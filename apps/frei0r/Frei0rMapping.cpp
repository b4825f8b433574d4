#include "apps/frei0r/Frei0rMapping.h"

#include "params/Catalogue.h"

#include <frei0r.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int typeOf(ParamKind kind) {
    switch (kind) {
    case ParamKind::Toggle:
        return F0R_PARAM_BOOL;
    case ParamKind::Color:
        return F0R_PARAM_COLOR;
    default:
        return F0R_PARAM_DOUBLE;
    }
}

bool isNumber(Param const& p) {
    return p.kind == ParamKind::Float || p.kind == ParamKind::Int || p.kind == ParamKind::Angle;
}

// The unit an editor's control shows after a number.
std::string unitOf(Param const& p) {
    ParamRecord const* row = catalogueRow(p.id);
    return row ? row->unit : "";
}

// The shortest text of at most `digits` significant digits, or of as many as read back the
// same double.
std::string shortest(double v, int digits = 17) {
    char text[40];
    for (int d = std::min(digits, 15);; ++d) {
        std::snprintf(text, sizeof text, "%.*g", d, v == 0.0 ? 0.0 : v);
        if (d >= digits || std::strtod(text, nullptr) == v) return text;
    }
}

// A user's value from frei0r arithmetic: 12 significant digits, so that 0.45 of a factor of
// 100 is 45 itself and not its neighbour.
double tidy(double v) {
    if (!std::isfinite(v)) return v;
    char text[32];
    std::snprintf(text, sizeof text, "%.12g", v);
    return std::strtod(text, nullptr);
}

double menuValue(Param const& p, double index) {
    size_t n = p.entries.size();
    return n > 1 ? std::strtod(shortest(index / double(n - 1), 6).c_str(), nullptr) : 0.0;
}

std::string explain(Param const& p, int coordinate) {
    switch (p.kind) {
    case ParamKind::Toggle:
        return "on or off";
    case ParamKind::Point:
        return coordinate == 0 ? "x as a fraction of the frame's width"
                               : "y as a fraction of the frame's height, down from the top";
    case ParamKind::Color:
        return "colour";
    case ParamKind::Popup: {
        std::string s = "menu: ";
        for (size_t k = 0; k < p.entries.size(); ++k)
            s += (k ? ", " : "") + shortest(menuValue(p, double(k))) + " " + p.entries[k];
        return s;
    }
    default: {
        Limits l = userLimits(p);
        std::string unit = unitOf(p);
        return "times " + formatNumber(frei0rFactor(p)) + ": " + formatNumber(l.min) + " to " +
               formatNumber(l.max) + (unit == "°" ? " degrees" : unit) +
               (p.kind == ParamKind::Int ? " (whole numbers)" : "");
    }
    }
}

// The frei0r value held to 0..1 for colours and menus.
double unit(double v, double fallback) {
    return std::isnan(v) ? fallback : std::clamp(v, 0.0, 1.0);
}

} // namespace

double frei0rFactor(Param const& p) {
    double lo = p.sliderMin, hi = p.sliderMax;
    if (p.kind == ParamKind::Angle) {
        Limits l = userLimits(p);
        lo = l.min, hi = l.max;
    }
    if (!isNumber(p)) return 1.0;
    double far = std::max(std::fabs(lo), std::fabs(hi));
    return far > 0 ? far : 1.0;
}

std::vector<Frei0rParam> frei0rParams(std::vector<Param> const& params) {
    std::vector<Frei0rParam> out;
    for (Param const& p : params) {
        if (p.kind == ParamKind::Group) continue;
        if (p.kind == ParamKind::Point) {
            out.push_back({&p, 0, F0R_PARAM_DOUBLE, p.name + " X", explain(p, 0)});
            out.push_back({&p, 1, F0R_PARAM_DOUBLE, p.name + " Y", explain(p, 1)});
        } else {
            out.push_back({&p, -1, typeOf(p.kind), p.name, explain(p, -1)});
        }
    }
    return out;
}

void setFromFrei0r(Frei0rParam const& f, double const* v, UserValue& u) {
    Param const& p = *f.param;
    UserValue d = userDefault(p);
    switch (p.kind) {
    case ParamKind::Toggle:
        u[0] = v[0] >= 0.5 ? 1.0 : 0.0;
        return;
    case ParamKind::Point: {
        size_t c = size_t(f.coordinate);
        u[c] = std::isfinite(v[0]) ? v[0] : d[c];
        return;
    }
    case ParamKind::Color:
        for (size_t c = 0; c < 3; ++c) u[c] = unit(v[c], d[c]);
        return;
    case ParamKind::Popup: {
        double last = double(std::max<size_t>(p.entries.size(), 1) - 1);
        u[0] = std::round(unit(v[0], last > 0 ? d[0] / last : 0.0) * last);
        return;
    }
    default: {
        if (std::isnan(v[0])) {
            u[0] = d[0];
            return;
        }
        Limits l = userLimits(p);
        double x = std::clamp(tidy(v[0] * frei0rFactor(p)), l.min, l.max);
        u[0] = p.kind == ParamKind::Int ? std::round(x) : x;
    }
    }
}

void frei0rFromUserValue(Frei0rParam const& f, UserValue const& u, double* v) {
    Param const& p = *f.param;
    switch (p.kind) {
    case ParamKind::Point:
        v[0] = u[size_t(f.coordinate)];
        return;
    case ParamKind::Color:
        v[0] = u[0], v[1] = u[1], v[2] = u[2];
        return;
    case ParamKind::Toggle:
        v[0] = u[0];
        return;
    case ParamKind::Popup:
        v[0] = menuValue(p, u[0]);
        return;
    default:
        v[0] = u[0] / frei0rFactor(p);
    }
}

std::string frei0rText(Frei0rParam const& f, UserValue const& u) {
    double v[3] = {0, 0, 0};
    frei0rFromUserValue(f, u, v);
    if (f.type == F0R_PARAM_BOOL) return v[0] >= 0.5 ? "y" : "n";
    // Colours reach the plug-in as floats.
    if (f.type == F0R_PARAM_COLOR)
        return shortest(float(v[0]), 9) + "/" + shortest(float(v[1]), 9) + "/" +
               shortest(float(v[2]), 9);
    return shortest(v[0]);
}

std::string frei0rFilterParams(std::vector<Param> const& params,
                               std::vector<UserValue> const& values) {
    std::string text;
    for (Frei0rParam const& f : frei0rParams(params))
        text +=
            (text.empty() ? "" : "|") + frei0rText(f, values.at(size_t(f.param - params.data())));
    return text;
}

EditorControl editorControl(Frei0rParam const& f) {
    Param const& p = *f.param;
    if (p.kind == ParamKind::Point) return {100, -100, 200, 1, "%"};
    if (!isNumber(p)) return {};
    // The limits, unless they reach far beyond the slider ("Softness" 1000, "Zoom" 1000), where
    // a control over all of them would leave the useful values in a corner.
    Limits l = userLimits(p);
    double lo = l.min, hi = l.max;
    if (p.kind != ParamKind::Angle && hi - lo >= 10 * (p.sliderMax - p.sliderMin))
        lo = p.sliderMin, hi = p.sliderMax;
    int decimals = p.kind == ParamKind::Int ? 0 : hi - lo <= 20 ? 2 : 1;
    return {frei0rFactor(p), lo, hi, decimals, unitOf(p)};
}

EditorDisplay frei0rEditorDisplay(Frei0rParam const& f, UserValue const& u) {
    Param const& p = *f.param;
    switch (p.kind) {
    case ParamKind::Toggle:
        return {u[0] != 0 ? "on" : "off", ""};
    case ParamKind::Popup: {
        size_t k = size_t(std::clamp(u[0], 0.0, double(p.entries.size() - 1)));
        return {p.entries[k], ""};
    }
    case ParamKind::Color: {
        char text[8];
        std::snprintf(text, sizeof text, "#%02x%02x%02x", int(std::lround(u[0] * 255)),
                      int(std::lround(u[1] * 255)), int(std::lround(u[2] * 255)));
        return {text, ""};
    }
    default: {
        EditorControl c = editorControl(f);
        double v[3];
        frei0rFromUserValue(f, u, v);
        char text[40];
        std::snprintf(text, sizeof text, "%.*f", c.decimals, v[0] * c.factor);
        return {std::strcmp(text, "-0") == 0 ? "0" : text, c.unit};
    }
    }
}
