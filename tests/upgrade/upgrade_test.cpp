// The upgrade of old-format files: every value and every object comes through once in the
// current byte forms; current and newer files are left alone; damaged files fail and stay as
// they were; a crash at any step leaves a file that upgrades to the same bytes.
#include <map>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "oldstore.h"
#include "srcldb/ldbcodec.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbstore.h"
#include "srcldb/ldbupgobj.h"
#include "srcldb/ldbupgrade.h"
#include "srcldb/ldbvalue.h"
#include "testsupport.h"

using oldstore::Bytes;
using oldstore::Layout;
using oldstore::OldStore;
using testsupport::ReadFileBytes;
using testsupport::WriteFileBytes;

namespace {

uint32_t Word(const Bytes& file, uint32_t at) { return LDBDecodeU32(&file[at]); }

// A store of most classes that have an old layout, with cycles (workspace and frame, item and
// version, library and its version) and a version whose version byte is already 2.
struct Sample {
    OldStore store;
    uint32_t ws, luf, wspiv, lilv;
    std::map<uint8_t, int> classes;  // objects per class code

    Sample() {
        uint32_t root = Obj(64);
        ws = Obj(80), luf = Obj(90), wspiv = Obj(82, 2), lilv = Obj(87);
        uint32_t wspi = Obj(81), lufi = Obj(91), lpi = Obj(88), lf = Obj(95), lav = Obj(93);
        uint32_t lad = Obj(94), lil = Obj(86), wsd = Obj(83);
        const struct {
            uint32_t object;
            const char* member;
            uint32_t value;
        } words[] = {
            {root, "m_workspaces", Map({{"alpha", ws}})},
            {root, "m_attr_defs", Map({{"colour", lad}})},
            {ws, "m_undo_stack", Array({luf})},   {ws, "m_luf", luf},
            {ws, "m_user_data_id", 1234},         {ws, "m_auto_set_is_modified", 1},
            {luf, "m_ws", ws},                    {luf, "m_lufi_items", Map({{"item", lufi}})},
            {luf, "m_user_data_id", 77},          {lufi, "m_wspi", wspi},
            {lufi, "m_lpi", lpi},                 {lpi, "m_lufi", lufi},
            {wspi, "m_shortcut_current_piv", wspiv}, {wspiv, "m_workspace", ws},
            {wspiv, "m_has_instances", 1},        {wspiv, "m_is_repository_ref", 1},
            {wspiv, "m_files", Array({lf})},      {wspiv, "m_attr_values", Map({{"colour", lav}})},
            {wspiv, "m_dependencies", Array({wsd})}, {wspiv, "m_user_data_id", 4321},
            {wspiv, "m_modification_stamp", 4000}, {wspiv, "m_lil", lil},
            {wsd, "m_parent_piv", wspiv},         {lf, "m_is_modified", 1},
            {lav, "m_attrdef", lad},              {lav, "m_value", 42 << 8 | 1},  // an integer
            {lil, "m_shortcut_current_lilv", lilv}, {lilv, "m_lil", lil},
            {lilv, "m_is_modified", 1},
        };
        for (const auto& word : words) store.Word(word.object, word.member, word.value);
        store.Text(ws, "m_name", "alpha");
        store.Text(wspiv, "m_target_revision", "B");
        store.Text(lf, "m_file_name", "a.txt");
        store.List(lilv, "m_orig_members", LDB_BLOCK_INT32, {5, 6, 7});
    }
    uint32_t Obj(uint8_t code, uint8_t versionByte = 1) {
        ++classes[code];
        return store.Object(code, versionByte);
    }
    uint32_t Array(const std::vector<uint32_t>& elements) {
        ++classes[65];
        return store.ArrayObject(elements);
    }
    uint32_t Map(const oldstore::Entries& entries) {
        ++classes[66];
        return store.MapObject(entries);
    }
};

// Walks the records of a current file in order: objects per class code and the version byte of
// each class. Any byte that starts no record of the current format is a problem.
std::map<uint8_t, int> Records(const Bytes& file, std::map<uint8_t, uint8_t>& versions,
                               std::string& problem) {
    std::map<uint8_t, int> counts;
    for (uint32_t at = 40; at < file.size();) {
        uint8_t first = file[at];
        if (first < 64 && (first & LDB_BLOCK_DWORD_COUNT) != 0) {
            uint8_t count[4] = {0, 0, 0, 0};
            std::copy_n(&file[at + 1], LDBBlockCountWidth(first), count);
            uint32_t width = (first & LDB_BLOCK_KIND_MASK) == LDB_BLOCK_BYTES ? 1 : 4;
            at += 1 + LDBBlockCountWidth(first) + width * LDBDecodeU32(count);
        } else if (const LDBClassDescriptor* descriptor = Layout().CurrentClass(first)) {
            ++counts[first];
            versions[first] = file[at + 1];
            at += descriptor->GetFixedSize();
        } else {
            problem = "no record at " + std::to_string(at);
            break;
        }
    }
    return counts;
}

template <class T>
T& Field(PDMc_LDBObject* object, const char* name) {
    const LDBClassDescriptor* descriptor = Layout().CurrentClass(object->GetTypeCode());
    return *static_cast<T*>(descriptor->FindMember(name)->GetPlace().FieldIn(object));
}

PDMc_LDBObject* Follow(PDMc_LDBObject* object, const char* name) {
    return Field<PDMc_LDBRef>(object, name).GetTarget();
}

// The value under key in the stored map that the member refers to.
PDMc_LDBObject* Entry(PDMc_LDBObject* object, const char* name, const char* key) {
    return Field<LDBRefMapRep>(Follow(object, name), "m_rep").Find(key)->GetTarget();
}

class UpgradeTest : public testsupport::CleanStackTest {
protected:
    testsupport::TempDir dir;
    std::string path = dir.File("old.ldb");
};

}  // namespace

TEST_F(UpgradeTest, OldFileComesOutCurrentWithEveryValueOnce) {
    Sample sample;
    const Bytes old = sample.store.File();
    WriteFileBytes(path, old);
    int compatible = 0;
    EXPECT_EQ(PDMIsLDBCompatible(path.c_str(), "", &compatible), 2416);
    EXPECT_EQ(compatible, 1);
    testsupport::ClearErrors();

    ASSERT_EQ(PDMLDBUpgrade(path.c_str()), 0) << testsupport::DescribeTop();
    const Bytes file = ReadFileBytes(path);
    EXPECT_EQ(Word(file, 4), 514u);
    EXPECT_EQ(Word(file, 12), file.size()) << "the file ends at its top";
    EXPECT_EQ(Word(file, 16), 8u) << "a new stamp";
    std::map<uint8_t, uint8_t> versions;
    std::string problem;
    EXPECT_EQ(Records(file, versions, problem), sample.classes) << "every object exactly once";
    EXPECT_EQ(problem, "");
    const std::map<uint8_t, uint8_t> expected = {
        {64, 2}, {65, 1}, {66, 1}, {80, 2}, {81, 2}, {82, 2}, {83, 2}, {86, 2},
        {87, 2}, {88, 1}, {90, 2}, {91, 1}, {93, 1}, {94, 1}, {95, 2}};
    EXPECT_EQ(versions, expected);

    EXPECT_EQ(PDMIsLDBCompatible(path.c_str(), "", &compatible), 0);
    EXPECT_EQ(compatible, 1);
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);

    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    ASSERT_NE(store, nullptr);
    store->SetLayout(&Layout());
    ASSERT_EQ(store->StartTransaction(), 0);
    PDMc_LDBObject* root = store->GetRoot();
    ASSERT_NE(root, nullptr);
    EXPECT_TRUE(Field<PDMc_LDBRef>(root, "m_attrs").IsNull());
    PDMc_LDBObject* ws = Entry(root, "m_workspaces", "alpha");
    ASSERT_NE(ws, nullptr);
    EXPECT_STREQ(Field<nyxString>(ws, "m_name").c_str(), "alpha");
    EXPECT_EQ(Field<int32_t>(ws, "m_user_data_id"), 1234) << "moved behind m_attrs";
    EXPECT_TRUE(Field<uint8_t>(ws, "m_auto_set_is_modified"));
    EXPECT_FALSE(Field<uint8_t>(ws, "m_is_ws_under_integration"));
    // The boolean that took four bytes takes one, followed at once by the new one.
    EXPECT_EQ(file[ws->GetStorageAddress() + 42], 1);
    EXPECT_EQ(file[ws->GetStorageAddress() + 43], 0);
    PDMc_LDBObject* luf = Follow(ws, "m_luf");
    EXPECT_EQ(Follow(luf, "m_ws"), ws) << "the cycle points back at the one copy";
    EXPECT_TRUE(Field<nyxString>(luf, "m_description").IsEmpty());
    EXPECT_EQ(Field<int32_t>(luf, "m_user_data_id"), 77);
    // The array that had only its address now has its count word too.
    uint32_t array = Field<PDMc_LDBRef>(ws, "m_undo_stack").GetKey();
    EXPECT_EQ(Word(file, array + 2), 1u);
    EXPECT_EQ(Word(file, Word(file, array + 6) + 2), luf->GetStorageAddress());

    PDMc_LDBObject* wspiv =
        Follow(Follow(Entry(luf, "m_lufi_items", "item"), "m_wspi"), "m_shortcut_current_piv");
    ASSERT_NE(wspiv, nullptr);
    EXPECT_EQ(Field<int32_t>(wspiv, "m_user_data_id"), 4321) << "moved to the end";
    EXPECT_EQ(Field<uint32_t>(wspiv, "m_modification_stamp"), 4000u);
    EXPECT_STREQ(Field<nyxString>(wspiv, "m_target_revision").c_str(), "B");
    EXPECT_TRUE(Field<uint8_t>(wspiv, "m_has_instances"));
    EXPECT_TRUE(Field<uint8_t>(wspiv, "m_is_repository_ref"));
    EXPECT_FALSE(Field<uint8_t>(wspiv, "m_hold_from_submission"));
    EXPECT_EQ(Field<int32_t>(wspiv, "m_ws_status"), 0);
    PDMc_LDBObject* lav = Entry(wspiv, "m_attr_values", "colour");
    EXPECT_EQ(Field<PDMc_LDBValue>(lav, "m_value").GetInteger(), 42);
    PDMc_LDBObject* lf =
        Field<LDBRefArrayRep>(Follow(wspiv, "m_files"), "m_rep").At(0).GetTarget();
    EXPECT_TRUE(Field<uint8_t>(lf, "m_is_modified"));
    EXPECT_EQ(Field<uint32_t>(lf, "m_modification_stamp"), 0u);
    PDMc_LDBObject* lilv = Follow(Follow(wspiv, "m_lil"), "m_shortcut_current_lilv");
    LDBIdArrayRep& ids = Field<LDBIdArrayRep>(lilv, "m_orig_members");
    ASSERT_EQ(ids.Count(), 3u);
    EXPECT_EQ(ids.At(2), 7u);
    EXPECT_TRUE(Field<uint8_t>(lilv, "m_is_modified"));
    store->AbortTransaction();
    LDBStore::CloseStore(store);
}

TEST_F(UpgradeTest, CurrentNewerEmptyAndConnectedFiles) {
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBCreate(path.c_str(), &ldb), 0);
    EXPECT_EQ(PDMLDBUpgrade(path.c_str()), 2412) << "connected in this process";
    testsupport::ClearErrors();
    ASSERT_EQ(PDMLDBDisconnect(ldb), 0);
    const Bytes current = ReadFileBytes(path);
    EXPECT_EQ(PDMLDBUpgrade(path.c_str()), 0);
    EXPECT_EQ(ReadFileBytes(path), current) << "nothing to do, and the stamp stays";

    const Bytes newer = OldStore().File(515);
    WriteFileBytes(path, newer);
    EXPECT_EQ(PDMLDBUpgrade(path.c_str()), 2404);
    EXPECT_EQ(ReadFileBytes(path), newer);
    testsupport::ClearErrors();

    // A file that never stored a root becomes an empty current one, which a connect fills.
    WriteFileBytes(path, OldStore().File());
    ASSERT_EQ(PDMLDBUpgrade(path.c_str()), 0) << testsupport::DescribeTop();
    const Bytes empty = ReadFileBytes(path);
    EXPECT_EQ(empty.size(), 40u);
    EXPECT_EQ(Word(empty, 4), 514u);
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
}

TEST_F(UpgradeTest, DamagedFilesFailWithARecordAndStayAsTheyWere) {
    Sample sample;
    OldStore& store = sample.store;
    const uint32_t luf = store.At(sample.ws, "m_luf");
    const uint32_t name = Word(store.File(), store.At(sample.ws, "m_name"));
    struct Damage {
        const char* what;
        uint32_t at, word;
        const char* message;  // the top record's, when it is the upgrade's own
    };
    const char* unknown = "LDBUpgrade LoadObject: unknown object type";
    const Damage damages[] = {
        {"reference beyond the file", luf, 0x7FFF0000, nullptr},
        {"reference into a string", luf, name + 1, unknown},
        {"unknown class code", sample.lilv, 70, unknown},
        {"class version without a layout", sample.luf, 0x035A, unknown},
        {"string block beyond the file", name, 0xFFFFFF31, nullptr},
    };
    for (const Damage& damage : damages) {
        Bytes bytes = store.File();
        std::copy_n(reinterpret_cast<const unsigned char*>(&damage.word),
                    damage.word > 0xFFFF || damage.at == luf ? 4 : 2, &bytes[damage.at]);
        WriteFileBytes(path, bytes);
        EXPECT_NE(PDMLDBUpgrade(path.c_str()), 0) << damage.what;
        ASSERT_NE(nyxErrorGetCurrent(), nullptr) << damage.what;
        if (damage.message != nullptr) {
            EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()).at(0), damage.message);
        }
        EXPECT_EQ(ReadFileBytes(path), bytes) << damage.what;
        testsupport::ClearErrors();
    }

    // Random bytes changed: either a file that still upgrades, or a record and the old bytes.
    std::mt19937 random(11);
    const Bytes good = store.File();
    for (int round = 0; round < 200; ++round) {
        Bytes bytes = good;
        for (int i = 0; i < 3; ++i)
            bytes[40 + random() % (bytes.size() - 40)] = static_cast<unsigned char>(random());
        WriteFileBytes(path, bytes);
        if (PDMLDBUpgrade(path.c_str()) != 0) {
            EXPECT_NE(nyxErrorGetCurrent(), nullptr);
            EXPECT_EQ(ReadFileBytes(path), bytes) << "round " << round;
        } else {
            EXPECT_EQ(Word(ReadFileBytes(path), 4), 514u) << "round " << round;
        }
        testsupport::ClearErrors();
    }
}

TEST_F(UpgradeTest, ObjectsThatReachThemselvesAreWrittenOnce) {
    OldStore store;
    uint32_t root = store.Object(64);
    uint32_t array = store.ArrayObject({});
    store.List(array, "m_rep", LDB_BLOCK_ADDRESSES, {array, array});
    store.Word(root, "m_dep_defs", array);
    WriteFileBytes(path, store.File());
    ASSERT_EQ(PDMLDBUpgrade(path.c_str()), 0) << testsupport::DescribeTop();
    const Bytes file = ReadFileBytes(path);
    std::map<uint8_t, uint8_t> versions;
    std::string problem;
    const std::map<uint8_t, int> once = {{64, 1}, {65, 1}};
    EXPECT_EQ(Records(file, versions, problem), once);
    const uint32_t copy = Word(file, 40 + 14);
    const uint32_t block = Word(file, copy + 6);
    EXPECT_EQ(Word(file, block + 2), copy);
    EXPECT_EQ(Word(file, block + 6), copy);
}

TEST_F(UpgradeTest, FixupStepsReportAVersionOrMemberThatDoesNotFit) {
    LDBStore store(nullptr, path.c_str());
    LDBUpgrader upgrader(&store, Layout());
    LDBUpgradeObject ws(&upgrader, 40);
    ws.SetHead(80, 2);
    EXPECT_EQ(ws.CheckVersion(1), 101);
    const std::vector<std::string> arguments = testsupport::Arguments(nyxErrorGetCurrent());
    EXPECT_EQ(arguments.at(0), "LDBUpgrade CheckVersion object version mismatch");
    EXPECT_EQ(arguments.at(1), "srcldb/ldbupgobj");
    testsupport::ClearErrors();
    EXPECT_EQ(ws.SetMember("m_user_data_id", int32_t(5)), 0);
    EXPECT_EQ(ws.SetMember("m_is_ws_under_integration", uint8_t(1)), 0);
    EXPECT_EQ(ws.SetMember("m_creation_stamp", LDBUpgradeDate{9}), 0);
    EXPECT_EQ(ws.SetMember("m_name", "w"), 0);
    EXPECT_EQ(ws.SetMember("m_luf", PDMc_LDBRef()), 0);
    EXPECT_TRUE(nyxErrorStackEmpty());
    const int misfits[] = {ws.SetMember("m_no_such", int32_t(1)),
                           ws.SetMember("m_name", int32_t(1)), ws.SetMember("m_attrs", uint8_t(1)),
                           ws.SetMember("m_luf", "x")};
    for (int rc : misfits) EXPECT_EQ(rc, 101);
    EXPECT_EQ(testsupport::StackCodes().size(), 4u);
    EXPECT_EQ(testsupport::Arguments(nyxErrorGetCurrent()).at(0),
              "LDBUpgrade: SetMember unknown member");
}

TEST_F(UpgradeTest, CrashOrFailureAtAnyStepLeavesAFileThatUpgradesToTheSameBytes) {
    const Bytes old = Sample().store.File();
    WriteFileBytes(path, old);
    ASSERT_EQ(PDMLDBUpgrade(path.c_str()), 0) << testsupport::DescribeTop();
    const Bytes upgraded = ReadFileBytes(path);
    // An open after the header's mark finishes the job; before it, the old file upgrades anew.
    auto finishes = [&]() -> std::string {
        testsupport::ClearErrors();
        if (PDMLDBUpgrade(path.c_str()) != 0) return "no upgrade: " + testsupport::DescribeTop();
        // A crash before the last truncate leaves a tail behind the top, of no meaning.
        Bytes now = ReadFileBytes(path);
        if (now.size() > upgraded.size()) now.resize(upgraded.size());
        return now == upgraded ? "" : "other bytes than a plain upgrade";
    };
    int points = testsupport::CrashAtEveryStep(
        [&] { WriteFileBytes(path, old); }, [&] { return PDMLDBUpgrade(path.c_str()); },
        [&](const testsupport::CrashRun&) { return finishes(); });
    EXPECT_GT(points, 10);
    for (int k = 1; k <= points; ++k) {
        WriteFileBytes(path, old);
        testsupport::FailStepOnce(k, [&] { PDMLDBUpgrade(path.c_str()); });
        EXPECT_EQ(finishes(), "") << "after step " << k << " failed";
    }
}

TEST_F(UpgradeTest, HealthyOldModelPassesTheIntegrityCheck) {
    WriteFileBytes(path, oldstore::HealthyStore());
    ASSERT_EQ(PDMLDBUpgrade(path.c_str()), 0) << testsupport::DescribeTop();
    LDBHandle ldb = nullptr;
    ASSERT_EQ(PDMLDBConnect(path.c_str(), &ldb), 0) << testsupport::DescribeTop();
    ASSERT_EQ(PDMLDBStartTransaction(ldb), 0);
    int found = -1;
    std::string findings = testsupport::CaptureStdout([&] {
        EXPECT_EQ(PDMLDBCheckIntegrity(ldb, &found), 0) << testsupport::DescribeTop();
    });
    EXPECT_EQ(findings, "");
    EXPECT_EQ(found, 0);
    WorkspaceHandle ws = nullptr;
    ASSERT_EQ(PDMLDBGetWorkspaceByName(ldb, "alpha", &ws), 0);
    WSPIHandle instance = nullptr;
    ASSERT_EQ(PDMWorkspaceGetWSPIByName(ws, "bracket-1", &instance), 0);
    WSLILHandle library = nullptr;
    ASSERT_EQ(PDMWSPIGetCurrWSPIVLIL(instance, &library), 0);
    ASSERT_EQ(PDMWSLILExtractInstance(library, instance), 0) << testsupport::DescribeTop();
    findings = testsupport::CaptureStdout([&] { PDMWorkspaceCheckIntegrity(ws, &found); });
    EXPECT_EQ(findings, "") << "the upgraded model works as one made here";
    ASSERT_EQ(PDMLDBCommitTransaction(ldb), 0) << testsupport::DescribeTop();
    EXPECT_EQ(PDMLDBDisconnect(ldb), 0);
}
