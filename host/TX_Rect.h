#pragma once
#include <cstdint>

// A rectangle of the host interface: 16-bit fields, top/left/bottom/right in that order.
struct TX_Rect {
    int16_t top;
    int16_t left;
    int16_t bottom;
    int16_t right;
};
