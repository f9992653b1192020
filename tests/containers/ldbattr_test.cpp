#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "memstore.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbattrholder.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbroot.h"
#include "testsupport.h"

using containertest::MemStore;

namespace {

class Attributes : public testsupport::CleanStackTest {
protected:
    MemStore store;
};

TEST_F(Attributes, ValueCreatorsSetTheOriginBitsThatSurviveASave) {
    PDMc_LAD* definition = new PDMc_LAD(&store, "colour");
    struct Case {
        const char* what;
        PDMc_LAV* (*make)(PDMc_LAD*);
        uint32_t bitmask;
        bool fileBased;
    };
    const Case cases[] = {
        {"plain", [](PDMc_LAD* d) { return PDMc_LAV::Create(d, PDMc_LDBValue(1)); }, 0, true},
        {"from the database, flag true",
         [](PDMc_LAD* d) { return PDMc_LAV::CreateFromDB(d, true, PDMc_LDBValue(1)); }, 2, false},
        {"from the database, flag false",
         [](PDMc_LAD* d) { return PDMc_LAV::CreateFromDB(d, false, PDMc_LDBValue(1)); }, 6,
         false},
        {"local", [](PDMc_LAD* d) { return PDMc_LAV::CreateLocal(d, PDMc_LDBValue(1)); }, 0,
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PDMc_LAV* value = c.make(definition);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value->GetOwner(), &store);
        EXPECT_TRUE(value->GetAttrDefRef().IsResolved());
        EXPECT_EQ(value->GetAttrDef(), definition);
        EXPECT_EQ(value->GetBitmask(), c.bitmask);
        EXPECT_EQ(value->IsFileBased(), c.fileBased);
        EXPECT_FALSE(value->IsModified());
        ASSERT_EQ(store.Commit(), 0);

        // Flagged modified later, then saved and loaded: every bit comes back.
        value->SetModified(true);
        EXPECT_TRUE(store.IsModified(value));
        ASSERT_EQ(store.Commit(), 0);
        uint32_t address = value->GetStorageAddress();
        uint32_t definitionAt = definition->GetStorageAddress();
        store.DropCache();
        PDMc_LAV* loaded = static_cast<PDMc_LAV*>(store.FindOrLoadObject(address));
        ASSERT_NE(loaded, nullptr);
        EXPECT_EQ(loaded->GetBitmask(), c.bitmask | PDMc_LAV::kModified);
        EXPECT_TRUE(loaded->IsModified());
        EXPECT_EQ(loaded->IsFileBased(), c.fileBased);
        ASSERT_NE(loaded->GetAttrDef(), nullptr);
        EXPECT_STREQ(loaded->GetAttrDef()->GetName().c_str(), "colour");
        definition = static_cast<PDMc_LAD*>(store.FindOrLoadObject(definitionAt));
    }
    EXPECT_EQ(PDMc_LAV::Create(nullptr, PDMc_LDBValue()), nullptr);
    EXPECT_EQ(nyxErrorCurrentCode(), 101);
}

class Holders : public Attributes {
protected:
    // A stored application object with no attribute yet.
    PDMc_LDBAppObj* StoredHolder() {
        PDMc_LDBAppObj* holder = new PDMc_LDBAppObj(&store);
        EXPECT_EQ(store.Commit(), 0);
        return holder;
    }
    PDMc_LDBMap* MapOf(PDMc_LDBObject* holder) { return LDBAttributeMap(*holder->GetAttrs()); }
    PDMc_LAAV* ValueObject(PDMc_LDBObject* holder, const char* name) {
        return static_cast<PDMc_LAAV*>(MapOf(holder)->Find(name));
    }
};

TEST_F(Holders, EachWriteMarksOnlyTheObjectItChanges) {
    PDMc_LDBAppObj* holder = StoredHolder();
    EXPECT_TRUE(holder->GetAttrs()->IsNull());

    // The first attribute makes the map: the holder's member changes.
    ASSERT_EQ(LDBSetAttribute(holder, *holder->GetAttrs(), "a", PDMc_LDBValue(1.5)), 0);
    EXPECT_TRUE(holder->IsModified());
    PDMc_LDBMap* map = MapOf(holder);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->References().Capacity(), 103u);
    ASSERT_EQ(store.Commit(), 0);

    struct Case {
        const char* what;
        const char* name;
        PDMc_LDBValue value;
        bool holderModified, mapModified, valueModified;
    };
    const Case cases[] = {
        {"an equal double", "a", PDMc_LDBValue(1.5), false, false, false},
        {"another value", "a", PDMc_LDBValue(2.5), false, false, true},
        {"another kind", "a", PDMc_LDBValue("text"), false, false, true},
        {"a second name", "b", PDMc_LDBValue(1), false, true, false},
        {"a name in other case", "A", PDMc_LDBValue(1), false, true, false},
        {"removal by an empty value", "b", PDMc_LDBValue(), false, true, false},
        {"removal of an absent name", "zz", PDMc_LDBValue(), false, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PDMc_LAAV* before = ValueObject(holder, "a");
        ASSERT_EQ(LDBSetAttribute(holder, *holder->GetAttrs(), c.name, c.value), 0);
        EXPECT_EQ(holder->IsModified(), c.holderModified);
        EXPECT_EQ(map->IsModified(), c.mapModified);
        EXPECT_EQ(before->IsModified(), c.valueModified);
        ASSERT_EQ(store.Commit(), 0);
    }

    uint32_t address = holder->GetStorageAddress();
    store.DropCache();
    holder = static_cast<PDMc_LDBAppObj*>(store.FindOrLoadObject(address));
    PDMc_LDBValue value;
    ASSERT_EQ(LDBGetAttribute(*holder->GetAttrs(), "a", value), 0);
    EXPECT_STREQ(value.GetString().c_str(), "text");
    ASSERT_EQ(LDBGetAttribute(*holder->GetAttrs(), "A", value), 0);
    EXPECT_EQ(value.GetInteger(), 1);
    // An absent name leaves the value alone.
    ASSERT_EQ(LDBGetAttribute(*holder->GetAttrs(), "b", value), 0);
    EXPECT_EQ(value.GetInteger(), 1);
    EXPECT_EQ(MapOf(holder)->GetCount(), 2u);
}

TEST_F(Holders, RemovingEveryAttributeKeepsAnEmptyMap) {
    PDMc_LDBAppObj* holder = StoredHolder();
    ASSERT_EQ(LDBSetAttribute(holder, *holder->GetAttrs(), "x", PDMc_LDBValue(1)), 0);
    ASSERT_EQ(store.Commit(), 0);
    ASSERT_EQ(LDBRemoveAttribute(*holder->GetAttrs(), "x"), 0);
    EXPECT_FALSE(holder->IsModified());
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = holder->GetStorageAddress();
    store.DropCache();

    holder = static_cast<PDMc_LDBAppObj*>(store.FindOrLoadObject(address));
    EXPECT_FALSE(holder->GetAttrs()->IsNull());
    ASSERT_NE(MapOf(holder), nullptr);
    EXPECT_EQ(MapOf(holder)->GetCount(), 0u);
    // A holder that never had an attribute reads nothing and is no error.
    PDMc_LDBAppObj* bare = StoredHolder();
    PDMc_LDBValue value(4);
    EXPECT_EQ(LDBGetAttribute(*bare->GetAttrs(), "x", value), 0);
    EXPECT_EQ(value.GetInteger(), 4);
    EXPECT_EQ(LDBRemoveAttribute(*bare->GetAttrs(), "x"), 0);
    EXPECT_TRUE(bare->GetAttrs()->IsNull());
}

TEST_F(Holders, AnObjectAttributeIsReplacedOnlyByAnotherObject) {
    PDMc_LDBAppObj* holder = StoredHolder();
    PDMc_LDBAppObj* first = CreateAppObject(&store, "first");
    ASSERT_EQ(LDBSetAttribute(holder, *holder->GetAttrs(), "link", PDMc_LDBValue(PDMc_LDBRef(first))), 0);
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = holder->GetStorageAddress();
    uint32_t firstAt = first->GetStorageAddress();
    store.DropCache();

    holder = static_cast<PDMc_LDBAppObj*>(store.FindOrLoadObject(address));
    PDMc_LDBValue value;
    ASSERT_EQ(LDBGetAttribute(*holder->GetAttrs(), "link", value), 0);
    PDMc_LDBObject* linked = value.GetObject();
    ASSERT_NE(linked, nullptr);
    EXPECT_EQ(linked->GetStorageAddress(), firstAt);
    nyxString type;
    ASSERT_EQ(linked->GetTypeName(type), 0);
    EXPECT_STREQ(type.c_str(), "first");

    // The same object, loaded or given by pointer, is an equal value.
    PDMc_LAAV* stored = ValueObject(holder, "link");
    ASSERT_EQ(LDBSetAttribute(holder, *holder->GetAttrs(), "link", PDMc_LDBValue(PDMc_LDBRef(linked))), 0);
    EXPECT_FALSE(stored->IsModified());
    PDMc_LDBAppObj* second = CreateAppObject(&store, "second");
    ASSERT_EQ(store.Commit(), 0);
    ASSERT_EQ(LDBSetAttribute(holder, *holder->GetAttrs(), "link", PDMc_LDBValue(PDMc_LDBRef(second))), 0);
    EXPECT_TRUE(stored->IsModified());
    EXPECT_EQ(stored->GetValue().GetObject(), second);
}

}  // namespace
