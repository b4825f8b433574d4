#pragma once
#include "platform/FxParameterAPI.h"

#include <array>
#include <map>
#include <string>
#include <vector>

// The host's side of the parameters: what the plug-in declares, with values and keyframes.
// Declaration fills it (the plug-in's ParamsSetup against the creation interface); reads and
// writes then go through the retrieval and setting interfaces, at a frame time.
class ParameterStore : public FxParameterCreationAPI,
                       public FxParameterRetrievalAPI,
                       public FxParameterSettingAPI,
                       public FxCustomParameterActionAPI {
  public:
    enum class Kind { Group, Popup, Toggle, Float, Int, Angle, Point, Color };
    using Value = std::array<double, 3>;

    struct Param {
        Kind kind = Kind::Float;
        std::string name;
        unsigned id = 0;
        FxParameterFlags flags = 0;
        Value defaultValue{};
        double min = 0, max = 0;             // hard limits (angles in radians)
        double sliderMin = 0, sliderMax = 0; // float and int sliders
        double delta = 0;
        std::vector<std::string> entries; // popups
        int groupIndex = -1;              // index in params() of the enclosing group
        std::map<double, Value> keys;     // by frame; empty means constant at `value`
        Value value{};
    };

    // Declared parameters in declaration order, groups included.
    std::vector<Param> const& params() const { return m_params; }
    Param const* find(unsigned id) const;
    Param* find(unsigned id);

    // The value at a frame: constant, or keys interpolated linearly (popups and toggles hold).
    Value valueAt(Param const& p, double frame) const;
    // NaN components replaced by the default's.
    static Value numbersOnly(Param const& p, Value v);
    // Sets the constant value, dropping keys. Limits are enforced by clamping.
    void setConstant(unsigned id, Value v);
    // Adds or replaces a key at a frame.
    void setKey(unsigned id, double frame, Value v);
    // Flag bits of a parameter or group as they stand now: greyed out in the inspector, and a
    // group shown closed. False for an unknown id.
    bool isDisabled(unsigned id) const { return hasFlag(id, kFxParameterFlag_DISABLED); }
    bool isClosed(unsigned id) const { return hasFlag(id, kFxParameterFlag_COLLAPSED); }
    bool hasFlag(unsigned id, FxParameterFlags bit) const;
    // The playhead time that FxCustomParameterActionAPI reports.
    void setCurrentTime(double frame) { m_currentTime = frame; }

    // Creation.
    BOOL
    addFloatSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        std::string const& name, unsigned parmId, double defaultValue, double parameterMin,
        double parameterMax, double sliderMin, double sliderMax, double delta,
        FxParameterFlags flags) override;
    BOOL
    addIntSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        std::string const& name, unsigned parmId, int defaultValue, int parameterMin,
        int parameterMax, int sliderMin, int sliderMax, int delta, FxParameterFlags flags) override;
    BOOL addAngleSliderWithName_parmId_defaultValue_parameterMin_parameterMax_parmFlags(
        std::string const& name, unsigned parmId, double defaultDegrees, double minDegrees,
        double maxDegrees, FxParameterFlags flags) override;
    BOOL addToggleButtonWithName_parmId_defaultValue_parmFlags(std::string const& name,
                                                               unsigned parmId, BOOL defaultValue,
                                                               FxParameterFlags flags) override;
    BOOL addPopupMenuWithName_parmId_defaultValue_menuEntries_parmFlags(
        std::string const& name, unsigned parmId, unsigned defaultValue,
        std::vector<std::string> const& entries, FxParameterFlags flags) override;
    BOOL addPointParameterWithName_parmId_defaultX_defaultY_parmFlags(
        std::string const& name, unsigned parmId, double defaultX, double defaultY,
        FxParameterFlags flags) override;
    BOOL addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
        std::string const& name, unsigned parmId, double red, double green, double blue,
        FxParameterFlags flags) override;
    BOOL startParameterSubGroup_parmId_parmFlags(std::string const& name, unsigned parmId,
                                                 FxParameterFlags flags) override;
    BOOL endParameterSubGroup() override;

    // Retrieval.
    BOOL getIntValue_fromParm_atTime(int* value, unsigned parmId, double time) override;
    BOOL getFloatValue_fromParm_atTime(double* value, unsigned parmId, double time) override;
    BOOL getBoolValue_fromParm_atTime(BOOL* value, unsigned parmId, double time) override;
    BOOL getXValue_YValue_fromParm_atTime(double* x, double* y, unsigned parmId,
                                          double time) override;
    BOOL getRedValue_GreenValue_BlueValue_fromParm_atTime(double* red, double* green, double* blue,
                                                          unsigned parmId, double time) override;
    BOOL getParameterFlags_fromParm(FxParameterFlags* flags, unsigned parmId) override;
    BOOL getBitmap_layerOffsetX_layerOffsetY_requestInfo_fromParm_atTime(
        FxBitmap** bitmap, double* offsetX, double* offsetY, FxRenderInfo info, unsigned parmId,
        double time) override;

    // Setting.
    BOOL setFloatValue_toParm_atTime(double value, unsigned parmId, double time) override;
    BOOL setIntValue_toParm_atTime(int value, unsigned parmId, double time) override;
    BOOL setBoolValue_toParm_atTime(BOOL value, unsigned parmId, double time) override;
    BOOL setXValue_YValue_toParm_atTime(double x, double y, unsigned parmId, double time) override;
    BOOL setRedValue_GreenValue_BlueValue_toParm_atTime(double red, double green, double blue,
                                                        unsigned parmId, double time) override;
    BOOL setParameterFlags_toParm(FxParameterFlags flags, unsigned parmId) override;

    // Action.
    void startAction(void*) override {}
    void endAction(void*) override {}
    double currentTime() override { return m_currentTime; }

  private:
    Param& declare(Kind kind, std::string const& name, unsigned id, FxParameterFlags flags);
    Value clampToLimits(Param const& p, Value v) const;
    // A write from the setting interface: at a time where keys exist it sets a key, otherwise
    // the constant value.
    BOOL write(unsigned id, double time, Value v);

    std::vector<Param> m_params;
    std::vector<int> m_openGroups;
    double m_currentTime = 0.0;
};
