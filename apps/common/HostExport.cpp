#include "apps/common/HostExport.h"

#include "apps/common/Errors.h"
#include "apps/frei0r/Frei0rMapping.h"
#include "host/Angles.h"

#include <frei0r.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace {

// The shortest text that reads back as the same double.
std::string shortNumber(double v) {
    char buf[32];
    auto r = std::to_chars(buf, buf + sizeof buf, v == 0.0 ? 0.0 : v);
    return std::string(buf, r.ptr);
}

// A value the host holds (radians, its own y direction) in the user's units.
UserValue userValue(EffectSession& s, Param const& p, ParameterStore::Value v) {
    // Degrees went to radians on the way in; rounding takes typed values back to what was typed.
    if (p.kind == ParamKind::Angle) v[0] = std::round(v[0] * kRadiansToDegrees * 1e9) / 1e9;
    if (p.kind == ParamKind::Point) v[1] = s.host().pointY(v[1]);
    return v;
}

UserValue userValueAt(EffectSession& s, Param const& p, double frame) {
    return userValue(s, p, s.host().params().valueAt(p, frame));
}

std::string hexColor(double const* v) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", int(std::lround(v[0] * 255)),
                  int(std::lround(v[1] * 255)), int(std::lround(v[2] * 255)));
    return text;
}

// A frei0r value as a host's property text: numbers short, colours as `color` makes them.
std::string frei0rValueText(Frei0rParam const& f, UserValue const& u,
                            std::string (*color)(double const*)) {
    double v[3] = {0, 0, 0};
    frei0rFromUserValue(f, u, v);
    if (f.type == F0R_PARAM_BOOL) return frei0rText(f, u);
    if (f.type == F0R_PARAM_COLOR) return color(v);
    return shortNumber(v[0]);
}

std::string slashColor(double const* v) {
    return shortNumber(v[0]) + "/" + shortNumber(v[1]) + "/" + shortNumber(v[2]);
}

std::string shellWord(std::string const& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

// GStreamer's property name of a frei0r parameter: lower case, other characters as '-'.
std::string gstName(std::string const& name) {
    std::string out;
    for (char c : name)
        out += std::isalnum(static_cast<unsigned char>(c)) ? char(std::tolower(c)) : '-';
    return out;
}

bool held(Param const& p) {
    return p.kind == ParamKind::Popup || p.kind == ParamKind::Toggle;
}

} // namespace

std::string ffmpegExport(EffectSession& session, double frame) {
    std::string values;
    for (Frei0rParam const& f : frei0rParams(session.params()))
        values += (values.empty() ? "" : "|") +
                  frei0rValueText(f, userValueAt(session, *f.param, frame), slashColor);
    return "frei0r=filter_name=mirrel:filter_params=" + values;
}

std::string meltExport(EffectSession& session) {
    // MLT reads a bool as a number and a colour as #rrggbb.
    auto text = [](Frei0rParam const& f, UserValue const& u) {
        std::string t = frei0rValueText(f, u, hexColor);
        return f.type == F0R_PARAM_BOOL ? std::string(t == "y" ? "1" : "0") : t;
    };
    std::string args = "-filter frei0r.mirrel";
    for (Frei0rParam const& f : frei0rParams(session.params())) {
        Param const& p = *f.param;
        std::string value;
        if (p.keys.empty()) {
            value = text(f, userValue(session, p, p.value));
        } else {
            for (auto const& [frame, v] : p.keys)
                value += (value.empty() ? "" : ";") + shortNumber(frame) + (held(p) ? "|=" : "=") +
                         text(f, userValue(session, p, v));
        }
        args += " " + shellWord(f.name + "=" + value);
    }
    return args;
}

std::string gstExport(EffectSession& session, double frame) {
    std::string element = "frei0r-filter-mirrel", outside;
    for (Frei0rParam const& f : frei0rParams(session.params())) {
        double v[3] = {0, 0, 0};
        UserValue u = userValueAt(session, *f.param, frame);
        frei0rFromUserValue(f, u, v);
        std::string name = gstName(f.name);
        if (f.type == F0R_PARAM_BOOL) {
            element += " " + name + (v[0] >= 0.5 ? "=true" : "=false");
        } else if (f.type == F0R_PARAM_COLOR) {
            for (int c = 0; c < 3; ++c)
                element += " " + name + "-" + "rgb"[c] + "=" + shortNumber(v[c]);
        } else {
            if (v[0] < 0 || v[0] > 1) outside += (outside.empty() ? "" : ", ") + inQuotes(f.name);
            element += " " + name + "=" + shortNumber(v[0]);
        }
    }
    if (!outside.empty())
        throw Failure("GStreamer takes frei0r values from 0 to 1 only, and these lie beyond: " +
                      outside);
    return element;
}

std::vector<TypedValue> editorExport(EffectSession& session, double frame) {
    std::vector<TypedValue> out;
    for (Frei0rParam const& f : frei0rParams(session.params())) {
        EditorDisplay d = frei0rEditorDisplay(f, userValueAt(session, *f.param, frame));
        out.push_back({f.name, std::move(d.text), std::move(d.unit)});
    }
    return out;
}
