#include "Transform/Common/TX_Poly.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

// The area scan over a full 1920x1080 frame: its own cost (a line function that only keeps the
// span contract), the cost with every pixel written, and a plain fill of the frame for reference.

namespace {

const int W = 1920, H = 1080;

int skipSpan(void*, LineRenderStruct* s) {
    if (s->count > 0) {
        s->u += s->count * s->du;
        s->v += s->count * s->dv;
        s->q += s->count * s->dq;
    }
    benchmark::DoNotOptimize(s->u);
    return 0;
}

int writeSpan(void*, LineRenderStruct* s) {
    auto* px = reinterpret_cast<uint32_t*>(s->dest);
    for (int k = 0; k < s->count; ++k) {
        px[k] = 0xff000000u | uint32_t(s->u / s->q);
        s->u += s->du;
        s->v += s->dv;
        s->q += s->dq;
    }
    return 0;
}

int writeEdge(void*, LineRenderStruct* s) {
    auto* px = reinterpret_cast<uint32_t*>(s->dest);
    for (int k = 0; k < s->count; ++k) {
        px[k] = uint32_t(255.0f * s->coverage[k]) << 24;
        s->u += s->du;
        s->v += s->dv;
        s->q += s->dq;
    }
    return 0;
}

// Corners a little inside the frame so that every row has two edge spans and an interior.
void scanFrame(benchmark::State& state, LineFunction line, LineFunction edge) {
    std::vector<uint32_t> frame(W * H);
    const double ring[4][2] = {{0.3, 0.3}, {W - 0.3, 0.3}, {W - 0.3, H - 0.3}, {0.3, H - 0.3}};
    for (auto _ : state) {
        TX_Poly p;
        p.m_n = 4;
        p.m_mask =
            POLY_MASK_SX | POLY_MASK_SY | POLY_MASK_SZ | POLY_MASK_U | POLY_MASK_V | POLY_MASK_Q;
        for (int i = 0; i < 4; ++i)
            p.m_vert[i] = TX_Poly_vert{ring[i][0], ring[i][1], 0, 1, 0, 0, 0,
                                       ring[i][0], ring[i][1], 1, 0, 0, 0};
        p.m_pixels = reinterpret_cast<unsigned char*>(frame.data());
        p.m_rowBytes = W * 4;
        p.m_pixelBytes = 4;
        p.m_lineFunction = line;
        p.m_edgeFunction = edge;
        TX_Window win{0, 0, W - 1, H - 1};
        p.polyAreaScan(&win, 0, 0, W - 1, H - 1);
        benchmark::DoNotOptimize(frame.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(W) * H);
}

void BM_AreaScanNoop(benchmark::State& state) {
    scanFrame(state, skipSpan, skipSpan);
}
void BM_AreaScanWriteSpan(benchmark::State& state) {
    scanFrame(state, writeSpan, writeEdge);
}

// Reference: the same pixel values written row by row with no scan converter.
void BM_PlainFill(benchmark::State& state) {
    std::vector<uint32_t> frame(W * H);
    for (auto _ : state) {
        for (int y = 0; y < H; ++y) {
            LineRenderStruct s{
                0.5,    y + 0.5, 1, 1, 0,
                0,      0,       W, 0, reinterpret_cast<unsigned char*>(frame.data() + y * W),
                nullptr};
            writeSpan(nullptr, &s);
        }
        benchmark::DoNotOptimize(frame.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(W) * H);
}

} // namespace

BENCHMARK(BM_PlainFill)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AreaScanNoop)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AreaScanWriteSpan)->Unit(benchmark::kMicrosecond);
