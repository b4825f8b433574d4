#include "RenderLib/CommonRender.h"
#include "support/MemoryHost.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

// A full-HD picture drawn onto a floor-like perspective quad of the same frame, as the mirror
// effect draws its flat image. Items are destination pixels of the frame.
void transformFrame(benchmark::State& state, PluginRasterFormat format, int filter) {
    MemoryImage src(format, 1920, 1080), dst(format, 1920, 1080);
    src.fillBytes(11);
    if (src.info.pixelBytes == 16) {
        // Keep float samples finite.
        for (int y = 0; y < 1080; ++y) {
            float* row = reinterpret_cast<float*>(src.info.row(y));
            for (int i = 0; i < 1920 * 4; ++i) row[i] = float((i * 7 + y) % 256) / 255.0f;
        }
    }
    MemoryHost host(&src, &dst);
    CoreRenderArguments args;
    initializeCoreRenderArguments(&args);
    args.renderMode = 0;
    args.transformType = 2;
    args.filter = filter;
    const double quad[4][2] = {{0.3, 0.45}, {0.0, 1.0}, {0.7, 0.45}, {1.0, 1.0}};
    RenderSettings settings;
    for (auto _ : state) {
        std::memcpy(args.destQuad, quad, sizeof quad);
        std::memset(static_cast<void*>(&settings), 0, sizeof settings);
        settings.srcRect = TX_IRect(0, 0, 1919, 1079);
        settings.dstRect = TX_IRect(0, 0, 1919, 1079);
        CommonRender_CoreTransformRender(&host, args, src.info, dst.info, true, false, &settings,
                                         true, false);
        benchmark::DoNotOptimize(dst.info.data);
    }
    state.SetItemsProcessed(state.iterations() * 1920 * 1080);
}

BENCHMARK_CAPTURE(transformFrame, RGBA8_nearest, RF_RGBA8, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transformFrame, RGBA8_bilinear, RF_RGBA8, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transformFrame, RGBA8_filter9, RF_RGBA8, 9)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transformFrame, RGBA32_nearest, RF_RGBA32, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transformFrame, RGBA32_bilinear, RF_RGBA32, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(transformFrame, RGBA32_filter9, RF_RGBA32, 9)->Unit(benchmark::kMillisecond);

} // namespace
