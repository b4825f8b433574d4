#include "params/RenderArguments.h"
#include "support/MemoryHost.h"

#include <gtest/gtest.h>

namespace {

// Reading through the in-process host is the fxplug tests' part; a host without the FxPlug face
// leaves the record as it was and has motion blur on, as the other hosts expect.
TEST(RenderArguments, NothingIsReadWithoutAFaceAndMotionBlurIsOn) {
    MemoryImage image{RF_RGBA8, 2, 2};
    MemoryHost host{&image, &image};
    EXPECT_EQ(GetMBlurValue(&host), 0);
    host.answerFXPLUG = false;
    RenderArguments a;
    a.zoom = -7;
    EXPECT_EQ(ParamsRetrieveValues(&host, &a), 1);
    EXPECT_EQ(a.zoom, -7);
    EXPECT_EQ(GetMBlurValue(&host), 1);
}

} // namespace
