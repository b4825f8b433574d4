#include "apps/common/ValueText.h"

#include "apps/common/Errors.h"
#include "host/Angles.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

// Limits that went through degrees and back lose their last bit; show them as declared.
double tidy(double v) {
    return std::round(v * 1e9) / 1e9;
}

bool readNumber(std::string const& text, double& out) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text.front()))) return false;
    char* end = nullptr;
    out = std::strtod(text.c_str(), &end);
    while (*end == ' ') ++end;
    return *end == '\0' && std::isfinite(out);
}

std::vector<std::string> splitCommas(std::string const& text) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        size_t comma = text.find(',', start);
        std::string part = text.substr(start, comma - start);
        while (!part.empty() && part.front() == ' ') part.erase(part.begin());
        parts.push_back(part);
        if (comma == std::string::npos) return parts;
        start = comma + 1;
    }
}

[[noreturn]] void bad(Param const& p, std::string const& text, std::string const& expected) {
    throw UsageError(inQuotes(p.name) + ": " + inQuotes(text) + " is not " + expected);
}

std::string entriesText(Param const& p) {
    std::string s;
    for (size_t i = 0; i < p.entries.size(); ++i)
        s += (i ? ", " : "") + std::to_string(i) + " " + inQuotes(p.entries[i]);
    return s;
}

double numberWithin(Param const& p, std::string const& text, bool whole) {
    double v;
    if (!readNumber(text, v)) bad(p, text, whole ? "a whole number" : "a number");
    if (whole && v != std::floor(v)) bad(p, text, "a whole number");
    Limits l = userLimits(p);
    if (l.bounded && (v < l.min || v > l.max))
        throw UsageError(inQuotes(p.name) + ": " + text + " is outside the limits " +
                         formatNumber(l.min) + " to " + formatNumber(l.max));
    return v;
}

} // namespace

std::string formatNumber(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.10g", v == 0.0 ? 0.0 : v);
    return buf;
}

Limits userLimits(Param const& p) {
    switch (p.kind) {
    case ParamKind::Float:
    case ParamKind::Int:
    case ParamKind::Popup:
    case ParamKind::Toggle:
        return {true, p.min, p.max};
    case ParamKind::Angle:
        return {true, tidy(p.min * kRadiansToDegrees), tidy(p.max * kRadiansToDegrees)};
    case ParamKind::Color:
        return {true, 0.0, 1.0};
    default:
        return {};
    }
}

UserValue userDefault(Param const& p) {
    UserValue v = p.defaultValue;
    if (p.kind == ParamKind::Angle) v[0] = tidy(v[0] * kRadiansToDegrees);
    return v;
}

UserValue parseValue(Param const& p, std::string const& text) {
    switch (p.kind) {
    case ParamKind::Float:
    case ParamKind::Angle:
        return {numberWithin(p, text, false), 0, 0};
    case ParamKind::Int:
        return {numberWithin(p, text, true), 0, 0};
    case ParamKind::Toggle: {
        std::string t = lowercase(text);
        if (t == "on" || t == "true" || t == "yes" || t == "1") return {1, 0, 0};
        if (t == "off" || t == "false" || t == "no" || t == "0") return {0, 0, 0};
        bad(p, text, "on or off");
    }
    case ParamKind::Popup: {
        std::string t = lowercase(text);
        for (size_t i = 0; i < p.entries.size(); ++i)
            if (lowercase(p.entries[i]) == t) return {double(i), 0, 0};
        double index;
        if (readNumber(text, index) && index == std::floor(index) && index >= 0 &&
            index < double(p.entries.size()))
            return {index, 0, 0};
        throw UsageError(inQuotes(p.name) + ": " + inQuotes(text) + " is not one of " +
                         entriesText(p));
    }
    case ParamKind::Point: {
        auto parts = splitCommas(text);
        UserValue v{};
        if (parts.size() != 2 || !readNumber(parts[0], v[0]) || !readNumber(parts[1], v[1]))
            bad(p, text, "a point x,y (fractions of the frame, y down)");
        return v;
    }
    case ParamKind::Color: {
        auto parts = splitCommas(text);
        UserValue v{};
        bool ok = parts.size() == 3;
        for (size_t i = 0; ok && i < 3; ++i) ok = readNumber(parts[i], v[i]);
        if (!ok) bad(p, text, "a colour r,g,b");
        for (double c : v)
            if (c < 0.0 || c > 1.0)
                throw UsageError(inQuotes(p.name) + ": " + text +
                                 " is outside the limits 0 to 1 in each channel");
        return v;
    }
    case ParamKind::Group:
        break;
    }
    throw UsageError(inQuotes(p.name) + " is a group and holds no value");
}

UserValue valueFromJson(Param const& p, nlohmann::ordered_json const& v) {
    if (v.is_string()) return parseValue(p, v.get<std::string>());
    if (v.is_number()) return parseValue(p, v.dump());
    if (v.is_boolean()) return parseValue(p, v.get<bool>() ? "on" : "off");
    if (!v.is_array())
        throw UsageError(inQuotes(p.name) +
                         ": a value must be a number, text, true/false or a list");
    std::string joined;
    for (auto const& item : v) {
        if (!item.is_number())
            throw UsageError(inQuotes(p.name) + ": a list value holds numbers only");
        joined += (joined.empty() ? "" : ",") + item.dump();
    }
    return parseValue(p, joined);
}

std::string formatValue(Param const& p, UserValue const& v, std::string (*number)(double)) {
    switch (p.kind) {
    case ParamKind::Toggle:
        return v[0] != 0.0 ? "on" : "off";
    case ParamKind::Popup: {
        size_t i = size_t(v[0]);
        return i < p.entries.size() ? p.entries[i] : number(v[0]);
    }
    case ParamKind::Point:
        return number(v[0]) + "," + number(v[1]);
    case ParamKind::Color:
        return number(v[0]) + "," + number(v[1]) + "," + number(v[2]);
    default:
        return number(v[0]);
    }
}
