#pragma once
#include "host/RasterInfo.h"
#include "host/TX_Rect.h"

// Whole-record operations that every host performs the same way. Rows are walked through
// row(y), so strides may differ or be negative.

// Zeroes width times pixelBytes bytes of every row.
void zeroRaster(PluginRasterInfo const& info);
// Zeroes rows top to bottom inclusive, from column left for right minus left pixels.
void zeroRasterRect(PluginRasterInfo const& info, TX_Rect const& rect);
// For each row both have, the smaller of the two widths, measured with the destination's
// pixel size.
void copyRaster(PluginRasterInfo const& src, PluginRasterInfo const& dst);
// Copies the source rectangle's rows to the destination's top-left corner. The bottom is
// clamped by the source's height, then by the destination's, keeping one shared bound.
void copyRasterRect(PluginRasterInfo const& src, PluginRasterInfo const& dst, TX_Rect srcRect,
                    TX_Rect const& dstRect);
// A record for unpadded rows at `data`, top-down, square pixels.
PluginRasterInfo packedRasterInfo(void* data, PluginRasterFormat format, int width, int height,
                                  int pixelBytes);
// Whether the bytes of two rasters' rows may meet (by the address ranges they span).
bool rastersOverlap(PluginRasterInfo const& a, PluginRasterInfo const& b);
