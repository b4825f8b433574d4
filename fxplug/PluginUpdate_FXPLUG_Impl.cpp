#include "fxplug/PluginUpdate_FXPLUG_Impl.h"

#include "fxplug/HostIndex.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "host/Angles.h"
#include "platform/FxParameterAPI.h"

namespace {}

PluginUpdate_FXPLUG_Impl::PluginUpdate_FXPLUG_Impl(PluginHost_FXPLUG_Impl* host)
    : m_host(host), m_retrieval(host->retrievalAPI()), m_setting(host->settingAPI()),
      m_frame(host->getFrame()) {}

int PluginUpdate_FXPLUG_Impl::setFloatValue(int, int id, double value) {
    return m_setting->setFloatValue_toParm_atTime(value, unsigned(id), m_frame);
}

int PluginUpdate_FXPLUG_Impl::setAngleValue(int, int id, double degrees) {
    return m_setting->setFloatValue_toParm_atTime(degrees * kDegreesToRadians, unsigned(id),
                                                  m_frame);
}

int PluginUpdate_FXPLUG_Impl::setIntValue(int, int id, int value) {
    return m_setting->setIntValue_toParm_atTime(value, unsigned(id), m_frame);
}

int PluginUpdate_FXPLUG_Impl::setBoolValue(int, int id, bool value) {
    return m_setting->setBoolValue_toParm_atTime(value ? 1 : 0, unsigned(id), m_frame);
}

int PluginUpdate_FXPLUG_Impl::setEnumValue(int, int id, unsigned int value) {
    return m_setting->setIntValue_toParm_atTime(int(value), unsigned(id), m_frame);
}

int PluginUpdate_FXPLUG_Impl::setPoint2DValue(int, int id, double x, double y) {
    if (m_host->hostIndex() == kHostMotion) y = 1.0 - y;
    return m_setting->setXValue_YValue_toParm_atTime(x, y, unsigned(id), m_frame);
}

int PluginUpdate_FXPLUG_Impl::setColorValue(int, int id, double r, double g, double b) {
    return m_setting->setRedValue_GreenValue_BlueValue_toParm_atTime(r, g, b, unsigned(id),
                                                                     m_frame);
}

int PluginUpdate_FXPLUG_Impl::setFlag(int id, unsigned bit, bool clear) {
    FxParameterFlags flags = 0;
    m_retrieval->getParameterFlags_fromParm(&flags, unsigned(id));
    flags = clear ? flags & ~bit : flags | bit;
    m_setting->setParameterFlags_toParm(flags, unsigned(id));
    return 0;
}

int PluginUpdate_FXPLUG_Impl::setEnable(int, int id, bool enable) {
    return setFlag(id, kFxParameterFlag_DISABLED, enable);
}

int PluginUpdate_FXPLUG_Impl::setGroupOpen(int, int id, bool open) {
    return setFlag(id, kFxParameterFlag_COLLAPSED, open);
}
