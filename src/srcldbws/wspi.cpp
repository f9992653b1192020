#include "srcldbws/wspi.h"

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldbws/wspi";

constexpr int32_t kErrorNullArgument = 110;
constexpr int32_t kErrorNameTaken = 1901;
constexpr int32_t kErrorNotInLibrary = 2600;
constexpr int32_t kErrorItemInUse = 2603;

}  // namespace

PDMc_WSPI::PDMc_WSPI() = default;

PDMc_WSPI::PDMc_WSPI(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSPI::PDMc_WSPI(PDMc_WS* workspace, PDMc_LPI* lpi)
    : PDMc_LDBObject(workspace->GetOwner(), kTypeCode, kClassVersion), m_ws(workspace), m_lpi(lpi) {}

const char* PDMc_WSPI::GetClassName() const { return "PDMc_WSPI"; }

PDMc_LDBRef* PDMc_WSPI::GetAttrs() { return &m_attrs; }

PDMc_WS* PDMc_WSPI::GetWS() { return LDBTargetAs<PDMc_WS>(m_ws, true); }

PDMc_LPI* PDMc_WSPI::GetLPI() { return LDBTargetAs<PDMc_LPI>(m_lpi, true); }

PDMc_LUFI* PDMc_WSPI::GetLUFI() {
    PDMc_LPI* lpi = GetLPI();
    return lpi != nullptr ? lpi->GetLUFI() : nullptr;
}

const nyxString& PDMc_WSPI::GetName() {
    static const nyxString kNoName;
    PDMc_LPI* lpi = GetLPI();
    return lpi != nullptr ? lpi->GetName() : kNoName;
}

bool PDMc_WSPI::IsNew() {
    PDMc_LPI* lpi = GetLPI();
    return lpi == nullptr || lpi->IsNew();
}

PDMc_LPITD* PDMc_WSPI::GetTypeDef() {
    PDMc_LPI* lpi = GetLPI();
    return lpi != nullptr ? lpi->GetTypeDef() : nullptr;
}

PDMc_WSPIV* PDMc_WSPI::GetShortcutPIV() { return LDBTargetAs<PDMc_WSPIV>(m_shortcut_current_piv); }

PDMc_WSPIV* PDMc_WSPI::CurrentPIV(const char* operation) {
    if (m_shortcut_current_piv.IsNull()) {
        nyxErrorReport(kErrorNullArgument, operation, "WSPIVHandle");
        return nullptr;
    }
    return GetShortcutPIV();
}

void PDMc_WSPI::SetShortcutPIV(PDMc_WSPIV* version) {
    MarkModified();
    m_shortcut_current_piv = version;
}

int32_t PDMc_WSPI::SetCurrentWSPIV(PDMc_WSPIV* version) {
    PDMc_LUFI* record = GetLUFI();
    if (record == nullptr) return NYX_INTERNAL_ERROR("PDMc_WSPI::SetCurrentWSPIV", kSourcePath);
    return record->SetCurrentPIV(version);
}

int32_t PDMc_WSPI::Rename(const char* newName) {
    nyxString name(newName);
    PDMc_LUFI* record = GetLUFI();
    if (record == nullptr) return NYX_INTERNAL_ERROR("PDMc_WSPI::Rename", kSourcePath);
    if (int32_t rc = record->ModifyPIName(name.c_str())) return rc;
    // A top generic gives its library its name; an instance leaves the library alone.
    PDMc_WSPIV* version = GetShortcutPIV();
    if (version == nullptr || !version->HasInstances() || version->IsInstance()) return 0;
    PDMc_LIL* library = version->GetLIL();
    PDMc_LUFLI* libraryRecord = library != nullptr ? library->GetLUFLI() : nullptr;
    if (libraryRecord == nullptr) return NYX_INTERNAL_ERROR("PDMc_WSPI::Rename", kSourcePath);
    return libraryRecord->ModifyLOName(name.c_str());
}

int32_t PDMc_WSPI::Delete() {
    if (m_shortcut_current_piv.IsNull())
        return nyxErrorReport(kErrorNullArgument, "PDMc_WSPI::Delete");
    PDMc_WSPIV* version = GetShortcutPIV();
    PDMc_LPI* lpi = GetLPI();
    PDMc_WS* workspace = GetWS();
    if (version == nullptr || lpi == nullptr || workspace == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = RefuseIfUsedWhileNew()) return rc;
    // A library member leaves by its library's release, which decides whether it may go; the
    // release may bring the version into this frame.
    if (version->IsLibraryMember()) {
        PDMc_LIL* library = version->GetLIL();
        if (library == nullptr)
            return nyxErrorStackEmpty() ? NYX_INTERNAL_ERROR("PDMc_WSPI::Delete", kSourcePath)
                                        : nyxErrorCurrentCode();
        if (int32_t rc = library->ReleaseMember(this)) return rc;
        version = GetShortcutPIV();
        if (version == nullptr) return NYX_INTERNAL_ERROR("PDMc_WSPI::Delete", kSourcePath);
    }
    if (int32_t rc = version->DeleteOwnFiles()) return rc;
    // The children are read before the record lets the version go.
    nyxSingleListOf<void*> children;
    if (PDMc_LDBArray* dependencies = version->GetDependencies()) {
        int32_t rc = LDBForEachElement<PDMc_WSD>(*dependencies, [&children](PDMc_WSD* dependency) {
            PDMc_LPI* child = dependency->GetChildPI();
            if (child == nullptr) return nyxErrorCurrentCode();
            void* element = child;
            children.Insert(&element);
            return 0;
        });
        if (rc != 0) return rc;
    }
    PDMc_LUFI* record = lpi->GetLUFI();
    if (record == nullptr) return NYX_INTERNAL_ERROR("PDMc_WSPI::Delete", kSourcePath);
    if (int32_t rc = record->DeleteWSPI()) return rc;
    SetShortcutPIV(nullptr);
    // A child that only this item kept in the frame goes with it; the outcome of each is its
    // own business.
    LDBForEachElement<PDMc_LPI>(children, [workspace](PDMc_LPI* child) {
        workspace->CleanLPI(child);
        return 0;
    });
    return 0;
}

int32_t PDMc_WSPI::RefuseIfUsedWhileNew() {
    if (!IsNew()) return 0;
    PDMc_LPI* lpi = GetLPI();
    if (lpi == nullptr) return nyxErrorCurrentCode();
    nyxSingleListOf<void*> users;
    if (int32_t rc = lpi->GetWhereUsed(users)) return rc;
    return users.IsEmpty() ? 0 : nyxErrorReport(kErrorItemInUse, GetName());
}

PDMc_WSPIV* PDMc_WSPI::ModifiedWSPIV(PDMc_WSPIV* version) {
    if (version == nullptr || version != GetShortcutPIV()) {
        // A version of an earlier state is frozen.
        nyxErrorPushInternal("PDMc_WSPI::ModifiedWSPIV", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_WS* workspace = GetWS();
    PDMc_LUF* frame = workspace != nullptr ? workspace->GetCurrentFrame() : nullptr;
    if (frame == nullptr) return nullptr;
    // A write to a member is a write to its library: the library version is brought into this
    // frame too, and its modified state rises with the member's.
    if (version->IsLibraryMember()) {
        PDMc_LIL* library = version->GetLIL();
        if (library == nullptr && !nyxErrorStackEmpty()) return nullptr;
        if (library != nullptr && library->ModifiedLILV(library->GetCurrentLILV()) == nullptr)
            return nullptr;
    }
    if (version->GetCreatingFrame() == frame) {
        if (workspace->PurgeRedoStack() != 0) return nullptr;
        workspace->NoteVersionModified(version);
        return version;
    }
    PDMc_WSPIV* copy = version->CloneForFrame(frame);
    if (copy == nullptr) return nullptr;
    workspace->NoteVersionModified(copy);
    // Copies the frame item into this frame if need be, ends the redo history and moves the
    // shortcut to the copy.
    PDMc_LUFI* record = GetLUFI();
    if (record == nullptr) {
        nyxErrorPushInternal("PDMc_WSPI::ModifiedWSPIV", kSourcePath, __LINE__);
        return nullptr;
    }
    if (record->SetCurrentPIV(copy) != 0) return nullptr;
    return copy;
}

PDMc_WSD* PDMc_WSPI::AddDependency(PDMc_LPI* child, PDMc_WSDD* definition) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::AddDependency");
    return version != nullptr ? version->AddDependency(child, definition) : nullptr;
}

int32_t PDMc_WSPI::DeleteDependency(PDMc_WSD* dependency) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::DeleteDependency");
    return version != nullptr ? version->DeleteDependency(dependency) : nyxErrorCurrentCode();
}

int32_t PDMc_WSPI::DeleteDependencyKeepLPI(PDMc_WSD* dependency) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::DeleteDependencyKeepLPI");
    return version != nullptr ? version->DeleteDependencyKeepLPI(dependency)
                              : nyxErrorCurrentCode();
}

uint32_t PDMc_WSPI::GetSourceId() {
    PDMc_WSPIV* version = GetShortcutPIV();
    return version != nullptr ? version->GetSourcePIVID() : 0;
}

int32_t PDMc_WSPI::SetLIL(PDMc_LIL* library) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::SetLIL");
    if (version == nullptr) return nyxErrorCurrentCode();
    version->SetLIL(library);
    return 0;
}

int32_t PDMc_WSPI::MarkModifiedInLibrary() {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::MarkModifiedInLibrary");
    if (version == nullptr) return nyxErrorCurrentCode();
    if (!version->IsLibraryMember()) return nyxErrorReport(kErrorNotInLibrary, GetName());
    return version->ForModification() != nullptr ? 0 : nyxErrorCurrentCode();
}

PDMc_WSPI* PDMc_WSPI::AddInstance(const char* name, PDMc_LPITD* typeDef) {
    nyxString instanceName(name);
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::AddInstance");
    PDMc_WS* workspace = GetWS();
    if (version == nullptr || workspace == nullptr) return nullptr;
    if (typeDef == nullptr) typeDef = GetTypeDef();
    nyxString libraryName(GetName());
    // A first instance founds a library of the generic's name: a name another library holds
    // stops it before anything is made, rather than leave an instance with no library.
    if (!version->IsLibraryMember() && workspace->FindLIL(libraryName.c_str()) != nullptr) {
        nyxErrorReport(kErrorNameTaken, libraryName.c_str());
        return nullptr;
    }
    PDMc_WSPI* instance = workspace->CreateNewPI(instanceName.c_str(), typeDef, "");
    if (instance == nullptr) {
        if (nyxErrorStackEmpty()) nyxErrorPushInternal("PDMc_WSPI::AddInstance", kSourcePath, __LINE__);
        return nullptr;
    }
    if (!version->IsLibraryMember()) {
        nyxSingleListOf<void*> members;
        void* element = this;
        members.Insert(&element);
        element = instance;
        members.Insert(&element);
        if (workspace->CreateNewLIL(libraryName.c_str(), "", members) == nullptr) return nullptr;
    } else {
        PDMc_LIL* library = version->GetLIL();
        PDMc_LILV* libraryVersion = library != nullptr ? library->GetCurrentLILV() : nullptr;
        if (libraryVersion == nullptr) {
            if (nyxErrorStackEmpty()) nyxErrorPushInternal("PDMc_WSPI::AddInstance", kSourcePath, __LINE__);
            return nullptr;
        }
        if (libraryVersion->AddWSPIToMembers(instance) != 0) return nullptr;
    }
    PDMc_WSGIR* relation = PDMc_WSGIR::Create(GetOwner(), GetSourceId(), this,
                                              instance->GetSourceId(), instance, "");
    if (relation == nullptr || AddInstanceWSGIR(relation) != 0) return nullptr;
    return instance;
}

int32_t PDMc_WSPI::SetTargetFolder(const char* text) {
    nyxString folder(text);
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::SetTargetFolder");
    if (version == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = version->SetTargetFolder(folder.c_str())) return rc;
    // The top of a library decides where the library lands.
    version = GetShortcutPIV();
    if (version == nullptr || !version->HasInstances() || version->IsInstance()) return 0;
    PDMc_LIL* library = version->GetLIL();
    if (library == nullptr)
        return nyxErrorStackEmpty() ? NYX_INTERNAL_ERROR("PDMc_WSPI::SetTargetFolder", kSourcePath)
                                    : nyxErrorCurrentCode();
    return library->SetTargetFolder(folder.c_str());
}

int32_t PDMc_WSPI::AddInstanceWSGIR(PDMc_WSGIR* relation) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::AddInstanceWSGIR");
    return version != nullptr ? version->AddInstanceWSGIR(relation) : nyxErrorCurrentCode();
}

int32_t PDMc_WSPI::DeleteInstanceWSGIR(PDMc_WSGIR* relation) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::DeleteInstanceWSGIR");
    return version != nullptr ? version->DeleteInstanceWSGIR(relation) : nyxErrorCurrentCode();
}

int32_t PDMc_WSPI::SetGenericWSGIR(PDMc_WSGIR* relation) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::SetGenericWSGIR");
    return version != nullptr ? version->SetGenericWSGIR(relation) : nyxErrorCurrentCode();
}

PDMc_WSGIR* PDMc_WSPI::GetGeneric() {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::GetGeneric");
    return version != nullptr ? version->GetGeneric() : nullptr;
}

int32_t PDMc_WSPI::GetGIRs(nyxCollection& out) {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::GetGIRs");
    return version != nullptr ? version->GetGIRs(out) : nyxErrorCurrentCode();
}

int32_t PDMc_WSPI::DetachFromGeneric() {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::DetachFromGeneric");
    return version != nullptr ? version->DetachFromGeneric() : nyxErrorCurrentCode();
}

int32_t PDMc_WSPI::DetachInstances() {
    PDMc_WSPIV* version = CurrentPIV("PDMc_WSPI::DetachInstances");
    return version != nullptr ? version->DetachInstances() : nyxErrorCurrentCode();
}

PDMc_LIL* PDMc_WSPI::GetLIL() {
    PDMc_WSPIV* version = GetShortcutPIV();
    return version != nullptr ? version->GetLIL() : nullptr;
}

bool PDMc_WSPI::IsInstance() {
    PDMc_WSPIV* version = GetShortcutPIV();
    return version != nullptr && version->IsInstance();
}

bool PDMc_WSPI::HasInstances() {
    PDMc_WSPIV* version = GetShortcutPIV();
    return version != nullptr && version->HasInstances();
}

bool PDMc_WSPI::IsLibraryMember() {
    PDMc_WSPIV* version = GetShortcutPIV();
    return version != nullptr && version->IsLibraryMember();
}

int32_t PDMc_WSPI::GetWSPIVs(nyxCollection& out) {
    PDMc_WS* workspace = GetWS();
    PDMc_LPI* lpi = GetLPI();
    if (workspace == nullptr || lpi == nullptr) return nyxErrorCurrentCode();
    nyxSingleListOf<void*> records;
    int32_t rc = workspace->GetFrameItemsOfLPI(workspace->GetCurrentStateNumber(), lpi, records);
    if (rc != 0) return rc;
    return LDBForEachElement<PDMc_LUFI>(records, [&out](PDMc_LUFI* record) {
        if (!record->HasWSPI() || !record->HasCurrentPIV()) return 0;
        PDMc_WSPIV* version = record->GetCurrentPIV();
        if (version == nullptr) return nyxErrorCurrentCode();
        void* element = version;
        out.Insert(&element);
        return 0;
    });
}

int32_t PDMc_WSPI::CollectEarlierFiles(nyxCollection& set) {
    PDMc_WS* workspace = GetWS();
    PDMc_LPI* lpi = GetLPI();
    if (workspace == nullptr || lpi == nullptr) return nyxErrorCurrentCode();
    nyxSingleListOf<void*> records;
    int32_t last = workspace->GetCurrentStateNumber() - 1;
    if (int32_t rc = workspace->GetFrameItemsOfLPI(last, lpi, records)) return rc;
    return LDBForEachElement<PDMc_LUFI>(records, [&set](PDMc_LUFI* record) {
        if (!record->HasCurrentPIV()) return 0;
        PDMc_WSPIV* version = record->GetCurrentPIV();
        if (version == nullptr) return nyxErrorCurrentCode();
        if (!version->HasFiles()) return 0;
        PDMc_LDBArray* files = version->GetFiles();
        if (files == nullptr) return nyxErrorCurrentCode();
        for (uint32_t i = 0; i < files->GetCount(); ++i) {
            void* element = files->ObjectAt(i);
            if (element != nullptr && !set.Contains(&element)) set.Insert(&element);
        }
        return 0;
    });
}
