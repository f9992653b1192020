// PDMc_LIL: a library of a workspace, holding a generic item and its instances.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LILV;
class PDMc_LUFLI;

class PDMc_LIL : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_LIL;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_LIL();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_LIL(LDBObjectOwner* owner);

    const char* GetClassName() const override;

    // The frame library item of the current state, null if there's none.
    PDMc_LUFLI* GetLUFLI();
    // Binds the library to the record that speaks for it now, with the record's version.
    void SetLUFLI(PDMc_LUFLI* lufli);
    void SetShortcutLILV(PDMc_LILV* version);

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_lufli;
    PDMc_LDBRef m_shortcut_current_lilv;
    PDMc_LDBRef m_attrs;
};
