#include "srcldbws/wspiv.h"

#include <cstring>
#include <new>

#include "btkdaytime.h"
#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wspi.h"

namespace {

const char kSourcePath[] = "srcldbws/wspiv";

constexpr int32_t kErrorNullArgument = 110;
constexpr int32_t kErrorNotAFileOfVersion = 401;
constexpr int32_t kErrorFilePositionTaken = 407;

uint32_t Now() { return static_cast<uint32_t>(PDMDateTimeCurrentStamp()); }

template <class T>
T* NoMemory(const char* what) {
    nyxErrorPushInternal(what, kSourcePath, __LINE__);
    return nullptr;
}

PDMc_LDB* ConnectionOf(PDMc_LDBObject* object) { return PDMc_LDB::FromOwner(object->GetOwner()); }

}  // namespace

PDMc_WSPIV::PDMc_WSPIV() = default;

PDMc_WSPIV::PDMc_WSPIV(LDBObjectOwner* owner) : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

PDMc_WSPIV::PDMc_WSPIV(const PDMc_WSPIV& other)
    : PDMc_LDBObject(other),
      m_workspace(other.m_workspace),
      m_description(other.m_description),
      m_lpi(other.m_lpi),
      m_source_rpiv_id(other.m_source_rpiv_id),
      m_source_branch_name(other.m_source_branch_name),
      m_target_branch_name(other.m_target_branch_name),
      m_source_revision(other.m_source_revision),
      m_target_revision(other.m_target_revision),
      m_source_version(other.m_source_version),
      m_source_release_level(other.m_source_release_level),
      m_target_release_level(other.m_target_release_level),
      m_source_folder_path(other.m_source_folder_path),
      m_target_folder_path(other.m_target_folder_path),
      m_is_instance(other.m_is_instance),
      m_has_instances(other.m_has_instances),
      m_is_modified(other.m_is_modified),
      m_mod_count(other.m_mod_count),
      m_local_mod_intent(other.m_local_mod_intent),
      m_files(other.m_files),
      m_attr_values(other.m_attr_values),
      m_unset_attr_defs(other.m_unset_attr_defs),
      m_dependencies(other.m_dependencies),
      m_is_repository_ref(other.m_is_repository_ref),
      m_creating_frame(other.m_creating_frame),
      m_lil(other.m_lil),
      m_generic_wsgir(other.m_generic_wsgir),
      m_instance_wsgirs(other.m_instance_wsgirs),
      m_instances_creating_frame(other.m_instances_creating_frame),
      m_creation_stamp(other.m_creation_stamp),
      m_modification_stamp(other.m_modification_stamp),
      m_hold_from_submission(other.m_hold_from_submission),
      m_marked_for_checkin(other.m_marked_for_checkin),
      m_ws_status(other.m_ws_status),
      m_user_data_id(other.m_user_data_id) {}

PDMc_WSPIV* PDMc_WSPIV::Create(PDMc_WS* workspace, PDMc_LPI* lpi, const char* targetBranch,
                               const char* targetRevision, const char* targetReleaseLevel,
                               const char* targetFolder, bool isInstance, bool hasInstances,
                               nyxCollection* files) {
    LDBObjectOwner* owner = workspace->GetOwner();
    PDMc_WSPIV* version = new (std::nothrow) PDMc_WSPIV(owner);
    PDMc_LDBArray* fileArray = new (std::nothrow) PDMc_LDBArray(owner);
    PDMc_LDBMap* values = new (std::nothrow) PDMc_LDBMap(owner, PDMc_LDBMap::kNewCapacity);
    PDMc_LDBArray* dependencies = new (std::nothrow) PDMc_LDBArray(owner);
    // What was made stays on the modified list for the abort to take away.
    if (version == nullptr || fileArray == nullptr || values == nullptr || dependencies == nullptr)
        return NoMemory<PDMc_WSPIV>("no memory for a version");
    version->m_workspace = workspace;
    version->m_lpi = lpi;
    version->m_target_branch_name = targetBranch;
    version->m_target_revision = targetRevision;
    version->m_target_release_level = targetReleaseLevel;
    version->m_target_folder_path = targetFolder;
    version->m_is_instance = isInstance;
    version->m_has_instances = hasInstances;
    version->m_user_data_id = -1;
    if (files != nullptr) {
        int32_t rc = LDBForEachElement<PDMc_LF>(*files, [fileArray](PDMc_LF* file) {
            return fileArray->Append(file) ? 0 : NYX_INTERNAL_ERROR("no memory", kSourcePath);
        });
        if (rc != 0) return nullptr;
    }
    version->m_files = fileArray;
    version->m_attr_values = values;
    version->m_dependencies = dependencies;
    // Born modified, whatever the workspace's automatic raising says.
    version->m_is_modified = 1;
    version->m_mod_count = workspace->NextModCount();
    version->m_hold_from_submission = false;
    version->m_marked_for_checkin = true;
    version->m_ws_status = 0;
    version->m_creation_stamp = Now();
    version->m_modification_stamp = version->m_creation_stamp;
    version->MarkModified();
    return version;
}

PDMc_WSPIV* PDMc_WSPIV::CloneForFrame(PDMc_LUF* frame) {
    PDMc_LDBMap* values = LDBTargetAs<PDMc_LDBMap>(m_attr_values, true);
    PDMc_LDBArray* files = LDBTargetAs<PDMc_LDBArray>(m_files, true);
    if (values == nullptr || files == nullptr) return nullptr;
    PDMc_LDBArray* unset = nullptr;
    if (!m_unset_attr_defs.IsNull()) {
        unset = LDBTargetAs<PDMc_LDBArray>(m_unset_attr_defs);
        if (unset == nullptr) return nullptr;
    }
    PDMc_LDBArray* dependencies = nullptr;
    if (!m_dependencies.IsNull()) {
        dependencies = LDBTargetAs<PDMc_LDBArray>(m_dependencies);
        if (dependencies == nullptr) return nullptr;
    }
    PDMc_WSPIV* copy = new (std::nothrow) PDMc_WSPIV(*this);
    if (copy == nullptr) return NoMemory<PDMc_WSPIV>("no memory for a version");
    copy->m_creating_frame = frame;
    // The copy gets containers of its own; their elements, files and values alike, are shared.
    PDMc_LDBMap* valuesCopy = new (std::nothrow) PDMc_LDBMap(*values);
    PDMc_LDBArray* filesCopy = new (std::nothrow) PDMc_LDBArray(*files);
    PDMc_LDBArray* dependenciesCopy = new (std::nothrow) PDMc_LDBArray(GetOwner());
    if (valuesCopy == nullptr || filesCopy == nullptr || dependenciesCopy == nullptr)
        return NoMemory<PDMc_WSPIV>("no memory for a version");
    copy->m_attr_values = valuesCopy;
    copy->m_files = filesCopy;
    copy->m_dependencies = dependenciesCopy;
    if (unset != nullptr) {
        PDMc_LDBArray* unsetCopy = new (std::nothrow) PDMc_LDBArray(*unset);
        if (unsetCopy == nullptr) return NoMemory<PDMc_WSPIV>("no memory for a version");
        copy->m_unset_attr_defs = unsetCopy;
    }
    // Dependency i of the copy is the twin of dependency i here, so that an index taken on
    // one list holds on the other.
    if (dependencies != nullptr) {
        int32_t rc = LDBForEachElement<PDMc_WSD>(*dependencies, [&](PDMc_WSD* dependency) {
            PDMc_WSD* twin = dependency->CloneForParent(copy);
            if (twin == nullptr) return nyxErrorCurrentCode();
            return dependenciesCopy->Append(twin) ? 0 : NYX_INTERNAL_ERROR("no memory", kSourcePath);
        });
        if (rc != 0) return nullptr;
    }
    return copy;
}

PDMc_WSPIV* PDMc_WSPIV::ForModification() {
    PDMc_WSPI* item = GetWSPI();
    if (item == nullptr) {
        // A version whose item is gone from the current state has nothing to be written for.
        nyxErrorPushInternal("PDMc_WSPI::ModifiedWSPIV", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_WSPIV* writable = item->ModifiedWSPIV(this);
    if (writable == nullptr) return nullptr;
    writable->MarkModified();
    writable->m_modification_stamp = Now();
    return writable;
}

int32_t PDMc_WSPIV::SetCreatingFrame(PDMc_LUF* frame) {
    MarkModified();
    m_creating_frame = frame;
    m_modification_stamp = Now();
    return 0;
}

const char* PDMc_WSPIV::GetClassName() const { return "PDMc_WSPIV"; }

PDMc_LDBRef* PDMc_WSPIV::GetAttrs() { return &m_attrs; }

PDMc_WS* PDMc_WSPIV::GetWS() { return LDBTargetAs<PDMc_WS>(m_workspace, true); }

PDMc_LPI* PDMc_WSPIV::GetLPI() { return LDBTargetAs<PDMc_LPI>(m_lpi, true); }

PDMc_LUF* PDMc_WSPIV::GetCreatingFrame() { return LDBTargetAs<PDMc_LUF>(m_creating_frame, true); }

PDMc_WSPI* PDMc_WSPIV::GetWSPI() {
    PDMc_LPI* lpi = GetLPI();
    return lpi != nullptr ? lpi->GetWSPI() : nullptr;
}

const nyxString& PDMc_WSPIV::GetName() {
    static const nyxString kNoName;
    PDMc_LPI* lpi = GetLPI();
    return lpi != nullptr ? lpi->GetName() : kNoName;
}

PDMc_LPITD* PDMc_WSPIV::GetTypeDef() {
    PDMc_LPI* lpi = GetLPI();
    return lpi != nullptr ? lpi->GetTypeDef() : nullptr;
}

PDMc_LIL* PDMc_WSPIV::GetLIL() { return LDBTargetAs<PDMc_LIL>(m_lil); }

void PDMc_WSPIV::SetLIL(PDMc_LIL* library) {
    MarkModified();
    m_lil = library;
}

void PDMc_WSPIV::SetIsModified() {
    // Bit 0 is a write of the data; bit 1, a change of the dependency list, stays as it is.
    m_is_modified |= 1;
    if (PDMc_WS* workspace = GetWS()) m_mod_count = workspace->NextModCount();
    MarkModified();
}

// ---------------------------------------------------------------------------------------------
// Writes of the data

int32_t PDMc_WSPIV::SetText(nyxString PDMc_WSPIV::*member, const char* text) {
    // The text may be the member itself, which the copy or the store would pull from under it.
    nyxString copy(text);
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    writable->*member = copy;
    return 0;
}

int32_t PDMc_WSPIV::SetDescription(const char* text) {
    return SetText(&PDMc_WSPIV::m_description, text);
}

int32_t PDMc_WSPIV::SetTargetBranchName(const char* text) {
    return SetText(&PDMc_WSPIV::m_target_branch_name, text);
}

int32_t PDMc_WSPIV::SetTargetRevision(const char* text) {
    return SetText(&PDMc_WSPIV::m_target_revision, text);
}

int32_t PDMc_WSPIV::SetTargetReleaseLevel(const char* text) {
    return SetText(&PDMc_WSPIV::m_target_release_level, text);
}

int32_t PDMc_WSPIV::SetTargetFolder(const char* text) {
    return SetText(&PDMc_WSPIV::m_target_folder_path, text);
}

// ---------------------------------------------------------------------------------------------
// Marks, in place

void PDMc_WSPIV::SetHoldFromSubmission(bool hold) {
    MarkModified();
    m_hold_from_submission = hold;
    if (hold) m_marked_for_checkin = false;
}

void PDMc_WSPIV::SetMarkedForCheckIn(bool marked) {
    if (m_hold_from_submission) return;
    MarkModified();
    m_marked_for_checkin = marked;
}

void PDMc_WSPIV::SetWorkspaceStatus(int32_t status) {
    MarkModified();
    m_ws_status = status;
}

void PDMc_WSPIV::SetUserDataId(int32_t id) {
    PDMc_WS* workspace = GetWS();
    // The id is the client's bookkeeping, not a change of the item's data.
    if (workspace != nullptr) workspace->SetAutoSetIsModified(false);
    MarkModified();
    m_user_data_id = id;
    if (workspace != nullptr) workspace->SetAutoSetIsModified(true);
}

// ---------------------------------------------------------------------------------------------
// Files

PDMc_LDBArray* PDMc_WSPIV::GetFiles() { return LDBTargetAs<PDMc_LDBArray>(m_files); }

PDMc_LF* PDMc_WSPIV::FirstFile() {
    if (m_files.IsNull()) return nullptr;
    PDMc_LDBArray* files = GetFiles();
    if (files == nullptr || files->GetCount() == 0) return nullptr;
    return LDBObjectAs<PDMc_LF>(files->ObjectAt(0));
}

bool PDMc_WSPIV::PositionOf(PDMc_LF* file, uint32_t& position) {
    return LDBIndexOfObject(m_files.IsNull() ? nullptr : GetFiles(), file, position);
}

int32_t PDMc_WSPIV::QueueDeleteUnlessHeld(PDMc_LF* file) {
    if (file->IsRepositoryFile()) return 0;
    PDMc_WSPI* item = GetWSPI();
    PDMc_LDB* connection = ConnectionOf(this);
    if (item == nullptr) return nyxErrorCurrentCode();
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a version without a connection", kSourcePath);
    nyxSingleListOf<void*> earlier;
    if (int32_t rc = item->CollectEarlierFiles(earlier)) return rc;
    return LDBQueueDeleteUnlessHeld(connection, file, earlier);
}

int32_t PDMc_WSPIV::GetPathForReading(PDMc_LF* file, nyxString& out) {
    if (file == nullptr) return nyxErrorReport(kErrorNullArgument, "GetPathForReading", "lf");
    file->GetPath(out);
    return 0;
}

int32_t PDMc_WSPIV::GetPathForWriting(PDMc_LF* file, nyxString& out) {
    if (file == nullptr) return nyxErrorReport(kErrorNullArgument, "GetPathForWriting", "lf");
    uint32_t position = 0;
    if (!PositionOf(file, position))
        return nyxErrorReport(kErrorNotAFileOfVersion, file->GetFileName());
    PDMc_LDB* connection = ConnectionOf(this);
    if (connection == nullptr)
        return NYX_INTERNAL_ERROR("a version without a connection", kSourcePath);
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = writable->QueueDeleteUnlessHeld(file)) return rc;
    PDMc_WS* workspace = writable->GetWS();
    if (workspace == nullptr) return nyxErrorCurrentCode();
    return LDBPutWritableCopy(connection, workspace, writable->GetFiles(), position, file, out,
                              "PDMc_WSPIV::GetPathForWriting");
}

PDMc_LF* PDMc_WSPIV::AddFile(const char* name, uint32_t position) {
    // The name may live in a record that the steps below replace.
    nyxString fileName(name);
    uint32_t count = 0;
    if (!m_files.IsNull()) {
        PDMc_LDBArray* files = GetFiles();
        if (files == nullptr) return nullptr;
        count = files->GetCount();
        if (position < count && files->ObjectAt(position) != nullptr) {
            nyxErrorReport(kErrorFilePositionTaken, fileName);
            return nullptr;
        }
    }
    // Positions are kept: a file can't stand behind a gap.
    if (position > count) {
        nyxErrorPushInternal("PDMc_WSPIV::AddFile", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LDB* connection = ConnectionOf(this);
    if (connection == nullptr) {
        nyxErrorPushInternal("a version without a connection", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nullptr;
    PDMc_WS* workspace = writable->GetWS();
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
        if (made == nullptr) return NoMemory<PDMc_LF>("no memory for a file list");
        writable->m_files = made;
    }
    PDMc_LDBArray* files = writable->GetFiles();
    if (files == nullptr) return nullptr;
    PDMc_LDBObject* element = file;
    bool stored = position == files->GetCount() ? files->Insert(&element)
                                                : files->SetAt(position, &element);
    if (!stored) return NoMemory<PDMc_LF>("PDMc_WSPIV::AddFile");
    return file;
}

int32_t PDMc_WSPIV::DeleteFile(PDMc_LF* file) {
    if (file == nullptr) return nyxErrorReport(kErrorNullArgument, "DeleteFile", "lf");
    PDMc_LDBArray* files = m_files.IsNull() ? nullptr : GetFiles();
    if (files == nullptr && !m_files.IsNull()) return nyxErrorCurrentCode();
    uint32_t found = 0;
    for (uint32_t i = 0; files != nullptr && i < files->GetCount(); ++i)
        if (files->ObjectAt(i) == file) ++found;
    if (found == 0) return nyxErrorReport(kErrorNotAFileOfVersion, file->GetFileName());
    if (found > 1) return NYX_INTERNAL_ERROR("PDMc_WSPIV::DeleteFile", kSourcePath);
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    if (int32_t rc = writable->QueueDeleteUnlessHeld(file)) return rc;
    // The entries behind the file move up one place: a new array, as the old one may belong
    // to the version an earlier state holds.
    PDMc_LDBArray* current = writable->GetFiles();
    PDMc_LDBArray* rest = new (std::nothrow) PDMc_LDBArray(GetOwner());
    if (current == nullptr) return nyxErrorCurrentCode();
    if (rest == nullptr) return NYX_INTERNAL_ERROR("no memory for a file list", kSourcePath);
    for (uint32_t i = 0; i < current->GetCount(); ++i) {
        PDMc_LDBObject* entry = current->ObjectAt(i);
        if (entry != file && !rest->Append(entry))
            return NYX_INTERNAL_ERROR("no memory", kSourcePath);
    }
    writable->MarkModified();
    writable->m_files = rest;
    return 0;
}

int32_t PDMc_WSPIV::DeleteOwnFiles() {
    if (m_files.IsNull()) return 0;
    PDMc_LDBArray* files = GetFiles();
    if (files == nullptr) return nyxErrorCurrentCode();
    for (uint32_t i = 0; i < files->GetCount(); ++i) {
        PDMc_LF* file = LDBObjectAs<PDMc_LF>(files->ObjectAt(i));
        if (file == nullptr) continue;
        if (int32_t rc = QueueDeleteUnlessHeld(file)) return rc;
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Attributes

int32_t PDMc_WSPIV::SetAttrValue(const char* name, PDMc_LAV* value) {
    nyxString key(name);
    PDMc_WS* workspace = GetWS();
    if (workspace == nullptr) return nyxErrorCurrentCode();
    workspace->NoteAttributeModified(value);
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBMap* values = LDBTargetAs<PDMc_LDBMap>(writable->m_attr_values, true);
    if (values == nullptr) return nyxErrorCurrentCode();
    values->RemoveName(key.c_str());
    if (!values->Put(key.c_str(), value)) return NYX_INTERNAL_ERROR("no memory", kSourcePath);
    return 0;
}

int32_t PDMc_WSPIV::SetDBAttribute(PDMc_LAD* definition, bool flag, const PDMc_LDBValue& value) {
    PDMc_LAV* made = PDMc_LAV::CreateFromDB(definition, flag, value);
    if (made == nullptr) return nyxErrorCurrentCode();
    return SetAttrValue(definition->GetName().c_str(), made);
}

int32_t PDMc_WSPIV::SetAttribute(PDMc_LAD* definition, const PDMc_LDBValue& value) {
    PDMc_LAV* made = PDMc_LAV::CreateLocal(definition, value);
    if (made == nullptr) return nyxErrorCurrentCode();
    return SetAttrValue(definition->GetName().c_str(), made);
}

int32_t PDMc_WSPIV::UnsetAttribute(PDMc_LAD* definition) {
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBMap* values = LDBTargetAs<PDMc_LDBMap>(writable->m_attr_values, true);
    if (values == nullptr) return nyxErrorCurrentCode();
    values->RemoveName(definition->GetName().c_str());
    if (writable->m_unset_attr_defs.IsNull()) {
        PDMc_LDBArray* made = new (std::nothrow) PDMc_LDBArray(GetOwner());
        if (made == nullptr) return NYX_INTERNAL_ERROR("no memory for a list", kSourcePath);
        writable->m_unset_attr_defs = made;
    }
    PDMc_LDBArray* unset = writable->GetUnsetAttrDefs();
    if (unset == nullptr) return nyxErrorCurrentCode();
    // By object: a reference compares new objects of one owner as equal.
    for (uint32_t i = 0; i < unset->GetCount(); ++i)
        if (unset->ObjectAt(i) == definition) return 0;
    return unset->Append(definition) ? 0 : NYX_INTERNAL_ERROR("no memory", kSourcePath);
}

PDMc_LAV* PDMc_WSPIV::GetAttribute(PDMc_LAD* definition) {
    PDMc_LDBMap* values = LDBTargetAs<PDMc_LDBMap>(m_attr_values);
    if (values == nullptr) return nullptr;
    return LDBObjectAs<PDMc_LAV>(values->Find(definition->GetName().c_str()));
}

int32_t PDMc_WSPIV::GetAttributeNames(nyxCollection& out) {
    out.Clear();
    if (m_attr_values.IsNull()) return 0;
    PDMc_LDBMap* values = LDBTargetAs<PDMc_LDBMap>(m_attr_values);
    if (values == nullptr) return nyxErrorCurrentCode();
    return LDBForEachElement<PDMc_LAV>(*values, [&out](PDMc_LAV* value) {
        void* element = value;
        out.Insert(&element);
        return 0;
    });
}

PDMc_LDBArray* PDMc_WSPIV::GetUnsetAttrDefs() {
    return LDBTargetAs<PDMc_LDBArray>(m_unset_attr_defs);
}

// ---------------------------------------------------------------------------------------------
// Dependencies

PDMc_LDBArray* PDMc_WSPIV::GetDependencies() { return LDBTargetAs<PDMc_LDBArray>(m_dependencies); }

bool PDMc_WSPIV::DependencyIndex(PDMc_WSD* dependency, uint32_t& index) {
    return LDBIndexOfObject(m_dependencies.IsNull() ? nullptr : GetDependencies(), dependency, index);
}

PDMc_WSD* PDMc_WSPIV::AddDependency(PDMc_LPI* child, PDMc_WSDD* definition) {
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nullptr;
    PDMc_WSD* dependency = PDMc_WSD::Create(writable, child, definition);
    if (dependency == nullptr) return nullptr;
    if (writable->m_dependencies.IsNull()) {
        PDMc_LDBArray* made = new (std::nothrow) PDMc_LDBArray(GetOwner());
        if (made == nullptr) return NoMemory<PDMc_WSD>("no memory for a dependency list");
        writable->m_dependencies = made;
    }
    PDMc_LDBArray* dependencies = writable->GetDependencies();
    if (dependencies == nullptr) return nullptr;
    if (!dependencies->Append(dependency)) return NoMemory<PDMc_WSD>("no memory");
    writable->m_is_modified |= kDependenciesModified;
    return dependency;
}

int32_t PDMc_WSPIV::RemoveDependency(PDMc_WSD* dependency, const char* operation,
                                     PDMc_LPI*& child) {
    uint32_t index = 0;
    if (!DependencyIndex(dependency, index)) return NYX_INTERNAL_ERROR(operation, kSourcePath);
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    child = dependency->GetChildPI();
    if (child == nullptr) return nyxErrorCurrentCode();
    // A fresh copy holds the twin at the same index, so the index names the right object.
    PDMc_LDBArray* dependencies = writable->GetDependencies();
    if (dependencies == nullptr) return nyxErrorCurrentCode();
    if (!dependencies->RemoveAt(index)) return NYX_INTERNAL_ERROR(operation, kSourcePath);
    writable->m_is_modified |= kDependenciesModified;
    // The object itself stays: the versions of earlier states may still list it.
    return 0;
}

int32_t PDMc_WSPIV::DeleteDependency(PDMc_WSD* dependency) {
    PDMc_LPI* child = nullptr;
    if (int32_t rc = RemoveDependency(dependency, "PDMc_WSPIV::DeleteDependency", child))
        return rc;
    PDMc_WS* workspace = GetWS();
    if (workspace == nullptr) return nyxErrorCurrentCode();
    // A deleted item whose last user this was leaves the frame, and its name comes free.
    return workspace->CleanLPI(child);
}

int32_t PDMc_WSPIV::DeleteDependencyKeepLPI(PDMc_WSD* dependency) {
    PDMc_LPI* child = nullptr;
    return RemoveDependency(dependency, "PDMc_WSPIV::DeleteDependencyKeepLPI", child);
}

PDMc_WSD* PDMc_WSPIV::DependencyForModification(PDMc_WSD* dependency) {
    uint32_t index = 0;
    if (!DependencyIndex(dependency, index)) return nullptr;
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nullptr;
    PDMc_LDBArray* dependencies = writable->GetDependencies();
    if (dependencies == nullptr) return nullptr;
    return LDBObjectAs<PDMc_WSD>(dependencies->ObjectAt(index), true);
}

int32_t PDMc_WSPIV::GetDependenciesToStoredName(const char* name, nyxCollection& out) {
    out.Clear();
    if (m_dependencies.IsNull()) return 0;
    PDMc_LDBArray* dependencies = GetDependencies();
    if (dependencies == nullptr) return nyxErrorCurrentCode();
    nyxString wanted(name);
    return LDBForEachElement<PDMc_WSD>(*dependencies, [&](PDMc_WSD* dependency) {
        if (std::strcmp(dependency->GetAsStoredChildName().c_str(), wanted.c_str()) != 0) return 0;
        void* element = dependency;
        out.Insert(&element);
        return 0;
    });
}

int32_t PDMc_WSPIV::GetDependenciesToChild(PDMc_LPI* lpi, nyxCollection& out) {
    out.Clear();
    if (m_dependencies.IsNull()) return 0;
    PDMc_LDBArray* dependencies = GetDependencies();
    if (dependencies == nullptr) return nyxErrorCurrentCode();
    return LDBForEachElement<PDMc_WSD>(*dependencies, [&](PDMc_WSD* dependency) {
        PDMc_LPI* child = dependency->GetChildPI();
        if (child == nullptr) return nyxErrorCurrentCode();
        if (child != lpi) return 0;
        void* element = dependency;
        out.Insert(&element);
        return 0;
    });
}
