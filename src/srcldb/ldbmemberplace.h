// Member types of the storage layout, and how a member descriptor reaches its field in an
// object. A place is a thunk made from a pointer to member, so the compiler checks both that
// the class has the field and that the field's C++ type is the one the member type reads and
// writes; no field is ever found by a counted offset.
#pragma once

#include <cstdint>
#include <type_traits>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbvalue.h"

enum LDBMemberType : uint16_t {
    LDB_MEMBER_INT8 = 1,
    LDB_MEMBER_INT16 = 2,
    LDB_MEMBER_INT32 = 3,
    LDB_MEMBER_INT64 = 4,  // never stored
    LDB_MEMBER_UINT8 = 5,
    LDB_MEMBER_UINT16 = 6,
    LDB_MEMBER_UINT32 = 7,
    LDB_MEMBER_UINT64 = 8,  // never stored
    LDB_MEMBER_FLOAT = 9,
    LDB_MEMBER_DOUBLE = 10,
    LDB_MEMBER_STRING = 16,
    LDB_MEMBER_DATETIME = 17,
    LDB_MEMBER_VALUE = 18,
    LDB_MEMBER_BOOLEAN = 19,
    LDB_MEMBER_REF_ARRAY = 32,
    LDB_MEMBER_REF_MAP = 33,
    LDB_MEMBER_ID_ARRAY = 34,
    // Plus the target's class code; bits 8 and 9 mark a reference.
    LDB_MEMBER_REF = 0x100,
    LDB_MEMBER_REF_TO_ARRAY = 0x200,
    LDB_MEMBER_REF_TO_MAP = 0x300,
};

// What a member type is to the readers and writers. Any code that isn't one of the plain types
// is a reference, whatever its low byte says.
enum class LDBMemberFamily : uint8_t {
    kInt8, kInt16, kInt32, kInt64, kUInt8, kUInt16, kUInt32, kUInt64, kFloat, kDouble,
    kString, kDateTime, kValue, kBoolean, kRefArray, kRefMap, kIdArray, kReference,
};

constexpr LDBMemberFamily LDBMemberFamilyOf(uint32_t type) {
    switch (type) {
        case LDB_MEMBER_INT8: return LDBMemberFamily::kInt8;
        case LDB_MEMBER_INT16: return LDBMemberFamily::kInt16;
        case LDB_MEMBER_INT32: return LDBMemberFamily::kInt32;
        case LDB_MEMBER_INT64: return LDBMemberFamily::kInt64;
        case LDB_MEMBER_UINT8: return LDBMemberFamily::kUInt8;
        case LDB_MEMBER_UINT16: return LDBMemberFamily::kUInt16;
        case LDB_MEMBER_UINT32: return LDBMemberFamily::kUInt32;
        case LDB_MEMBER_UINT64: return LDBMemberFamily::kUInt64;
        case LDB_MEMBER_FLOAT: return LDBMemberFamily::kFloat;
        case LDB_MEMBER_DOUBLE: return LDBMemberFamily::kDouble;
        case LDB_MEMBER_STRING: return LDBMemberFamily::kString;
        case LDB_MEMBER_DATETIME: return LDBMemberFamily::kDateTime;
        case LDB_MEMBER_VALUE: return LDBMemberFamily::kValue;
        case LDB_MEMBER_BOOLEAN: return LDBMemberFamily::kBoolean;
        case LDB_MEMBER_REF_ARRAY: return LDBMemberFamily::kRefArray;
        case LDB_MEMBER_REF_MAP: return LDBMemberFamily::kRefMap;
        case LDB_MEMBER_ID_ARRAY: return LDBMemberFamily::kIdArray;
        default: return LDBMemberFamily::kReference;
    }
}

// The C++ type of the field that a member of each family lives in. Lists are reached through
// their interface, so a class may hold any implementation of it.
template <LDBMemberFamily F> struct LDBMemberField;
template <> struct LDBMemberField<LDBMemberFamily::kInt8> { using Type = int8_t; };
template <> struct LDBMemberField<LDBMemberFamily::kInt16> { using Type = int16_t; };
template <> struct LDBMemberField<LDBMemberFamily::kInt32> { using Type = int32_t; };
template <> struct LDBMemberField<LDBMemberFamily::kInt64> { using Type = int64_t; };
template <> struct LDBMemberField<LDBMemberFamily::kUInt8> { using Type = uint8_t; };
template <> struct LDBMemberField<LDBMemberFamily::kUInt16> { using Type = uint16_t; };
template <> struct LDBMemberField<LDBMemberFamily::kUInt32> { using Type = uint32_t; };
template <> struct LDBMemberField<LDBMemberFamily::kUInt64> { using Type = uint64_t; };
template <> struct LDBMemberField<LDBMemberFamily::kFloat> { using Type = float; };
template <> struct LDBMemberField<LDBMemberFamily::kDouble> { using Type = double; };
template <> struct LDBMemberField<LDBMemberFamily::kString> { using Type = nyxString; };
template <> struct LDBMemberField<LDBMemberFamily::kDateTime> { using Type = uint32_t; };
template <> struct LDBMemberField<LDBMemberFamily::kValue> { using Type = PDMc_LDBValue; };
// A boolean member holds its stored byte as it is: a flag member may keep more than one bit
// in it, and a byte read back is written back unchanged.
template <> struct LDBMemberField<LDBMemberFamily::kBoolean> { using Type = uint8_t; };
template <> struct LDBMemberField<LDBMemberFamily::kRefArray> { using Type = LDBRefArrayRep; };
template <> struct LDBMemberField<LDBMemberFamily::kRefMap> { using Type = LDBRefMapRep; };
template <> struct LDBMemberField<LDBMemberFamily::kIdArray> { using Type = LDBIdArrayRep; };
template <> struct LDBMemberField<LDBMemberFamily::kReference> { using Type = PDMc_LDBRef; };

template <uint32_t MemberType>
using LDBMemberFieldType = typename LDBMemberField<LDBMemberFamilyOf(MemberType)>::Type;

template <auto Member> struct LDBMemberPointer;
template <typename C, typename F, F C::*Member> struct LDBMemberPointer<Member> {
    using Class = C;
    using Field = F;
};

class LDBMemberPlace {
public:
    using Thunk = void* (*)(PDMc_LDBObject* object);

    // No place: the rows of older store versions, which never touch an object in memory.
    constexpr LDBMemberPlace() : m_thunk(nullptr) {}

    // The place of Member, which must be a field of the type that MemberType is held in.
    template <uint32_t MemberType, auto Member>
    static LDBMemberPlace Of() {
        return LDBMemberPlace(&FieldOf<MemberType, Member>);
    }

    bool IsSet() const { return m_thunk != nullptr; }
    // The field in object, as the type LDBMemberFieldType of the descriptor's member type.
    void* FieldIn(PDMc_LDBObject* object) const { return m_thunk(object); }

private:
    explicit constexpr LDBMemberPlace(Thunk thunk) : m_thunk(thunk) {}

    template <uint32_t MemberType, auto Member>
    static void* FieldOf(PDMc_LDBObject* object) {
        using Class = typename LDBMemberPointer<Member>::Class;
        using Field = typename LDBMemberPointer<Member>::Field;
        using Expected = LDBMemberFieldType<MemberType>;
        static_assert(std::is_base_of<PDMc_LDBObject, Class>::value,
                      "a member place must be a field of a persistent class");
        static_assert(std::is_same<Field, Expected>::value ||
                          (std::is_class<Expected>::value &&
                           std::is_base_of<Expected, Field>::value),
                      "the field's type doesn't hold this member type");
        Expected* field = &(static_cast<Class*>(object)->*Member);
        return field;
    }

    Thunk m_thunk;
};
