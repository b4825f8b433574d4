#include "fxplug/HostIndex.h"
#include "fxplug/PluginHost_FXPLUG_Impl.h"
#include "host/Angles.h"
#include "platform/FxParameterAPI.h"

// Reads: the time object becomes a frame, and one call goes to the host. The host's answers are
// passed on, never tested.

int PluginHost_FXPLUG_Impl::GetFloatValue(int, int id, TimeObject const& t, double& value) {
    return m_retrieval->getFloatValue_fromParm_atTime(&value, unsigned(id), timeToFrame(t));
}

int PluginHost_FXPLUG_Impl::GetAngleValue(int, int id, TimeObject const& t, double& degrees) {
    // The host keeps angles in radians.
    int result = m_retrieval->getFloatValue_fromParm_atTime(&degrees, unsigned(id), timeToFrame(t));
    degrees *= kRadiansToDegrees;
    return result;
}

int PluginHost_FXPLUG_Impl::GetIntValue(int, int id, TimeObject const& t, int& value) {
    return m_retrieval->getIntValue_fromParm_atTime(&value, unsigned(id), timeToFrame(t));
}

int PluginHost_FXPLUG_Impl::GetUIntValue(int, int id, TimeObject const& t, unsigned int& value) {
    int read = int(value);
    int result = m_retrieval->getIntValue_fromParm_atTime(&read, unsigned(id), timeToFrame(t));
    value = unsigned(read);
    return result;
}

int PluginHost_FXPLUG_Impl::GetBoolValue(int, int id, TimeObject const& t, bool& value) {
    BOOL read = value ? YES : NO;
    int result = m_retrieval->getBoolValue_fromParm_atTime(&read, unsigned(id), timeToFrame(t));
    value = read == 1;
    return result;
}

int PluginHost_FXPLUG_Impl::GetPoint2DValue(int, int id, TimeObject const& t, double& x,
                                            double& y) {
    int result =
        m_retrieval->getXValue_YValue_fromParm_atTime(&x, &y, unsigned(id), timeToFrame(t));
    // Motion's y grows upwards, the core's downwards.
    if (hostIndex() == kHostMotion) y = 1.0 - y;
    return result;
}

int PluginHost_FXPLUG_Impl::GetColorValue(int, int id, TimeObject const& t, double& r, double& g,
                                          double& b) {
    return m_retrieval->getRedValue_GreenValue_BlueValue_fromParm_atTime(&r, &g, &b, unsigned(id),
                                                                         timeToFrame(t));
}

// Writes act at the playhead. Without the setting and action interfaces (as on a render) they do
// nothing.

void PluginHost_FXPLUG_Impl::SetFloatValue(int, int id, double& value) {
    if (!m_setting || !m_action) return;
    m_setting->setFloatValue_toParm_atTime(value, unsigned(id), m_action->currentTime());
}

void PluginHost_FXPLUG_Impl::SetPoint2DValue(int, int id, double x, double y) {
    if (!m_setting || !m_action) return;
    if (hostIndex() == kHostMotion) y = 1.0 - y;
    m_setting->setXValue_YValue_toParm_atTime(x, y, unsigned(id), m_action->currentTime());
}

void PluginHost_FXPLUG_Impl::SetAngleValue(int, int, double& value) {
    // The caller's value is converted in place. The message that goes with it names
    // setFloatValue:fromParm:atTime:, which the setting interface does not answer, so no value
    // reaches the host.
    value *= kDegreesToRadians;
}
