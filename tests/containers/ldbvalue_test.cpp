#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "memstore.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbvalue.h"
#include "testsupport.h"

using containertest::MemStore;

namespace {

using Bytes = std::vector<uint8_t>;

uint64_t BitsOf(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

class Values : public testsupport::CleanStackTest {
protected:
    // The value saved in an attribute value object, the cache dropped, and the object loaded
    // again; the nine bytes of the value in its record go to `bytes`.
    PDMc_LDBValue SavedAndLoaded(const PDMc_LDBValue& value, Bytes* bytes = nullptr) {
        PDMc_LAAV* holder = PDMc_LAAV::Create(&store, value);
        EXPECT_EQ(store.Commit(), 0);
        uint32_t address = holder->GetStorageAddress();
        if (bytes != nullptr) {
            const uint8_t* at = store.cursor.BytesAt(address + 2);
            bytes->assign(at, at + 9);
        }
        store.DropCache();
        PDMc_LDBObject* loaded = store.FindOrLoadObject(address);
        EXPECT_NE(loaded, nullptr);
        if (loaded == nullptr) return PDMc_LDBValue();
        return static_cast<PDMc_LAAV*>(loaded)->GetValue();
    }

    MemStore store;
};

TEST_F(Values, EqualityFollowsKindThenPayload) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    PDMc_LAD target(nullptr, "t");
    target.SetStorageAddress(0x50);
    PDMc_LDBRef unresolved;
    unresolved.Set(nullptr, 0x50);
    PDMc_LAD other(nullptr, "o");

    struct Case {
        const char* what;
        PDMc_LDBValue a, b;
        bool equal;
    };
    const Case cases[] = {
        {"two empty values", PDMc_LDBValue(), PDMc_LDBValue(), true},
        {"integers", PDMc_LDBValue(7), PDMc_LDBValue(7), true},
        {"integer and date of one number", PDMc_LDBValue(7), PDMc_LDBValue::FromDateTime(7),
         false},
        {"empty value and empty string", PDMc_LDBValue(), PDMc_LDBValue(""), false},
        {"double 1.5 over 1.5", PDMc_LDBValue(1.5), PDMc_LDBValue(1.5), true},
        {"doubles that differ", PDMc_LDBValue(1.5), PDMc_LDBValue(2.5), false},
        {"NaN equals any double", PDMc_LDBValue(nan), PDMc_LDBValue(2.5), true},
        {"NaN is still no integer", PDMc_LDBValue(nan), PDMc_LDBValue(2), false},
        {"booleans", PDMc_LDBValue(true), PDMc_LDBValue(false), false},
        {"strings by bytes", PDMc_LDBValue("Name"), PDMc_LDBValue("name"), false},
        {"same text", PDMc_LDBValue("x"), PDMc_LDBValue(nyxString("x")), true},
        {"a resolved and an unresolved reference to one object",
         PDMc_LDBValue(PDMc_LDBRef(&target)), PDMc_LDBValue(unresolved), true},
        {"references to two objects", PDMc_LDBValue(PDMc_LDBRef(&target)),
         PDMc_LDBValue(PDMc_LDBRef(&other)), false},
        {"dates", PDMc_LDBValue::FromDateTime(100), PDMc_LDBValue::FromDateTime(100), true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.b == c.a, c.equal);
    }
}

TEST_F(Values, AssignmentReplacesTheKindAndReleasesTheOldString) {
    PDMc_LDBValue value("some text");
    value = PDMc_LDBValue(3);
    EXPECT_EQ(value.GetKind(), PDMc_LDBValue::kInteger);
    EXPECT_TRUE(value.GetString().IsEmpty());
    // Setting a string from its own text must copy before it lets go.
    value.SetString("own");
    value.SetString(value.GetString().c_str());
    EXPECT_STREQ(value.GetString().c_str(), "own");
    value = value;
    EXPECT_STREQ(value.GetString().c_str(), "own");
    value.SetString(nullptr);
    EXPECT_EQ(value.GetKind(), PDMc_LDBValue::kString);
    EXPECT_STREQ(value.GetString().c_str(), "");
    value.Clear();
    EXPECT_EQ(value.GetKind(), PDMc_LDBValue::kNone);
    EXPECT_EQ(value.GetObject(), nullptr);
}

TEST_F(Values, EveryKindSurvivesTheFileWithItsNineBytes) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        const char* what;
        PDMc_LDBValue value;
        Bytes bytes;  // empty: not checked
    };
    const Case cases[] = {
        {"none", PDMc_LDBValue(), {0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"integer 7", PDMc_LDBValue(7), {1, 7, 0, 0, 0, 0, 0, 0, 0}},
        {"negative integer", PDMc_LDBValue(-2), {1, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}},
        {"double", PDMc_LDBValue(1.5), {2, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F}},
        {"NaN", PDMc_LDBValue(nan), {}},
        {"true", PDMc_LDBValue(true), {3, 1, 0, 0, 0, 0, 0, 0, 0}},
        {"false", PDMc_LDBValue(false), {3, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"empty string", PDMc_LDBValue(""), {4, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"string", PDMc_LDBValue("a text"), {}},
        {"date", PDMc_LDBValue::FromDateTime(0x80000001u), {5, 1, 0, 0, 0x80, 0, 0, 0, 0}},
        {"null object", PDMc_LDBValue(PDMc_LDBRef()), {8, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes bytes;
        PDMc_LDBValue back = SavedAndLoaded(c.value, &bytes);
        if (!c.bytes.empty()) {
            EXPECT_EQ(bytes, c.bytes);
        }
        EXPECT_EQ(back.GetKind(), c.value.GetKind());
        EXPECT_TRUE(back == c.value);
        if (c.value.GetKind() == PDMc_LDBValue::kDouble) {
            EXPECT_EQ(BitsOf(back.GetDouble()), BitsOf(c.value.GetDouble()));
        }
        if (c.value.GetKind() == PDMc_LDBValue::kString) {
            EXPECT_STREQ(back.GetString().c_str(), c.value.GetString().c_str());
        }
    }
}

TEST_F(Values, AnObjectValueComesBackUnresolvedAndGivesTheSameObject) {
    PDMc_LAD* target = new PDMc_LAD(&store, "target");
    PDMc_LAAV* holder = PDMc_LAAV::Create(&store, PDMc_LDBValue(PDMc_LDBRef(target)));
    ASSERT_EQ(store.Commit(), 0);
    uint32_t holderAt = holder->GetStorageAddress();
    uint32_t targetAt = target->GetStorageAddress();
    store.DropCache();

    PDMc_LAAV* loaded = static_cast<PDMc_LAAV*>(store.FindOrLoadObject(holderAt));
    ASSERT_NE(loaded, nullptr);
    PDMc_LDBValue& value = loaded->GetValue();
    ASSERT_EQ(value.GetKind(), PDMc_LDBValue::kObject);
    EXPECT_FALSE(value.GetReference().IsResolved());
    EXPECT_EQ(value.GetReference().GetKey(), targetAt);
    EXPECT_EQ(store.loads, 1);
    PDMc_LDBObject* object = value.GetObject();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->GetStorageAddress(), targetAt);
    EXPECT_STREQ(static_cast<PDMc_LAD*>(object)->GetName().c_str(), "target");
    EXPECT_TRUE(value.GetReference().IsResolved());
    EXPECT_EQ(value.GetObject(), object);
    EXPECT_EQ(store.loads, 2);
}

TEST_F(Values, AStoredBooleanIsTrueForAnyNonZeroByte) {
    PDMc_LAAV* holder = PDMc_LAAV::Create(&store, PDMc_LDBValue(true));
    ASSERT_EQ(store.Commit(), 0);
    uint32_t address = holder->GetStorageAddress();
    store.DropCache();
    store.cursor.SetAddress(address + 3);
    ASSERT_EQ(store.cursor.WriteU8(2), 0);
    PDMc_LAAV* loaded = static_cast<PDMc_LAAV*>(store.FindOrLoadObject(address));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetValue().GetKind(), PDMc_LDBValue::kBoolean);
    EXPECT_TRUE(loaded->GetValue().GetBoolean());
    EXPECT_TRUE(loaded->GetValue() == PDMc_LDBValue(true));
}

}  // namespace
