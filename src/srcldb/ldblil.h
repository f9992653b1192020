// PDMc_LIL: a library of a workspace, holding a generic item and its instances.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LIL : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LIL;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LIL();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LIL(LDBObjectOwner* owner);

    const char* GetClassName() const override;

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_lufli;
    PDMc_LDBRef m_shortcut_current_lilv;
    PDMc_LDBRef m_attrs;
};
