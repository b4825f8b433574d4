#pragma once
#include "platform/FxTypes.h"
#include "platform/NSObject.h"

class FxAPIManager;
class FxBitmap;

// What every effect answers to its host.
class FxBaseEffect {
  public:
    virtual ~FxBaseEffect() = default;
    virtual FxBaseEffect* initWithAPIManager(FxAPIManager* manager) = 0;
    virtual NSDictionary properties() = 0;
    virtual BOOL addParameters() = 0;
    virtual BOOL parameterChanged(unsigned long parmId) = 0;
    virtual BOOL variesOverTime() = 0;
};

// A filter: one input image a frame, one output image.
class FxFilter : public FxBaseEffect {
  public:
    virtual BOOL getOutputWidth_height_withInput_withInfo(unsigned* width, unsigned* height,
                                                          FxImageInfo inputInfo,
                                                          FxRenderInfo renderInfo) = 0;
    virtual BOOL frameSetup_inputInfo_hardware_software(FxRenderInfo renderInfo,
                                                        FxImageInfo inputInfo,
                                                        BOOL* canRenderHardware,
                                                        BOOL* canRenderSoftware) = 0;
    virtual BOOL renderOutput_withInput_withInfo(FxBitmap* output, FxBitmap* input,
                                                 FxRenderInfo renderInfo) = 0;
    virtual BOOL frameCleanup() = 0;
};

// How an on-screen control wants its positions. With kFxDrawingCoordinates_FRACTIONS mouse
// positions come as fractions of the frame, like point parameters, and drawing is done at the
// fraction times the width and height handed to the draw call.
enum FxDrawingCoordinates : unsigned {
    kFxDrawingCoordinates_FRACTIONS = 3,
};

// An on-screen control: drawn in the canvas, and hit-tested by drawing again in selection mode,
// where the name loaded for a shape comes back as the active part.
class FxOnScreenControl {
  public:
    virtual ~FxOnScreenControl() = default;
    virtual FxOnScreenControl* initWithAPIManager(FxAPIManager* manager) = 0;
    virtual unsigned drawingCoordinates() = 0;
    virtual void drawOSC_height_activePart_time(int width, int height, int activePart,
                                                double time) = 0;
    virtual void mouseDown_positionY_activePart_modifiers_forceUpdate_time(double x, double y,
                                                                           int activePart,
                                                                           unsigned long modifiers,
                                                                           BOOL* forceUpdate,
                                                                           double time) = 0;
    virtual void mouseDragged_positionY_activePart_modifiers_forceUpdate_time(
        double x, double y, int activePart, unsigned long modifiers, BOOL* forceUpdate,
        double time) = 0;
    virtual void mouseUp_positionY_activePart_modifiers_forceUpdate_time(double x, double y,
                                                                         int activePart,
                                                                         unsigned long modifiers,
                                                                         BOOL* forceUpdate,
                                                                         double time) = 0;
    virtual void keyDown_positionY_keyPressed_modifiers_forceUpdate_didHandle_time(
        double x, double y, unsigned short key, unsigned long modifiers, BOOL* forceUpdate,
        BOOL* didHandle, double time) = 0;
    virtual void keyUp_positionY_keyPressed_modifiers_forceUpdate_didHandle_time(
        double x, double y, unsigned short key, unsigned long modifiers, BOOL* forceUpdate,
        BOOL* didHandle, double time) = 0;
};

// What a host learns of a plug-in bundle: its names and how to make its objects. Each factory
// answers an uninitialised object, which the host then initialises with initWithAPIManager and
// owns (the protocols' destructors are virtual); the overlay factory may be null for a filter
// without on-screen controls.
struct FxPlugBundle {
    char const* identifier;
    char const* displayName;
    char const* filterClassName;
    char const* overlayClassName;
    FxFilter* (*allocFilter)();
    FxOnScreenControl* (*allocOverlay)();
};
