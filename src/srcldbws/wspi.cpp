#include "srcldbws/wspi.h"

PDMc_WSPI::PDMc_WSPI() = default;

PDMc_WSPI::PDMc_WSPI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WSPI::GetClassName() const { return "PDMc_WSPI"; }

PDMc_LDBRef* PDMc_WSPI::GetAttrs() { return &m_attrs; }
