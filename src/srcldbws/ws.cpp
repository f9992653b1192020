#include "srcldbws/ws.h"

#include <new>

#include "btkdaytime.h"
#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldb/ldbattr.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldbws/ws";

constexpr int32_t kErrorNameTaken = 1901;
constexpr int32_t kErrorRefocusRefused = 2700;
constexpr int32_t kErrorRefocusOtherWorkspace = 2702;
constexpr int32_t kErrorNothingToUndo = 2651;
constexpr int32_t kErrorNothingToRedo = 2652;

uint32_t Now() { return static_cast<uint32_t>(PDMDateTimeCurrentStamp()); }

void Add(nyxCollection& out, PDMc_LDBObject* object) {
    void* element = object;
    out.Insert(&element);
}

}  // namespace

PDMc_WS::PDMc_WS() = default;

PDMc_WS::PDMc_WS(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WS* PDMc_WS::Create(PDMc_LDB* connection, const char* name, const char* directory) {
    PDMc_WS* workspace = new (std::nothrow) PDMc_WS(connection);
    PDMc_LDBArray* stack = new (std::nothrow) PDMc_LDBArray(connection);
    // What was made stays on the modified list for the abort to take away.
    if (workspace == nullptr || stack == nullptr) {
        nyxErrorPushInternal("no memory for a workspace", kSourcePath, __LINE__);
        return nullptr;
    }
    workspace->m_name = name;
    workspace->m_os_dir_path = directory;
    workspace->m_creation_stamp = Now();
    workspace->m_undo_stack = stack;
    PDMc_LUF* first = PDMc_LUF::CreateFirst(workspace);
    if (first == nullptr) return nullptr;
    stack->Append(first);
    workspace->m_luf = first;
    workspace->m_current_state_number = 0;
    workspace->m_file_ver_counter = 0;
    workspace->m_mod_count_generator = 0;
    workspace->m_auto_set_is_modified = true;
    workspace->m_is_ws_under_integration = false;
    workspace->m_user_data_id = -1;
    // Made now, and gone again if the transaction aborts. A failure (also a directory that is
    // there already) stands as error 418 and the client is to abort.
    connection->QueueNewDirectory(directory);
    return workspace;
}

int32_t PDMc_WS::Delete() {
    PDMc_LDB* connection = GetConnection();
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a workspace without a connection", kSourcePath);
    // No file is touched before the commit; then the directory goes with all it holds.
    int32_t result = connection->QueueDeleteDirectory(m_os_dir_path.c_str());
    int32_t rc = connection->RemoveWorkspace(m_name.c_str());
    if (result == 0) result = rc;
    if (PDMc_LDBArray* stack = GetUndoStack()) {
        while (stack->GetCount() > 0) {
            PDMc_LUF* frame = LDBObjectAs<PDMc_LUF>(stack->ObjectAt(0), true);
            stack->RemoveAt(0u);
            if (frame != nullptr) frame->DropMaps();
        }
        stack->Clear();
        rc = stack->MarkDeleted();
        if (result == 0) result = rc;
    } else if (result == 0) {
        result = nyxErrorCurrentCode();
    }
    rc = MarkDeleted();
    return result != 0 ? result : rc;
}

const char* PDMc_WS::GetClassName() const { return "PDMc_WS"; }

PDMc_LDBRef* PDMc_WS::GetAttrs() { return &m_attrs; }

PDMc_LDB* PDMc_WS::GetConnection() const { return PDMc_LDB::FromOwner(GetOwner()); }

void PDMc_WS::SetDescription(const char* text) {
    MarkModified();
    m_description = text;
    m_modification_stamp = Now();
}

void PDMc_WS::SetUserDataId(int32_t id) {
    MarkModified();
    m_user_data_id = id;
    m_modification_stamp = Now();
}

void PDMc_WS::SetUnderIntegration(bool flag) {
    MarkModified();
    m_is_ws_under_integration = flag;
}

// ---------------------------------------------------------------------------------------------
// Items

PDMc_WSPI* PDMc_WS::CreateNewPI(const char* name, PDMc_LPITD* typeDef, const char* fileName) {
    nyxString itemName(name);
    nyxString file(fileName);
    if (FindLPI(itemName.c_str()) != nullptr) {
        nyxErrorReport(kErrorNameTaken, itemName.IsEmpty() ? "<no name>" : itemName.c_str());
        return nullptr;
    }
    PDMc_LUF* frame = GetCurrentFrame();
    PDMc_LPI* lpi = frame != nullptr ? frame->AddPI(itemName.c_str(), typeDef, nullptr) : nullptr;
    if (lpi == nullptr) {
        if (nyxErrorStackEmpty())
            nyxErrorPushInternal("PDMc_WS::CreateNewPI", kSourcePath, __LINE__);
        return nullptr;
    }
    nyxSingleListOf<void*> files;
    if (!file.IsEmpty()) {
        PDMc_LDB* connection = GetConnection();
        if (connection == nullptr) {
            nyxErrorPushInternal("a workspace without a connection", kSourcePath, __LINE__);
            return nullptr;
        }
        nyxString path = LocalFilePath(file.c_str());
        PDMc_LF* made = PDMc_LF::Create(connection, path.c_str(), NextFileVersion());
        if (made == nullptr) return nullptr;
        Add(files, made);
    }
    PDMc_WSPI* item = new (std::nothrow) PDMc_WSPI(this, lpi);
    if (item == nullptr) {
        nyxErrorPushInternal("no memory for an item", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_WSPIV* version = PDMc_WSPIV::Create(this, lpi, "", "", "", "", false, false, &files);
    if (version == nullptr) return nullptr;
    version->SetCreatingFrame(frame);
    // A failure here stands on the stack for the client, who aborts; the item is made.
    frame->AddWSPI(item, version);
    return item;
}

PDMc_LIL* PDMc_WS::CreateNewLIL(const char* name, const char* fileName, nyxCollection& members) {
    nyxString libraryName(name);
    nyxString file(fileName);
    if (FindLIL(libraryName.c_str()) != nullptr) {
        nyxErrorReport(kErrorNameTaken, libraryName.c_str());
        return nullptr;
    }
    PDMc_LUF* frame = GetCurrentFrame();
    PDMc_LDB* connection = GetConnection();
    if (frame == nullptr) return nullptr;
    if (connection == nullptr) {
        nyxErrorPushInternal("a workspace without a connection", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LIL* library = PDMc_LIL::Create(this);
    if (library == nullptr) return nullptr;
    nyxSingleListOf<void*> files;
    if (!file.IsEmpty()) {
        nyxString path = LocalFilePath(file.c_str());
        PDMc_LF* made = PDMc_LF::Create(connection, path.c_str(), NextFileVersion());
        if (made == nullptr) return nullptr;
        Add(files, made);
    }
    PDMc_LILV* version = PDMc_LILV::Create(this, library, &files, "");
    PDMc_LDBArray* memberArray = new (std::nothrow) PDMc_LDBArray(GetOwner());
    if (version == nullptr) return nullptr;
    if (memberArray == nullptr) {
        nyxErrorPushInternal("no memory for a member list", kSourcePath, __LINE__);
        return nullptr;
    }
    int32_t rc = LDBForEachElement<PDMc_WSPI>(members, [memberArray](PDMc_WSPI* item) {
        return memberArray->Append(item) ? 0 : NYX_INTERNAL_ERROR("no memory", kSourcePath);
    });
    if (rc != 0 || version->SetWSPIs(memberArray) != 0) return nullptr;
    version->SetCreatingFrame(frame);
    if (frame->AddLIL(libraryName.c_str(), 0, library, version) != 0) return nullptr;
    return library;
}

void PDMc_WS::NoteLibraryVersionModified(PDMc_LILV* version) {
    if (m_auto_set_is_modified) version->SetIsModified(true);
}

void PDMc_WS::NoteVersionModified(PDMc_WSPIV* version) {
    if (m_auto_set_is_modified) version->SetIsModified();
}

void PDMc_WS::NoteAttributeModified(PDMc_LAV* value) {
    if (m_auto_set_is_modified) value->SetModified(true);
}

int32_t PDMc_WS::GetWSPIsByModified(bool wanted, nyxCollection& out) {
    nyxSingleListOf<void*> items;
    if (int32_t rc = GetWSPIs(items)) return rc;
    return LDBForEachElement<PDMc_WSPI>(items, [&](PDMc_WSPI* item) {
        PDMc_WSPIV* version = item->GetShortcutPIV();
        if (version == nullptr) return nyxErrorCurrentCode();
        if (version->IsModified() == wanted) Add(out, item);
        return 0;
    });
}

int32_t PDMc_WS::GetLILsByModified(bool wanted, nyxCollection& out) {
    nyxSingleListOf<void*> libraries;
    if (int32_t rc = GetLILs(libraries)) return rc;
    return LDBForEachElement<PDMc_LIL>(libraries, [&](PDMc_LIL* library) {
        PDMc_LILV* version = library->GetCurrentLILV();
        if (version == nullptr) return nyxErrorCurrentCode();
        if (version->IsModified() == wanted) Add(out, library);
        return 0;
    });
}

int32_t PDMc_WS::CheckRefocus(PDMc_WSPIV* version) {
    if (version->IsLibraryMember()) return nyxErrorReport(kErrorRefocusRefused);
    PDMc_WSPI* item = version->GetWSPI();
    nyxSingleListOf<void*> items;
    if (int32_t rc = GetWSPIs(items)) return rc;
    void* element = item;
    if (item == nullptr || !items.Contains(&element))
        return nyxErrorReport(kErrorRefocusOtherWorkspace);
    PDMc_WSPIV* current = item->GetShortcutPIV();
    if (current != nullptr && current->IsLibraryMember())
        return nyxErrorReport(kErrorRefocusRefused);
    PDMc_LDBArray* dependencies = version->GetDependencies();
    if (dependencies == nullptr) return 0;
    nyxSingleListOf<void*> identities;
    if (int32_t rc = GetLPIs(identities)) return rc;
    return LDBForEachElement<PDMc_WSD>(*dependencies, [&identities](PDMc_WSD* dependency) {
        PDMc_LPI* child = dependency->GetChildPI();
        if (child == nullptr) return nyxErrorCurrentCode();
        void* lpi = child;
        return identities.Contains(&lpi) ? 0 : nyxErrorReport(kErrorRefocusRefused);
    });
}

int32_t PDMc_WS::GetFrameItemsOfLPI(int32_t last, PDMc_LPI* lpi, nyxCollection& out) {
    PDMc_LDBArray* stack = GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    for (int32_t n = 0; n <= last && n < static_cast<int32_t>(stack->GetCount()); ++n) {
        PDMc_LUF* frame = LDBObjectAs<PDMc_LUF>(stack->ObjectAt(static_cast<uint32_t>(n)), true);
        if (frame == nullptr) return nyxErrorCurrentCode();
        if (PDMc_LUFI* record = frame->FindItemOfLPI(lpi)) Add(out, record);
    }
    return 0;
}

int32_t PDMc_WS::GetFrameItemsOfLIL(int32_t last, PDMc_LIL* lil, nyxCollection& out) {
    PDMc_LDBArray* stack = GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    for (int32_t n = 0; n <= last && n < static_cast<int32_t>(stack->GetCount()); ++n) {
        PDMc_LUF* frame = LDBObjectAs<PDMc_LUF>(stack->ObjectAt(static_cast<uint32_t>(n)), true);
        if (frame == nullptr) return nyxErrorCurrentCode();
        if (PDMc_LUFLI* record = frame->FindLibraryItemOfLIL(lil)) Add(out, record);
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Lookups, all through the current frame

PDMc_LPI* PDMc_WS::FindLPI(const char* name) {
    PDMc_LUF* frame = GetCurrentFrame();
    PDMc_LUFI* record = frame != nullptr ? frame->FindItem(name) : nullptr;
    return record != nullptr ? record->GetLPI() : nullptr;
}

PDMc_WSPI* PDMc_WS::FindWSPI(const char* name) {
    PDMc_LPI* lpi = FindLPI(name);
    return lpi != nullptr ? lpi->GetWSPI() : nullptr;
}

PDMc_LIL* PDMc_WS::FindLIL(const char* name) {
    PDMc_LUF* frame = GetCurrentFrame();
    PDMc_LUFLI* record = frame != nullptr ? frame->FindLibraryItem(name) : nullptr;
    return record != nullptr ? record->GetLIL() : nullptr;
}

int32_t PDMc_WS::GetLPIs(nyxCollection& out) {
    PDMc_LUF* frame = GetCurrentFrame();
    return frame != nullptr ? frame->GetLPIs(out) : nyxErrorCurrentCode();
}

int32_t PDMc_WS::GetWSPIs(nyxCollection& out) {
    PDMc_LUF* frame = GetCurrentFrame();
    return frame != nullptr ? frame->GetWSPIs(out) : nyxErrorCurrentCode();
}

int32_t PDMc_WS::GetLILs(nyxCollection& out) {
    PDMc_LUF* frame = GetCurrentFrame();
    return frame != nullptr ? frame->GetLILs(out) : nyxErrorCurrentCode();
}

int32_t PDMc_WS::CleanLPI(PDMc_LPI* lpi) {
    PDMc_LUFI* record = lpi->GetLUFI();
    if (record == nullptr) return nyxErrorCurrentCode();
    if (record->HasWSPI()) return 0;
    nyxSingleListOf<void*> used;
    if (int32_t rc = lpi->GetWhereUsed(used)) return rc;
    if (!used.IsEmpty()) return 0;
    return record->DeleteLPI();
}

// ---------------------------------------------------------------------------------------------
// States

PDMc_LUF* PDMc_WS::GetCurrentFrame() { return LDBTargetAs<PDMc_LUF>(m_luf, true); }

PDMc_LDBArray* PDMc_WS::GetUndoStack() { return LDBTargetAs<PDMc_LDBArray>(m_undo_stack, true); }

int32_t PDMc_WS::GetStackSize() {
    PDMc_LDBArray* stack = GetUndoStack();
    return stack != nullptr ? static_cast<int32_t>(stack->GetCount()) : 0;
}

int32_t PDMc_WS::Undo() {
    if (m_current_state_number <= 0) return nyxErrorReport(kErrorNothingToUndo, "Undo");
    return SetUndoFrame(m_current_state_number - 1);
}

int32_t PDMc_WS::Redo() {
    if (m_current_state_number >= GetStackSize() - 1)
        return nyxErrorReport(kErrorNothingToRedo, "Redo");
    return SetUndoFrame(m_current_state_number + 1);
}

int32_t PDMc_WS::CreateState() {
    // The new state follows the current one directly; what came after it is history no more.
    if (m_current_state_number < GetStackSize() - 1) PurgeRedoStack();
    PDMc_LUF* current = GetCurrentFrame();
    PDMc_LDBArray* stack = GetUndoStack();
    if (current == nullptr || stack == nullptr) return nyxErrorCurrentCode();
    PDMc_LUF* frame = current->CloneForNewState();
    if (frame == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBObject* element = frame;
    if (!stack->InsertAt(static_cast<uint32_t>(m_current_state_number + 1), &element))
        return NYX_INTERNAL_ERROR("no memory for a state", kSourcePath);
    return SetUndoFrame(m_current_state_number + 1);
}

int32_t PDMc_WS::SetUndoFrame(int32_t n) {
    MarkModified();
    PDMc_LDBArray* stack = GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    PDMc_LUF* frame = LDBObjectAs<PDMc_LUF>(stack->ObjectAt(static_cast<uint32_t>(n)), true);
    if (frame == nullptr) return nyxErrorCurrentCode();
    m_luf = frame;
    PDMc_LDBMap* items = frame->GetItems();
    PDMc_LDBMap* libraries = frame->GetLibraryItems();
    if (items == nullptr || libraries == nullptr) return nyxErrorCurrentCode();
    // Only what the frame holds is rebound: other identities keep an old record, which nothing
    // reaches while this frame is current.
    int32_t rc = LDBForEachElement<PDMc_LUFI>(*items, [](PDMc_LUFI* record) {
        if (!record->HasLPI()) return NYX_INTERNAL_ERROR("PDMc_WS::SetUndoFrame", kSourcePath);
        PDMc_LPI* lpi = record->GetLPI();
        if (lpi == nullptr) return nyxErrorCurrentCode();
        lpi->SetLUFI(record);
        return 0;
    });
    if (rc != 0) return rc;
    rc = LDBForEachElement<PDMc_LUFLI>(*libraries, [](PDMc_LUFLI* record) {
        if (!record->HasLIL()) return NYX_INTERNAL_ERROR("PDMc_WS::SetUndoFrame", kSourcePath);
        PDMc_LIL* lil = record->GetLIL();
        if (lil == nullptr) return nyxErrorCurrentCode();
        lil->SetLUFLI(record);
        return 0;
    });
    if (rc != 0) return rc;
    m_current_state_number = n;
    m_modification_stamp = Now();
    return 0;
}

int32_t PDMc_WS::PurgeRedoStack() {
    int32_t size = GetStackSize();
    if (m_current_state_number >= size - 1) return 0;
    MarkModified();
    nyxSingleListOf<void*> stays;
    nyxSingleListOf<void*> goes;
    PDMc_LDBArray* stack = GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    int32_t index = 0;
    int32_t current = m_current_state_number;
    int32_t rc = LDBForEachElement<PDMc_LUF>(*stack, [&](PDMc_LUF* frame) {
        Add(index++ <= current ? stays : goes, frame);
        return 0;
    });
    if (rc != 0) return rc;
    return DropFrames(stays, goes);
}

int32_t PDMc_WS::PurgeUndoStack(int32_t count) {
    if (m_current_state_number <= 0) return 0;
    MarkModified();
    if (count == 0) count = m_current_state_number;
    // A negative count would raise the state number past the stack.
    if (count > m_current_state_number || count < 0)
        return NYX_INTERNAL_ERROR("PDMc_WS::PurgeUndoStack", kSourcePath);
    nyxSingleListOf<void*> stays;
    nyxSingleListOf<void*> goes;
    PDMc_LDBArray* stack = GetUndoStack();
    if (stack == nullptr) return nyxErrorCurrentCode();
    int32_t index = 0;
    int32_t rc = LDBForEachElement<PDMc_LUF>(*stack, [&](PDMc_LUF* frame) {
        Add(index++ < count ? goes : stays, frame);
        return 0;
    });
    if (rc != 0) return rc;
    rc = DropFrames(stays, goes);
    // m_luf stays the same frame, at its new index.
    m_current_state_number -= count;
    return rc;
}

int32_t PDMc_WS::DropFrames(nyxCollection& stays, nyxCollection& goes) {
    int32_t result = PurgeFrames(stays, goes);
    // The frames go even if their files couldn't all be queued.
    LDBForEachElement<PDMc_LUF>(goes, [](PDMc_LUF* frame) { return frame->DropMaps(); });
    PDMc_LDBArray* stack = GetUndoStack();
    if (stack == nullptr) return result != 0 ? result : nyxErrorCurrentCode();
    stack->Clear();
    LDBForEachElement<PDMc_LUF>(stays, [stack](PDMc_LUF* frame) {
        stack->Append(frame);
        return 0;
    });
    return result;
}

int32_t PDMc_WS::PurgeFrames(nyxCollection& stays, nyxCollection& goes) {
    PDMc_LDB* connection = GetConnection();
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a workspace without a connection", kSourcePath);
    nyxSingleListOf<void*> kept;
    nyxSingleListOf<nyxString> keptPaths;
    int32_t rc = LDBForEachElement<PDMc_LUF>(stays, [&](PDMc_LUF* frame) {
        nyxSingleListOf<void*> files;
        if (int32_t collected = frame->CollectFiles(files)) return collected;
        return LDBForEachElement<PDMc_LF>(files, [&](PDMc_LF* file) {
            void* element = file;
            if (kept.Contains(&element)) return 0;
            kept.Insert(&element);
            nyxString path;
            file->GetPath(path);
            if (!keptPaths.Contains(&path)) keptPaths.Insert(&path);
            return 0;
        });
    });
    if (rc != 0) return rc;
    nyxSingleListOf<void*> going;
    rc = LDBForEachElement<PDMc_LUF>(goes, [&going](PDMc_LUF* frame) {
        return frame->CollectFiles(going);
    });
    if (rc != 0) return rc;
    going.RemoveEach(kept);
    // A repository file isn't ours to delete, and a path that a kept record also has is still
    // in use, whichever record stands for it.
    int32_t result = 0;
    LDBForEachElement<PDMc_LF>(going, [&](PDMc_LF* file) {
        if (file->IsRepositoryFile()) return 0;
        nyxString path;
        file->GetPath(path);
        if (keptPaths.Contains(&path)) return 0;
        int32_t queued = connection->QueueDeleteFile(path.c_str());
        if (result == 0) result = queued;
        return 0;
    });
    return result;
}

void PDMc_WS::ReleaseEarlierFrames() {
    PDMc_LDBObject* stack = m_undo_stack.LoadedTarget();
    if (stack == nullptr || stack->GetTypeCode() != PDMc_LDBArray::kTypeCode) return;
    PDMc_LDBObject* current = m_luf.LoadedTarget();
    const uint32_t currentAddress = m_luf.GetKey();
    const LDBRefVector& frames = static_cast<PDMc_LDBArray*>(stack)->References();
    for (uint32_t i = 0; i < frames.Count(); ++i) {
        PDMc_LDBObject* frame = frames.At(i).LoadedTarget();
        if (frame == nullptr || frame == current || frame->GetTypeCode() != PDMc_LUF::kTypeCode)
            continue;
        if (frame->GetStorageAddress() == 0 || frame->GetStorageAddress() == currentAddress) continue;
        static_cast<PDMc_LUF*>(frame)->ReleaseSearchAids();
    }
}
