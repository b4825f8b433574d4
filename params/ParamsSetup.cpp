#include "params/ParamsSetup.h"

#include "host/PluginHost_API.h"
#include "params/Catalogue.h"
#include "platform/FxParameterAPI.h"

#include <string>
#include <vector>

namespace {

std::vector<std::string> menuEntries(ParamRecord const& row) {
    std::vector<std::string> entries(1);
    for (char const* c = row.entries; *c; ++c) {
        if (*c == '|')
            entries.emplace_back();
        else
            entries.back() += *c;
    }
    return entries;
}

// Declares one row; the host's answer is not looked at.
void declare(FxParameterCreationAPI* c, ParamRecord const& r) {
    using K = ParamRecord::Kind;
    double const* v = r.value;
    switch (r.kind) {
    case K::Group:
        c->startParameterSubGroup_parmId_parmFlags(r.label, r.id, r.flags);
        break;
    case K::Popup:
        c->addPopupMenuWithName_parmId_defaultValue_menuEntries_parmFlags(
            r.label, r.id, unsigned(v[0]), menuEntries(r), r.flags);
        break;
    case K::Toggle:
        c->addToggleButtonWithName_parmId_defaultValue_parmFlags(r.label, r.id, v[0] ? YES : NO,
                                                                 r.flags);
        break;
    case K::Float:
        c->addFloatSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
            r.label, r.id, v[0], r.limits.min, r.limits.max, r.slider.min, r.slider.max, r.delta,
            r.flags);
        break;
    case K::Int:
        c->addIntSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
            r.label, r.id, int(v[0]), int(r.limits.min), int(r.limits.max), int(r.slider.min),
            int(r.slider.max), int(r.delta), r.flags);
        break;
    case K::Angle:
        c->addAngleSliderWithName_parmId_defaultValue_parameterMin_parameterMax_parmFlags(
            r.label, r.id, v[0], r.limits.min, r.limits.max, r.flags);
        break;
    case K::Point:
        c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags(r.label, r.id, v[0], v[1],
                                                                        r.flags);
        break;
    case K::Color:
        c->addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
            r.label, r.id, v[0], v[1], v[2], r.flags);
        break;
    }
}

} // namespace

int ParamsSetup(PluginHost_API* host) {
    PluginFXPLUGFace* face = host->getFXPLUGHost();
    if (!face) return 1;
    FxParameterCreationAPI* c = face->creationAPI();
    if (!c) return 1;

    // A group closes the one before it; the last closes after the table.
    bool open = false;
    for (ParamRecord const& row : kCatalogue) {
        if (row.kind == ParamRecord::Kind::Group && open) c->endParameterSubGroup();
        open = open || row.kind == ParamRecord::Kind::Group;
        declare(c, row);
    }
    if (open) c->endParameterSubGroup();
    return 1;
}
