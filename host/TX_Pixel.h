#pragma once
#include <cstdint>

// A pixel of four 8-bit channels, in the memory order of its raster.
struct TX_Pixel {
    uint8_t c[4];
};
