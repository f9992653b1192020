#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "srcldb/ldbcursorimpl.h"
#include "srcldb/ldbpbfr.h"
#include "srcldb/ldbstore.h"
#include "storetest.h"
#include "testsupport.h"

using storetest::HeldStore;
using testsupport::CleanStackTest;
using testsupport::TempDir;

namespace {

class PagePool : public CleanStackTest {
protected:
    // A store whose data covers `pages` whole pages past the header's page.
    std::string MakeStore(uint32_t pages, const std::vector<unsigned char>& tail = {}) {
        std::string path = dir.File("pool.ldb");
        storetest::WriteStoreFile(path, storetest::Pattern((pages + 1) * LDB_PAGE_SIZE - 40), 1,
                                  tail);
        return path;
    }
    static void Touch(LDBStore* store, uint32_t page, char how) {
        LDBPoolCursor cursor(store, page * LDB_PAGE_SIZE);
        std::vector<uint8_t> bytes(how == 'F' ? LDB_PAGE_SIZE : 1, 0xEE);
        int32_t rc = how == 'R' ? cursor.ReadBytes(bytes.data(), 1)
                                : cursor.WriteBytes(bytes.data(), static_cast<uint32_t>(bytes.size()));
        ASSERT_EQ(rc, 0) << testsupport::DescribeTop();
    }
    static std::string TopMessage() {
        std::vector<std::string> args = testsupport::Arguments(nyxErrorGetCurrent());
        return args.empty() ? "" : args[0] + " @ " + (args.size() > 1 ? args[1] : "");
    }
    TempDir dir;
};

TEST_F(PagePool, OneWrittenByteReachesTheFileAloneAtItsPosition) {
    std::string path = dir.File("one.ldb");
    storetest::WriteStoreFile(path, storetest::Pattern(12000));
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr) << testsupport::DescribeTop();
    uint8_t byte = 0;
    LDBPoolCursor cursor(store.get(), 5000);
    ASSERT_EQ(cursor.ReadBytes(&byte, 1), 0);

    // Another byte of the same page changes on disk behind the pool's back: a write-back of
    // more than the changed span would put the pool's stale copy over it.
    std::vector<unsigned char> expected = testsupport::ReadFileBytes(path);
    expected[6000] ^= 0xFF;
    testsupport::WriteFileBytes(path, expected);
    expected[5000] = 0x55;

    storetest::CountingHook hook;
    cursor.SetAddress(5000);
    byte = 0x55;
    ASSERT_EQ(cursor.WriteBytes(&byte, 1), 0);
    ASSERT_EQ(store->Pool().FlushAll(), 0) << testsupport::DescribeTop();
    EXPECT_EQ(hook.writes, 1);
    EXPECT_EQ(testsupport::ReadFileBytes(path), expected);
    EXPECT_FALSE(store->Pool().HasModifiedPages());
}

TEST_F(PagePool, EvictionPicksByClassThenAge) {
    // Pages 1 to 128 are first read in order; then each case touches some of them again
    // ('R' read, 'P' one byte written, 'F' the whole page written) and a miss must evict the
    // expected page.
    struct Step { uint32_t first, last; char how; };
    struct Case { const char* name; std::vector<Step> steps; uint32_t pinned; uint32_t victim; };
    const std::vector<Case> cases = {
        {"oldest clean page", {{1, 1, 'R'}}, 0, 2},
        {"fully written before clean, though newer", {{100, 100, 'F'}}, 0, 100},
        {"clean before partly written, though newer", {{1, 49, 'P'}, {51, 128, 'P'}, {50, 50, 'R'}}, 0, 50},
        {"oldest partly written page", {{1, 128, 'P'}}, 0, 1},
        {"never a pinned page", {}, 1, 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        HeldStore store(MakeStore(130));
        ASSERT_NE(store.get(), nullptr) << testsupport::DescribeTop();
        for (uint32_t p = 1; p <= 128; ++p) Touch(store.get(), p, 'R');
        for (const Step& s : c.steps)
            for (uint32_t p = s.first; p <= s.last; ++p) Touch(store.get(), p, s.how);
        LDBPagePin pin(&store->Pool());
        if (c.pinned != 0) {
            ASSERT_NE(pin.Page(c.pinned * LDB_PAGE_SIZE), nullptr);
        }
        ASSERT_EQ(store->Pool().Count(), 128u);

        Touch(store.get(), 129, 'R');
        EXPECT_EQ(store->Pool().Count(), 128u);
        for (uint32_t p = 1; p <= 129; ++p)
            EXPECT_EQ(store->Pool().FindPage(p * LDB_PAGE_SIZE) != nullptr, p != c.victim) << p;
        EXPECT_TRUE(nyxErrorStackEmpty()) << testsupport::DescribeTop();
    }
}

TEST_F(PagePool, EvictedModifiedPageIsWrittenBack) {
    std::string path = MakeStore(130);
    {
        HeldStore store(path);
        ASSERT_NE(store.get(), nullptr);
        Touch(store.get(), 7, 'F');
        for (uint32_t p = 8; p <= 130; ++p) Touch(store.get(), p, 'R');
        for (uint32_t p = 1; p < 7; ++p) Touch(store.get(), p, 'R');
        EXPECT_EQ(store->Pool().FindPage(7 * LDB_PAGE_SIZE), nullptr);
        // Nothing modified is left, so nothing more can reach the file from here.
        EXPECT_FALSE(store->Pool().HasModifiedPages());
        store->Pool().Clear();
    }
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 7 * LDB_PAGE_SIZE,
                                         bytes.begin() + 8 * LDB_PAGE_SIZE),
              std::vector<unsigned char>(LDB_PAGE_SIZE, 0xEE));
}

TEST_F(PagePool, PinsLetThePoolGrowAndFlushAllTrimsItBack) {
    HeldStore store(MakeStore(131));
    ASSERT_NE(store.get(), nullptr);
    std::vector<LDBPagePin*> pins;
    for (uint32_t p = 1; p <= 130; ++p) {
        pins.push_back(new LDBPagePin(&store->Pool()));
        ASSERT_NE(pins.back()->Page(p * LDB_PAGE_SIZE), nullptr);
    }
    EXPECT_EQ(store->Pool().Count(), 130u);
    for (LDBPagePin* pin : pins) delete pin;
    ASSERT_EQ(store->Pool().FlushAll(), 0);
    EXPECT_EQ(store->Pool().Count(), 128u);
}

TEST_F(PagePool, ClockWrapMakesEarlierPagesOldestAndKeepsListOrder) {
    HeldStore store(MakeStore(130));
    ASSERT_NE(store.get(), nullptr);
    store->Pool().SetClock(0xFFFFFFFFu - 64);
    // Reads 1 to 64 (pages 128 down to 65) take the last stamps before the wrap, which then
    // sets them all to 0; of those, the first in address order goes.
    for (uint32_t p = 128; p >= 1; --p) Touch(store.get(), p, 'R');
    EXPECT_LT(store->Pool().Clock(), 100u);
    Touch(store.get(), 129, 'R');
    EXPECT_EQ(store->Pool().FindPage(65 * LDB_PAGE_SIZE), nullptr);
    EXPECT_EQ(store->Pool().Count(), 128u);
}

// The victim as a walk of the whole pool finds it: the oldest unpinned page by stamp, then by
// list order, of the first class that has one.
LDBPageBuffer* VictimByWalk(LDBPagePool& pool) {
    for (int wanted = 0; wanted < 3; ++wanted) {
        LDBPageBuffer* oldest = nullptr;
        for (LDBPageBuffer* page = pool.First(); page != nullptr; page = page->Next()) {
            int pageClass = !page->Modified() ? 1 : page->WriteCount() >= LDB_PAGE_SIZE ? 0 : 2;
            if (page->PinCount() != 0 || pageClass != wanted) continue;
            if (oldest == nullptr || page->UseStamp() < oldest->UseStamp()) oldest = page;
        }
        if (oldest != nullptr) return oldest;
    }
    return nullptr;
}

TEST_F(PagePool, VictimIsTheOneAWalkOfThePoolFindsUnderChurn) {
    // Reads, small and whole-page writes, pins, write-backs and a wrap of the clock over two
    // hundred pages: after every step the pool's choice must be the walk's.
    HeldStore store(MakeStore(200));
    ASSERT_NE(store.get(), nullptr);
    LDBPagePool& pool = store->Pool();
    pool.SetClock(0xFFFFFFFFu - 3000);
    std::mt19937 rng(17);
    std::vector<std::unique_ptr<LDBPagePin>> pins;
    for (int step = 0; step < 6000; ++step) {
        uint32_t page = 1 + rng() % 200, roll = rng() % 100;
        if (roll < 3) {
            ASSERT_EQ(pool.FlushAll(), 0) << testsupport::DescribeTop();
        } else if (roll < 6) {
            pins.push_back(std::make_unique<LDBPagePin>(&pool));
            ASSERT_NE(pins.back()->Page(page * LDB_PAGE_SIZE), nullptr);
        } else if (roll < 9 && !pins.empty()) {
            pins.erase(pins.begin() + rng() % pins.size());
        } else {
            Touch(store.get(), page, roll < 60 ? 'R' : roll < 90 ? 'P' : 'F');
        }
        ASSERT_EQ(pool.PickVictim(), VictimByWalk(pool)) << "step " << step;
    }
    pins.clear();
    ASSERT_EQ(pool.FlushAll(), 0);
}

TEST_F(PagePool, LookupsFindExactlyThePagesOfTheListUnderChurn) {
    // Random reads over three hundred pages keep the pool evicting; every page a lookup gives
    // must be the one of its address, the list must stay in address order, and the bytes must
    // be the file's.
    const uint32_t kPages = 300;
    std::string path = MakeStore(kPages);
    std::vector<unsigned char> file = testsupport::ReadFileBytes(path);
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr);
    LDBPagePool& pool = store->Pool();
    std::mt19937 rng(9);
    for (int step = 0; step < 3000; ++step) {
        uint32_t address = LDB_PAGE_SIZE + rng() % (kPages * LDB_PAGE_SIZE - 40);
        LDBPoolCursor cursor(store.get(), address);
        uint8_t byte = 0;
        ASSERT_EQ(cursor.ReadBytes(&byte, 1), 0) << testsupport::DescribeTop();
        ASSERT_EQ(byte, file[address]) << "address " << address;
        if (step % 100 != 0) continue;
        std::set<uint32_t> listed;
        uint32_t previous = 0;
        for (LDBPageBuffer* page = pool.First(); page != nullptr; page = page->Next()) {
            if (page != pool.First()) {
                ASSERT_LT(previous, page->LowAddress());
            }
            previous = page->LowAddress();
            listed.insert(page->LowAddress());
        }
        ASSERT_EQ(listed.size(), pool.Count());
        for (uint32_t p = 1; p <= kPages; ++p) {
            LDBPageBuffer* found = pool.FindPage(p * LDB_PAGE_SIZE + rng() % LDB_PAGE_SIZE);
            ASSERT_EQ(found != nullptr, listed.count(p * LDB_PAGE_SIZE) == 1) << "page " << p;
            if (found) {
                ASSERT_EQ(found->LowAddress(), p * LDB_PAGE_SIZE);
            }
        }
    }
}

TEST_F(PagePool, PagesNeverReadPastDeviceHigh) {
    // Behind the top lies the log of an earlier commit; a page must not take it for data.
    std::vector<unsigned char> tail(500, 0xAB);
    std::string path = dir.File("tail.ldb");
    storetest::WriteStoreFile(path, storetest::Pattern(100), 1, tail);
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr);
    // The top goes up as a commit's allocation moves it, after the commit has fixed the
    // device's end at the old top; the new space reads as nothing.
    store->Pool().RaiseDeviceHigh(store->Top() - 1);
    store->SetTop(store->Top() + 500);
    std::vector<uint8_t> bytes(500);
    LDBPoolCursor cursor(store.get(), 140);
    ASSERT_EQ(cursor.ReadBytes(bytes.data(), 500), 0);
    EXPECT_EQ(bytes, std::vector<uint8_t>(500, 0));

    // Once the device is known to hold more, a fresh page reads up to there.
    store->Pool().Clear();
    store->Pool().RaiseDeviceHigh(140 + 500 - 1);
    cursor.SetAddress(140);
    ASSERT_EQ(cursor.ReadBytes(bytes.data(), 500), 0);
    EXPECT_EQ(bytes, std::vector<uint8_t>(500, 0xAB));
}

TEST_F(PagePool, AllocationEndingAtAPageBoundaryStaysInItsPages) {
    std::string path = dir.File("edge.ldb");
    storetest::WriteStoreFile(path, {});
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr);
    store->Pool().RaiseDeviceHigh(store->Top() - 1);
    store->SetTop(2 * LDB_PAGE_SIZE);
    std::vector<uint8_t> bytes(2 * LDB_PAGE_SIZE - 40, 0x11);
    LDBPoolCursor cursor(store.get(), 40);
    ASSERT_EQ(cursor.WriteBytes(bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
    EXPECT_EQ(store->Pool().Count(), 2u);
    EXPECT_EQ(store->Pool().FindPage(2 * LDB_PAGE_SIZE), nullptr);
    ASSERT_EQ(store->Pool().FlushAll(), 0);
    EXPECT_EQ(testsupport::ReadFileBytes(path).size(), 2 * LDB_PAGE_SIZE);
}

TEST_F(PagePool, WriteBackRefusesBytesOutsideTheStore) {
    std::string path = dir.File("range.ldb");
    storetest::WriteStoreFile(path, storetest::Pattern(1000));
    std::vector<unsigned char> before = testsupport::ReadFileBytes(path);
    {
        HeldStore store(path);
        ASSERT_NE(store.get(), nullptr);
        uint8_t byte = 1;
        // Below the header's end: only a page's own write could put it there.
        store->Pool().GetPage(20)->Write(20, &byte, 1);
        EXPECT_NE(store->Pool().FlushAll(), 0);
        EXPECT_EQ(TopMessage(), "FlushToDevice - LowAddress Outside Range @ srcldb/ldbpbfr");
        EXPECT_TRUE(store->Pool().HasModifiedPages());
        testsupport::ClearErrors();
        store->Pool().Clear();

        LDBPoolCursor cursor(store.get(), store->Top() - 1);
        ASSERT_EQ(cursor.WriteBytes(&byte, 1), 0);
        store->SetTop(store->Top() - 10);
        EXPECT_NE(store->Pool().FlushAll(), 0);
        EXPECT_EQ(TopMessage(), "FlushToDevice - HighAddress Outside Range @ srcldb/ldbpbfr");
        EXPECT_TRUE(store->Pool().HasModifiedPages());
        testsupport::ClearErrors();
        store->Pool().Clear();
    }
    EXPECT_EQ(testsupport::ReadFileBytes(path), before);
}

TEST_F(PagePool, CursorRefusesAnythingOutsideTheData) {
    std::string path = dir.File("bounds.ldb");
    storetest::WriteStoreFile(path, storetest::Pattern(1000));
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr);
    const uint32_t top = store->Top();
    struct Case { uint32_t address, count; bool ok; };
    const std::vector<Case> cases = {
        {40, 1, true},          {top - 1, 1, true},         {40, top - 40, true},
        {39, 1, false},         {top, 1, false},            {top - 1, 2, false},
        {40, 0xFFFFFFFF, false}, {0xFFFFFFF0, 0x20, false}, {0, 4, false},
    };
    std::vector<uint8_t> buffer(top + 64);
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.address << "+" << c.count);
        EXPECT_EQ(LDBPoolCursor(store.get(), 40).HoldsRange(c.address, c.count), c.ok);
        // A count beyond the buffer is refused all the same, as the store is smaller still.
        uint32_t count = c.count < buffer.size() ? c.count : static_cast<uint32_t>(buffer.size());
        LDBPoolCursor cursor(store.get(), c.address);
        EXPECT_EQ(cursor.ReadBytes(buffer.data(), count) == 0, c.ok);
        EXPECT_EQ(cursor.GetAddress(), c.ok ? c.address + count : c.address);
        if (!c.ok) {
            EXPECT_EQ(TopMessage(), "LDB cursor read outside the store @ srcldb/ldbpbfr");
        }
        testsupport::ClearErrors();
    }
    LDBPoolCursor cursor(store.get(), top);
    uint8_t byte = 0;
    EXPECT_NE(cursor.WriteBytes(&byte, 1), 0);
    EXPECT_EQ(TopMessage(), "LDB cursor write outside the store @ srcldb/ldbpbfr");
    EXPECT_FALSE(store->Pool().HasModifiedPages());
}

TEST_F(PagePool, FailedPageReadIsReportedAndDropped) {
    std::string path = dir.File("short.ldb");
    storetest::WriteStoreFile(path, storetest::Pattern(10000));
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr);
    // The file loses its end while the header still claims it.
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    bytes.resize(5000);
    testsupport::WriteFileBytes(path, bytes);
    uint8_t byte = 0;
    LDBPoolCursor cursor(store.get(), 9000);
    EXPECT_NE(cursor.ReadBytes(&byte, 1), 0);
    EXPECT_EQ(TopMessage(), "ReadFromDevice Failed @ srcldb/ldbpbfr");
    EXPECT_EQ(testsupport::StackCodes(), (std::vector<int>{101, 101}));
    EXPECT_EQ(store->Pool().Count(), 0u);
}

}  // namespace
