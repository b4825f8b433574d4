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
    m_effect.apply({{&p, key, frame(), v}});
    ++m_version;
}

void PreviewSession::clearKeys(json const& request) {
    if (m_dragging) throw PreviewRefusal(409, "a drag on the canvas is in progress");
    Param const& p = paramOf(request);
    UserValue v = userValueAt(m_effect.host().params(), p, frame());
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
    Picture picture = m_pictures.read(at->path);
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
        host.mouseDown(x, y, width, height, frame());
        m_dragging = true;
    } else {
        if (!m_dragging) throw PreviewRefusal(409, "no mouse button is down on the canvas");
        if (t == "drag") {
            host.mouseDragged(x, y, frame());
        } else {
            host.mouseUp(x, y, frame());
            m_dragging = false;
        }
    }
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

std::string PreviewSession::save() {
    if (m_savePath.empty())
        throw PreviewRefusal(409, "no file to save to; start the preview with --save FILE");
    writeFileSafely(m_savePath, presetJson(*this).dump(2) + "\n");
    return m_savePath;
}
