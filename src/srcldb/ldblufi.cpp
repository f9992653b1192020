#include "srcldb/ldblufi.h"

PDMc_LUFI::PDMc_LUFI() = default;

PDMc_LUFI::PDMc_LUFI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LUFI::GetClassName() const { return "PDMc_LUFI"; }

PDMc_LUFLI::PDMc_LUFLI() = default;

PDMc_LUFLI::PDMc_LUFLI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LUFLI::GetClassName() const { return "PDMc_LUFLI"; }
