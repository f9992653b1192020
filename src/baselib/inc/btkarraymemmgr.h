// btkArrayMemMgr: the binary buddy manager for arrays and strings (pArrayMemMgr, pStringMemMgr).
//
// A chunk is 128 KiB, 8-byte aligned, with a 216-byte header; its remaining 130856 bytes are
// first cut into one free block per set bit of their size in 8-byte units, the largest at the
// lowest address. Every block is 8 << order bytes (order 0 to 15) and lies at an offset from the
// chunk's first block that is a multiple of its size, so that a block's buddy is found by
// flipping one bit of the offset. Requests that need more than half a chunk are huge blocks.
//
// Block header, word 0: chunk index in bits 16 to 31, order in bits 12 to 15, and the flags 0x800
// (8-byte header), 0x400 (free) and 0x200 (buddy block; clear for a huge block). Word 1 exists in
// free blocks, where it links the chunk's free list of that order, and in blocks with the 8-byte
// header; a block with the 4-byte header hands it to the caller. A caller's address is therefore
// a multiple of 8 for an alignment above 4, and 4 past a multiple of 8 otherwise.
#pragma once

#include <cstdint>

#include "btkmemmgr.h"

class btkArrayMemMgr : public btkMemMgr {
public:
    static constexpr uint32_t kStandardChunkSize = 131072;
    static constexpr uint32_t kChunkHeaderBytes = 216;
    static constexpr uint32_t kOrders = 16;
    static constexpr uint32_t kTableGrowth = 1024;

    btkArrayMemMgr();
    ~btkArrayMemMgr() override;
    btkArrayMemMgr(const btkArrayMemMgr&) = delete;
    btkArrayMemMgr& operator=(const btkArrayMemMgr&) = delete;

    uint32_t GetSize(void* ptr) override;
    void* Alloc(uint32_t size, int32_t alignment) override;
    void Free(void* ptr) override;

    uint32_t ChunkCount() const { return chunkCount; }
    // The blocks of chunk `index` by ascending address; gives their number, of which at most
    // `capacity` are stored. Lets a check compare a chunk with its first cut.
    struct BlockInfo {
        uint32_t order;
        bool free;
    };
    uint32_t Blocks(uint32_t index, BlockInfo* out, uint32_t capacity) const;

private:
    struct Chunk;

    uint32_t FindOrder(uint32_t order) const;
    Chunk* MakeChunk();
    void AddFree(Chunk* chunk, unsigned char* block, uint32_t order);
    void RemoveFree(Chunk* chunk, unsigned char* block, uint32_t order);

    uint32_t chunkSize = kStandardChunkSize;
    // Per order, the index of the first chunk with a free block of it; entry 16 is the end mark
    // that stops the search.
    uint32_t freeHeads[kOrders + 1];
    uint32_t chunkCount = 0;
    uint32_t chunkCapacity = 0;
    Chunk** chunkTable = nullptr;
};
