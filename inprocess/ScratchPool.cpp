#include "inprocess/ScratchPool.h"

#include <cstdlib>
#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace {
// Blocks of whole frames are mapped in huge pages where the system lends them: the first frame
// spends most of its time faulting in small pages of fresh memory.
constexpr std::size_t kHugePage = std::size_t(2) << 20;

void* newBlock(std::size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (size >= 2 * kHugePage) {
        std::size_t const rounded = (size + kHugePage - 1) / kHugePage * kHugePage;
        if (void* block = std::aligned_alloc(kHugePage, rounded)) {
            madvise(block, rounded, MADV_HUGEPAGE); // advice only: small pages if refused
            return block;
        }
    }
#endif
    return std::malloc(size ? size : 1);
}
} // namespace

ScratchPool::~ScratchPool() {
    for (auto& [size, blocks] : m_idle)
        for (void* b : blocks) std::free(b);
    for (auto& [block, size] : m_lent) std::free(block);
}

void* ScratchPool::allocateBlock(std::size_t size) {
    auto idle = m_idle.find(size);
    void* block = nullptr;
    if (idle != m_idle.end() && !idle->second.empty()) {
        block = idle->second.back();
        idle->second.pop_back();
    } else {
        block = newBlock(size);
        if (!block) return nullptr;
    }
    m_lent.emplace(block, size);
    return block;
}

void ScratchPool::releaseBlock(void* block) {
    auto lent = m_lent.find(block);
    if (lent == m_lent.end()) return;
    m_idle[lent->second].push_back(block);
    m_lent.erase(lent);
}

std::size_t ScratchPool::idleBlocks() const {
    std::size_t n = 0;
    for (auto const& [size, blocks] : m_idle) n += blocks.size();
    return n;
}
