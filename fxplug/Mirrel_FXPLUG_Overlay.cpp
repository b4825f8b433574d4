#include "fxplug/Mirrel_FXPLUG_Overlay.h"

#include "params/ParamIds.h"
#include "platform/FxAPIManager.h"
#include "platform/GL.h"

int g_width = 0;
int g_height = 0;

namespace {

// The points the controls move, by index.
constexpr unsigned kPointIds[4] = {kBaselineStart, kBaselineEnd, kHeightSlant, kTranslate};

constexpr float kHandleHalf = 9.0f;    // handles pick in an 18-unit square
constexpr float kPickLineWidth = 4.0f; // lines pick 4 units wide

} // namespace

Mirrel_FXPLUG_Overlay* Mirrel_FXPLUG_Overlay::initWithAPIManager(FxAPIManager* manager) {
    _apiManager = manager;
    return this;
}

void Mirrel_FXPLUG_Overlay::drawOSC_height_activePart_time(int width, int height, int,
                                                           double time) {
    g_width = width;
    g_height = height;
    glLoadName(0);
    GLint mode = GL_RENDER;
    glGetIntegerv(GL_RENDER_MODE, &mode);
    bool selecting = mode == GLint(GL_SELECT);

    auto* action = _apiManager->apiForProtocol<FxCustomParameterActionAPI>();
    if (action) action->startAction(this);
    auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
    auto* osc = _apiManager->apiForProtocol<FxOnScreenControlAPI>();
    if (!retrieval || !osc) {
        if (action) action->endAction(this);
        glLoadName(0);
        return;
    }

    double x[4] = {0, 0, 0, 0}, y[4] = {0, 0, 0, 0};
    for (int i = 0; i < 4; ++i)
        retrieval->getXValue_YValue_fromParm_atTime(&x[i], &y[i], kPointIds[i], time);
    double red = 0, green = 0, blue = 0;
    retrieval->getRedValue_GreenValue_BlueValue_fromParm_atTime(&red, &green, &blue,
                                                                kWireframeColor, time);
    double midX = x[0] / 2.0 + x[1] / 2.0, midY = y[0] / 2.0 + y[1] / 2.0;

    float px[4], py[4];
    for (int i = 0; i < 4; ++i) px[i] = float(x[i] * width), py[i] = float(y[i] * height);
    float mx = float(midX * width), my = float(midY * height);

    if (selecting) {
        glLoadName(kPartBaseline);
        glLineWidth(kPickLineWidth);
    }
    glColor3f(float(red), float(green), float(blue));
    glBegin(GL_LINES);
    glVertex2f(px[0], py[0]);
    glVertex2f(px[1], py[1]);
    glEnd();
    if (selecting) glLoadName(kPartHeightLine);
    glBegin(GL_LINES);
    glVertex2f(px[2], py[2]);
    glVertex2f(mx, my);
    glEnd();

    glColor3f(1.0f, 1.0f, 0.0f);
    glPointSize(10.0f);
    glEnable(GL_POINT_SMOOTH);
    constexpr GLuint names[4] = {kPartBaselineStart, kPartBaselineEnd, kPartHeight, kPartTranslate};
    for (int i = 0; i < 4; ++i) {
        if (selecting) {
            glLoadName(names[i]);
            glBegin(GL_QUADS);
            glVertex2f(px[i] - kHandleHalf, py[i] - kHandleHalf);
            glVertex2f(px[i] - kHandleHalf, py[i] + kHandleHalf);
            glVertex2f(px[i] + kHandleHalf, py[i] + kHandleHalf);
            glVertex2f(px[i] + kHandleHalf, py[i] - kHandleHalf);
            glEnd();
        } else {
            glBegin(GL_POINTS);
            glVertex2f(px[i], py[i]);
            glEnd();
        }
    }
    glPointSize(1.0f);
    glDisable(GL_POINT_SMOOTH);
    if (action) action->endAction(this);
    if (selecting) {
        glLoadName(0);
        glLineWidth(1.0f);
    }
}

void Mirrel_FXPLUG_Overlay::mouseDown_positionY_activePart_modifiers_forceUpdate_time(
    double x, double y, int activePart, unsigned long, BOOL* forceUpdate, double time) {
    m_down[0] = x;
    m_down[1] = y;
    auto* action = _apiManager->apiForProtocol<FxCustomParameterActionAPI>();
    if (action) action->startAction(this);
    auto* osc = _apiManager->apiForProtocol<FxOnScreenControlAPI>();
    auto* retrieval = _apiManager->apiForProtocol<FxParameterRetrievalAPI>();
    if (!osc || !retrieval) {
        if (action) action->endAction(this);
        return;
    }
    for (int i = 0; i < 4; ++i)
        retrieval->getXValue_YValue_fromParm_atTime(&m_x[i], &m_y[i], kPointIds[i], time);
    m_hitShape = 1;
    // Lines and anything else move the whole floor: both baseline ends and the height point.
    m_picked[0] = m_picked[1] = m_picked[2] = true;
    m_picked[3] = false;
    switch (activePart) {
    case kPartTranslate:
        m_picked[0] = m_picked[1] = m_picked[2] = false;
        m_picked[3] = true;
        break;
    case kPartBaselineStart:
        m_picked[1] = m_picked[2] = false;
        break;
    case kPartBaselineEnd:
        m_picked[0] = m_picked[2] = false;
        break;
    case kPartHeight:
        m_picked[0] = m_picked[1] = false;
        break;
    default:
        break;
    }
    if (action) action->endAction(this);
    *forceUpdate = YES;
}

bool Mirrel_FXPLUG_Overlay::movePicked(double x, double y, BOOL* forceUpdate, double time) {
    auto* action = _apiManager->apiForProtocol<FxCustomParameterActionAPI>();
    if (action) action->startAction(this);
    auto* setting = _apiManager->apiForProtocol<FxParameterSettingAPI>();
    auto* osc = _apiManager->apiForProtocol<FxOnScreenControlAPI>();
    if (!setting || !osc) {
        if (action) action->endAction(this);
        return false;
    }
    // Always from the press, so that the points do not drift; nothing keeps them in the frame.
    double dx = x - m_down[0], dy = y - m_down[1];
    for (int i = 0; i < 4; ++i)
        if (m_picked[i])
            setting->setXValue_YValue_toParm_atTime(m_x[i] + dx, m_y[i] + dy, kPointIds[i], time);
    if (action) action->endAction(this);
    *forceUpdate = YES;
    return true;
}

void Mirrel_FXPLUG_Overlay::mouseDragged_positionY_activePart_modifiers_forceUpdate_time(
    double x, double y, int, unsigned long, BOOL* forceUpdate, double time) {
    if (m_hitShape == 0) return;
    movePicked(x, y, forceUpdate, time);
}

void Mirrel_FXPLUG_Overlay::mouseUp_positionY_activePart_modifiers_forceUpdate_time(
    double x, double y, int, unsigned long, BOOL* forceUpdate, double time) {
    if (m_hitShape == 0) return;
    if (movePicked(x, y, forceUpdate, time)) m_hitShape = 0;
}

void Mirrel_FXPLUG_Overlay::keyDown_positionY_keyPressed_modifiers_forceUpdate_didHandle_time(
    double, double, unsigned short, unsigned long, BOOL* forceUpdate, BOOL* didHandle, double) {
    *forceUpdate = NO;
    *didHandle = NO;
}

void Mirrel_FXPLUG_Overlay::keyUp_positionY_keyPressed_modifiers_forceUpdate_didHandle_time(
    double, double, unsigned short, unsigned long, BOOL* forceUpdate, BOOL* didHandle, double) {
    *forceUpdate = NO;
    *didHandle = NO;
}
