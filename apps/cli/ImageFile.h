#pragma once
#include "apps/common/Picture.h"

#include <OpenImageIO/imageio.h>

#include <memory>
#include <string>
#include <utility>

// How a file keeps its pixels, so that the result can be written back the same way.
struct FileLayout {
    int channels = 4; // 3 or 4 as written back; grey files come back as colour
    bool hasAlpha = true;
    bool straight = true; // colour not premultiplied by alpha in the file
    int depth = 8;        // 8, 16 or 32 bits
    bool half = false;    // 16-bit float, as EXR often holds
    // The input's description: display window, attributes and compression, kept on writing.
    std::shared_ptr<OIIO::ImageSpec const> source = nullptr;
    std::string format = ""; // the library's name of the source's format
};

struct LoadedImage {
    // The display window, premultiplied, as a host hands it to the effect; pixels outside the
    // file's data window are transparent black.
    Picture picture;
    FileLayout layout;
};

// Pictures larger than this are refused from the header, before any memory is taken: a small
// file can claim a size that would take gigabytes. 8K UHD is about 33 million pixels.
constexpr unsigned long long kDefaultMaxPixels = 100'000'000ULL;

// Reads a file at the given working depth (0: the file's own, half floats as 32). Throws
// Failure naming the file, also when its data or display window has more than maxPixels pixels.
LoadedImage readImage(std::string const& path, int depth,
                      unsigned long long maxPixels = kDefaultMaxPixels);

// The size of the picture readImage would give, from the file's header; 0 by 0 when the file
// cannot be read.
std::pair<int, int> pictureSize(std::string const& path);

// Whether a format keeps straight colour, by its file name; unknown formats are taken as
// premultiplied, as the library writes them.
bool formatKeepsStraightAlpha(std::string const& path);

// Whether any pixel is less than fully opaque.
bool hasTransparency(Picture const& picture);

// Writes a premultiplied picture in the layout given (alpha only with hasAlpha), with the
// source's display window and attributes when the picture has the size of that window, through a
// temporary file in the same folder that is renamed at the end, so that a failure leaves no file.
// Throws Failure naming the file.
void writeImage(std::string const& path, Picture picture, FileLayout const& layout);

// The picture at another size, filtered; for proxy renders.
Picture resizePicture(Picture const& picture, int width, int height);
