#pragma once
// The subset of OpenGL that on-screen controls use. The calls go to the current FxGLContext; with
// none they do nothing (and glGetIntegerv leaves its output alone).

using GLenum = unsigned;
using GLint = int;
using GLuint = unsigned;
using GLfloat = float;

constexpr GLenum GL_POINTS = 0x0000;
constexpr GLenum GL_LINES = 0x0001;
constexpr GLenum GL_QUADS = 0x0007;
constexpr GLenum GL_POINT_SMOOTH = 0x0B10;
constexpr GLenum GL_RENDER_MODE = 0x0C40;
constexpr GLenum GL_RENDER = 0x1C00;
constexpr GLenum GL_SELECT = 0x1C02;

void glLoadName(GLuint name);
void glGetIntegerv(GLenum pname, GLint* params);
void glLineWidth(GLfloat width);
void glColor3f(GLfloat red, GLfloat green, GLfloat blue);
void glBegin(GLenum mode);
void glVertex2f(GLfloat x, GLfloat y);
void glEnd();
void glPointSize(GLfloat size);
void glEnable(GLenum cap);
void glDisable(GLenum cap);

// A drawing context behind the gl* calls.
class FxGLContext {
  public:
    virtual ~FxGLContext() = default;
    virtual void loadName(GLuint name) = 0;
    virtual void getIntegerv(GLenum pname, GLint* params) = 0;
    virtual void lineWidth(GLfloat width) = 0;
    virtual void color3f(GLfloat red, GLfloat green, GLfloat blue) = 0;
    virtual void begin(GLenum mode) = 0;
    virtual void vertex2f(GLfloat x, GLfloat y) = 0;
    virtual void end() = 0;
    virtual void pointSize(GLfloat size) = 0;
    virtual void enable(GLenum cap) = 0;
    virtual void disable(GLenum cap) = 0;
};

FxGLContext* FxGLGetCurrentContext();
void FxGLSetCurrentContext(FxGLContext* context);

// Makes a context current for a scope, then puts the previous one back.
class FxGLScope {
  public:
    explicit FxGLScope(FxGLContext& context) : m_previous(FxGLGetCurrentContext()) {
        FxGLSetCurrentContext(&context);
    }
    ~FxGLScope() { FxGLSetCurrentContext(m_previous); }
    FxGLScope(FxGLScope const&) = delete;
    FxGLScope& operator=(FxGLScope const&) = delete;

  private:
    FxGLContext* m_previous;
};
