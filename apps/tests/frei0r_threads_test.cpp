#include "Frei0rTestSupport.h"

extern "C" {
#include <frei0r.h>
}
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

// Several threads render frames of one shared instance and of instances of their own at once,
// with grain on; every frame equals the frame rendered alone.
TEST_F(Frei0rPlugin, FramesRenderedOnSeveralThreadsEqualThoseRenderedAlone) {
    auto [init, deinit, construct, destruct, set, update] = f0r;

    unsigned const w = 45, h = 30;
    int const frames = 6, threads = 4;
    std::vector<uint32_t> input(w * h);
    for (unsigned i = 0; i < w * h; ++i)
        input[i] = (i % w < 9 ? 0x80u : 0xffu) << 24 | (i * 2654435761u & 0xffffffu);
    DeclaredParams d;
    auto mapped = frei0rParams(d.params());
    auto make = [&] {
        f0r_instance_t in = construct(w, h);
        for (auto [name, v] : {std::pair{"Fade Noise", 0.6}, {"Random Seed", 0.3}}) {
            double value = v;
            set(in, &value, int(&byName(mapped, name) - mapped.data()));
        }
        return in;
    };
    auto render = [&](f0r_instance_t in, int f) {
        std::vector<uint32_t> out(w * h);
        update(in, 0.04 * (f + 1), input.data(), out.data());
        return out;
    };

    f0r_instance_t alone = make();
    std::vector<std::vector<uint32_t>> expected;
    for (int f = 0; f < frames; ++f) expected.push_back(render(alone, f));
    EXPECT_NE(expected[0], expected[1]) << "the grain changes with the time";

    f0r_instance_t shared = make();
    std::atomic<int> mismatches{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t)
        pool.emplace_back([&, t] {
            f0r_instance_t own = make();
            for (int round = 0; round < 3; ++round)
                for (int k = 0; k < frames; ++k) {
                    int const f = (k + t) % frames;
                    mismatches += render(shared, f) != expected[size_t(f)];
                    mismatches += render(own, f) != expected[size_t(f)];
                }
            destruct(own);
        });
    for (auto& t : pool) t.join();
    EXPECT_EQ(mismatches, 0);
    for (f0r_instance_t in : {alone, shared}) destruct(in);
}

} // namespace
