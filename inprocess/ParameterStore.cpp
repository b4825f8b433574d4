#include "inprocess/ParameterStore.h"

#include "host/Angles.h"
#include "host/SaturatingCast.h"

#include <algorithm>
#include <cmath>

namespace {}

ParameterStore::Param const* ParameterStore::find(unsigned id) const {
    for (auto const& p : m_params)
        if (p.id == id && p.kind != Kind::Group) return &p;
    return nullptr;
}

ParameterStore::Param* ParameterStore::find(unsigned id) {
    return const_cast<Param*>(static_cast<ParameterStore const*>(this)->find(id));
}

ParameterStore::Value ParameterStore::valueAt(Param const& p, double frame) const {
    if (p.keys.empty()) return p.value;
    auto after = p.keys.lower_bound(frame);
    if (after == p.keys.end()) return std::prev(after)->second;
    if (after->first == frame || after == p.keys.begin()) return after->second;
    auto before = std::prev(after);
    if (p.kind == Kind::Popup || p.kind == Kind::Toggle) return before->second;
    double t = (frame - before->first) / (after->first - before->first);
    Value v;
    for (int i = 0; i < 3; ++i)
        v[i] = before->second[i] + t * (after->second[i] - before->second[i]);
    if (p.kind == Kind::Int) v[0] = std::round(v[0]);
    return numbersOnly(p, v); // keys of opposite infinities
}

ParameterStore::Value ParameterStore::numbersOnly(Param const& p, Value v) {
    // An inspector field takes no NaN: such a component keeps the default.
    for (int i = 0; i < 3; ++i)
        if (std::isnan(v[i])) v[i] = p.defaultValue[i];
    return v;
}

ParameterStore::Value ParameterStore::clampToLimits(Param const& p, Value v) const {
    v = numbersOnly(p, v);
    switch (p.kind) {
    case Kind::Float:
    case Kind::Int:
    case Kind::Angle:
        v[0] = std::clamp(v[0], p.min, p.max);
        break;
    case Kind::Popup:
        v[0] = std::clamp(std::floor(v[0]), 0.0, double(std::max<size_t>(p.entries.size(), 1) - 1));
        break;
    case Kind::Toggle:
        v[0] = v[0] != 0.0 ? 1.0 : 0.0;
        break;
    default:
        break;
    }
    return v;
}

void ParameterStore::setConstant(unsigned id, Value v) {
    if (Param* p = find(id)) {
        p->keys.clear();
        p->value = clampToLimits(*p, v);
    }
}

void ParameterStore::setKey(unsigned id, double frame, Value v) {
    if (!std::isfinite(frame)) return; // keys sit at real times
    if (Param* p = find(id)) p->keys[frame] = clampToLimits(*p, v);
}

BOOL ParameterStore::write(unsigned id, double time, Value v) {
    Param* p = find(id);
    if (!p || (!p->keys.empty() && !std::isfinite(time))) return NO;
    if (p->keys.empty())
        p->value = clampToLimits(*p, v);
    else
        p->keys[time] = clampToLimits(*p, v);
    return YES;
}

ParameterStore::Param& ParameterStore::declare(Kind kind, std::string const& name, unsigned id,
                                               FxParameterFlags flags) {
    Param p;
    p.kind = kind;
    p.name = name;
    p.id = id;
    p.flags = flags;
    p.groupIndex = m_openGroups.empty() ? -1 : m_openGroups.back();
    m_params.push_back(std::move(p));
    return m_params.back();
}

BOOL ParameterStore::
    addFloatSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        std::string const& name, unsigned parmId, double defaultValue, double parameterMin,
        double parameterMax, double sliderMin, double sliderMax, double delta,
        FxParameterFlags flags) {
    Param& p = declare(Kind::Float, name, parmId, flags);
    p.min = parameterMin;
    p.max = parameterMax;
    p.sliderMin = sliderMin;
    p.sliderMax = sliderMax;
    p.delta = delta;
    p.defaultValue = p.value = {defaultValue, 0, 0};
    return YES;
}

BOOL ParameterStore::
    addIntSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        std::string const& name, unsigned parmId, int defaultValue, int parameterMin,
        int parameterMax, int sliderMin, int sliderMax, int delta, FxParameterFlags flags) {
    Param& p = declare(Kind::Int, name, parmId, flags);
    p.min = parameterMin;
    p.max = parameterMax;
    p.sliderMin = sliderMin;
    p.sliderMax = sliderMax;
    p.delta = delta;
    p.defaultValue = p.value = {double(defaultValue), 0, 0};
    return YES;
}

BOOL ParameterStore::addAngleSliderWithName_parmId_defaultValue_parameterMin_parameterMax_parmFlags(
    std::string const& name, unsigned parmId, double defaultDegrees, double minDegrees,
    double maxDegrees, FxParameterFlags flags) {
    Param& p = declare(Kind::Angle, name, parmId, flags);
    p.min = minDegrees * kDegreesToRadians;
    p.max = maxDegrees * kDegreesToRadians;
    p.defaultValue = p.value = {defaultDegrees * kDegreesToRadians, 0, 0};
    return YES;
}

BOOL ParameterStore::addToggleButtonWithName_parmId_defaultValue_parmFlags(std::string const& name,
                                                                           unsigned parmId,
                                                                           BOOL defaultValue,
                                                                           FxParameterFlags flags) {
    Param& p = declare(Kind::Toggle, name, parmId, flags);
    p.min = 0;
    p.max = 1;
    p.defaultValue = p.value = {defaultValue ? 1.0 : 0.0, 0, 0};
    return YES;
}

BOOL ParameterStore::addPopupMenuWithName_parmId_defaultValue_menuEntries_parmFlags(
    std::string const& name, unsigned parmId, unsigned defaultValue,
    std::vector<std::string> const& entries, FxParameterFlags flags) {
    Param& p = declare(Kind::Popup, name, parmId, flags);
    p.entries = entries;
    p.min = 0;
    p.max = entries.empty() ? 0 : double(entries.size() - 1);
    p.defaultValue = p.value = {double(defaultValue), 0, 0};
    return YES;
}

BOOL ParameterStore::addPointParameterWithName_parmId_defaultX_defaultY_parmFlags(
    std::string const& name, unsigned parmId, double defaultX, double defaultY,
    FxParameterFlags flags) {
    Param& p = declare(Kind::Point, name, parmId, flags);
    p.defaultValue = p.value = {defaultX, defaultY, 0};
    return YES;
}

BOOL ParameterStore::addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
    std::string const& name, unsigned parmId, double red, double green, double blue,
    FxParameterFlags flags) {
    Param& p = declare(Kind::Color, name, parmId, flags);
    p.defaultValue = p.value = {red, green, blue};
    return YES;
}

BOOL ParameterStore::startParameterSubGroup_parmId_parmFlags(std::string const& name,
                                                             unsigned parmId,
                                                             FxParameterFlags flags) {
    declare(Kind::Group, name, parmId, flags);
    m_openGroups.push_back(int(m_params.size()) - 1);
    return YES;
}

BOOL ParameterStore::endParameterSubGroup() {
    if (m_openGroups.empty()) return NO;
    m_openGroups.pop_back();
    return YES;
}

BOOL ParameterStore::getIntValue_fromParm_atTime(int* value, unsigned parmId, double time) {
    Param const* p = find(parmId);
    if (!p || !value) return NO;
    *value = saturatingCast(valueAt(*p, time)[0]); // a value may be anything a caller set
    return YES;
}

BOOL ParameterStore::getFloatValue_fromParm_atTime(double* value, unsigned parmId, double time) {
    Param const* p = find(parmId);
    if (!p || !value) return NO;
    *value = valueAt(*p, time)[0];
    return YES;
}

BOOL ParameterStore::getBoolValue_fromParm_atTime(BOOL* value, unsigned parmId, double time) {
    Param const* p = find(parmId);
    if (!p || !value) return NO;
    *value = valueAt(*p, time)[0] != 0.0 ? YES : NO;
    return YES;
}

BOOL ParameterStore::getXValue_YValue_fromParm_atTime(double* x, double* y, unsigned parmId,
                                                      double time) {
    Param const* p = find(parmId);
    if (!p || !x || !y) return NO;
    Value v = valueAt(*p, time);
    *x = v[0];
    *y = v[1];
    return YES;
}

BOOL ParameterStore::getRedValue_GreenValue_BlueValue_fromParm_atTime(double* red, double* green,
                                                                      double* blue, unsigned parmId,
                                                                      double time) {
    Param const* p = find(parmId);
    if (!p || !red || !green || !blue) return NO;
    Value v = valueAt(*p, time);
    *red = v[0];
    *green = v[1];
    *blue = v[2];
    return YES;
}

BOOL ParameterStore::getParameterFlags_fromParm(FxParameterFlags* flags, unsigned parmId) {
    for (auto const& p : m_params)
        if (p.id == parmId && flags) {
            *flags = p.flags;
            return YES;
        }
    return NO;
}

BOOL ParameterStore::getBitmap_layerOffsetX_layerOffsetY_requestInfo_fromParm_atTime(
    FxBitmap** bitmap, double*, double*, FxRenderInfo, unsigned, double) {
    // No layer parameters exist in this host.
    if (bitmap) *bitmap = nullptr;
    return NO;
}

BOOL ParameterStore::setFloatValue_toParm_atTime(double value, unsigned parmId, double time) {
    return write(parmId, time, {value, 0, 0});
}

BOOL ParameterStore::setIntValue_toParm_atTime(int value, unsigned parmId, double time) {
    return write(parmId, time, {double(value), 0, 0});
}

BOOL ParameterStore::setBoolValue_toParm_atTime(BOOL value, unsigned parmId, double time) {
    return write(parmId, time, {value ? 1.0 : 0.0, 0, 0});
}

BOOL ParameterStore::setXValue_YValue_toParm_atTime(double x, double y, unsigned parmId,
                                                    double time) {
    return write(parmId, time, {x, y, 0});
}

BOOL ParameterStore::setRedValue_GreenValue_BlueValue_toParm_atTime(double red, double green,
                                                                    double blue, unsigned parmId,
                                                                    double time) {
    return write(parmId, time, {red, green, blue});
}

bool ParameterStore::hasFlag(unsigned id, FxParameterFlags bit) const {
    for (auto const& p : m_params)
        if (p.id == id) return (p.flags & bit) != 0;
    return false;
}

BOOL ParameterStore::setParameterFlags_toParm(FxParameterFlags flags, unsigned parmId) {
    for (auto& p : m_params)
        if (p.id == parmId) {
            p.flags = flags;
            return YES;
        }
    return NO;
}
