#include "effect/Render.h"
#include "params/ParamIds.h"
#include "support/MemoryHost.h"

#include <benchmark/benchmark.h>

namespace {

// One whole 1920 x 1080 frame through the in-memory host.
void frame(benchmark::State& state, PluginRasterFormat format, bool bend, bool motionBlur) {
    MemoryImage input(format, 1920, 1080), output(format, 1920, 1080);
    input.fillBytes(11);
    // Keep float pixels finite and in range: noise bytes make arbitrary floats.
    if (input.info.pixelBytes == 16)
        for (int y = 0; y < 1080; ++y)
            for (int x = 0; x < 1920 * 4; ++x)
                input.pixel<float>(0, y)[x] = float((x * 7 + y * 3) % 256) / 255.0f;
    MemoryHost host(&input, &output);
    if (bend) host.params.setConstant(kBend, {1.0});
    if (motionBlur) {
        host.params.setConstant(kMotionBlur, {1.0});
        host.params.setConstant(kSamples, {8.0});
    }
    for (auto _ : state) benchmark::DoNotOptimize(Render(&host));
}

void registerAll() {
    struct {
        char const* name;
        PluginRasterFormat format;
    } const formats[] = {{"RGBA8", RF_RGBA8},   {"ARGB8", RF_ARGB8},   {"RGBA16", RF_RGBA16},
                         {"ARGB16", RF_ARGB16}, {"RGBA32", RF_RGBA32}, {"ARGB32", RF_ARGB32}};
    for (auto const& f : formats) {
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/default").c_str(), frame,
                                     f.format, false, false)
            ->Unit(benchmark::kMillisecond);
    }
    for (auto const& f : {formats[0], formats[4]}) {
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/bend").c_str(), frame,
                                     f.format, true, false)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/motionblur8").c_str(),
                                     frame, f.format, false, true)
            ->Unit(benchmark::kMillisecond);
    }
}

int const registered = (registerAll(), 0);

} // namespace
