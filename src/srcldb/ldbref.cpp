#include "srcldb/ldbref.h"

#include "errors/nyxerror.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbobjectowner.h"

uint32_t PDMc_LDBRef::GetKey() const {
    if (m_key != 0) return m_key;
    return m_target.object != nullptr ? m_target.object->GetStorageAddress() : 0;
}

LDBObjectOwner* PDMc_LDBRef::GetOwner() const {
    if (m_key != 0) return m_target.owner;
    return m_target.object != nullptr ? m_target.object->GetOwner() : nullptr;
}

void PDMc_LDBRef::Set(LDBObjectOwner* owner, uint32_t address) {
    m_key = address;
    if (address == 0)
        m_target.object = nullptr;
    else
        m_target.owner = owner;
}

PDMc_LDBObject* PDMc_LDBRef::Resolve() {
    if (m_key == 0 || m_target.owner == nullptr) return nullptr;
    PDMc_LDBObject* object = m_target.owner->FindOrLoadObject(m_key);
    if (object == nullptr) return nullptr;
    m_key = 0;
    m_target.object = object;
    return object;
}

PDMc_LDBObject* PDMc_LDBRef::GetTarget() {
    if (m_key != 0) return Resolve();
    return m_target.object;
}

bool PDMc_LDBRef::operator==(const PDMc_LDBRef& other) const {
    return GetOwner() == other.GetOwner() && GetKey() == other.GetKey();
}

PDMc_LDBObject* LDBTargetOfType(PDMc_LDBRef& reference, uint8_t typeCode, bool required) {
    if (reference.IsNull()) {
        if (required) nyxErrorPushInternal("a reference that must be set is null", "srcldb/ldbref",
                                           __LINE__);
        return nullptr;
    }
    // Set but not loadable is always an error.
    return LDBCheckType(reference.GetTarget(), typeCode, true);
}
