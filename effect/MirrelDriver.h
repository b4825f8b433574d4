#pragma once
#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"

// What the first slice of the driver hands to the pipeline.
struct MirrelFrame {
    RenderArguments& args;
    int& softnessMode;
    PluginRasterProxy& work;
    PluginRasterProxy& output;
    PluginHost_API::RasterInfo& workInfo;
    PluginHost_API::RasterInfo& outputInfo;
};

// The mirror pipeline after the trivial exits.
// TODO(pipeline): scratch images, motion-blur samples, quads and finishing replace this
// pass-through.
template <class P, class C, class A, class V, class F>
int MirrelDrive(P, C, A, V, F, PluginHost_API* host, MirrelFrame& frame) {
    (void)frame;
    host->copyInputToOutput();
    return 0;
}
