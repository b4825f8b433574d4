#pragma once
#include <string>

// The image library lets libpng print its errors to stderr on its own, without the file's name.
// A PNG is therefore decoded once here first, with handlers that print nothing: answers libpng's
// error text, or "" when the file decodes (or is not a PNG). `headerOnly` stops after the
// chunks before the pixels, for a look at the size.
std::string pngError(std::string const& path, bool headerOnly);
