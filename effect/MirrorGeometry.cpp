#include "effect/MirrorGeometry.h"

#include "RenderLib/TransformRecords.h"
#include "Transform/Common/TX_Macros.h"
#include "Transform/Common/TX_Matrix2D.h"
#include "Transform/Common/TX_Mtrx44.h"
#include "host/Angles.h"
#include "host/PluginHost_API.h"
#include "params/ParamIds.h"
#include "params/RenderArguments.h"

#include <cmath>
#include <utility>

namespace {

// Reflects p through the pivot.
void mirrorThrough(double& x, double& y, double px, double py, double qx, double qy) {
    x = px - (qx - px);
    y = py - (qy - py);
}

void apply(TX_Matrix2D const& m, double& x, double& y) {
    TX_Point2D p = TX_Point2D(x, y) * m;
    x = p.x;
    y = p.y;
}

// Translate to the pivot, turn, scale, translate back: in call order.
TX_Matrix2D aboutPivot(double px, double py, double radians, double k) {
    return TX_Matrix2D().translate(-px, -py).rotate(radians).scale(k, k).translate(px, py);
}
} // namespace

void generateRotatePoints(float slantX, float slantY, float startX, float startY, float endX,
                          float endY, float width, float height, float translateX, float translateY,
                          float zoom, double* xs, double* ys, float heightFactor, bool backlit) {
    float const mx = (startX + endX) / 2, my = (startY + endY) / 2;
    if (startX > endX) {
        std::swap(startX, endX);
        std::swap(startY, endY);
    }
    TX_Line2D const lineA(mx, my, slantX, slantY, false);
    TX_Line2D const lineB(startX, startY, endX, endY, false);
    double const angleB = lineB.angle();
    double const angleA = lineA.angle();
    float const len = float(lineA.length());

    // Which side of the baseline the handle is on.
    float const dx = endX - startX, dy = endY - startY;
    bool below;
    if (MACRO_NOT_NEARLY_EQUAL(dx, 0.0) != 0.0) {
        float const slope = dy / dx;
        float const intercept = startY - slope * startX;
        below = slantY > slope * slantX + intercept;
    } else {
        below = slantY > endY;
    }
    if (startX == endX && startX > slantX) below = !below;
    double const s = below ? -1.0 : 1.0;

    // A frame-sized rectangle centred on the baseline, turned with it, seen by a camera at the
    // distance where the plane fills the frame.
    float const aspect = width / height;
    TX_Mtrx44 m;
    m.scale(width / 2, height / 2, 1);
    m.translate(1, 1, 0);
    // The layout's camera takes its near plane as the double 0.01, as the transform's does not.
    m.frameCamera(0.01);
    m.translate(0, 0, 0);
    m.translate(mx / width - 0.5, my / height - 0.5, 0);
    m.scale(1 / aspect, 1, 1);
    m.rotZ(float(angleB * 180 / kPi)); // through pi, not kRadiansToDegrees: the bits differ
    m.scale(aspect, 1, 1);
    m.translate(0, 0.5 * s, 0);
    m.scale(1, s, 1);
    m.translate(0, 0, 0);
    m.translate(-0.5, -0.5, 0);

    double px[4], py[4], z, w = 1;
    double const unit[4][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    for (int i = 0; i < 4; ++i) m.transform(unit[i][0], unit[i][1], 0, 1, &px[i], &py[i], &z, &w);
    for (int i = 0; i < 4; ++i) px[i] /= w, py[i] /= w;

    for (int i = 0; i < 4; ++i) xs[i] = px[i], ys[i] = py[i];
    xs[4] = px[2], ys[4] = py[2], xs[5] = px[3], ys[5] = py[3];
    xs[6] = px[0], ys[6] = py[0], xs[7] = px[1], ys[7] = py[1];

    // Far corners of the destination follow the handle: turned and scaled about the near ones.
    float const k = len / (heightFactor * height);
    double const r = angleB - angleA - kHalfPi;
    apply(aboutPivot(px[0], py[0], r, k), xs[2], ys[2]);
    apply(aboutPivot(px[1], py[1], r, k), xs[3], ys[3]);
    if (!below) {
        mirrorThrough(xs[2], ys[2], px[0], py[0], xs[2], ys[2]);
        mirrorThrough(xs[3], ys[3], px[1], py[1], xs[3], ys[3]);
    }

    // Frontlit takes the source on the handle's side.
    if (!backlit) {
        mirrorThrough(xs[4], ys[4], px[0], py[0], px[2], py[2]);
        mirrorThrough(xs[5], ys[5], px[1], py[1], px[3], py[3]);
    }

    // Zoom and translate move the destination only.
    double const cx = (xs[6] + xs[7]) / 2, cy = (ys[6] + ys[7]) / 2;
    TX_Matrix2D const zm = TX_Matrix2D().translate(-cx, -cy).scale(zoom, zoom).translate(cx, cy);
    float const shiftX = (translateX - 0.5f) * width, shiftY = (translateY - 0.5f) * height;
    for (int i : {2, 3, 6, 7}) {
        apply(zm, xs[i], ys[i]);
        xs[i] += shiftX;
        ys[i] += shiftY;
    }

    std::swap(xs[2], xs[3]), std::swap(ys[2], ys[3]);
    std::swap(xs[6], xs[7]), std::swap(ys[6], ys[7]);
}

namespace {
// One side of the quad: a far corner, a near corner, written back by pass.
void bendSide(double& fx, double& fy, double& nx, double& ny, double t, double u, double angle,
              double stretch, int pass) {
    double const lx = fx * u + nx * t, ly = fy * u + ny * t;
    TX_Matrix2D const m = aboutPivot(lx, ly, angle, stretch);
    double afx = fx, afy = fy, anx = nx, any = ny;
    apply(m, afx, afy);
    apply(m, anx, any);
    switch (pass) {
    case 1:
        fx = afx, fy = afy, nx = anx, ny = any;
        break;
    case 2:
        fx = lx, fy = ly;
        break;
    case 3:
        fx = afx, fy = afy, nx = lx, ny = ly;
        break;
    default:
        break;
    }
}
} // namespace

int bendPoints(double& x0, double& y0, double& x1, double& y1, double& x2, double& y2, double& x3,
               double& y3, double bendStart, double bendAngle, double bendStretch, int /*width*/,
               int height, int bendPass) {
    if (bendPass == 0) return 0;
    // Stays in percent units: the near mask's pivot sits a hundredth of a row before the others.
    if (bendPass == 2) bendStart += -1.0 / (height - 1);
    double const t = 0.01 * bendStart, u = 1 - t;
    double const angle = bendAngle * kPi / 180; // not kDegreesToRadians: the bits differ
    bendSide(x0, y0, x1, y1, t, u, angle, bendStretch, bendPass);
    bendSide(x2, y2, x3, y3, t, u, angle, bendStretch, bendPass);
    return 0;
}

TX_Line2D loadMirrorQuads(PluginHost_API* host, MirrorHandles h, RenderArguments const& args,
                          int rasterWidth, int rasterHeight, CoreRenderArguments& core) {
    int W = rasterWidth, H = rasterHeight;
    auto* settings = static_cast<RenderSettings*>(host->getUserData());
    if (settings) {
        W = settings->srcRect.right - settings->srcRect.left + 1;
        H = settings->srcRect.bottom - settings->srcRect.top + 1;
    }
    double sizeFactor = 1.0;
    if (host->getAEHost() && settings && (settings->offsetX > 0 || settings->offsetY >= 1)) {
        double const ow = host->getOutputWidth(), oh = host->getOutputHeight();
        for (double* x : {&h.startX, &h.endX, &h.slantX})
            *x = (*x * ow + settings->offsetX) / rasterWidth;
        for (double* y : {&h.startY, &h.endY, &h.slantY})
            *y = (*y * oh + settings->offsetY) / rasterHeight;
        settings->offsetX = settings->offsetY = 0;
        host->setOutputSize(rasterWidth, rasterHeight);
        sizeFactor = double(host->getOutputHeight()) / rasterHeight;
    }
    for (double* x : {&h.startX, &h.endX, &h.slantX}) *x *= W - 1;
    for (double* y : {&h.startY, &h.endY, &h.slantY}) *y *= H - 1;
    // A baseline of no length lies flat, two pixels long.
    if (h.startX == h.endX && h.startY == h.endY) {
        h.startX -= 1.0;
        h.endX += 1.0;
    }
    TX_Line2D const baseline(h.startX, h.startY, h.endX, h.endY, false);

    double xs[8], ys[8];
    generateRotatePoints(float(h.slantX), float(h.slantY), float(h.startX), float(h.startY),
                         float(h.endX), float(h.endY), float(W), float(H), float(args.translateX),
                         float(args.translateY), float(args.zoom), xs, ys, float(0.25 * sizeFactor),
                         args.light == kBacklit);
    int const dest[4] = {3, 7, 2, 6}, src[4] = {4, 0, 5, 1};
    for (int i = 0; i < 4; ++i) {
        core.destQuad[i][0] = xs[dest[i]] / (W - 1);
        core.destQuad[i][1] = ys[dest[i]] / (H - 1);
        core.srcQuad[i][0] = xs[src[i]] / (W - 1);
        core.srcQuad[i][1] = ys[src[i]] / (H - 1);
    }
    return baseline;
}
