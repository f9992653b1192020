#include "srcldb/ldbroot.h"

PDMc_LDBRoot::PDMc_LDBRoot() = default;

PDMc_LDBRoot::PDMc_LDBRoot(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LDBRoot::GetClassName() const { return "PDMc_LDBRoot"; }

PDMc_LDBRef* PDMc_LDBRoot::GetAttrs() { return &m_attrs; }

PDMc_LDBAppObj::PDMc_LDBAppObj() = default;

PDMc_LDBAppObj::PDMc_LDBAppObj(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LDBAppObj::GetClassName() const { return "PDMc_LDBAppObj"; }

PDMc_LDBRef* PDMc_LDBAppObj::GetAttrs() { return &m_attrs; }
