#include "apps/cli/ImageFile.h"

#include "apps/cli/EncodeImage.h"
#include "apps/cli/SafeOutput.h"
#include "apps/common/Errors.h"
#include "apps/common/InputFile.h"
#include "apps/common/PictureAlpha.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
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

// Spreads the file's channels into R G B A: grey goes to all three, a missing alpha is full.
void toRGBA(std::vector<unsigned char> const& raw, int channels, int alpha, Picture& p) {
    size_t cb = size_t(p.channelBytes());
    int colour = std::min(channels - (alpha >= 0 ? 1 : 0), 3);
    Picture full(1, 1, p.depth);
    full.setChannel(0, 0, 1.0);
    for (size_t i = 0, n = p.pixelCount(); i < n; ++i) {
        unsigned char const* src = raw.data() + i * size_t(channels) * cb;
        unsigned char* dst = p.bytes.data() + i * 4 * cb;
        for (int c = 0; c < 3; ++c)
            std::copy_n(src + size_t(colour == 3 ? c : 0) * cb, cb, dst + size_t(c) * cb);
        if (alpha >= 0)
            std::copy_n(src + size_t(alpha) * cb, cb, dst + 3 * cb);
        else
            std::copy_n(full.bytes.data(), cb, dst + 3 * cb);
    }
}

} // namespace

LoadedImage readImage(std::string const& path, int depth) {
    checkInputFile("input", path);
    // Ask for the pixels as stored, so that straight colour is premultiplied here, the same way
    // for every format.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    auto in = OIIO::ImageInput::open(path, &config);
    if (!in) throw Failure("cannot read " + inQuotes(path) + ": " + OIIO::geterror());
    OIIO::ImageSpec const& spec = in->spec();
    if (spec.width <= 0 || spec.height <= 0 || spec.nchannels <= 0 || spec.depth > 1)
        throw Failure("cannot read " + inQuotes(path) + ": not a flat picture");
    if (spec.width > 32768 || spec.height > 32768)
        throw Failure("cannot read " + inQuotes(path) + ": larger than 32768 pixels on a side");

    LoadedImage out;
    FileLayout& l = out.layout;
    l.depth = depthOf(spec.format);
    l.half = spec.format == OIIO::TypeDesc::HALF;
    l.hasAlpha = spec.alpha_channel >= 0 || spec.nchannels == 2 || spec.nchannels >= 4;
    int alpha = spec.alpha_channel >= 0 ? spec.alpha_channel
                : spec.nchannels == 2   ? 1
                : spec.nchannels >= 4   ? 3
                                        : -1;
    l.channels = l.hasAlpha ? 4 : 3;
    l.straight = l.hasAlpha && spec.get_int_attribute("oiio:UnassociatedAlpha", 0) != 0;

    int work = depth ? depth : l.depth;
    out.picture = Picture(spec.width, spec.height, work);
    std::vector<unsigned char> raw(size_t(spec.width) * size_t(spec.height) *
                                   size_t(spec.nchannels) * size_t(work / 8));
    if (!in->read_image(0, 0, 0, spec.nchannels, typeOf(work), raw.data()))
        throw Failure("cannot read " + inQuotes(path) + ": " + in->geterror());
    toRGBA(raw, spec.nchannels, alpha, out.picture);
    if (l.straight) premultiplyPicture(out.picture);
    return out;
}

bool formatKeepsStraightAlpha(std::string const& path) {
    std::string ext = extensionOf(path);
    for (char const* e : {".png", ".gif", ".webp", ".tga", ".bmp", ".ico", ".jpg", ".jpeg", ".jpe",
                          ".jfif", ".ppm", ".pnm", ".pgm", ".heic", ".avif"})
        if (ext == e) return true;
    return false;
}

void writeImage(std::string const& path, Picture const& picture, FileLayout const& layout) {
    auto out = OIIO::ImageOutput::create(path);
    if (!out) throw Failure("cannot write " + inQuotes(path) + ": " + OIIO::geterror());
    int channels = layout.hasAlpha && out->supports("alpha") ? 4 : 3;
    Picture pixels = picture;
    // Without alpha the premultiplied colour is the picture over black, as it should be.
    if (channels == 4 && layout.straight) unpremultiplyPicture(pixels);

    OIIO::ImageSpec spec(picture.width, picture.height, channels,
                         layout.half ? OIIO::TypeDesc::HALF : typeOf(layout.depth));
    if (channels == 4) {
        spec.alpha_channel = 3;
        if (layout.straight) spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    std::vector<unsigned char> data;
    size_t cb = size_t(pixels.channelBytes());
    if (channels == 4) {
        data = std::move(pixels.bytes);
    } else {
        data.resize(pixels.pixelCount() * 3 * cb);
        for (size_t i = 0, n = pixels.pixelCount(); i < n; ++i)
            std::copy_n(pixels.bytes.data() + i * 4 * cb, 3 * cb, data.data() + i * 3 * cb);
    }

    writeFileSafely(path, encodeImage(*out, path, spec, typeOf(picture.depth), data.data()));
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
