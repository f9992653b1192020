#include "srcldb/ldbattr.h"

#include <new>

#include "errors/nyxerror.h"

namespace {

const char kSourcePath[] = "srcldb/ldbattr";

}  // namespace

// ---------------------------------------------------------------------------------------------
// PDMc_LAD

PDMc_LAD::PDMc_LAD() = default;

PDMc_LAD::PDMc_LAD(LDBObjectOwner* owner, const char* name)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_name(name) {}

const char* PDMc_LAD::GetClassName() const { return "PDMc_LAD"; }

// ---------------------------------------------------------------------------------------------
// PDMc_LAV

PDMc_LAV::PDMc_LAV() = default;

PDMc_LAV::PDMc_LAV(LDBObjectOwner* owner, PDMc_LAD* definition, const PDMc_LDBValue& value)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_attrdef(definition), m_value(value) {}

PDMc_LAV* PDMc_LAV::Create(PDMc_LAD* definition, const PDMc_LDBValue& value) {
    if (definition == nullptr) {
        nyxErrorPushInternal("Attribute value without definition", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LAV* made = new (std::nothrow) PDMc_LAV(definition->GetOwner(), definition, value);
    if (made == nullptr) nyxErrorPushInternal("Out of memory", kSourcePath, __LINE__);
    return made;
}

PDMc_LAV* PDMc_LAV::CreateFromDB(PDMc_LAD* definition, bool flag, const PDMc_LDBValue& value) {
    PDMc_LAV* made = Create(definition, value);
    if (made == nullptr) return nullptr;
    made->MarkModified();
    made->m_bitmask |= kFromDatabase;
    if (flag)
        made->m_bitmask &= ~kDatabaseFlagFalse;
    else
        made->m_bitmask |= kDatabaseFlagFalse;
    return made;
}

PDMc_LAV* PDMc_LAV::CreateLocal(PDMc_LAD* definition, const PDMc_LDBValue& value) {
    PDMc_LAV* made = Create(definition, value);
    if (made == nullptr) return nullptr;
    made->MarkModified();
    made->m_bitmask &= ~kDatabaseFlagFalse;
    return made;
}

const char* PDMc_LAV::GetClassName() const { return "PDMc_LAV"; }

PDMc_LAD* PDMc_LAV::GetAttrDef() {
    PDMc_LDBObject* target = m_attrdef.GetTarget();
    if (target == nullptr || target->GetTypeCode() != LDB_TYPE_LAD) return nullptr;
    return static_cast<PDMc_LAD*>(target);
}

void PDMc_LAV::SetModified(bool modified) {
    MarkModified();
    if (modified)
        m_bitmask |= kModified;
    else
        m_bitmask &= ~kModified;
}

// ---------------------------------------------------------------------------------------------
// PDMc_LAAV

PDMc_LAAV::PDMc_LAAV() = default;

PDMc_LAAV::PDMc_LAAV(LDBObjectOwner* owner, const PDMc_LDBValue& value)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_value(value) {}

PDMc_LAAV* PDMc_LAAV::Create(LDBObjectOwner* owner, const PDMc_LDBValue& value) {
    PDMc_LAAV* made = new (std::nothrow) PDMc_LAAV(owner, value);
    if (made == nullptr) nyxErrorPushInternal("Out of memory", kSourcePath, __LINE__);
    return made;
}

const char* PDMc_LAAV::GetClassName() const { return "PDMc_LAAV"; }

void PDMc_LAAV::SetValue(const PDMc_LDBValue& value) {
    MarkModified();
    m_value = value;
}
