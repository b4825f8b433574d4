#include "apps/cli/ImageFile.h"

#include "apps/cli/EncodeImage.h"
#include "apps/cli/PngCheck.h"
#include "apps/common/Errors.h"
#include "apps/common/InputFile.h"
#include "apps/common/ParamLookup.h"
#include "apps/common/PictureAlpha.h"
#include "apps/common/SafeFile.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace {

OIIO::TypeDesc typeOf(int depth) {
    return depth == 8    ? OIIO::TypeDesc::UINT8
           : depth == 16 ? OIIO::TypeDesc::UINT16
                         : OIIO::TypeDesc::FLOAT;
}

int depthOf(OIIO::TypeDesc t) {
    if (t == OIIO::TypeDesc::UINT8 || t == OIIO::TypeDesc::INT8) return 8;
    if (t == OIIO::TypeDesc::UINT16 || t == OIIO::TypeDesc::INT16) return 16;
    return 32;
}

std::string extensionOf(std::string const& path) {
    std::string ext = std::filesystem::path(path).extension().string();
    for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

// The file's channels that make the picture: colour from the first three, or grey from the first
// one; alpha where the library says, when that is one of the file's channels (GIF reports one
// past the last), else the second of two or the fourth of four or more, else none.
struct ChannelUse {
    int colour = 3; // 3, or 1 for grey spread to R G B
    int alpha = -1;
};

ChannelUse channelUse(OIIO::ImageSpec const& spec) {
    ChannelUse use;
    int const n = spec.nchannels;
    use.alpha = spec.alpha_channel >= 0 && spec.alpha_channel < n ? spec.alpha_channel
                : n == 2                                          ? 1
                : n >= 4                                          ? 3
                                                                  : -1;
    use.colour = std::min(n - (use.alpha >= 0 ? 1 : 0), 3) == 3 ? 3 : 1;
    return use;
}

// A full alpha, and grey or an alpha read into another place moved into R G B A.
template <class T> void arrange(Picture& p, ChannelUse use, int alphaSlot, T full) {
    T* px = reinterpret_cast<T*>(p.bytes.data());
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i, px += 4) {
        px[3] = alphaSlot >= 0 ? px[alphaSlot] : full;
        if (use.colour == 1) px[1] = px[2] = px[0];
    }
}

// Reads the channels used straight into the picture's places, in its type, so that no copy of
// the file's own channels is ever held (an EXR may have many).
bool readInto(OIIO::ImageInput& in, ChannelUse use, Picture& p) {
    OIIO::TypeDesc const type = typeOf(p.depth);
    auto const pixel = OIIO::stride_t(4 * p.channelBytes());
    int const span = std::max(use.colour, use.alpha + 1);
    int alphaSlot = use.alpha; // where alpha lands before it moves to slot 3
    if (span <= 4) {
        if (!in.read_image(0, 0, 0, span, type, p.bytes.data(), pixel)) return false;
    } else {
        if (!in.read_image(0, 0, 0, use.colour, type, p.bytes.data(), pixel) ||
            !in.read_image(0, 0, use.alpha, use.alpha + 1, type,
                           p.bytes.data() + 3 * p.channelBytes(), pixel))
            return false;
        alphaSlot = 3;
    }
    if (alphaSlot == 3 && use.colour == 3) return true;
    if (p.depth == 8)
        arrange<uint8_t>(p, use, alphaSlot, 255);
    else if (p.depth == 16)
        arrange<uint16_t>(p, use, alphaSlot, 65535);
    else
        arrange<float>(p, use, alphaSlot, 1.0f);
    return true;
}

bool hasDisplayWindow(OIIO::ImageSpec const& spec) {
    return spec.full_width > 0 && spec.full_height > 0 &&
           (spec.full_width != spec.width || spec.full_height != spec.height ||
            spec.full_x != spec.x || spec.full_y != spec.y);
}

// The data window placed in the display window: what lies outside the display window is cut
// off, what the data window does not cover is transparent black.
Picture displayWindow(Picture data, OIIO::ImageSpec const& spec) {
    if (!hasDisplayWindow(spec)) return data;
    Picture full(spec.full_width, spec.full_height, data.depth);
    int x0 = std::max(spec.x, spec.full_x),
        x1 = std::min(spec.x + spec.width, spec.full_x + spec.full_width);
    int y0 = std::max(spec.y, spec.full_y),
        y1 = std::min(spec.y + spec.height, spec.full_y + spec.full_height);
    size_t px = size_t(4 * data.channelBytes());
    for (int y = y0; y < y1 && x0 < x1; ++y)
        std::memcpy(full.row(y - spec.full_y) + size_t(x0 - spec.full_x) * px,
                    data.row(y - spec.y) + size_t(x0 - spec.x) * px, size_t(x1 - x0) * px);
    return full;
}

// The source's windows and attributes on the output's description. A file of another format
// takes the attributes common to all formats and its own default compression.
void keepSource(OIIO::ImageSpec& spec, OIIO::ImageSpec const& source, bool sameFormat) {
    if (source.full_width == spec.width && source.full_height == spec.height) {
        spec.x = spec.full_x = source.full_x;
        spec.y = spec.full_y = source.full_y;
    }
    for (OIIO::ParamValue const& a : source.extra_attribs) {
        std::string name = a.name().string();
        std::string lower = lowercase(name);
        if (lower.rfind("oiio:", 0) == 0 || lower == "alphamode") continue;
        bool specific = lower.find(':') != std::string::npos && lower.rfind("smpte:", 0) != 0;
        if (!sameFormat && (specific || lower == "compression")) continue;
        spec.attribute(name, a.type(), a.data());
    }
}

} // namespace

std::pair<int, int> pictureSize(std::string const& path) {
    try { // a FIFO or a device is never opened: reading it would block, or never end
        checkInputFile("input", path);
    } catch (Failure const&) {
        return {0, 0};
    }
    if (!pngError(path, true).empty()) return {0, 0};
    auto in = OIIO::ImageInput::open(path);
    if (!in) return {0, 0};
    OIIO::ImageSpec const& spec = in->spec();
    return hasDisplayWindow(spec) ? std::pair(spec.full_width, spec.full_height)
                                  : std::pair(spec.width, spec.height);
}

namespace {

template <class T> bool alphaBelow(Picture const& p, double opaque) {
    T const* px = reinterpret_cast<T const*>(p.bytes.data());
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i)
        if (double(px[4 * i + 3]) < opaque) return true;
    return false;
}

} // namespace

bool hasTransparency(Picture const& picture) {
    // Float work leaves the last bit of an opaque alpha to rounding.
    return picture.depth == 8    ? alphaBelow<uint8_t>(picture, 255)
           : picture.depth == 16 ? alphaBelow<uint16_t>(picture, 65535)
                                 : alphaBelow<float>(picture, 1.0 - 1e-5);
}

namespace {

void checkPixelCount(std::string const& path, OIIO::ImageSpec const& spec,
                     unsigned long long maxPixels) {
    unsigned long long data = (unsigned long long)spec.width * (unsigned long long)spec.height;
    unsigned long long display = hasDisplayWindow(spec) ? (unsigned long long)spec.full_width *
                                                              (unsigned long long)spec.full_height
                                                        : 0;
    unsigned long long n = std::max(data, display);
    if (n > maxPixels)
        throw Failure("cannot read " + inQuotes(path) + ": " + std::to_string(n) +
                      " pixels, more than the limit of " + std::to_string(maxPixels) +
                      " (--max-pixels raises it)");
}

} // namespace

LoadedImage readImage(std::string const& path, int depth, unsigned long long maxPixels) {
    checkInputFile("input", path);
    auto refuseBadPng = [&](bool headerOnly) {
        if (std::string e = pngError(path, headerOnly); !e.empty())
            throw Failure("cannot read " + inQuotes(path) + ": " + e);
    };
    refuseBadPng(true);
    // Ask for the pixels as stored, so that straight colour is premultiplied here, the same way
    // for every format.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    auto in = OIIO::ImageInput::open(path, &config);
    if (!in) throw Failure("cannot read " + inQuotes(path) + ": " + OIIO::geterror());
    OIIO::ImageSpec const& spec = in->spec();
    if (spec.width <= 0 || spec.height <= 0 || spec.nchannels <= 0 || spec.depth > 1 || spec.deep)
        throw Failure("cannot read " + inQuotes(path) + ": not a flat picture");
    if (spec.width > 32768 || spec.height > 32768)
        throw Failure("cannot read " + inQuotes(path) + ": larger than 32768 pixels on a side");
    if (hasDisplayWindow(spec) && (spec.full_width > 32768 || spec.full_height > 32768))
        throw Failure("cannot read " + inQuotes(path) +
                      ": display window larger than 32768 pixels on a side");
    checkPixelCount(path, spec, maxPixels);
    refuseBadPng(false);
    try {
        LoadedImage out;
        FileLayout& l = out.layout;
        ChannelUse const use = channelUse(spec);
        l.depth = depthOf(spec.format);
        l.half = spec.format == OIIO::TypeDesc::HALF;
        l.hasAlpha = use.alpha >= 0;
        l.channels = l.hasAlpha ? 4 : 3;
        l.straight = l.hasAlpha && spec.get_int_attribute("oiio:UnassociatedAlpha", 0) != 0;
        l.source = std::make_shared<OIIO::ImageSpec const>(spec);
        l.format = in->format_name();

        Picture data(spec.width, spec.height, depth ? depth : l.depth);
        if (!readInto(*in, use, data))
            throw Failure("cannot read " + inQuotes(path) + ": " + in->geterror());
        if (l.straight) premultiplyPicture(data);
        out.picture = displayWindow(std::move(data), spec);
        return out;
    } catch (std::bad_alloc const&) {
        throw Failure("cannot read " + inQuotes(path) + ": not enough memory for its " +
                      std::to_string(spec.width) + "x" + std::to_string(spec.height) + " pixels");
    }
}

bool formatKeepsStraightAlpha(std::string const& path) {
    std::string ext = extensionOf(path);
    for (char const* e : {".png", ".gif", ".webp", ".tga", ".bmp", ".ico", ".jpg", ".jpeg", ".jpe",
                          ".jfif", ".ppm", ".pnm", ".pgm", ".heic", ".avif"})
        if (ext == e) return true;
    return false;
}

void writeImage(std::string const& path, Picture picture, FileLayout const& layout) {
    auto out = OIIO::ImageOutput::create(path);
    if (!out) throw Failure("cannot write " + inQuotes(path) + ": " + OIIO::geterror());
    int channels = layout.hasAlpha && out->supports("alpha") ? 4 : 3;
    // Without alpha the premultiplied colour is the picture over black, as it should be.
    if (channels == 4 && layout.straight) unpremultiplyPicture(picture);

    OIIO::ImageSpec spec(picture.width, picture.height, channels,
                         layout.half ? OIIO::TypeDesc::HALF : typeOf(layout.depth));
    if (layout.source) keepSource(spec, *layout.source, layout.format == out->format_name());
    if (channels == 4) {
        spec.alpha_channel = 3;
        if (layout.straight) spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    // Three channels are taken from the four of each pixel by the library as it encodes.
    writeFileSafely(path, encodeImage(*out, path, spec, typeOf(picture.depth), picture.bytes.data(),
                                      4 * picture.channelBytes()));
}

Picture resizePicture(Picture const& picture, int width, int height) {
    OIIO::ImageSpec srcSpec(picture.width, picture.height, 4, typeOf(picture.depth));
    OIIO::ImageBuf src(srcSpec, const_cast<unsigned char*>(picture.bytes.data()));
    OIIO::ImageSpec dstSpec(width, height, 4, typeOf(picture.depth));
    OIIO::ImageBuf dst(dstSpec);
    OIIO::ImageBufAlgo::resize(dst, src, "triangle", 0.0f, OIIO::ROI(), 1);
    Picture out(width, height, picture.depth);
    dst.get_pixels(OIIO::ROI(0, width, 0, height, 0, 1, 0, 4), typeOf(picture.depth),
                   out.bytes.data());
    return out;
}
