#include "srcldbws/wsgir.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldbws/wsgir";

}  // namespace

PDMc_WSGIR::PDMc_WSGIR() = default;

PDMc_WSGIR::PDMc_WSGIR(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSGIR::PDMc_WSGIR(const PDMc_WSGIR& other)
    : PDMc_LDBObject(other),
      m_generic_pivid(other.m_generic_pivid),
      m_generic_wspi(other.m_generic_wspi),
      m_instance_pivid(other.m_instance_pivid),
      m_instance_wspi(other.m_instance_wspi),
      m_as_stored_instance_name(other.m_as_stored_instance_name) {}

PDMc_WSGIR* PDMc_WSGIR::Create(LDBObjectOwner* owner, uint32_t genericId, PDMc_WSPI* generic,
                               uint32_t instanceId, PDMc_WSPI* instance,
                               const char* storedInstanceName) {
    PDMc_WSGIR* relation = new (std::nothrow) PDMc_WSGIR(owner);
    if (relation == nullptr) {
        nyxErrorPushInternal("no memory for a relation", kSourcePath, __LINE__);
        return nullptr;
    }
    relation->m_generic_pivid = genericId;
    relation->m_generic_wspi = generic;
    relation->m_instance_pivid = instanceId;
    relation->m_instance_wspi = instance;
    relation->m_as_stored_instance_name = storedInstanceName;
    relation->MarkModified();
    return relation;
}

PDMc_WSGIR* PDMc_WSGIR::Copy() {
    PDMc_WSGIR* copy = new (std::nothrow) PDMc_WSGIR(*this);
    if (copy == nullptr) nyxErrorPushInternal("no memory for a relation", kSourcePath, __LINE__);
    return copy;
}

const char* PDMc_WSGIR::GetClassName() const { return "PDMc_WSGIR"; }

PDMc_WSPI* PDMc_WSGIR::GetGenericWSPI() { return LDBTargetAs<PDMc_WSPI>(m_generic_wspi); }

PDMc_WSPI* PDMc_WSGIR::GetInstanceWSPI() { return LDBTargetAs<PDMc_WSPI>(m_instance_wspi); }

int32_t PDMc_WSGIR::SetAsStoredInstanceName(const char* name) {
    nyxString text(name);
    PDMc_WSGIR* copy = nullptr;
    if (m_generic_wspi.IsNull()) {
        // No generic list holds it: the instance's own reference is the only place to replace.
        PDMc_WSPI* instance = GetInstanceWSPI();
        if (instance == nullptr)
            return nyxErrorStackEmpty() ? NYX_INTERNAL_ERROR("PDMc_WSGIR::SetAsStoredInstanceName",
                                                             kSourcePath)
                                        : nyxErrorCurrentCode();
        copy = Copy();
        if (copy == nullptr) return nyxErrorCurrentCode();
        if (int32_t rc = instance->SetGenericWSGIR(copy)) return rc;
    } else {
        PDMc_WSPI* generic = GetGenericWSPI();
        PDMc_WSPIV* version =
            generic != nullptr ? generic->CurrentPIV("PDMc_WSGIR::SetAsStoredInstanceName") : nullptr;
        if (version == nullptr) return nyxErrorCurrentCode();
        copy = version->InstanceWSGIRModified(this);
        if (copy == nullptr) return nyxErrorCurrentCode();
    }
    copy->MarkModified();
    copy->m_as_stored_instance_name = text;
    return 0;
}

void PDMc_WSGIR::SetGenericWSPI(PDMc_WSPI* item) {
    MarkModified();
    m_generic_wspi = item;
}

void PDMc_WSGIR::SetInstanceWSPI(PDMc_WSPI* item) {
    MarkModified();
    m_instance_wspi = item;
}
