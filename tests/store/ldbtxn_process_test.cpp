// Transactions between processes: the file lock keeps them apart, and the stamp in the header
// tells each one when its cache went stale.
#include <chrono>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "srcldb/ldbstore.h"
#include "testsupport.h"
#include "txntest.h"

using testsupport::CleanStackTest;
using testsupport::TempDir;
using txntest::TypeText;

namespace {

class TwoProcesses : public CleanStackTest {
protected:
    // A store whose root carries the text "0".
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("shared.ldb");
        LDBStore* store = txntest::Create(path);
        ASSERT_NE(store, nullptr);
        ASSERT_EQ(store->StartTransaction(), 0);
        store->SetRootObject(txntest::NewAppObj(store, "0"));
        ASSERT_EQ(store->CommitTransaction(), 0);
        LDBStore::CloseStore(store);
    }
    TempDir dir;
    std::string path;
};

int WaitFor(pid_t pid) {
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

char ReadByte(int fd) {
    char c = 0;
    return read(fd, &c, 1) == 1 ? c : 0;
}

TEST_F(TwoProcesses, StartWaitsForTheHolderThenSeesItsCommit) {
    int ready[2], go[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(go), 0);
    std::fflush(nullptr);
    pid_t child = fork();
    if (child == 0) {
        // B: load the root once, so that there is a cache to go stale.
        LDBStore* store = txntest::Connect(path);
        if (store == nullptr || store->StartTransaction() != 0) _exit(10);
        if (TypeText(store->GetRoot()) != "0") _exit(11);
        if (store->CommitTransaction() != 0) _exit(12);
        if (write(ready[1], "r", 1) != 1 || ReadByte(go[0]) != 'g') _exit(13);
        auto before = std::chrono::steady_clock::now();
        if (store->StartTransaction() != 0) _exit(14);
        auto waited = std::chrono::steady_clock::now() - before;
        if (waited < std::chrono::milliseconds(200)) _exit(15);
        if (store->Objects().Count() != 0) _exit(16);  // the cache was dropped
        if (TypeText(store->GetRoot()) != "1") _exit(17);
        if (store->CommitTransaction() != 0) _exit(18);
        LDBStore::CloseStore(store);
        _exit(0);
    }
    ASSERT_GT(child, 0);
    ASSERT_EQ(ReadByte(ready[0]), 'r');
    LDBStore* store = txntest::Connect(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    ASSERT_EQ(write(go[1], "g", 1), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    txntest::SetText(store->GetRoot(), "1");
    ASSERT_EQ(store->CommitTransaction(), 0);
    EXPECT_EQ(WaitFor(child), 0);
    LDBStore::CloseStore(store);
    for (int fd : {ready[0], ready[1], go[0], go[1]}) close(fd);
}

// Each process adds one to the counter when its parity comes up, so the commits alternate.
int TakeTurns(const std::string& path, int parity, int total) {
    LDBStore* store = txntest::Connect(path);
    if (store == nullptr) return 20;
    int mine = 0;
    for (;;) {
        if (store->StartTransaction() != 0) return 21;
        PDMc_LDBObject* root = store->GetRoot();
        if (root == nullptr) return 22;
        int value = std::atoi(TypeText(root).c_str());
        if (value >= total) {
            store->CommitTransaction();
            break;
        }
        if (value % 2 == parity) {
            txntest::SetText(root, std::to_string(value + 1).c_str());
            ++mine;
        }
        if (store->CommitTransaction() != 0) return 23;
        if (value % 2 != parity) usleep(200);
    }
    LDBStore::CloseStore(store);
    return mine == total / 2 ? 0 : 24;
}

TEST_F(TwoProcesses, AlternatingCommitsLoseNoUpdate) {
    const int total = 200;
    std::fflush(nullptr);
    pid_t children[2];
    for (int parity = 0; parity < 2; ++parity) {
        children[parity] = fork();
        if (children[parity] == 0) _exit(TakeTurns(path, parity, total));
        ASSERT_GT(children[parity], 0);
    }
    EXPECT_EQ(WaitFor(children[0]), 0);
    EXPECT_EQ(WaitFor(children[1]), 0);

    LDBStore* store = txntest::Connect(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    EXPECT_EQ(TypeText(store->GetRoot()), std::to_string(total));
    ASSERT_EQ(store->CommitTransaction(), 0);
    // One commit of the setup and one a turn, each with its own stamp.
    EXPECT_EQ(store->Stamp(), 2u + total);
    LDBStore::CloseStore(store);
}

// The variable is read once a process, so the check runs in a fresh process of its own.
TEST(DebugCacheDrop, EveryCommitEndsWithAnEmptyObjectTable) {
    if (std::getenv("PDM_LDB_DEBUG") == nullptr) {
        std::fflush(nullptr);
        pid_t child = fork();
        if (child == 0) {
            setenv("PDM_LDB_DEBUG", "", 1);
            execl("/proc/self/exe", "test_store",
                  "--gtest_filter=DebugCacheDrop.EveryCommitEndsWithAnEmptyObjectTable",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        EXPECT_EQ(WaitFor(child), 0);
        return;
    }
    TempDir dir;
    std::string path = dir.File("debug.ldb");
    LDBStore* store = txntest::Create(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    store->SetRootObject(txntest::NewAppObj(store, "kept"));
    ASSERT_EQ(store->CommitTransaction(), 0);
    EXPECT_EQ(store->Objects().Count(), 0u);
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = store->GetRoot();
    EXPECT_EQ(TypeText(root), "kept");
    EXPECT_EQ(store->Objects().Count(), 1u);
    ASSERT_EQ(store->CommitTransaction(), 0);
    EXPECT_EQ(store->Objects().Count(), 0u);
    LDBStore::CloseStore(store);
}

}  // namespace
