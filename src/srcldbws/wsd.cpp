#include "srcldbws/wsd.h"

#include "srcldb/ldblpi.h"

PDMc_WSD::PDMc_WSD() = default;

PDMc_WSD::PDMc_WSD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WSD::GetClassName() const { return "PDMc_WSD"; }

PDMc_LPI* PDMc_WSD::GetChildPI() { return LDBTargetAs<PDMc_LPI>(m_child_pi, true); }

PDMc_WSDD::PDMc_WSDD() = default;

PDMc_WSDD::PDMc_WSDD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSDD::PDMc_WSDD(LDBObjectOwner* owner, const char* depClass, int32_t type)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_class(depClass), m_type(type) {}

const char* PDMc_WSDD::GetClassName() const { return "PDMc_WSDD"; }
