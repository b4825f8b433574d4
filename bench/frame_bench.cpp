#include "fxplug/MirrelBundle.h"
#include "params/ParamIds.h"
#include "support/HostPicture.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

// One whole 1920 x 1080 frame as the command and the frei0r plug-in render it: the binding over
// the in-process host, which keeps its scratch memory between frames. Memcpy/<format> copies the
// same frame once, the floor to compare each format's frame with in the same run.

constexpr int kW = 1920, kH = 1080;

void fillPicture(HostPicture& p) {
    int const w = p.image.width, h = p.image.height;
    for (int y = 0; y < h; ++y) {
        unsigned char* row = p.row(y);
        for (int i = 0; i < w * 4; ++i) {
            double const v = double((i * 7 + y * 3) % 256) / 255.0;
            if (p.image.depth == 8)
                row[i] = (unsigned char)(v * 255.0);
            else if (p.image.depth == 16)
                reinterpret_cast<unsigned short*>(row)[i] = (unsigned short)(v * 65535.0);
            else
                reinterpret_cast<float*>(row)[i] = float(v);
        }
    }
}

// The looks people use, as values an inspector sets.
struct Look {
    char const* name;
    std::vector<std::pair<ParamId, ParameterStore::Value>> values;
};
std::vector<Look> const& looks() {
    static std::vector<Look> const all = {
        {"default", {}},
        {"soft-linear", {{kSoftness, {20.0}}, {kSoftnessType, {2.0}}}},
        {"soft-simple", {{kSoftness, {20.0}}, {kSoftnessType, {0.0}}}},
        {"soft-mipmap", {{kSoftness, {20.0}}, {kSoftnessType, {1.0}}}},
        {"bend-seam", {{kBend, {1.0}}, {kSeamSize, {2.0}}}},
        {"motionblur8", {{kMotionBlur, {1.0}}, {kSamples, {8.0}}}},
        {"noise-postsoft", {{kFadeNoise, {20.0}}, {kPostSoftness, {2.0}}}},
        {"product",
         {{kSoftness, {15.0}},
          {kFadeLength, {60.0}},
          {kMirrelOpacity, {60.0}},
          {kBend, {1.0}},
          {kBendAngle, {20.0}}}},
    };
    return all;
}

void frame(benchmark::State& state, unsigned depth, unsigned format, Look const* look, int w,
           int h) {
    HostPicture input(w, h, depth, format), output(w, h, depth, format);
    fillPicture(input);
    InProcessHost host(InProcessFamily::FinalCutPro);
    if (!host.load(MirrelBundle())) state.SkipWithError("the plug-in did not load");
    for (auto const& [id, value] : look->values)
        if (!host.setValue(id, value)) state.SkipWithError("a look's value was refused");
    // A host renders frame after frame: the first one, which maps the scratch pool, is not timed.
    host.render(input.image, output.image, {});
    for (auto _ : state) benchmark::DoNotOptimize(host.render(input.image, output.image, {}));
}

void copyFrame(benchmark::State& state, unsigned depth) {
    HostPicture input(kW, kH, depth), output(kW, kH, depth);
    fillPicture(input);
    std::size_t const bytes = std::size_t(input.image.rowBytes) * kH;
    for (auto _ : state) {
        std::memcpy(output.row(0), input.row(0), bytes);
        benchmark::ClobberMemory();
    }
}

void registerAll() {
    struct {
        char const* name;
        unsigned depth, format;
    } const formats[] = {{"RGBA8", 8, kFxPixelFormat_RGBA},   {"ARGB8", 8, kFxPixelFormat_ARGB},
                         {"RGBA16", 16, kFxPixelFormat_RGBA}, {"ARGB16", 16, kFxPixelFormat_ARGB},
                         {"RGBA32", 32, kFxPixelFormat_RGBA}, {"ARGB32", 32, kFxPixelFormat_ARGB}};
    Look const* const defaultLook = &looks()[0];
    Look const* const soft = &looks()[1];
    for (auto const& f : formats) {
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/default").c_str(), frame,
                                     f.depth, f.format, defaultLook, kW, kH)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("Memcpy/") + f.name).c_str(), copyFrame, f.depth)
            ->Unit(benchmark::kMillisecond);
    }
    for (Look const& look : looks())
        if (&look != defaultLook)
            benchmark::RegisterBenchmark((std::string("Frame/RGBA8/") + look.name).c_str(), frame,
                                         8u, unsigned(kFxPixelFormat_RGBA), &look, kW, kH)
                ->Unit(benchmark::kMillisecond);
    for (unsigned depth : {16u, 32u})
        benchmark::RegisterBenchmark(
            (std::string("Frame/RGBA") + std::to_string(depth) + "/" + soft->name).c_str(), frame,
            depth, unsigned(kFxPixelFormat_RGBA), soft, kW, kH)
            ->Unit(benchmark::kMillisecond);
    for (Look const* look : {defaultLook, soft})
        benchmark::RegisterBenchmark((std::string("Frame4K/RGBA8/") + look->name).c_str(), frame,
                                     8u, unsigned(kFxPixelFormat_RGBA), look, 2 * kW, 2 * kH)
            ->Unit(benchmark::kMillisecond);
}

int const registered = (registerAll(), 0);

} // namespace
