#pragma once
#include "platform/FxAPIManager.h"

#include <cstddef>
#include <map>
#include <unordered_map>
#include <vector>

// Scratch memory kept between renders, by block size: a plug-in that takes and gives back the
// same blocks every frame gets memory whose pages are already mapped. One thread at a time.
class ScratchPool : public FxScratchMemoryAPI {
  public:
    ScratchPool() = default;
    ScratchPool(ScratchPool const&) = delete;
    ScratchPool& operator=(ScratchPool const&) = delete;
    ~ScratchPool() override;

    void* allocateBlock(std::size_t size) override;
    void releaseBlock(void* block) override;

    std::size_t idleBlocks() const;

  private:
    std::map<std::size_t, std::vector<void*>> m_idle;
    std::unordered_map<void*, std::size_t> m_lent;
};
