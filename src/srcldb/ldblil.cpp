#include "srcldb/ldblil.h"

#include <new>

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"

namespace {

const char kSourcePath[] = "srcldb/ldblil";

constexpr int32_t kErrorNullArgument = 110;

// Clears `out` and adds each id of the list.
void CopyIds(const LDBIdVector& ids, nyxCollection& out) {
    out.Clear();
    for (uint32_t i = 0; i < ids.Count(); ++i) {
        uint32_t id = ids.At(i);
        out.Insert(&id);
    }
}

// Clears `out` and adds each object of a version's array; a null reference adds nothing.
int32_t CopyObjects(PDMc_LDBArray* array, nyxCollection& out) {
    out.Clear();
    for (uint32_t i = 0; array != nullptr && i < array->GetCount(); ++i) {
        void* element = array->ObjectAt(i);
        out.Insert(&element);
    }
    return 0;
}

}  // namespace

PDMc_LIL::PDMc_LIL() = default;

PDMc_LIL::PDMc_LIL(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LIL* PDMc_LIL::Create(PDMc_WS* workspace) {
    PDMc_LIL* library = new (std::nothrow) PDMc_LIL(workspace->GetOwner());
    if (library == nullptr) {
        nyxErrorPushInternal("no memory for a library", kSourcePath, __LINE__);
        return nullptr;
    }
    library->m_ws = workspace;
    library->MarkModified();
    return library;
}

const char* PDMc_LIL::GetClassName() const { return "PDMc_LIL"; }

PDMc_WS* PDMc_LIL::GetWS() { return LDBTargetAs<PDMc_WS>(m_ws, true); }

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

PDMc_LILV* PDMc_LIL::GetCurrentLILV() { return LDBTargetAs<PDMc_LILV>(m_shortcut_current_lilv); }

PDMc_LILV* PDMc_LIL::CurrentLILV(const char* operation) {
    if (m_shortcut_current_lilv.IsNull()) {
        nyxErrorReport(kErrorNullArgument, operation, "LIL");
        return nullptr;
    }
    return GetCurrentLILV();
}

const nyxString& PDMc_LIL::GetName() {
    static const nyxString none;
    PDMc_LUFLI* record = GetLUFLI();
    return record != nullptr ? record->GetName() : none;
}

uint32_t PDMc_LIL::GetLOID() {
    PDMc_LUFLI* record = GetLUFLI();
    return record != nullptr ? record->GetLOID() : 0;
}

bool PDMc_LIL::IsModified() {
    PDMc_LILV* version = GetCurrentLILV();
    return version != nullptr && version->IsModified();
}

int32_t PDMc_LIL::Rename(const char* newName) {
    PDMc_LUFLI* record = GetLUFLI();
    if (record == nullptr) return nyxErrorReport(kErrorNullArgument, "PDMc_LIL::Rename", "LIL");
    return record->ModifyLOName(newName);
}

int32_t PDMc_LIL::GetOrigMembers(nyxCollection& out) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::GetOrigMembers");
    if (version == nullptr) return nyxErrorCurrentCode();
    CopyIds(version->GetOrigMembers(), out);
    return 0;
}

int32_t PDMc_LIL::GetRemovedMembers(nyxCollection& out) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::GetRemovedMembers");
    if (version == nullptr) return nyxErrorCurrentCode();
    CopyIds(version->GetRemovedMembers(), out);
    return 0;
}

int32_t PDMc_LIL::GetMembers(nyxCollection& out) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::GetMembers");
    if (version == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* members = version->GetWSPIs();
    if (members == nullptr && !nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    return CopyObjects(members, out);
}

int32_t PDMc_LIL::GetFiles(nyxCollection& out) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::GetFiles");
    if (version == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* files = version->GetFiles();
    if (files == nullptr && !nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    return CopyObjects(files, out);
}

PDMc_LF* PDMc_LIL::GetCurrentFile() {
    PDMc_LILV* version = GetCurrentLILV();
    return version != nullptr ? version->GetCurrentFile() : nullptr;
}

int32_t PDMc_LIL::GetPathForWrite(PDMc_LF* file, nyxString& out) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::GetPathForWrite");
    return version != nullptr ? version->GetPathForWrite(file, out) : nyxErrorCurrentCode();
}

PDMc_LF* PDMc_LIL::AddFile(const char* name, uint32_t position) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::AddFile");
    return version != nullptr ? version->AddFile(name, position) : nullptr;
}

int32_t PDMc_LIL::DeleteFile() {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::DeleteFile");
    return version != nullptr ? version->DeleteFile(version->GetCurrentFile())
                              : nyxErrorCurrentCode();
}

int32_t PDMc_LIL::SetTargetFolder(const char* text) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::SetTargetFolder");
    return version != nullptr ? version->SetTargetFolder(text) : nyxErrorCurrentCode();
}

int32_t PDMc_LIL::DeleteWSPIFromMembers(PDMc_WSPI* item) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::DeleteWSPIFromMembers");
    return version != nullptr ? version->DeleteWSPIFromMembers(item) : nyxErrorCurrentCode();
}

int32_t PDMc_LIL::DeleteWSPIFromMemberWSPIs(PDMc_WSPI* item) {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::DeleteWSPIFromMemberWSPIs");
    return version != nullptr ? version->DeleteWSPIFromMemberWSPIs(item) : nyxErrorCurrentCode();
}

PDMc_LILV* PDMc_LIL::ModifiedLILV(PDMc_LILV* version) {
    if (version == nullptr || version != GetCurrentLILV()) {
        // A version of an earlier state is frozen.
        nyxErrorPushInternal("PDMc_LIL::ModifiedLILV", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_WS* workspace = GetWS();
    PDMc_LUF* frame = workspace != nullptr ? workspace->GetCurrentFrame() : nullptr;
    if (frame == nullptr) return nullptr;
    if (version->GetCreatingFrame() == frame) {
        if (workspace->PurgeRedoStack() != 0) return nullptr;
        workspace->NoteLibraryVersionModified(version);
        return version;
    }
    PDMc_LILV* copy = version->CopyForFrame(frame);
    if (copy == nullptr) return nullptr;
    workspace->NoteLibraryVersionModified(copy);
    // Copies the frame library item into this frame if need be, ends the redo history and
    // moves the shortcut to the copy.
    PDMc_LUFLI* record = GetLUFLI();
    if (record == nullptr) {
        nyxErrorPushInternal("PDMc_LIL::ModifiedLILV", kSourcePath, __LINE__);
        return nullptr;
    }
    if (record->SetCurrentLILV(copy) != 0) return nullptr;
    return copy;
}

int32_t PDMc_LIL::CollectEarlierFiles(nyxCollection& set) {
    PDMc_WS* workspace = GetWS();
    if (workspace == nullptr) return nyxErrorCurrentCode();
    nyxSingleListOf<void*> records;
    int32_t last = workspace->GetCurrentStateNumber() - 1;
    if (int32_t rc = workspace->GetFrameItemsOfLIL(last, this, records)) return rc;
    return LDBForEachElement<PDMc_LUFLI>(records, [&set](PDMc_LUFLI* record) {
        if (!record->HasCurrentLILV()) return 0;
        PDMc_LILV* version = record->GetCurrentLILV();
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
