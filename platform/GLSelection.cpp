#include "platform/GLSelection.h"

#include <cmath>

namespace {

double distanceToSegment(double px, double py, double ax, double ay, double bx, double by) {
    double dx = bx - ax, dy = by - ay;
    double len2 = dx * dx + dy * dy;
    double t = len2 > 0.0 ? ((px - ax) * dx + (py - ay) * dy) / len2 : 0.0;
    t = t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t);
    return std::hypot(px - (ax + t * dx), py - (ay + t * dy));
}

} // namespace

void FxGLSelection::begin(GLenum mode) {
    m_mode = mode;
    m_inPrimitive = true;
    m_hitThisPrimitive = false;
    m_pending.clear();
}

void FxGLSelection::vertex2f(GLfloat x, GLfloat y) {
    if (!m_inPrimitive) return;
    m_pending.push_back({x, y});
    std::size_t needed = m_mode == GL_LINES ? 2 : m_mode == GL_QUADS ? 4 : 1;
    if (m_pending.size() < needed) return;
    if (covers(m_mode, m_pending.data())) m_hitThisPrimitive = true;
    m_pending.clear();
}

void FxGLSelection::end() {
    // One hit record a primitive, however many of its pieces cover the point.
    if (m_inPrimitive && m_hitThisPrimitive) hit();
    m_inPrimitive = false;
    m_pending.clear();
}

void FxGLSelection::hit() {
    if (m_name != 0) m_hits.push_back(m_name);
}

bool FxGLSelection::covers(GLenum mode, Vertex const* v) const {
    double px = m_pickX, py = m_pickY;
    switch (mode) {
    case GL_LINES:
        return distanceToSegment(px, py, v[0].x, v[0].y, v[1].x, v[1].y) <= m_lineWidth / 2.0;
    case GL_QUADS: {
        // Convex, either winding: the point is on the same side of every edge.
        int sign = 0;
        for (int i = 0; i < 4; ++i) {
            Vertex a = v[i], b = v[(i + 1) % 4];
            double cross = (b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x);
            int s = cross > 0 ? 1 : (cross < 0 ? -1 : 0);
            if (s == 0) continue;
            if (sign == 0)
                sign = s;
            else if (s != sign)
                return false;
        }
        return true;
    }
    case GL_POINTS:
        return std::fabs(px - v[0].x) <= m_pointSize / 2.0 &&
               std::fabs(py - v[0].y) <= m_pointSize / 2.0;
    default:
        return false;
    }
}
