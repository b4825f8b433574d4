#pragma once
#include "platform/FxTypes.h"
#include "platform/NSObject.h"

#include <vector>

// A host image: a record plus pixels, four channels of `bytes()` bytes each. Rows run in the
// host's own order from dataPtr() on, rowBytes() apart.
class FxBitmap : public NSObject {
  public:
    static FxBitmap* alloc() { return new FxBitmap; }

    // Pixels of its own for the record, zeroed, rows packed. Null (and the object gone) for a
    // record with no size or an unknown depth.
    FxBitmap* initWithInfo(FxImageInfo const& info);
    // Over memory of the caller's, which must outlive the bitmap; rows `rowBytes` apart.
    FxBitmap* initWithInfo_dataPtr_rowBytes(FxImageInfo const& info, void* data, long rowBytes);

    FxImageInfo imageInfo() const { return m_info; }
    void* dataPtr() const { return m_data; }
    long rowBytes() const { return m_rowBytes; }
    unsigned width() const { return m_info.width; }
    unsigned height() const { return m_info.height; }
    // Bytes of one channel: a pixel has four times as many.
    unsigned bytes() const { return m_info.depth / 8; }
    double pixelAspect() const { return m_pixelAspect; }
    void setPixelAspect(double aspect) { m_pixelAspect = aspect; }
    void setIsPremultiplied(BOOL premultiplied) { m_premultiplied = premultiplied; }
    BOOL isPremultiplied() const { return m_premultiplied; }

  private:
    FxBitmap() = default;
    static bool validDepth(unsigned depth) { return depth == 8 || depth == 16 || depth == 32; }

    FxImageInfo m_info;
    std::vector<unsigned char> m_storage;
    void* m_data = nullptr;
    long m_rowBytes = 0;
    double m_pixelAspect = 1.0;
    BOOL m_premultiplied = NO;
};
