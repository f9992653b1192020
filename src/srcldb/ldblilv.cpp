#include "srcldb/ldblilv.h"

#include "srcldb/ldbcontainer.h"

PDMc_LILV::PDMc_LILV() = default;

PDMc_LILV::PDMc_LILV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LILV::GetClassName() const { return "PDMc_LILV"; }

PDMc_LDBArray* PDMc_LILV::GetFiles() { return LDBTargetAs<PDMc_LDBArray>(m_files); }
