// The stored containers: PDMc_LDBArray, an ordered sequence of objects, and PDMc_LDBMap, a map
// from a name to an object. Each is an object with a record of its own whose one member,
// m_rep, holds persistent references; a holder refers to the container by a PDMc_LDBRef.
#pragma once

#include <cstdint>

#include "srcldb/ldbobject.h"
#include "srcldb/ldbreps.h"

class PDMc_LDBArray : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_ARRAY;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LDBArray();
    // A new, empty array of the owner, at once on its modified list.
    explicit PDMc_LDBArray(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    LDBRefVector m_rep;
};

class PDMc_LDBMap : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_MAP;
    static constexpr uint8_t kClassVersion = 1;
    // The table a loaded map starts from; it grows as entries come in.
    static constexpr uint32_t kLoadCapacity = 256;

    // Empty, for the factory to fill from a record.
    PDMc_LDBMap();
    // A new, empty map of the owner with room for capacity entries, at once on its modified list.
    PDMc_LDBMap(LDBObjectOwner* owner, uint32_t capacity);

    // Every stored map answers with this name, whatever it holds.
    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    LDBRefStringTable m_rep;
};
