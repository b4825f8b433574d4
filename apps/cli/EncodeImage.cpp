#include "apps/cli/EncodeImage.h"

#include "apps/common/Errors.h"
#include "apps/common/SafeFile.h"

#include <OpenImageIO/filesystem.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

[[noreturn]] void fail(std::string const& path, std::string const& why) {
    throw Failure("cannot write " + inQuotes(path) + ": " + why);
}

void encode(OIIO::ImageOutput& out, std::string const& path, std::string const& target,
            OIIO::ImageSpec const& spec, OIIO::TypeDesc type, void const* pixels,
            OIIO::stride_t pixelBytes) {
    if (!out.open(target, spec)) fail(path, out.geterror());
    bool ok = out.write_image(type, pixels, pixelBytes);
    ok = out.close() && ok;
    if (!ok) fail(path, out.geterror());
}

} // namespace

std::vector<unsigned char> encodeImage(OIIO::ImageOutput& out, std::string const& path,
                                       OIIO::ImageSpec const& spec, OIIO::TypeDesc type,
                                       void const* pixels, OIIO::stride_t pixelBytes) {
    std::vector<unsigned char> bytes;
    if (out.supports("ioproxy")) {
        // Room for an uncompressed file, so that the bytes are not moved as they grow.
        bytes.reserve(size_t(spec.image_bytes()) + (size_t(1) << 16));
        OIIO::Filesystem::IOVecOutput memory(bytes);
        out.set_ioproxy(&memory);
        encode(out, path, path, spec, type, pixels, pixelBytes);
        return bytes;
    }
    namespace fs = std::filesystem;
    TempFolder folder(path, "image" + fs::path(path).extension().string());
    encode(out, path, folder.file(), spec, type, pixels, pixelBytes);
    std::ifstream in(folder.file(), std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
    if (!in.good() && !in.eof()) fail(path, "cannot read the encoded picture back");
    return bytes;
}
