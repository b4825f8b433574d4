#include "apps/preview/PreviewExport.h"

#include "apps/common/HostExport.h"
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

json exportJson(PreviewSession& session) {
    EffectSession& effect = session.effect();
    double frame = session.frame();
    json hosts = {{"ffmpeg", ffmpegExport(effect, frame)}, {"melt", meltExport(effect)}};
    try {
        hosts["gst"] = gstExport(effect, frame);
    } catch (std::exception const& e) {
        hosts["gstError"] = e.what();
    }
    json typed = json::array();
    for (TypedValue const& v : editorExport(effect, frame))
        typed.push_back({{"label", v.label}, {"text", v.text}, {"unit", v.unit}});
    hosts["kdenlive"] = hosts["shotcut"] = typed;
    return {
        {"preset", presetJson(session)}, {"command", renderCommandLine(session)}, {"hosts", hosts}};
}
