#include "fxplug/MirrelBundle.h"
#include "params/ParamIds.h"
#include "support/HostPicture.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

// One whole 1920 x 1080 frame as the command and the frei0r plug-in render it: the binding over
// the in-process host, which keeps its scratch memory between frames. Memcpy/<format> copies the
// same frame once, the floor to compare each format's frame with in the same run.

constexpr int kW = 1920, kH = 1080;

void fillPicture(HostPicture& p) {
    for (int y = 0; y < kH; ++y) {
        unsigned char* row = p.row(y);
        for (int i = 0; i < kW * 4; ++i) {
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

void frame(benchmark::State& state, unsigned depth, unsigned format, bool bend, bool motionBlur) {
    HostPicture input(kW, kH, depth, format), output(kW, kH, depth, format);
    fillPicture(input);
    InProcessHost host(InProcessFamily::FinalCutPro);
    if (!host.load(MirrelBundle())) state.SkipWithError("the plug-in did not load");
    if (bend) host.setValue(kBend, {1.0});
    if (motionBlur) {
        host.setValue(kMotionBlur, {1.0});
        host.setValue(kSamples, {8.0});
    }
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
    for (auto const& f : formats) {
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/default").c_str(), frame,
                                     f.depth, f.format, false, false)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("Memcpy/") + f.name).c_str(), copyFrame, f.depth)
            ->Unit(benchmark::kMillisecond);
    }
    for (auto const& f : {formats[0], formats[4]}) {
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/bend").c_str(), frame,
                                     f.depth, f.format, true, false)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("Frame/") + f.name + "/motionblur8").c_str(),
                                     frame, f.depth, f.format, false, true)
            ->Unit(benchmark::kMillisecond);
    }
}

int const registered = (registerAll(), 0);

} // namespace
