#include "apps/frei0r/Frei0rMapping.h"

#include <frei0r.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

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
        size_t n = p.entries.size();
        for (size_t k = 0; k < n; ++k)
            s += (k ? ", " : "") + formatNumber(n > 1 ? double(k) / double(n - 1) : 0.0) + " " +
                 p.entries[k];
        return s;
    }
    default: {
        Limits s = frei0rSpan(p), l = userLimits(p);
        std::string text = "0..1 spans " + formatNumber(s.min) + " to " + formatNumber(s.max);
        if (s.min != l.min || s.max != l.max)
            text += ", further values go on linearly up to the limits " + formatNumber(l.min) +
                    " to " + formatNumber(l.max);
        return text + (p.kind == ParamKind::Angle ? " (degrees)" : "") +
               (p.kind == ParamKind::Int ? " (whole numbers)" : "");
    }
    }
}

// The frei0r value held to 0..1 for colours and menus.
double unit(double v, double fallback) {
    return std::isnan(v) ? fallback : std::clamp(v, 0.0, 1.0);
}

double numberFromFrei0r(Param const& p, double x) {
    if (std::isnan(x)) return userDefault(p)[0];
    Limits s = frei0rSpan(p), l = userLimits(p);
    // Infinities would meet zero in the sum below; they mean the limit on their side.
    x = std::clamp(x, -1e300, 1e300);
    // Written so that both ends of the slider come out exact.
    double u = std::clamp((1.0 - x) * s.min + x * s.max, l.min, l.max);
    return p.kind == ParamKind::Int ? std::round(u) : u;
}

} // namespace

Limits frei0rSpan(Param const& p) {
    if (p.kind == ParamKind::Float || p.kind == ParamKind::Int)
        return {true, p.sliderMin, p.sliderMax};
    return userLimits(p);
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
    default:
        u[0] = numberFromFrei0r(p, v[0]);
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
    case ParamKind::Popup: {
        size_t n = p.entries.size();
        v[0] = n > 1 ? u[0] / double(n - 1) : 0.0;
        return;
    }
    default: {
        Limits s = frei0rSpan(p);
        v[0] = s.max > s.min ? (u[0] - s.min) / (s.max - s.min) : 0.0;
    }
    }
}

std::string frei0rText(Frei0rParam const& f, UserValue const& u) {
    double v[3] = {0, 0, 0};
    frei0rFromUserValue(f, u, v);
    if (f.type == F0R_PARAM_BOOL) return v[0] >= 0.5 ? "y" : "n";
    char text[96];
    if (f.type == F0R_PARAM_COLOR)
        std::snprintf(text, sizeof text, "%.9g/%.9g/%.9g", v[0], v[1], v[2]);
    else
        std::snprintf(text, sizeof text, "%.17g", v[0]);
    return text;
}

std::string frei0rFilterParams(std::vector<Param> const& params,
                               std::vector<UserValue> const& values) {
    std::string text;
    for (Frei0rParam const& f : frei0rParams(params))
        text +=
            (text.empty() ? "" : "|") + frei0rText(f, values.at(size_t(f.param - params.data())));
    return text;
}
