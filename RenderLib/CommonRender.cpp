#include "RenderLib/CommonRender.h"

#include "host/RasterOps.h"
#include "pixel/FormatDispatch.h"

#include <cmath>

void* allocTransformRaster(PluginHost_API* host, PluginHost_API::RasterInfo& info,
                           PluginRaster_API::PixelType, int width, int height, int byteCount,
                           int pixelBytes, PluginHost_API::RasterFormat format) {
    void* handle = host->allocMemory(byteCount);
    void* pixels = handle ? host->lockMemory(handle) : nullptr;
    info = packedRasterInfo(pixels, format, width, height, pixelBytes);
    if (handle && !pixels)
        host->deallocMemory(handle); // a block that cannot be locked is given back
    if (!pixels) return nullptr;
    return handle;
}

bool checkConcave(const double* quad) {
    static const int ring[4] = {0, 1, 3, 2};
    bool negative = false, positive = false;
    for (int i = 0; i < 4; ++i) {
        const double* prev = quad + 2 * ring[(i + 3) % 4];
        const double* cur = quad + 2 * ring[i];
        const double* next = quad + 2 * ring[(i + 1) % 4];
        const double inX = cur[0] - prev[0], inY = cur[1] - prev[1];
        const double outX = next[0] - cur[0], outY = next[1] - cur[1];
        const double z = inX * outY - inY * outX;
        if (z < 0.0) negative = true;
        if (z > 0.0) positive = true;
        if (negative && positive) return true;
    }
    return !negative && !positive;
}

namespace {
// The caller's quads list (0,0), (0,1), (1,0), (1,1); the matrix wants crossing order.
void storeQuad(const double (*quad)[2], double (*stored)[2]) {
    static const int order[4] = {0, 2, 1, 3};
    for (int i = 0; i < 4; ++i) {
        stored[i][0] = quad[order[i]][0];
        stored[i][1] = quad[order[i]][1];
    }
}

void storeUnitSquare(double (*stored)[2]) {
    static const double unit[4][2] = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {1.0, 1.0}};
    for (int i = 0; i < 4; ++i) stored[i][0] = unit[i][0], stored[i][1] = unit[i][1];
}

struct Centre {
    double x, y, z;
};

void scaleStep(TX_Mtrx44& m, const CoreRenderArguments& a, const Centre& c) {
    m.translate(-c.x, -c.y, -c.z);
    m.scale(a.scale * a.scaleX, a.scale * a.scaleY, a.scaleZ);
    m.translate(c.x, c.y, c.z);
}

void translateStep(TX_Mtrx44& m, const CoreRenderArguments& a) {
    m.translate(a.translateX, a.translateY, a.translateZ);
}

void rotateStep(TX_Mtrx44& m, const CoreRenderArguments& a, const Centre& c, double aspect) {
    if (a.rotationX == 0.0 && a.rotationY == 0.0 && a.rotationZ == 0.0) return;
    m.translate(-c.x, -c.y, -c.z);
    m.scale(1.0 / aspect, 1.0, 1.0);
    const double rx = a.rotationX, ry = a.rotationY, rz = a.rotationZ;
    switch (a.rotationOrder) {
    case 0:
        m.rotX(rx), m.rotY(ry), m.rotZ(rz);
        break;
    case 1:
        m.rotX(rx), m.rotZ(rz), m.rotY(ry);
        break;
    case 2:
        m.rotY(ry), m.rotX(rx), m.rotZ(rz);
        break;
    case 3:
        m.rotY(ry), m.rotZ(rz), m.rotX(rx);
        break;
    case 4:
        m.rotZ(rz), m.rotX(rx), m.rotY(ry);
        break;
    case 5:
        m.rotZ(rz), m.rotY(ry), m.rotX(rx);
        break;
    default:
        break;
    }
    m.scale(aspect, 1.0, 1.0);
    m.translate(c.x, c.y, c.z);
}
} // namespace

int calcMatrix(TX_Mtrx44& m, CoreRenderArguments& args, RenderSettings& s, int width, int height,
               int&, int&) {
    const int type = args.transformType;
    if (type == 2 || type == 3) {
        storeQuad(args.destQuad, s.destQuadStored);
        if (checkConcave(&s.destQuadStored[0][0])) return 1;
    } else {
        storeUnitSquare(s.destQuadStored);
    }
    if (type == 3 || type == 4) {
        storeQuad(args.srcQuad, s.srcQuadStored);
        if (checkConcave(&s.srcQuadStored[0][0])) return 1;
    } else {
        storeUnitSquare(s.srcQuadStored);
    }
    m.unify();
    // A 2D transform may only rotate in the plane.
    if (type != 0) {
        args.translateZ = 0.0;
        args.rotationX = 0.0;
        args.rotationY = 0.0;
    }
    m.scale(width * 0.5, height * 0.5, 1.0);
    m.translate(1.0, 1.0, 0.0);
    // The transform's camera takes its near plane through float, as the mirror's layout does not.
    m.frameCamera(double(0.01f));
    if (args.useMatrix) {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) m.m_elem[4 * r + c] = args.matrix[r][c];
    }
    const float aspect = float(width) / float(height);
    const Centre centre{float(args.centerX - 0.5), float(args.centerY - 0.5), float(args.centerZ)};
    switch (args.transformOrder) {
    case 0:
        scaleStep(m, args, centre), rotateStep(m, args, centre, aspect), translateStep(m, args);
        break;
    case 1:
        scaleStep(m, args, centre), translateStep(m, args), rotateStep(m, args, centre, aspect);
        break;
    case 2:
        rotateStep(m, args, centre, aspect), scaleStep(m, args, centre), translateStep(m, args);
        break;
    case 3:
        rotateStep(m, args, centre, aspect), translateStep(m, args), scaleStep(m, args, centre);
        break;
    case 4:
        translateStep(m, args), scaleStep(m, args, centre), rotateStep(m, args, centre, aspect);
        break;
    case 5:
        translateStep(m, args), rotateStep(m, args, centre, aspect), scaleStep(m, args, centre);
        break;
    default:
        break;
    }
    m.translate(-0.5, -0.5, 0.0);
    if (type == 2) {
        m.square2Quad(&s.destQuadStored[0][0]);
    } else if (type == 3) {
        m.quad2Quad(&s.srcQuadStored[0][0], &s.destQuadStored[0][0], s.useInputTransform, s.inputX,
                    s.inputY, s.inputScaleX, s.inputScaleY, s.inputRotation, centre.x, centre.y,
                    centre.z, aspect);
    } else if (type == 4) {
        m.quad2Square(&s.srcQuadStored[0][0]);
    }
    if (s.useInputTransform && type == 2) {
        m.inputTransform(s.inputX, s.inputY, s.inputScaleX, s.inputScaleY, s.inputRotation,
                         centre.x, centre.y, centre.z, aspect);
    }
    if (s.renderMode == 1 && s.interpMode >= 1 && s.interpMode <= 3) {
        m.scale(float(width - 1) / float(width), float(height - 1) / float(height), 1.0);
    }
    return 0;
}

namespace {
using CoreTransformRender = int(PluginHost_API*, CoreRenderArguments&,
                                const PluginHost_API::RasterInfo&,
                                const PluginHost_API::RasterInfo&, bool, bool, RenderSettings*,
                                bool, bool);
#define MIRREL_CORE_INSTANCE(NAME) {RF_##NAME, CommonRender_##NAME##_CoreTransformRender},
constexpr FormatInstance<CoreTransformRender> _instances[] = {
    MIRREL_LIBRARY_FORMATS(MIRREL_CORE_INSTANCE)};
#undef MIRREL_CORE_INSTANCE
} // namespace

int CommonRender_CoreTransformRender(PluginHost_API* host, CoreRenderArguments& args,
                                     const PluginHost_API::RasterInfo& source,
                                     const PluginHost_API::RasterInfo& destination, bool clearDest,
                                     bool singleChannel, RenderSettings* settings,
                                     bool edgeCoverage, bool fillPolygon) {
    PluginHost_API::RasterInfo output;
    host->getOutputRasterInfo(&output);
    return dispatchFormat(_instances, output.format, 1, host, args, source, destination, clearDest,
                          singleChannel, settings, edgeCoverage, fillPolygon);
}
