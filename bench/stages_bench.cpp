#include "effect/Render.h"
#include "params/ParamIds.h"
#include "support/MemoryHost.h"

#include <benchmark/benchmark.h>

#include <functional>

namespace {

// One whole 1920x1080 8-bit frame through the effect, with some parameters changed from the
// catalogue's defaults. Compare each figure with FullFrame/Default of the same run.
void frame(benchmark::State& state, std::function<void(ParameterStore&)> const& setup) {
    MemoryImage input(RF_ARGB8, 1920, 1080), output(RF_ARGB8, 1920, 1080);
    input.fillBytes(3);
    MemoryHost host(&input, &output);
    host.frame = 12;
    setup(host.params);
    for (auto _ : state) {
        int status = Render(&host);
        benchmark::DoNotOptimize(status);
        benchmark::ClobberMemory();
    }
}

void softness(ParameterStore& p, int type) {
    p.setConstant(kSoftness, {20.0});
    p.setConstant(kSoftnessType, {double(type)});
}

BENCHMARK_CAPTURE(frame, Default, [](ParameterStore&) {})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(frame, SoftnessSimple, [](ParameterStore& p) {
    softness(p, 0);
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(frame, SoftnessMipMap, [](ParameterStore& p) {
    softness(p, 1);
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(frame, SoftnessProgressiveLinear, [](ParameterStore& p) {
    softness(p, 2);
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(frame, SoftnessProgressiveSquare, [](ParameterStore& p) {
    softness(p, 3);
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(frame, FadeNoise, [](ParameterStore& p) {
    p.setConstant(kFadeNoise, {20.0});
    p.setConstant(kPostSoftness, {2.0});
    p.setConstant(kRandomSeed, {5.0});
})->Unit(benchmark::kMillisecond);

} // namespace
