#include "apps/frei0r/Frei0rMapping.h"

#include <frei0r.h>

#include <algorithm>
#include <cmath>

namespace {

int typeOf(ParamKind kind) {
    switch (kind) {
    case ParamKind::Toggle:
        return F0R_PARAM_BOOL;
    case ParamKind::Point:
        return F0R_PARAM_POSITION;
    case ParamKind::Color:
        return F0R_PARAM_COLOR;
    default:
        return F0R_PARAM_DOUBLE;
    }
}

std::string explain(Param const& p) {
    switch (p.kind) {
    case ParamKind::Toggle:
        return "on or off";
    case ParamKind::Point:
        return "position in the frame, y down";
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
        Limits l = userLimits(p);
        return "0..1 maps onto " + formatNumber(l.min) + " to " + formatNumber(l.max) +
               (p.kind == ParamKind::Angle ? " degrees" : "") +
               (p.kind == ParamKind::Int ? ", whole numbers" : "");
    }
    }
}

double unit(double v) {
    return std::isfinite(v) ? std::clamp(v, 0.0, 1.0) : 0.0;
}

} // namespace

std::vector<Frei0rParam> frei0rParams(std::vector<Param> const& params) {
    std::vector<Frei0rParam> out;
    for (Param const& p : params)
        if (p.kind != ParamKind::Group) out.push_back({&p, typeOf(p.kind), explain(p)});
    return out;
}

UserValue userValueFromFrei0r(Param const& p, double const* v) {
    switch (p.kind) {
    case ParamKind::Toggle:
        return {v[0] >= 0.5 ? 1.0 : 0.0, 0, 0};
    case ParamKind::Point:
        return {v[0], v[1], 0};
    case ParamKind::Color:
        return {unit(v[0]), unit(v[1]), unit(v[2])};
    case ParamKind::Popup: {
        double last = double(std::max<size_t>(p.entries.size(), 1) - 1);
        return {std::round(unit(v[0]) * last), 0, 0};
    }
    default: {
        Limits l = userLimits(p);
        // Written so that both ends of the range come out exact.
        double x = unit(v[0]);
        double u = (1.0 - x) * l.min + x * l.max;
        if (p.kind == ParamKind::Int) u = std::round(u);
        return {std::clamp(u, l.min, l.max), 0, 0};
    }
    }
}

void frei0rFromUserValue(Param const& p, UserValue const& u, double* v) {
    switch (p.kind) {
    case ParamKind::Point:
        v[0] = u[0], v[1] = u[1];
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
        Limits l = userLimits(p);
        v[0] = l.max > l.min ? (u[0] - l.min) / (l.max - l.min) : 0.0;
    }
    }
}
