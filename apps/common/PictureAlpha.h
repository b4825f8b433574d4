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
// The same over R G B A pixels in any memory; src and dst may be the same.
void premultiply8(uint8_t const* src, uint8_t* dst, size_t pixels);
void unpremultiply8(uint8_t const* src, uint8_t* dst, size_t pixels);
// Whether every pixel has full alpha: such pixels read the same straight and premultiplied.
bool opaque8(uint8_t const* pixels, size_t count);
