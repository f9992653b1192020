#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "fakeowner.h"
#include "marrows/marrows.h"
#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "testsupport.h"

using testsupport::Arguments;
using testsupport::CleanStackTest;

namespace {

class PersistentObject : public CleanStackTest {};

std::unique_ptr<PDMc_LDBObject> Load(FakeOwner& owner, uint32_t code, uint32_t version,
                                     uint32_t address) {
    PDMc_LDBObject* object = CreateObjectOfType(&owner, code, version);
    if (object != nullptr) owner.Store(object, address);
    return std::unique_ptr<PDMc_LDBObject>(object);
}

// Stands in for classes that aren't stored: the connection and names the check knows.
class NamedObject : public PDMc_LDBObject {
public:
    NamedObject(LDBObjectOwner* owner, uint8_t code, const char* name)
        : PDMc_LDBObject(owner, code, 1), name_(name) {}
    const char* GetClassName() const override { return name_; }

private:
    const char* name_;
};

}  // namespace

TEST_F(PersistentObject, NewObjectIsFreshAndListedOnceHoweverOftenMarked) {
    FakeOwner owner;
    PDMc_WS ws(&owner);
    EXPECT_EQ(ws.GetHeaderWord(), 80u | (2u << 8) | LDB_OBJECT_NEW | LDB_OBJECT_MODIFIED);
    EXPECT_EQ(ws.GetStorageAddress(), 0u);
    EXPECT_EQ(ws.GetOwner(), &owner);
    ws.MarkModified();
    ws.MarkModified();
    EXPECT_EQ(owner.modified, (std::vector<PDMc_LDBObject*>{&ws}));

    EXPECT_EQ(ws.MarkDeleted(), 0);
    EXPECT_TRUE(ws.IsNew() && ws.IsModified() && ws.IsDeleted());
    EXPECT_EQ(owner.modified.size(), 1u);
}

TEST_F(PersistentObject, StoredObjectGoesCleanDirtyDoomedWithOneListEntry) {
    struct Step {
        const char* event;
        void (*apply)(PDMc_LDBObject&);
        bool modified, deleted;
        size_t listed;
    };
    const Step dirtyThenDoomed[] = {
        {"load", [](PDMc_LDBObject&) {}, false, false, 0},
        {"MarkModified", [](PDMc_LDBObject& o) { o.MarkModified(); }, true, false, 1},
        {"MarkModified again", [](PDMc_LDBObject& o) { o.MarkModified(); }, true, false, 1},
        {"MarkDeleted", [](PDMc_LDBObject& o) { o.MarkDeleted(); }, true, true, 1},
        {"abort rereads it", [](PDMc_LDBObject& o) { o.ClearModifiedAndDeleted(); }, false, false, 1},
    };
    FakeOwner owner;
    std::unique_ptr<PDMc_LDBObject> object = Load(owner, 83, 2, 0x1234);
    ASSERT_NE(object, nullptr);
    for (const Step& step : dirtyThenDoomed) {
        SCOPED_TRACE(step.event);
        step.apply(*object);
        EXPECT_FALSE(object->IsNew());
        EXPECT_EQ(object->IsModified(), step.modified);
        EXPECT_EQ(object->IsDeleted(), step.deleted);
        EXPECT_EQ(owner.modified.size(), step.listed);
        EXPECT_EQ(object->GetStorageAddress(), 0x1234u);
    }

    // Deleting a clean object lists it as well.
    FakeOwner other;
    std::unique_ptr<PDMc_LDBObject> clean = Load(other, 80, 2, 40);
    clean->MarkDeleted();
    EXPECT_TRUE(clean->IsModified() && clean->IsDeleted());
    EXPECT_EQ(other.modified, (std::vector<PDMc_LDBObject*>{clean.get()}));

    // Commit clears new and modified; a committed object is listed again on its next change.
    PDMc_WS fresh(&other);
    fresh.ClearNewAndModified();
    EXPECT_EQ(fresh.GetHeaderWord() & 0xFFFF0000u, 0u);
    fresh.MarkModified();
    EXPECT_EQ(other.modified.size(), 3u);
}

TEST_F(PersistentObject, CopyIsANewObjectWithoutTheSourcesAddressOrFlags) {
    FakeOwner owner;
    std::unique_ptr<PDMc_LDBObject> stored = Load(owner, 80, 2, 0x2000);
    stored->MarkDeleted();
    PDMc_WS copy(*static_cast<PDMc_WS*>(stored.get()));
    EXPECT_EQ(copy.GetStorageAddress(), 0u);
    EXPECT_EQ(copy.GetHeaderWord(), 80u | (2u << 8) | LDB_OBJECT_NEW | LDB_OBJECT_MODIFIED);
    EXPECT_EQ(copy.GetOwner(), &owner);
    EXPECT_EQ(owner.modified, (std::vector<PDMc_LDBObject*>{stored.get(), &copy}));
}

TEST_F(PersistentObject, ConnectionObjectNeverJoinsTheModifiedList) {
    FakeOwner owner;
    NamedObject connection(&owner, 79, "PDMc_LDB");
    connection.MarkModified();
    connection.MarkDeleted();
    EXPECT_TRUE(owner.modified.empty());
    EXPECT_TRUE(connection.IsNew());
    EXPECT_FALSE(connection.IsModified());
}

TEST_F(PersistentObject, FactoryMakesExactlyTheStoredClassesUnflagged) {
    const std::map<uint32_t, const char*> classNames = {
        {64, "PDMc_LDBRoot"}, {65, "PDMc_LDBArray"}, {66, "PDMc_LDBStringMap"},
        {80, "PDMc_WS"},      {81, "PDMc_WSPI"},     {82, "PDMc_WSPIV"},
        {83, "PDMc_WSD"},     {84, "PDMc_WSDD"},     {85, "PDMc_WSGIR"},
        {86, "PDMc_LIL"},     {87, "PDMc_LILV"},     {88, "PDMc_LPI"},
        {89, "PDMc_LPITD"},   {90, "PDMc_LUF"},      {91, "PDMc_LUFI"},
        {92, "PDMc_LUFLI"},   {93, "PDMc_LAV"},      {94, "PDMc_LAD"},
        {95, "PDMc_LF"},      {96, "PDMc_LDBAppObj"}, {97, "PDMc_LAAV"},
    };
    FakeOwner owner;
    for (uint32_t code = 0; code < 256; ++code) {
        SCOPED_TRACE(code);
        std::unique_ptr<PDMc_LDBObject> object(CreateObjectOfType(&owner, code, 7));
        auto known = classNames.find(code);
        if (known == classNames.end()) {
            EXPECT_EQ(object, nullptr);
            continue;
        }
        ASSERT_NE(object, nullptr);
        EXPECT_STREQ(object->GetClassName(), known->second);
        EXPECT_EQ(object->GetHeaderWord(), code | (7u << 8));
        EXPECT_EQ(object->GetOwner(), &owner);
        EXPECT_EQ(object->GetStorageAddress(), 0u);
    }
    EXPECT_TRUE(owner.modified.empty());
    EXPECT_EQ(nyxErrorCurrentCode(), 0);
}

TEST_F(PersistentObject, TypeNamesAreTheStoredOnesOrError114) {
    const std::map<uint32_t, const char*> typeNames = {
        {80, "MFWS"},    {81, "MFWSPI"},    {82, "MFWSPIV"},  {83, "MFWSD"},
        {84, "MFWSDD"},  {85, "MFWSGIR"},   {86, "MFWSLIL"},  {87, "MFWSLILV"},
        {88, "MFWSLPI"}, {89, "MFWSLPITD"}, {90, "MFWSLUF"},  {97, "MFLAAV"},
    };
    FakeOwner owner;
    for (uint32_t code : {64, 65, 66, 80, 81, 82, 83, 84, 85, 86, 87, 88, 89, 90, 91, 92, 93, 94,
                          95, 97}) {
        SCOPED_TRACE(code);
        testsupport::ClearErrors();
        std::unique_ptr<PDMc_LDBObject> object(CreateObjectOfType(&owner, code, 1));
        nyxString name("before");
        int32_t rc = object->GetTypeName(name);
        auto known = typeNames.find(code);
        if (known != typeNames.end()) {
            EXPECT_EQ(rc, 0);
            EXPECT_STREQ(name.c_str(), known->second);
        } else {
            EXPECT_EQ(rc, 114);
            EXPECT_STREQ(name.c_str(), "before");
            EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
                      std::vector<std::string>{"IllegalObjectType"});
        }
    }
}

TEST_F(PersistentObject, AppObjectIsNamedByItsOwnType) {
    LDBStorageLayout layout;
    ASSERT_EQ(LDBDefineSchema(layout), 0);
    FakeOwner owner;
    PDMc_LDBAppObj object(&owner);
    const LDBMemberDescriptor* type = layout.CurrentClass(96)->FindMember("m_type");
    *static_cast<nyxString*>(type->GetPlace().FieldIn(&object)) = "Drawing Sheet";
    nyxString name;
    EXPECT_EQ(object.GetTypeName(name), 0);
    EXPECT_STREQ(name.c_str(), "Drawing Sheet");
}

TEST_F(PersistentObject, ValidateAcceptsOnlyTheHandleClasses) {
    struct Case {
        uint8_t code;
        const char* className;
        bool valid;
    };
    const Case cases[] = {
        {79, "PDMc_LDB", true},    {80, "PDMc_WS", true},     {81, "PDMc_WSPI", true},
        {82, "PDMc_WSPIV", true},  {86, "PDMc_LIL", true},    {87, "PDMc_LILV", true},
        {90, "PDMc_LUF", true},    {83, "PDMc_WSD", true},    {85, "PDMc_GIR", true},
        {96, "PDMc_LDBAppObj", true},
        {85, "PDMc_WSGIR", false}, {64, "PDMc_LDBRoot", false}, {89, "PDMc_LPITD", false},
        {66, "PDMc_LDBStringMap", false}, {97, "PDMc_LAAV", false}, {80, "pdmc_ws", false},
    };
    FakeOwner owner;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.className);
        testsupport::ClearErrors();
        NamedObject object(&owner, c.code, c.className);
        if (c.valid) {
            EXPECT_EQ(object.Validate(), 0);
            EXPECT_EQ(nyxErrorCurrentCode(), 0);
        } else {
            EXPECT_EQ(object.Validate(), 2414);
            EXPECT_EQ(nyxErrorGetCurrent()->severity, 2);
            EXPECT_EQ(Arguments(nyxErrorGetCurrent()),
                      (std::vector<std::string>{"Validate", c.className}));
        }
    }
    // A real relation object fails the same way.
    testsupport::ClearErrors();
    std::unique_ptr<PDMc_LDBObject> relation(CreateObjectOfType(&owner, 85, 2));
    EXPECT_EQ(relation->Validate(), 2414);
}

TEST_F(PersistentObject, OnlyAttributeHoldersShowTheirAttributes) {
    FakeOwner owner;
    for (uint32_t code : {64, 65, 66, 80, 81, 82, 83, 84, 85, 86, 87, 88, 89, 90, 91, 92, 93, 94,
                          95, 96, 97}) {
        SCOPED_TRACE(code);
        std::unique_ptr<PDMc_LDBObject> object(CreateObjectOfType(&owner, code, 1));
        bool holder = code == 64 || code == 80 || code == 81 || code == 82 || code == 90 ||
                      code == 96;
        EXPECT_EQ(object->GetAttrs() != nullptr, holder);
        if (holder) {
            EXPECT_TRUE(object->GetAttrs()->IsNull());
        }
    }
}

TEST_F(PersistentObject, DumpShowsTypeAddressAndFlags) {
    struct Case {
        uint8_t code;
        const char* typeLine;
    };
    for (const Case& c : {Case{83, "  Type: WSD (S)\n"}, Case{80, "  Type: UNKNOWN (P)\n"}}) {
        FakeOwner owner;
        std::unique_ptr<PDMc_LDBObject> object = Load(owner, c.code, 2, 0x1a2b);
        object->MarkDeleted();
        char* text = nullptr;
        size_t size = 0;
        FILE* out = open_memstream(&text, &size);
        ASSERT_EQ(object->Dump(out), out);
        std::fclose(out);
        std::string dump(text, size);
        std::free(text);
        char memoryLine[64];
        std::snprintf(memoryLine, sizeof memoryLine, "  Memory Address: %p\n",
                      static_cast<void*>(object.get()));
        EXPECT_EQ(dump, std::string("Object\n") + c.typeLine + memoryLine +
                            "  Storage Address: 1a2b\n  Modified: true\n  Deleted: true\n");
    }
}
