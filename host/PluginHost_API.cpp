#include "host/PluginHost_API.h"

#include "host/RasterOps.h"

#include <cmath>

int PluginHost_API::fill(PluginRaster_API* raster, TX_Rect* rect) {
    if (!rect) return fill(raster);
    RasterInfo info;
    getRasterInfo(raster, &info);
    zeroRasterRect(info, *rect); // right edge exclusive, bottom edge inclusive
    return 0;
}

double PluginHost_API::math_sqrt(double x) {
    return std::sqrt(x);
}
float PluginHost_API::math_sqrt(float x) {
    return std::sqrt(x);
}
double PluginHost_API::math_floor(double x) {
    return std::floor(x);
}
float PluginHost_API::math_floor(float x) {
    return std::floor(x);
}
double PluginHost_API::math_exp(double x) {
    return std::exp(x);
}
float PluginHost_API::math_exp(float x) {
    return std::exp(x);
}
double PluginHost_API::math_atan2(double y, double x) {
    return std::atan2(y, x);
}
float PluginHost_API::math_atan2(float y, float x) {
    return std::atan2(y, x);
}
double PluginHost_API::math_fabs(double x) {
    return std::fabs(x);
}
float PluginHost_API::math_fabs(float x) {
    return std::fabs(x);
}
double PluginHost_API::math_sin(double x) {
    return std::sin(x);
}
float PluginHost_API::math_sin(float x) {
    return std::sin(x);
}
double PluginHost_API::math_cos(double x) {
    return std::cos(x);
}
float PluginHost_API::math_cos(float x) {
    return std::cos(x);
}
double PluginHost_API::math_fmod(double x, double y) {
    return std::fmod(x, y);
}
float PluginHost_API::math_fmod(float x, float y) {
    return std::fmod(x, y);
}
double PluginHost_API::math_pow(double x, double y) {
    return std::pow(x, y);
}
float PluginHost_API::math_pow(float x, float y) {
    return std::pow(x, y);
}
float PluginHost_API::math_ceil(float x) {
    return std::ceil(x);
}
double PluginHost_API::math_ceil(double x) {
    return std::ceil(x);
}
float PluginHost_API::math_log(float x) {
    return std::log(x);
}
double PluginHost_API::math_log(double x) {
    return std::log(x);
}
