#pragma once
#include "RenderLib/TransformRecords.h"
#include "effect/MirrelFinish.h"
#include "effect/MirrorGeometry.h"
#include "effect/QuadToQuadRender.h"
#include "effect/ScratchMemory.h"
#include "host/PluginHost_API.h"
#include "host/SaturatingCast.h"
#include "params/Catalogue.h"
#include "params/RenderArguments.h"
#include "pixel/Alpha.h"
#include "pixel/BlendRun.h"
#include "pixel/PixelFormats.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

// What the first slice of the driver hands to the pipeline.
struct MirrelFrame {
    RenderArguments& args;
    PluginRasterProxy& work;
    PluginRasterProxy& output;
    PluginHost_API::RasterInfo& workInfo;
    PluginHost_API::RasterInfo& outputInfo;
    // The pixels the samples read: the working copy, or the input while the copy is deferred.
    PluginHost_API::RasterInfo const& sourceInfo;
    // The raster the working copy is still to be made from, or null when it has been made.
    PluginRaster_API* pendingCopy;
};

// When the samples of a frame are taken, in host ticks.
struct MirrelShutter {
    bool multiSampling = false;
    int count = 1;
    double step = 0.0;
    long first = 0;
    long timeStep = 0;
    long timeScale = 0;

    long sampleTime(int i) const { return saturatingCast<long>(i * step) + first; }
};

// The shutter opens at the frame's time plus the phase and stays open forward.
inline MirrelShutter mirrelShutter(PluginHost_API* host, RenderArguments const& args) {
    MirrelShutter s;
    double shutter = args.shutterAngle / 360.0;
    double phase = args.shutterPhase / 360.0;
    int count = saturatingCast(args.samples + 0.5);
    int const motion = GetMBlurValue(host);
    bool const hostShutter = host->getAEHost() && host->isApplication(fourCC("FXTC"));
    s.timeStep = host->getTimeStep();
    long const now = host->getCurrentTime();
    s.timeScale = host->getTimeScale();
    if (hostShutter && motion == kMotionBlurHostShutter) {
        shutter = float(host->getShutterAngle());
        phase = float(host->getShutterPhase());
    }
    long const opened = saturatingCast<long>(s.timeStep * phase + now);
    if (motion != kMotionBlurOff && shutter != 0.0 && count > 1) {
        s.multiSampling = true;
        s.count = count;
        s.step = s.timeStep * shutter / count;
        s.first = opened;
    } else {
        s.first = motion != kMotionBlurOff ? opened : now;
    }
    return s;
}

// The values that may move within the shutter; read again at each sample's time.
struct MirrelWorking {
    MirrorHandles handles;
    double softness, softnessAspect, fadeStart, fadeLength, gamma, brightness, fadeNoise;
    double bendAngle, bendStart, bendStretch, seamIntensity;

    void setPoints(RenderArguments const& a) {
        handles = {a.baselineStartX, a.baselineStartY, a.baselineEndX,
                   a.baselineEndY,   a.heightSlantX,   a.heightSlantY};
    }
    // Softness follows the proxy resolution; the progressive types the other way round.
    static double scaledSoftness(double softness, int softnessType, double scale) {
        return softnessType >= kSoftnessProgressiveLinear ? softness / scale : softness * scale;
    }
};

inline void readWorkingAt(PluginHost_API* host, PluginHost_API::TimeObject const& t,
                          MirrelWorking& w, int softnessType, double scale) {
    auto number = [&](ParamId id, double& v) { host->GetFloatValue(paramIndex(id), id, t, v); };
    auto point = [&](ParamId id, double& x, double& y) {
        host->GetPoint2DValue(paramIndex(id), id, t, x, y);
    };
    // Read and dropped: the quads take zoom and translate from the frame's record.
    double zoom = 0;
    host->GetFixedFloatValue(paramIndex(kZoom), kZoom, t, zoom);
    point(kBaselineStart, w.handles.startX, w.handles.startY);
    point(kBaselineEnd, w.handles.endX, w.handles.endY);
    point(kHeightSlant, w.handles.slantX, w.handles.slantY);
    number(kFadeLength, w.fadeLength);
    number(kFadeStart, w.fadeStart);
    number(kSoftness, w.softness);
    w.softness = MirrelWorking::scaledSoftness(w.softness, softnessType, scale);
    number(kGamma, w.gamma);
    number(kBrightness, w.brightness);
    number(kFadeNoise, w.fadeNoise);
    number(kSoftnessAspect, w.softnessAspect);
    host->GetAngleValue(paramIndex(kBendAngle), kBendAngle, t, w.bendAngle);
    number(kBendStart, w.bendStart);
    number(kBendStretch, w.bendStretch);
    number(kSeamIntensity, w.seamIntensity);
}

// The mirror pipeline after the trivial exits: alpha in, scratch images, the motion-blur
// samples, copy out and the finishing stages. Every scratch block is returned on every way out;
// an exception is left to the caller's catch, after the blocks have gone back.
template <class P, class C, class A, class V, class F>
int MirrelDrive(P p, C c, A a, V v, F f, PluginHost_API* host, MirrelFrame& frame) {
    RenderArguments const& args = frame.args;
    int const W = frame.workInfo.width, H = frame.workInfo.height;
    int const pixelBytes = int(sizeof(C)) * 4;
    PluginRasterFormat const format = frame.outputInfo.format;
    double const scale = std::min(host->getScaleX(), host->getScaleY());

    if (host->getAVX2Host() || host->getAVX1Host())
        AVXSetAlpha(p, c, a, v, f, host, frame.work.getImpl());
    if (host->getAEHost()) Premult(p, c, a, v, f, host, frame.work.getImpl());

    struct Scratch {
        ScratchBlock sourceCopy, result, sampleResult;
        explicit Scratch(PluginHost_API* h) : sourceCopy(h), result(h), sampleResult(h) {}
        ~Scratch() { release(); }
        void release() {
            sourceCopy.release();
            result.release();
            sampleResult.release();
        }
    } scratch(host);
    PluginHost_API::RasterInfo sourceCopy, result, sampleResultOwn;
    auto refused = [&] {
        host->fillOutput();
        return 1;
    };

    if (!scratch.sourceCopy.allocImage(sourceCopy, format, W, H, pixelBytes)) return refused();
    MirrelShutter const shutter = mirrelShutter(host, args);
    if (!scratch.result.allocImage(result, format, W, H, pixelBytes)) return refused();
    if (shutter.multiSampling &&
        !scratch.sampleResult.allocImage(sampleResultOwn, format, W, H, pixelBytes))
        return refused();
    // Nothing writes the source while the samples are drawn, so the transforms read it where it
    // is: the source copy keeps its block, and the host sees the same requests, but its record
    // points at the source's pixels instead of a copy of them.
    PluginHost_API::RasterInfo sourceView = sourceCopy;
    sourceView.data = frame.sourceInfo.data;
    sourceView.rowBytes = frame.sourceInfo.rowBytes;
    // One unbent sample is drawn in the output's rows themselves when they hold the frame: the
    // one stage that may fill the output on the way does so before anything is drawn, having
    // cleared it as the result would be, so the copy out would change nothing. One bent sample
    // is merged into them, and blurred there; the copy out is left for when it fails before.
    PluginHost_API::RasterInfo outputView = result;
    bool const outputFits = !shutter.multiSampling && frame.outputInfo.width == W &&
                            frame.outputInfo.height == H &&
                            frame.outputInfo.pixelBytes == result.pixelBytes &&
                            std::abs(frame.outputInfo.rowBytes) >= result.rowBytes;
    outputView.data = frame.outputInfo.data;
    outputView.rowBytes = frame.outputInfo.rowBytes;
    bool const inOutput = outputFits && !args.bend;
    bool const mergeOut = outputFits && args.bend;
    bool merged = false;
    PluginHost_API::RasterInfo& resultView = inOutput ? outputView : result;
    PluginHost_API::RasterInfo& sampleResult = shutter.multiSampling ? sampleResultOwn : resultView;

    CoreRenderArguments core;
    initializeCoreRenderArguments(&core);
    core.renderMode = 3;
    core.transformType = 2;
    core.filter = args.quality == 0   ? kKernelBox
                  : args.quality == 1 ? kKernelTriangle
                                      : kKernelParzen;
    core.kernelScale = 1.0;

    MirrelWorking w;
    w.setPoints(args);
    w.softness = MirrelWorking::scaledSoftness(args.softness, args.softnessType, scale);
    w.softnessAspect = args.softnessAspect;
    w.fadeStart = args.fadeStart;
    w.fadeLength = args.fadeLength;
    w.gamma = args.gamma;
    w.brightness = args.brightness;
    w.fadeNoise = args.fadeNoise;
    w.bendAngle = args.bendAngle;
    w.bendStart = args.bendStart;
    w.bendStretch = args.bendStretch;
    w.seamIntensity = args.seamIntensity;
    double const seamColor[3] = {args.seamRed, args.seamGreen, args.seamBlue};

    int red, green, blue, alpha;
    getRasterChannelOrder(frame.workInfo.format, red, green, blue, alpha);

    // A sample that reads what the one before it read draws the same picture (nothing moved
    // within the shutter): it keeps that picture, and the running average takes it in for the
    // whole run of such samples in one pass, when the picture is about to change or at the end.
    struct SampleInputs {
        MirrelWorking w;
        int softnessMode, Hp;
        CoreRenderArguments core;
        RenderSettings settings;
    };
    auto lastInputs = std::make_unique<SampleInputs>(), inputs = std::make_unique<SampleInputs>();
    bool haveLast = false;
    int runFirst = 0, runEnd = 0; // the samples that the sample result's picture stands for
    auto averageRun = [&] {
        BlendAlphaRunPreMult(p, c, a, v, f, runFirst, runEnd, &sampleResult, &result);
        runFirst = runEnd;
    };

    // "Simple" softness blurs one sample whole, the first whose radius comes to a pixel; the
    // samples after it blur only their flat image, uniformly and without the fade.
    int softnessMode = args.softnessType;

    int status = 0;
    for (int i = 0; i < shutter.count; ++i) {
        long const time = shutter.sampleTime(i);
        if (shutter.multiSampling) {
            PluginHost_API::TimeObject const t(time, shutter.timeStep, shutter.timeScale);
            readWorkingAt(host, t, w, args.softnessType, scale);
        } else {
            w.setPoints(args);
        }

        RenderSettings local;
        RenderSettings* const settings = hostOrFrameSettings(host, local, W, H);
        int const Hp = settings->srcRect.bottom - settings->srcRect.top + 1;
        settings->renderMode = core.renderMode;
        settings->alphaIndex = alpha;
        settings->useInputTransform = false;

        core.scale = 1.0;
        TX_Line2D baseline = loadMirrorQuads(host, w.handles, args, W, H, core);

        if (shutter.multiSampling) {
            std::memcpy(&inputs->w, &w, sizeof w);
            inputs->softnessMode = softnessMode;
            inputs->Hp = Hp;
            std::memcpy(&inputs->core, &core, sizeof core);
            std::memcpy(static_cast<void*>(&inputs->settings), settings, sizeof *settings);
            bool const same =
                haveLast && std::memcmp(&inputs->w, &lastInputs->w, sizeof w) == 0 &&
                inputs->softnessMode == lastInputs->softnessMode && inputs->Hp == lastInputs->Hp &&
                std::memcmp(&inputs->core, &lastInputs->core, sizeof core) == 0 &&
                std::memcmp(static_cast<void const*>(&inputs->settings),
                            static_cast<void const*>(&lastInputs->settings), sizeof *settings) == 0;
            std::swap(inputs, lastInputs);
            haveLast = true;
            if (same) {
                runEnd = i + 1;
                continue;
            }
            averageRun();
        }

        SampleSettings const sample{.softness = w.softness,
                                    .softnessAspect = w.softnessAspect,
                                    .softnessMode = softnessMode,
                                    .fadeStart = w.fadeStart,
                                    .fadeLength = w.fadeLength,
                                    .fadeType = args.fadeType,
                                    .gamma = w.gamma,
                                    .brightness = w.brightness,
                                    .bend = args.bend,
                                    .bendAngle = w.bendAngle,
                                    .bendStart = w.bendStart,
                                    .bendStretch = w.bendStretch,
                                    .seamStyle = args.seamStyle,
                                    .seamSize = args.seamSize,
                                    .seamIntensity = w.seamIntensity,
                                    .seamColor = seamColor,
                                    .clearDestination = true,
                                    .mergeInto = mergeOut ? &outputView : nullptr,
                                    .merged = &merged};
        // The render only reads its source: every sample reads the working copy.
        status = QuadToQuadRender(p, c, a, v, f, host, sourceView, sampleResult, frame.work, core,
                                  sample);

        if (plainSoftness(host, baseline, W, H, Hp, scale, sample,
                          merged ? outputView : sampleResult))
            softnessMode = kSoftnessUniform;

        runFirst = i, runEnd = i + 1;
    }

    // When every sample drew the same picture and averaging leaves it whole, it goes out as is.
    if (shutter.multiSampling) {
        PluginHost_API::RasterInfo* picture = &result;
        if (runFirst == 0 && runFromFirstIsCopy<P>())
            picture = &sampleResult;
        else
            averageRun();
        copyRows(*picture, frame.outputInfo, std::size_t(W) * pixelBytes, H);
    } else if (!inOutput && !merged) {
        copyRows(result, frame.outputInfo, std::size_t(W) * pixelBytes, H);
    }
    status = MirrelFinish(p, c, a, v, f, host, args, w.fadeNoise, frame.work.getImpl(),
                          frame.output.getImpl(), status, frame.pendingCopy);

    frame.output.release();
    frame.work.release();
    scratch.release();
    return status;
}
