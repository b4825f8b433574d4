#pragma once
#include "Transform/Common/TX_Macros.h"
#include "effect/AddNoise.h"
#include "host/PluginHost_API.h"

#include "platform/Random.h"
#include <algorithm>

// Grain over the finished mirror image in the output raster. The seed is the product of
// "Random Seed" and the frame's time, wrapping: seed 0 or time 0 freezes the grain. "Post
// Softness" only softens grain, so it does nothing without "Fade Noise". 0, or the noise's
// failure.
template <class P, class C, class A, class V, class F>
int noiseStage(P p, C c, A a, V v, F f, PluginHost_API* host, PluginRasterInfo& output,
               PluginRaster_API* work, double fadeNoise, double postSoftness, int randomSeed) {
    double const m = double(std::min(work->getWidth(), work->getHeight()));
    double const scale = std::min(host->getScaleX(), host->getScaleY());
    double const softness = std::min(postSoftness, m) * scale;
    if (MACRO_NOT_NEARLY_EQUAL(fadeNoise, 0.0) == 0.0) return 0;
    platformSrand(unsigned(randomSeed) * unsigned(host->getCurrentTime()));
    return AddNoise_RGBA(p, c, a, v, f, host, output, float(fadeNoise), float(softness),
                         work->getPixelType());
}
