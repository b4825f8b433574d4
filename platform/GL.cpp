#include "platform/GL.h"

namespace {
// Drawing happens on the host's interface thread only.
FxGLContext* g_current = nullptr;
} // namespace

FxGLContext* FxGLGetCurrentContext() {
    return g_current;
}
void FxGLSetCurrentContext(FxGLContext* context) {
    g_current = context;
}

void glLoadName(GLuint name) {
    if (g_current) g_current->loadName(name);
}
void glGetIntegerv(GLenum pname, GLint* params) {
    if (g_current) g_current->getIntegerv(pname, params);
}
void glLineWidth(GLfloat width) {
    if (g_current) g_current->lineWidth(width);
}
void glColor3f(GLfloat red, GLfloat green, GLfloat blue) {
    if (g_current) g_current->color3f(red, green, blue);
}
void glBegin(GLenum mode) {
    if (g_current) g_current->begin(mode);
}
void glVertex2f(GLfloat x, GLfloat y) {
    if (g_current) g_current->vertex2f(x, y);
}
void glEnd() {
    if (g_current) g_current->end();
}
void glPointSize(GLfloat size) {
    if (g_current) g_current->pointSize(size);
}
void glEnable(GLenum cap) {
    if (g_current) g_current->enable(cap);
}
void glDisable(GLenum cap) {
    if (g_current) g_current->disable(cap);
}
