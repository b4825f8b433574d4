#pragma once
// The records of a transform of a raster: what the caller wants (CoreRenderArguments), the
// working record of one transform that kernels and line functions see (RenderSettings), and one
// span (LineRenderStruct, filled by the scan converter).
#include "Transform/Common/LineRenderStruct.h"
#include "Transform/Common/TX_Point2D.h"
#include "Transform/Common/TX_Rects.h"

#include <limits>

// A filter kernel: weight at distance x; the context is the RenderSettings that owns it.
typedef double (*KernelFunction)(double x, void* settings);

// Kernel identifiers of CoreRenderArguments::filter. Box doubles as nearest and triangle as
// bilinear; supersampled is turned into parzen by the transform; the two sharpening lanczos ids
// are plain lanczos.
enum KernelId : int {
    kKernelBox = 0,
    kKernelTriangle = 1,
    kKernelTriangle2 = 2,
    kKernelQuadratic = 3,
    kKernelCatrom = 4,
    kKernelCubic = 5,
    kKernelKeys = 6,
    kKernelSimon = 7,
    kKernelRifman = 8,
    kKernelParzen = 9,
    kKernelLanczos = 10,
    kKernelLanczos2 = 11,
    kKernelLanczos3 = 12,
    kKernelGaussian = 13,
    kKernelNormal = 14,
    kKernelBessel = 15,
    kKernelSinc = 16,
    kKernelHanning = 17,
    kKernelHamming = 18,
    kKernelBlackman = 19,
    kKernelMitchell = 20,
    kKernelKaiser = 21,
    kKernelSupersampled = 22,
    kKernelLanczosSharp = 23,
    kKernelLanczosSharp2 = 24,
};

struct CoreRenderArguments {
    int transformType; // 0 3D, 1 2D, 2 unit square to destQuad, 3 srcQuad to destQuad,
                       // 4 srcQuad to unit square
    int filter;        // kernel id: 0 nearest, 1 bilinear, 22 supersampled, others tabled
    double kernelScale;
    bool clampNegative;
    int kernelIndex;
    double mitchellB, mitchellC;
    bool sharpen;
    int sharpenFilter;
    double sharpenB, sharpenC;
    double sharpenSize;
    double sharpenAmount;
    bool sharpenClamp;
    int transformOrder;
    double scale, scaleX, scaleY, scaleZ;
    double translateX, translateY, translateZ;
    int rotationOrder;
    double rotationX, rotationY, rotationZ;
    double centerX, centerY, centerZ;
    double destQuad[4][2];
    double srcQuad[4][2];
    int renderMode; // 0 matrix from these arguments, 1 at output size, 2 and 3 explicit corners
    bool useMatrix;
    double matrix[4][4];
    int referenceWidth;
    int referenceHeight;
    double referenceDepth;
};

// The defaults: a 2D bilinear transform of the unit square onto itself.
void initializeCoreRenderArguments(CoreRenderArguments* args);

// Where a dry run of a transform would sample: the least and greatest source y at the ends of
// its spans, which bound every y of a span while its q keeps one sign.
struct RowsRead {
    float low = std::numeric_limits<float>::infinity();
    float high = -std::numeric_limits<float>::infinity();
    bool bounded = true; // false once a span's y could not be bounded by its ends
};

// Every field starts at zero, the sampling bounds and the rectangles empty and supersampling on
// a 3 by 3 grid a third of a pixel apart, equally weighted: a caller fills what it uses.
struct RenderSettings {
    int renderMode = 0;
    double destQuadStored[4][2] = {};    // top left, top right, bottom left, bottom right
    LineFunction lineFunction = nullptr; // whole pixels of a span
    void* lineData = nullptr;
    LineFunction edgeFunction = nullptr; // border pixels, with coverage
    unsigned char* srcPixels = nullptr;
    int srcPixelBytes = 0;
    int srcRowBytes = 0;
    unsigned char* dstPixels = nullptr;
    int dstRowBytes = 0;
    int dstTop = 0;     // first destination row in scan coordinates
    int interpMode = 0; // 0 nearest, 1 bilinear, 2 kernel table, 3 supersampled
    // Sampling bounds, inclusive; empty until set.
    int srcLeft = 0, srcTop = 0, srcRight = -1, srcBottom = -1;
    int outputWidth = 0, outputHeight = 0;
    int width = 0, height = 0;
    int minValue = 0, maxValue = 0;
    KernelFunction kernelFunc = nullptr;
    KernelFunction sharpenKernelA = nullptr;
    KernelFunction sharpenKernelB = nullptr;
    double mitchellCoeffs[3][7] = {}; // block 0 plain kernel, 1 kernel A, 2 kernel B
    double kaiserParams[3][2] = {};   // alpha and 1 / bessel_i0(alpha), blocks as above
    float sharpenSizeRatio = 0.0f;
    float sharpenAmount = 0.0f;
    int kernelPass = 0;         // which block a parametrised kernel reads now
    float kernelLut[2570] = {}; // 256 rows of kernelSize weights, packed
    int kernelSize = 0;
    double kernelScale = 0.0;
    TX_IRect dstRect;
    TX_IRect srcRect;
    TX_Point2D corners[4]; // top left, bottom left, bottom right, top right
    int offsetX = 0, offsetY = 0;
    TX_Point2D secondCorners[4];
    double srcQuadStored[4][2] = {};
    int alphaIndex = 0;
    void* spanWatch = nullptr; // the transform's own, while it watches where spans write
    double ssWeights[9] = {1.0 / 9.0, 1.0 / 9.0, 1.0 / 9.0, 1.0 / 9.0, 1.0 / 9.0,
                           1.0 / 9.0, 1.0 / 9.0, 1.0 / 9.0, 1.0 / 9.0};
    double ssOffsetX[9] = {-1 / 3.0, 0.0, 1 / 3.0, -1 / 3.0, 0.0, 1 / 3.0, -1 / 3.0, 0.0, 1 / 3.0};
    double ssOffsetY[9] = {-1 / 3.0, -1 / 3.0, -1 / 3.0, 0.0, 0.0, 0.0, 1 / 3.0, 1 / 3.0, 1 / 3.0};
    bool useInputTransform = false;
    double inputX = 0.0, inputY = 0.0, inputScaleX = 0.0, inputScaleY = 0.0, inputRotation = 0.0;
    // A dry run: the scan records where it would sample and draws nothing.
    RowsRead* rowsRead = nullptr;
    // Destination rows left undrawn at the top and at the bottom, which nothing reads later.
    int skipAbove = 0, skipBelow = 0;
};
