#pragma once
#include "Transform/Common/TX_Line2D.h"

class PluginHost_API;
struct CoreRenderArguments;
struct RenderArguments;

// Turns the handles into the two quads of the mirror: the source region that is mirrored and the
// destination where it lands. Pure arithmetic in pixels.
//
// On return the arrays hold, by index: 0, 1 near left and right of the source; 2, 3 far right and
// left of the destination; 4, 5 far left and right of the source; 6, 7 near right and left of
// the destination.
void generateRotatePoints(float slantX, float slantY, float startX, float startY, float endX,
                          float endY, float width, float height, float translateX, float translateY,
                          float zoom, double* xs, double* ys, float heightFactor, bool backlit);

// Folds a destination quad (corners 0 to 3 in place) along the line at bendStart percent from
// its far edge. Pass 1 turns whole sides, pass 2 keeps the near part, pass 3 the turned far part;
// pass 0 leaves the quad. Always 0.
int bendPoints(double& x0, double& y0, double& x1, double& y1, double& x2, double& y2, double& x3,
               double& y3, double bendStart, double bendAngle, double bendStretch, int width,
               int height, int bendPass);

// The handles of one sample, normalised to the raster, rows top-down.
struct MirrorHandles {
    double startX, startY;
    double endX, endY;
    double slantX, slantY;
};

// Scales the handles to pixels for the raster (or the host's area), places the quads and stores
// them, normalised, in the arguments' destQuad and srcQuad. Returns the baseline in pixels.
TX_Line2D loadMirrorQuads(PluginHost_API* host, MirrorHandles handles, RenderArguments const& args,
                          int rasterWidth, int rasterHeight, CoreRenderArguments& core);
