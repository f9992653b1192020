#include <atomic>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "platform/pfile.h"
#include "srcldb/ldbheader.h"
#include "srcldb/ldbstore.h"
#include "testsupport.h"

using testsupport::CleanStackTest;
using testsupport::TempDir;

namespace {
const std::vector<unsigned char> kNewStore = {
    0x00, 0x4C, 0x44, 0x42,  0x02, 0x02, 0x00, 0x00,  0x00, 0x00, 0x00, 0x00,
    0x28, 0x00, 0x00, 0x00,  0x01, 0x00, 0x00, 0x00,  0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00,  0x00, 0x00, 0x00, 0x00,  0x00, 0x00, 0x00, 0x00,
    0x2B, 0x4E, 0x44, 0x42};

void MakeStore(const std::string& path) {
    LDBStore* store = LDBStore::CreateStore(nullptr, path.c_str());
    ASSERT_NE(store, nullptr) << testsupport::DescribeTop();
    ASSERT_EQ(LDBStore::CloseStore(store), 0);
}

// Writes a header with the given words (checksum computed) over the file's first 40 bytes.
void WriteHeaderWords(const std::string& path, uint32_t version, uint32_t tag, uint32_t invalid) {
    LDBHeader header;
    header.InitCurrent();
    header.m_top = 40;
    header.m_version = version;
    header.m_format_tag = tag;
    header.m_ldb_invalid = invalid;
    header.ComputeChecksum();
    uint8_t bytes[LDB_HEADER_SIZE];
    header.Encode(bytes);
    testsupport::WriteFileBytes(path, std::vector<unsigned char>(bytes, bytes + 40));
}

class StoreFile : public CleanStackTest {
protected:
    TempDir dir;
};
}  // namespace

TEST_F(StoreFile, NewStoreIsExactlyTheCleanHeader) {
    std::string path = dir.File("new.ldb");
    MakeStore(path);
    EXPECT_EQ(testsupport::ReadFileBytes(path), kNewStore);
    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    ASSERT_NE(store, nullptr) << testsupport::DescribeTop();
    EXPECT_EQ(store->Version(), 514u);
    EXPECT_EQ(LDBStore::CloseStore(store), 0);
    EXPECT_TRUE(nyxErrorStackEmpty());
}

TEST_F(StoreFile, AnyChangedHeaderByteIsRefusedAs2403) {
    std::string path = dir.File("flip.ldb");
    MakeStore(path);
    for (size_t i = 0; i < 36; ++i) {
        for (unsigned char flip : {0x01, 0x80}) {
            std::vector<unsigned char> bytes = kNewStore;
            bytes[i] ^= flip;
            testsupport::WriteFileBytes(path, bytes);
            EXPECT_EQ(LDBStore::ConnectStore(nullptr, path.c_str()), nullptr);
            ASSERT_EQ(testsupport::StackCodes(), std::vector<int>{2403}) << "byte " << i;
            EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()),
                      std::vector<std::string>{path});
            testsupport::ClearErrors();
        }
    }
}

TEST_F(StoreFile, ShortFileIsAReadFailure) {
    std::string path = dir.File("short.ldb");
    testsupport::WriteFileBytes(path, std::vector<unsigned char>(kNewStore.begin(), kNewStore.begin() + 39));
    EXPECT_EQ(LDBStore::ConnectStore(nullptr, path.c_str()), nullptr);
    nyxError* top = nyxErrorGetCurrent();
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(nyxErrorGetErrorCode(top), 101);
    EXPECT_EQ(nyxErrorGetSeverity(top), 3);
    std::vector<std::string> args = testsupport::Arguments(top);
    ASSERT_EQ(args.size(), 3u);
    EXPECT_EQ(args[0], "LDB StorageFile read failed");
    EXPECT_EQ(args[1], "srcldb/ldbstgfile");
}

TEST_F(StoreFile, HeaderChecksGiveTheirCodesInOrder) {
    struct Case {
        uint32_t version, tag, invalid;
        int code;
        std::vector<std::string> args;  // behind the path
    };
    const Case cases[] = {
        {514, 29, 0, 0, {}},
        {514, 7, 0, 2405, {"7"}},
        {257, 7, 1, 2405, {"7"}},  // the tag is tested before any repair
        {515, 0, 0, 2404, {"2.0.3"}},
        {257, 0, 0, 2416, {"1.0.1"}},
        {514, 0, 1, 2411, {}},
        {257, 0, 1, 2411, {}},
    };
    std::string path = dir.File("codes.ldb");
    for (const Case& c : cases) {
        WriteHeaderWords(path, c.version, c.tag, c.invalid);
        LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
        EXPECT_EQ(nyxErrorCurrentCode(), c.code) << c.version << "/" << c.tag << "/" << c.invalid;
        if (c.code == 0) {
            ASSERT_NE(store, nullptr);
            LDBStore::CloseStore(store);
            continue;
        }
        EXPECT_EQ(store, nullptr);
        std::vector<std::string> expected = {path};
        expected.insert(expected.end(), c.args.begin(), c.args.end());
        EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()), expected);
        testsupport::ClearErrors();
    }
    // A marked file is left exactly as it was.
    WriteHeaderWords(path, 514, 0, 1);
    std::vector<unsigned char> before = testsupport::ReadFileBytes(path);
    EXPECT_EQ(LDBStore::ConnectStore(nullptr, path.c_str()), nullptr);
    EXPECT_EQ(testsupport::ReadFileBytes(path), before);
}

TEST_F(StoreFile, CreateOverAnExistingFileFailsAndLeavesIt) {
    std::string path = dir.File("exists.ldb");
    testsupport::WriteFileBytes(path, {1, 2, 3});
    EXPECT_EQ(LDBStore::CreateStore(nullptr, path.c_str()), nullptr);
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{2406});
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()), (std::vector<std::string>{path, ""}));
    EXPECT_EQ(testsupport::ReadFileBytes(path), (std::vector<unsigned char>{1, 2, 3}));
    testsupport::ClearErrors();
    // While a record stands nothing is made at all.
    nyxErrorReport(2401, "x");
    EXPECT_EQ(LDBStore::CreateStore(nullptr, dir.File("other.ldb").c_str()), nullptr);
    EXPECT_EQ(platform::FileSize(dir.File("other.ldb").c_str()), -1);
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{2401});
}

TEST_F(StoreFile, MissingFileIs2408AndDeleteRemovesTheStore) {
    std::string path = dir.File("missing.ldb");
    EXPECT_EQ(LDBStore::ConnectStore(nullptr, path.c_str()), nullptr);
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{2408});
    testsupport::ClearErrors();
    MakeStore(path);
    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(LDBStore::DeleteStore(store), 0);
    EXPECT_EQ(platform::FileSize(path.c_str()), -1);
}

TEST(LDBHeaderWords, StampWrapsToOneAndVersionsPrint) {
    LDBHeader header;
    header.m_stamp = 0xFFFFFFFFu;
    header.NextStamp();
    EXPECT_EQ(header.m_stamp, 1u);
    header.NextStamp();
    EXPECT_EQ(header.m_stamp, 2u);
    header.m_version = 514;
    EXPECT_STREQ(header.VersionText(), "2.0.2");
    header.m_version = 257;
    EXPECT_STREQ(header.VersionText(), "1.0.1");
}

TEST_F(StoreFile, SamePathSeesThroughSpellingsAndLinks) {
    std::string path = dir.File("same.ldb");
    MakeStore(path);
    LDBStorageFile file(path.c_str());
    std::string backslashed = path;
    for (char& c : backslashed)
        if (c == '/') c = '\\';
    std::string piped = path;
    for (char& c : piped)
        if (c == '/') c = '|';
    std::string linked = dir.File("link.ldb");
    ASSERT_EQ(link(path.c_str(), linked.c_str()), 0);
    std::string cwdRelative = path;
    ASSERT_EQ(chdir(dir.Path().c_str()), 0);
    const std::pair<std::string, bool> cases[] = {
        {path, true},
        {dir.Path() + "/./same.ldb", true},
        {dir.Path() + "//sub/../same.ldb", true},
        {backslashed, true},
        {piped, true},
        {"same.ldb", true},
        {"./same.ldb", true},
        {linked, true},
        {dir.File("SAME.ldb"), false},  // a case-sensitive file system: another file
        {dir.File("other.ldb"), false},
    };
    for (const auto& c : cases) EXPECT_EQ(file.SamePath(c.first.c_str()), c.second) << c.first;
    EXPECT_TRUE(nyxErrorStackEmpty());
    ASSERT_EQ(chdir("/"), 0);
}

TEST_F(StoreFile, SecondOpenWaitsForTheHolderToClose) {
    std::string path = dir.File("locked.ldb");
    MakeStore(path);
    // Shared with the child: set by it just before it lets go of the lock.
    auto* releasing = static_cast<std::atomic<int>*>(
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(releasing, MAP_FAILED);
    new (releasing) std::atomic<int>(0);
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t child = fork();
    if (child == 0) {
        LDBStorageFile holder(path.c_str());
        if (holder.Open() != 0) _exit(1);
        char byte = 1;
        if (write(ready[1], &byte, 1) != 1) _exit(2);
        usleep(300 * 1000);
        releasing->store(1);
        _exit(holder.Close() == 0 ? 0 : 3);
    }
    char byte;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    LDBStorageFile waiter(path.c_str());
    ASSERT_EQ(waiter.Open(), 0);
    EXPECT_EQ(releasing->load(), 1) << "the open went on while the other process held the lock";
    EXPECT_EQ(waiter.Close(), 0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    munmap(releasing, sizeof(std::atomic<int>));
    close(ready[0]);
    close(ready[1]);
}

namespace {
// Fails the n-th write, flush or truncate of the given kind.
class FailNth : public platform::IoHook {
public:
    FailNth(platform::IoOp op, int n) : op_(op), left_(n) {}
    bool Before(platform::IoOp op) override { return op != op_ || --left_ != 0; }
    void After(platform::IoOp) override {}

private:
    platform::IoOp op_;
    int left_;
};
}  // namespace

TEST_F(StoreFile, FailingDiskStepsGiveTheirCodes) {
    std::string path = dir.File("faults.ldb");
    {
        FailNth hook(platform::IoOp::kWrite, 1);
        platform::SetIoHook(&hook);
        EXPECT_EQ(LDBStore::CreateStore(nullptr, path.c_str()), nullptr);
        platform::SetIoHook(nullptr);
        EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[0], "LDB StorageFile write failed");
        EXPECT_EQ(platform::FileSize(path.c_str()), -1) << "a half-made store must be removed";
        testsupport::ClearErrors();
    }
    {
        FailNth hook(platform::IoOp::kFlush, 1);
        platform::SetIoHook(&hook);
        EXPECT_EQ(LDBStore::CreateStore(nullptr, path.c_str()), nullptr);
        platform::SetIoHook(nullptr);
        EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{2410});
        EXPECT_EQ(platform::FileSize(path.c_str()), -1);
        testsupport::ClearErrors();
    }
    MakeStore(path);
    LDBStorageFile file(path.c_str());
    ASSERT_EQ(file.Open(), 0);
    FailNth hook(platform::IoOp::kTruncate, 1);
    platform::SetIoHook(&hook);
    EXPECT_EQ(file.Truncate(20), 2415);
    platform::SetIoHook(nullptr);
    EXPECT_EQ(file.Close(), 0);
    EXPECT_EQ(file.Flush(), 2410) << "a flush of a closed file must fail";
    EXPECT_EQ(testsupport::ReadFileBytes(path), kNewStore);
}

#include "crashharness.h"

TEST_F(StoreFile, CrashAtAnyStepOfCreateLeavesACompleteHeader) {
    std::string path = dir.File("crash.ldb");
    int points = testsupport::CrashAtEveryStep(
        [&] { unlink(path.c_str()); },
        [&] {
            LDBStore* store = LDBStore::CreateStore(nullptr, path.c_str());
            return store != nullptr && LDBStore::CloseStore(store) == 0 ? 0 : 1;
        },
        [&](const testsupport::CrashRun&) -> std::string {
            // The header is one write: once it happened, the file is whole.
            return testsupport::ReadFileBytes(path) == kNewStore ? "" : "the header is not whole";
        });
    EXPECT_EQ(points, 2) << "a create writes the header and flushes once";
}
