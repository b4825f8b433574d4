#pragma once
#include "RenderLib/SoftnessMode.h"
#include "host/RasterInfo.h"

// What one motion-blur sample hands to the mirror render besides the pictures and the quads:
// the values of the flat-image stages and of the bend, at the sample's time. The defaults draw
// a plain mirror image: no softness, no tone, no bend.
struct SampleSettings {
    double softness = 0.0; // already scaled for the proxy resolution
    double softnessAspect = 0.0;
    // "Softness Type", or kSoftnessUniform once "Simple" has blurred a sample whole.
    int softnessMode = kSoftnessSimple;
    double fadeStart = 0.0, fadeLength = 0.0; // percent
    int fadeType = 0;
    double gamma = 1.0, brightness = 1.0;
    bool bend = false;
    double bendAngle = 0.0;   // degrees
    double bendStart = 0.0;   // percent
    double bendStretch = 0.0; // factor
    int seamStyle = 0, seamSize = 0;
    double seamIntensity = 0.0;        // percent
    double const* seamColor = nullptr; // red, green, blue, 0 to 1
    bool singleChannel = false;        // handed to both transforms
    // The destination arrives uncleared and is to be left defined on every way out: cleared
    // where the unbent drawing does not draw, and wholly when a failure comes before it.
    bool clearDestination = false;
    // With a bend, where the merged picture goes instead of back into the destination, which then
    // keeps the unbent one; `merged` is set once it has gone there.
    PluginRasterInfo const* mergeInto = nullptr;
    bool* merged = nullptr;
};
