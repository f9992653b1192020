#include "srcldb/ldblil.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <vector>

#include "collections/nyxhash.h"
#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldb/ldblil";

constexpr int32_t kErrorNullArgument = 110;
constexpr int32_t kErrorModifiedMember = 2604;

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

// ---------------------------------------------------------------------------------------------
// Deletion

namespace {

// The current version of an item the library works on: 110 with the operation's name and
// "WSPI" for an item deleted in this state.
PDMc_WSPIV* MemberVersion(PDMc_WSPI* item, const char* operation) {
    PDMc_WSPIV* version = item->GetShortcutPIV();
    if (version == nullptr && nyxErrorStackEmpty())
        nyxErrorReport(kErrorNullArgument, operation, "WSPI");
    return version;
}

}  // namespace

int32_t PDMc_LIL::Delete() {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::Delete");
    if (version == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* members = version->GetWSPIs();
    if (members != nullptr && members->GetCount() != 0)
        return NYX_INTERNAL_ERROR("PDMc_LIL::Delete", kSourcePath);
    PDMc_LDB* connection = PDMc_LDB::FromOwner(GetOwner());
    if (connection == nullptr) return NYX_INTERNAL_ERROR("a library without a connection", kSourcePath);
    // The library's own files go at commit, unless the repository or a state that an undo can
    // return to still needs them.
    if (version->HasFiles()) {
        PDMc_LDBArray* files = version->GetFiles();
        if (files == nullptr) return nyxErrorCurrentCode();
        nyxSingleListOf<void*> earlier;
        if (int32_t rc = CollectEarlierFiles(earlier)) return rc;
        for (uint32_t i = 0; i < files->GetCount(); ++i) {
            PDMc_LF* file = LDBObjectAs<PDMc_LF>(files->ObjectAt(i));
            if (file == nullptr) {
                if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
                continue;
            }
            if (int32_t rc = LDBQueueDeleteUnlessHeld(connection, file, earlier)) return rc;
        }
    }
    PDMc_LUFLI* record = GetLUFLI();
    if (record == nullptr) return NYX_INTERNAL_ERROR("PDMc_LIL::Delete", kSourcePath);
    if (int32_t rc = record->RemoveFromFrame()) return rc;
    SetShortcutLILV(nullptr);
    return 0;
}

int32_t PDMc_LIL::ExtractInstance(PDMc_WSPI* instance) {
    if (CurrentLILV("PDMc_LIL::ExtractInstance") == nullptr) return nyxErrorCurrentCode();
    PDMc_WSPIV* version = MemberVersion(instance, "PDMc_LIL::ExtractInstance");
    if (version == nullptr) return nyxErrorCurrentCode();
    // Only a plain instance of this library leaves this way: a generic would leave its own
    // instances without a generic.
    if (version->GetLIL() != this || version->HasInstances() || !version->IsInstance())
        return NYX_INTERNAL_ERROR("PDMc_LIL::ExtractInstance", kSourcePath);
    PDMc_WSGIR* relation = version->GetGeneric();
    if (relation == nullptr || !relation->HasGenericWSPI())
        return NYX_INTERNAL_ERROR("PDMc_LIL::ExtractInstance", kSourcePath);
    PDMc_WSPI* generic = relation->GetGenericWSPI();
    if (generic == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = generic->DeleteInstanceWSGIR(relation)) return rc;
    if (int32_t rc = DeleteWSPIFromMembers(instance)) return rc;
    if (generic->HasInstances() || generic->IsInstance()) return 0;
    // The generic lost its last role, and the library has no one left to hold.
    if (int32_t rc = DeleteWSPIFromMembers(generic)) return rc;
    return Delete();
}

int32_t PDMc_LIL::DeleteInstance(PDMc_WSPI* instance) {
    if (int32_t rc = instance->RefuseIfUsedWhileNew()) return rc;
    if (int32_t rc = ExtractInstance(instance)) return rc;
    return instance->Delete();
}

int32_t PDMc_LIL::DeleteWithMemberWSPIs() {
    PDMc_LILV* version = CurrentLILV("PDMc_LIL::DeleteWithMemberWSPIs");
    if (version == nullptr) return nyxErrorCurrentCode();
    // The walks change the member array: they go over a copy of it.
    nyxSingleListOf<void*> members;
    if (int32_t rc = GetMembers(members)) return rc;
    // Nothing changes until every member is known to be free to go.
    int32_t rc = LDBForEachElement<PDMc_WSPI>(members, [](PDMc_WSPI* member) {
        if (MemberVersion(member, "PDMc_LIL::DeleteWithMemberWSPIs") == nullptr)
            return nyxErrorCurrentCode();
        return member->RefuseIfUsedWhileNew();
    });
    if (rc != 0) return rc;
    rc = LDBForEachElement<PDMc_WSPI>(members, [this](PDMc_WSPI* member) {
        if (int32_t code = member->MarkModifiedInLibrary()) return code;
        if (int32_t code = DeleteWSPIFromMemberWSPIs(member)) return code;
        PDMc_WSPIV* current = MemberVersion(member, "PDMc_LIL::DeleteWithMemberWSPIs");
        if (current == nullptr) return nyxErrorCurrentCode();
        current->ClearLibraryRoles();
        return member->Delete();
    });
    if (rc != 0) return rc;
    return Delete();
}

int32_t PDMc_LIL::ReleaseMember(PDMc_WSPI* item) {
    PDMc_WSPIV* version = MemberVersion(item, "PDMc_LIL::ReleaseMember");
    PDMc_WS* workspace = GetWS();
    if (version == nullptr || workspace == nullptr) return nyxErrorCurrentCode();
    // Work not yet submitted would be lost with the item alone; the client deletes the whole
    // library or submits first.
    if (version->IsModified()) return nyxErrorReport(kErrorModifiedMember, item->GetName(), GetName());
    // Letting go brings the version and the library version into this frame, but isn't a
    // change the client made: neither's modified state rises.
    workspace->SetAutoSetIsModified(false);
    int32_t rc = item->MarkModifiedInLibrary();
    if (rc == 0 && item->IsInstance()) rc = item->DetachFromGeneric();
    if (rc == 0 && item->HasInstances()) rc = item->DetachInstances();
    if (rc != 0) {
        workspace->SetAutoSetIsModified(true);
        return rc;
    }
    rc = DeleteWSPIFromMemberWSPIs(item);
    PDMc_LILV* current = GetCurrentLILV();
    PDMc_LDBArray* members = current != nullptr ? current->GetWSPIs() : nullptr;
    // The last member takes the library with it; the item's deletion goes on whatever that
    // gives.
    if (current != nullptr && (members == nullptr || members->GetCount() == 0)) Delete();
    workspace->SetAutoSetIsModified(true);
    return rc;
}

// ---------------------------------------------------------------------------------------------
// Integrity

namespace {

std::vector<uint32_t> SortedIds(const LDBIdVector& ids) {
    std::vector<uint32_t> sorted;
    sorted.reserve(ids.Count());
    for (uint32_t i = 0; i < ids.Count(); ++i) sorted.push_back(ids.At(i));
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    return sorted;
}

bool HoldsId(const std::vector<uint32_t>& sorted, uint32_t id) {
    return std::binary_search(sorted.begin(), sorted.end(), id);
}

const void* ItemKey(const void* element) { return element; }

}  // namespace

bool PDMc_LIL::CheckIntegrity() {
    PDMc_LILV* version = GetCurrentLILV();
    if (version == nullptr) return false;
    const nyxString name(GetName());
    const std::vector<uint32_t> original = SortedIds(version->GetOrigMembers());
    const std::vector<uint32_t> removed = SortedIds(version->GetRemovedMembers());
    // Every removed id must have been an original one; the two lists are walked in step.
    size_t next = 0;
    for (uint32_t id : original) {
        if (next < removed.size() && removed[next] == id) ++next;
    }
    if (next < removed.size()) {
        printf("CORRUPTION: LIL %s has id %lu as removed member and no as original member\n",
               name.c_str(), static_cast<unsigned long>(removed[next]));
        return true;
    }

    bool found = false;
    nyxDerivedHashOf<void*, void*> members(nyxPointerHash, ItemKey, 16);
    if (PDMc_LDBArray* array = version->GetWSPIs()) {
        for (uint32_t i = 0; i < array->GetCount(); ++i) {
            void* element = array->ObjectAt(i);
            if (element != nullptr) members.Insert(&element);
        }
    }
    // A member that came from the repository must be one of its original members; a library
    // made here has none.
    const bool isNew = IsNew();
    LDBForEachElement<PDMc_WSPI>(members, [&](PDMc_WSPI* item) {
        if (item->IsNew()) return 0;
        if (isNew) {
            if (!original.empty()) {
                printf("CORRUPTION: original member list for new LIL %s is not empty\n",
                       name.c_str());
                found = true;
            }
            if (!removed.empty()) {
                printf("CORRUPTION: removed member list for new LIL %s is not empty\n",
                       name.c_str());
                found = true;
            }
            return 0;
        }
        const uint32_t id = item->GetSourceId();
        if (!HoldsId(original, id)) {
            printf("CORRUPTION: LIL %s references non-new WSPI %s, which is not listed as an "
                   "original member\n", name.c_str(), item->GetName().c_str());
            found = true;
        }
        if (HoldsId(removed, id)) {
            printf("CORRUPTION: LIL %s references non-new WSPI %s, which is listed as a removed "
                   "member\n", name.c_str(), item->GetName().c_str());
            found = true;
        }
        return 0;
    });
    // Every item that names this library as its own must be on its member list.
    PDMc_WS* workspace = GetWS();
    nyxSingleListOf<void*> items;
    if (workspace != nullptr && workspace->GetWSPIs(items) == 0) {
        LDBForEachElement<PDMc_WSPI>(items, [&](PDMc_WSPI* item) {
            void* element = item;
            if (item->IsLibraryMember() && item->GetLIL() == this && !members.Contains(&element)) {
                printf("CORRUPTION: WSPI's (%s) LIL (%s) does not have this WSPI as member\n",
                       item->GetName().c_str(), name.c_str());
                found = true;
            }
            return 0;
        });
    }
    // Libraries that AddInstance makes have no file until the client adds one: worth a word,
    // not a corruption.
    if (version->GetCurrentFile() == nullptr) printf("POSSIBLE CORRUPTION: LIL %s has no file\n", name.c_str());
    return found;
}
