// The integrity check: silent on every model the exports make, whatever the history, the
// commits, the compaction behind it; and each finding, to the byte, on a model damaged on
// purpose through its stored members, after the damage went through a commit and a new connect.
#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "marrows/marrows.h"
#include "relations_fixture.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblufi.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbreps.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "testsupport.h"

namespace {

using namespace relationstest;
using testsupport::CaptureStdout;
using testsupport::Field;

// What a check printed, line by line in sorted order; every line must end in a newline.
std::vector<std::string> Lines(const std::string& text) {
    EXPECT_TRUE(text.empty() || text.back() == '\n') << text;
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    return lines;
}

class Integrity : public Relations {
protected:
    // The findings of the check of one workspace, or of the whole database for null.
    std::vector<std::string> Check(WorkspaceHandle workspace, int expectedFound) {
        int found = -1;
        std::string text = CaptureStdout([&] {
            int rc = workspace != nullptr ? PDMWorkspaceCheckIntegrity(workspace, &found)
                                          : PDMLDBCheckIntegrity(ldb, &found);
            EXPECT_EQ(rc, 0) << DescribeTop();
        });
        EXPECT_EQ(found, expectedFound) << text;
        return Lines(text);
    }
    // Both checks are silent and find nothing.
    void ExpectHealthy(const char* when) {
        SCOPED_TRACE(when);
        EXPECT_EQ(Check(ws, 0), std::vector<std::string>{});
        EXPECT_EQ(Check(nullptr, 0), std::vector<std::string>{});
    }
    void AddLibraryFile(WSLILHandle library) {
        const char* path = nullptr;
        ASSERT_EQ(PDMWSLILAddFile(library, &path), 0) << DescribeTop();
    }
    static PDMc_LIL* Model(WSLILHandle library) { return reinterpret_cast<PDMc_LIL*>(library); }
    static PDMc_WSPI* Model(WSPIHandle item) { return reinterpret_cast<PDMc_WSPI*>(item); }
};

TEST_F(Integrity, EveryModelTheExportsMakeIsHealthy) {
    int found = -1;
    EXPECT_EQ(PDMWorkspaceCheckIntegrity(nullptr, &found), 110);
    testsupport::ClearErrors();
    ExpectHealthy("one plain item");

    WSPIHandle frame = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(ws, "frame", "Assembly", &frame), 0);
    WSDependencyHandle uses = nullptr;
    ASSERT_EQ(PDMWSPIAddCurrWSPIVDependency(frame, generic, "uses", 1, &uses), 0);
    WSPIHandle a = AddInstance(generic, "a");
    WSPIHandle b = AddInstance(generic, "b");
    WSPIHandle a1 = AddInstance(a, "a1");
    AddLibraryFile(Library(generic));
    ExpectHealthy("a chain of generics");

    for (int state = 0; state < 4; ++state) {
        ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();
        std::string revision(1, static_cast<char>('A' + state));
        ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(a1, revision.c_str()), 0) << DescribeTop();
        ASSERT_EQ(PDMWSPISetCurrWSPIVTargetRevision(frame, revision.c_str()), 0);
    }
    ASSERT_EQ(PDMWSPIRename(b, "b-renamed"), 0) << DescribeTop();
    AddInstance(b, "b1");
    ExpectHealthy("many states");
    ASSERT_EQ(PDMWSLILExtractInstance(Library(generic), a1), 0) << DescribeTop();
    ExpectHealthy("an instance extracted");
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0);
    ExpectHealthy("after undo");
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0);
    ExpectHealthy("after redo");
    ASSERT_EQ(PDMWorkspacePurge(ws, 2), 0) << DescribeTop();
    ExpectHealthy("after purge");

    WorkspaceHandle second = CreateWorkspace("second");
    WSPIHandle clamp = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(second, "clamp", "Part", &clamp), 0);
    AddInstance(clamp, "clamp-1");
    AddLibraryFile(Library(clamp));
    EXPECT_EQ(Check(second, 0), std::vector<std::string>{});
    ExpectHealthy("two workspaces");

    Reopen();
    ExpectHealthy("after a new connect");
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBDisconnect(ldb), 0);
    ldb = nullptr;
    PDMLDBCompactOptions options{};
    options.compact = 1;
    ASSERT_EQ(PDMLDBCompact(path.c_str(), &options), 0) << DescribeTop();
    EXPECT_LT(options.topAfter, options.topBefore) << "the purged states were dropped";
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    ASSERT_EQ(PDMLDBGetWorkspaceByName(ldb, "ws", &ws), 0);
    ExpectHealthy("after compaction");
}

TEST_F(Integrity, LibraryWithoutAFileIsWorthALineButNoFinding) {
    AddInstance(generic, "a");
    EXPECT_EQ(Check(ws, 0),
              std::vector<std::string>{"POSSIBLE CORRUPTION: LIL bracket has no file"});
}

// One damage each, and every line it must print. A relation joins two library members and is
// checked from both ends, so its findings come twice.
struct Damage {
    const char* name;
    std::function<void(WSPIHandle generic, WSPIHandle a, WSGIRHandle relation, WSLILHandle)> make;
    std::vector<std::string> lines;
};

TEST_F(Integrity, EachDamagePrintsItsFindings) {
    auto version = [](WSPIHandle item) {
        WSPIVHandle v = nullptr;
        PDMWSPIGetCurrWSPIV(item, &v);
        return v;
    };
    auto ids = [](WSLILHandle library, const char* member, std::vector<uint32_t> values) {
        WSLILVHandle current = nullptr;
        PDMWSLILGetCurrentLILV(library, &current);
        LDBIdArrayRep& list = Field<LDBIdArrayRep>(current, member);
        list.SetCount(static_cast<uint32_t>(values.size()));
        for (uint32_t i = 0; i < values.size(); ++i) list.SetAt(i, values[i]);
    };
    // An item and a library that came from the repository, with ids there.
    auto fromRepository = [version](WSPIHandle item, WSGIRHandle relation, WSLILHandle library) {
        Field<uint32_t>(Model(item)->GetLUFI(), "m_piid") = 1234;
        Field<uint32_t>(version(item), "m_source_rpiv_id") = 300;
        Field<uint32_t>(relation, "m_instance_pivid") = 300;
        Field<uint32_t>(Model(library)->GetLUFLI(), "m_loid") = 55;
    };
    const std::vector<Damage> damages = {
        {"instance flag lost",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle, WSLILHandle) {
             Field<uint8_t>(version(a), "m_is_instance") = 0;
         },
         {"CORRUPTION: non LIL-based WSPI a refernced from LIL bracket"}},
        {"library lost",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle, WSLILHandle) {
             Field<PDMc_LDBRef>(version(a), "m_lil") = PDMc_LDBRef();
         },
         {"CORRUPTION: Instance a does not have LIL", "CORRUPTION: Library member a has no LIL"}},
        {"generic's library lost",
         [&](WSPIHandle generic, WSPIHandle, WSGIRHandle, WSLILHandle) {
             Field<PDMc_LDBRef>(version(generic), "m_lil") = PDMc_LDBRef();
         },
         {"CORRUPTION: Generic bracket does not have LIL",
          "CORRUPTION: Generic bracket does not have LIL",
          "CORRUPTION: Library member bracket has no LIL"}},
        {"relation to the generic lost",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle, WSLILHandle) {
             Field<PDMc_LDBRef>(version(a), "m_generic_wsgir") = PDMc_LDBRef();
         },
         {"CORRUPTION: Instance a does not have a generic GIR"}},
        {"relation without items",
         [](WSPIHandle, WSPIHandle, WSGIRHandle relation, WSLILHandle) {
             Field<PDMc_LDBRef>(relation, "m_generic_wspi") = PDMc_LDBRef();
             Field<PDMc_LDBRef>(relation, "m_instance_wspi") = PDMc_LDBRef();
         },
         {"CORRUPTION: GIR does not have either instance or generic WSPI",
          "CORRUPTION: GIR does not have either instance or generic WSPI"}},
        {"relation without instance",
         [](WSPIHandle, WSPIHandle, WSGIRHandle relation, WSLILHandle) {
             Field<PDMc_LDBRef>(relation, "m_instance_wspi") = PDMc_LDBRef();
         },
         {"CORRUPTION: Generic bracket does not have instance for GIR",
          "CORRUPTION: Generic bracket does not have instance for GIR"}},
        {"relation without generic",
         [](WSPIHandle, WSPIHandle, WSGIRHandle relation, WSLILHandle) {
             Field<PDMc_LDBRef>(relation, "m_generic_wspi") = PDMc_LDBRef();
         },
         {"CORRUPTION: Instance a does not have generic for GIR",
          "CORRUPTION: Instance a does not have generic for GIR"}},
        {"relation without generic, which lies in the repository",
         [](WSPIHandle, WSPIHandle, WSGIRHandle relation, WSLILHandle) {
             Field<PDMc_LDBRef>(relation, "m_generic_wspi") = PDMc_LDBRef();
             Field<uint32_t>(relation, "m_generic_pivid") = 12;
         },
         {}},
        {"generic's id differs",
         [](WSPIHandle, WSPIHandle, WSGIRHandle relation, WSLILHandle) {
             Field<uint32_t>(relation, "m_generic_pivid") = 4000000000u;
         },
         {"CORRUPTION: Generic bracket has PIVId 0 but it's GIR has GenPIVId 4000000000",
          "CORRUPTION: Generic bracket has PIVId 0 but it's GIR has GenPIVId 4000000000"}},
        {"instance's id differs",
         [](WSPIHandle, WSPIHandle, WSGIRHandle relation, WSLILHandle) {
             Field<uint32_t>(relation, "m_instance_pivid") = 9;
         },
         {"CORRUPTION: Instance a has PIVId 0 but it's GIR has GenPIVId 9",
          "CORRUPTION: Instance a has PIVId 0 but it's GIR has GenPIVId 9"}},
        {"instance in another library",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle, WSLILHandle) {
             WSPIHandle clamp = nullptr;
             PDMWorkspaceCreatePI(ws, "clamp", "Part", &clamp);
             AddInstance(clamp, "clamp-1");
             Field<PDMc_LDBRef>(version(a), "m_lil") = Model(Library(clamp));
         },
         {"CORRUPTION: Generic bracket and instance a belong to different LIL generic LIL == "
          "bracket, instance LIL = clamp",
          "CORRUPTION: Generic bracket and instance a belong to different LIL generic LIL == "
          "bracket, instance LIL = clamp",
          "CORRUPTION: WSPI's (a) LIL (clamp) does not have this WSPI as member",
          "POSSIBLE CORRUPTION: LIL clamp has no file"}},
        {"removed id that was never an original one",
         [&](WSPIHandle, WSPIHandle, WSGIRHandle, WSLILHandle library) {
             ids(library, "m_orig_members", {3, 8});
             ids(library, "m_removed_members", {8, 5});
         },
         {"CORRUPTION: LIL bracket has id 5 as removed member and no as original member"}},
        {"new library with id lists",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle, WSLILHandle library) {
             Field<uint32_t>(Model(a)->GetLUFI(), "m_piid") = 1234;
             ids(library, "m_orig_members", {77});
             ids(library, "m_removed_members", {77});
         },
         {"CORRUPTION: original member list for new LIL bracket is not empty",
          "CORRUPTION: removed member list for new LIL bracket is not empty"}},
        {"repository member that isn't an original one",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle relation, WSLILHandle library) {
             fromRepository(a, relation, library);
         },
         {"CORRUPTION: LIL bracket references non-new WSPI a, which is not listed as an "
          "original member"}},
        {"repository member listed as removed",
         [&](WSPIHandle, WSPIHandle a, WSGIRHandle relation, WSLILHandle library) {
             fromRepository(a, relation, library);
             ids(library, "m_orig_members", {300});
             ids(library, "m_removed_members", {300});
         },
         {"CORRUPTION: LIL bracket references non-new WSPI a, which is listed as a removed "
          "member"}},
    };
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        WSPIHandle a = AddInstance(generic, "a");
        AddInstance(generic, "b");
        WSLILHandle library = Library(generic);
        AddLibraryFile(library);
        damage.make(generic, a, static_cast<WSGIRHandle>(GIRs(generic)[0]), library);
        Reopen();
        std::vector<std::string> expected = damage.lines;
        std::sort(expected.begin(), expected.end());
        int found = std::any_of(expected.begin(), expected.end(), [](const std::string& line) {
            return line.rfind("CORRUPTION", 0) == 0;
        });
        EXPECT_EQ(Check(ws, found), expected);
        // A fresh workspace of the same name, with one item, for the next damage.
        ASSERT_EQ(PDMWorkspaceDelete(ws), 0) << DescribeTop();
        ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
        ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
        std::string directory = dir.File("ws-" + std::to_string(&damage - damages.data()));
        ASSERT_EQ(PDMWorkspaceCreate(ldb, "ws", directory.c_str(), "", &ws), 0) << DescribeTop();
        ASSERT_EQ(PDMWorkspaceCreatePI(ws, "bracket", "Part", &generic), 0) << DescribeTop();
    }
}

TEST_F(Integrity, DatabaseCheckStopsAtTheFirstWorkspaceWithAFinding) {
    WSPIHandle a = AddInstance(generic, "a");
    AddLibraryFile(Library(generic));
    WorkspaceHandle second = CreateWorkspace("second");
    WSPIHandle clamp = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(second, "clamp", "Part", &clamp), 0);
    WSPIHandle c = AddInstance(clamp, "clamp-1");
    AddLibraryFile(Library(clamp));
    for (WSPIHandle member : {a, c}) {
        WSPIVHandle v = nullptr;
        ASSERT_EQ(PDMWSPIGetCurrWSPIV(member, &v), 0);
        Field<PDMc_LDBRef>(v, "m_generic_wsgir") = PDMc_LDBRef();
    }
    CursorHandle cursor = nullptr;
    ASSERT_EQ(PDMLDBGetWorkspaces(ldb, &cursor), 0);
    std::vector<void*> order = testsupport::Drain(cursor);
    ASSERT_EQ(order.size(), 2u);
    const std::vector<std::string> ofWs{"CORRUPTION: Instance a does not have a generic GIR"};
    const std::vector<std::string> ofSecond{
        "CORRUPTION: Instance clamp-1 does not have a generic GIR"};
    bool wsFirst = order[0] == static_cast<void*>(ws);
    EXPECT_EQ(Check(nullptr, 1), wsFirst ? ofWs : ofSecond) << "the later workspace isn't checked";
    EXPECT_EQ(Check(ws, 1), ofWs);
    EXPECT_EQ(Check(second, 1), ofSecond);
}

}  // namespace
