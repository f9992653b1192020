// Taking generics, instances and whole libraries out of the current state: what each deletion
// refuses and then leaves as it was, what it takes with it, what an undo brings back, and which
// local files a commit deletes.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "relations_fixture.h"
#include "srcldb/ldblil.h"
#include "srcldbws/ws.h"
#include "testsupport.h"

namespace {

using namespace relationstest;
using testsupport::Field;

class Deletion : public Relations {
protected:
    // The library of the name in the current state, null for none.
    WSLILHandle FindLibrary(const char* name) {
        PDMc_LDBObject* found = reinterpret_cast<PDMc_WS*>(ws)->FindLIL(name);
        return reinterpret_cast<WSLILHandle>(found);
    }
    // The item as if its work had been submitted: its current version unmodified.
    static void Submitted(WSPIHandle item) { Field<uint8_t>(Current(item), "m_is_modified") = 0; }
    static int Modified(WSPIHandle item) {
        int flag = -1;
        EXPECT_EQ(PDMWSPIVIsModified(Current(item), &flag), 0);
        return flag;
    }
    // The code and arguments of the newest record, which is then cleared.
    static std::vector<std::string> TakeError(int expectedCode) {
        nyxError* top = nyxErrorGetCurrent();
        EXPECT_NE(top, nullptr);
        if (top == nullptr) return {};
        EXPECT_EQ(nyxErrorGetErrorCode(top), expectedCode);
        std::vector<std::string> args = testsupport::Arguments(top);
        testsupport::ClearErrors();
        return args;
    }
    // A library file written by the client; its path on disk.
    std::string AddLibraryFile(WSLILHandle library) {
        const char* path = nullptr;
        EXPECT_EQ(PDMWSLILAddFile(library, &path), 0) << DescribeTop();
        std::string file = testsupport::OnDisk(path != nullptr ? path : "");
        testsupport::WriteLocalFile(file, "table");
        return file;
    }
    WSPIHandle Item(const char* name) {
        WSPIHandle item = nullptr;
        EXPECT_EQ(PDMWorkspaceGetWSPIByName(ws, name, &item), 0) << DescribeTop();
        return item;
    }
};

TEST_F(Deletion, ExtractingTheLastInstanceTakesTheLibraryAndUndoBringsItBack) {
    WSPIHandle a = AddInstance(generic, "a");
    WSPIHandle b = AddInstance(generic, "b");
    WSLILHandle library = Library(generic);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();

    ASSERT_EQ(PDMWSLILExtractInstance(library, a), 0) << DescribeTop();
    EXPECT_EQ(Roles(a), kPlain);
    EXPECT_EQ(Library(a), nullptr);
    EXPECT_EQ(Item("a"), a) << "an extracted instance stays an item";
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, b}));
    EXPECT_EQ(GIRs(generic).size(), 1u);

    ASSERT_EQ(PDMWSLILExtractInstance(library, b), 0) << DescribeTop();
    EXPECT_EQ(Roles(generic), kPlain) << "the generic lost its last role";
    EXPECT_EQ(Library(generic), nullptr);
    EXPECT_EQ(FindLibrary("bracket"), nullptr);
    WSLILVHandle none = reinterpret_cast<WSLILVHandle>(1);
    ASSERT_EQ(PDMWSLILGetCurrentLILV(library, &none), 0);
    EXPECT_EQ(none, nullptr) << "a deleted library has no current version";

    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(FindLibrary("bracket"), library);
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, a, b}));
    EXPECT_EQ(Roles(a), kInstance);
    ASSERT_EQ(PDMWorkspaceRedo(ws), 0) << DescribeTop();
    EXPECT_EQ(FindLibrary("bracket"), nullptr);

    Reopen();
    EXPECT_EQ(FindLibrary("bracket"), nullptr);
    EXPECT_EQ(Roles(generic), kPlain);
    EXPECT_EQ(Roles(Item("a")), kPlain);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(Members(FindLibrary("bracket")).size(), 3u) << "the earlier state is on disk too";
}

TEST_F(Deletion, ExtractionRefusesWhatIsNoPlainInstanceOfTheLibrary) {
    WSPIHandle a = AddInstance(generic, "a");
    AddInstance(a, "a1");
    WSPIHandle plain = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(ws, "plain", "Part", &plain), 0);
    WSLILHandle library = Library(generic);
    struct Case {
        WSPIHandle item;
        const char* why;
    };
    for (const Case& c : {Case{a, "an instance that is a generic"},
                          Case{generic, "the generic"}, Case{plain, "an item of no library"}}) {
        EXPECT_EQ(PDMWSLILExtractInstance(library, c.item), 101) << c.why;
        std::vector<std::string> args = TakeError(101);
        ASSERT_GE(args.size(), 2u);
        EXPECT_EQ(args[0], "PDMc_LIL::ExtractInstance") << c.why;
        EXPECT_EQ(args[1], "srcldb/ldblil");
    }
    EXPECT_EQ(Members(library).size(), 3u) << "nothing changed";
    EXPECT_EQ(Roles(a), kBoth);

    EXPECT_EQ(PDMWSLILExtractInstance(library, nullptr), 110);
    EXPECT_EQ(TakeError(110), (std::vector<std::string>{"PDMWSLILExtractInstance", "WSPIHandle"}));
    EXPECT_EQ(PDMWSLILDeleteInstance(nullptr, a), 110);
    EXPECT_EQ(TakeError(110), (std::vector<std::string>{"PDMWSLILDeleteInstance", "WSLILHandle"}));
    EXPECT_EQ(PDMWSLILDeleteWithMemberWSPIs(reinterpret_cast<WSLILHandle>(a)), 101)
        << "an item is no library";
    testsupport::ClearErrors();

    ASSERT_EQ(PDMWSLILDeleteWithMemberWSPIs(library), 0) << DescribeTop();
    EXPECT_EQ(PDMWSLILExtractInstance(library, a), 110) << "the library is gone";
    EXPECT_EQ(TakeError(110), (std::vector<std::string>{"PDMc_LIL::ExtractInstance", "LIL"}));
    EXPECT_EQ(PDMWSLILDeleteWithMemberWSPIs(library), 110);
    EXPECT_EQ(TakeError(110),
              (std::vector<std::string>{"PDMc_LIL::DeleteWithMemberWSPIs", "LIL"}));
}

TEST_F(Deletion, NewMembersThatADependencyPointsAtStayWithEverythingElse) {
    WSPIHandle a = AddInstance(generic, "a");
    WSPIHandle b = AddInstance(generic, "b");
    WSLILHandle library = Library(generic);
    WSPIHandle frame = nullptr;
    ASSERT_EQ(PDMWorkspaceCreatePI(ws, "frame", "Assembly", &frame), 0);
    WSDependencyHandle uses = nullptr;
    ASSERT_EQ(PDMWSPIAddCurrWSPIVDependency(frame, b, "uses", 1, &uses), 0) << DescribeTop();

    EXPECT_EQ(PDMWSLILDeleteWithMemberWSPIs(library), 2603);
    EXPECT_EQ(TakeError(2603), std::vector<std::string>{"b"});
    EXPECT_EQ(PDMWSLILDeleteInstance(library, b), 2603);
    EXPECT_EQ(TakeError(2603), std::vector<std::string>{"b"});
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, a, b})) << "no member has gone";
    EXPECT_EQ(Item("a"), a);
    EXPECT_EQ(Roles(b), kInstance);

    ASSERT_EQ(PDMWSLILDeleteInstance(library, a), 0) << DescribeTop();
    EXPECT_EQ(Item("a"), nullptr);
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, b}));
    ASSERT_EQ(PDMWSPIDeleteCurrWSPIVDependency(frame, uses), 0) << DescribeTop();
    ASSERT_EQ(PDMWSLILDeleteInstance(library, b), 0) << DescribeTop();
    EXPECT_EQ(Item("b"), nullptr);
    EXPECT_EQ(FindLibrary("bracket"), nullptr) << "the last instance took the library";
    EXPECT_EQ(Item("bracket"), generic);
    EXPECT_EQ(Roles(generic), kPlain);
}

TEST_F(Deletion, LibraryFileGoesAtCommitOnlyWhenNoEarlierStateHoldsIt) {
    AddInstance(generic, "a");
    WSLILHandle library = Library(generic);
    std::string file = AddLibraryFile(library);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();

    ASSERT_EQ(PDMWSLILDeleteWithMemberWSPIs(library), 0) << DescribeTop();
    EXPECT_EQ(Item("bracket"), nullptr);
    EXPECT_EQ(Item("a"), nullptr);
    EXPECT_EQ(FindLibrary("bracket"), nullptr);
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_TRUE(std::filesystem::exists(file)) << "the state before keeps the file";

    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(FindLibrary("bracket"), library);
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, Item("a")}));
    // Deleted again in the first state, where nothing before it holds the file.
    ASSERT_EQ(PDMWSLILDeleteWithMemberWSPIs(library), 0) << DescribeTop();
    EXPECT_TRUE(std::filesystem::exists(file)) << "files go at commit, not before";
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Deletion, MemberDeletedByItselfMustBeUnmodifiedAndTheLastTakesTheLibrary) {
    WSPIHandle a = AddInstance(generic, "a");
    WSPIHandle b = AddInstance(generic, "b");
    WSLILHandle library = Library(generic);
    EXPECT_EQ(PDMWSPIDelete(a), 2604) << "work not yet submitted";
    EXPECT_EQ(TakeError(2604), (std::vector<std::string>{"a", "bracket"}));
    EXPECT_EQ(Members(library).size(), 3u);

    for (WSPIHandle item : {generic, a, b}) Submitted(item);
    ASSERT_EQ(PDMWorkspaceCreateState(ws), 0) << DescribeTop();
    ASSERT_EQ(PDMWSPIDelete(a), 0) << DescribeTop();
    EXPECT_EQ(Item("a"), nullptr);
    EXPECT_EQ(Members(library), (std::vector<void*>{generic, b}));
    std::vector<void*> relations = GIRs(generic);
    ASSERT_EQ(relations.size(), 2u) << "the generic keeps the relation, without the item";
    EXPECT_EQ(InstanceOf(static_cast<WSGIRHandle>(relations[0])), nullptr);
    EXPECT_EQ(InstanceOf(static_cast<WSGIRHandle>(relations[1])), b);
    EXPECT_EQ(Modified(generic), 0) << "letting go of a member is no change of the generic";

    ASSERT_EQ(PDMWSPIDelete(generic), 0) << DescribeTop();
    EXPECT_EQ(Members(library), std::vector<void*>{b});
    EXPECT_EQ(GenericOf(Generic(b)), nullptr) << "the instance's relation loses its generic";
    ASSERT_EQ(PDMWSPIDelete(b), 0) << DescribeTop();
    EXPECT_EQ(FindLibrary("bracket"), nullptr) << "the last member took the library";

    Reopen();
    EXPECT_EQ(FindLibrary("bracket"), nullptr);
    ASSERT_EQ(PDMWorkspaceUndo(ws), 0) << DescribeTop();
    EXPECT_EQ(Members(FindLibrary("bracket")),
              (std::vector<void*>{Item("bracket"), Item("a"), Item("b")}));
}

TEST_F(Deletion, LibraryWithMembersIsNotDeletedByItself) {
    AddInstance(generic, "a");
    WSLILHandle library = Library(generic);
    EXPECT_EQ(reinterpret_cast<PDMc_LIL*>(library)->Delete(), 101);
    std::vector<std::string> args = TakeError(101);
    ASSERT_GE(args.size(), 2u);
    EXPECT_EQ(args[0], "PDMc_LIL::Delete");
    EXPECT_EQ(FindLibrary("bracket"), library);
    EXPECT_EQ(Members(library).size(), 2u);
}

}  // namespace
