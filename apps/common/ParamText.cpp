// Kept apart from the label search so that programs which only read values (the frei0r plug-in)
// do not link the string library the search uses.
#include "apps/common/ParamLookup.h"

#include <algorithm>

std::string lowercase(std::string s) {
    // ASCII only, whatever the locale: labels and entries are ASCII.
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : char(c);
    });
    return s;
}

char const* kindName(ParamKind kind) {
    switch (kind) {
    case ParamKind::Group:
        return "group";
    case ParamKind::Popup:
        return "popup";
    case ParamKind::Toggle:
        return "toggle";
    case ParamKind::Float:
        return "float";
    case ParamKind::Int:
        return "int";
    case ParamKind::Angle:
        return "angle";
    case ParamKind::Point:
        return "point";
    case ParamKind::Color:
        return "colour";
    }
    return "?";
}
