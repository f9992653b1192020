#include "srcldb/ldblil.h"

PDMc_LIL::PDMc_LIL() = default;

PDMc_LIL::PDMc_LIL(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LIL::GetClassName() const { return "PDMc_LIL"; }
