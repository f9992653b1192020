#include "btkmemmgr.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "btkstatics.h"
#include "threadlib.h"

namespace {
constexpr const char* kSource = "baselib/baselibsrc/btkmemmgr";
}  // namespace

uint32_t GCMemUsed = 0;

btkFatalHandlerFunc btkFatalHandler = nullptr;

btkMemMgr::~btkMemMgr() = default;

uint32_t btkMemMgr::GetSize(void*) { return 0; }

void* btkMemMgr::Alloc(uint32_t, int32_t) {
    btkFatalError(nullptr, kSource, 32);
    return nullptr;
}

void btkMemMgr::Free(void*) { btkFatalError(nullptr, kSource, 37); }

void* btkDefMemMgr::Alloc(uint32_t size, int32_t) { return std::malloc(size); }

void btkDefMemMgr::Free(void* ptr) { std::free(ptr); }

void* operator new(std::size_t size, btkMemMgr*) noexcept {
    return ::operator new(size, std::nothrow);
}

void* operator new[](std::size_t size, btkMemMgr*) noexcept {
    return ::operator new[](size, std::nothrow);
}

namespace btkHugeBlock {

void* Alloc(uint32_t size) {
    // The sum is taken in size_t so that a size near 4 GiB can't wrap to a tiny block.
    auto* raw = static_cast<uint32_t*>(
        ::operator new(static_cast<std::size_t>(size) + kHeaderBytes, std::nothrow));
    if (raw == nullptr) return nullptr;
    raw[0] = 0;
    raw[1] = size;
    return raw + 2;
}

void Free(void* ptr) {
    uint32_t* header = static_cast<uint32_t*>(ptr) - 2;
    header[0] |= kBtkBlockFree;
    ::operator delete(header);
}

uint32_t Size(void* ptr) { return (static_cast<uint32_t*>(ptr) - 2)[1]; }

}  // namespace btkHugeBlock

baselibState btkReadCTState() {
    // A variable counts as set when it exists at all, even with an empty value.
    baselibState state;
    state.noInteract = std::getenv("NOINTERACT") != nullptr;
    state.noExit = std::getenv("NOEXIT") != nullptr;
    state.hardMemDebug = std::getenv("HARDMEMDEBUG") != nullptr;
    return state;
}

int btkFatalError(const char* message, const char* sourcePath, int line) {
    // The lock covers only the read of the slot, so that the handler runs without it.
    btkFatalHandlerMutex.Lock();
    btkFatalHandlerFunc handler = btkFatalHandler;
    btkFatalHandlerMutex.Unlock();
    if (handler != nullptr && handler(message, sourcePath, line) == 0) return 0;
    if (theCTState.noInteract) {
        std::fputs("Nointeractive mode - aborting.\n", stdout);
        std::fflush(stdout);
    }
    std::exit(1);
}
