#include "apps/cli/ParamsListing.h"

#include "apps/common/Json.h"
#include "apps/common/ValueText.h"

#include <algorithm>

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

std::string jsonNumbers(UserValue const& v, int count) {
    if (count == 1) return formatNumber(v[0]);
    std::string s = "[";
    for (int i = 0; i < count; ++i) s += (i ? ", " : "") + formatNumber(v[i]);
    return s + "]";
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
    std::string out = "[\n";
    bool first = true;
    for (Param const& p : params) {
        if (p.kind == ParamKind::Group) continue;
        out += first ? "" : ",\n";
        first = false;
        out += "  {\"label\": " + jsonQuote(p.name) + ", \"id\": " + std::to_string(p.id);
        if (p.groupIndex >= 0)
            out += ", \"group\": " + jsonQuote(params[size_t(p.groupIndex)].name);
        out += ", \"kind\": " + jsonQuote(kindName(p.kind));
        UserValue def = userDefault(p);
        switch (p.kind) {
        case ParamKind::Toggle:
            out += std::string(", \"default\": ") + (def[0] != 0 ? "true" : "false");
            break;
        case ParamKind::Popup: {
            out += ", \"default\": " + jsonQuote(formatValue(p, def)) + ", \"entries\": [";
            for (size_t i = 0; i < p.entries.size(); ++i)
                out += (i ? ", " : "") + jsonQuote(p.entries[i]);
            out += "]";
            break;
        }
        case ParamKind::Point:
            out += ", \"default\": " + jsonNumbers(def, 2);
            break;
        case ParamKind::Color:
            out += ", \"default\": " + jsonNumbers(def, 3) + ", \"min\": 0, \"max\": 1";
            break;
        default: {
            Limits l = userLimits(p);
            out += ", \"default\": " + formatNumber(def[0]) + ", \"min\": " + formatNumber(l.min) +
                   ", \"max\": " + formatNumber(l.max);
        }
        }
        out += "}";
    }
    return out + "\n]\n";
}
