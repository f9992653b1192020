// The bytes of a store after a fixed day of work, with the clock pinned: thousands of items with
// alike names, attributes, dependencies, libraries, many states, undo, redo, purge, rename,
// delete, then a compaction. Whatever makes the model faster must leave these files as they are.
#include <cstdio>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "platform/pclock.h"
#include "testsupport.h"

namespace {

using testsupport::DescribeTop;

std::string Sha256(const std::string& path) {
    std::string command = "sha256sum '" + path + "'";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return "";
    char digest[65] = {0};
    if (std::fscanf(pipe, "%64s", digest) != 1) digest[0] = '\0';
    pclose(pipe);
    return digest;
}

std::string Name(int k) {
    char text[32];
    std::snprintf(text, sizeof text, "part-%07d", k);
    return text;
}

class Golden : public testsupport::CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        // Paths are stored as given: relative ones keep the bytes the same in every directory.
        ASSERT_NE(getcwd(m_cwd, sizeof m_cwd), nullptr);
        ASSERT_EQ(chdir(m_dir.Path().c_str()), 0);
        platform::PinClock(1700000000);
    }
    void TearDown() override {
        platform::PinClock(0);
        if (chdir(m_cwd) != 0) ADD_FAILURE() << "can't go back to " << m_cwd;
        CleanStackTest::TearDown();
    }
    WSPIHandle Item(int k) {
        WSPIHandle item = nullptr;
        EXPECT_EQ(PDMWorkspaceGetWSPIByName(ws, Name(k).c_str(), &item), 0) << DescribeTop();
        return item;
    }
    void Commit() {
        ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
        ASSERT_EQ(PDMLDBStartTransaction(ldb), 0) << DescribeTop();
    }

    testsupport::TempDir m_dir;
    char m_cwd[4096];
    LDBHandle ldb = nullptr;
    WorkspaceHandle ws = nullptr;
};

TEST_F(Golden, DayOfWorkLeavesTheSameBytes) {
    constexpr int kItems = 3000;
    ASSERT_EQ(PDMLDBCreate("golden.ldb", &ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    ASSERT_EQ(PDMWorkspaceCreate(ldb, "design", "design.dir", "golden", &ws), 0) << DescribeTop();
    PDMAttrValue mass{};
    mass.kind = PDM_ATTR_DOUBLE;
    for (int k = 0; k < kItems; ++k) {
        WSPIHandle item = nullptr;
        const char* type = k % 10 == 0 ? "Assembly" : "Part";
        ASSERT_EQ(PDMWorkspaceCreatePI(ws, Name(k).c_str(), type, &item), 0) << DescribeTop();
        ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(item, "A"), 0);
        if (k % 7 == 0) {
            mass.value.d = k * 0.25;
            ASSERT_EQ(PDMWSPISetCurrWSPIVAttribute(item, "mass", &mass), 0) << DescribeTop();
        }
    }
    for (int k = 0; k < kItems; k += 50) {
        WSDependencyHandle uses = nullptr;
        ASSERT_EQ(PDMWSPIAddCurrWSPIVDependency(Item(k), Item(k + 1), "uses", 1, &uses), 0)
            << DescribeTop();
    }
    for (int g = 0; g < 5; ++g) {
        for (int i = 0; i < 3; ++i) {
            WSPIHandle instance = nullptr;
            std::string name = Name(g * 600 + 3) + "-v" + std::to_string(i);
            ASSERT_EQ(PDMWSPIAddInstance(Item(g * 600 + 3), name.c_str(), nullptr, &instance), 0)
                << DescribeTop();
        }
    }
    Commit();

    for (int s = 1; s <= 12; ++s) {
        ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();
        ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(Item((s * 977) % kItems), "B"), 0);
        if (s % 4 == 0) {
            std::string renamed = "renamed-" + std::to_string(s);
            ASSERT_EQ(PDMWSPIRename(Item(s * 11 + 2), renamed.c_str()), 0) << DescribeTop();
        }
        if (s % 3 == 0) {
            ASSERT_EQ(PDMWSPIDelete(Item(s * 13 + 5)), 0) << DescribeTop();
        }
        Commit();
    }
    for (int undo = 0; undo < 3; ++undo) ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0) << DescribeTop();
    Commit();
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0);
    ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(Item(42), "C"), 0);
    ASSERT_EQ(PDMWorkspacePurge(ws, 3), 0) << DescribeTop();
    WSLILHandle library = nullptr;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVLIL(Item(603), &library), 0);
    WSPIHandle instance = nullptr;
    ASSERT_EQ(PDMWorkspaceGetWSPIByName(ws, (Name(603) + "-v1").c_str(), &instance), 0);
    ASSERT_EQ(PDMWSLILExtractInstance(library, instance), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBDisconnect(ldb), 0);

    EXPECT_EQ(Sha256("golden.ldb"),
              "c7f621eaebd5c42f37cc995db4035c3d016d0bfd0637e407eeef1afa5b942983");
    PDMLDBCompactOptions options{};
    options.compact = 1;
    options.trim = 1;
    ASSERT_EQ(PDMLDBCompact("golden.ldb", &options), 0) << DescribeTop();
    EXPECT_EQ(Sha256("golden.ldb"),
              "f272df5c104dd049d1b93eb4d5a663cd7289c695d284c831ecaeb3dd632403e8");
}

}  // namespace
