#include <memory>

#include <gtest/gtest.h>

#include "fakeowner.h"
#include "srcldb/ldbref.h"
#include "srcldbws/ws.h"
#include "testsupport.h"

namespace {

class PersistentRef : public testsupport::CleanStackTest {};

std::unique_ptr<PDMc_LDBObject> Stored(FakeOwner& owner, uint32_t address) {
    std::unique_ptr<PDMc_LDBObject> object(CreateObjectOfType(&owner, 80, 2));
    owner.Store(object.get(), address);
    return object;
}

}  // namespace

TEST_F(PersistentRef, EachFormGivesItsKeyAndOwner) {
    FakeOwner owner;
    std::unique_ptr<PDMc_LDBObject> stored = Stored(owner, 40);
    PDMc_WS fresh(&owner);

    PDMc_LDBRef null;
    PDMc_LDBRef unresolved;
    unresolved.Set(&owner, 40);
    PDMc_LDBRef resolvedStored(stored.get());
    PDMc_LDBRef resolvedFresh(&fresh);
    PDMc_LDBRef setToZero;
    setToZero.Set(&owner, 0);

    struct Case {
        const char* form;
        const PDMc_LDBRef& ref;
        uint32_t key;
        LDBObjectOwner* owner;
        bool isNull;
    };
    const Case cases[] = {
        {"null", null, 0, nullptr, true},
        {"set to address 0", setToZero, 0, nullptr, true},
        {"unresolved", unresolved, 40, &owner, false},
        {"resolved to a stored object", resolvedStored, 40, &owner, false},
        // A new object has no address until commit.
        {"resolved to a new object", resolvedFresh, 0, &owner, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.form);
        EXPECT_EQ(c.ref.GetKey(), c.key);
        EXPECT_EQ(c.ref.GetOwner(), c.owner);
        EXPECT_EQ(c.ref.IsNull(), c.isNull);
    }

    EXPECT_TRUE(null == setToZero);
    EXPECT_TRUE(unresolved == resolvedStored);
    EXPECT_TRUE(resolvedFresh != null);
    // Two new objects of one owner are indistinguishable by reference.
    PDMc_WS other(&owner);
    EXPECT_TRUE(PDMc_LDBRef(&other) == resolvedFresh);
    FakeOwner elsewhere;
    PDMc_LDBRef foreign;
    foreign.Set(&elsewhere, 40);
    EXPECT_TRUE(foreign != unresolved);
    EXPECT_EQ(owner.lookups, 0);
}

TEST_F(PersistentRef, FollowingLoadsOnceAndAFailedLoadKeepsTheKey) {
    FakeOwner owner;
    std::unique_ptr<PDMc_LDBObject> stored = Stored(owner, 40);

    PDMc_LDBRef ref;
    ref.Set(&owner, 40);
    EXPECT_FALSE(ref.IsResolved());
    EXPECT_EQ(ref.GetTarget(), stored.get());
    EXPECT_EQ(ref.GetTarget(), stored.get());
    EXPECT_EQ(owner.lookups, 1);
    EXPECT_TRUE(ref.IsResolved());
    EXPECT_EQ(ref.GetKey(), 40u);

    PDMc_LDBRef missing;
    missing.Set(&owner, 44);
    EXPECT_EQ(missing.GetTarget(), nullptr);
    EXPECT_EQ(missing.Resolve(), nullptr);
    EXPECT_EQ(owner.lookups, 3);
    EXPECT_EQ(missing.GetKey(), 44u);
    EXPECT_EQ(missing.GetOwner(), &owner);

    // Once the object turns up, the same reference finds it.
    std::unique_ptr<PDMc_LDBObject> late = Stored(owner, 44);
    EXPECT_EQ(missing.GetTarget(), late.get());

    PDMc_LDBRef null;
    EXPECT_EQ(null.GetTarget(), nullptr);
    EXPECT_EQ(null.Resolve(), nullptr);
    EXPECT_EQ(owner.lookups, 4);
}
