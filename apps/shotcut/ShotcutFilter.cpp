#include "apps/shotcut/ShotcutFilter.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::string groupOf(Param const* p) {
    while (p->kind != ParamKind::Group) --p; // the catalogue opens with a group
    return p->name;
}

// Numbers and points follow keyframes; menus, switches and colours hold one value.
bool animated(Frei0rParam const& f) {
    ParamKind k = f.param->kind;
    return k == ParamKind::Float || k == ParamKind::Angle || k == ParamKind::Point;
}

std::string quoted(std::string const& s) {
    return Json(s).dump();
}

} // namespace

std::string shotcutParamsJs(std::vector<Frei0rParam> const& params) {
    Json table = Json::array();
    for (Frei0rParam const& f : params) {
        Param const& p = *f.param;
        UserValue d = userDefault(p);
        double v[3] = {0, 0, 0};
        frei0rFromUserValue(f, d, v);
        Json e = {{"name", f.name}, {"group", groupOf(&p)}};
        switch (p.kind) {
        case ParamKind::Toggle:
            e["kind"] = "bool";
            e["def"] = v[0];
            break;
        case ParamKind::Color:
            e["kind"] = "color";
            e["def"] = frei0rEditorDisplay(f, d).text;
            break;
        case ParamKind::Popup: {
            e["kind"] = "menu";
            e["def"] = d[0];
            e["entries"] = p.entries;
            Json values = Json::array();
            for (size_t k = 0; k < p.entries.size(); ++k)
                values.push_back(frei0rText(f, {double(k), 0, 0}));
            e["values"] = values;
            break;
        }
        default: {
            EditorControl c = editorControl(f);
            e["kind"] = "number";
            e["def"] = v[0];
            e["factor"] = c.factor;
            e["min"] = c.min;
            e["max"] = c.max;
            e["decimals"] = c.decimals;
            e["unit"] = c.unit;
            if (p.kind == ParamKind::Point) e["point"] = p.name;
        }
        }
        e["animated"] = animated(f);
        table.push_back(e);
    }
    return "// Written at build time from the effect's catalogue: every frei0r parameter of Mirrel "
           "in order,\n// its default as a frei0r value, and how the panel shows it.\n"
           ".pragma library\n\nvar params = " +
           table.dump(1) + ";\n";
}

std::string shotcutMetaQml(std::vector<Frei0rParam> const& params) {
    std::string keyframed, simple;
    for (Frei0rParam const& f : params) {
        if (!animated(f) || f.coordinate == 1) continue;
        Param const& p = *f.param;
        simple += std::string(simple.empty() ? "" : ", ") + quoted(f.name);
        keyframed += std::string(keyframed.empty() ? "" : ",\n") +
                     "            Parameter {\n                name: qsTr(" + quoted(p.name) +
                     ")\n                property: " + quoted(f.name) + "\n";
        if (p.kind == ParamKind::Point) {
            // A point's two coordinates take their keyframes together.
            simple += ", " + quoted(p.name + " Y");
            keyframed += "                gangedProperties: [" + quoted(p.name + " Y") + "]\n";
        } else {
            EditorControl c = editorControl(f);
            keyframed += "                isCurve: true\n                minimum: " +
                         formatNumber(c.min / c.factor) +
                         "\n                maximum: " + formatNumber(c.max / c.factor) + "\n";
        }
        keyframed += "            }";
    }
    return "// Written at build time from the effect's catalogue.\n"
           "import QtQuick 2.0\nimport org.shotcut.qml 1.0\n\n"
           "Metadata {\n"
           "    type: Metadata.Filter\n"
           "    name: qsTr('Mirrel')\n"
           "    keywords: qsTr('mirror reflection floor perspective') + ' mirrel'\n"
           "    mlt_service: 'frei0r.mirrel'\n"
           "    qml: 'ui.qml'\n"
           "    vui: 'vui.qml'\n\n"
           "    keyframes {\n"
           "        allowAnimateIn: false\n"
           "        allowAnimateOut: false\n"
           "        simpleProperties: [" +
           simple + "]\n        parameters: [\n" + keyframed + "\n        ]\n    }\n}\n";
}
