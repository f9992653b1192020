// Single damaged bytes in the body of a valid store: every open and every load either works
// or reports an error; none reads outside a buffer or runs away. The sanitizer build makes any
// stray read fatal.
#include <cstdio>
#include <random>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "recoverytest.h"
#include "srcldb/ldbcompact.h"
#include "srcldb/ldbstore.h"
#include "storegraph.h"
#include "testsupport.h"

using recoverytest::Bytes;
using testsupport::CleanStackTest;
using testsupport::ReadFileBytes;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr int kRuns = 2500;  // fifty times slower there: each run builds a store object anew
#else
constexpr int kRuns = 10000;
#endif
// Every so many runs the damaged store is also compacted.
constexpr int kCompactEvery = 10;

// Each run flushes the file twice; on a memory file system that costs nothing.
std::string FastDirectory() { return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : ""; }

TEST(DamagedBody, EveryOpenAndLoadWorksOrReportsAnError) {
    TempDir dir(FastDirectory());
    const std::string path = dir.File("fuzz.ldb");
    testsupport::ClearErrors();
    ASSERT_EQ(storegraph::MakeGraphStore(path, 3, 20), 0) << testsupport::DescribeTop();
    ASSERT_EQ(storegraph::CommitChange(path, 77), 0);
    const Bytes valid = ReadFileBytes(path);

    std::mt19937 random(20240611);
    std::uniform_int_distribution<size_t> position(LDB_HEADER_SIZE, valid.size() - 1);
    std::uniform_int_distribution<int> flip(1, 255);
    int loaded = 0, refused = 0, compacted = 0;
    for (int run = 0; run < kRuns; ++run) {
        Bytes damaged = valid;
        const size_t at = position(random);
        damaged[at] = static_cast<unsigned char>(damaged[at] ^ flip(random));
        WriteFileBytes(path, damaged);

        std::string failure;
        std::string listing = storegraph::ListFile(path, &failure);
        if (listing.empty()) {
            ++refused;
            ASSERT_FALSE(failure.empty()) << "run " << run;
        } else {
            ++loaded;
        }
        testsupport::ClearErrors();
        if (run % kCompactEvery == 0) {
            PDMLDBCompactOptions options = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
            if (LDBCompactDatabase(path.c_str(), storegraph::Layout(), &options) == 0) ++compacted;
            testsupport::ClearErrors();
            storegraph::ListFile(path, &failure);
            testsupport::ClearErrors();
        }
    }
    std::printf("%d damaged stores: %d loaded, %d refused with an error, %d of %d compacted\n",
                kRuns, loaded, refused, compacted, kRuns / kCompactEvery);
    EXPECT_EQ(loaded + refused, kRuns);
}

}  // namespace
