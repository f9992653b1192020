// Compaction through the exported interface: dead space goes, live data stays.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "platform/pfile.h"
#include "testsupport.h"

namespace {
class Compaction : public testsupport::CleanStackTest {
protected:
    testsupport::TempDir dir;
};

PDMAttrValue Text(const char* text) {
    PDMAttrValue v;
    std::memset(&v, 0, sizeof v);
    v.kind = PDM_ATTR_STRING;
    v.value.s = text;
    return v;
}

std::string ReadName(const std::string& path) {
    LDBHandle ldb = nullptr;
    if (PDMLDBConnect(path.c_str(), &ldb) != 0) return "<no connect>";
    PDMLDBStartTransaction(ldb);
    PDMAttrValue v;
    std::memset(&v, 0, sizeof v);
    PDMLDBObjectGetLDBAttribute(reinterpret_cast<LDBObjectHandle>(ldb), "name", &v);
    std::string name = v.kind == PDM_ATTR_STRING ? v.value.s : "<none>";
    PDMLDBCommitTransaction(ldb);
    PDMLDBDisconnect(ldb);
    return name;
}
}  // namespace

TEST_F(Compaction, DeadSpaceGoesAndASecondRunCopiesTheSame) {
    std::string path = dir.File("compact.ldb");
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0);
    for (int i = 0; i < 50; ++i) {
        std::string text = "revision " + std::to_string(i);
        PDMAttrValue v = Text(text.c_str());
        ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
        ASSERT_EQ(PDMLDBObjectSetLDBAttribute(reinterpret_cast<LDBObjectHandle>(ldb), "name", &v), 0);
        ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    }
    ASSERT_EQ(PDMLDBDisconnect(ldb), 0);
    int64_t before = platform::FileSize(path.c_str());

    PDMLDBCompactOptions options;
    std::memset(&options, 0, sizeof options);
    options.compact = 1;
    ASSERT_EQ(PDMLDBCompact(path.c_str(), &options), 0) << testsupport::DescribeTop();
    int64_t after = platform::FileSize(path.c_str());
    EXPECT_LT(after, before);
    EXPECT_EQ(static_cast<int64_t>(options.topAfter), after) << "the file ends at the top";
    EXPECT_GT(options.topBefore, options.topAfter);
    EXPECT_GT(options.recordsCopied, 0u);
    EXPECT_EQ(ReadName(path), "revision 49");

    PDMLDBCompactOptions again;
    std::memset(&again, 0, sizeof again);
    again.compact = 1;
    ASSERT_EQ(PDMLDBCompact(path.c_str(), &again), 0);
    EXPECT_EQ(again.recordsCopied, options.recordsCopied);
    EXPECT_EQ(again.topAfter, options.topAfter);
    EXPECT_EQ(ReadName(path), "revision 49");
}

TEST_F(Compaction, OptionsAndVersionsAreChecked) {
    std::string path = dir.File("checked.ldb");
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0);
    ASSERT_EQ(PDMLDBDisconnect(ldb), 0);
    std::vector<unsigned char> bytes = testsupport::ReadFileBytes(path);

    PDMLDBCompactOptions none;
    std::memset(&none, 0, sizeof none);
    EXPECT_EQ(PDMLDBCompact(path.c_str(), &none), 101);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[0], "Invalid Compaction Options Specified");
    PDMErrorClearStack();
    EXPECT_EQ(testsupport::ReadFileBytes(path), bytes);

    // A missing file: the check passes it, the job reports it.
    PDMLDBCompactOptions options;
    std::memset(&options, 0, sizeof options);
    options.compact = 1;
    EXPECT_EQ(PDMLDBCompact(dir.File("missing.ldb").c_str(), &options), 2408);
}
