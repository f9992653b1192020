// The toolkit's thread library: a mutex with its own recursion and owner checks, the exported
// switch s_bThreadingEnabled that arms every mutex, and a guard that reports statics left in its
// lock set at exit.
//
// The library starts no threads and is used by one thread at a time, so the switch stays off
// unless a client turns it on, and Lock and Unlock are then no-ops. A client turns it on before
// it starts its threads and doesn't turn it off: a mutex locked while the switch was on stays
// held if it is unlocked after the switch went off.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "dsblockarray.h"
#include "marrows/marrows.h"

// The thread library's messages, in the order of its table.
extern const char* const thrMessages[3];
constexpr int kThrMsgThreadingDisabled = 0;
constexpr int kThrMsgThreadsInUse = 1;
constexpr int kThrMsgMutexMisuse = 2;

// The calling thread's system identifier; never 0, which stands for "no owner".
uint32_t thrCurrentThreadId();

// Writes the three last lines to standard error and aborts the process.
[[noreturn]] void thrFatal(const char* message);

class thrThread;
class thrCondition;
class thrMutex;
class thrSemaphore;
class thrProcess;

// Base of the thread library's objects. A checked cast gives the object itself when it is of
// that kind; any other cast is a misuse that ends in btkFatalError.
class thrBaseObject {
public:
    virtual thrThread* AsThread();
    virtual thrCondition* AsCondition();
    virtual thrMutex* AsMutex();
    virtual thrSemaphore* AsSemaphore();
    virtual thrProcess* AsProcess();
    virtual ~thrBaseObject() = default;
};

class thrMutex : public thrBaseObject {
public:
    explicit thrMutex(uint32_t recursive = 0);
    ~thrMutex() override;
    thrMutex(const thrMutex&) = delete;
    thrMutex& operator=(const thrMutex&) = delete;

    thrMutex* AsMutex() override { return this; }

    // A second Lock by the holder of a plain mutex, and an Unlock by a thread that isn't the
    // holder, end the process through thrFatal. A recursive mutex locked n times is held until
    // the n-th Unlock.
    void Lock();
    void Unlock();

    uint32_t Owner() const { return owner.load(std::memory_order_relaxed); }
    uint32_t LockCount() const { return lockCount; }
    bool IsActive() const { return active.load(std::memory_order_relaxed); }

private:
    std::mutex* criticalSection = nullptr;
    uint32_t recursive;
    uint32_t lockCount = 0;
    std::atomic<bool> active{false};
    // Read without the lock by every Lock and Unlock.
    std::atomic<uint32_t> owner{0};
};

// The number of live mutexes in the process-wide registry.
uint32_t thrMutexRegistryCount();

// One entry of the static guard's lock set: a static variable's name and its lock count.
struct thrStaticsEntry {
    char* name;
    int32_t count;
};

// The lock set: entries copied as two words, ordered (if anyone asked) by their names.
class thrStaticsArray : public dsObjectArray {
public:
    thrStaticsArray();
    ~thrStaticsArray() override;
    void CopyElement(void* target, const void* source) override;
    void DestroyElement(void*) override {}
};

// The static guard. At exit it reports every static still in the lock set, then empties the
// set; the library itself never adds one.
class thrMTSafeStaticsSet {
public:
    thrMTSafeStaticsSet() = default;
    ~thrMTSafeStaticsSet();
    thrMTSafeStaticsSet(const thrMTSafeStaticsSet&) = delete;
    thrMTSafeStaticsSet& operator=(const thrMTSafeStaticsSet&) = delete;
};
