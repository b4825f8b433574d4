#pragma once
#include "apps/common/Picture.h"

// A host keeps straight colour in its files and frames but hands the effect premultiplied
// pixels; these convert in place. Integers round to nearest; float is never clamped.
void premultiplyPicture(Picture& p);
// Colour of a fully transparent pixel becomes 0; integer colour is held to full scale.
void unpremultiplyPicture(Picture& p);
