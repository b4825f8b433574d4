// The reference for bench/file_path.sh: each file of a sequence read and written by OpenImageIO
// alone, in its own type and channels, as a plain image tool would copy it.
//   mirrel_oiio_copy IN_PATTERN OUT_PATTERN FIRST LAST
#include <OpenImageIO/imageio.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    std::vector<unsigned char> pixels;
    for (int f = std::atoi(argv[3]); f <= std::atoi(argv[4]); ++f) {
        char in[4096], out[4096];
        std::snprintf(in, sizeof in, argv[1], f);
        std::snprintf(out, sizeof out, argv[2], f);
        auto input = OIIO::ImageInput::open(in);
        if (!input) return 1;
        OIIO::ImageSpec const spec = input->spec();
        pixels.resize(spec.image_bytes());
        if (!input->read_image(0, 0, 0, spec.nchannels, spec.format, pixels.data())) return 1;
        input->close();
        auto output = OIIO::ImageOutput::create(out);
        if (!output || !output->open(out, spec) ||
            !output->write_image(spec.format, pixels.data()) || !output->close())
            return 1;
    }
    return 0;
}
