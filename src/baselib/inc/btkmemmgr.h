// The toolkit's allocators and its last-resort failure routine.
//
// btkMemMgr is the one allocator interface. Four global managers stand behind the exported
// pointers: the plain heap (pDefMemMgr), a pool for many small objects of like size
// (pBlkObjMemMgr) and a binary buddy allocator for arrays and strings (pArrayMemMgr, also named
// pStringMemMgr). The library's own objects never come from the pool or the buddy: they are
// built with `new (pDefMemMgr)`, which is plain heap memory released by plain `delete`.
#pragma once

#include <cstddef>
#include <cstdint>

#include "marrows/marrows.h"

class btkMemMgr {
public:
    virtual ~btkMemMgr();
    // Bytes of the block at `ptr`; the base knows no blocks and gives 0.
    virtual uint32_t GetSize(void* ptr);
    // A block of at least `size` bytes. Only the buddy manager looks at `alignment`.
    virtual void* Alloc(uint32_t size, int32_t alignment);
    virtual void Free(void* ptr);
};

// The runtime's heap: malloc and free.
class btkDefMemMgr : public btkMemMgr {
public:
    void* Alloc(uint32_t size, int32_t alignment) override;
    void Free(void* ptr) override;
};

// Ignores the manager: every allocation of the library is plain heap memory, freed by plain
// operator delete. Gives null when memory runs out, so a new-expression skips the constructor.
void* operator new(std::size_t size, btkMemMgr* manager) noexcept;
void* operator new[](std::size_t size, btkMemMgr* manager) noexcept;

// Blocks that a manager doesn't hold itself: one heap allocation with an 8-byte header of two
// 32-bit words, 0 and the size. The caller's address lies behind the header.
namespace btkHugeBlock {
constexpr uint32_t kHeaderBytes = 8;
void* Alloc(uint32_t size);
void Free(void* ptr);
uint32_t Size(void* ptr);
}  // namespace btkHugeBlock

// Bits of word 0 of a block header, shared by the pool and the buddy manager.
constexpr uint32_t kBtkBlockHasHeader8 = 0x800;  // pool block, or buddy block with 8-byte header
constexpr uint32_t kBtkBlockFree = 0x400;
constexpr uint32_t kBtkBlockBuddy = 0x200;

// The process-wide failure handler: called by btkFatalError with its three arguments. When it
// returns 0, btkFatalError returns 0 to its caller, who goes on. Nothing in the library sets it.
typedef int (*btkFatalHandlerFunc)(const char* message, const char* sourcePath, int line);
extern btkFatalHandlerFunc btkFatalHandler;

// The toolkit's last resort: hands the failure to btkFatalHandler if one is set, otherwise ends
// the process with exit(1), after one line on standard output when NOINTERACT was set at load.
int btkFatalError(const char* message, const char* sourcePath, int line);

// theCTState as the environment of this process gives it.
baselibState btkReadCTState();
