#include "apps/preview/PreviewValues.h"

#include "apps/common/Errors.h"
#include "host/Angles.h"

#include <charconv>
#include <cmath>

std::string exactNumber(double v) {
    char buf[32];
    auto r = std::to_chars(buf, buf + sizeof buf, v == 0.0 ? 0.0 : v);
    return std::string(buf, r.ptr);
}

UserValue userValueAt(ParameterStore const& store, Param const& p, double frame) {
    return userFromHost(p, store.valueAt(p, frame));
}

UserValue userFromHost(Param const& p, ParameterStore::Value v) {
    // Degrees went to radians on the way in; rounding takes typed values back to what was typed.
    if (p.kind == ParamKind::Angle) v[0] = std::round(v[0] * kRadiansToDegrees * 1e9) / 1e9;
    return v;
}

nlohmann::json jsonFromUser(Param const& p, UserValue const& v, bool labels) {
    switch (p.kind) {
    case ParamKind::Toggle:
        return v[0] != 0.0;
    case ParamKind::Popup:
        if (labels && v[0] >= 0 && size_t(v[0]) < p.entries.size()) return p.entries[size_t(v[0])];
        return int(v[0]);
    case ParamKind::Int:
        return long(v[0]);
    case ParamKind::Point:
        return {v[0], v[1]};
    case ParamKind::Color:
        return {v[0], v[1], v[2]};
    default:
        return v[0];
    }
}

UserValue userFromJson(Param const& p, nlohmann::json const& v) {
    return valueFromJson(p, nlohmann::ordered_json(v));
}

std::string exactValueText(Param const& p, UserValue const& v) {
    return formatValue(p, v, exactNumber);
}
