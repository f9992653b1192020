#include "srcldb/ldbluf.h"

PDMc_LUF::PDMc_LUF() = default;

PDMc_LUF::PDMc_LUF(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LUF::GetClassName() const { return "PDMc_LUF"; }

PDMc_LDBRef* PDMc_LUF::GetAttrs() { return &m_attrs; }
