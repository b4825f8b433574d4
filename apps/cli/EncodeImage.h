#pragma once
#include <OpenImageIO/imageio.h>

#include <string>
#include <vector>

// The file `path` would hold, encoded in memory by `out` (made for that path's format), so that
// the bytes can be written and checked by the caller. Formats the library cannot encode into
// memory go through a file in a private folder of the system's temporary folder, read back.
// `pixelBytes` apart may hold more channels than the file's (which come first). Throws Failure
// naming `path`.
std::vector<unsigned char> encodeImage(OIIO::ImageOutput& out, std::string const& path,
                                       OIIO::ImageSpec const& spec, OIIO::TypeDesc type,
                                       void const* pixels, OIIO::stride_t pixelBytes);
