#include "srcldb/ldblil.h"

#include "srcldb/ldblilv.h"
#include "srcldb/ldblufi.h"

PDMc_LIL::PDMc_LIL() = default;

PDMc_LIL::PDMc_LIL(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LIL::GetClassName() const { return "PDMc_LIL"; }

PDMc_LUFLI* PDMc_LIL::GetLUFLI() { return LDBTargetAs<PDMc_LUFLI>(m_lufli); }

void PDMc_LIL::SetLUFLI(PDMc_LUFLI* lufli) {
    MarkModified();
    m_lufli = lufli;
    if (lufli != nullptr) SetShortcutLILV(lufli->GetCurrentLILV());
}

void PDMc_LIL::SetShortcutLILV(PDMc_LILV* version) {
    MarkModified();
    m_shortcut_current_lilv = version;
}
