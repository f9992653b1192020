// Attributes of item versions and dependencies (PDMc_LAV under a PDMc_LAD definition) and of
// attribute holders (PDMc_LAAV).
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbvalue.h"

class PDMc_LAV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LAV;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LAV();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LAV(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_attrdef;
    PDMc_LDBValue m_value;
    uint32_t m_bitmask = 0;
};

class PDMc_LAD : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LAD;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LAD();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LAD(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    nyxString m_name;
};

class PDMc_LAAV : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LAAV;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LAAV();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LAAV(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    PDMc_LDBValue m_value;
};
