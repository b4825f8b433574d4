#include "apps/preview/PreviewExport.h"

#include "apps/frei0r/Frei0rMapping.h"
#include "apps/preview/PreviewSession.h"
#include "apps/preview/PreviewValues.h"

#include <filesystem>

using nlohmann::json;

namespace {

std::string shellQuoted(std::string const& s) {
    bool plain =
        !s.empty() && s.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstu"
                                          "vwxyz0123456789_./,=@:+-%") == std::string::npos;
    if (plain) return s;
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

std::string outputName(std::string const& input) {
    std::filesystem::path p(input);
    return p.stem().string() + "-mirrel" + p.extension().string();
}

// The frames that exist, as `--frames` reads them: runs as A-B, separated by commas.
std::string frameList(std::vector<PreviewFrame> const& frames) {
    std::string list;
    for (size_t i = 0; i < frames.size();) {
        size_t j = i;
        while (j + 1 < frames.size() && frames[j + 1].number == frames[j].number + 1) ++j;
        list += (list.empty() ? "" : ",") + std::to_string(frames[i].number) +
                (j > i ? "-" + std::to_string(frames[j].number) : "");
        i = j + 1;
    }
    return list;
}

bool changed(Param const& p) {
    return !p.keys.empty() || p.value != p.defaultValue;
}

} // namespace

json presetJson(PreviewSession& session) {
    json preset = json::object();
    for (Param const& p : session.effect().params()) {
        if (p.kind == ParamKind::Group || !changed(p)) continue;
        if (p.keys.empty()) {
            preset[p.name] = jsonFromUser(p, userFromHost(p, p.value), true);
            continue;
        }
        json keys = json::array();
        for (auto const& [frame, v] : p.keys)
            keys.push_back({frame, jsonFromUser(p, userFromHost(p, v), true)});
        preset[p.name] = keys;
    }
    return preset;
}

std::string renderCommandLine(PreviewSession& session) {
    std::string line = "mirrel render " + shellQuoted(session.input()) + " -o " +
                       shellQuoted(outputName(session.input()));
    if (isSequencePattern(session.input()))
        line += " --frames " + frameList(session.frames());
    else if (session.frame() != 0.0 && !session.frames().front().video) // a video renders whole
        line += " --frame " + exactNumber(session.frame());
    for (Param const& p : session.effect().params()) {
        if (p.kind == ParamKind::Group || !changed(p)) continue;
        if (p.keys.empty())
            line +=
                " --set " + shellQuoted(p.name + "=" + exactValueText(p, userFromHost(p, p.value)));
        for (auto const& [frame, v] : p.keys)
            line += " --set " + shellQuoted(p.name + "@" + exactNumber(frame) + "=" +
                                            exactValueText(p, userFromHost(p, v)));
    }
    return line;
}

std::string ffmpegFilter(PreviewSession& session) {
    ParameterStore const& store = session.effect().host().params();
    std::string values;
    for (Frei0rParam const& f : frei0rParams(session.effect().params()))
        values += (values.empty() ? "" : "|") +
                  frei0rText(f, userValueAt(store, *f.param, session.frame()));
    return "frei0r=filter_name=mirrel:filter_params=" + values;
}
