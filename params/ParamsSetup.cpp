#include "params/ParamsSetup.h"

#include "host/PluginHost_API.h"
#include "params/ParamIds.h"
#include "platform/FxParameterAPI.h"

namespace {

constexpr double kWireframeGrey = 128.0 / 255.0;

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

    c->startParameterSubGroup_parmId_parmFlags("3D Transform", kGroup3DTransform, 32);
    popup(c, "Light", kLight, 1, {"Frontlit", "Backlit"}, 33);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags("Baseline Start",
                                                                    kBaselineStart, 0.25, 0.75, 32);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags("Baseline End", kBaselineEnd,
                                                                    0.75, 0.75, 32);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags("Height and Slant",
                                                                    kHeightSlant, 0.5, 1.0, 32);
    c->addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
        "Wireframe Color", kWireframeColor, kWireframeGrey, kWireframeGrey, kWireframeGrey, 32);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Bend", kGroupBend, 32);
    c->addToggleButtonWithName_parmId_defaultValue_parmFlags("Bend", kBend, NO, 33);
    c->addAngleSliderWithName_parmId_defaultValue_parameterMin_parameterMax_parmFlags(
        "Bend Angle", kBendAngle, 45.0, 0.0, 100.0, 36);
    floatSlider(c, "Bend Start", kBendStart, 50.0, 0.0, 100.0, 0.0, 100.0, 1.0, 44);
    floatSlider(c, "Bend Stretch", kBendStretch, 1.0, 0.0, 20.0, 0.0, 5.0, 1.0, 44);
    popup(c, "Seam Style", kSeamStyle, 1, {"Constant", "Linear", "Square", "Inverse Square"}, 36);
    popup(c, "Seam Size", kSeamSize, 1, {"None", "Small", "Medium", "Large"}, 36);
    floatSlider(c, "Seam Intensity", kSeamIntensity, 50.0, -100.0, 100.0, -100.0, 100.0, 1.0, 44);
    c->addColorParameterWithName_parmId_defaultRed_defaultGreen_defaultBlue_parmFlags(
        "Seam Color", kSeamColor, 0.0, 0.0, 0.0, 36);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Mirrel Style", kGroupMirrelStyle, 32);
    floatSlider(c, "Softness", kSoftness, 0.0, 0.0, 1000.0, 0.0, 100.0, 1.0, 8);
    floatSlider(c, "Softness Aspect", kSoftnessAspect, 1.0, 0.0, 5.0, 0.0, 5.0, 0.5, 8);
    popup(c, "Softness Type", kSoftnessType, 2,
          {"Simple", "Mip Map", "Progressive Linear", "Progressive Square"}, 33);
    floatSlider(c, "Fade Start", kFadeStart, 0.0, 0.0, 100.0, 0.0, 100.0, 1.0, 40);
    floatSlider(c, "Fade Length", kFadeLength, 100.0, 0.0, 500.0, 0.0, 500.0, 1.0, 40);
    popup(c, "Fade Type", kFadeType, 0, {"Linear", "Square", "Inverse Square"}, 33);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("2D Transform", kGroup2DTransform, 32);
    popup(c, "Quality", kQuality, 2, {"Low", "Medium", "High"}, 33);
    floatSlider(c, "Zoom", kZoom, 1.0, -1000.0, 1000.0, -5.0, 5.0, 0.5, 40);
    c->addPointParameterWithName_parmId_defaultX_defaultY_parmFlags("Translate", kTranslate, 0.5,
                                                                    0.5, 32);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Motion Blur", kGroupMotionBlur, 40);
    popup(c, "Motion Blur", kMotionBlur, 0, {"Off", "On"}, 33);
    floatSlider(c, "Shutter Angle", kShutterAngle, 360.0, 0.0, 720.0, 0.0, 360.0, 1.0, 45);
    floatSlider(c, "Shutter Phase", kShutterPhase, 0.0, -360.0, 360.0, -360.0, 360.0, 1.0, 45);
    floatSlider(c, "Samples", kSamples, 8.0, 1.0, 64.0, 1.0, 32.0, 1.0, 40);
    c->endParameterSubGroup();

    c->startParameterSubGroup_parmId_parmFlags("Blend", kGroupBlend, 32);
    floatSlider(c, "Gamma", kGamma, 1.0, 0.1, 10.0, 0.1, 10.0, 1.0, 8);
    floatSlider(c, "Brightness", kBrightness, 1.0, 0.0, 10.0, 0.0, 5.0, 1.0, 8);
    c->addIntSliderWithName_parmId_defaultValue_parameterMin_parameterMax_sliderMin_sliderMax_delta_parmFlags(
        "Random Seed", kRandomSeed, 0, 0, 65535, 0, 65535, 0, 41);
    floatSlider(c, "Fade Noise", kFadeNoise, 0.0, 0.0, 100.0, 0.0, 100.0, 1.0, 40);
    floatSlider(c, "Post Softness", kPostSoftness, 1.0, 0.0, 10.0, 0.0, 10.0, 0.5, 8);
    floatSlider(c, "Source Opacity", kSourceOpacity, 100.0, 0.0, 100.0, 0.0, 100.0, 1.0, 8);
    floatSlider(c, "Mirrel Opacity", kMirrelOpacity, 100.0, 0.0, 100.0, 0.0, 100.0, 1.0, 8);
    popup(c, "Transfer Mode", kTransferMode, 1,
          {"None",   "Based on Light", "Behind",     "Normal",     "Add",         "Multiply",
           "Screen", "Overlay",        "Soft Light", "Hard Light", "Color Dodge", "Color Burn",
           "Darken", "Lighten",        "Difference", "Exclusion",  "Hue",         "Saturation",
           "Color",  "Luminosity"},
          0);
    c->endParameterSubGroup();
    return 1;
}
