#include "srcldbws/wsgir.h"

PDMc_WSGIR::PDMc_WSGIR() = default;

PDMc_WSGIR::PDMc_WSGIR(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WSGIR::GetClassName() const { return "PDMc_WSGIR"; }
