#include "srcldb/ldbattr.h"

PDMc_LAV::PDMc_LAV() = default;

PDMc_LAV::PDMc_LAV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LAV::GetClassName() const { return "PDMc_LAV"; }

PDMc_LAD::PDMc_LAD() = default;

PDMc_LAD::PDMc_LAD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LAD::GetClassName() const { return "PDMc_LAD"; }

PDMc_LAAV::PDMc_LAAV() = default;

PDMc_LAAV::PDMc_LAAV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LAAV::GetClassName() const { return "PDMc_LAAV"; }
