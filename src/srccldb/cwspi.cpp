// The item exports: operations of an item, writes of its current version, and the forwarders
// that read the current version through the version exports.
#include <cstring>

#include "callframe.h"
#include "cattrval.h"
#include "chandles.h"
#include "ctargets.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srccldb/cwspi";

PDMc_WSPI* Item(WSPIHandle handle, const char* exportName) {
    return PDMTarget<PDMc_WSPI>(handle, exportName, "WSPIHandle", kSourcePath);
}

WSPIVHandle HandleOfVersion(PDMc_WSPIV* version) {
    PDMc_LDBObject* object = version;
    return reinterpret_cast<WSPIVHandle>(object);
}

// The current version of a live item, for a write or a mark. A deleted item reports 110 with
// the export's name and "WSPIVHandle". Null after a failure.
PDMc_WSPIV* CurrentVersion(WSPIHandle handle, const char* exportName) {
    PDMc_WSPI* item = Item(handle, exportName);
    return item != nullptr ? item->CurrentPIV(exportName) : nullptr;
}

// A forwarder's step: the item's current version as a handle, null for a deleted item, which
// the version export then reports. False when the item handle itself fails.
bool CurrentHandle(WSPIHandle handle, const char* exportName, WSPIVHandle& version) {
    version = nullptr;
    PDMc_WSPI* item = Item(handle, exportName);
    if (item == nullptr) return false;
    version = HandleOfVersion(item->GetShortcutPIV());
    return true;
}

// A write of a text of the current version: the text is copied before anything moves.
int WriteText(WSPIHandle handle, const char* exportName, const char* text,
              int32_t (PDMc_WSPIV::*setter)(const char*)) {
    PDMCallFrame frame(exportName);
    nyxString copy(text);
    if (PDMc_WSPIV* version = CurrentVersion(handle, exportName)) (version->*setter)(copy.c_str());
    return PDMResultT();
}

// The common steps of an attribute write: the definition of the name, made if need be, and the
// record's value (kind 0 for a null record), handed to the operation. Form T.
template <class Operation>
int WriteAttribute(WSPIHandle handle, const char* exportName, const char* name,
                   const PDMAttrValue* record, Operation operation) {
    PDMCallFrame frame(exportName);
    PDMc_WSPIV* version = CurrentVersion(handle, exportName);
    if (version == nullptr) return PDMResultT();
    PDMc_LAD* definition = PDMFindOrCreateAttrDef(version, name);
    if (definition == nullptr) return PDMResultT();
    PDMc_LDBValue value;
    if (record != nullptr && CAPIAttrValueFromC(record, value) != 0) return PDMResultT();
    operation(version, definition, value);
    return PDMResultT();
}

PDMc_LPITD* TypeDef(WSPITypeDefHandle handle, const char* exportName) {
    return PDMTarget<PDMc_LPITD>(handle, exportName, "WSPITypeDefHandle", kSourcePath);
}

using TypeDefText = const nyxString& (PDMc_LPITD::*)() const;

int ReadTypeDef(WSPITypeDefHandle handle, const char* exportName, const char** text,
                TypeDefText member) {
    PDMCallFrame frame(exportName);
    *text = nullptr;
    if (PDMc_LPITD* definition = TypeDef(handle, exportName))
        *text = (definition->*member)().c_str();
    return PDMResultT();
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The item's own operations

int PDMWSPIGetName(WSPIHandle item, const char** name) {
    PDMCallFrame frame("PDMWSPIGetName");
    *name = nyxStringEmpty();
    if (PDMc_WSPI* i = Item(item, "PDMWSPIGetName")) *name = i->GetName().c_str();
    return PDMResultT();
}

int PDMWSPIGetOwner(WSPIHandle item, WorkspaceHandle* ws) {
    PDMCallFrame frame("PDMWSPIGetOwner");
    *ws = nullptr;
    if (PDMc_WSPI* i = Item(item, "PDMWSPIGetOwner")) {
        PDMc_LDBObject* workspace = i->GetWS();
        *ws = reinterpret_cast<WorkspaceHandle>(workspace);
    }
    return PDMResultT();
}

int PDMWSPIIsNew(WSPIHandle item, int* isNew) {
    PDMCallFrame frame("PDMWSPIIsNew");
    *isNew = 0;
    if (PDMc_WSPI* i = Item(item, "PDMWSPIIsNew")) *isNew = i->IsNew() ? 1 : 0;
    return PDMResultT();
}

int PDMWSPIGetCurrWSPIV(WSPIHandle item, WSPIVHandle* version) {
    PDMCallFrame frame("PDMWSPIGetCurrWSPIV");
    *version = nullptr;
    if (PDMc_WSPI* i = Item(item, "PDMWSPIGetCurrWSPIV"))
        *version = HandleOfVersion(i->GetShortcutPIV());
    return PDMResultT();
}

int PDMWSPIGetWSPIVs(WSPIHandle item, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSPIGetWSPIVs");
    *cursor = nullptr;
    PDMc_WSPI* i = Item(item, "PDMWSPIGetWSPIVs");
    if (i == nullptr) return nyxErrorCurrentCode();
    PDMListCursor(cursor, [i](PDMPointerList& list) { return i->GetWSPIVs(list); });
    return *cursor != nullptr ? 0 : nyxErrorCurrentCode();
}

int PDMWSPIGetWhereUsed(WSPIHandle item, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSPIGetWhereUsed");
    *cursor = nullptr;
    PDMc_WSPI* i = Item(item, "PDMWSPIGetWhereUsed");
    PDMc_LPI* lpi = i != nullptr ? i->GetLPI() : nullptr;
    if (lpi == nullptr) return nyxErrorCurrentCode();
    PDMListCursor(cursor, [lpi](PDMPointerList& list) { return lpi->GetWhereUsed(list); });
    return *cursor != nullptr ? 0 : nyxErrorCurrentCode();
}

int PDMWSPIDelete(WSPIHandle item) {
    PDMCallFrame frame("PDMWSPIDelete");
    PDMc_WSPI* i = Item(item, "PDMWSPIDelete");
    return i != nullptr ? i->Delete() : PDMResultT();
}

int PDMWSPIRename(WSPIHandle item, const char* name) {
    PDMCallFrame frame("PDMWSPIRename");
    nyxString copy(name);
    PDMc_WSPI* i = Item(item, "PDMWSPIRename");
    return i != nullptr ? i->Rename(copy.c_str()) : PDMResultT();
}

int PDMWSPISetCurrentWSPIV(WSPIHandle item, WSPIVHandle version) {
    PDMCallFrame frame("PDMWSPISetCurrentWSPIV");
    PDMc_WSPI* i = Item(item, "PDMWSPISetCurrentWSPIV");
    if (i == nullptr) return PDMResultT();
    PDMc_WSPIV* v =
        PDMTarget<PDMc_WSPIV>(version, "PDMWSPISetCurrentWSPIV", "WSPIVHandle", kSourcePath);
    if (v != nullptr) i->SetCurrentWSPIV(v);
    return PDMResultT();
}

int PDMWSPIMarkModifiedInLibrary(WSPIHandle item) {
    PDMCallFrame frame("PDMWSPIMarkModifiedInLibrary");
    PDMc_WSPI* i = Item(item, "PDMWSPIMarkModifiedInLibrary");
    return i != nullptr ? i->MarkModifiedInLibrary() : PDMResultT();
}

int PDMWSPIAddInstance(WSPIHandle item, const char* name, const char* typeName,
                       WSPIHandle* instance) {
    PDMCallFrame frame("PDMWSPIAddInstance");
    *instance = nullptr;
    PDMc_WSPI* i = Item(item, "PDMWSPIAddInstance");
    if (i == nullptr) return PDMResultT();
    nyxString instanceName(name);
    PDMc_LPITD* definition = nullptr;
    if (typeName != nullptr) {
        PDMc_WS* workspace = i->GetWS();
        PDMc_LDB* connection = workspace != nullptr ? workspace->GetConnection() : nullptr;
        if (connection == nullptr) return PDMResultT();
        definition = PDMFindOrCreateTypeDef(connection, typeName);
        if (definition == nullptr) return PDMResultT();
    }
    PDMc_LDBObject* made = i->AddInstance(instanceName.c_str(), definition);
    *instance = reinterpret_cast<WSPIHandle>(made);
    return PDMResultT();
}

// ---------------------------------------------------------------------------------------------
// Files of the current version

int PDMWSPIAddCurrWSPIVFile(WSPIHandle item, const char** path) {
    PDMCallFrame frame("PDMWSPIAddCurrWSPIVFile");
    *path = nyxStringEmpty();
    PDMc_WSPI* i = Item(item, "PDMWSPIAddCurrWSPIVFile");
    PDMc_WSPIV* version = i != nullptr ? i->CurrentPIV("PDMWSPIAddCurrWSPIVFile") : nullptr;
    if (version == nullptr) return PDMResultT();
    nyxString name(i->GetName());
    if (PDMc_LF* file = version->AddFile(name.c_str(), 0)) {
        nyxString text;
        file->GetPath(text);
        *path = PDMKeepString(text.c_str());
    }
    return PDMResultT();
}

int PDMWSPIDeleteCurrWSPIVFile(WSPIHandle item) {
    PDMCallFrame frame("PDMWSPIDeleteCurrWSPIVFile");
    PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIDeleteCurrWSPIVFile");
    return version != nullptr ? version->DeleteFile(version->FirstFile()) : PDMResultT();
}

int PDMWSPIGetCurrWSPIVPathForWrite(WSPIHandle item, const char** path) {
    PDMCallFrame frame("PDMWSPIGetCurrWSPIVPathForWrite");
    *path = nyxStringEmpty();
    PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIGetCurrWSPIVPathForWrite");
    PDMc_LF* file = version != nullptr ? version->FirstFile() : nullptr;
    if (file == nullptr) return PDMResultT();
    nyxString text;
    if (int32_t rc = version->GetPathForWriting(file, text)) return rc;
    *path = PDMKeepString(text.c_str());
    return PDMResultT();
}

// ---------------------------------------------------------------------------------------------
// Fields and marks of the current version

int PDMWSPIGetCurrWSPIVSourcePIVID(WSPIHandle item, unsigned* id) {
    PDMCallFrame frame("PDMWSPIGetCurrWSPIVSourcePIVID");
    *id = 0;
    if (PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIGetCurrWSPIVSourcePIVID"))
        *id = version->GetSourcePIVID();
    return PDMResultT();
}

int PDMWSPIGetCurrWSPIVUserDataId(WSPIHandle item, int* id) {
    PDMCallFrame frame("PDMWSPIGetCurrWSPIVUserDataId");
    if (PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIGetCurrWSPIVUserDataId"))
        *id = version->GetUserDataId();
    return PDMResultT();
}

int PDMWSPISetCurrWSPIVUserDataId(WSPIHandle item, int id) {
    PDMCallFrame frame("PDMWSPISetCurrWSPIVUserDataId");
    if (PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPISetCurrWSPIVUserDataId"))
        version->SetUserDataId(id);
    return PDMResultT();
}

int PDMWSPIGetCurrWSPIVWorkspaceStatus(WSPIHandle item, int* status) {
    PDMCallFrame frame("PDMWSPIGetCurrWSPIVWorkspaceStatus");
    PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIGetCurrWSPIVWorkspaceStatus");
    if (version == nullptr) return nyxErrorCurrentCode();
    *status = version->GetWorkspaceStatus();
    return 0;
}

int PDMWSPISetCurrWSPIVWorkspaceStatus(WSPIHandle item, int status) {
    PDMCallFrame frame("PDMWSPISetCurrWSPIVWorkspaceStatus");
    PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPISetCurrWSPIVWorkspaceStatus");
    if (version == nullptr) return nyxErrorCurrentCode();
    version->SetWorkspaceStatus(status);
    return 0;
}

int PDMWSPIGetCurrWSPIVModificationStamp(WSPIHandle item, unsigned* stamp) {
    PDMCallFrame frame("PDMWSPIGetCurrWSPIVModificationStamp");
    PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIGetCurrWSPIVModificationStamp");
    if (version == nullptr) return nyxErrorCurrentCode();
    *stamp = version->GetModificationStamp();
    return 0;
}

int PDMWSPISetCurrWSPIVDescription(WSPIHandle item, const char* text) {
    return WriteText(item, "PDMWSPISetCurrWSPIVDescription", text, &PDMc_WSPIV::SetDescription);
}

int PDMWSPISetCurrWSPIVTargetBranchName(WSPIHandle item, const char* text) {
    return WriteText(item, "PDMWSPISetCurrWSPIVTargetBranchName", text,
                     &PDMc_WSPIV::SetTargetBranchName);
}

int PDMWSPISetCurrWSPIVTargetRevision(WSPIHandle item, const char* text) {
    return WriteText(item, "PDMWSPISetCurrWSPIVTargetRevision", text,
                     &PDMc_WSPIV::SetTargetRevision);
}

int PDMWSPISetCurrWSPIVTargetReleaseLevel(WSPIHandle item, const char* text) {
    return WriteText(item, "PDMWSPISetCurrWSPIVTargetReleaseLevel", text,
                     &PDMc_WSPIV::SetTargetReleaseLevel);
}

int PDMWSPISetCurrWSPIVTargetFolder(WSPIHandle item, const char* text) {
    PDMCallFrame frame("PDMWSPISetCurrWSPIVTargetFolder");
    nyxString copy(text);
    PDMc_WSPI* i = Item(item, "PDMWSPISetCurrWSPIVTargetFolder");
    // The item's own setter: a generic passes the folder on to its library.
    if (i != nullptr && i->CurrentPIV("PDMWSPISetCurrWSPIVTargetFolder") != nullptr)
        i->SetTargetFolder(copy.c_str());
    return PDMResultT();
}

int PDMWSPISetCurrWSPIVHoldFromSubmission(WSPIHandle item, int flag) {
    PDMCallFrame frame("PDMWSPISetCurrWSPIVHoldFromSubmission");
    WSPIVHandle version;
    if (!CurrentHandle(item, "PDMWSPISetCurrWSPIVHoldFromSubmission", version))
        return PDMResultT();
    return PDMWSPIVSetHoldFromSubmission(version, flag);
}

// ---------------------------------------------------------------------------------------------
// Attributes of the current version

int PDMWSPISetCurrWSPIVAttribute(WSPIHandle item, const char* name, const PDMAttrValue* value) {
    return WriteAttribute(item, "PDMWSPISetCurrWSPIVAttribute", name, value,
                          [](PDMc_WSPIV* v, PDMc_LAD* d, const PDMc_LDBValue& x) {
                              return v->SetAttribute(d, x);
                          });
}

int PDMWSPISetCurrWSPIVFileBasedAttribute(WSPIHandle item, const char* name,
                                          const PDMAttrValue* value) {
    return WriteAttribute(item, "PDMWSPISetCurrWSPIVFileBasedAttribute", name, value,
                          [](PDMc_WSPIV* v, PDMc_LAD* d, const PDMc_LDBValue& x) {
                              return v->SetAttribute(d, x);
                          });
}

int PDMWSPISetCurrWSPIVDBAttribute(WSPIHandle item, const char* name, int flag,
                                   const PDMAttrValue* value) {
    return WriteAttribute(item, "PDMWSPISetCurrWSPIVDBAttribute", name, value,
                          [flag](PDMc_WSPIV* v, PDMc_LAD* d, const PDMc_LDBValue& x) {
                              return v->SetDBAttribute(d, flag != 0, x);
                          });
}

int PDMWSPIUnSetCurrWSPIVAttribute(WSPIHandle item, const char* name) {
    PDMCallFrame frame("PDMWSPIUnSetCurrWSPIVAttribute");
    PDMc_WSPIV* version = CurrentVersion(item, "PDMWSPIUnSetCurrWSPIVAttribute");
    if (version == nullptr) return PDMResultT();
    // A name the database never had can't be set anywhere: nothing to unset.
    if (PDMc_LAD* definition = PDMFindAttrDef(version, name)) version->UnsetAttribute(definition);
    return PDMResultT();
}

// ---------------------------------------------------------------------------------------------
// Forwarders to the version exports, on the current version. A deleted item has none, and the
// version export reports the null handle.

#define PDM_FORWARD(exportName, target, preset, ...)                      \
    PDMCallFrame frame(exportName);                                       \
    preset;                                                               \
    WSPIVHandle version;                                                  \
    if (!CurrentHandle(item, exportName, version)) return PDMResultT();   \
    return target(version, __VA_ARGS__)

int PDMWSPIGetCurrWSPIVAttribute(WSPIHandle item, const char* name, PDMAttrValue* value) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVAttribute", PDMWSPIVGetAttribute,
                std::memset(value, 0, sizeof(*value)), name, value);
}

int PDMWSPIGetCurrWSPIVAttributeNames(WSPIHandle item, int* count, const char** names) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVAttributeNames", PDMWSPIVGetAttributeNames, *count = 0, count,
                names);
}

int PDMWSPIGetCurrWSPIVUnSetAttrNames(WSPIHandle item, int* count, const char** names) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVUnSetAttrNames", PDMWSPIVGetUnSetAttributeNames, *count = 0,
                count, names);
}

int PDMWSPIGetCurrWSPIVName(WSPIHandle item, const char** name) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVName", PDMWSPIVGetName, *name = nyxStringEmpty(), name);
}

int PDMWSPIGetCurrWSPIVTypeName(WSPIHandle item, const char** typeName) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVTypeName", PDMWSPIVGetTypeName, *typeName = nyxStringEmpty(),
                typeName);
}

int PDMWSPIGetCurrWSPIVDescription(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVDescription", PDMWSPIVGetDescription,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVSourceBranchName(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVSourceBranchName", PDMWSPIVGetSourceBranchName,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVSourceRevision(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVSourceRevision", PDMWSPIVGetSourceRevision,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVSourceReleaseLevel(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVSourceReleaseLevel", PDMWSPIVGetSourceReleaseLevel,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVSourceFolder(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVSourceFolder", PDMWSPIVGetSourceFolder,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVTargetBranchName(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVTargetBranchName", PDMWSPIVGetTargetBranchName,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVTargetRevision(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVTargetRevision", PDMWSPIVGetTargetRevision,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVTargetReleaseLevel(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVTargetReleaseLevel", PDMWSPIVGetTargetReleaseLevel,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVTargetFolder(WSPIHandle item, const char** text) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVTargetFolder", PDMWSPIVGetTargetFolder,
                *text = nyxStringEmpty(), text);
}

int PDMWSPIGetCurrWSPIVSourceVersion(WSPIHandle item, unsigned* sourceVersion) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVSourceVersion", PDMWSPIVGetSourceVersion,
                *sourceVersion = 0, sourceVersion);
}

int PDMWSPIGetCurrWSPIVModCount(WSPIHandle item, int* count) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVModCount", PDMWSPIVGetModCount, *count = 0, count);
}

int PDMWSPIGetCurrWSPIVFileVersion(WSPIHandle item, unsigned* fileVersion) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVFileVersion", PDMWSPIVGetFileVersion, *fileVersion = 0,
                fileVersion);
}

int PDMWSPIGetCurrWSPIVLIL(WSPIHandle item, WSLILHandle* library) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVLIL", PDMWSPIVGetLIL, *library = nullptr, library);
}

int PDMWSPIGetCurrWSPIVPathForRead(WSPIHandle item, const char** path) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVPathForRead", PDMWSPIVGetPathForRead,
                *path = nyxStringEmpty(), path);
}

int PDMWSPIGetCurrWSPIVPathForLocalize(WSPIHandle item, const char** path) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVPathForLocalize", PDMWSPIVGetPathForLocalize,
                *path = nyxStringEmpty(), path);
}

int PDMWSPIHasCurrWSPIVFile(WSPIHandle item, int* hasFile) {
    PDM_FORWARD("PDMWSPIHasCurrWSPIVFile", PDMWSPIVHasFile, *hasFile = 0, hasFile);
}

int PDMWSPIHasCurrWSPIVInstance(WSPIHandle item, int* hasInstance) {
    PDM_FORWARD("PDMWSPIHasCurrWSPIVInstance", PDMWSPIVHasInstance, *hasInstance = 0,
                hasInstance);
}

int PDMWSPIIsCurrWSPIVAttributeSet(WSPIHandle item, const char* name, int* set) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVAttributeSet", PDMWSPIVIsAttributeSet, *set = 0, name, set);
}

int PDMWSPIIsCurrWSPIVAttributeFileBased(WSPIHandle item, const char* name, int* based) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVAttributeFileBased", PDMWSPIVIsAttributeFileBased, *based = 0,
                name, based);
}

int PDMWSPIIsCurrWSPIVAttributeModified(WSPIHandle item, const char* name, int* modified) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVAttributeModified", PDMWSPIVIsAttributeModified,
                *modified = 0, name, modified);
}

int PDMWSPIIsCurrWSPIVHoldFromSubmission(WSPIHandle item, int* hold) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVHoldFromSubmission", PDMWSPIVIsHoldFromSubmission, *hold = 0,
                hold);
}

int PDMWSPIIsCurrWSPIVInstance(WSPIHandle item, int* isInstance) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVInstance", PDMWSPIVIsInstance, *isInstance = 0, isInstance);
}

int PDMWSPIIsCurrWSPIVLibraryMember(WSPIHandle item, int* isMember) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVLibraryMember", PDMWSPIVIsLibraryMember, *isMember = 0,
                isMember);
}

int PDMWSPIIsCurrWSPIVModified(WSPIHandle item, int* modified) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVModified", PDMWSPIVIsModified, *modified = 0, modified);
}

int PDMWSPIIsCurrWSPIVFileModified(WSPIHandle item, int* modified) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVFileModified", PDMWSPIVFileIsModified, *modified = 0,
                modified);
}

int PDMWSPIIsCurrWSPIVFileRepository(WSPIHandle item, int* repository) {
    PDM_FORWARD("PDMWSPIIsCurrWSPIVFileRepository", PDMWSPIVFileIsRepository, *repository = 0,
                repository);
}

int PDMWSPIGetCurrWSPIVDependencies(WSPIHandle item, CursorHandle* cursor) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVDependencies", PDMWSPIVGetDependencies, *cursor = nullptr,
                cursor);
}

int PDMWSPIGetCurrWSPIVDependenciesToAsStoredChildName(WSPIHandle item, const char* name,
                                                       CursorHandle* cursor) {
    PDM_FORWARD("PDMWSPIGetCurrWSPIVDependenciesToAsStoredChildName",
                PDMWSPIVGetDependenciesToAsStoredChildName, *cursor = nullptr, name, cursor);
}

int PDMWSPISelectCurrWSPIVDependenciesToChildName(WSPIHandle item, const char* childName,
                                                  const char* depClass, int depType,
                                                  const char* attrName,
                                                  const PDMAttrValue* attrValue,
                                                  CursorHandle* cursor) {
    PDM_FORWARD("PDMWSPISelectCurrWSPIVDependenciesToChildName",
                PDMWSPIVSelectDependenciesToChildName, *cursor = nullptr, childName, depClass,
                depType, attrName, attrValue, cursor);
}

#undef PDM_FORWARD

// ---------------------------------------------------------------------------------------------
// Type definitions

int PDMWSPITypeDefGetList(LDBHandle ldb, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSPITypeDefGetList");
    *cursor = nullptr;
    if (PDMCheckHandle(ldb, "PDMWSPITypeDefGetList", "LDBHandle")) return nyxErrorCurrentCode();
    nyxCollection* definitions = ConnectionOf(ldb)->ItemTypeDefs();
    if (definitions == nullptr) return nyxErrorCurrentCode();
    PDMBindCursor(definitions, false, cursor);
    return *cursor != nullptr ? 0 : nyxErrorCurrentCode();
}

int PDMWSPITypeDefGetName(WSPITypeDefHandle typeDef, const char** text) {
    return ReadTypeDef(typeDef, "PDMWSPITypeDefGetName", text, &PDMc_LPITD::GetName);
}

int PDMWSPITypeDefGetDescription(WSPITypeDefHandle typeDef, const char** text) {
    return ReadTypeDef(typeDef, "PDMWSPITypeDefGetDescription", text, &PDMc_LPITD::GetDesc);
}

int PDMWSPITypeDefGetEditor(WSPITypeDefHandle typeDef, const char** text) {
    return ReadTypeDef(typeDef, "PDMWSPITypeDefGetEditor", text, &PDMc_LPITD::GetEditor);
}

int PDMWSPITypeDefGetViewer(WSPITypeDefHandle typeDef, const char** text) {
    return ReadTypeDef(typeDef, "PDMWSPITypeDefGetViewer", text, &PDMc_LPITD::GetViewer);
}

int PDMWSPITypeDefGetDiscriminator(WSPITypeDefHandle typeDef, const char** text) {
    return ReadTypeDef(typeDef, "PDMWSPITypeDefGetDiscriminator", text,
                       &PDMc_LPITD::GetDiscriminator);
}
