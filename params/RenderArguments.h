#pragma once

class PluginHost_API;

// One frame's parameter values, in the host's units: y of points top-down, the bend angle in
// degrees, everything else as declared.
struct RenderArguments {
    int light = 0;
    double baselineStartX = 0, baselineStartY = 0;
    double baselineEndX = 0, baselineEndY = 0;
    double heightSlantX = 0, heightSlantY = 0;
    double wireframeRed = 0, wireframeGreen = 0, wireframeBlue = 0;
    bool bend = false;
    double bendAngle = 0;
    double bendStart = 0;
    double bendStretch = 0;
    int seamStyle = 0;
    int seamSize = 0;
    double seamIntensity = 0;
    double seamRed = 0, seamGreen = 0, seamBlue = 0;
    double softness = 0;
    double softnessAspect = 0;
    int softnessType = 0;
    double fadeStart = 0;
    double fadeLength = 0;
    int fadeType = 0;
    int quality = 0;
    double zoom = 0;
    double translateX = 0, translateY = 0;
    int motionBlur = 0;
    double shutterAngle = 0;
    double shutterPhase = 0;
    double samples = 0;
    double gamma = 0;
    double brightness = 0;
    int randomSeed = 0;
    double fadeNoise = 0;
    double postSoftness = 0;
    double sourceOpacity = 0;
    double mirrorOpacity = 0;
    int transferMode = 0;
};

// Fills the record at the frame being rendered. Always 1; without an FxPlug face the record
// is left as it was.
int ParamsRetrieveValues(PluginHost_API* host, RenderArguments* args);

// "Motion Blur" at the frame time; 1 without an FxPlug face.
int GetMBlurValue(PluginHost_API* host);
