#pragma once

// What a blur call is asked to do: the four entries of "Softness Type", and the blurs the effect
// asks for by themselves (uniform over a whole picture, or one-directional with a radius running
// from one end to the other).
enum SoftnessMode : int {
    kSoftnessSimple = 0,
    kSoftnessMipMap = 1,
    kSoftnessProgressiveLinear = 2,
    kSoftnessProgressiveSquare = 3,
    kSoftnessProgressiveInverseSquare = 4, // the tent passes know it; no stage asks for it
    kSoftnessUniform = -1,                 // every channel, no fade
    kSoftnessUniformAlpha = -2,            // the alpha of a four-channel picture, no fade
    kSoftnessColumnRamp = -10,             // columns only, radius from the left edge to the right
    kSoftnessRowRamp = -11,                // rows only, radius from the top to the bottom
};

// How the fade falls with distance: the entries of "Fade Type".
enum FadeType : int { kFadeLinear = 0, kFadeSquare = 1, kFadeInverseSquare = 2 };
