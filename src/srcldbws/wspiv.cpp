#include "srcldbws/wspiv.h"

#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/wsd.h"

PDMc_WSPIV::PDMc_WSPIV() = default;

PDMc_WSPIV::PDMc_WSPIV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_WSPIV::GetClassName() const { return "PDMc_WSPIV"; }

PDMc_LDBRef* PDMc_WSPIV::GetAttrs() { return &m_attrs; }

PDMc_LDBArray* PDMc_WSPIV::GetFiles() { return LDBTargetAs<PDMc_LDBArray>(m_files); }

int32_t PDMc_WSPIV::GetDependenciesToChild(PDMc_LPI* lpi, nyxCollection& out) {
    out.Clear();
    if (m_dependencies.IsNull()) return 0;
    PDMc_LDBArray* dependencies = LDBTargetAs<PDMc_LDBArray>(m_dependencies);
    if (dependencies == nullptr) return nyxErrorCurrentCode();
    for (uint32_t i = 0; i < dependencies->GetCount(); ++i) {
        PDMc_WSD* dependency = LDBObjectAs<PDMc_WSD>(dependencies->ObjectAt(i), true);
        if (dependency == nullptr) return nyxErrorCurrentCode();
        PDMc_LPI* child = dependency->GetChildPI();
        if (child == nullptr) return nyxErrorCurrentCode();
        if (child != lpi) continue;
        void* element = dependency;
        out.Insert(&element);
    }
    return 0;
}
