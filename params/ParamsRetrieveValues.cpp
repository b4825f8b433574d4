#include "host/Angles.h"
#include "host/PluginHost_API.h"
#include "params/ParamIds.h"
#include "params/RenderArguments.h"
#include "platform/FxParameterAPI.h"

namespace {

constexpr unsigned kMotion = 1;

struct Reader {
    FxParameterRetrievalAPI* api;
    double frame;
    bool flipY;

    void popup(int& out, unsigned id) { api->getIntValue_fromParm_atTime(&out, id, frame); }
    void number(double& out, unsigned id) { api->getFloatValue_fromParm_atTime(&out, id, frame); }
    // Motion's y grows upwards; the core's grows downwards.
    void point(double& x, double& y, unsigned id) {
        api->getXValue_YValue_fromParm_atTime(&x, &y, id, frame);
        if (flipY) y = 1.0 - y;
    }
    void color(double& r, double& g, double& b, unsigned id) {
        api->getRedValue_GreenValue_BlueValue_fromParm_atTime(&r, &g, &b, id, frame);
    }
};

} // namespace

int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* a) {
    PluginFXPLUGFace* face = host->getFXPLUGHost();
    if (!face) return 1;
    Reader r{face->retrievalAPI(), face->getFrame(), face->hostIndex() == kMotion};

    r.popup(a->light, kLight);
    r.point(a->baselineStartX, a->baselineStartY, kBaselineStart);
    r.point(a->baselineEndX, a->baselineEndY, kBaselineEnd);
    r.point(a->heightSlantX, a->heightSlantY, kHeightSlant);
    r.color(a->wireframeRed, a->wireframeGreen, a->wireframeBlue, kWireframeColor);
    BOOL bend = a->bend ? YES : NO;
    r.api->getBoolValue_fromParm_atTime(&bend, kBend, r.frame);
    a->bend = bend == 1;
    r.number(a->bendAngle, kBendAngle);
    a->bendAngle *= kRadiansToDegrees; // the host answers angles in radians
    r.number(a->bendStart, kBendStart);
    r.number(a->bendStretch, kBendStretch);
    r.popup(a->seamStyle, kSeamStyle);
    r.popup(a->seamSize, kSeamSize);
    r.number(a->seamIntensity, kSeamIntensity);
    r.color(a->seamRed, a->seamGreen, a->seamBlue, kSeamColor);
    r.number(a->softness, kSoftness);
    r.number(a->softnessAspect, kSoftnessAspect);
    r.popup(a->softnessType, kSoftnessType);
    r.number(a->fadeStart, kFadeStart);
    r.number(a->fadeLength, kFadeLength);
    r.popup(a->fadeType, kFadeType);
    r.popup(a->quality, kQuality);
    r.number(a->zoom, kZoom);
    r.point(a->translateX, a->translateY, kTranslate);
    r.popup(a->motionBlur, kMotionBlur);
    r.number(a->shutterAngle, kShutterAngle);
    r.number(a->shutterPhase, kShutterPhase);
    r.number(a->samples, kSamples);
    r.number(a->gamma, kGamma);
    r.number(a->brightness, kBrightness);
    r.popup(a->randomSeed, kRandomSeed);
    r.number(a->fadeNoise, kFadeNoise);
    r.number(a->postSoftness, kPostSoftness);
    r.number(a->sourceOpacity, kSourceOpacity);
    r.number(a->mirrorOpacity, kMirrelOpacity);
    r.popup(a->transferMode, kTransferMode);
    return 1;
}

int GetMBlurValue(PluginHost_API* host) {
    PluginFXPLUGFace* face = host->getFXPLUGHost();
    if (!face) return 1;
    int value = 1;
    face->retrievalAPI()->getIntValue_fromParm_atTime(&value, kMotionBlur, face->getFrame());
    return value;
}
