#include "RenderLib/BlurFilter.h"
#include "RenderLib/ProgressiveBlur.h"
#include "support/MemoryHost.h"

#include <benchmark/benchmark.h>

// Cost of the blur on a 1920x1080 8-bit picture. The tent passes keep running sums, so the
// time at radius 200 should match the time at radius 2; compare the rows of one run.

namespace {

struct HdPicture {
    MemoryImage img{RF_ARGB8, 1920, 1080}, out{RF_ARGB8, 1920, 1080};
    MemoryHost host{&img, &out};
    HdPicture() { img.fillBytes(1); }
};

void BM_BlurFilter(benchmark::State& state) {
    HdPicture p;
    double const radius = double(state.range(0));
    for (auto _ : state) {
        int r = BlurFilter_RGBA(PIXEL_VALUES(PIXEL_ARGB8), &p.host, p.img.info, radius, 1.0, false,
                                0, false);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations() * 1920 * 1080);
}
BENCHMARK(BM_BlurFilter)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);

// A fractional radius runs two blurs and a blend.
void BM_BlurFilterFractional(benchmark::State& state) {
    HdPicture p;
    double const radius = double(state.range(0)) + 0.5;
    for (auto _ : state) {
        int r = BlurFilter_RGBA(PIXEL_VALUES(PIXEL_ARGB8), &p.host, p.img.info, radius, 1.0, false,
                                0, false);
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(BM_BlurFilterFractional)->Arg(2)->Arg(200)->Unit(benchmark::kMillisecond);

// "Mip Map": fade, pyramid and one level pair a pixel; radius is the reciprocal of the distance
// at which level 1 is reached.
void BM_MipMap(benchmark::State& state) {
    HdPicture p;
    float const radius = 1.0f / float(state.range(0));
    for (auto _ : state) {
        TX_Line2D line(0.0, 1080.0, 1920.0, 1080.0, false);
        int r = CommonRender_progressiveBlur(&p.host, line, radius, 1.0f, 100.0f, 0.0f, 0,
                                             &p.img.info, false, 1, false);
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(BM_MipMap)->Arg(2)->Arg(200)->Unit(benchmark::kMillisecond);

} // namespace
