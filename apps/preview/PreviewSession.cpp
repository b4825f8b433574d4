#include "apps/preview/PreviewSession.h"

#include "apps/common/Errors.h"
#include "apps/common/SafeFile.h"
#include "apps/preview/PreviewExport.h"
#include "apps/preview/PreviewValues.h"

#include <algorithm>
#include <cmath>

using nlohmann::json;

namespace {

json const& member(json const& request, char const* name) {
    if (!request.is_object() || !request.contains(name))
        throw PreviewRefusal(400, std::string("the request needs \"") + name + "\"");
    return request[name];
}

double number(json const& request, char const* name) {
    json const& v = member(request, name);
    if (!v.is_number() || !std::isfinite(v.get<double>()))
        throw PreviewRefusal(400, std::string("\"") + name + "\" must be a finite number");
    return v.get<double>();
}

// The canvas on screen: whole pixels, and no larger than any screen.
int canvasSide(json const& request, char const* name) {
    double v = number(request, name);
    if (v < 1 || v > 65536 || v != std::floor(v))
        throw PreviewRefusal(400, std::string("\"") + name + "\" must be a whole number of pixels");
    return int(v);
}

Picture to8Bit(Picture const& p) {
    if (p.depth == 8) return p;
    Picture out(p.width, p.height, 8);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i)
        for (int c = 0; c < 4; ++c) out.setChannel(i, c, p.channel(i, c));
    return out;
}

} // namespace

PreviewSession::PreviewSession(std::string input, PreviewPictures pictures, std::string savePath)
    : m_input(std::move(input)), m_savePath(std::move(savePath)), m_pictures(std::move(pictures)),
      m_frames(previewFrames(m_input)) {
    source(); // an unreadable input is refused before anything is served
    m_effect.apply({});
}

void PreviewSession::applyPreset(std::string const& path) {
    m_effect.apply(loadPreset(m_effect.params(), path));
    ++m_version;
}

Param const& PreviewSession::paramOf(json const& request) {
    json const& label = member(request, "label");
    if (!label.is_string()) throw PreviewRefusal(400, "\"label\" must be text");
    try {
        return findParam(m_effect.params(), label.get<std::string>());
    } catch (UsageError const& e) {
        throw PreviewRefusal(404, e.what());
    }
}

void PreviewSession::setValue(json const& request) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    Param const& p = paramOf(request);
    UserValue v;
    try {
        v = userFromJson(p, member(request, "value"));
    } catch (UsageError const& e) {
        throw PreviewRefusal(400, e.what());
    }
    bool key = p.keys.size() > 0;
    if (request.contains("key")) {
        if (!request["key"].is_boolean())
            throw PreviewRefusal(400, "\"key\" must be true or false");
        key = key || request["key"].get<bool>();
    }
    bool merge = request.value("merge", false) == true && m_lastEdit == p.name;
    if (!merge) record();
    m_lastEdit = p.name;
    m_effect.apply({{&p, key, frame(), v}});
    ++m_version;
}

void PreviewSession::clearKeys(json const& request) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    Param const& p = paramOf(request);
    UserValue v = userValueAt(m_effect.host().params(), p, frame());
    record();
    m_effect.apply({{&p, false, 0.0, v}});
    ++m_version;
}

void PreviewSession::setFrame(json const& request) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    double f = number(request, "frame");
    auto at = std::find_if(m_frames.begin(), m_frames.end(),
                           [&](PreviewFrame const& fr) { return double(fr.number) == f; });
    if (at == m_frames.end())
        throw PreviewRefusal(400, "frame " + exactNumber(f) + " is not a frame of the input");
    // Its picture is read first: a file gone since the start is refused, the playhead stays.
    size_t index = size_t(at - m_frames.begin());
    Picture picture = at->video ? videoFrame(at->path, at->number) : m_pictures.read(at->path);
    m_source = std::move(picture);
    m_loadedIndex = long(index);
    m_frameIndex = index;
    m_effect.host().setCurrentTime(frame());
    ++m_version;
}

void PreviewSession::mouse(json const& request) {
    json const& type = member(request, "type");
    std::string t = type.is_string() ? type.get<std::string>() : std::string();
    if (t != "down" && t != "drag" && t != "up")
        throw PreviewRefusal(400, "\"type\" is one of \"down\", \"drag\", \"up\"");
    double x = number(request, "x"), y = number(request, "y");
    InProcessHost& host = m_effect.host();
    if (t == "down") {
        int width = canvasSide(request, "width"), height = canvasSide(request, "height");
        m_grabbed = host.activePartAt(x, y, width, height, frame());
        m_beforePress = snapshot();
        host.mouseDown(x, y, width, height, frame());
        m_dragging = true;
    } else {
        if (!m_dragging) throw PreviewRefusal(409, "no mouse button is down on the canvas");
        if (t == "drag") {
            host.mouseDragged(x, y, frame());
        } else {
            host.mouseUp(x, y, frame());
            m_dragging = false;
            if (snapshot() != m_beforePress) {
                m_undo.push_back(std::move(m_beforePress));
                m_redo.clear();
                m_lastEdit.clear();
            }
        }
    }
    ++m_version;
}

PreviewSession::Snapshot PreviewSession::snapshot() {
    Snapshot s;
    for (Param const& p : m_effect.params()) s.push_back({p.value, p.keys});
    return s;
}

void PreviewSession::restore(Snapshot const& s) {
    InProcessHost& host = m_effect.host();
    std::vector<Param> const& params = m_effect.params();
    for (size_t i = 0; i < params.size(); ++i) {
        Param const& p = params[i];
        if (p.kind == ParamKind::Group || (p.value == s[i].first && p.keys == s[i].second))
            continue;
        host.setValue(p.id, s[i].first);
        for (auto const& [f, v] : s[i].second) host.setKey(p.id, f, v);
    }
    m_lastEdit.clear();
    ++m_version;
}

void PreviewSession::record() {
    m_undo.push_back(snapshot());
    m_redo.clear();
    m_lastEdit.clear();
}

void PreviewSession::undo(json const&) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    if (m_undo.empty()) throw PreviewRefusal(409, "nothing to undo");
    m_redo.push_back(snapshot());
    restore(m_undo.back());
    m_undo.pop_back();
}

void PreviewSession::redo(json const&) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    if (m_redo.empty()) throw PreviewRefusal(409, "nothing to redo");
    m_undo.push_back(snapshot());
    restore(m_redo.back());
    m_redo.pop_back();
}

void PreviewSession::nudge(json const& request) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    double dx = number(request, "dx"), dy = number(request, "dy");
    static std::map<int, char const*> const handles = {
        {2, "Baseline Start"}, {4, "Baseline End"}, {8, "Height and Slant"}, {32, "Translate"}};
    if (m_grabbed < 0) throw PreviewRefusal(409, "no handle is selected: click one first");
    ParameterStore const& store = m_effect.host().params();
    auto at = [&](char const* label) {
        return store.valueAt(findParam(m_effect.params(), label), frame());
    };
    // Pressed where the grabbed shape lies: its handle, or the baseline's middle.
    ParameterStore::Value a = at("Baseline Start"), b = at("Baseline End");
    double x = (a[0] + b[0]) / 2, y = (a[1] + b[1]) / 2;
    if (auto h = handles.find(m_grabbed); h != handles.end()) {
        ParameterStore::Value v = at(h->second);
        x = v[0], y = v[1];
    }
    Picture const& s = source();
    InProcessHost& host = m_effect.host();
    // A press on the baseline, the height line or nowhere moves the three baseline points.
    int hit = host.activePartAt(x, y, s.width, s.height, frame());
    if (handles.count(hit) != handles.count(m_grabbed) || (handles.count(hit) && hit != m_grabbed))
        throw PreviewRefusal(409, "another control covers the selected handle");
    record();
    host.mouseDown(x, y, s.width, s.height, frame());
    double tx = x + dx / s.width, ty = y + host.pointY(dy / s.height) - host.pointY(0);
    host.mouseDragged(tx, ty, frame());
    host.mouseUp(tx, ty, frame());
    ++m_version;
}

Picture const& PreviewSession::source() {
    if (m_loadedIndex != long(m_frameIndex)) {
        PreviewFrame const& f = m_frames[m_frameIndex];
        m_source = f.video ? videoFrame(f.path, f.number) : m_pictures.read(f.path);
        m_loadedIndex = long(m_frameIndex);
    }
    return m_source;
}

double PreviewSession::proxyScale() const {
    // A quarter of the pixels, and at most about 640 wide, keeps a drag fluid on large frames.
    return std::min(0.5, 640.0 / std::max(1, m_source.width));
}

Picture PreviewSession::picture(bool proxy, bool controls) {
    Picture input = source();
    FrameRequest request;
    request.frame = frame();
    if (proxy) {
        request.scale = proxyScale();
        int w = std::max(1, int(std::lround(input.width * request.scale)));
        int h = std::max(1, int(std::lround(input.height * request.scale)));
        input = m_pictures.resize(input, w, h);
    }
    Picture out = to8Bit(m_effect.render(input, request));
    if (controls) m_effect.drawControls(out, frame());
    return out;
}

Picture PreviewSession::picture(json const& query) {
    auto text = [&](char const* name) {
        return query.contains(name) ? query[name].get<std::string>() : std::string();
    };
    auto whole = [&](char const* name, long low, long high) {
        std::string t = text(name);
        char* end = nullptr;
        long v = std::strtol(t.c_str(), &end, 10);
        if (t.empty() || *end || v < low || v > high)
            throw PreviewRefusal(400, std::string("\"") + name + "\" must be a whole number from " +
                                          std::to_string(low) + " to " + std::to_string(high));
        return int(v);
    };
    std::string layer = text("layer");
    bool proxy = text("proxy") == "1";
    if (layer.empty()) return picture(proxy, text("controls") != "0");
    if (layer == "result") return picture(proxy, false);
    if (layer == "source") return to8Bit(source());
    if (layer != "controls")
        throw PreviewRefusal(400, "\"layer\" is one of source, result and controls");
    int cw = whole("cw", 1, 8192), ch = whole("ch", 1, 8192);
    int width = whole("width", 1, 65536), height = whole("height", 1, 65536);
    int x = whole("x", -65536, 65536), y = whole("y", -65536, 65536);
    Picture canvas(cw, ch, 8);
    InProcessImage image;
    image.data = canvas.bytes.data();
    image.width = cw;
    image.height = ch;
    image.rowBytes = canvas.rowBytes();
    image.depth = 8;
    image.pixelFormat = kFxPixelFormat_RGBA;
    m_effect.host().drawControls(image, width, height, x, y, frame());
    return canvas;
}

std::string PreviewSession::save() {
    if (m_savePath.empty())
        throw PreviewRefusal(409, "no file to save to; start the preview with --save FILE");
    writeFileSafely(m_savePath, presetJson(*this).dump(2) + "\n");
    return m_savePath;
}
