#include "params/PluginUpdate_Impl.h"

#include "platform/FxParameterAPI.h"

int PluginUpdate_Impl::SetMenuValue(int id, int value) {
    m_setting->setIntValue_toParm_atTime(value, unsigned(id), m_time);
    return 0;
}

int PluginUpdate_Impl::SetColorValue(int id, TX_Pixel const& color) {
    m_setting->setRedValue_GreenValue_BlueValue_toParm_atTime(
        color.c[0] / 255.0, color.c[1] / 255.0, color.c[2] / 255.0, unsigned(id), m_time);
    return 0;
}

int PluginUpdate_Impl::GetUIntValue(int id, unsigned int& value) {
    int read = int(value);
    m_retrieval->getIntValue_fromParm_atTime(&read, unsigned(id), m_time);
    value = unsigned(read);
    return 0;
}

int PluginUpdate_Impl::GetBoolValue(int id, bool& value) {
    BOOL read = value ? YES : NO;
    m_retrieval->getBoolValue_fromParm_atTime(&read, unsigned(id), m_time);
    value = read == 1;
    return 0;
}

int PluginUpdate_Impl::setEnableLayout(int id, bool enabled) {
    // A failed read still writes: the flags are built from what the variable held.
    FxParameterFlags flags = 0;
    m_retrieval->getParameterFlags_fromParm(&flags, unsigned(id));
    flags = enabled ? flags & ~kFxParameterFlag_DISABLED : flags | kFxParameterFlag_DISABLED;
    m_setting->setParameterFlags_toParm(flags, unsigned(id));
    return 0;
}
