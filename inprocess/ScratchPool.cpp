#include "inprocess/ScratchPool.h"

#include <cstdlib>

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
        block = std::malloc(size ? size : 1);
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
