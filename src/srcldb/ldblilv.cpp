#include "srcldb/ldblilv.h"

#include <new>

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldbluf.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"

namespace {

const char kSourcePath[] = "srcldb/ldblilv";

constexpr int32_t kErrorNullArgument = 110;
constexpr int32_t kErrorNotAFileOfVersion = 401;

PDMc_LDB* ConnectionOf(PDMc_LDBObject* object) { return PDMc_LDB::FromOwner(object->GetOwner()); }

int32_t NoMemory(const char* what) { return NYX_INTERNAL_ERROR(what, kSourcePath); }

// A new array of the owner with every entry of `source` but those that are `left`; `count`
// gets how many were left out. Null after a failure.
PDMc_LDBArray* ArrayWithout(LDBObjectOwner* owner, PDMc_LDBArray* source, PDMc_LDBObject* left,
                            uint32_t& count) {
    PDMc_LDBArray* rest = new (std::nothrow) PDMc_LDBArray(owner);
    if (rest == nullptr) {
        NoMemory("no memory for an array");
        return nullptr;
    }
    count = 0;
    for (uint32_t i = 0; source != nullptr && i < source->GetCount(); ++i) {
        PDMc_LDBObject* entry = source->ObjectAt(i);
        if (entry == left) {
            ++count;
        } else if (!rest->Append(entry)) {
            NoMemory("no memory for an array");
            return nullptr;
        }
    }
    return rest;
}

void CopyIds(const LDBIdVector& from, LDBIdVector& to) {
    to.Clear();
    for (uint32_t i = 0; i < from.Count(); ++i) to.Append(from.At(i));
}

}  // namespace

PDMc_LILV::PDMc_LILV() = default;

PDMc_LILV::PDMc_LILV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_LILV::PDMc_LILV(const PDMc_LILV& other)
    : PDMc_LDBObject(other),
      m_lil(other.m_lil),
      m_source_lovid(other.m_source_lovid),
      m_source_version(other.m_source_version),
      m_source_folder_path(other.m_source_folder_path),
      m_target_folder_path(other.m_target_folder_path),
      m_wspis(other.m_wspis),
      m_is_modified(other.m_is_modified),
      m_files(other.m_files),
      m_creating_frame(other.m_creating_frame) {
    CopyIds(other.m_orig_members, m_orig_members);
    CopyIds(other.m_removed_members, m_removed_members);
}

PDMc_LILV* PDMc_LILV::Create(PDMc_WS* workspace, PDMc_LIL* library, nyxCollection* files,
                             const char* targetFolder) {
    LDBObjectOwner* owner = workspace->GetOwner();
    PDMc_LILV* version = new (std::nothrow) PDMc_LILV(owner);
    PDMc_LDBArray* fileArray = new (std::nothrow) PDMc_LDBArray(owner);
    // What was made stays on the modified list for the abort to take away.
    if (version == nullptr || fileArray == nullptr) {
        NoMemory("no memory for a library version");
        return nullptr;
    }
    if (files != nullptr) {
        int32_t rc = LDBForEachElement<PDMc_LF>(*files, [fileArray](PDMc_LF* file) {
            return fileArray->Append(file) ? 0 : NoMemory("no memory for a file list");
        });
        if (rc != 0) return nullptr;
    }
    version->m_lil = library;
    version->m_target_folder_path = targetFolder;
    version->m_files = fileArray;
    version->m_is_modified = true;
    version->MarkModified();
    return version;
}

PDMc_LILV* PDMc_LILV::CopyForFrame(PDMc_LUF* frame) {
    PDMc_LDBArray* files = m_files.IsNull() ? nullptr : GetFiles();
    PDMc_LDBArray* members = m_wspis.IsNull() ? nullptr : GetWSPIs();
    if ((files == nullptr && !m_files.IsNull()) || (members == nullptr && !m_wspis.IsNull()))
        return nullptr;
    PDMc_LILV* copy = new (std::nothrow) PDMc_LILV(*this);
    PDMc_LDBArray* filesCopy =
        files != nullptr ? new (std::nothrow) PDMc_LDBArray(*files) : new (std::nothrow) PDMc_LDBArray(GetOwner());
    PDMc_LDBArray* membersCopy = members != nullptr ? new (std::nothrow) PDMc_LDBArray(*members)
                                                    : new (std::nothrow) PDMc_LDBArray(GetOwner());
    if (copy == nullptr || filesCopy == nullptr || membersCopy == nullptr) {
        NoMemory("no memory for a library version");
        return nullptr;
    }
    // The older version keeps its arrays for the frames that hold it.
    copy->m_files = filesCopy;
    copy->m_wspis = membersCopy;
    copy->m_creating_frame = frame;
    copy->MarkModified();
    return copy;
}

PDMc_LILV* PDMc_LILV::ForModification() {
    PDMc_LIL* library = GetLIL();
    if (library == nullptr) {
        if (nyxErrorStackEmpty()) nyxErrorPushInternal("PDMc_LIL::ModifiedLILV", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LILV* writable = library->ModifiedLILV(this);
    if (writable != nullptr) writable->MarkModified();
    return writable;
}

const char* PDMc_LILV::GetClassName() const { return "PDMc_LILV"; }

PDMc_LIL* PDMc_LILV::GetLIL() { return LDBTargetAs<PDMc_LIL>(m_lil, true); }

PDMc_WS* PDMc_LILV::GetWorkspace() {
    PDMc_LIL* library = GetLIL();
    return library != nullptr ? library->GetWS() : nullptr;
}

PDMc_LUF* PDMc_LILV::GetCreatingFrame() { return LDBTargetAs<PDMc_LUF>(m_creating_frame); }

const nyxString& PDMc_LILV::GetName() {
    PDMc_LIL* library = GetLIL();
    static const nyxString none;
    return library != nullptr ? library->GetName() : none;
}

PDMc_LDBArray* PDMc_LILV::GetWSPIs() { return LDBTargetAs<PDMc_LDBArray>(m_wspis); }

PDMc_LDBArray* PDMc_LILV::GetFiles() { return LDBTargetAs<PDMc_LDBArray>(m_files); }

PDMc_LF* PDMc_LILV::GetCurrentFile() {
    if (m_files.IsNull()) return nullptr;
    PDMc_LDBArray* files = GetFiles();
    if (files == nullptr || files->GetCount() == 0) return nullptr;
    return LDBObjectAs<PDMc_LF>(files->ObjectAt(0));
}

void PDMc_LILV::SetCreatingFrame(PDMc_LUF* frame) {
    MarkModified();
    m_creating_frame = frame;
}

void PDMc_LILV::SetIsModified(bool modified) {
    MarkModified();
    m_is_modified = modified;
}

int32_t PDMc_LILV::SetWSPIs(PDMc_LDBArray* members) {
    MarkModified();
    m_wspis = members;
    PDMc_LIL* library = GetLIL();
    if (library == nullptr) return nyxErrorCurrentCode();
    return LDBForEachElement<PDMc_WSPI>(*members,
                                        [library](PDMc_WSPI* item) { return item->SetLIL(library); });
}

int32_t PDMc_LILV::SetTargetFolder(const char* text) {
    nyxString folder(text);
    PDMc_LILV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    writable->m_target_folder_path = folder;
    return 0;
}

int32_t PDMc_LILV::QueueDeleteUnlessHeld(PDMc_LF* file) {
    if (file->IsRepositoryFile()) return 0;
    PDMc_LIL* library = GetLIL();
    PDMc_LDB* connection = ConnectionOf(this);
    if (library == nullptr) return nyxErrorCurrentCode();
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a library version without a connection", kSourcePath);
    nyxSingleListOf<void*> earlier;
    if (int32_t rc = library->CollectEarlierFiles(earlier)) return rc;
    return LDBQueueDeleteUnlessHeld(connection, file, earlier);
}

int32_t PDMc_LILV::GetPathForRead(PDMc_LF* file, nyxString& out) {
    if (file == nullptr) return nyxErrorReport(kErrorNullArgument, "GetPathForRead", "lf");
    file->GetPath(out);
    return 0;
}

int32_t PDMc_LILV::GetPathForWrite(PDMc_LF* file, nyxString& out) {
    if (file == nullptr) return nyxErrorReport(kErrorNullArgument, "GetPathForWrite", "lf");
    uint32_t position = 0;
    // As for an item's version: a file that isn't this version's has no place to be written.
    if (!LDBIndexOfObject(m_files.IsNull() ? nullptr : GetFiles(), file, position)) return nyxErrorReport(kErrorNotAFileOfVersion, file->GetFileName());
    PDMc_LDB* connection = ConnectionOf(this);
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a library version without a connection", kSourcePath);
    PDMc_LILV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = writable->QueueDeleteUnlessHeld(file)) return rc;
    PDMc_WS* workspace = writable->GetWorkspace();
    if (workspace == nullptr) return nyxErrorCurrentCode();
    return LDBPutWritableCopy(connection, workspace, writable->GetFiles(), position, file, out,
                              "PDMc_LILV::GetPathForWrite");
}

PDMc_LF* PDMc_LILV::AddFile(const char* name, uint32_t position) {
    // The name may be the library's, held by a record that the steps below replace.
    nyxString fileName(name);
    PDMc_LDBArray* files = m_files.IsNull() ? nullptr : GetFiles();
    if (files == nullptr && !m_files.IsNull()) return nullptr;
    uint32_t count = files != nullptr ? files->GetCount() : 0;
    // Positions are kept: a taken one isn't overwritten, and a file can't stand behind a gap.
    if ((position < count && files->ObjectAt(position) != nullptr) || position > count) {
        nyxErrorPushInternal("PDMc_LILV::AddFile", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LDB* connection = ConnectionOf(this);
    if (connection == nullptr) {
        NoMemory("a library version without a connection");
        return nullptr;
    }
    PDMc_LILV* writable = ForModification();
    if (writable == nullptr) return nullptr;
    PDMc_WS* workspace = writable->GetWorkspace();
    if (workspace == nullptr) return nullptr;
    nyxString path = workspace->LocalFilePath(fileName.c_str());
    PDMc_LF* file = PDMc_LF::Create(connection, path.c_str(), workspace->NextFileVersion());
    if (file == nullptr) return nullptr;
    // The client writes the file at its versioned path: that is what an abort must take away.
    nyxString onDisk;
    file->GetPath(onDisk);
    if (connection->QueueNewFile(onDisk.c_str()) != 0) return nullptr;
    if (writable->m_files.IsNull()) {
        PDMc_LDBArray* made = new (std::nothrow) PDMc_LDBArray(GetOwner());
        if (made == nullptr) {
            NoMemory("no memory for a file list");
            return nullptr;
        }
        writable->m_files = made;
    }
    PDMc_LDBArray* target = writable->GetFiles();
    if (target == nullptr) return nullptr;
    PDMc_LDBObject* element = file;
    bool stored = position == target->GetCount() ? target->Insert(&element)
                                                 : target->SetAt(position, &element);
    if (!stored) {
        NoMemory("PDMc_LILV::AddFile");
        return nullptr;
    }
    return file;
}

int32_t PDMc_LILV::DeleteFile(PDMc_LF* file) {
    if (file == nullptr) return nyxErrorReport(kErrorNullArgument, "DeleteFile", "lf");
    PDMc_LDBArray* files = m_files.IsNull() ? nullptr : GetFiles();
    if (files == nullptr && !m_files.IsNull()) return nyxErrorCurrentCode();
    uint32_t found = 0;
    PDMc_LDBArray* rest = ArrayWithout(GetOwner(), files, file, found);
    if (rest == nullptr) return nyxErrorCurrentCode();
    if (found == 0) return nyxErrorReport(kErrorNotAFileOfVersion, file->GetFileName());
    if (found > 1) return NYX_INTERNAL_ERROR("PDMc_LILV::DeleteFile", kSourcePath);
    PDMc_LILV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = writable->QueueDeleteUnlessHeld(file)) return rc;
    // A new array, as the old one may belong to a version an earlier state holds.
    writable->MarkModified();
    writable->m_files = rest;
    return 0;
}

int32_t PDMc_LILV::AddWSPIToMembers(PDMc_WSPI* item) {
    if (item->GetSourceId() != 0)
        return NYX_INTERNAL_ERROR("PDMc_LILV::AddWSPIToMembers", kSourcePath);
    return AddWSPIToMemberWSPIs(item);
}

int32_t PDMc_LILV::AddWSPIToMemberWSPIs(PDMc_WSPI* item) {
    PDMc_LILV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    if (writable->m_wspis.IsNull()) {
        PDMc_LDBArray* made = new (std::nothrow) PDMc_LDBArray(GetOwner());
        if (made == nullptr) return NoMemory("no memory for a member list");
        writable->m_wspis = made;
    }
    PDMc_LDBArray* members = writable->GetWSPIs();
    if (members == nullptr || !members->Append(item))
        return NYX_INTERNAL_ERROR("PDMc_LILV::AddWSPIToMemberWSPIs", kSourcePath);
    PDMc_LIL* library = writable->GetLIL();
    if (library == nullptr) return nyxErrorCurrentCode();
    return item->SetLIL(library);
}

int32_t PDMc_LILV::DeleteWSPIFromMemberWSPIs(PDMc_WSPI* item) {
    PDMc_LILV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* members = writable->m_wspis.IsNull() ? nullptr : writable->GetWSPIs();
    if (members == nullptr && !writable->m_wspis.IsNull()) return nyxErrorCurrentCode();
    uint32_t found = 0;
    PDMc_LDBArray* rest = ArrayWithout(GetOwner(), members, item, found);
    if (rest == nullptr) return nyxErrorCurrentCode();
    // An item that isn't a member, or stands twice, changes nothing.
    if (found != 1) return NYX_INTERNAL_ERROR("PDMc_LILV::DeleteWSPIFromMemberWSPIs", kSourcePath);
    writable->MarkModified();
    writable->m_wspis = rest;
    return item->SetLIL(nullptr);
}

int32_t PDMc_LILV::DeleteWSPIFromMembers(PDMc_WSPI* item) {
    uint32_t id = item->GetSourceId();
    if (int32_t rc = DeleteWSPIFromMemberWSPIs(item)) return rc;
    if (id == 0) return 0;
    PDMc_LIL* library = GetLIL();
    PDMc_LILV* current = library != nullptr ? library->GetCurrentLILV() : nullptr;
    if (current == nullptr) return NYX_INTERNAL_ERROR("PDMc_LILV::DeleteWSPIFromMembers", kSourcePath);
    // The version may be a fresh copy by now; the account goes into that one.
    uint32_t matches = 0;
    for (uint32_t i = 0; i < current->m_orig_members.Count(); ++i) {
        if (current->m_orig_members.At(i) != id) continue;
        if (++matches > 1) return NYX_INTERNAL_ERROR("PDMc_LILV::DeleteWSPIFromMembers", kSourcePath);
        current->MarkModified();
        current->m_removed_members.Append(id);
    }
    if (matches == 0 && !library->IsNew())
        return NYX_INTERNAL_ERROR("PDMc_LILV::DeleteWSPIFromMembers", kSourcePath);
    return 0;
}
