#include "host/Angles.h"
#include "host/PluginHost_API.h"
#include "params/Catalogue.h"
#include "params/RenderArguments.h"
#include "platform/FxParameterAPI.h"

namespace {

constexpr unsigned kMotion = 1;

// One read at the frame's time into the row's fields; a failed read leaves them as they were.
void retrieve(FxParameterRetrievalAPI* api, double frame, bool flipY, ParamRecord const& r,
              RenderArguments& a) {
    using K = ParamRecord::Kind;
    switch (r.kind) {
    case K::Group:
        break;
    case K::Popup:
    case K::Int:
        api->getIntValue_fromParm_atTime(&(a.*r.whole), r.id, frame);
        break;
    case K::Toggle: {
        BOOL on = a.*r.toggle ? YES : NO;
        api->getBoolValue_fromParm_atTime(&on, r.id, frame);
        a.*r.toggle = on == 1;
        break;
    }
    case K::Float:
        api->getFloatValue_fromParm_atTime(&(a.*r.number[0]), r.id, frame);
        break;
    case K::Angle:
        api->getFloatValue_fromParm_atTime(&(a.*r.number[0]), r.id, frame);
        a.*r.number[0] *= kRadiansToDegrees; // the host answers angles in radians
        break;
    case K::Point: {
        double& y = a.*r.number[1];
        api->getXValue_YValue_fromParm_atTime(&(a.*r.number[0]), &y, r.id, frame);
        if (flipY) y = 1.0 - y; // Motion's y grows upwards; the core's grows downwards
        break;
    }
    case K::Color:
        api->getRedValue_GreenValue_BlueValue_fromParm_atTime(&(a.*r.number[0]), &(a.*r.number[1]),
                                                              &(a.*r.number[2]), r.id, frame);
        break;
    }
}

} // namespace

int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* args) {
    PluginFXPLUGFace* face = host->getFXPLUGHost();
    if (!face) return 1;
    FxParameterRetrievalAPI* api = face->retrievalAPI();
    double const frame = face->getFrame();
    bool const flipY = face->hostIndex() == kMotion;
    for (ParamRecord const& row : kCatalogue) retrieve(api, frame, flipY, row, *args);
    return 1;
}

int GetMBlurValue(PluginHost_API* host) {
    PluginFXPLUGFace* face = host->getFXPLUGHost();
    if (!face) return 1;
    int value = 1;
    face->retrievalAPI()->getIntValue_fromParm_atTime(&value, kMotionBlur, face->getFrame());
    return value;
}
