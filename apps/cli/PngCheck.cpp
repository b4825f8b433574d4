#include "apps/cli/PngCheck.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

// Plain data only between setjmp and longjmp: no destructor is skipped.
struct Reader {
    std::jmp_buf jump;
    char message[256] = "";
};

[[noreturn]] void onError(png_structp png, png_const_charp text) {
    auto* r = static_cast<Reader*>(png_get_error_ptr(png));
    std::snprintf(r->message, sizeof r->message, "%s", text ? text : "libpng error");
    std::longjmp(r->jump, 1);
}

void onWarning(png_structp, png_const_charp) {} // the library reads past these too

struct Closer {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

} // namespace

std::string pngError(std::string const& path, bool headerOnly) {
    std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "rb"));
    png_byte signature[8];
    if (!file || std::fread(signature, 1, 8, file.get()) != 8 || png_sig_cmp(signature, 0, 8))
        return "";
    Reader reader;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reader, onError, onWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        return "not enough memory to read it";
    }
    auto row = std::make_unique<std::vector<png_byte>>(); // on the heap: kept across longjmp
    if (setjmp(reader.jump)) {
        png_destroy_read_struct(&png, &info, nullptr);
        return reader.message;
    }
    png_init_io(png, file.get());
    png_set_sig_bytes(png, 8);
    png_read_info(png, info);
    if (!headerOnly) {
        // One row at a time, as stored: every pass of an interlaced file, then the end chunks.
        row->resize(png_get_rowbytes(png, info));
        int const passes = png_set_interlace_handling(png);
        png_read_update_info(png, info);
        for (int p = 0; p < passes; ++p)
            for (png_uint_32 y = 0, h = png_get_image_height(png, info); y < h; ++y)
                png_read_row(png, row->data(), nullptr);
        png_read_end(png, nullptr);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return "";
}
