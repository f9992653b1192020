// LDBArena: the memory of the objects one store loads. It hands out pieces of large blocks by
// moving a pointer and gives all of them back at once when the store drops its cache, so that
// loading and dropping a hundred thousand objects costs a few hundred allocations, not a
// hundred thousand of each.
//
// A piece is never given back alone: an object destroyed before the drop (a record that failed
// to load, one deleted at a commit) leaves its piece unused until then.
#pragma once

#include <cstddef>

class LDBArena {
public:
    LDBArena() = default;
    ~LDBArena() { Release(); }
    LDBArena(const LDBArena&) = delete;
    LDBArena& operator=(const LDBArena&) = delete;

    // size bytes aligned to kAlignment; null when there is no memory.
    void* Allocate(size_t size);
    // Gives back every block. Nothing handed out may be used afterwards.
    void Release();
    size_t BlockCount() const { return m_blocks; }

    static constexpr size_t kAlignment = 16;

private:
    // Blocks are chained through their first word.
    static constexpr size_t kBlockSize = 256 * 1024;
    static constexpr size_t kBlockHead = kAlignment;

    char* m_first = nullptr;
    char* m_next = nullptr;
    char* m_end = nullptr;
    size_t m_blocks = 0;
};
