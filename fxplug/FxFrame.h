#pragma once

class FxBitmap;

// Frame helpers of the filter. Rows are taken in the bitmaps' own memory order.

// The input itself when it has the output's size; otherwise a new bitmap of the output's record
// holding the input cropped or padded at the right and bottom (the caller releases it).
FxBitmap* getSameSizedInputAsOutput(FxBitmap* input, FxBitmap* output);

// A new bitmap of twice the height, each row twice in a row; null if it cannot be made.
FxBitmap* render_lineDouble(FxBitmap* bitmap);

// Every second row of `source`, from row 1 with `oddRows` and row 0 otherwise, into consecutive
// rows of `destination`, until either runs out.
void render_lineHalf(FxBitmap* source, FxBitmap* destination, bool oddRows);
