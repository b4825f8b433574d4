#include "platform/FxBitmap.h"

FxBitmap* FxBitmap::initWithInfo(FxImageInfo const& info) {
    if (info.width == 0 || info.height == 0 || !validDepth(info.depth)) {
        release();
        return nullptr;
    }
    m_info = info;
    m_rowBytes = long(info.width) * 4 * (info.depth / 8);
    m_storage.assign(std::size_t(m_rowBytes) * info.height, 0);
    m_data = m_storage.data();
    return this;
}

FxBitmap* FxBitmap::initWithInfo_dataPtr_rowBytes(FxImageInfo const& info, void* data,
                                                  long rowBytes) {
    if (!data || !validDepth(info.depth)) {
        release();
        return nullptr;
    }
    m_info = info;
    m_data = data;
    m_rowBytes = rowBytes;
    return this;
}
