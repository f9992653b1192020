// Distinct sample values for members of every type, and their comparison, so that a record can
// be filled, written, read back and checked member by member without naming the fields.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbobjectowner.h"

namespace memberfill {

// Puts a value derived from seed into field, a member of the type.
inline void Fill(uint16_t type, void* field, uint32_t seed, LDBObjectOwner* owner) {
    std::string text = "sample " + std::to_string(seed);
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt32:
            *static_cast<int32_t*>(field) = -1000 * static_cast<int32_t>(seed) - 7;
            break;
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime:
            *static_cast<uint32_t*>(field) = 0xA0000000u + seed * 0x10203u;
            break;
        case LDBMemberFamily::kBoolean: *static_cast<uint8_t*>(field) = 1; break;
        case LDBMemberFamily::kString: *static_cast<nyxString*>(field) = text.c_str(); break;
        case LDBMemberFamily::kReference:
            static_cast<PDMc_LDBRef*>(field)->Set(owner, 0x1000 + seed * 4);
            break;
        case LDBMemberFamily::kValue:
            static_cast<PDMc_LDBValue*>(field)->SetString(text.c_str());
            break;
        case LDBMemberFamily::kRefArray: {
            LDBRefArrayRep* array = static_cast<LDBRefArrayRep*>(field);
            ASSERT_EQ(array->SetCount(2), 0);
            array->At(0).Set(owner, 0x2000 + seed);
            array->At(1).Set(owner, 0x3000 + seed);
            break;
        }
        case LDBMemberFamily::kIdArray: {
            LDBIdArrayRep* array = static_cast<LDBIdArrayRep*>(field);
            ASSERT_EQ(array->SetCount(3), 0);
            for (uint32_t i = 0; i < 3; ++i) array->SetAt(i, seed * 100 + i);
            break;
        }
        case LDBMemberFamily::kRefMap: {
            LDBRefMapRep* map = static_cast<LDBRefMapRep*>(field);
            PDMc_LDBRef first, second;
            first.Set(owner, 0x4000 + seed);
            second.Set(owner, 0x5000 + seed);
            ASSERT_EQ(map->Insert(nyxString(("key " + text).c_str()), first), 0);
            ASSERT_EQ(map->Insert(nyxString(""), second), 0);
            break;
        }
        default: FAIL() << "no sample for member type " << type;
    }
}

struct MapLookup {
    LDBRefMapRep* other;
    int mismatches;
};

inline int32_t CheckEntry(void* context, const nyxString& key, const PDMc_LDBRef& value) {
    MapLookup* lookup = static_cast<MapLookup*>(context);
    PDMc_LDBRef* found = lookup->other->Find(key.c_str());
    if (found == nullptr || !(*found == value)) ++lookup->mismatches;
    return 0;
}

inline void ExpectSame(uint16_t type, void* expected, void* actual) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt32:
            EXPECT_EQ(*static_cast<int32_t*>(actual), *static_cast<int32_t*>(expected));
            break;
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime:
            EXPECT_EQ(*static_cast<uint32_t*>(actual), *static_cast<uint32_t*>(expected));
            break;
        case LDBMemberFamily::kBoolean:
            EXPECT_EQ(*static_cast<uint8_t*>(actual), *static_cast<uint8_t*>(expected));
            break;
        case LDBMemberFamily::kString:
            EXPECT_STREQ(static_cast<nyxString*>(actual)->c_str(),
                         static_cast<nyxString*>(expected)->c_str());
            break;
        case LDBMemberFamily::kReference: {
            const PDMc_LDBRef* ref = static_cast<PDMc_LDBRef*>(actual);
            EXPECT_FALSE(ref->IsResolved());
            EXPECT_TRUE(*ref == *static_cast<PDMc_LDBRef*>(expected));
            break;
        }
        case LDBMemberFamily::kValue:
            EXPECT_TRUE(*static_cast<PDMc_LDBValue*>(actual) ==
                        *static_cast<PDMc_LDBValue*>(expected));
            break;
        case LDBMemberFamily::kRefArray: {
            LDBRefArrayRep* a = static_cast<LDBRefArrayRep*>(actual);
            LDBRefArrayRep* e = static_cast<LDBRefArrayRep*>(expected);
            ASSERT_EQ(a->Count(), e->Count());
            for (uint32_t i = 0; i < a->Count(); ++i) EXPECT_TRUE(a->At(i) == e->At(i));
            break;
        }
        case LDBMemberFamily::kIdArray: {
            LDBIdArrayRep* a = static_cast<LDBIdArrayRep*>(actual);
            LDBIdArrayRep* e = static_cast<LDBIdArrayRep*>(expected);
            ASSERT_EQ(a->Count(), e->Count());
            for (uint32_t i = 0; i < a->Count(); ++i) EXPECT_EQ(a->At(i), e->At(i));
            break;
        }
        case LDBMemberFamily::kRefMap: {
            LDBRefMapRep* a = static_cast<LDBRefMapRep*>(actual);
            LDBRefMapRep* e = static_cast<LDBRefMapRep*>(expected);
            ASSERT_EQ(a->Count(), e->Count());
            MapLookup lookup{a, 0};
            e->VisitEntries(&CheckEntry, &lookup);
            EXPECT_EQ(lookup.mismatches, 0);
            break;
        }
        default: FAIL() << "no comparison for member type " << type;
    }
}

}  // namespace memberfill
