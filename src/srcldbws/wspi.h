// PDMc_WSPI: an item of a workspace, as a client holds it across frames.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbref.h"

class PDMc_LPI;
class PDMc_WS;
class PDMc_WSPIV;

class PDMc_WSPI : public PDMc_LDBObject {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_WSPI;
    static constexpr uint8_t kClassVersion = 2;

    // Empty, for the factory to fill from a record.
    PDMc_WSPI();
    // A new object of the owner, at once on its modified list.
    explicit PDMc_WSPI(LDBObjectOwner* owner);

    const char* GetClassName() const override;
    PDMc_LDBRef* GetAttrs() override;

    PDMc_WS* GetWS();
    PDMc_LPI* GetLPI();
    // The current version in the current state, as the frames bind it.
    PDMc_WSPIV* GetShortcutPIV();
    void SetShortcutPIV(PDMc_WSPIV* version);

private:
    friend struct LDBSchema;

    PDMc_LDBRef m_ws;
    PDMc_LDBRef m_shortcut_current_piv;
    PDMc_LDBRef m_lpi;
    PDMc_LDBRef m_attrs;
};
