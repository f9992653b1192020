#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "btkmemmgr.h"
#include "btkstatics.h"
#include "childprocess.h"
#include "threadlib.h"

namespace {

const char kMisuseReport[] =
    "FATAL ERROR IN THREAD DETECTED.\n"
    "DESCRIPTION: Thread can't lock non-recursive mutex twice or unlock non-locked mutex\n"
    "APPLICATION TERMINATED.\n";

// Turns the switch on for one test and off again, whatever the test does.
class ThreadingOn {
public:
    ThreadingOn() { s_bThreadingEnabled = true; }
    ~ThreadingOn() { s_bThreadingEnabled = false; }
};

}  // namespace

TEST(Mutex, SwitchOffMakesEveryOperationANoOp) {
    ASSERT_FALSE(s_bThreadingEnabled);
    thrMutex plain;
    plain.Lock();
    plain.Lock();
    plain.Unlock();
    plain.Unlock();
    plain.Unlock();
    EXPECT_EQ(plain.Owner(), 0u);
    EXPECT_TRUE(plain.IsActive());
}

TEST(Mutex, MisuseWithTheSwitchOnAbortsWithThreeLines) {
    struct Case {
        const char* what;
        void (*body)(thrMutex& mutex);
    };
    const Case cases[] = {
        {"second lock of a plain mutex",
         [](thrMutex& m) {
             m.Lock();
             m.Lock();
         }},
        {"unlock of a mutex nobody holds", [](thrMutex& m) { m.Unlock(); }},
        {"unlock by a thread that doesn't hold it",
         [](thrMutex& m) {
             m.Lock();
             std::thread other([&] { m.Unlock(); });
             other.join();
         }},
    };
    for (const Case& c : cases) {
        childprocess::Outcome outcome = childprocess::Run([&] {
            s_bThreadingEnabled = true;
            thrMutex mutex;
            c.body(mutex);
            std::fputs("survived\n", stdout);
        });
        EXPECT_TRUE(outcome.signaled) << c.what;
        EXPECT_EQ(outcome.signal, SIGABRT) << c.what;
        EXPECT_EQ(outcome.err, kMisuseReport) << c.what;
        EXPECT_EQ(outcome.out, "") << c.what;
    }
}

TEST(Mutex, RecursiveMutexIsHeldUntilTheLastUnlock) {
    ThreadingOn on;
    thrMutex mutex(1);
    mutex.Lock();
    mutex.Lock();
    mutex.Lock();
    EXPECT_EQ(mutex.Owner(), thrCurrentThreadId());
    EXPECT_EQ(mutex.LockCount(), 2u);

    std::atomic<bool> acquired{false};
    std::thread other([&] {
        mutex.Lock();
        acquired = true;
        mutex.Unlock();
    });
    for (int unlock = 1; unlock <= 2; ++unlock) {
        mutex.Unlock();
        // The other thread must still be waiting: give it time to get past Lock if it could.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(acquired) << "after unlock " << unlock;
        EXPECT_EQ(mutex.Owner(), thrCurrentThreadId());
    }
    mutex.Unlock();
    other.join();
    EXPECT_TRUE(acquired);
    EXPECT_EQ(mutex.Owner(), 0u);
    EXPECT_EQ(mutex.LockCount(), 0u);
}

TEST(Mutex, PlainMutexExcludesAnotherThread) {
    ThreadingOn on;
    thrMutex mutex;
    int counter = 0;
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            mutex.Lock();
            ++counter;
            mutex.Unlock();
        }
    };
    std::thread a(work);
    std::thread b(work);
    a.join();
    b.join();
    EXPECT_EQ(counter, 40000);
    EXPECT_EQ(mutex.Owner(), 0u);
}

TEST(Mutex, RegistryHoldsLiveMutexesOnly) {
    uint32_t before = thrMutexRegistryCount();
    // The five static mutexes were registered at load.
    EXPECT_GE(before, 5u);
    {
        thrMutex a;
        thrMutex b(1);
        EXPECT_EQ(thrMutexRegistryCount(), before + 2);
    }
    EXPECT_EQ(thrMutexRegistryCount(), before);
}

TEST(Mutex, OnlyTheMutexCastSucceeds) {
    static std::vector<int> lines;
    lines.clear();
    btkFatalHandler = [](const char* message, const char* source, int line) {
        EXPECT_STREQ(message, "Illegal casting from thrBaseObject to ##thrType");
        EXPECT_STREQ(source, "baselib/threadlibsrc/threadlib");
        lines.push_back(line);
        return 0;
    };
    thrMutex mutex;
    thrBaseObject& object = mutex;
    EXPECT_EQ(object.AsMutex(), &mutex);
    EXPECT_EQ(object.AsThread(), nullptr);
    EXPECT_EQ(object.AsCondition(), nullptr);
    EXPECT_EQ(object.AsSemaphore(), nullptr);
    EXPECT_EQ(object.AsProcess(), nullptr);
    btkFatalHandler = nullptr;
    EXPECT_EQ(lines, (std::vector<int>{150, 151, 154, 153}));
}

TEST(StaticsSet, ReportsEntriesLeftAtExitAndNothingWhenEmpty) {
    childprocess::Outcome empty = childprocess::Run([] { std::exit(0); });
    EXPECT_TRUE(empty.exited);
    EXPECT_EQ(empty.out, "");

    childprocess::Outcome left = childprocess::Run([] {
        static char first[] = "s_config";
        static char second[] = "s_cache";
        thrStaticsEntry entries[] = {{first, 2}, {second, -1}};
        thrMTSafeStaticsArray.Append(&entries[0]);
        thrMTSafeStaticsArray.Append(&entries[1]);
        std::exit(0);
    });
    EXPECT_TRUE(left.exited);
    EXPECT_EQ(left.out,
              "thrMTSafeStaticsSet::~thrMTSafeStaticsSet: WARNING:\n"
              "\tstatic variable s_config is still in the lock set, count=2\n"
              "thrMTSafeStaticsSet::~thrMTSafeStaticsSet: WARNING:\n"
              "\tstatic variable s_cache is still in the lock set, count=-1\n");
}

TEST(ExportedData, ThreadLibraryValuesAtLoad) {
    EXPECT_FALSE(s_bThreadingEnabled);
    EXPECT_EQ(badThreadHandle, nullptr);
    EXPECT_EQ(badProcHandle, 0);
    EXPECT_EQ(badIOCtrlHandle, reinterpret_cast<void*>(~uintptr_t{0}));
    EXPECT_EQ(btkEvent::CurrentKind, 0);
    EXPECT_STREQ(MAR_OS_TYPE, "WIN32");
    EXPECT_STREQ(MAR_MACHINE_TYPE, "i486_nt");
}
