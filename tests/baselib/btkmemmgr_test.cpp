#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "btkarraymemmgr.h"
#include "btkblkobjmemmgr.h"
#include "btkmemmgr.h"
#include "childprocess.h"

namespace {

struct FatalCall {
    std::string message;
    std::string source;
    int line;
};
std::vector<FatalCall> fatalCalls;

int RecordFatal(const char* message, const char* source, int line) {
    fatalCalls.push_back({message ? message : "<null>", source ? source : "<null>", line});
    return 0;
}

// Lets the failure routine return instead of ending the process, and records its calls.
class FatalRecorder {
public:
    FatalRecorder() {
        fatalCalls.clear();
        btkFatalHandler = RecordFatal;
    }
    ~FatalRecorder() { btkFatalHandler = nullptr; }
};

uintptr_t Address(void* p) { return reinterpret_cast<uintptr_t>(p); }

}  // namespace

TEST(PoolSizeClass, RoundsUpToTheDocumentedClasses) {
    struct Case {
        uint32_t size;
        uint32_t sizeClass;
        uint32_t bytes;
    };
    const Case cases[] = {
        {1, 1, 8},         {8, 1, 8},         {9, 2, 16},        {105, 14, 112},
        {112, 14, 112},    {113, 24, 128},    {128, 24, 128},    {129, 25, 144},
        {144, 25, 144},    {1000, 72, 1024},  {4096, 104, 4096}, {28672, 142, 28672},
        {28673, 152, 32768}, {32768, 152, 32768},
    };
    for (const Case& c : cases) {
        uint32_t sizeClass = btkPoolSizeClass(c.size);
        EXPECT_EQ(sizeClass, c.sizeClass) << "size " << c.size;
        EXPECT_EQ(btkPoolClassBytes(sizeClass), c.bytes) << "size " << c.size;
    }
    // Never rounds down, and never more than one step of its power of two above the request.
    for (uint32_t size = 1; size <= 32768; ++size) {
        uint32_t bytes = btkPoolClassBytes(btkPoolSizeClass(size));
        ASSERT_GE(bytes, size);
        ASSERT_LE(bytes, size + size / 7 + 8) << size;
    }
}

TEST(PoolManager, SmallRequestsTakeTheirClassWithTheHeader) {
    btkBlkObjMemMgr pool;
    struct Case {
        uint32_t size;
        uint32_t bytes;
    };
    const Case cases[] = {{0, 16}, {1, 16}, {8, 16}, {9, 24}, {120, 128}, {1000, 1024}, {20000, 20480}};
    for (const Case& c : cases) {
        void* p = pool.Alloc(c.size, 0);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(Address(p) % 8, 0u);
        EXPECT_EQ(pool.GetSize(p), c.bytes) << "size " << c.size;
        pool.Free(p);
    }
    EXPECT_EQ(pool.AllocationCount(), 7u);
}

TEST(PoolManager, FreedBlockIsTheNextOneOfItsClassLastInFirstOut) {
    btkBlkObjMemMgr pool;
    void* a = pool.Alloc(40, 0);
    void* b = pool.Alloc(40, 0);
    void* other = pool.Alloc(200, 0);
    EXPECT_NE(a, b);
    pool.Free(a);
    pool.Free(b);
    EXPECT_EQ(pool.Alloc(40, 0), b);
    EXPECT_EQ(pool.Alloc(36, 0), a);  // same class, 48 bytes with the header
    void* fresh = pool.Alloc(40, 0);
    EXPECT_NE(fresh, a);
    EXPECT_NE(fresh, b);
    // Blocks of one chunk are cut back to back.
    EXPECT_EQ(Address(b) - Address(a), 48u);
    EXPECT_EQ(Address(other) - Address(b), 48u);
}

TEST(PoolManager, ChunkTailTooSmallForAClassIsAbandoned) {
    btkBlkObjMemMgr pool;
    // 131048 bytes of blocks fit a chunk; 4 blocks of 28672 leave a tail of 16360.
    for (int i = 0; i < 4; ++i) ASSERT_NE(pool.Alloc(28000, 0), nullptr);
    EXPECT_EQ(pool.ChunkCount(), 1u);
    ASSERT_NE(pool.Alloc(28000, 0), nullptr);
    EXPECT_EQ(pool.ChunkCount(), 2u);
    // The abandoned tail isn't used for a later small request either.
    void* small = pool.Alloc(8, 0);
    EXPECT_EQ(pool.ChunkCount(), 2u);
    pool.Free(small);
}

TEST(PoolManager, HugeBlocksAndTheirLines) {
    btkBlkObjMemMgr pool;
    testing::internal::CaptureStdout();
    void* silent = pool.Alloc(32768, 0);
    std::string afterSilent = testing::internal::GetCapturedStdout();
    EXPECT_EQ(afterSilent, "");
    EXPECT_EQ(pool.GetSize(silent), 32768u);
    EXPECT_EQ(pool.AllocationCount(), 0u);

    testing::internal::CaptureStdout();
    void* counted = pool.Alloc(30000, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Allocating Huge from Pool\n");
    EXPECT_EQ(pool.GetSize(counted), 32768u);  // the class's bytes, not the request
    EXPECT_EQ(pool.AllocationCount(), 1u);
    EXPECT_EQ(pool.EfficiencySum(), 30000u * 100 / (32768 - 8));

    testing::internal::CaptureStdout();
    pool.Free(silent);
    pool.Free(counted);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Freeing Huge from Pool\nFreeing Huge from Pool\n");
    EXPECT_EQ(pool.ChunkCount(), 0u);
}

TEST(BuddyManager, HeaderSizeFollowsTheAlignment) {
    btkArrayMemMgr buddy;
    struct Case {
        uint32_t size;
        int32_t alignment;
        uint32_t usable;
        uintptr_t remainder;
    };
    const Case cases[] = {
        {100, 4, 124, 4}, {100, 8, 120, 0}, {4, 0, 4, 4}, {5, 4, 12, 4},
        {1, 5, 8, 0},     {124, 4, 124, 4}, {125, 4, 252, 4}, {65532, 4, 65532, 4},
    };
    for (const Case& c : cases) {
        void* p = buddy.Alloc(c.size, c.alignment);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(buddy.GetSize(p), c.usable) << c.size << "/" << c.alignment;
        EXPECT_EQ(Address(p) % 8, c.remainder) << c.size << "/" << c.alignment;
        buddy.Free(p);
    }
    EXPECT_EQ(buddy.Alloc(0, 8), nullptr);
    buddy.Free(nullptr);
    EXPECT_EQ(buddy.GetSize(nullptr), 0u);
    EXPECT_EQ(buddy.ChunkCount(), 1u);
}

TEST(BuddyManager, MoreThanHalfAChunkIsAHugeBlock) {
    btkArrayMemMgr buddy;
    void* huge = buddy.Alloc(65537, 4);  // needs 65541
    ASSERT_NE(huge, nullptr);
    EXPECT_EQ(Address(huge) % 8, 0u);
    EXPECT_EQ(buddy.GetSize(huge), 65537u);
    EXPECT_EQ(buddy.ChunkCount(), 0u);
    // Its header has the buddy bit clear, so Free takes the huge path.
    EXPECT_EQ(static_cast<uint32_t*>(huge)[-2] & kBtkBlockBuddy, 0u);
    buddy.Free(huge);
    void* fits = buddy.Alloc(65532, 4);
    EXPECT_EQ(buddy.ChunkCount(), 1u);
    EXPECT_EQ(buddy.GetSize(fits), 65532u);
    buddy.Free(fits);
}

namespace {
std::vector<btkArrayMemMgr::BlockInfo> Layout(const btkArrayMemMgr& buddy, uint32_t chunk = 0) {
    std::vector<btkArrayMemMgr::BlockInfo> blocks(4096);
    blocks.resize(buddy.Blocks(chunk, blocks.data(), static_cast<uint32_t>(blocks.size())));
    return blocks;
}
// 130856 usable bytes are 16357 units: one block per set bit, the largest first.
const std::vector<uint32_t> kFirstCut = {13, 12, 11, 10, 9, 8, 7, 6, 5, 2, 0};
}  // namespace

TEST(BuddyManager, FreeingEverythingMergesBackIntoTheFirstCut) {
    btkArrayMemMgr buddy;
    std::vector<void*> blocks;
    const uint32_t sizes[] = {1, 100, 7, 3000, 250, 12, 40000, 9, 500, 16, 1, 2000, 60};
    for (int round = 0; round < 3; ++round) {
        for (uint32_t size : sizes) {
            void* p = buddy.Alloc(size, round == 1 ? 8 : 4);
            ASSERT_NE(p, nullptr);
            blocks.push_back(p);
        }
    }
    // Each round's 40000 bytes take a chunk's one block of order 13.
    ASSERT_EQ(buddy.ChunkCount(), 3u);
    // Free in an order unlike the allocation's, so that merges meet in both directions.
    for (size_t i = 0; i < blocks.size(); i += 2) buddy.Free(blocks[i]);
    for (size_t i = 1; i < blocks.size(); i += 2) buddy.Free(blocks[i]);
    for (uint32_t chunk = 0; chunk < buddy.ChunkCount(); ++chunk) {
        std::vector<btkArrayMemMgr::BlockInfo> layout = Layout(buddy, chunk);
        ASSERT_EQ(layout.size(), kFirstCut.size()) << "chunk " << chunk;
        for (size_t i = 0; i < layout.size(); ++i) {
            EXPECT_EQ(layout[i].order, kFirstCut[i]) << "chunk " << chunk << " block " << i;
            EXPECT_TRUE(layout[i].free) << "chunk " << chunk << " block " << i;
        }
    }
    // The merged chunks serve blocks of order 13 again without a new chunk.
    void* big = buddy.Alloc(65000, 4);
    EXPECT_EQ(buddy.ChunkCount(), 3u);
    buddy.Free(big);
}

TEST(BuddyManager, SplitHandsOutTheLowHalfAndKeepsTheUpperHalvesFree) {
    btkArrayMemMgr buddy;
    void* smallest = buddy.Alloc(1, 4);  // order 0, served from the lone 8-byte block
    void* next = buddy.Alloc(1, 4);      // order 0: the 32-byte block splits into 8, 8, 16
    void* third = buddy.Alloc(1, 4);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(Address(third) - Address(next), 8u);
    std::vector<btkArrayMemMgr::BlockInfo> layout = Layout(buddy);
    ASSERT_GE(layout.size(), 4u);
    // The tail of the chunk: 8 (taken), 8 (taken), 16 (free), 8 (taken, the first request).
    const auto tail = std::vector<btkArrayMemMgr::BlockInfo>(layout.end() - 4, layout.end());
    EXPECT_EQ(tail[0].order, 0u);
    EXPECT_FALSE(tail[0].free);
    EXPECT_EQ(tail[1].order, 0u);
    EXPECT_FALSE(tail[1].free);
    EXPECT_EQ(tail[2].order, 1u);
    EXPECT_TRUE(tail[2].free);
    EXPECT_EQ(tail[3].order, 0u);
    EXPECT_FALSE(tail[3].free);
    buddy.Free(smallest);
    buddy.Free(next);
    buddy.Free(third);
}

TEST(DefaultManager, IsThePlainHeapAndKnowsNoSizes) {
    ASSERT_NE(pDefMemMgr, nullptr);
    void* p = pDefMemMgr->Alloc(64, 0);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(pDefMemMgr->GetSize(p), 0u);
    pDefMemMgr->Free(p);  // malloc'ed memory: ASan would flag a mismatch here
    EXPECT_EQ(pStringMemMgr, pArrayMemMgr);
    EXPECT_NE(pBlkObjMemMgr, nullptr);
    EXPECT_NE(pArrayMemMgr, nullptr);
    EXPECT_EQ(GCMemUsed, 0u);
    int* object = new (pDefMemMgr) int(7);
    ASSERT_NE(object, nullptr);
    delete object;
}

TEST(BaseManager, AllocAndFreeAreMisusesWithTheirSourceLines) {
    FatalRecorder recorder;
    btkMemMgr base;
    EXPECT_EQ(base.Alloc(16, 0), nullptr);
    base.Free(nullptr);
    EXPECT_EQ(base.GetSize(nullptr), 0u);
    ASSERT_EQ(fatalCalls.size(), 2u);
    EXPECT_EQ(fatalCalls[0].message, "<null>");
    EXPECT_EQ(fatalCalls[0].source, "baselib/baselibsrc/btkmemmgr");
    EXPECT_EQ(fatalCalls[0].line, 32);
    EXPECT_EQ(fatalCalls[1].source, "baselib/baselibsrc/btkmemmgr");
    EXPECT_EQ(fatalCalls[1].line, 37);
}

TEST(FatalError, HandlerThatReturnsNonZeroDoesNotSaveTheProcess) {
    childprocess::Outcome outcome = childprocess::Run([] {
        btkFatalHandler = [](const char*, const char*, int) { return 1; };
        btkFatalError("boom", "baselib/baselibsrc/btkmemmgr", 1);
        std::fputs("went on\n", stdout);
    });
    EXPECT_TRUE(outcome.exited);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out.find("went on"), std::string::npos);
}

// The environment is read at load: each setting needs a process of its own.
TEST(FatalError, NoInteractAtLoadAddsOneLineBeforeExit) {
    if (std::getenv("MARWTEST_FATAL_CHILD") != nullptr) {
        std::printf("state %d%d%d\n", theCTState.noInteract, theCTState.noExit,
                    theCTState.hardMemDebug);
        std::fflush(stdout);
        btkFatalError("message", "baselib/baselibsrc/btkmemmgr", 99);
        std::printf("returned\n");
        return;
    }
    struct Case {
        std::vector<std::pair<std::string, std::string>> set;
        std::vector<std::string> unset;
        std::string state;
        bool line;
    };
    const Case cases[] = {
        {{{"NOINTERACT", "1"}}, {"NOEXIT", "HARDMEMDEBUG"}, "state 100", true},
        {{{"NOINTERACT", ""}, {"HARDMEMDEBUG", "0"}}, {"NOEXIT"}, "state 101", true},
        {{{"NOEXIT", "yes"}}, {"NOINTERACT", "HARDMEMDEBUG"}, "state 010", false},
    };
    for (const Case& c : cases) {
        auto set = c.set;
        set.push_back({"MARWTEST_FATAL_CHILD", "1"});
        childprocess::Outcome outcome =
            childprocess::RunSelf("FatalError.NoInteractAtLoadAddsOneLineBeforeExit", set, c.unset);
        EXPECT_TRUE(outcome.exited);
        EXPECT_EQ(outcome.code, 1);
        size_t state = outcome.out.find(c.state + "\n");
        EXPECT_NE(state, std::string::npos) << outcome.out;
        std::string after = state == std::string::npos ? "" : outcome.out.substr(state + c.state.size() + 1);
        EXPECT_EQ(after, c.line ? "Nointeractive mode - aborting.\n" : "") << c.state;
        EXPECT_EQ(outcome.err, "");
    }
}
