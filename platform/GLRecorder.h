#pragma once
#include "platform/GL.h"

#include <vector>

// A context that answers a fixed render mode and keeps every call, for inspection.
class FxGLRecorder : public FxGLContext {
  public:
    enum class Op {
        LoadName,
        LineWidth,
        Color3f,
        Begin,
        Vertex2f,
        End,
        PointSize,
        Enable,
        Disable
    };
    struct Call {
        Op op;
        unsigned value = 0; // name, primitive mode or capability
        float f[3] = {0, 0, 0};
    };

    explicit FxGLRecorder(GLenum renderMode = GL_RENDER) : m_mode(renderMode) {}
    std::vector<Call> calls;

    void loadName(GLuint name) override { calls.push_back({Op::LoadName, name}); }
    void getIntegerv(GLenum pname, GLint* params) override {
        if (pname == GL_RENDER_MODE && params) *params = GLint(m_mode);
    }
    void lineWidth(GLfloat w) override { calls.push_back({Op::LineWidth, 0, {w, 0, 0}}); }
    void color3f(GLfloat r, GLfloat g, GLfloat b) override {
        calls.push_back({Op::Color3f, 0, {r, g, b}});
    }
    void begin(GLenum mode) override { calls.push_back({Op::Begin, mode}); }
    void vertex2f(GLfloat x, GLfloat y) override { calls.push_back({Op::Vertex2f, 0, {x, y, 0}}); }
    void end() override { calls.push_back({Op::End}); }
    void pointSize(GLfloat s) override { calls.push_back({Op::PointSize, 0, {s, 0, 0}}); }
    void enable(GLenum cap) override { calls.push_back({Op::Enable, cap}); }
    void disable(GLenum cap) override { calls.push_back({Op::Disable, cap}); }

  private:
    GLenum m_mode;
};
