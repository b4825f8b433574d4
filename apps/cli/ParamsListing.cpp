#include "apps/cli/ParamsListing.h"

#include "apps/common/ValueText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

std::string limitsText(Param const& p) {
    if (p.kind == ParamKind::Popup) {
        std::string s;
        for (size_t i = 0; i < p.entries.size(); ++i)
            s += (i ? ", " : "") + std::to_string(i) + " " + p.entries[i];
        return s;
    }
    if (p.kind == ParamKind::Toggle) return "on, off";
    if (p.kind == ParamKind::Point) return "x,y fractions of the frame, y down";
    Limits l = userLimits(p);
    std::string s = formatNumber(l.min) + " to " + formatNumber(l.max);
    if (p.kind == ParamKind::Color) return s + " each";
    if (p.kind == ParamKind::Angle) return s + " degrees";
    return s;
}

std::string pad(std::string s, size_t width) {
    if (s.size() < width) s.append(width - s.size(), ' ');
    return s;
}

// Whole numbers as integers, so that JSON shows 100 rather than 100.0.
nlohmann::ordered_json number(double v) {
    if (v == std::floor(v) && std::fabs(v) < 1e15) return std::int64_t(v);
    return v;
}

} // namespace

std::string paramsTable(std::vector<Param> const& params) {
    size_t labelWidth = 0, defaultWidth = 0;
    for (Param const& p : params) {
        labelWidth = std::max(labelWidth, p.name.size());
        if (p.kind != ParamKind::Group)
            defaultWidth = std::max(defaultWidth, formatValue(p, userDefault(p)).size());
    }
    std::string out;
    for (Param const& p : params) {
        if (p.kind == ParamKind::Group) {
            out += (out.empty() ? "" : "\n") + p.name + "\n";
            continue;
        }
        out += "  " + pad(p.name, labelWidth + 2) + pad(kindName(p.kind), 8) +
               pad(formatValue(p, userDefault(p)), defaultWidth + 2) + limitsText(p) + "\n";
    }
    return out;
}

std::string paramsJson(std::vector<Param> const& params) {
    std::string out;
    for (Param const& p : params) {
        if (p.kind == ParamKind::Group) continue;
        nlohmann::ordered_json entry = {{"label", p.name}, {"id", p.id}};
        if (p.groupIndex >= 0) entry["group"] = params[size_t(p.groupIndex)].name;
        entry["kind"] = kindName(p.kind);
        UserValue def = userDefault(p);
        switch (p.kind) {
        case ParamKind::Toggle:
            entry["default"] = def[0] != 0;
            break;
        case ParamKind::Popup:
            entry["default"] = formatValue(p, def);
            entry["entries"] = p.entries;
            break;
        case ParamKind::Point:
            entry["default"] = {number(def[0]), number(def[1])};
            break;
        case ParamKind::Color:
            entry["default"] = {number(def[0]), number(def[1]), number(def[2])};
            entry["min"] = 0;
            entry["max"] = 1;
            break;
        default: {
            Limits l = userLimits(p);
            entry["default"] = number(def[0]);
            entry["min"] = number(l.min);
            entry["max"] = number(l.max);
        }
        }
        out += (out.empty() ? "[\n  " : ",\n  ") + entry.dump();
    }
    return out + "\n]\n";
}
