// Compaction: the options and their outputs, a file of exactly the live data, the records that
// many references share, deferred references, and the file left as it was after a failure.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "recoverytest.h"
#include "srcldb/ldbcompact.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbstore.h"
#include "srcldb/ldbvalue.h"
#include "storegraph.h"
#include "testsupport.h"

using recoverytest::Bytes;
using recoverytest::WordAt;
using testsupport::CleanStackTest;
using testsupport::ReadFileBytes;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

constexpr uint32_t kUntouched = 0xAAAAAAAA;

PDMLDBCompactOptions Options(int32_t compact, int32_t trim) {
    PDMLDBCompactOptions options;
    options.compact = compact;
    options.trim = trim;
    options.reserved2 = int32_t(kUntouched);
    options.topBefore = options.reserved4 = options.reserved5 = options.reserved6 = kUntouched;
    options.topAfter = options.reserved8 = options.reserved9 = options.recordsCopied = kUntouched;
    return options;
}

// The member of an object, found by name in the current layout.
template <class T>
T& Member(PDMc_LDBObject* object, const char* name) {
    const LDBClassDescriptor* descriptor =
        storegraph::Layout().CurrentClass(object->GetTypeCode());
    return *static_cast<T*>(descriptor->FindMember(name)->GetPlace().FieldIn(object));
}

// What the live data of a store takes, counted from the loaded objects: each record's fixed
// size and the blocks its members own.
struct LiveData {
    uint32_t bytes = 0;
    uint32_t records = 0;
};

uint32_t BlocksOf(uint16_t type, void* field) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kString: return static_cast<nyxString*>(field)->IsEmpty() ? 0 : 1;
        case LDBMemberFamily::kValue: {
            const PDMc_LDBValue& value = *static_cast<PDMc_LDBValue*>(field);
            return value.GetKind() == PDMc_LDBValue::kString && !value.GetString().IsEmpty();
        }
        case LDBMemberFamily::kRefArray: return static_cast<LDBRefArrayRep*>(field)->Count() > 0;
        case LDBMemberFamily::kIdArray: return static_cast<LDBIdArrayRep*>(field)->Count() > 0;
        case LDBMemberFamily::kRefMap: {
            LDBRefMapRep& map = *static_cast<LDBRefMapRep*>(field);
            uint32_t keys = 0;
            map.VisitEntries(
                [](void* context, const nyxString& key, const PDMc_LDBRef&) -> int32_t {
                    *static_cast<uint32_t*>(context) += key.IsEmpty() ? 0 : 1;
                    return 0;
                },
                &keys);
            return map.Count() > 0 ? 1 + keys : 0;
        }
        default: return 0;
    }
}

LiveData CountLiveData(const std::string& path) {
    LiveData live;
    LDBStore* store = storegraph::Connect(path);
    EXPECT_NE(store, nullptr);
    if (store == nullptr) return live;
    EXPECT_EQ(store->StartTransaction(), 0);
    for (PDMc_LDBObject* object : storegraph::Reachable(store)) {
        const LDBClassDescriptor* descriptor =
            storegraph::Layout().CurrentClass(object->GetTypeCode());
        live.bytes += descriptor->GetFixedSize() +
                      LDBMemberWriter::BlockSpaceOfMembers(*descriptor, object);
        live.records += 1;
        for (uint32_t i = 0; i < descriptor->MemberCount(); ++i) {
            const LDBMemberDescriptor* member = descriptor->MemberAt(i);
            live.records += BlocksOf(member->GetType(), member->GetPlace().FieldIn(object));
        }
    }
    store->AbortTransaction();
    LDBStore::CloseStore(store);
    return live;
}

class Compaction : public CleanStackTest {
protected:
    void SetUp() override {
        CleanStackTest::SetUp();
        path = dir.File("compact.ldb");
    }
    // A store whose graph has been changed twice, so that old blocks and unreachable objects
    // lie between the live ones.
    void MakeChurnedStore() {
        ASSERT_EQ(storegraph::MakeGraphStore(path, 1, 30), 0) << testsupport::DescribeTop();
        ASSERT_EQ(storegraph::CommitChange(path, 1000), 0);
        ASSERT_EQ(storegraph::CommitChange(path, 2000), 0);
    }
    std::string List() {
        std::string failure;
        std::string listing = storegraph::ListFile(path, &failure);
        EXPECT_FALSE(listing.empty()) << failure;
        return listing;
    }
    int32_t Compact(PDMLDBCompactOptions& options) {
        return LDBCompactDatabase(path.c_str(), storegraph::Layout(), &options);
    }
    TempDir dir;
    std::string path;
};

TEST_F(Compaction, NoOptionSetIsRefusedBeforeTheFileIsOpened) {
    PDMLDBCompactOptions options = Options(0, 0);
    // No such file: an open would have pushed 2408.
    EXPECT_EQ(Compact(options), 101);
    EXPECT_EQ(testsupport::StackCodes(), std::vector<int>{101});
    EXPECT_EQ(nyxErrorGetSeverity(nyxErrorGetCurrent()), 2);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()),
              std::vector<std::string>{"Invalid Compaction Options Specified"});
    EXPECT_EQ(options.topBefore, kUntouched);
    EXPECT_EQ(options.recordsCopied, kUntouched);
}

TEST_F(Compaction, TrimCutsTheFileToItsTopAndChangesNothingElse) {
    MakeChurnedStore();
    const Bytes before = ReadFileBytes(path);
    const uint32_t top = WordAt(before, 12);
    ASSERT_GT(before.size(), top);  // the last commit's undo log
    PDMLDBCompactOptions options = Options(0, 1);
    ASSERT_EQ(Compact(options), 0) << testsupport::DescribeTop();
    EXPECT_EQ(ReadFileBytes(path), Bytes(before.begin(), before.begin() + top));
    const std::vector<uint32_t> words = {options.topBefore, options.reserved4, options.reserved5,
                                         options.reserved6, options.topAfter, options.reserved8,
                                         options.reserved9, options.recordsCopied};
    EXPECT_EQ(words, (std::vector<uint32_t>{top, 0, 0, 0, top, 0, 0, 0}));
    EXPECT_EQ(uint32_t(options.reserved2), kUntouched);
}

TEST_F(Compaction, RewriteLeavesExactlyTheLiveDataAndASecondOneChangesNothing) {
    MakeChurnedStore();
    const std::string listing = List();
    const LiveData live = CountLiveData(path);
    const Bytes before = ReadFileBytes(path);

    PDMLDBCompactOptions first = Options(1, 0);
    ASSERT_EQ(Compact(first), 0) << testsupport::DescribeTop();
    const Bytes after = ReadFileBytes(path);
    EXPECT_EQ(after.size(), LDB_HEADER_SIZE + live.bytes);
    EXPECT_EQ(WordAt(after, 12), after.size());
    EXPECT_EQ(WordAt(after, 20), LDB_HEADER_SIZE);  // the root stays in front
    EXPECT_NE(WordAt(after, 16), WordAt(before, 16));
    EXPECT_EQ(storegraph::HeaderProblem(path), "");
    EXPECT_EQ(first.topBefore, WordAt(before, 12));
    EXPECT_EQ(first.topAfter, after.size());
    EXPECT_EQ(first.recordsCopied, live.records);
    EXPECT_EQ(List(), listing);

    PDMLDBCompactOptions second = Options(1, 1);
    ASSERT_EQ(Compact(second), 0) << testsupport::DescribeTop();
    EXPECT_EQ(second.recordsCopied, first.recordsCopied);
    EXPECT_EQ(second.topAfter, first.topAfter);
    EXPECT_EQ(ReadFileBytes(path).size(), after.size());
    EXPECT_EQ(List(), listing);
}

// A root that holds an object with a long text in front of a reference that leads nowhere:
// the walk has written much of the shadow by the time it fails.
TEST_F(Compaction, FailedWalkLeavesTheFileAsItWasUpToTopAndNoLonger) {
    LDBStore* store = storegraph::Create(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = storegraph::NewObject(store, LDB_TYPE_ROOT);
    PDMc_LDBObject* holder = storegraph::NewObject(store, LDB_TYPE_APPOBJ);
    store->SetRootObject(root);
    Member<PDMc_LDBRef>(root, "m_workspaces") = PDMc_LDBRef(holder);
    Member<PDMc_LDBRef>(root, "m_pi_type_defs") = PDMc_LDBRef(holder);
    Member<nyxString>(holder, "m_type") = std::string(900000, 'x').c_str();
    ASSERT_EQ(store->CommitTransaction(), 0);
    LDBStore::CloseStore(store);

    Bytes damaged = ReadFileBytes(path);
    const uint32_t top = WordAt(damaged, 12);
    ASSERT_GT(damaged.size(), top);
    // The root's second member, behind its class code, version and first member.
    const uint32_t nowhere = top + 5000;
    for (int i = 0; i < 4; ++i) damaged[40 + 6 + i] = uint8_t(nowhere >> (8 * i));
    WriteFileBytes(path, damaged);

    PDMLDBCompactOptions options = Options(1, 0);
    EXPECT_NE(Compact(options), 0);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent())[0], "LDB cursor read outside the store");
    testsupport::ClearErrors();
    EXPECT_EQ(ReadFileBytes(path), Bytes(damaged.begin(), damaged.begin() + top));
}

TEST_F(Compaction, SharedTargetsCyclesAndDeferredReferencesKeepOneCopyEach) {
    LDBStore* store = storegraph::Create(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = storegraph::NewObject(store, LDB_TYPE_ROOT);
    PDMc_LDBObject* x = storegraph::NewObject(store, LDB_TYPE_WSD);
    PDMc_LDBObject* y = storegraph::NewObject(store, LDB_TYPE_WSD);
    PDMc_LDBObject* shared = storegraph::NewObject(store, LDB_TYPE_LPI);
    PDMc_LDBObject* child = storegraph::NewObject(store, LDB_TYPE_LPI);
    // Dead weight in front, so that every address moves.
    storegraph::AddGraph(store, 7, 5);
    store->SetRootObject(root);
    Member<PDMc_LDBRef>(root, "m_workspaces") = PDMc_LDBRef(x);
    Member<PDMc_LDBRef>(root, "m_attrs") = PDMc_LDBRef(y);
    Member<PDMc_LDBRef>(x, "m_parent_piv") = PDMc_LDBRef(y);
    Member<PDMc_LDBRef>(y, "m_parent_piv") = PDMc_LDBRef(x);
    Member<PDMc_LDBRef>(x, "m_definition") = PDMc_LDBRef(shared);
    Member<PDMc_LDBRef>(y, "m_definition") = PDMc_LDBRef(shared);
    // Met before m_definition, but deferred: its target comes last.
    Member<PDMc_LDBRef>(x, "m_child_pi") = PDMc_LDBRef(child);
    ASSERT_EQ(store->CommitTransaction(), 0);
    LDBStore::CloseStore(store);
    const std::string listing = List();

    PDMLDBCompactOptions options = Options(1, 0);
    ASSERT_EQ(Compact(options), 0) << testsupport::DescribeTop();
    EXPECT_EQ(options.recordsCopied, 5u);
    EXPECT_EQ(List(), listing);

    const uint32_t root_size = storegraph::Layout().CurrentClass(LDB_TYPE_ROOT)->GetFixedSize();
    const uint32_t wsd_size = storegraph::Layout().CurrentClass(LDB_TYPE_WSD)->GetFixedSize();
    const uint32_t lpi_size = storegraph::Layout().CurrentClass(LDB_TYPE_LPI)->GetFixedSize();
    EXPECT_EQ(options.topAfter, 40 + root_size + 2 * wsd_size + 2 * lpi_size);
    store = storegraph::Connect(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* newX = Member<PDMc_LDBRef>(store->GetRoot(), "m_workspaces").GetTarget();
    ASSERT_NE(newX, nullptr);
    // In the order first met: root, x, y (x's first member), shared; the deferred child last.
    EXPECT_EQ(newX->GetStorageAddress(), 40 + root_size);
    EXPECT_EQ(Member<PDMc_LDBRef>(newX, "m_parent_piv").GetKey(), 40 + root_size + wsd_size);
    EXPECT_EQ(Member<PDMc_LDBRef>(newX, "m_definition").GetKey(), 40 + root_size + 2 * wsd_size);
    EXPECT_EQ(Member<PDMc_LDBRef>(newX, "m_child_pi").GetKey(), options.topAfter - lpi_size);
    store->AbortTransaction();
    LDBStore::CloseStore(store);
}

// The walk knows deferred references by member index; an edit of the schema that moves a
// member must move its index too.
TEST(DeferredReferences, NameTheMembersTheyMeanAndNoOthers) {
    const std::vector<std::pair<uint8_t, std::vector<std::string>>> expected = {
        {LDB_TYPE_WSD, {"m_child_pi"}},
        {LDB_TYPE_WSPIV, {"m_creating_frame", "m_instances_creating_frame"}},
        {LDB_TYPE_WSGIR, {"m_generic_wspi", "m_instance_wspi"}},
        {LDB_TYPE_LILV, {"m_creating_frame"}},
        {LDB_TYPE_LUFI, {"m_creating_frame"}},
        {LDB_TYPE_LUFLI, {"m_creating_frame"}},
    };
    for (uint32_t code = 0; code < 256; ++code) {
        const LDBClassDescriptor* descriptor = storegraph::Layout().CurrentClass(uint8_t(code));
        std::vector<std::string> deferred;
        for (uint32_t i = 0; descriptor != nullptr && i < descriptor->MemberCount(); ++i)
            if (LDBIsDeferredReference(uint8_t(code), i))
                deferred.push_back(descriptor->MemberAt(i)->GetName().c_str());
        std::vector<std::string> want;
        for (const auto& entry : expected)
            if (entry.first == code) want = entry.second;
        EXPECT_EQ(deferred, want) << "class " << code;
    }
}

TEST_F(Compaction, TextOfADoubleWordCountSurvives) {
    LDBStore* store = storegraph::Create(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = storegraph::NewObject(store, LDB_TYPE_APPOBJ);
    store->SetRootObject(root);
    std::string text(70000, 'q');
    text[69999] = 'z';
    Member<nyxString>(root, "m_type") = text.c_str();
    ASSERT_EQ(store->CommitTransaction(), 0);
    LDBStore::CloseStore(store);
    const std::string listing = List();

    PDMLDBCompactOptions options = Options(1, 0);
    ASSERT_EQ(Compact(options), 0) << testsupport::DescribeTop();
    EXPECT_EQ(options.recordsCopied, 2u);
    const Bytes after = ReadFileBytes(path);
    const uint32_t block = 40 + storegraph::Layout().CurrentClass(LDB_TYPE_APPOBJ)->GetFixedSize();
    EXPECT_EQ(after[block], 0x31);
    EXPECT_EQ(List(), listing);
}

TEST_F(Compaction, AnotherStoreReloadsFromTheNewRootAtItsNextStart) {
    MakeChurnedStore();
    const std::string listing = List();
    LDBStore* other = storegraph::Connect(path);
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(other->StartTransaction(), 0);
    ASSERT_NE(other->GetRoot(), nullptr);
    ASSERT_EQ(other->AbortTransaction(), 0);
    const uint32_t stamp = other->Stamp();

    PDMLDBCompactOptions options = Options(1, 1);
    ASSERT_EQ(Compact(options), 0) << testsupport::DescribeTop();
    ASSERT_EQ(other->StartTransaction(), 0);
    EXPECT_NE(other->Stamp(), stamp);
    std::string failure;
    EXPECT_EQ(storegraph::ListObjects(other, &failure), listing) << failure;
    other->AbortTransaction();
    LDBStore::CloseStore(other);
}

TEST_F(Compaction, FileIsRepairedFirstAndAnOlderOneIsRefused) {
    MakeChurnedStore();
    const std::string listing = List();
    const Bytes clean = ReadFileBytes(path);
    struct Case { const char* name; uint32_t version; uint32_t invalid; int32_t code; };
    const std::vector<Case> cases = {
        // An empty log behind the last commit's: the replay changes nothing.
        {"marked by an interrupted commit", 514, uint32_t(clean.size()), 0},
        {"older version", 257, 0, 2416},
        {"marked unusable", 514, 1, 2411},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        recoverytest::HeaderWords words;
        words.version = c.version;
        words.top = WordAt(clean, 12);
        words.stamp = WordAt(clean, 16);
        words.root = WordAt(clean, 20);
        words.invalid = c.invalid;
        Bytes file = clean;
        file.resize(file.size() + 4, 0);
        Bytes header = recoverytest::HeaderBytes(words);
        std::copy(header.begin(), header.end(), file.begin());
        WriteFileBytes(path, file);
        PDMLDBCompactOptions options = Options(1, 0);
        EXPECT_EQ(Compact(options), c.code);
        if (c.code == 0) {
            EXPECT_EQ(List(), listing);
        } else {
            EXPECT_EQ(options.topBefore, kUntouched);
            testsupport::ClearErrors();
        }
    }
}

TEST_F(Compaction, StoreInATransactionIsRefused) {
    MakeChurnedStore();
    LDBStore* store = storegraph::Connect(path);
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(store->StartTransaction(), 0);
    {
        LDBCompactor compactor(store);
        PDMLDBCompactOptions options = Options(1, 0);
        EXPECT_EQ(compactor.Compact(&options), 2402);
    }
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()), std::vector<std::string>{path});
    testsupport::ClearErrors();
    store->AbortTransaction();
    LDBStore::CloseStore(store);
}

}  // namespace
