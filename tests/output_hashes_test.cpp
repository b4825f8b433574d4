#include "fxplug/MirrelBundle.h"
#include "params/ParamIds.h"
#include "support/HostPicture.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

// The pixels of a fixed matrix of renders, each kept as a hash of its output raster. Work that
// only makes the effect faster must keep every hash.

namespace {

constexpr int kW = 61, kH = 40; // odd width

struct Setting {
    ParamId id;
    ParameterStore::Value value;
};

struct Case {
    std::string name;
    unsigned depth = 8;
    unsigned format = kFxPixelFormat_RGBA;
    std::vector<Setting> settings = {};
    InProcessRequest request = {};
    std::uint64_t hash = 0;
    std::vector<std::pair<double, Setting>> keys = {}; // (frame, setting)
    int width = kW, height = kH;
};

// 64-bit FNV-1a over the visible bytes, row by row.
std::uint64_t fnv1a(std::vector<unsigned char> const& bytes) {
    std::uint64_t h = 14695981039346656037ull;
    for (unsigned char b : bytes) h = (h ^ b) * 1099511628211ull;
    return h;
}

// Premultiplied gradients with translucent and clear areas and hard edges; channel values are
// fractions so every depth sees the same picture.
// A larger picture has the same layout, in finer steps.
void fillPicture(HostPicture& p) {
    bool const alphaFirst = p.image.pixelFormat == kFxPixelFormat_ARGB;
    int const w = p.image.width, h = p.image.height;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int const X = x * kW / w, Y = y * kH / h;
            double a = X < 8 ? 0.0 : X < 20 ? 0.5 + 0.02 * Y : 1.0;
            if ((X / 9 + Y / 7) % 3 == 0) a *= 0.75;
            double rgb[3] = {double(x) / w, double(y) / h, ((x * 7 + y * 13) & 255) / 255.0};
            if (X > 40 && Y > 25) rgb[0] = 1.0, rgb[1] = 0.0; // a hard-edged block
            double const ch[4] = {rgb[0] * a, rgb[1] * a, rgb[2] * a, a};
            unsigned char* px = p.row(y) + x * p.image.pixelBytes();
            for (int i = 0; i < 4; ++i) {
                int const at = alphaFirst ? (i + 1) % 4 : i;
                // Alpha passes full scale in a band; its integers wrap, leaving colour above
                // alpha there, an edge the effect meets in the wild.
                if (p.image.depth == 8)
                    px[at] = (unsigned char)int(ch[i] * 255.0 + 0.5);
                else if (p.image.depth == 16)
                    reinterpret_cast<unsigned short*>(px)[at] =
                        (unsigned short)int(ch[i] * 65535.0 + 0.5);
                else
                    reinterpret_cast<float*>(px)[at] = float(ch[i]);
            }
        }
}

std::uint64_t renderHash(Case const& c) {
    HostPicture input(c.width, c.height, c.depth, c.format),
        output(c.width, c.height, c.depth, c.format, true);
    fillPicture(input);
    InProcessHost host(InProcessFamily::FinalCutPro);
    EXPECT_TRUE(host.load(MirrelBundle()));
    for (auto const& s : c.settings) EXPECT_TRUE(host.setValue(s.id, s.value));
    for (auto const& [frame, s] : c.keys) EXPECT_TRUE(host.setKey(s.id, frame, s.value));
    EXPECT_TRUE(host.render(input.image, output.image, c.request));
    return fnv1a(output.bytes());
}

// A floor a little up the frame with a visible reflection and a softened fade.
std::vector<Setting> floorAnd(std::vector<Setting> more) {
    std::vector<Setting> s = {
        {kBaselineStart, {0.2, 0.6}}, {kBaselineEnd, {0.85, 0.65}}, {kHeightSlant, {0.45, 0.1}}};
    s.insert(s.end(), more.begin(), more.end());
    return s;
}

constexpr unsigned RGBA = kFxPixelFormat_RGBA, ARGB = kFxPixelFormat_ARGB;

std::vector<Case> cases() {
    return {
        {"RGBA8 default", 8, RGBA, {}, {}, 0xa5581c26f43f985eull},
        {"ARGB8 default", 8, ARGB, {}, {}, 0x81faf140dd87de60ull},
        {"RGBA16 default", 16, RGBA, {}, {}, 0x2953d1b58c0c1bacull},
        {"ARGB16 default", 16, ARGB, {}, {}, 0x6db79606bf588aa0ull},
        {"RGBA32 default", 32, RGBA, {}, {}, 0x8e9a87254575a21cull},
        {"ARGB32 default", 32, ARGB, {}, {}, 0xfbcbd0f9a8604338ull},
        {"quality low",
         8,
         RGBA,
         floorAnd({{kQuality, {0}}}),
         {.quality = 0},
         0x033525195c7bfc74ull},
        {"quality medium",
         8,
         RGBA,
         floorAnd({{kQuality, {1}}}),
         {.quality = 1},
         0xd6917f3521a96048ull},
        {"quality high", 8, RGBA, floorAnd({{kQuality, {2}}}), {}, 0x1399b924a4e303e5ull},
        {"quality low 32",
         32,
         ARGB,
         floorAnd({{kQuality, {0}}}),
         {.quality = 0},
         0x520055e946572914ull},
        {"softness simple",
         8,
         RGBA,
         floorAnd({{kSoftness, {30}}, {kSoftnessType, {0}}}),
         {},
         0xa36bb90f1a472d94ull},
        {"softness mip map",
         8,
         RGBA,
         floorAnd({{kSoftness, {30}}, {kSoftnessType, {1}}}),
         {},
         0x00d648e948acdf07ull},
        {"softness linear",
         8,
         RGBA,
         floorAnd({{kSoftness, {300}}, {kSoftnessType, {2}}}),
         {},
         0x764b3c35857ebd79ull},
        {"softness square",
         8,
         RGBA,
         floorAnd({{kSoftness, {300}}, {kSoftnessType, {3}}}),
         {},
         0xc8ae4dbe65495c62ull},
        {"softness linear 16",
         16,
         ARGB,
         floorAnd({{kSoftness, {12}}, {kSoftnessAspect, {2.5}}, {kSoftnessType, {2}}}),
         {},
         0xd013b466f422b86bull},
        {"softness mip map 16",
         16,
         ARGB,
         floorAnd({{kSoftness, {30}}, {kSoftnessType, {1}}}),
         {},
         0x7e8ead05286f69a1ull},
        {"softness mip map 32",
         32,
         RGBA,
         floorAnd({{kSoftness, {30}}, {kSoftnessType, {1}}}),
         {},
         0x259f3fe13f2a48f6ull},
        {"bend seam",
         8,
         RGBA,
         floorAnd({{kBend, {1}},
                   {kBendAngle, {1.2}},
                   {kBendStart, {70}},
                   {kSeamSize, {2}},
                   {kSeamIntensity, {80}},
                   {kSeamColor, {0.9, 0.2, 0.1}}}),
         {},
         0xde6c06de73259dceull},
        {"bend seam 32",
         32,
         ARGB,
         floorAnd({{kBend, {1}},
                   {kBendStart, {60}},
                   {kSeamStyle, {3}},
                   {kSeamSize, {3}},
                   {kSoftness, {10}}}),
         {},
         0x1e1b19ad70a490baull},
        {"motion blur",
         8,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {5}}, {kZoom, {1.3}}}),
         {.frame = 4},
         0xf229667c33379515ull},
        {"motion blur 16",
         16,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {3}}}),
         {.frame = 2},
         0xb2fdfc9560b88bfbull},
        {"noise",
         8,
         RGBA,
         floorAnd({{kFadeNoise, {40}}, {kRandomSeed, {77}}}),
         {.frame = 3},
         0x1a26398a873bec89ull},
        {"noise soft 16",
         16,
         ARGB,
         floorAnd({{kFadeNoise, {25}}, {kRandomSeed, {5}}, {kPostSoftness, {3}}}),
         {.frame = 1},
         0xd39c25819f15008full},
        {"noise 32",
         32,
         RGBA,
         floorAnd({{kFadeNoise, {60}}, {kRandomSeed, {9}}}),
         {.frame = 7},
         0xfb89bfa279bebc18ull},
        {"tone",
         8,
         ARGB,
         floorAnd({{kGamma, {2.2}}, {kBrightness, {1.4}}}),
         {},
         0x7967f384c1303876ull},
        {"field", 8, RGBA, floorAnd({}), {.frame = 3, .field = 1}, 0x275df669d2655ea6ull},
        {"field 32", 32, ARGB, floorAnd({}), {.frame = 3, .field = 2}, 0x00d50ddd187498c5ull},
        {"proxy scale",
         8,
         RGBA,
         floorAnd({{kSoftness, {200}}}),
         {.scaleX = 0.5, .scaleY = 0.5},
         0xaff204a16e6d14cdull},
        {"bend no seam",
         8,
         RGBA,
         floorAnd({{kBend, {1}}, {kBendAngle, {1.2}}, {kBendStart, {70}}, {kSeamSize, {0}}}),
         {},
         0x66e62987ea4cca51ull},
        {"translucent",
         8,
         RGBA,
         floorAnd({{kSourceOpacity, {60}}, {kMirrelOpacity, {70}}}),
         {},
         0xe10212eaf6fc3acaull},
    };
}

// The looks people use, at a size where their softness spans pixels: each in 8 bits, the soft
// one in every depth.
std::vector<Case> looks() {
    std::vector<Case> all = {
        {"look soft linear",
         8,
         RGBA,
         floorAnd({{kSoftness, {20}}, {kSoftnessType, {2}}}),
         {},
         0xa898f224c77adcc7ull},
        {"look soft linear 16",
         16,
         RGBA,
         floorAnd({{kSoftness, {20}}, {kSoftnessType, {2}}}),
         {},
         0xdf65809040266020ull},
        {"look soft linear 32",
         32,
         RGBA,
         floorAnd({{kSoftness, {20}}, {kSoftnessType, {2}}}),
         {},
         0x1bda09e1989afd54ull},
        {"look soft simple",
         8,
         RGBA,
         floorAnd({{kSoftness, {20}}, {kSoftnessType, {0}}}),
         {},
         0xdf51b56acf7c08aaull},
        {"look soft mip map",
         8,
         RGBA,
         floorAnd({{kSoftness, {20}}, {kSoftnessType, {1}}}),
         {},
         0x159e43d5f0e9d54bull},
        {"look bend seam medium",
         8,
         RGBA,
         floorAnd({{kBend, {1}}, {kSeamSize, {2}}, {kBendAngle, {1.2}}, {kBendStart, {70}}}),
         {},
         0xe16da3d6526e6c6dull},
        {"look motion blur 8",
         8,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {8}}}),
         {.frame = 5},
         0xbd2fa98c2ff82213ull},
        // Animated within the shutter, and keyed but flat there.
        {"look motion blur 8 animated",
         8,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {8}}}),
         {.frame = 5},
         0x599371e6c86d35e3ull,
         {{4, {kZoom, {1.0}}},
          {6, {kZoom, {1.4}}},
          {5, {kHeightSlant, {0.4, 0.1}}},
          {6, {kHeightSlant, {0.5, 0.2}}}}},
        {"look motion blur 8 flat keys",
         8,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {8}}}),
         {.frame = 5},
         0xa7f3bf2317db2479ull,
         {{2, {kZoom, {1.2}}}, {9, {kZoom, {1.2}}}}},
        // "Simple" softness draws the second sample afresh; the slant holds until halfway
        // through the shutter: runs of like samples between ones that differ.
        {"look motion blur 8 simple softness",
         8,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {8}}, {kSoftness, {6}}, {kSoftnessType, {0}}}),
         {.frame = 5},
         0x7193b8c22a7040dcull,
         {{5.5, {kHeightSlant, {0.45, 0.1}}}, {6, {kHeightSlant, {0.5, 0.2}}}}},
        {"look motion blur float simple softness",
         32,
         RGBA,
         floorAnd({{kMotionBlur, {1}}, {kSamples, {8}}, {kSoftness, {6}}, {kSoftnessType, {0}}}),
         {.frame = 5},
         0x622e586111976e0bull,
         {{5.5, {kHeightSlant, {0.45, 0.1}}}, {6, {kHeightSlant, {0.5, 0.2}}}}},
        {"look noise post softness",
         8,
         RGBA,
         floorAnd({{kFadeNoise, {20}}, {kPostSoftness, {2}}}),
         {.frame = 2},
         0xb5033392b6ddc2ceull},
        {"look product shot",
         8,
         RGBA,
         floorAnd({{kSoftness, {15}},
                   {kFadeLength, {60}},
                   {kMirrelOpacity, {60}},
                   {kBend, {1}},
                   {kBendAngle, {20}}}),
         {},
         0xea27d7984f211aadull},
    };
    for (Case& c : all) c.width = 321, c.height = 180;
    return all;
}

// A spread of transfer modes, the colour modes among them, in 8 bits and in float, where screen
// renders as add.
struct TransferCase {
    int mode;
    unsigned depth, format;
    std::uint64_t hash;
};
TransferCase const kTransfers[] = {
    {0, 8, RGBA, 0x9e0135329e4469e5ull},   {1, 8, RGBA, 0xf50555f182b39493ull},
    {2, 8, RGBA, 0x31be647c29e06926ull},   {3, 8, RGBA, 0xf50555f182b39493ull},
    {4, 8, RGBA, 0x99d0263d15eee8f0ull},   {5, 8, RGBA, 0xb196d137ce1ab7b2ull},
    {6, 8, RGBA, 0x23e2b41efb1dd952ull},   {7, 8, RGBA, 0xa6d133aaf3179f37ull},
    {8, 8, RGBA, 0x669a1ee5c651a6ffull},   {9, 8, RGBA, 0xfa728f9dc41d133aull},
    {10, 8, RGBA, 0x5e175b98fd787a78ull},  {11, 8, RGBA, 0xa020b7f321522240ull},
    {12, 8, RGBA, 0x6a9d4f4233ed2c0full},  {13, 8, RGBA, 0x4916724fa1520467ull},
    {14, 8, RGBA, 0x468203f4e38381f2ull},  {15, 8, RGBA, 0xdf495bc812e460d6ull},
    {16, 8, RGBA, 0x52abeb2682f602cfull},  {17, 8, RGBA, 0x652412e407ce3a01ull},
    {18, 8, RGBA, 0x72370108a03206d0ull},  {19, 8, RGBA, 0xd33e45f026190017ull},
    {4, 16, ARGB, 0x0279ff3d68175a96ull},  {8, 16, ARGB, 0x1f995b1b3a0b6bd6ull},
    {16, 16, ARGB, 0xd3c9ee45d83fb7a9ull}, {2, 32, ARGB, 0xcb600de7b44e53e5ull},
    {7, 32, ARGB, 0xe3dc8350349dbe28ull},  {10, 32, ARGB, 0x5e2e883314bfb85eull},
    {17, 32, ARGB, 0xe2cb277fe5955ef7ull}, {19, 32, ARGB, 0x0ed1029658916158ull},
    {6, 32, RGBA, 0xc4144638d93487e7ull},
};

TEST(OutputHashes, EveryRenderKeepsItsPixels) {
    std::vector<Case> all = cases(), more = looks();
    all.insert(all.end(), more.begin(), more.end());
    for (TransferCase const& t : kTransfers)
        all.push_back(
            {"transfer " + std::to_string(t.mode) + " in " + std::to_string(t.depth) + " bits",
             t.depth,
             t.format,
             floorAnd({{kTransferMode, {double(t.mode)}}, {kMirrelOpacity, {80}}}),
             {.frame = 0},
             t.hash});
    for (Case const& c : all) {
        std::uint64_t const h = renderHash(c);
        char found[24];
        std::snprintf(found, sizeof found, "0x%016" PRIx64, h);
        EXPECT_EQ(h, c.hash) << c.name << " now hashes to " << found;
    }
}

} // namespace
