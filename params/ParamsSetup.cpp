#include "params/ParamsSetup.h"

#include "host/PluginHost_API.h"
#include "params/ParamIds.h"
#include "platform/FxParameterAPI.h"

namespace {

constexpr double kWireframeGrey = 128.0 / 255.0;

// The host's flag bits as the catalogue passes them. Only kOff (greyed out) and kClosed on a group
// (starts closed) mean anything here; the others, and kClosed on a parameter, go to the host as
// they stand.
constexpr unsigned kNoKeys = kFxParameterFlag_NOT_ANIMATABLE;
constexpr unsigned kOff = kFxParameterFlag_DISABLED;
constexpr unsigned kClosed = kFxParameterFlag_COLLAPSED;
constexpr unsigned kDontSave = kFxParameterFlag_DONT_SAVE;

void floatSlider(FxParameterCreationAPI* c, char const* name, unsigned id, double def, double min,
                 double max, double smin, double smax, double delta, unsigned flags) {
    c->addFloatSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        name, id, def, min, max, smin, smax, delta, flags);
}

void popup(FxParameterCreationAPI* c, char const* name, unsigned id, unsigned def,
           std::vector<std::string> const& entries, unsigned flags) {
    c->addPopupMenuWithName_parmId_defaultValue_menuEntries_parmFlags(name, id, def, entries,
                                                                      flags);
}

} // namespace

int ParamsSetup(PluginHost_API* host) {
    PluginFXPLUGFace* face = host->getFXPLUGHost();
    if (!face) return 1;
    FxParameterCreationAPI* c = face->creationAPI();
    if (!c) return 1;

    c->startParameterSubGroup_parmId_parmFlags("3D Transform", kGroup3DTransform, kDontSave);
    popup(c, "Light", kLight, 1, {"Frontlit", "Backlit"}, kDontSave | kNoKeys);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags(
        "Baseline Start", kBaselineStart, 0.25, 0.75, kDontSave);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags("Baseline End", kBaselineEnd,
                                                                    0.75, 0.75, kDontSave);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags(
        "Height and Slant", kHeightSlant, 0.5, 1.0, kDontSave);
    c->addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
        "Wireframe Color", kWireframeColor, kWireframeGrey, kWireframeGrey, kWireframeGrey,
        kDontSave);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Bend", kGroupBend, kDontSave);
    c->addToggleButtonWithName_parmId_defaultValue_parmFlags("Bend", kBend, NO,
                                                             kDontSave | kNoKeys);
    c->addAngleSliderWithName_parmId_defaultValue_parameterMin_parameterMax_parmFlags(
        "Bend Angle", kBendAngle, 45.0, 0.0, 100.0, kDontSave | kOff);
    floatSlider(c, "Bend Start", kBendStart, 50.0, 0.0, 100.0, 0.0, 100.0, 1.0,
                kDontSave | kClosed | kOff);
    floatSlider(c, "Bend Stretch", kBendStretch, 1.0, 0.0, 20.0, 0.0, 5.0, 1.0,
                kDontSave | kClosed | kOff);
    popup(c, "Seam Style", kSeamStyle, 1, {"Constant", "Linear", "Square", "Inverse Square"},
          kDontSave | kOff);
    popup(c, "Seam Size", kSeamSize, 1, {"None", "Small", "Medium", "Large"}, kDontSave | kOff);
    floatSlider(c, "Seam Intensity", kSeamIntensity, 50.0, -100.0, 100.0, -100.0, 100.0, 1.0,
                kDontSave | kClosed | kOff);
    c->addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
        "Seam Color", kSeamColor, 0.0, 0.0, 0.0, kDontSave | kOff);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Mirrel Style", kGroupMirrelStyle, kDontSave);
    floatSlider(c, "Softness", kSoftness, 0.0, 0.0, 1000.0, 0.0, 100.0, 1.0, kClosed);
    floatSlider(c, "Softness Aspect", kSoftnessAspect, 1.0, 0.0, 5.0, 0.0, 5.0, 0.5, kClosed);
    popup(c, "Softness Type", kSoftnessType, 2,
          {"Simple", "Mip Map", "Progressive Linear", "Progressive Square"}, kDontSave | kNoKeys);
    floatSlider(c, "Fade Start", kFadeStart, 0.0, 0.0, 100.0, 0.0, 100.0, 1.0, kDontSave | kClosed);
    floatSlider(c, "Fade Length", kFadeLength, 100.0, 0.0, 500.0, 0.0, 500.0, 1.0,
                kDontSave | kClosed);
    popup(c, "Fade Type", kFadeType, 0, {"Linear", "Square", "Inverse Square"},
          kDontSave | kNoKeys);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("2D Transform", kGroup2DTransform, kDontSave);
    popup(c, "Quality", kQuality, 2, {"Low", "Medium", "High"}, kDontSave | kNoKeys);
    floatSlider(c, "Zoom", kZoom, 1.0, -1000.0, 1000.0, -5.0, 5.0, 0.5, kDontSave | kClosed);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags("Translate", kTranslate, 0.5,
                                                                    0.5, kDontSave);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Motion Blur", kGroupMotionBlur,
                                               kDontSave | kClosed);
    popup(c, "Motion Blur", kMotionBlur, 0, {"Off", "On"}, kDontSave | kNoKeys);
    floatSlider(c, "Shutter Angle", kShutterAngle, 360.0, 0.0, 720.0, 0.0, 360.0, 1.0,
                kDontSave | kClosed | kOff | kNoKeys);
    floatSlider(c, "Shutter Phase", kShutterPhase, 0.0, -360.0, 360.0, -360.0, 360.0, 1.0,
                kDontSave | kClosed | kOff | kNoKeys);
    floatSlider(c, "Samples", kSamples, 8.0, 1.0, 64.0, 1.0, 32.0, 1.0, kDontSave | kClosed);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Blend", kGroupBlend, kDontSave);
    floatSlider(c, "Gamma", kGamma, 1.0, 0.1, 10.0, 0.1, 10.0, 1.0, kClosed);
    floatSlider(c, "Brightness", kBrightness, 1.0, 0.0, 10.0, 0.0, 5.0, 1.0, kClosed);
    c->addIntSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        "Random Seed", kRandomSeed, 0, 0, 65535, 0, 65535, 0, kDontSave | kClosed | kNoKeys);
    floatSlider(c, "Fade Noise", kFadeNoise, 0.0, 0.0, 100.0, 0.0, 100.0, 1.0, kDontSave | kClosed);
    floatSlider(c, "Post Softness", kPostSoftness, 1.0, 0.0, 10.0, 0.0, 10.0, 0.5, kClosed);
    floatSlider(c, "Source Opacity", kSourceOpacity, 100.0, 0.0, 100.0, 0.0, 100.0, 1.0, kClosed);
    floatSlider(c, "Mirrel Opacity", kMirrelOpacity, 100.0, 0.0, 100.0, 0.0, 100.0, 1.0, kClosed);
    popup(c, "Transfer Mode", kTransferMode, 1,
          {"None",   "Based on Light", "Behind",     "Normal",     "Add",         "Multiply",
           "Screen", "Overlay",        "Soft Light", "Hard Light", "Color Dodge", "Color Burn",
           "Darken", "Lighten",        "Difference", "Exclusion",  "Hue",         "Saturation",
           "Color",  "Luminosity"},
          kFxParameterFlag_DEFAULT);
    c->endParameterSubGroup();
    return 1;
}
