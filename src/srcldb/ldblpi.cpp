#include "srcldb/ldblpi.h"

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

PDMc_LPI::PDMc_LPI() = default;

PDMc_LPI::PDMc_LPI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LPI::GetClassName() const { return "PDMc_LPI"; }

PDMc_LUFI* PDMc_LPI::GetLUFI() { return LDBTargetAs<PDMc_LUFI>(m_lufi); }

const nyxString& PDMc_LPI::GetName() {
    static const nyxString kNoName;
    PDMc_LUFI* lufi = GetLUFI();
    return lufi != nullptr ? lufi->GetName() : kNoName;
}

PDMc_WSPI* PDMc_LPI::GetWSPI() {
    PDMc_LUFI* lufi = GetLUFI();
    return lufi != nullptr ? lufi->GetWSPI() : nullptr;
}

PDMc_LPITD* PDMc_LPI::GetTypeDef() {
    PDMc_LUFI* lufi = GetLUFI();
    return lufi != nullptr ? lufi->GetTypeDef() : nullptr;
}

bool PDMc_LPI::IsNew() {
    PDMc_LUFI* lufi = GetLUFI();
    return lufi == nullptr || lufi->GetPIID() == 0;
}

void PDMc_LPI::SetLUFI(PDMc_LUFI* lufi) {
    MarkModified();
    m_lufi = lufi;
    if (lufi == nullptr) return;
    if (PDMc_WSPI* item = lufi->GetWSPI()) item->SetShortcutPIV(lufi->GetCurrentPIV());
}

int32_t PDMc_LPI::GetWhereUsed(nyxCollection& out) {
    // The workspace is that of the frame which made the identity's present record.
    PDMc_LUFI* lufi = GetLUFI();
    if (lufi == nullptr) return nyxErrorCurrentCode();
    PDMc_LUF* frame = lufi->GetCreatingFrame();
    PDMc_WS* workspace = frame != nullptr ? frame->GetWS() : nullptr;
    if (workspace == nullptr) return nyxErrorCurrentCode();
    nyxSingleListOf<void*> items;
    if (int32_t rc = workspace->GetWSPIs(items)) return rc;
    nyxSingleListOf<void*> found;
    nyxIteratorGuard walk(items);
    for (walk->First(); !walk->AtEnd(); walk->Next()) {
        PDMc_WSPI* item = *static_cast<PDMc_WSPI**>(walk->Current());
        PDMc_WSPIV* version = item->GetShortcutPIV();
        if (version == nullptr) continue;
        if (int32_t rc = version->GetDependenciesToChild(this, found)) return rc;
        out.InsertAll(found);
    }
    return 0;
}

PDMc_LPITD::PDMc_LPITD() = default;

PDMc_LPITD::PDMc_LPITD(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LPITD::PDMc_LPITD(LDBObjectOwner* owner, const char* name, const char* desc,
                       const char* editor, const char* viewer, const char* discriminator)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion),
      m_name(name),
      m_desc(desc),
      m_editor(editor),
      m_viewer(viewer),
      m_discriminator(discriminator) {}

const char* PDMc_LPITD::GetClassName() const { return "PDMc_LPITD"; }
