#include "apps/common/EffectSession.h"

#include "apps/common/Errors.h"
#include "apps/common/PictureAlpha.h"
#include "fxplug/MirrelBundle.h"
#include "host/Angles.h"

#include <algorithm>
#include <cstring>

namespace {

InProcessFamily familyOf(unsigned hostIndex) {
    return hostIndex == 1   ? InProcessFamily::Motion
           : hostIndex == 2 ? InProcessFamily::FinalCutExpress
                            : InProcessFamily::FinalCutPro;
}

// R G B A and A R G B differ by a rotation of each pixel's four channels.
void rotateChannels(Picture& p, bool toArgb) {
    size_t cb = size_t(p.channelBytes());
    unsigned char* px = p.bytes.data();
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4 * cb) {
        if (toArgb)
            std::rotate(px, px + 3 * cb, px + 4 * cb);
        else
            std::rotate(px, px + cb, px + 4 * cb);
    }
}

InProcessImage imageOver(Picture& p, bool argb) {
    InProcessImage img;
    img.data = p.bytes.data();
    img.width = p.width;
    img.height = p.height;
    img.rowBytes = p.rowBytes();
    img.depth = unsigned(p.depth);
    img.pixelFormat = argb ? kFxPixelFormat_ARGB : kFxPixelFormat_RGBA;
    return img;
}

} // namespace

EffectSession::EffectSession(unsigned hostIndex) : m_host(familyOf(hostIndex)) {
    if (!m_host.load(MirrelBundle())) throw Failure("the Mirrel plug-in did not load");
}

void EffectSession::apply(std::vector<Setting> const& settings) {
    auto hostValue = [&](Param const& p, UserValue v) {
        if (p.kind == ParamKind::Angle) v[0] *= kDegreesToRadians;
        if (p.kind == ParamKind::Point) v[1] = m_host.pointY(v[1]);
        return v;
    };
    if (!m_pointsPresented && m_host.yUp()) {
        for (Param const& p : params())
            if (p.kind == ParamKind::Point) m_host.setValue(p.id, hostValue(p, p.defaultValue));
    }
    m_pointsPresented = true;
    for (Setting const& s : settings) {
        if (s.keyed)
            m_host.setKey(s.param->id, s.frame, hostValue(*s.param, s.value));
        else
            m_host.setValue(s.param->id, hostValue(*s.param, s.value));
    }
}

Picture EffectSession::render(Picture const& input, FrameRequest const& request) {
    Picture out;
    render(input, out, request);
    return out;
}

void EffectSession::render(Picture const& input, Picture& out, FrameRequest const& request) {
    if (!m_pointsPresented) apply({});
    // Motion lays out even the pictures it labels R G B A as A R G B, and the plug-in reads
    // them so; a Motion host therefore hands A R G B memory in either order.
    bool argbMemory = request.argb || m_host.family() == InProcessFamily::Motion;
    Picture rotated;
    if (argbMemory) {
        rotated = input;
        rotateChannels(rotated, true);
    }
    if (out.width != input.width || out.height != input.height || out.depth != input.depth)
        out = Picture(input.width, input.height, input.depth);
    // The host only reads the input.
    Picture& in = argbMemory ? rotated : const_cast<Picture&>(input);
    renderImages(imageOver(in, request.argb), imageOver(out, request.argb), request);
    if (argbMemory) rotateChannels(out, false);
    if (!m_host.outputPremultiplied()) premultiplyPicture(out);
}

void EffectSession::render8(uint8_t const* input, uint8_t* output, int width, int height,
                            FrameRequest const& request) {
    if (request.argb || m_host.family() == InProcessFamily::Motion) {
        // The families that take A R G B go through pictures of their own.
        Picture in(width, height, 8), out;
        std::memcpy(in.bytes.data(), input, in.bytes.size());
        render(in, out, request);
        std::memcpy(output, out.bytes.data(), out.bytes.size());
        return;
    }
    if (!m_pointsPresented) apply({});
    auto over = [&](uint8_t const* data) {
        InProcessImage img;
        img.data = const_cast<uint8_t*>(data); // the host only reads the input
        img.width = width;
        img.height = height;
        img.rowBytes = long(width) * 4;
        img.depth = 8;
        img.pixelFormat = kFxPixelFormat_RGBA;
        return img;
    };
    renderImages(over(input), over(output), request);
    if (!m_host.outputPremultiplied()) premultiply8(output, output, size_t(width) * height);
}

void EffectSession::renderImages(InProcessImage const& input, InProcessImage const& output,
                                 FrameRequest const& request) {
    InProcessRequest r;
    r.frame = request.frame;
    r.field = request.field;
    r.scaleX = r.scaleY = request.scale;
    m_host.setCurrentTime(request.frame);
    if (!m_host.render(input, output, r)) throw Failure("the effect could not render the frame");
}

void EffectSession::drawControls(Picture& picture, double frame) {
    // The controls draw opaque 8-bit colour; draw them on a clear canvas, then lay the touched
    // pixels over the picture at its own depth.
    Picture canvas(picture.width, picture.height, 8);
    m_host.drawControls(imageOver(canvas, false), frame);
    for (size_t i = 0, n = picture.pixelCount(); i < n; ++i)
        if (canvas.bytes[i * 4 + 3] != 0)
            for (int c = 0; c < 4; ++c) picture.setChannel(i, c, canvas.channel(i, c));
}
