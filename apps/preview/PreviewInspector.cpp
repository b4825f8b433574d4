#include "apps/preview/PreviewSession.h"
#include "apps/preview/PreviewValues.h"

using nlohmann::json;

namespace {

json controlOf(Param const& p, ParameterStore const& store, double frame) {
    json c = {{"id", p.id},
              {"label", p.name},
              {"kind", kindName(p.kind)},
              {"value", jsonFromUser(p, userValueAt(store, p, frame), false)},
              {"default", jsonFromUser(p, userDefault(p), false)},
              {"enabled", !store.isDisabled(p.id)}};
    Limits l = userLimits(p);
    if (p.kind == ParamKind::Float || p.kind == ParamKind::Int || p.kind == ParamKind::Angle) {
        c["min"] = l.min;
        c["max"] = l.max;
        // Angles have no slider of their own: the limits serve.
        bool slider = p.kind != ParamKind::Angle;
        c["sliderMin"] = slider ? p.sliderMin : l.min;
        c["sliderMax"] = slider ? p.sliderMax : l.max;
        c["step"] = p.kind == ParamKind::Int ? 1.0 : 0.0;
    }
    if (p.kind == ParamKind::Popup) c["entries"] = p.entries;
    json keys = json::array();
    for (auto const& [f, v] : p.keys) keys.push_back(f);
    c["keys"] = keys;
    return c;
}

} // namespace

json PreviewSession::state() {
    ParameterStore const& store = m_effect.host().params();
    json groups = json::array();
    for (Param const& p : store.params()) {
        if (p.kind == ParamKind::Group) {
            groups.push_back({{"id", p.id},
                              {"label", p.name},
                              {"open", !store.isClosed(p.id)},
                              {"params", json::array()}});
        } else if (!groups.empty()) {
            groups.back()["params"].push_back(controlOf(p, store, frame()));
        }
    }
    json frames = json::array();
    for (PreviewFrame const& f : m_frames) frames.push_back(f.number);
    Picture const& s = source();
    return {{"version", m_version},       {"input", m_input},          {"width", s.width},
            {"height", s.height},         {"frame", frame()},          {"frames", frames},
            {"dragging", m_dragging},     {"savePath", m_savePath},    {"groups", groups},
            {"canUndo", !m_undo.empty()}, {"canRedo", !m_redo.empty()}};
}
