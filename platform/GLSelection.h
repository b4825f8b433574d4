#pragma once
#include "platform/GL.h"

#include <vector>

// Selection mode in software: answers GL_SELECT, and records the name loaded for every primitive
// that covers the pick point. A line covers it within half the line width of the segment; a quad
// when the point lies inside or on it; a point within half the point size in x and in y.
class FxGLSelection : public FxGLContext {
  public:
    FxGLSelection(float pickX, float pickY) : m_pickX(pickX), m_pickY(pickY) {}

    // Names of the primitives hit, in drawing order; name 0 (no shape) is not a hit.
    std::vector<GLuint> const& hits() const { return m_hits; }
    // The part under the point: the last shape drawn there, which lies on top; 0 for none.
    GLuint activePart() const { return m_hits.empty() ? 0 : m_hits.back(); }

    void loadName(GLuint name) override { m_name = name; }
    void getIntegerv(GLenum pname, GLint* params) override {
        if (pname == GL_RENDER_MODE && params) *params = GLint(GL_SELECT);
    }
    void lineWidth(GLfloat width) override { m_lineWidth = width; }
    void color3f(GLfloat, GLfloat, GLfloat) override {}
    void begin(GLenum mode) override;
    void vertex2f(GLfloat x, GLfloat y) override;
    void end() override;
    void pointSize(GLfloat size) override { m_pointSize = size; }
    void enable(GLenum) override {}
    void disable(GLenum) override {}

  private:
    struct Vertex {
        double x, y;
    };
    bool covers(GLenum mode, Vertex const* v) const;
    void hit();

    double m_pickX, m_pickY;
    GLuint m_name = 0;
    float m_lineWidth = 1.0f;
    float m_pointSize = 1.0f;
    GLenum m_mode = GL_POINTS;
    bool m_inPrimitive = false;
    bool m_hitThisPrimitive = false;
    std::vector<Vertex> m_pending;
    std::vector<GLuint> m_hits;
};
