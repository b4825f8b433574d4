#pragma once

// One span of a destination row, handed from the scan converter to a line function.
// u, v, q are the homogeneous source position at the span's first pixel centre, du, dv, dq their
// change per pixel. A line function must leave u, v, q advanced by count steps: the next span of
// the same row continues from them.
struct LineRenderStruct {
    double u;
    double v;
    double q;
    double du;
    double dv;
    double dq;
    int leftCount;       // pixels from the window's left bound to the span (0 from the area scan)
    int count;           // pixels of the span; zero or negative means none
    int rightCount;      // pixels from the span to the window's right bound (0 from the area scan)
    unsigned char* dest; // row start (point scan) or the span's first pixel (area scan)
    float* coverage;     // edge spans only: one value per pixel, 0 to 1
};

// Called with the transform's settings record and one span; the result is not read.
typedef int (*LineFunction)(void* settings, LineRenderStruct* span);
