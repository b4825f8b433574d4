#pragma once
#include "inprocess/InProcessHost.h"
#include "platform/GL.h"

// Render mode in software over an 8-bit RGBA or ARGB picture: lines at the current width,
// points as squares or, with GL_POINT_SMOOTH, discs of the current size, in the current colour.
// Drawing units are pixels; y runs upwards when the host's does. Quads are not drawn: controls
// draw them only to be picked. The drawing may be smaller than the picture and stand at an
// origin in it (a zoomed frame within a canvas with room around it); it is not clipped to its
// own size, so points beyond the frame show in that room.
class ControlCanvas : public FxGLContext {
  public:
    ControlCanvas(InProcessImage const& image, bool yUp)
        : ControlCanvas(image, yUp, image.height, 0, 0) {}
    ControlCanvas(InProcessImage const& image, bool yUp, int drawingHeight, int originX,
                  int originY)
        : m_image(image), m_yUp(yUp), m_drawingHeight(drawingHeight), m_originX(originX),
          m_originY(originY) {}

    void loadName(GLuint) override {}
    void getIntegerv(GLenum pname, GLint* params) override {
        if (pname == GL_RENDER_MODE && params) *params = GLint(GL_RENDER);
    }
    void lineWidth(GLfloat width) override { m_lineWidth = width; }
    void color3f(GLfloat r, GLfloat g, GLfloat b) override;
    void begin(GLenum mode) override;
    void vertex2f(GLfloat x, GLfloat y) override;
    void end() override { m_inPrimitive = false; }
    void pointSize(GLfloat size) override { m_pointSize = size; }
    void enable(GLenum cap) override {
        if (cap == GL_POINT_SMOOTH) m_smooth = true;
    }
    void disable(GLenum cap) override {
        if (cap == GL_POINT_SMOOTH) m_smooth = false;
    }

  private:
    void line(double ax, double ay, double bx, double by);
    void point(double x, double y);
    void plot(int column, int row);
    // Pixel centre of a drawing position.
    double column(double x) const { return m_originX + x - 0.5; }
    double row(double y) const { return m_originY + (m_yUp ? m_drawingHeight - y - 0.5 : y - 0.5); }

    InProcessImage m_image;
    bool m_yUp;
    int m_drawingHeight, m_originX, m_originY;
    unsigned char m_rgb[3] = {255, 255, 255};
    float m_lineWidth = 1.0f, m_pointSize = 1.0f;
    bool m_smooth = false;
    GLenum m_mode = GL_POINTS;
    bool m_inPrimitive = false;
    bool m_havePending = false;
    double m_pendingX = 0, m_pendingY = 0;
};
