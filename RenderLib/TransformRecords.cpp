#include "RenderLib/TransformRecords.h"

void initializeCoreRenderArguments(CoreRenderArguments* args) {
    static const double unitQuad[4][2] = {{0.0, 0.0}, {0.0, 1.0}, {1.0, 0.0}, {1.0, 1.0}};
    args->transformType = 1;
    args->filter = kKernelTriangle;
    args->kernelScale = 1.0;
    args->clampNegative = false;
    args->kernelIndex = 0;
    args->mitchellB = 0.333;
    args->mitchellC = 0.333;
    args->sharpen = false;
    args->sharpenFilter = 4;
    args->sharpenB = 0.333;
    args->sharpenC = 0.333;
    args->sharpenSize = 0.0;
    args->sharpenAmount = 0.0;
    args->sharpenClamp = false;
    args->transformOrder = 0;
    args->scale = args->scaleX = args->scaleY = args->scaleZ = 1.0;
    args->translateX = args->translateY = args->translateZ = 0.0;
    args->rotationOrder = 0;
    args->rotationX = args->rotationY = args->rotationZ = 0.0;
    args->centerX = 0.5;
    args->centerY = 0.5;
    args->centerZ = 0.0;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 2; ++j) {
            args->destQuad[i][j] = unitQuad[i][j];
            args->srcQuad[i][j] = unitQuad[i][j];
        }
    }
    args->useMatrix = false;
    args->referenceWidth = 640;
    args->referenceHeight = 480;
    args->referenceDepth = 100.0;
}
