#include "srcldbws/wsd.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/wspiv.h"

PDMc_WSD::PDMc_WSD() = default;

PDMc_WSD::PDMc_WSD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSD* PDMc_WSD::CloneForParent(PDMc_WSPIV* parent) {
    PDMc_WSD* twin = new (std::nothrow) PDMc_WSD(GetOwner());
    if (twin == nullptr) {
        nyxErrorPushInternal("no memory for a dependency", "srcldbws/wsd", __LINE__);
        return nullptr;
    }
    twin->m_parent_piv = parent;
    twin->m_child_pi = m_child_pi;
    twin->m_definition = m_definition;
    twin->m_as_stored_child_name = m_as_stored_child_name;
    if (m_attr_values.IsNull()) return twin;
    PDMc_LDBMap* values = LDBTargetAs<PDMc_LDBMap>(m_attr_values);
    if (values == nullptr) return nullptr;
    PDMc_LDBMap* copy = new (std::nothrow) PDMc_LDBMap(*values);
    if (copy == nullptr) {
        nyxErrorPushInternal("no memory for a dependency", "srcldbws/wsd", __LINE__);
        return nullptr;
    }
    twin->m_attr_values = copy;
    return twin;
}

const char* PDMc_WSD::GetClassName() const { return "PDMc_WSD"; }

PDMc_LPI* PDMc_WSD::GetChildPI() { return LDBTargetAs<PDMc_LPI>(m_child_pi, true); }

PDMc_WSDD::PDMc_WSDD() = default;

PDMc_WSDD::PDMc_WSDD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSDD::PDMc_WSDD(LDBObjectOwner* owner, const char* depClass, int32_t type)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_class(depClass), m_type(type) {}

const char* PDMc_WSDD::GetClassName() const { return "PDMc_WSDD"; }
