#include "srcldb/ldbarena.h"

#include <cstdlib>

void* LDBArena::Allocate(size_t size) {
    size = (size + kAlignment - 1) & ~(kAlignment - 1);
    if (size > static_cast<size_t>(m_end - m_next)) {
        // A piece too large for a quarter block gets a block of its own, behind the current
        // one, which stays in use.
        size_t blockSize = size > kBlockSize / 4 ? kBlockHead + size : kBlockSize;
        char* block = static_cast<char*>(std::malloc(blockSize));
        if (block == nullptr) return nullptr;
        ++m_blocks;
        if (blockSize != kBlockSize && m_first != nullptr) {
            *reinterpret_cast<char**>(block) = *reinterpret_cast<char**>(m_first);
            *reinterpret_cast<char**>(m_first) = block;
            return block + kBlockHead;
        }
        *reinterpret_cast<char**>(block) = m_first;
        m_first = block;
        m_next = block + kBlockHead;
        m_end = block + blockSize;
    }
    void* piece = m_next;
    m_next += size;
    return piece;
}

void LDBArena::Release() {
    while (m_first != nullptr) {
        char* next = *reinterpret_cast<char**>(m_first);
        std::free(m_first);
        m_first = next;
    }
    m_next = m_end = nullptr;
    m_blocks = 0;
}
