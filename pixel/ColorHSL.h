#pragma once

// Colour helpers of the blend modes. The lightness is a luma (0.299, 0.587, 0.114) and hue runs
// from 0 to 6.
float max3(float a, float b, float c);
float min3(float a, float b, float c);
void rgb2hsl(float r, float g, float b, float& h, float& s, float& l);
void hsl2rgb(float h, float s, float l, float& r, float& g, float& b);
