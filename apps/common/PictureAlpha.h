#pragma once
#include "apps/common/Picture.h"

#include <cstdint>

// A host keeps straight colour in its files and frames but hands the effect premultiplied
// pixels; these convert in place. Integers round to nearest; float is never clamped.
void premultiplyPicture(Picture& p);
// Colour of a fully transparent pixel becomes 0; integer colour is held to full scale.
void unpremultiplyPicture(Picture& p);

// The 8-bit conversions between a picture and straight frames of its size held elsewhere (a
// host's own buffers): the same integers, without a copy of their own.
void premultiplyPicture8(uint8_t const* straight, Picture& p);
void unpremultiplyPicture8(Picture const& p, uint8_t* straight);
