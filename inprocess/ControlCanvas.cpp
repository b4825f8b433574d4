#include "inprocess/ControlCanvas.h"

#include <algorithm>
#include <cmath>

namespace {

unsigned char toByte(float v) {
    return (unsigned char)std::lround(std::clamp(v, 0.0f, 1.0f) * 255);
}

// A pixel bound held to one past either side of a side of `size` pixels before it becomes an
// int: a control far outside the frame (or at infinity) must neither overflow nor make the
// loops over its pixels run to the limits of int. NaN draws nothing.
int bounded(double v, int size) {
    return v >= -1.0 ? int(std::min(v, double(size))) : -1;
}

} // namespace

void ControlCanvas::color3f(GLfloat r, GLfloat g, GLfloat b) {
    m_rgb[0] = toByte(r);
    m_rgb[1] = toByte(g);
    m_rgb[2] = toByte(b);
}

void ControlCanvas::begin(GLenum mode) {
    m_mode = mode;
    m_inPrimitive = true;
    m_havePending = false;
}

void ControlCanvas::vertex2f(GLfloat x, GLfloat y) {
    if (!m_inPrimitive) return;
    if (m_mode == GL_POINTS) {
        point(x, y);
    } else if (m_mode == GL_LINES) {
        if (m_havePending)
            line(m_pendingX, m_pendingY, x, y);
        else
            m_pendingX = x, m_pendingY = y;
        m_havePending = !m_havePending;
    }
}

void ControlCanvas::plot(int c, int r) {
    if (c < 0 || r < 0 || c >= m_image.width || r >= m_image.height) return;
    unsigned char* p =
        static_cast<unsigned char*>(m_image.data) + long(r) * m_image.rowBytes + 4L * c;
    if (m_image.pixelFormat == kFxPixelFormat_ARGB) {
        p[0] = 255, p[1] = m_rgb[0], p[2] = m_rgb[1], p[3] = m_rgb[2];
    } else {
        p[0] = m_rgb[0], p[1] = m_rgb[1], p[2] = m_rgb[2], p[3] = 255;
    }
}

void ControlCanvas::line(double ax, double ay, double bx, double by) {
    double x0 = column(ax), y0 = row(ay), x1 = column(bx), y1 = row(by);
    double half = std::max(1.0, double(m_lineWidth)) / 2.0;
    int c0 = std::max(bounded(std::floor(std::min(x0, x1) - half), m_image.width), 0);
    int c1 =
        std::min(bounded(std::ceil(std::max(x0, x1) + half), m_image.width), m_image.width - 1);
    int r0 = std::max(bounded(std::floor(std::min(y0, y1) - half), m_image.height), 0);
    int r1 =
        std::min(bounded(std::ceil(std::max(y0, y1) + half), m_image.height), m_image.height - 1);
    double dx = x1 - x0, dy = y1 - y0, len2 = dx * dx + dy * dy;
    for (int r = r0; r <= r1; ++r)
        for (int c = c0; c <= c1; ++c) {
            double t = len2 > 0 ? std::clamp(((c - x0) * dx + (r - y0) * dy) / len2, 0.0, 1.0) : 0;
            if (std::hypot(c - (x0 + t * dx), r - (y0 + t * dy)) <= half) plot(c, r);
        }
}

void ControlCanvas::point(double x, double y) {
    double cx = column(x), cy = row(y), half = std::max(1.0, double(m_pointSize)) / 2.0;
    int const r0 = bounded(std::floor(cy - half), m_image.height),
              r1 = bounded(std::ceil(cy + half), m_image.height);
    int const c0 = bounded(std::floor(cx - half), m_image.width),
              c1 = bounded(std::ceil(cx + half), m_image.width);
    for (int r = r0; r <= r1; ++r)
        for (int c = c0; c <= c1; ++c) {
            bool inside = m_smooth ? std::hypot(c - cx, r - cy) <= half
                                   : std::fabs(c - cx) <= half && std::fabs(r - cy) <= half;
            if (inside) plot(c, r);
        }
}
