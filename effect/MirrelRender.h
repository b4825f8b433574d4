#pragma once
#include "Transform/Common/TX_Macros.h"
#include "effect/MirrelDriver.h"
#include "host/PluginHost_API.h"
#include "params/RenderArguments.h"
#include "pixel/Traits.h"

// The frame driver of one pixel format: reads the arguments, makes the working copy of the
// source (or defers it), takes the trivial exits, then runs the mirror pipeline. 0 when the frame
// was made.
template <class P, class C, class A, class V, class F>
int MirrelRender(P p, C c, A a, V v, F f, PluginHost_API* host) {
    int status = 0;
    try {
        RenderArguments args;
        ParamsRetrieveValues(host, &args);

        PluginRasterProxy work(host, nullptr, false, true);
        PluginRasterProxy input(host, host->getInputRaster(0), false, true);
        int error = 0;
        PluginRaster_API* raster = host->allocRaster(input->getWidth(), input->getHeight(),
                                                     input->getPixelType(), error, 0);
        work.setRaster(raster, true);
        status = error;
        if (status != 0 || !work.getImpl()) {
            if (status == 0) status = 1;
            host->fillOutput();
            return status;
        }

        PluginRasterProxy output(host, host->getOutputRaster(), false, true);
        PluginHost_API::RasterInfo workInfo, outputInfo, inputInfo;
        host->getRasterInfo(work.getImpl(), &workInfo);
        host->getRasterInfo(output.getImpl(), &outputInfo);
        host->getRasterInfo(input.getImpl(), &inputInfo);
        // The samples only read the source, so they may read the input where it is, and the
        // working copy is made when the finish first needs it: unless the host changes the
        // copy's alpha before drawing, or the output shares the input's memory.
        bool const deferCopy = !host->getAEHost() && !host->getAVX2Host() && !host->getAVX1Host() &&
                               !rastersOverlap(inputInfo, outputInfo);
        if (!deferCopy) host->copy(input.getImpl(), work.getImpl());

        // No mirror image exists at zero brightness: nothing else runs.
        double const brightness = float(args.brightness);
        if (MACRO_NEARLY_EQUAL(brightness, 0.0) && args.transferMode == kModeNone) {
            host->fillOutput();
            return status;
        }
        if (MACRO_NEARLY_EQUAL(brightness, 0.0)) {
            host->copyInputToOutput();
            return status;
        }

        MirrelFrame frame{args,
                          work,
                          output,
                          workInfo,
                          outputInfo,
                          deferCopy ? inputInfo : workInfo,
                          deferCopy ? input.getImpl() : nullptr};
        status = MirrelDrive(p, c, a, v, f, host, frame);
    } catch (...) {
        // Nothing leaves the driver; the proxies have released their rasters on the way out.
        status = 1;
    }
    return status;
}
