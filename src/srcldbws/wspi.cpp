#include "srcldbws/wspi.h"

#include "srcldb/ldblpi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspiv.h"

PDMc_WSPI::PDMc_WSPI() = default;

PDMc_WSPI::PDMc_WSPI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WSPI::GetClassName() const { return "PDMc_WSPI"; }

PDMc_LDBRef* PDMc_WSPI::GetAttrs() { return &m_attrs; }

PDMc_WS* PDMc_WSPI::GetWS() { return LDBTargetAs<PDMc_WS>(m_ws, true); }

PDMc_LPI* PDMc_WSPI::GetLPI() { return LDBTargetAs<PDMc_LPI>(m_lpi, true); }

PDMc_WSPIV* PDMc_WSPI::GetShortcutPIV() { return LDBTargetAs<PDMc_WSPIV>(m_shortcut_current_piv); }

void PDMc_WSPI::SetShortcutPIV(PDMc_WSPIV* version) {
    MarkModified();
    m_shortcut_current_piv = version;
}
