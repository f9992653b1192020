#include "srcldb/ldblf.h"

PDMc_LF::PDMc_LF() = default;

PDMc_LF::PDMc_LF(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LF::GetClassName() const { return "PDMc_LF"; }
