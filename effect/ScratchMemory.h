#pragma once
#include "host/PluginHost_API.h"
#include "host/RasterOps.h"

#include <cstddef>
#include <cstring>

// A block of host scratch memory, allocated then locked, and always unlocked then freed.
class ScratchBlock {
  public:
    explicit ScratchBlock(PluginHost_API* host) : m_host(host) {}
    ~ScratchBlock() { release(); }
    ScratchBlock(ScratchBlock const&) = delete;
    ScratchBlock& operator=(ScratchBlock const&) = delete;

    // Takes a block of W x H pixels with unpadded rows and describes it in info. False when the
    // host refused either step; whatever was taken is still released.
    bool allocImage(PluginHost_API::RasterInfo& info, PluginRasterFormat format, int width,
                    int height, int pixelBytes) {
        m_handle = m_host->allocMemory(width * height * pixelBytes);
        if (!m_handle) return false;
        m_locked = true;
        void* data = m_host->lockMemory(m_handle);
        if (!data) return false;
        info = packedRasterInfo(data, format, width, height, pixelBytes);
        return true;
    }

    // Adopts a handle that another call allocated and locked.
    void adopt(void* handle) {
        m_handle = handle;
        m_locked = handle != nullptr;
    }

    bool held() const { return m_handle != nullptr; }

    // Takes over what other holds, which then holds nothing.
    void takeFrom(ScratchBlock& other) {
        release();
        m_handle = other.m_handle;
        m_locked = other.m_locked;
        other.m_handle = nullptr;
        other.m_locked = false;
    }

    void release() {
        if (!m_handle) return;
        if (m_locked) m_host->unlockMemory(m_handle);
        m_host->deallocMemory(m_handle);
        m_handle = nullptr;
        m_locked = false;
    }

  private:
    PluginHost_API* m_host;
    void* m_handle = nullptr;
    bool m_locked = false;
};

// Copies rows of width x pixelBytes bytes; strides may differ or be negative.
inline void copyRows(PluginHost_API::RasterInfo const& src, PluginHost_API::RasterInfo const& dst,
                     std::size_t rowLength, int rows) {
    for (int y = 0; y < rows; ++y) std::memcpy(dst.row(y), src.row(y), rowLength);
}
