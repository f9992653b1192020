#include "threadlib.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "btkmemmgr.h"
#include "btkstatics.h"

MARROWS_BYTE_BOOL s_bThreadingEnabled = false;
void* badThreadHandle = nullptr;
int32_t badProcHandle = 0;
void* badIOCtrlHandle = reinterpret_cast<void*>(~uintptr_t{0});
int32_t btkEvent::CurrentKind = 0;

const char* const thrMessages[3] = {
    "Threading must be enabled before using threads",
    "Threads already in use",
    "Thread can't lock non-recursive mutex twice or unlock non-locked mutex",
};

namespace {

constexpr const char* kSource = "baselib/threadlibsrc/threadlib";
constexpr const char* kIllegalCast = "Illegal casting from thrBaseObject to ##thrType";

// The registry of live mutexes. Its lock is constant-initialised and its array is made by the
// first mutex and never freed, so both outlive the static mutexes, which leave the registry from
// their destructors at unload.
std::mutex registryLock;
dsBlockArray* registry = nullptr;

}  // namespace

uint32_t thrCurrentThreadId() { return static_cast<uint32_t>(gettid()); }

void thrFatal(const char* message) {
    std::fputs("FATAL ERROR IN THREAD DETECTED.\n", stderr);
    std::fprintf(stderr, "DESCRIPTION: %s\n", message);
    std::fputs("APPLICATION TERMINATED.\n", stderr);
    std::fflush(stderr);
    std::abort();
}

thrThread* thrBaseObject::AsThread() {
    btkFatalError(kIllegalCast, kSource, 150);
    return nullptr;
}

thrCondition* thrBaseObject::AsCondition() {
    btkFatalError(kIllegalCast, kSource, 151);
    return nullptr;
}

thrMutex* thrBaseObject::AsMutex() {
    btkFatalError(kIllegalCast, kSource, 152);
    return nullptr;
}

thrSemaphore* thrBaseObject::AsSemaphore() {
    btkFatalError(kIllegalCast, kSource, 154);
    return nullptr;
}

thrProcess* thrBaseObject::AsProcess() {
    btkFatalError(kIllegalCast, kSource, 153);
    return nullptr;
}

thrMutex::thrMutex(uint32_t recursive) : recursive(recursive) {
    {
        std::lock_guard<std::mutex> guard(registryLock);
        if (registry == nullptr) registry = new (std::nothrow) dsBlockArray(sizeof(thrMutex*));
        thrMutex* self = this;
        if (registry != nullptr) registry->Append(&self);
    }
    criticalSection = new (std::nothrow) std::mutex;
    active.store(true, std::memory_order_relaxed);
}

thrMutex::~thrMutex() {
    active.store(false, std::memory_order_relaxed);
    {
        std::lock_guard<std::mutex> guard(registryLock);
        thrMutex* self = this;
        int32_t index = registry != nullptr ? registry->IndexOf(&self) : -1;
        if (index >= 0) registry->Remove(static_cast<uint32_t>(index), 1);
    }
    delete criticalSection;
}

void thrMutex::Lock() {
    if (!s_bThreadingEnabled || !IsActive()) return;
    uint32_t self = thrCurrentThreadId();
    if (self != Owner()) {
        if (criticalSection != nullptr) criticalSection->lock();
        owner.store(self, std::memory_order_relaxed);
    } else if (recursive == 0) {
        thrFatal(thrMessages[kThrMsgMutexMisuse]);
    } else {
        ++lockCount;
    }
}

void thrMutex::Unlock() {
    if (!s_bThreadingEnabled || !IsActive()) return;
    if (thrCurrentThreadId() != Owner()) thrFatal(thrMessages[kThrMsgMutexMisuse]);
    if (recursive != 0 && lockCount > 0) {
        --lockCount;
        return;
    }
    owner.store(0, std::memory_order_relaxed);
    if (criticalSection != nullptr) criticalSection->unlock();
}

uint32_t thrMutexRegistryCount() {
    std::lock_guard<std::mutex> guard(registryLock);
    return registry != nullptr ? registry->Count() : 0;
}

namespace {
int CompareStaticsEntries(const void* first, const void* second) {
    return std::strcmp(static_cast<const thrStaticsEntry*>(first)->name,
                       static_cast<const thrStaticsEntry*>(second)->name);
}
}  // namespace

thrStaticsArray::thrStaticsArray() : dsObjectArray(sizeof(thrStaticsEntry), CompareStaticsEntries) {}

thrStaticsArray::~thrStaticsArray() { DestroyAll(); }

void thrStaticsArray::CopyElement(void* target, const void* source) {
    if (target != nullptr) std::memcpy(target, source, sizeof(thrStaticsEntry));
}

thrMTSafeStaticsSet::~thrMTSafeStaticsSet() {
    for (uint32_t i = 0; i < thrMTSafeStaticsArray.Count(); ++i) {
        const auto* entry = static_cast<const thrStaticsEntry*>(thrMTSafeStaticsArray.At(i));
        std::printf(
            "thrMTSafeStaticsSet::~thrMTSafeStaticsSet: WARNING:\n\tstatic variable %s is still in "
            "the lock set, count=%i\n",
            entry->name, entry->count);
    }
    thrMTSafeStaticsArray.Clear();
}
