#include "fxplug/FxFrame.h"

#include "platform/FxBitmap.h"

#include <algorithm>
#include <cstring>

namespace {

unsigned char* rowOf(FxBitmap* bitmap, unsigned y) {
    return static_cast<unsigned char*>(bitmap->dataPtr()) + long(y) * bitmap->rowBytes();
}

std::size_t rowLength(FxBitmap* bitmap) {
    return std::size_t(bitmap->width()) * bitmap->bytes() * 4;
}

} // namespace

FxBitmap* getSameSizedInputAsOutput(FxBitmap* input, FxBitmap* output) {
    if (input->width() == output->width() && input->height() == output->height()) return input;
    FxBitmap* same = FxBitmap::alloc()->initWithInfo(output->imageInfo());
    if (!same) return nullptr;
    std::size_t bytes = std::min(rowLength(input), rowLength(output));
    unsigned rows = std::min(input->height(), output->height());
    // Only the rows that receive a copy are cleared first.
    if (output->width() > input->width() || output->height() > input->height())
        std::memset(same->dataPtr(), 0, std::size_t(same->rowBytes()) * rows);
    for (unsigned y = 0; y < rows; ++y) std::memcpy(rowOf(same, y), rowOf(input, y), bytes);
    return same;
}

FxBitmap* render_lineDouble(FxBitmap* bitmap) {
    FxImageInfo info = bitmap->imageInfo();
    info.height *= 2;
    FxBitmap* doubled = FxBitmap::alloc()->initWithInfo(info);
    if (!doubled) return nullptr;
    std::size_t bytes = std::min(rowLength(bitmap), rowLength(doubled));
    for (unsigned i = 0; i < bitmap->height(); ++i) {
        std::memcpy(rowOf(doubled, 2 * i), rowOf(bitmap, i), bytes);
        std::memcpy(rowOf(doubled, 2 * i + 1), rowOf(bitmap, i), bytes);
    }
    return doubled;
}

void render_lineHalf(FxBitmap* source, FxBitmap* destination, bool oddRows) {
    std::size_t bytes = std::min(rowLength(source), rowLength(destination));
    for (unsigned from = oddRows ? 1 : 0, to = 0;
         from < source->height() && to < destination->height(); from += 2, ++to)
        std::memcpy(rowOf(destination, to), rowOf(source, from), bytes);
}
