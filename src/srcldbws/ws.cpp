#include "srcldbws/ws.h"

PDMc_WS::PDMc_WS() = default;

PDMc_WS::PDMc_WS(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WS::GetClassName() const { return "PDMc_WS"; }

PDMc_LDBRef* PDMc_WS::GetAttrs() { return &m_attrs; }
