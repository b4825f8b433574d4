// Whole frames through the in-process host, everything taken from the fuzzer's bytes: picture
// sizes down to one row or column, depth, channel order, host family, the request, and every
// parameter, far-off and non-finite values included. Pictures stay within 64 by 48.
#include "fxplug/MirrelBundle.h"
#include "inprocess/InProcessHost.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace {

double anyDouble(FuzzedDataProvider& in, double lo, double hi) {
    static double const odd[] = {std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 1e300,
                                 -1e300,
                                 1e9,
                                 -1e6,
                                 -0.0,
                                 std::numeric_limits<double>::denorm_min()};
    switch (in.ConsumeIntegralInRange(0, 3)) {
    case 0:
        return in.PickValueInArray(odd);
    case 1:
        return in.ConsumeFloatingPoint<double>(); // the whole range of doubles
    case 2:
        return lo + (hi - lo) * in.ConsumeProbability<double>();
    default:
        return double(in.ConsumeIntegralInRange(-2, 2)) + (lo + hi) / 2;
    }
}

InProcessImage picture(std::vector<unsigned char>& bytes, int w, int h, unsigned depth,
                       unsigned format, bool bottomUp) {
    InProcessImage im;
    long const row = long(w) * int(depth / 8) * 4;
    bytes.assign(size_t(row) * size_t(h), 0);
    im.data = bottomUp ? bytes.data() + row * (h - 1) : bytes.data();
    im.rowBytes = bottomUp ? -row : row;
    im.width = w;
    im.height = h;
    im.depth = depth;
    im.pixelFormat = format;
    return im;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzedDataProvider in(data, size);
    auto const family = InProcessFamily(in.ConsumeIntegralInRange(0, 3));
    // Depths with the pixel labels a host gives them: the Y'CbCr labels come with one depth each.
    static std::pair<unsigned, unsigned> const kinds[] = {
        {8, kFxPixelFormat_RGBA},  {8, kFxPixelFormat_ARGB},  {16, kFxPixelFormat_RGBA},
        {16, kFxPixelFormat_ARGB}, {32, kFxPixelFormat_RGBA}, {32, kFxPixelFormat_ARGB},
        {8, kFxPixelFormat_R408},  {32, kFxPixelFormat_R4fl}};
    auto const [depth, format] = in.PickValueInArray(kinds);
    int const w = in.ConsumeIntegralInRange(1, 64), h = in.ConsumeIntegralInRange(1, 48);
    bool const sameSize = in.ConsumeBool();
    int const ow = sameSize ? w : in.ConsumeIntegralInRange(1, 64);
    int const oh = sameSize ? h : in.ConsumeIntegralInRange(1, 48);

    InProcessRequest request;
    request.frame = in.ConsumeBool() ? anyDouble(in, -100, 100) : 0.0;
    request.quality = in.ConsumeIntegralInRange(0u, 2u);
    request.field = in.ConsumeIntegralInRange(0u, 2u);
    if (in.ConsumeBool()) { // a proxy render: hosts scale by a fraction of a whole
        request.scaleX = in.ConsumeFloatingPointInRange(0.05, 1.0);
        request.scaleY = in.ConsumeFloatingPointInRange(0.05, 1.0);
    }

    InProcessHost host(family);
    if (!host.load(MirrelBundle())) return 0;
    // Each parameter in declaration order: left alone, set, or keyed at two times.
    for (auto const& p : host.params().params()) {
        if (p.kind == ParameterStore::Kind::Group) continue;
        int const how = in.ConsumeIntegralInRange(0, 3);
        if (how == 0) continue;
        auto value = [&] {
            ParameterStore::Value v{};
            for (double& c : v) c = anyDouble(in, p.min, p.max);
            return v;
        };
        if (how == 3) {
            host.setKey(p.id, anyDouble(in, -10, 10), value());
            host.setKey(p.id, anyDouble(in, -10, 10), value());
        } else {
            host.setValue(p.id, value());
        }
    }

    std::vector<unsigned char> inBytes, outBytes;
    InProcessImage const input = picture(inBytes, w, h, depth, format, in.ConsumeBool());
    InProcessImage const output = picture(outBytes, ow, oh, depth, format, in.ConsumeBool());
    // The rest of the bytes are the pixels, repeated; float pixels take any bit pattern.
    std::vector<unsigned char> const rest = in.ConsumeRemainingBytes<unsigned char>();
    if (!rest.empty())
        for (size_t i = 0; i < inBytes.size(); ++i) inBytes[i] = rest[i % rest.size()];
    if (std::getenv("MIRREL_FUZZ_SHOW")) {
        std::fprintf(stderr,
                     "family %d depth %u format %u in %dx%d out %dx%d frame %g quality %u "
                     "field %u scale %g,%g\n",
                     int(family), depth, format, w, h, ow, oh, request.frame, request.quality,
                     request.field, request.scaleX, request.scaleY);
        for (auto const& p : host.params().params())
            if (p.kind != ParameterStore::Kind::Group)
                std::fprintf(stderr, "  %s = %g,%g,%g%s\n", p.name.c_str(), p.value[0], p.value[1],
                             p.value[2], p.keys.empty() ? "" : " (keyed)");
    }
    host.render(input, output, request);
    return 0;
}
