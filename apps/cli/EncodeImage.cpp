#include "apps/cli/EncodeImage.h"

#include "apps/common/Errors.h"

#include <OpenImageIO/filesystem.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

[[noreturn]] void fail(std::string const& path, std::string const& why) {
    throw Failure("cannot write " + inQuotes(path) + ": " + why);
}

void encode(OIIO::ImageOutput& out, std::string const& path, std::string const& target,
            OIIO::ImageSpec const& spec, OIIO::TypeDesc type, void const* pixels) {
    if (!out.open(target, spec)) fail(path, out.geterror());
    bool ok = out.write_image(type, pixels);
    ok = out.close() && ok;
    if (!ok) fail(path, out.geterror());
}

} // namespace

std::vector<unsigned char> encodeImage(OIIO::ImageOutput& out, std::string const& path,
                                       OIIO::ImageSpec const& spec, OIIO::TypeDesc type,
                                       void const* pixels) {
    std::vector<unsigned char> bytes;
    if (out.supports("ioproxy")) {
        OIIO::Filesystem::IOVecOutput memory(bytes);
        out.set_ioproxy(&memory);
        encode(out, path, path, spec, type, pixels);
        return bytes;
    }
    namespace fs = std::filesystem;
    std::error_code ec;
    std::string folder = (fs::temp_directory_path(ec) / "mirrel-XXXXXX").string();
    if (ec || !mkdtemp(folder.data())) fail(path, "no private temporary folder");
    fs::path const file = fs::path(folder) / ("image" + fs::path(path).extension().string());
    try {
        encode(out, path, file.string(), spec, type, pixels);
        std::ifstream in(file, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
        if (!in.good() && !in.eof()) fail(path, "cannot read the encoded picture back");
    } catch (...) {
        fs::remove_all(folder, ec);
        throw;
    }
    fs::remove_all(folder, ec);
    return bytes;
}
