#include "btkarraymemmgr.h"

#include <cstring>
#include <new>

namespace {
constexpr uint32_t kNoChunk = 0xFFFFFFFFu;
// Stands in free-head entry 16: not "no chunk", so the upward search stops there.
constexpr uint32_t kEndMark = 0xFFFFFFFEu;
constexpr uint32_t kMaxChunks = 0x10000;  // the index lives in 16 bits of a header
constexpr uint32_t kOrderMask = 15;

uint32_t* Words(unsigned char* block) { return reinterpret_cast<uint32_t*>(block); }
uint32_t OrderOf(uint32_t word0) { return (word0 >> 12) & kOrderMask; }
}  // namespace

// The 216-byte chunk header. The order records link chunks by their index in the chunk table and
// blocks by their distance from the chunk's start in 8-byte units (0 for none), so that the
// header keeps its size with 64-bit pointers.
struct btkArrayMemMgr::Chunk {
    btkArrayMemMgr* owner;
    struct OrderRecord {
        uint32_t firstFree;
        uint32_t nextChunk;
        uint32_t prevChunk;
    } orders[kOrders];
    uint32_t usable;
    uint32_t index;
    void* raw;

    unsigned char* Start() { return reinterpret_cast<unsigned char*>(this); }
    unsigned char* First() { return Start() + kChunkHeaderBytes; }
    unsigned char* At(uint32_t unit) { return Start() + static_cast<size_t>(unit) * 8; }
    uint32_t UnitOf(const unsigned char* block) {
        return static_cast<uint32_t>((block - Start()) >> 3);
    }
};

btkArrayMemMgr::btkArrayMemMgr() {
    static_assert(sizeof(Chunk) == kChunkHeaderBytes, "blocks start right behind the chunk header");
    for (uint32_t k = 0; k < kOrders; ++k) freeHeads[k] = kNoChunk;
    freeHeads[kOrders] = kEndMark;
    chunkTable = new (std::nothrow) Chunk*[kTableGrowth];
    if (chunkTable != nullptr) chunkCapacity = kTableGrowth;
}

btkArrayMemMgr::~btkArrayMemMgr() {
    for (uint32_t i = 0; i < chunkCount; ++i) ::operator delete(chunkTable[i]->raw);
    delete[] chunkTable;
}

uint32_t btkArrayMemMgr::FindOrder(uint32_t order) const {
    while (freeHeads[order] == kNoChunk) ++order;
    return order;
}

void* btkArrayMemMgr::Alloc(uint32_t size, int32_t alignment) {
    if (size == 0) return nullptr;
    uint32_t headerBytes = alignment < 5 ? 4 : 8;
    uint64_t need = static_cast<uint64_t>(size) + headerBytes;
    uint32_t order = 0;
    while (order < kOrders && (uint64_t{8} << order) < need) ++order;
    uint32_t found = FindOrder(order);
    if (found == kOrders) {
        if (need > chunkSize / 2) return btkHugeBlock::Alloc(size);
        if (MakeChunk() == nullptr) return nullptr;
        found = FindOrder(order);
        if (found == kOrders) return btkHugeBlock::Alloc(size);
    }
    Chunk* chunk = chunkTable[freeHeads[found]];
    unsigned char* block = chunk->At(chunk->orders[found].firstFree);
    RemoveFree(chunk, block, found);
    // The block keeps its start; the upper halves split off on the way down become free.
    for (uint32_t k = order; k < found; ++k) AddFree(chunk, block + (size_t{8} << k), k);
    uint32_t* words = Words(block);
    words[0] = (chunk->index << 16) | (order << 12) | kBtkBlockBuddy |
               (headerBytes == 8 ? kBtkBlockHasHeader8 : 0);
    if (headerBytes == 8) words[1] = 0;
    return block + headerBytes;
}

btkArrayMemMgr::Chunk* btkArrayMemMgr::MakeChunk() {
    chunkSize &= ~7u;
    if (chunkCount >= kMaxChunks) return nullptr;
    if (chunkCount == chunkCapacity) {
        auto** grown = new (std::nothrow) Chunk*[chunkCapacity + kTableGrowth];
        if (grown == nullptr) return nullptr;
        if (chunkCount > 0) std::memcpy(grown, chunkTable, chunkCount * sizeof(Chunk*));
        delete[] chunkTable;
        chunkTable = grown;
        chunkCapacity += kTableGrowth;
    }
    void* raw = ::operator new(static_cast<size_t>(chunkSize) + 7, std::nothrow);
    if (raw == nullptr) return nullptr;
    auto* chunk = reinterpret_cast<Chunk*>((reinterpret_cast<uintptr_t>(raw) + 7) & ~uintptr_t{7});
    chunk->owner = this;
    for (Chunk::OrderRecord& record : chunk->orders) record = {0, kNoChunk, kNoChunk};
    chunk->usable = chunkSize - kChunkHeaderBytes;
    chunk->index = chunkCount;
    chunk->raw = raw;
    chunkTable[chunkCount++] = chunk;
    // Cutting from the top down, smallest block first, leaves every block at an offset that is a
    // multiple of its own size, which the buddy arithmetic of Free depends on.
    uint32_t top = chunk->usable;
    uint32_t units = chunk->usable >> 3;
    for (uint32_t k = 0; k < kOrders; ++k) {
        if ((units & (1u << k)) == 0) continue;
        top -= 8u << k;
        AddFree(chunk, chunk->First() + top, k);
    }
    return chunk;
}

void btkArrayMemMgr::AddFree(Chunk* chunk, unsigned char* block, uint32_t order) {
    uint32_t* words = Words(block);
    words[0] = (chunk->index << 16) | (order << 12) | kBtkBlockBuddy | kBtkBlockFree;
    Chunk::OrderRecord& record = chunk->orders[order];
    uint32_t unit = chunk->UnitOf(block);
    uint32_t oldFirst = record.firstFree;
    words[1] = oldFirst << 16;
    if (oldFirst != 0) {
        uint32_t* next = Words(chunk->At(oldFirst));
        next[1] = (next[1] & 0xFFFF0000u) | unit;
    }
    record.firstFree = unit;
    if (oldFirst != 0) return;
    // The chunk's first free block of this order: the chunk joins the manager's list.
    record.nextChunk = freeHeads[order];
    record.prevChunk = kNoChunk;
    if (freeHeads[order] != kNoChunk) chunkTable[freeHeads[order]]->orders[order].prevChunk = chunk->index;
    freeHeads[order] = chunk->index;
}

void btkArrayMemMgr::RemoveFree(Chunk* chunk, unsigned char* block, uint32_t order) {
    uint32_t* words = Words(block);
    words[0] &= ~kBtkBlockFree;
    uint32_t next = words[1] >> 16;
    uint32_t prev = words[1] & 0xFFFFu;
    Chunk::OrderRecord& record = chunk->orders[order];
    if (prev != 0) {
        uint32_t* before = Words(chunk->At(prev));
        before[1] = (before[1] & 0xFFFFu) | (next << 16);
    } else {
        record.firstFree = next;
    }
    if (next != 0) {
        uint32_t* after = Words(chunk->At(next));
        after[1] = (after[1] & 0xFFFF0000u) | prev;
    }
    if (record.firstFree != 0) return;
    // Its last free block of this order is gone: the chunk leaves the manager's list.
    if (record.prevChunk != kNoChunk) {
        chunkTable[record.prevChunk]->orders[order].nextChunk = record.nextChunk;
    } else {
        freeHeads[order] = record.nextChunk;
    }
    if (record.nextChunk != kNoChunk) chunkTable[record.nextChunk]->orders[order].prevChunk = record.prevChunk;
    record.nextChunk = kNoChunk;
    record.prevChunk = kNoChunk;
}

namespace {
// A 4-byte header leaves the caller's address 4 past a multiple of 8; an 8-byte one (and a huge
// block's) leaves it on a multiple of 8.
uint32_t* HeaderOf(void* ptr) {
    auto* bytes = static_cast<unsigned char*>(ptr);
    return Words(bytes - (reinterpret_cast<uintptr_t>(ptr) % 8 == 0 ? 8 : 4));
}
}  // namespace

void btkArrayMemMgr::Free(void* ptr) {
    if (ptr == nullptr) return;
    uint32_t* header = HeaderOf(ptr);
    if ((header[0] & kBtkBlockBuddy) == 0) {
        btkHugeBlock::Free(ptr);
        return;
    }
    Chunk* chunk = chunkTable[header[0] >> 16];
    uint32_t order = OrderOf(header[0]);
    unsigned char* first = chunk->First();
    uint32_t offset = static_cast<uint32_t>(reinterpret_cast<unsigned char*>(header) - first);
    uint32_t blockSize = 8u << order;
    // Merge while the pair would still lie inside the chunk and the buddy is a whole free block.
    while ((offset & ~blockSize) + 2 * blockSize <= chunk->usable) {
        uint32_t buddyOffset = offset ^ blockSize;
        uint32_t buddyWord = Words(first + buddyOffset)[0];
        if ((buddyWord & kBtkBlockFree) == 0 || OrderOf(buddyWord) != order) break;
        RemoveFree(chunk, first + buddyOffset, order);
        if (buddyOffset < offset) offset = buddyOffset;
        ++order;
        blockSize <<= 1;
    }
    AddFree(chunk, first + offset, order);
}

uint32_t btkArrayMemMgr::GetSize(void* ptr) {
    if (ptr == nullptr) return 0;
    uint32_t* header = HeaderOf(ptr);
    if ((header[0] & kBtkBlockBuddy) == 0) return btkHugeBlock::Size(ptr);
    return (8u << OrderOf(header[0])) - ((header[0] & kBtkBlockHasHeader8) ? 8 : 4);
}

uint32_t btkArrayMemMgr::Blocks(uint32_t index, BlockInfo* out, uint32_t capacity) const {
    if (index >= chunkCount) return 0;
    Chunk* chunk = chunkTable[index];
    uint32_t n = 0;
    for (uint32_t offset = 0; offset < chunk->usable; ++n) {
        uint32_t word = Words(chunk->First() + offset)[0];
        if (n < capacity) out[n] = {OrderOf(word), (word & kBtkBlockFree) != 0};
        offset += 8u << OrderOf(word);
    }
    return n;
}
