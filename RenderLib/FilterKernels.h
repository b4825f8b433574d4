#pragma once
// One-dimensional resampling kernels and the weight table the samplers read. Kernels are
// evaluated only while the table is built, never per pixel.
#include "RenderLib/TransformRecords.h"

double filter_box(double x, void* settings);
double filter_triangle(double x, void* settings);
double filter_quadratic(double x, void* settings);
double filter_cubic(double x, void* settings);
double filter_parzen(double x, void* settings);
double filter_keys(double x, void* settings);
double filter_simon(double x, void* settings);
double filter_rifman(double x, void* settings);
double filter_catrom(double x, void* settings);
double filter_mitchell(double x, void* settings);
double filter_lanczos(double x, void* settings);
double filter_lanczos2(double x, void* settings);
double filter_lanczos3(double x, void* settings);
double filter_sinc(double x, void* settings);
double filter_gaussian(double x, void* settings);
double filter_normal(double x, void* settings);
double filter_bessel(double x, void* settings);
double filter_hanning(double x, void* settings);
double filter_hamming(double x, void* settings);
double filter_blackman(double x, void* settings);
double filter_kaiser(double x, void* settings);
double filter_sharpen_clamp(double x, void* settings);
double filter_sharpen_noclamp(double x, void* settings);

double bessel_i0(double x);
// Seven doubles of a Mitchell block from its b and c.
void mitchell_init(double b, double c, void* block);
// Two doubles of a Kaiser block: alpha and 1 / bessel_i0(alpha). The second argument is unused.
void kaiser_init(double alpha, double ignored, void* block);

// The kernel of an identifier, or null for an unknown one.
KernelFunction getInterpLineFunc(int id);

// Derives the tap count from the render scale; below the smallest, falls back to nearest.
void setKernelTransformSize(RenderSettings* settings, int index, float scale);

void setInterpLineFunc(RenderSettings* settings, double b, double c, int filter, bool sharpen,
                       int filter2, double sharpenSize, bool sharpenClamp, double b2, double c2,
                       double sharpenAmount, bool clampNegative, bool buildLut);

// Fills kernelLut: 256 rows of kernelSize weights, phase -1 to +1.
void calculateLut(RenderSettings* settings, bool clampNegative);

// Row of the table for a fractional offset f from -1 to +1.
inline int kernelLutRow(float f) {
    int row = int((f + 1.0f) * 255.0f * 0.5f);
    return row < 0 ? 0 : (row > 255 ? 255 : row);
}
