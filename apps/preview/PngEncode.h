#pragma once
#include "apps/common/Picture.h"

#include <string>

// A premultiplied 8-bit picture as the bytes of a PNG file (straight alpha, as PNG keeps it),
// quickly compressed: the page asks for one on every move of a drag.
std::string encodePng(Picture const& picture);
