#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "srccldb/cattrval.h"
#include "srcldb/ldbattr.h"
#include "testsupport.h"

using testsupport::Arguments;

namespace {

const CAPIAttrVariant& kObjects = kCAPIAttrObjectVariant;

// A record whose every byte is a marker, so that untouched bytes show.
PDMAttrValue MarkedRecord() {
    PDMAttrValue record;
    std::memset(&record, 0xAB, sizeof record);
    return record;
}

uint64_t PayloadBits(const PDMAttrValue& record) {
    uint64_t bits;
    std::memcpy(&bits, &record.value, sizeof bits);
    return bits;
}

class AttrRecords : public testsupport::CleanStackTest {};

TEST_F(AttrRecords, EachKindGoesOutWithItsPayloadAndLeavesTheReservedBytes) {
    PDMc_LAD target(nullptr, "t");
    struct Case {
        const char* what;
        PDMc_LDBValue value;
        int32_t kind;
        uint64_t payload;  // checked unless the kind is a string
    };
    double d = -0.75;
    uint64_t dBits;
    std::memcpy(&dBits, &d, sizeof dBits);
    const Case cases[] = {
        {"none", PDMc_LDBValue(), PDM_ATTR_NONE, 0},
        {"negative integer", PDMc_LDBValue(-5), PDM_ATTR_INTEGER, 0xFFFFFFFBu},
        {"double", PDMc_LDBValue(d), PDM_ATTR_DOUBLE, dBits},
        {"true", PDMc_LDBValue(true), PDM_ATTR_BOOLEAN, 1},
        {"false", PDMc_LDBValue(false), PDM_ATTR_BOOLEAN, 0},
        {"date", PDMc_LDBValue::FromDateTime(0xFFFFFFFEu), PDM_ATTR_DATETIME, 0xFFFFFFFEu},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PDMAttrValue record = MarkedRecord();
        PDMc_LDBValue value = c.value;
        EXPECT_EQ(CAPIAttrValueToC(value, &record, true), 0);
        EXPECT_EQ(record.kind, c.kind);
        EXPECT_EQ(record.reserved, static_cast<int32_t>(0xABABABABu));
        EXPECT_EQ(PayloadBits(record), c.payload);
    }

    PDMAttrValue record = MarkedRecord();
    PDMc_LDBValue object{PDMc_LDBRef(&target)};
    EXPECT_EQ(CAPIAttrValueToC(object, &record, true, kObjects), 0);
    EXPECT_EQ(record.kind, PDM_ATTR_OBJECT);
    EXPECT_EQ(record.value.obj, reinterpret_cast<LDBObjectHandle>(static_cast<PDMc_LDBObject*>(&target)));
    PDMc_LDBValue none{PDMc_LDBRef()};
    EXPECT_EQ(CAPIAttrValueToC(none, &record, true, kObjects), 0);
    EXPECT_EQ(record.kind, PDM_ATTR_OBJECT);
    EXPECT_EQ(record.value.obj, nullptr);
}

TEST_F(AttrRecords, AStringThroughTheRingOutlivesTheValueAndAStraightOneDoesNot) {
    PDMc_LDBValue value("first");
    PDMAttrValue kept = MarkedRecord();
    PDMAttrValue straight = MarkedRecord();
    ASSERT_EQ(CAPIAttrValueToC(value, &kept, true), 0);
    ASSERT_EQ(CAPIAttrValueToC(value, &straight, false), 0);
    EXPECT_EQ(kept.kind, PDM_ATTR_STRING);
    EXPECT_EQ(straight.value.s, value.GetString().c_str());
    EXPECT_NE(kept.value.s, value.GetString().c_str());
    value.SetString("second");
    EXPECT_STREQ(kept.value.s, "first");
}

TEST_F(AttrRecords, AnObjectValueIsNoKindOfTheItemForm) {
    PDMc_LAD target(nullptr, "t");
    PDMc_LDBValue value{PDMc_LDBRef(&target)};
    PDMAttrValue record = MarkedRecord();
    EXPECT_EQ(CAPIAttrValueToC(value, &record, true), 101);
    EXPECT_EQ(record.kind, PDM_ATTR_NONE);
    EXPECT_EQ(PayloadBits(record), 0u);
    std::vector<std::string> args = Arguments(nyxErrorGetCurrent());
    ASSERT_GE(args.size(), 2u);
    EXPECT_EQ(args[0], "CAPIAttrValueToC");
    EXPECT_EQ(args[1], "srccldb/cattrval");
}

TEST_F(AttrRecords, IncomingKindsBecomeValuesAndUnknownKindsAre1113) {
    PDMc_LAD target(nullptr, "t");
    struct Case {
        const char* what;
        int32_t kind;
        uint64_t payload;
        const CAPIAttrVariant* variant;
        int32_t result;
        PDMc_LDBValue expected;
    };
    const Case cases[] = {
        {"none", PDM_ATTR_NONE, 0x1234, &kCAPIAttrItemVariant, 0, PDMc_LDBValue()},
        {"integer", PDM_ATTR_INTEGER, 0xFFFFFFFF, &kCAPIAttrItemVariant, 0, PDMc_LDBValue(-1)},
        {"boolean from any non-zero word", PDM_ATTR_BOOLEAN, 5, &kCAPIAttrItemVariant, 0,
         PDMc_LDBValue(true)},
        {"boolean zero", PDM_ATTR_BOOLEAN, 0, &kCAPIAttrItemVariant, 0, PDMc_LDBValue(false)},
        {"date", PDM_ATTR_DATETIME, 77, &kCAPIAttrItemVariant, 0, PDMc_LDBValue::FromDateTime(77)},
        {"null text", PDM_ATTR_STRING, 0, &kCAPIAttrItemVariant, 0, PDMc_LDBValue("")},
        {"object in the item form", PDM_ATTR_OBJECT, 0, &kCAPIAttrItemVariant, 1113,
         PDMc_LDBValue()},
        {"kind 7", 7, 0, &kObjects, 1113, PDMc_LDBValue()},
        {"negative kind", -1, 0, &kCAPIAttrItemVariant, 1113, PDMc_LDBValue()},
        {"null object", PDM_ATTR_OBJECT, 0, &kObjects, 0, PDMc_LDBValue(PDMc_LDBRef())},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::ClearErrors();
        PDMAttrValue record = MarkedRecord();
        record.kind = c.kind;
        std::memcpy(&record.value, &c.payload, sizeof c.payload);
        PDMc_LDBValue value("previous");
        EXPECT_EQ(CAPIAttrValueFromC(&record, value, *c.variant), c.result);
        EXPECT_EQ(value.GetKind(), c.expected.GetKind());
        EXPECT_TRUE(value == c.expected);
        if (c.result == 1113) {
            std::vector<std::string> args = Arguments(nyxErrorGetCurrent());
            ASSERT_EQ(args.size(), 1u);
            EXPECT_EQ(args[0], std::to_string(c.kind));
        }
    }

    PDMAttrValue record = MarkedRecord();
    record.kind = PDM_ATTR_OBJECT;
    record.value.obj = reinterpret_cast<LDBObjectHandle>(static_cast<PDMc_LDBObject*>(&target));
    PDMc_LDBValue value;
    testsupport::ClearErrors();
    ASSERT_EQ(CAPIAttrValueFromC(&record, value, kObjects), 0);
    EXPECT_TRUE(value.GetReference().IsResolved());
    EXPECT_EQ(value.GetObject(), &target);
}

TEST_F(AttrRecords, EveryKindRoundTripsAndDoublesKeepTheirBits) {
    PDMc_LAD target(nullptr, "t");
    uint64_t nanBits = 0x7FF8000000ABCDEFull;
    double nan;
    std::memcpy(&nan, &nanBits, sizeof nan);
    const PDMc_LDBValue values[] = {
        PDMc_LDBValue(),           PDMc_LDBValue(123456),      PDMc_LDBValue(nan),
        PDMc_LDBValue(1e300),      PDMc_LDBValue(true),        PDMc_LDBValue("text"),
        PDMc_LDBValue(""),         PDMc_LDBValue::FromDateTime(1), PDMc_LDBValue(PDMc_LDBRef(&target)),
    };
    for (const PDMc_LDBValue& original : values) {
        SCOPED_TRACE(original.GetKind());
        PDMc_LDBValue out = original;
        PDMAttrValue record = MarkedRecord();
        ASSERT_EQ(CAPIAttrValueToC(out, &record, true, kObjects), 0);
        PDMc_LDBValue back;
        ASSERT_EQ(CAPIAttrValueFromC(&record, back, kObjects), 0);
        EXPECT_EQ(back.GetKind(), original.GetKind());
        EXPECT_TRUE(back == original);
        if (original.GetKind() == PDMc_LDBValue::kDouble) {
            uint64_t a, b;
            double x = original.GetDouble(), y = back.GetDouble();
            std::memcpy(&a, &x, sizeof a);
            std::memcpy(&b, &y, sizeof b);
            EXPECT_EQ(a, b);
        }
    }
}

}  // namespace
