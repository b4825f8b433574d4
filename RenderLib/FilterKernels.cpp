#include "RenderLib/FilterKernels.h"

#include "Transform/Common/TX_Macros.h"
#include "host/Angles.h"

#include <cmath>
#include <math.h>

namespace {

RenderSettings* asSettings(void* context) {
    return static_cast<RenderSettings*>(context);
}

// The parametrised kernels of a sharpening pair each read their own block.
void initBlock(RenderSettings* s, int filter, int block, double b, double c) {
    if (filter == kKernelMitchell) mitchell_init(b, c, s->mitchellCoeffs[block]);
    if (filter == kKernelKaiser) kaiser_init(b, c, s->kaiserParams[block]);
}
} // namespace

double filter_box(double x, void*) {
    return (x >= -0.5 && x < 0.5) ? 1.0 : 0.0;
}

double filter_triangle(double x, void*) {
    if (x >= -1.0 && x < 0.0) return x + 1.0;
    if (x >= 0.0 && x < 1.0) return 1.0 - x;
    return 0.0;
}

double filter_quadratic(double x, void*) {
    if (x >= -1.5 && x < -0.5) return 0.5 * (1.5 + x) * (1.5 + x);
    if (x >= -0.5 && x < 0.5) return 0.75 - x * x;
    if (x >= 0.5 && x < 1.5) return 0.5 * (x - 1.5) * (x - 1.5);
    return 0.0;
}

double filter_cubic(double x, void*) {
    if (x >= -2.0 && x < -1.0) return (2.0 + x) * (2.0 + x) * (2.0 + x) / 6.0;
    if (x >= -1.0 && x < 0.0) return (x * x * (-3.0 * x - 6.0) + 4.0) / 6.0;
    if (x >= 0.0 && x < 1.0) return (x * x * (3.0 * x - 6.0) + 4.0) / 6.0;
    if (x >= 1.0 && x < 2.0) return (2.0 - x) * (2.0 - x) * (2.0 - x) / 6.0;
    return 0.0;
}

double filter_parzen(double x, void*) {
    double t = std::fabs(x);
    if (t < 1.0) return (3.0 * t * t * t - 6.0 * t * t + 4.0) / 6.0;
    if (t < 2.0) return (-t * t * t + 6.0 * t * t - 12.0 * t + 8.0) / 6.0;
    return 0.0;
}

double filter_keys(double x, void*) {
    double t = std::fabs(x);
    if (t < 1.0) return 1.5 * t * t * t - 2.5 * t * t + 1.0;
    if (t < 2.0) return -0.5 * t * t * t + 2.5 * t * t - 4.0 * t + 2.0;
    return 0.0;
}

double filter_simon(double x, void*) {
    double t = std::fabs(x);
    if (t < 1.0) return 1.25 * t * t * t - 2.25 * t * t + 1.0;
    if (t < 2.0) return -0.75 * t * t * t + 3.75 * t * t - 6.0 * t + 3.0;
    return 0.0;
}

double filter_rifman(double x, void*) {
    double t = std::fabs(x);
    if (t < 1.0) return t * t * t - 2.0 * t * t + 1.0;
    if (t < 2.0) return -t * t * t + 5.0 * t * t - 8.0 * t + 4.0;
    return 0.0;
}

double filter_catrom(double x, void*) {
    if (x >= -2.0 && x < -1.0) return ((8.0 + (5.0 + x) * x) * x + 4.0) / 2.0;
    if (x >= -1.0 && x < 0.0) return (x * x * (-3.0 * x - 5.0) + 2.0) / 2.0;
    if (x >= 0.0 && x < 1.0) return (x * x * (3.0 * x - 5.0) + 2.0) / 2.0;
    if (x >= 1.0 && x < 2.0) return (((5.0 - x) * x - 8.0) * x + 4.0) / 2.0;
    return 0.0;
}

double filter_mitchell(double x, void* context) {
    RenderSettings* s = asSettings(context);
    const double* c = s->mitchellCoeffs[s->kernelPass];
    if (x >= -2.0 && x < -1.0) return c[3] - (c[4] - (c[5] - c[6] * x) * x) * x;
    if (x >= -1.0 && x < 0.0) return c[0] + (c[1] - c[2] * x) * x * x;
    if (x >= 0.0 && x < 1.0) return c[0] + (c[2] * x + c[1]) * x * x;
    if (x >= 1.0 && x < 2.0) return c[3] + ((c[6] * x + c[5]) * x + c[4]) * x;
    return 0.0;
}

double filter_lanczos(double x, void*) {
    if (x == 0.0) return 1.0;
    if (std::fabs(x) < 2.0)
        return 2.0 * std::sin(kPi * x) * std::sin(kPi * x / 2.0) / (kPiSquared * x * x);
    return 0.0;
}

// The bare window: no sinc factor.
double filter_lanczos2(double x, void*) {
    if (x == 0.0) return 1.0;
    if (std::fabs(x) < 2.0) {
        double y = 0.5 * x * kPi;
        return std::sin(y) / y;
    }
    return 0.0;
}

double filter_lanczos3(double x, void*) {
    if (x == 0.0) return 1.0;
    if (std::fabs(x) < 3.0) {
        double y = x * kPi / 3.0;
        return std::sin(y) / y;
    }
    return 0.0;
}

double filter_sinc(double x, void*) {
    if (x == 0.0) return 1.0;
    return std::sin(kPi * x) / (kPi * x);
}

double filter_gaussian(double x, void*) {
    return 0.7978845608028654 * std::exp(-2.0 * x * x);
}

double filter_normal(double x, void*) {
    return std::exp(-x * x / 2.0) / 2.5066282746310002;
}

double filter_bessel(double x, void*) {
    if (x == 0.0) return 0.7853981633974483;
    return ::j1(kPi * x) / (2.0 * x);
}

// The cosine windows halve x and test against 2, so they reach out to x = 4.
double filter_hanning(double x, void*) {
    double h = x / 2.0;
    if (h > -2.0 && h < 2.0) return 0.5 + 0.5 * std::cos(kPi * h);
    return 0.0;
}

double filter_hamming(double x, void*) {
    double h = x / 2.0;
    if (h > -2.0 && h < 2.0) return 0.54 + 0.46 * std::cos(kPi * h);
    return 0.0;
}

double filter_blackman(double x, void*) {
    double h = x / 2.0;
    if (h > -2.0 && h < 2.0) return 0.42 + 0.5 * std::cos(kPi * h) + 0.08 * std::cos(2.0 * kPi * h);
    return 0.0;
}

// No range test: past |x| = 1 the root is NaN, bessel_i0 gives 1.0 and the kernel r.
double filter_kaiser(double x, void* context) {
    RenderSettings* s = asSettings(context);
    const double* k = s->kaiserParams[s->kernelPass];
    return k[1] * bessel_i0(k[0] * std::sqrt(1.0 - x * x));
}

double filter_sharpen_noclamp(double x, void* context) {
    RenderSettings* s = asSettings(context);
    s->kernelPass = 1;
    double a = s->sharpenKernelA ? s->sharpenKernelA(x, s) : 0.0;
    s->kernelPass = 2;
    double b = s->sharpenKernelB ? s->sharpenKernelB(s->sharpenSizeRatio * x, s) : 0.0;
    return a - s->sharpenAmount * b;
}

double filter_sharpen_clamp(double x, void* context) {
    double r = filter_sharpen_noclamp(x, context);
    return r < 0.0 ? 0.0 : r;
}

double bessel_i0(double x) {
    double q = x * x / 4.0;
    double t = q;
    double sum = 1.0;
    int i = 2;
    while (t > 1e-7) {
        sum += t;
        t *= q / (i * i);
        ++i;
    }
    return sum;
}

void mitchell_init(double b, double c, void* block) {
    double* k = static_cast<double*>(block);
    k[0] = (6.0 - 2.0 * b) / 6.0;
    k[1] = (12.0 * b - 18.0 + 6.0 * c) / 6.0;
    k[2] = (12.0 - 9.0 * b - 6.0 * c) / 6.0;
    k[3] = (8.0 * b + 24.0 * c) / 6.0;
    k[4] = (-12.0 * b - 48.0 * c) / 6.0;
    k[5] = (6.0 * b + 30.0 * c) / 6.0;
    k[6] = (-6.0 * c - b) / 6.0;
}

void kaiser_init(double alpha, double, void* block) {
    double* k = static_cast<double*>(block);
    k[0] = alpha;
    k[1] = 1.0 / bessel_i0(alpha);
}

KernelFunction getInterpLineFunc(int id) {
    switch (id) {
    case kKernelBox:
        return filter_box;
    case kKernelTriangle:
    case kKernelTriangle2:
        return filter_triangle;
    case kKernelQuadratic:
        return filter_quadratic;
    case kKernelCatrom:
        return filter_catrom;
    case kKernelCubic:
        return filter_cubic;
    case kKernelKeys:
        return filter_keys;
    case kKernelSimon:
        return filter_simon;
    case kKernelRifman:
        return filter_rifman;
    case kKernelParzen:
        return filter_parzen;
    case kKernelLanczos:
        return filter_lanczos;
    case kKernelLanczos2:
        return filter_lanczos2;
    case kKernelLanczos3:
        return filter_lanczos3;
    case kKernelGaussian:
        return filter_gaussian;
    case kKernelNormal:
        return filter_normal;
    case kKernelBessel:
        return filter_bessel;
    case kKernelSinc:
        return filter_sinc;
    case kKernelHanning:
        return filter_hanning;
    case kKernelHamming:
        return filter_hamming;
    case kKernelBlackman:
        return filter_blackman;
    case kKernelMitchell:
        return filter_mitchell;
    case kKernelKaiser:
        return filter_kaiser;
    case kKernelLanczosSharp:
    case kKernelLanczosSharp2:
        return filter_lanczos;
    default:
        return nullptr;
    }
}

void setKernelTransformSize(RenderSettings* settings, int index, float scale) {
    static const int _kernelArray[9] = {4, 6, 8, 10, 12, 14, 16, 18, 20};
    float threshold = 0.5f;
    for (int i = 0; i < 4; ++i) {
        if (threshold > scale) --index;
        threshold *= 0.5f;
    }
    if (index < 0) {
        settings->kernelSize = 1;
        settings->interpMode = 0;
        return;
    }
    if (index > 3) index = 3;
    settings->kernelSize = _kernelArray[index];
}

void setInterpLineFunc(RenderSettings* settings, double b, double c, int filter, bool sharpen,
                       int filter2, double sharpenSize, bool sharpenClamp, double b2, double c2,
                       double sharpenAmount, bool clampNegative, bool buildLut) {
    if (filter == kKernelLanczosSharp || filter == kKernelLanczosSharp2) {
        filter = kKernelLanczos;
        sharpen = false;
    }
    settings->kernelPass = 0;
    settings->sharpenSizeRatio = float(5.0 * (1.0 - sharpenSize) + 1.5 * sharpenSize);
    settings->sharpenAmount = float(sharpenAmount);
    if (!sharpen) {
        settings->kernelFunc = getInterpLineFunc(filter);
        initBlock(settings, filter, 0, b, c);
    } else {
        settings->kernelFunc = sharpenClamp ? filter_sharpen_clamp : filter_sharpen_noclamp;
        settings->sharpenKernelA = getInterpLineFunc(filter);
        initBlock(settings, filter, 1, b, c);
        settings->sharpenKernelB = getInterpLineFunc(filter2);
        initBlock(settings, filter2, 2, b2, c2);
    }
    if (buildLut) calculateLut(settings, clampNegative);
}

void calculateLut(RenderSettings* settings, bool clampNegative) {
    int n = settings->kernelSize;
    if (n < 4) n = 4;
    if (n > 32) n = 32;
    const double s = 1.0 / settings->kernelScale;
    KernelFunction kernel = settings->kernelFunc;
    float* out = settings->kernelLut;
    double weights[32];
    for (int i = 0; i < 256; ++i) {
        const double phase = 2.0 * i * 0.00392156862745098 - 1.0;
        double sum = 0.0;
        for (int j = 0; j < n; ++j) {
            const double a = double(j) / double(n - 1);
            const double position = 2.0 * a - (1.0 - a);
            // An unknown identifier has no kernel: its rows stay zero rather than crash.
            double w = kernel ? kernel((position - phase) * s, settings) : 0.0;
            if (clampNegative && w < 0.0) w = 0.0;
            weights[j] = w;
            sum += w;
        }
        if (MACRO_NOT_NEARLY_EQUAL(sum, 0.0) != 0.0) {
            const double r = 1.0 / sum;
            for (int j = 0; j < n; ++j) weights[j] *= r;
        }
        for (int j = 0; j < n; ++j) out[i * n + j] = float(weights[j]);
    }
}
