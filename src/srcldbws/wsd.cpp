#include "srcldbws/wsd.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/wspiv.h"

PDMc_WSD::PDMc_WSD() = default;

PDMc_WSD::PDMc_WSD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSD* PDMc_WSD::Create(PDMc_WSPIV* parent, PDMc_LPI* child, PDMc_WSDD* definition) {
    LDBObjectOwner* owner = parent->GetOwner();
    PDMc_WSD* dependency = new (std::nothrow) PDMc_WSD(owner);
    PDMc_LDBMap* values = new (std::nothrow) PDMc_LDBMap(owner, PDMc_LDBMap::kNewCapacity);
    // What was made stays on the modified list for the abort to take away.
    if (dependency == nullptr || values == nullptr) {
        nyxErrorPushInternal("no memory for a dependency", "srcldbws/wsd", __LINE__);
        return nullptr;
    }
    dependency->m_parent_piv = parent;
    dependency->m_child_pi = child;
    dependency->m_definition = definition;
    dependency->m_attr_values = values;
    return dependency;
}

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

PDMc_WSPIV* PDMc_WSD::GetParentPIV() { return LDBTargetAs<PDMc_WSPIV>(m_parent_piv, true); }

PDMc_WSDD* PDMc_WSD::GetDefinition() { return LDBTargetAs<PDMc_WSDD>(m_definition, true); }

PDMc_LDBMap* PDMc_WSD::GetAttrValues() { return LDBTargetAs<PDMc_LDBMap>(m_attr_values, true); }

int32_t PDMc_WSD::Delete() {
    PDMc_WSPIV* parent = GetParentPIV();
    return parent != nullptr ? parent->DeleteDependency(this) : nyxErrorCurrentCode();
}

PDMc_WSD* PDMc_WSD::ForModification() {
    PDMc_WSPIV* parent = GetParentPIV();
    PDMc_WSD* writable = parent != nullptr ? parent->DependencyForModification(this) : nullptr;
    if (writable != nullptr) writable->MarkModified();
    return writable;
}

int32_t PDMc_WSD::SetAsStoredChildName(const char* name) {
    // The text may be this very member, which a copy would pull from under it.
    nyxString copy(name);
    PDMc_WSD* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    writable->m_as_stored_child_name = copy;
    return 0;
}

PDMc_LAV* PDMc_WSD::GetAttribute(PDMc_LAD* definition) {
    PDMc_LDBMap* values = GetAttrValues();
    if (values == nullptr) return nullptr;
    return LDBObjectAs<PDMc_LAV>(values->Find(definition->GetName().c_str()));
}

int32_t PDMc_WSD::PutValue(PDMc_LAD* definition, PDMc_LAV* value) {
    // No word to the workspace of an attribute change: the version's own copy on first write is
    // all that tells of it.
    nyxString key(definition->GetName());
    PDMc_WSD* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBMap* values = writable->GetAttrValues();
    if (values == nullptr) return nyxErrorCurrentCode();
    values->RemoveName(key.c_str());
    if (!values->Put(key.c_str(), value))
        return NYX_INTERNAL_ERROR("no memory", "srcldbws/wsd");
    return 0;
}

int32_t PDMc_WSD::SetDBAttribute(PDMc_LAD* definition, const PDMc_LDBValue& value) {
    PDMc_LAV* made = PDMc_LAV::CreateFromDB(definition, false, value);
    return made != nullptr ? PutValue(definition, made) : nyxErrorCurrentCode();
}

int32_t PDMc_WSD::SetAttribute(PDMc_LAD* definition, const PDMc_LDBValue& value) {
    PDMc_LAV* made = PDMc_LAV::CreateLocal(definition, value);
    return made != nullptr ? PutValue(definition, made) : nyxErrorCurrentCode();
}

int32_t PDMc_WSD::UnsetAttribute(PDMc_LAD* definition) {
    PDMc_LDBMap* values = GetAttrValues();
    if (values == nullptr) return nyxErrorCurrentCode();
    values->RemoveName(definition->GetName().c_str());
    MarkModified();
    return 0;
}

PDMc_WSDD::PDMc_WSDD() = default;

PDMc_WSDD::PDMc_WSDD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSDD::PDMc_WSDD(LDBObjectOwner* owner, const char* depClass, int32_t type)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_class(depClass), m_type(type) {}

const char* PDMc_WSDD::GetClassName() const { return "PDMc_WSDD"; }
