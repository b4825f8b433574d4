#pragma once
// The geometry library: matrices, planar value types, convex polygon clipping and scan
// conversion.
#include "Transform/Common/LineRenderStruct.h"
#include "Transform/Common/TX_Assert.h"
#include "Transform/Common/TX_Lerp.h"
#include "Transform/Common/TX_Line2D.h"
#include "Transform/Common/TX_Macros.h"
#include "Transform/Common/TX_Matrix2D.h"
#include "Transform/Common/TX_Mtrx44.h"
#include "Transform/Common/TX_Point2D.h"
#include "Transform/Common/TX_Rects.h"

#define POLY_NMAX 10

// Bits of the interpolation mask, one per field of TX_Poly_vert in field order.
enum : unsigned long {
    POLY_MASK_SX = 1ul << 0,
    POLY_MASK_SY = 1ul << 1,
    POLY_MASK_SZ = 1ul << 2,
    POLY_MASK_SW = 1ul << 3,
    POLY_MASK_X = 1ul << 4,
    POLY_MASK_Y = 1ul << 5,
    POLY_MASK_Z = 1ul << 6,
    POLY_MASK_U = 1ul << 7,
    POLY_MASK_V = 1ul << 8,
    POLY_MASK_Q = 1ul << 9,
    POLY_MASK_NX = 1ul << 10,
    POLY_MASK_NY = 1ul << 11,
    POLY_MASK_NZ = 1ul << 12,
};

// A vertex: thirteen doubles, walked by index under the mask.
struct TX_Poly_vert {
    double sx, sy, sz, sw; // screen position, homogeneous before the divide
    double x, y, z;        // model position, never clipped or scanned
    double u, v;           // texture position, divided by w once scanned
    double q;              // 1/w
    double nx, ny;         // area scan scratch: sx * 512 and sy * 16
    double nz;

    double* fields() { return &sx; }
    const double* fields() const { return &sx; }
};
static_assert(sizeof(TX_Poly_vert) == 13 * sizeof(double), "vertex fields are walked by index");

// The clip volume.
struct TX_Poly_box {
    double x0, x1, y0, y1, z0, z1;
};

// Pixels that may be written, all bounds inclusive.
struct TX_Window {
    int x0, y0, x1, y1;
};

// A convex polygon of at most POLY_NMAX vertices in homogeneous screen space, with texture
// coordinates, and its converters into spans. The caller fills m_n, m_mask, m_vert,
// m_pixelBytes and the raster and call-back fields directly.
class TX_Poly {
  public:
    int m_n;
    unsigned long m_mask;
    TX_Poly_vert m_vert[POLY_NMAX];
    unsigned char* m_pixels; // address of raster row m_rowOrigin
    int m_rowBytes;
    int m_pixelBytes;
    int m_rowOrigin;
    int m_firstRow, m_endRow;    // raster rows drawn: m_firstRow up to, not with, m_endRow
    LineFunction m_lineFunction; // full-coverage spans
    void* m_lineData;            // held for the caller
    LineFunction m_edgeFunction; // spans with coverage (area scan)
    void* m_userData;            // first argument of every call-back
    int m_coverageSize;
    float* m_coverage;
    bool m_openMP; // defer interior spans of the area scan to after the walk
    LineRenderStruct* m_deferred;
    int m_deferredCount;

    TX_Poly();
    ~TX_Poly();

    // Whether the scans hand pixel row y to the call-backs.
    bool drawsRow(int y, const TX_Window* win) const {
        return y >= win->y0 && y <= win->y1 && y - m_rowOrigin >= m_firstRow &&
               y - m_rowOrigin < m_endRow;
    }
    TX_Poly(const TX_Poly&) = delete;
    TX_Poly& operator=(const TX_Poly&) = delete;

    void setOpenMP() { m_openMP = true; }

    // Clips p into q against sign * field - sw * k <= 0.
    static void poly_clip_to_halfspace(TX_Poly* p, TX_Poly* q, int index, double sign, double k);
    // 2: wholly inside, untouched. 1: cut. 0: nothing left (m_n is 0).
    static int poly_clip_to_box(TX_Poly* p1, TX_Poly_box* box, bool clipXY);
    static void incrementalize_y(double* p1, double* p2, double* p, double* dp, int y,
                                 unsigned long mask);
    static void incrementalize_x(double* p1, double* p2, double* p, double* dp, int x,
                                 unsigned long mask);
    static void areaIncrementalize_y(TX_Poly_vert* p1, TX_Poly_vert* p2, TX_Poly_vert* p,
                                     TX_Poly_vert* dp, int y, int subY);
    static void areaIncrementalize_x(TX_Poly_vert* lo, TX_Poly_vert* hi, TX_Poly_vert* p,
                                     TX_Poly_vert* dp, int x);
    static void poly_print(const char* name, TX_Poly* p);
    static void poly_vert_label(const char* prefix, unsigned long mask);
    static void poly_vert_print(const char* prefix, TX_Poly_vert* v, unsigned long mask);

    // Point-sampled: a pixel is in when its centre is. left and right are the window bounds the
    // span's leftCount and rightCount are reckoned from.
    void poly_scan(TX_Window* win, int left, int top, int right, int bottom);
    // Antialiased: 16 sub-rows per pixel row, x in 1/512 pixel; up to three spans per row.
    void polyAreaScan(TX_Window* win, int left, int top, int right, int bottom);
    void polyAreaScan_internal(TX_Window* win, int left, int top, int right, int bottom);
    // The vertex with the smallest screen y (the first of equals), or -1 when none is finite.
    int topVertex() const;
    void scanline(int y, int left, int right, TX_Poly_vert* lo, TX_Poly_vert* hi, TX_Window* win,
                  unsigned long mask);
    void areaScanline(int y, int left, int right, TX_Poly_vert* lo, TX_Poly_vert* hi,
                      TX_Window* win, int (*spans)[2]);
    void calcCoverage(int n, int x, int (*spans)[2]);
};
