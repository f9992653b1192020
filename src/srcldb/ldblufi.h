// Frame items: PDMc_LUFI says what an item is in the frames that share the record, PDMc_LUFLI
// does the same for a library.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LUFI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LUFI;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LUFI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LUFI(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_creating_frame;
    nyxString m_pi_name;
    PDMc_LDBRef m_pitypedef;
    uint32_t m_piid = 0;
    PDMc_LDBRef m_lpi;
    PDMc_LDBRef m_wspi;
    PDMc_LDBRef m_current_piv;
};

class PDMc_LUFLI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LUFLI;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LUFLI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LUFLI(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_creating_frame;
    nyxString m_lo_name;
    uint32_t m_loid = 0;
    PDMc_LDBRef m_lil;
    PDMc_LDBRef m_current_lilv;
};
