#include "srcldb/ldblpi.h"

PDMc_LPI::PDMc_LPI() = default;

PDMc_LPI::PDMc_LPI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LPI::GetClassName() const { return "PDMc_LPI"; }

PDMc_LPITD::PDMc_LPITD() = default;

PDMc_LPITD::PDMc_LPITD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LPITD::GetClassName() const { return "PDMc_LPITD"; }
