#include "srcldbws/wspiv.h"

PDMc_WSPIV::PDMc_WSPIV() = default;

PDMc_WSPIV::PDMc_WSPIV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WSPIV::GetClassName() const { return "PDMc_WSPIV"; }

PDMc_LDBRef* PDMc_WSPIV::GetAttrs() { return &m_attrs; }
