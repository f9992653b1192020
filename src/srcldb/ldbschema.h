// The storage schema: every stored class with its code, class version and members in file
// order, for the current store version and for version 257, which only the upgrade reads.
#pragma once

#include <cstdint>

#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbstglayout.h"

// Member types that refer to objects of a class code, to an array of them, or to a map of them.
constexpr uint16_t LDBRefTo(uint8_t classCode) { return LDB_MEMBER_REF + classCode; }
constexpr uint16_t LDBArrayOf(uint8_t classCode) { return LDB_MEMBER_REF_TO_ARRAY + classCode; }
constexpr uint16_t LDBMapOf(uint8_t classCode) { return LDB_MEMBER_REF_TO_MAP + classCode; }

// Has the persistent classes' fields in reach: each of them names it a friend.
struct LDBSchema {
    static int32_t DefineCurrent(LDBStorageLayout& layout);
    static int32_t Define257(LDBStorageLayout& layout);
};

// Fills an empty layout with both versions, the current first. 0 or the code on the stack.
int32_t LDBDefineSchema(LDBStorageLayout& layout);

// Defines one store version's classes in order and stops at the first refusal.
class LDBSchemaBuilder {
public:
    LDBSchemaBuilder(LDBStorageLayout& layout, uint32_t storeVersion)
        : m_layout(layout), m_store_version(storeVersion), m_class(nullptr), m_result(0) {}

    void AddClass(const char* name, uint8_t classCode, uint8_t classVersion, uint32_t memorySize) {
        m_class = name;
        if (m_result == 0)
            m_result = m_layout.DefineClass(m_store_version, name, classCode, classVersion,
                                            memorySize);
    }
    void AddMember(const char* name, uint16_t type, LDBMemberPlace place) {
        if (m_result == 0)
            m_result = m_layout.DefineMember(m_store_version, m_class, name, type, place);
    }
    int32_t Result() const { return m_result; }

private:
    LDBStorageLayout& m_layout;
    uint32_t m_store_version;
    const char* m_class;
    int32_t m_result;
};

// A current class, and a member of it bound to its field.
#define LDB_SCHEMA_CLASS(builder, C) \
    (builder).AddClass(#C, C::kTypeCode, C::kClassVersion, sizeof(C))
#define LDB_SCHEMA_MEMBER(builder, C, member, type) \
    (builder).AddMember(#member, (type), LDBMemberPlace::Of<(type), &C::member>())

// A class of an older version, and a member of it. Such rows never touch an object in memory,
// but the member must still exist under its name in the current class.
#define LDB_SCHEMA_OLD_CLASS(builder, C, classVersion) \
    (builder).AddClass(#C, C::kTypeCode, (classVersion), 0)
#define LDB_SCHEMA_OLD_MEMBER(builder, C, member, type) \
    ((void)&C::member, (builder).AddMember(#member, (type), LDBMemberPlace()))
