#include "effect/Render.h"
#include "params/ParamIds.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

struct Frame {
    MemoryImage input, output;
    MemoryHost host;
    Frame(PluginRasterFormat format, MemoryImage::Rows rows = MemoryImage::Rows::TopDown)
        : input(format, 16, 9, rows), output(format, 16, 9, rows), host(&input, &output) {
        input.fillBytes(1);
        output.fillBytes(2);
    }
};

TEST(FrameEntry, UnservedFormatsAreRefusedAndLeaveTheOutput) {
    for (auto format : {RF_BGRA8, RF_ARGB15, RF_ARGB14, RF_BGRA32, RF_R408, RF_R4FL}) {
        Frame f(format);
        auto before = f.output.bytes();
        EXPECT_EQ(Render(&f.host), 1) << format;
        EXPECT_EQ(f.output.bytes(), before) << format;
    }
}

TEST(FrameEntry, ZeroBrightnessUnderNoneGivesAnEmptyFrame) {
    for (auto format : {RF_ARGB8, RF_RGBA8, RF_ARGB16, RF_RGBA16, RF_ARGB32, RF_RGBA32}) {
        Frame f(format);
        f.host.params.setConstant(kBrightness, {0.0});
        f.host.params.setConstant(kTransferMode, {0});
        f.host.params.setConstant(kSourceOpacity, {100.0});
        EXPECT_EQ(Render(&f.host), 0);
        auto out = f.output.bytes();
        EXPECT_EQ(out, std::vector<unsigned char>(out.size(), 0)) << format;
        EXPECT_EQ(f.host.liveBlocks, 0);
    }
}

TEST(FrameEntry, NearZeroBrightnessPassesTheSourceThroughExactly) {
    for (auto rows :
         {MemoryImage::Rows::TopDown, MemoryImage::Rows::Padded, MemoryImage::Rows::BottomUp}) {
        for (auto format : {RF_ARGB8, RF_RGBA8, RF_ARGB16, RF_RGBA16, RF_ARGB32, RF_RGBA32}) {
            Frame f(format, rows);
            f.host.params.setConstant(kBrightness, {0.000005});
            f.host.params.setConstant(kTransferMode, {3}); // "Normal"
            EXPECT_EQ(Render(&f.host), 0);
            EXPECT_EQ(f.output.bytes(), f.input.bytes());
            EXPECT_EQ(f.host.liveBlocks, 0);
        }
    }
}

TEST(FrameEntry, FailedWorkingCopyGivesZeros) {
    Frame f(RF_RGBA8);
    f.host.failAllocRasterAt = 1;
    EXPECT_EQ(Render(&f.host), 1);
    auto out = f.output.bytes();
    EXPECT_EQ(out, std::vector<unsigned char>(out.size(), 0));
}

} // namespace
