#pragma once
#include "platform/FxTypes.h"

#include <string>
#include <vector>

class FxBitmap;

// The host's parameter interfaces, one abstract class a protocol. Each member is the protocol's
// selector with its keywords joined by underscores.

class FxParameterCreationAPI {
  public:
    virtual ~FxParameterCreationAPI() = default;
    virtual BOOL
    addFloatSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        std::string const& name, unsigned parmId, double defaultValue, double parameterMin,
        double parameterMax, double sliderMin, double sliderMax, double delta,
        FxParameterFlags flags) = 0;
    virtual BOOL
    addIntSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        std::string const& name, unsigned parmId, int defaultValue, int parameterMin,
        int parameterMax, int sliderMin, int sliderMax, int delta, FxParameterFlags flags) = 0;
    // Angles are declared in degrees and read back in radians.
    virtual BOOL addAngleSliderWithName_parmId_defaultValue_parameterMin_parameterMax_parmFlags(
        std::string const& name, unsigned parmId, double defaultDegrees, double minDegrees,
        double maxDegrees, FxParameterFlags flags) = 0;
    virtual BOOL addToggleButtonWithName_parmId_defaultValue_parmFlags(std::string const& name,
                                                                       unsigned parmId,
                                                                       BOOL defaultValue,
                                                                       FxParameterFlags flags) = 0;
    virtual BOOL addPopupMenuWithName_parmId_defaultValue_menuEntries_parmFlags(
        std::string const& name, unsigned parmId, unsigned defaultValue,
        std::vector<std::string> const& entries, FxParameterFlags flags) = 0;
    virtual BOOL addPointParameterWithName_parmId_defaultX_defaultY_parmFlags(
        std::string const& name, unsigned parmId, double defaultX, double defaultY,
        FxParameterFlags flags) = 0;
    virtual BOOL addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
        std::string const& name, unsigned parmId, double red, double green, double blue,
        FxParameterFlags flags) = 0;
    virtual BOOL startParameterSubGroup_parmId_parmFlags(std::string const& name, unsigned parmId,
                                                         FxParameterFlags flags) = 0;
    virtual BOOL endParameterSubGroup() = 0;
};

class FxParameterRetrievalAPI {
  public:
    virtual ~FxParameterRetrievalAPI() = default;
    virtual BOOL getIntValue_fromParm_atTime(int* value, unsigned parmId, double time) = 0;
    virtual BOOL getFloatValue_fromParm_atTime(double* value, unsigned parmId, double time) = 0;
    virtual BOOL getBoolValue_fromParm_atTime(BOOL* value, unsigned parmId, double time) = 0;
    virtual BOOL getXValue_YValue_fromParm_atTime(double* x, double* y, unsigned parmId,
                                                  double time) = 0;
    virtual BOOL getRedValue_GreenValue_BlueValue_fromParm_atTime(double* red, double* green,
                                                                  double* blue, unsigned parmId,
                                                                  double time) = 0;
    virtual BOOL getParameterFlags_fromParm(FxParameterFlags* flags, unsigned parmId) = 0;
    virtual BOOL getBitmap_layerOffsetX_layerOffsetY_requestInfo_fromParm_atTime(
        FxBitmap** bitmap, double* offsetX, double* offsetY, FxRenderInfo info, unsigned parmId,
        double time) = 0;
};

class FxParameterSettingAPI {
  public:
    virtual ~FxParameterSettingAPI() = default;
    virtual BOOL setFloatValue_toParm_atTime(double value, unsigned parmId, double time) = 0;
    virtual BOOL setIntValue_toParm_atTime(int value, unsigned parmId, double time) = 0;
    virtual BOOL setBoolValue_toParm_atTime(BOOL value, unsigned parmId, double time) = 0;
    virtual BOOL setXValue_YValue_toParm_atTime(double x, double y, unsigned parmId,
                                                double time) = 0;
    virtual BOOL setRedValue_GreenValue_BlueValue_toParm_atTime(double red, double green,
                                                                double blue, unsigned parmId,
                                                                double time) = 0;
    virtual BOOL setParameterFlags_toParm(FxParameterFlags flags, unsigned parmId) = 0;
};

class FxCustomParameterActionAPI {
  public:
    virtual ~FxCustomParameterActionAPI() = default;
    virtual void startAction(void* sender) = 0;
    virtual void endAction(void* sender) = 0;
    virtual double currentTime() = 0;
};
