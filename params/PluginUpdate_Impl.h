#pragma once
#include "host/TX_Pixel.h"

class FxParameterRetrievalAPI;
class FxParameterSettingAPI;

// Reads and writes parameters at one moment, for the change rules of the inspector. Nothing is
// owned; it lives on the caller's stack for one change notification.
class PluginUpdate_Impl {
  public:
    PluginUpdate_Impl(FxParameterRetrievalAPI* retrieval, FxParameterSettingAPI* setting,
                      double time)
        : m_retrieval(retrieval), m_setting(setting), m_time(time) {}
    virtual ~PluginUpdate_Impl() = default;

    // Popup index. Always 0.
    virtual int SetMenuValue(int id, int value);
    // The first three bytes of the pixel, in memory order, as red, green and blue. Always 0.
    virtual int SetColorValue(int id, TX_Pixel const& color);

    int GetUIntValue(int id, unsigned int& value);
    // True only when the host's byte is exactly 1.
    int GetBoolValue(int id, bool& value);
    // Clears (enabled) or sets the disabled bit, keeping the other flags.
    int setEnableLayout(int id, bool enabled);

  private:
    FxParameterRetrievalAPI* m_retrieval;
    FxParameterSettingAPI* m_setting;
    double m_time;
};
