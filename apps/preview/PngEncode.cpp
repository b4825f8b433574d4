#include "apps/preview/PngEncode.h"

#include "apps/common/Errors.h"
#include "apps/common/PictureAlpha.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

std::string encodePng(Picture const& picture) {
    Picture straight = picture;
    unpremultiplyPicture(straight);
    std::vector<unsigned char> bytes;
    OIIO::Filesystem::IOVecOutput memory(bytes);
    auto out = OIIO::ImageOutput::create("frame.png", &memory);
    OIIO::ImageSpec spec(straight.width, straight.height, 4, OIIO::TypeDesc::UINT8);
    spec.alpha_channel = 3;
    spec.attribute("oiio:UnassociatedAlpha", 1);
    spec.attribute("png:compressionLevel", 1);
    if (!out || !out->open("frame.png", spec) ||
        !out->write_image(OIIO::TypeDesc::UINT8, straight.bytes.data()) || !out->close())
        throw Failure("cannot encode the frame as PNG: " + OIIO::geterror());
    return std::string(bytes.begin(), bytes.end());
}
