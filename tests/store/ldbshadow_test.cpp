#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbcursorimpl.h"
#include "srcldb/ldbstore.h"
#include "storetest.h"
#include "testsupport.h"

using storetest::HeldStore;
using testsupport::CleanStackTest;
using testsupport::TempDir;

namespace {

const std::vector<unsigned char> kOldBody = storetest::Pattern(5000, 3);
const std::vector<unsigned char> kNewBody = storetest::Pattern(300, 9);
constexpr uint32_t kOldStamp = 7;

class ShadowStore : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("shadow.ldb");
        storetest::WriteStoreFile(path, kOldBody, kOldStamp);
        old = testsupport::ReadFileBytes(path);
    }
    // The file as a finished shadow commit leaves it: the shadow's header and body, no more.
    std::vector<unsigned char> NewFile() const {
        std::vector<unsigned char> bytes = storetest::HeaderBytes(340, kOldStamp + 1, 40);
        bytes.insert(bytes.end(), kNewBody.begin(), kNewBody.end());
        return bytes;
    }
    // Fills a new shadow of the store with the new body; null after a failure.
    static LDBStore* FilledShadow(LDBStore* store) {
        LDBStore* shadow = store->MakeShadow();
        if (shadow == nullptr) return nullptr;
        uint32_t address = 0;
        LDBPoolCursor cursor(shadow, 0);
        if (shadow->Allocate(static_cast<uint32_t>(kNewBody.size()), address) != 0) return shadow;
        cursor.SetAddress(address);
        cursor.WriteBytes(kNewBody.data(), static_cast<uint32_t>(kNewBody.size()));
        shadow->SetRootAddress(address);
        return shadow;
    }
    TempDir dir;
    std::string path;
    std::vector<unsigned char> old;
};

TEST_F(ShadowStore, CommitMakesTheShadowTheWholeFile) {
    {
        HeldStore store(path);
        ASSERT_NE(store.get(), nullptr) << testsupport::DescribeTop();
        LDBStore* shadow = FilledShadow(store.get());
        ASSERT_NE(shadow, nullptr) << testsupport::DescribeTop();
        EXPECT_EQ(shadow->BaseOffset(), 5040u);
        ASSERT_EQ(store->CommitShadow(shadow), 0) << testsupport::DescribeTop();
    }
    EXPECT_EQ(testsupport::ReadFileBytes(path), NewFile());
    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    ASSERT_NE(store, nullptr) << testsupport::DescribeTop();
    LDBStore::CloseStore(store);
}

TEST_F(ShadowStore, AbortLeavesTheFileAsItWasAndNoLonger) {
    {
        HeldStore store(path);
        ASSERT_NE(store.get(), nullptr);
        LDBStore* shadow = FilledShadow(store.get());
        ASSERT_NE(shadow, nullptr);
        ASSERT_EQ(shadow->FlushStore(), 0);
        EXPECT_GT(testsupport::ReadFileBytes(path).size(), old.size());
        ASSERT_EQ(store->AbortShadow(shadow), 0) << testsupport::DescribeTop();
    }
    EXPECT_EQ(testsupport::ReadFileBytes(path), old);
}

TEST_F(ShadowStore, CommitRefusesAFileThatChangedUnderIt) {
    HeldStore store(path);
    ASSERT_NE(store.get(), nullptr);
    LDBStore* shadow = FilledShadow(store.get());
    ASSERT_NE(shadow, nullptr);
    // Only a broken lock could do this: another writer committed meanwhile.
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);
    std::vector<unsigned char> header = storetest::HeaderBytes(5040, kOldStamp + 1);
    std::copy(header.begin(), header.end(), bytes.begin());
    testsupport::WriteFileBytes(path, bytes);
    EXPECT_NE(store->CommitShadow(shadow), 0);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[0], "LDB CommitShadowLog: lock failure");
    std::vector<unsigned char> after = testsupport::ReadFileBytes(path);
    EXPECT_EQ(storetest::WordAt(after, 24), 0u);
}

TEST_F(ShadowStore, MarkedFileWithABrokenShadowIsRefusedUnchanged) {
    std::vector<unsigned char> bytes = storetest::HeaderBytes(5040, kOldStamp, 0, 2);
    bytes.insert(bytes.end(), kOldBody.begin(), kOldBody.end());
    bytes.resize(bytes.size() + 400, 0x5A);  // no header where the shadow should be
    testsupport::WriteFileBytes(path, bytes);
    EXPECT_EQ(LDBStore::ConnectStore(nullptr, path.c_str()), nullptr);
    EXPECT_EQ(testsupport::StackCodes(), (std::vector<int>{2417, 101}));
    testsupport::ClearErrors();
    testsupport::ClearErrors();
    EXPECT_EQ(testsupport::ReadFileBytes(path), bytes);
}

TEST_F(ShadowStore, CrashAtAnyStepOfACommitLeavesTheOldOrTheNewStore) {
    std::vector<unsigned char> fresh = NewFile();
    bool sawNew = false;
    int points = testsupport::CrashAtEveryStep(
        [&] { storetest::WriteStoreFile(path, kOldBody, kOldStamp); },
        [&] {
            HeldStore store(path);
            if (store.get() == nullptr) return 1;
            LDBStore* shadow = FilledShadow(store.get());
            if (shadow == nullptr) return 1;
            return store->CommitShadow(shadow) == 0 ? 0 : 1;
        },
        [&](const testsupport::CrashRun&) -> std::string {
            testsupport::ClearErrors();
            // The next open finishes what the mark promises.
            LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
            if (store == nullptr) return "connect failed: " + testsupport::DescribeTop();
            LDBStore::CloseStore(store);
            // Either store may be followed by a tail that its header doesn't reach: the
            // shadow before the mark, the copied-from bytes before the final truncate.
            std::vector<unsigned char> now = testsupport::ReadFileBytes(path);
            auto startsWith = [&](const std::vector<unsigned char>& prefix) {
                return now.size() >= prefix.size() &&
                       std::equal(prefix.begin(), prefix.end(), now.begin());
            };
            if (startsWith(fresh)) {
                sawNew = true;
                return "";
            }
            if (sawNew) return "went back to the old store after the new one";
            if (!startsWith(old)) return "neither the old nor the new store";
            return "";
        });
    EXPECT_GT(points, 6);
    EXPECT_TRUE(sawNew);
}

}  // namespace
