// btkBlkObjMemMgr: the pool manager, for many small objects of like size.
//
// Requests are rounded up to size classes (8-byte steps up to 112 bytes, then seven steps per
// power of two) and carved from 128 KiB chunks at a moving cursor. A freed block goes to the
// head of its class's free list and is the next one handed out for that class; blocks are never
// merged and chunks are never returned before the destructor. Requests of 32 KiB and more are
// huge blocks of their own.
//
// Every block opens with an 8-byte header of two 32-bit words: word 0 has the class in bits 16
// to 31 and the flags 0x800 (pool block) and 0x400 (free); word 1 is 0. A free block keeps its
// list link in the first 8 bytes of its data, which every class has, since the smallest class
// that a request reaches is 16 bytes.
#pragma once

#include <cstdint>

#include "btkmemmgr.h"

// The class of a block of `size` bytes, header included, and the bytes a class stands for.
uint32_t btkPoolSizeClass(uint32_t size);
inline uint32_t btkPoolClassBytes(uint32_t sizeClass) {
    return (sizeClass & 15) << ((sizeClass >> 4) + 3);
}

class btkBlkObjMemMgr : public btkMemMgr {
public:
    static constexpr uint32_t kStandardChunkSize = 131072;
    // The chunk header stays 24 bytes, as blocks start there.
    static constexpr uint32_t kChunkHeaderBytes = 24;
    static constexpr uint32_t kBlockHeaderBytes = 8;
    static constexpr uint32_t kHugeLimit = 32768;
    static constexpr uint32_t kClassCount = 256;

    btkBlkObjMemMgr();
    ~btkBlkObjMemMgr() override;
    btkBlkObjMemMgr(const btkBlkObjMemMgr&) = delete;
    btkBlkObjMemMgr& operator=(const btkBlkObjMemMgr&) = delete;

    uint32_t GetSize(void* ptr) override;
    void* Alloc(uint32_t size, int32_t alignment) override;
    void Free(void* ptr) override;

    uint32_t AllocationCount() const { return allocationCount; }
    uint32_t EfficiencySum() const { return efficiencySum; }
    uint32_t ChunkCount() const;

private:
    struct Chunk;

    bool StartChunk();
    void* TakeFree(uint32_t sizeClass);

    uint32_t chunkSize = kStandardChunkSize;
    uint32_t allocationCount = 0;
    uint32_t efficiencySum = 0;
    Chunk* firstChunk = nullptr;
    uint32_t classLimit;
    struct {
        Chunk* chunk;
        uint32_t freeBytes;
    } current = {nullptr, 0};
    void** freeHeads = nullptr;
};
