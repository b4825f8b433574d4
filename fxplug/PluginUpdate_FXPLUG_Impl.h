#pragma once
#include "host/PluginUpdate_API.h"

class FxParameterRetrievalAPI;
class FxParameterSettingAPI;
class PluginHost_FXPLUG_Impl;

// The update interface of this family, acting at the frame of the host object it was made from.
// makeUpdateApi does not hand one out; it completes the interface for other callers.
class PluginUpdate_FXPLUG_Impl : public PluginUpdate_API {
  public:
    explicit PluginUpdate_FXPLUG_Impl(PluginHost_FXPLUG_Impl* host);

    bool isValid() override { return true; }
    int setFloatValue(int index, int id, double value) override;
    int setAngleValue(int index, int id, double degrees) override;
    int setIntValue(int index, int id, int value) override;
    int setBoolValue(int index, int id, bool value) override;
    int setEnumValue(int index, int id, unsigned int value) override;
    int setPoint2DValue(int index, int id, double x, double y) override;
    int setColorValue(int index, int id, double r, double g, double b) override;
    int setEnable(int index, int id, bool enable) override;
    int setGroupOpen(int index, int id, bool open) override;
    // This family cannot rename a parameter.
    int setParamName(int, int, char const*) override { return 0; }

  private:
    int setFlag(int id, unsigned bit, bool clear);

    PluginHost_FXPLUG_Impl* m_host;
    FxParameterRetrievalAPI* m_retrieval;
    FxParameterSettingAPI* m_setting;
    double m_frame;
};
