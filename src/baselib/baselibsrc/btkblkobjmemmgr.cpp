#include "btkblkobjmemmgr.h"

#include <cstdio>
#include <cstring>
#include <new>

// A chunk's control data fills the 24 bytes in front of its first block; the first block is
// always right behind them, so its address needs no field, and the carving cursor is kept as a
// 32-bit distance from the chunk's start.
struct btkBlkObjMemMgr::Chunk {
    Chunk* next;
    btkBlkObjMemMgr* owner;
    uint32_t capacity;
    uint32_t cursor;

    unsigned char* Bytes() { return reinterpret_cast<unsigned char*>(this); }
};

namespace {

void PrintLine(const char* text) {
    std::fputs(text, stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

uint32_t* HeaderOf(void* ptr) { return static_cast<uint32_t*>(ptr) - 2; }

void* FreshBlock(unsigned char* block, uint32_t sizeClass) {
    auto* header = reinterpret_cast<uint32_t*>(block);
    header[0] = (sizeClass << 16) | kBtkBlockHasHeader8;
    header[1] = 0;
    return block + btkBlkObjMemMgr::kBlockHeaderBytes;
}

}  // namespace

uint32_t btkPoolSizeClass(uint32_t size) {
    uint32_t v = size + 7;
    if (size < 113) return v >> 3;
    uint32_t e = 0;
    do {
        v = (v + 8) >> 1;
        ++e;
    } while (v >= 120);
    return e * 16 + (v >> 3);
}

btkBlkObjMemMgr::btkBlkObjMemMgr() : classLimit(btkPoolSizeClass(kHugeLimit)) {
    static_assert(sizeof(Chunk) <= kChunkHeaderBytes,
                  "the chunk's control data must fit in front of its first block");
    freeHeads = new (std::nothrow) void*[kClassCount]();
}

btkBlkObjMemMgr::~btkBlkObjMemMgr() {
    delete[] freeHeads;
    for (Chunk* chunk = firstChunk; chunk != nullptr;) {
        Chunk* next = chunk->next;
        ::operator delete(chunk);
        chunk = next;
    }
}

uint32_t btkBlkObjMemMgr::ChunkCount() const {
    uint32_t n = 0;
    for (Chunk* chunk = firstChunk; chunk != nullptr; chunk = chunk->next) ++n;
    return n;
}

void* btkBlkObjMemMgr::Alloc(uint32_t size, int32_t) {
    if (size >= kHugeLimit) return btkHugeBlock::Alloc(size);
    // A request of 0 bytes would divide by zero below; it is served as a 1-byte one.
    if (size == 0) size = 1;
    uint32_t sizeClass = btkPoolSizeClass(size + kBlockHeaderBytes);
    uint32_t classBytes = btkPoolClassBytes(sizeClass);
    ++allocationCount;
    efficiencySum += size * 100 / (classBytes - kBlockHeaderBytes);
    if (sizeClass >= classLimit) {
        PrintLine("Allocating Huge from Pool");
        return btkHugeBlock::Alloc(classBytes);
    }
    if (freeHeads == nullptr) return nullptr;
    for (;;) {
        if (void* reused = TakeFree(sizeClass)) return reused;
        if (current.chunk == nullptr && !StartChunk()) return nullptr;
        if (current.freeBytes >= classBytes) {
            unsigned char* block = current.chunk->Bytes() + current.chunk->cursor;
            current.chunk->cursor += classBytes;
            current.freeBytes -= classBytes;
            return FreshBlock(block, sizeClass);
        }
        // The tail of the chunk is too small for this class and is given up for good.
        current.chunk = nullptr;
        current.freeBytes = 0;
    }
}

void* btkBlkObjMemMgr::TakeFree(uint32_t sizeClass) {
    void* data = freeHeads[sizeClass];
    if (data == nullptr) return nullptr;
    std::memcpy(&freeHeads[sizeClass], data, sizeof(void*));
    return FreshBlock(static_cast<unsigned char*>(data) - kBlockHeaderBytes, sizeClass);
}

bool btkBlkObjMemMgr::StartChunk() {
    auto* chunk = static_cast<Chunk*>(::operator new(chunkSize, std::nothrow));
    if (chunk == nullptr) return false;
    chunk->owner = this;
    chunk->capacity = chunkSize - kChunkHeaderBytes;
    chunk->cursor = kChunkHeaderBytes;
    chunk->next = firstChunk;
    firstChunk = chunk;
    current.chunk = chunk;
    current.freeBytes = chunk->capacity;
    return true;
}

void btkBlkObjMemMgr::Free(void* ptr) {
    if (ptr == nullptr) return;
    uint32_t* header = HeaderOf(ptr);
    if ((header[0] & kBtkBlockHasHeader8) == 0) {
        PrintLine("Freeing Huge from Pool");
        btkHugeBlock::Free(ptr);
        return;
    }
    uint32_t sizeClass = header[0] >> 16;
    header[0] |= kBtkBlockFree;
    std::memcpy(ptr, &freeHeads[sizeClass], sizeof(void*));
    freeHeads[sizeClass] = ptr;
}

uint32_t btkBlkObjMemMgr::GetSize(void* ptr) {
    if (ptr == nullptr) return 0;
    uint32_t* header = HeaderOf(ptr);
    if ((header[0] & kBtkBlockHasHeader8) == 0) return btkHugeBlock::Size(ptr);
    return btkPoolClassBytes(header[0] >> 16);
}
