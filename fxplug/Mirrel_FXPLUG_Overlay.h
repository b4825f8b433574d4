#pragma once
#include "platform/FxPlugProtocols.h"

// The on-screen controls: the baseline, the line from its middle to the height point, and round
// handles on the baseline's ends, the height point and the translate point. Drags write the
// point parameters straight to the host, in the host's own y direction.
class Mirrel_FXPLUG_Overlay : public NSObject, public FxOnScreenControl {
  public:
    // Active parts: the names the shapes carry in selection mode.
    enum Part {
        kPartNone = 0,
        kPartBaseline = 1,
        kPartBaselineStart = 2,
        kPartBaselineEnd = 4,
        kPartHeight = 8,
        kPartHeightLine = 16,
        kPartTranslate = 32,
    };

    Mirrel_FXPLUG_Overlay* initWithAPIManager(FxAPIManager* manager) override;
    unsigned drawingCoordinates() override { return kFxDrawingCoordinates_FRACTIONS; }
    void drawOSC_height_activePart_time(int width, int height, int activePart,
                                        double time) override;
    void mouseDown_positionY_activePart_modifiers_forceUpdate_time(double x, double y,
                                                                   int activePart,
                                                                   unsigned long modifiers,
                                                                   BOOL* forceUpdate,
                                                                   double time) override;
    void mouseDragged_positionY_activePart_modifiers_forceUpdate_time(double x, double y,
                                                                      int activePart,
                                                                      unsigned long modifiers,
                                                                      BOOL* forceUpdate,
                                                                      double time) override;
    void mouseUp_positionY_activePart_modifiers_forceUpdate_time(double x, double y, int activePart,
                                                                 unsigned long modifiers,
                                                                 BOOL* forceUpdate,
                                                                 double time) override;
    void keyDown_positionY_keyPressed_modifiers_forceUpdate_didHandle_time(
        double x, double y, unsigned short key, unsigned long modifiers, BOOL* forceUpdate,
        BOOL* didHandle, double time) override;
    void keyUp_positionY_keyPressed_modifiers_forceUpdate_didHandle_time(
        double x, double y, unsigned short key, unsigned long modifiers, BOOL* forceUpdate,
        BOOL* didHandle, double time) override;

  private:
    // Writes the picked points at their drag-start values plus the offset from the press.
    bool movePicked(double x, double y, BOOL* forceUpdate, double time);

    FxAPIManager* _apiManager = nullptr;
    char m_hitShape = 0;
    double m_x[4] = {0, 0, 0, 0};
    double m_y[4] = {0, 0, 0, 0};
    double m_down[2] = {0, 0};
    bool m_picked[4] = {false, false, false, false};
};

// Size of the canvas at the last drawing.
extern int g_width;
extern int g_height;
