// The version exports: readers of one version as it is, whatever state it belongs to, and the
// marks, which are written in place.
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
#include "srcldb/ldblil.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srccldb/cwspiv";

PDMc_WSPIV* Version(WSPIVHandle handle, const char* exportName) {
    return PDMTarget<PDMc_WSPIV>(handle, exportName, "WSPIVHandle", kSourcePath);
}

// The frame of a reader: pre-set, test the handle, store what `read` gives. Form T.
template <class Out, class Read>
int ReadVersion(WSPIVHandle handle, const char* exportName, Out* out, Out preset, Read read) {
    PDMCallFrame frame(exportName);
    *out = preset;
    if (PDMc_WSPIV* version = Version(handle, exportName)) *out = read(version);
    return PDMResultT();
}

using TextMember = const nyxString& (PDMc_WSPIV::*)() const;

int ReadText(WSPIVHandle handle, const char* exportName, const char** text, TextMember member) {
    return ReadVersion(handle, exportName, text, nyxStringEmpty(),
                       [member](PDMc_WSPIV* version) { return (version->*member)().c_str(); });
}

using FlagMember = bool (PDMc_WSPIV::*)() const;

int ReadFlag(WSPIVHandle handle, const char* exportName, int* flag, FlagMember member) {
    return ReadVersion(handle, exportName, flag, 0,
                       [member](PDMc_WSPIV* version) { return (version->*member)() ? 1 : 0; });
}

// The version's value of an attribute name, null when it has none.
PDMc_LAV* FindValue(PDMc_WSPIV* version, const char* name) {
    PDMc_LAD* definition = PDMFindAttrDef(version, name);
    return definition != nullptr ? version->GetAttribute(definition) : nullptr;
}

using ValueTest = bool (*)(PDMc_LAV* value);

int ReadValueFlag(WSPIVHandle handle, const char* exportName, const char* name, int* flag,
                  ValueTest test) {
    return ReadVersion(handle, exportName, flag, 0, [name, test](PDMc_WSPIV* version) {
        PDMc_LAV* value = FindValue(version, name);
        return value != nullptr && test(value) ? 1 : 0;
    });
}

}  // namespace

int PDMWSPIVGetName(WSPIVHandle version, const char** name) {
    return ReadVersion(version, "PDMWSPIVGetName", name, nyxStringEmpty(),
                       [](PDMc_WSPIV* v) { return v->GetName().c_str(); });
}

int PDMWSPIVGetTypeName(WSPIVHandle version, const char** typeName) {
    return ReadVersion(version, "PDMWSPIVGetTypeName", typeName, nyxStringEmpty(),
                       [](PDMc_WSPIV* v) {
                           PDMc_LPITD* definition = v->GetTypeDef();
                           return definition != nullptr ? definition->GetName().c_str()
                                                        : nyxStringEmpty();
                       });
}

int PDMWSPIVGetDescription(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetDescription", text, &PDMc_WSPIV::GetDescription);
}

int PDMWSPIVGetSourceBranchName(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetSourceBranchName", text,
                    &PDMc_WSPIV::GetSourceBranchName);
}

int PDMWSPIVGetSourceRevision(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetSourceRevision", text, &PDMc_WSPIV::GetSourceRevision);
}

int PDMWSPIVGetSourceReleaseLevel(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetSourceReleaseLevel", text,
                    &PDMc_WSPIV::GetSourceReleaseLevel);
}

int PDMWSPIVGetSourceFolder(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetSourceFolder", text, &PDMc_WSPIV::GetSourceFolder);
}

int PDMWSPIVGetTargetBranchName(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetTargetBranchName", text,
                    &PDMc_WSPIV::GetTargetBranchName);
}

int PDMWSPIVGetTargetRevision(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetTargetRevision", text, &PDMc_WSPIV::GetTargetRevision);
}

int PDMWSPIVGetTargetReleaseLevel(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetTargetReleaseLevel", text,
                    &PDMc_WSPIV::GetTargetReleaseLevel);
}

int PDMWSPIVGetTargetFolder(WSPIVHandle version, const char** text) {
    return ReadText(version, "PDMWSPIVGetTargetFolder", text, &PDMc_WSPIV::GetTargetFolder);
}

int PDMWSPIVGetSourcePIVID(WSPIVHandle version, unsigned* id) {
    return ReadVersion(version, "PDMWSPIVGetSourcePIVID", id, 0u,
                       [](PDMc_WSPIV* v) { return static_cast<unsigned>(v->GetSourcePIVID()); });
}

int PDMWSPIVGetSourceVersion(WSPIVHandle version, unsigned* sourceVersion) {
    return ReadVersion(version, "PDMWSPIVGetSourceVersion", sourceVersion, 0u,
                       [](PDMc_WSPIV* v) { return static_cast<unsigned>(v->GetSourceVersion()); });
}

int PDMWSPIVGetModCount(WSPIVHandle version, int* count) {
    return ReadVersion(version, "PDMWSPIVGetModCount", count, 0,
                       [](PDMc_WSPIV* v) { return static_cast<int>(v->GetModCount()); });
}

int PDMWSPIVGetUserDataId(WSPIVHandle version, int* id) {
    PDMCallFrame frame("PDMWSPIVGetUserDataId");
    if (PDMc_WSPIV* v = Version(version, "PDMWSPIVGetUserDataId")) *id = v->GetUserDataId();
    return PDMResultT();
}

int PDMWSPIVIsModified(WSPIVHandle version, int* modified) {
    return ReadFlag(version, "PDMWSPIVIsModified", modified, &PDMc_WSPIV::IsModified);
}

int PDMWSPIVIsInstance(WSPIVHandle version, int* isInstance) {
    return ReadFlag(version, "PDMWSPIVIsInstance", isInstance, &PDMc_WSPIV::IsInstance);
}

int PDMWSPIVHasInstance(WSPIVHandle version, int* hasInstance) {
    return ReadFlag(version, "PDMWSPIVHasInstance", hasInstance, &PDMc_WSPIV::HasInstances);
}

int PDMWSPIVIsLibraryMember(WSPIVHandle version, int* isMember) {
    return ReadFlag(version, "PDMWSPIVIsLibraryMember", isMember, &PDMc_WSPIV::IsLibraryMember);
}

int PDMWSPIVIsHoldFromSubmission(WSPIVHandle version, int* hold) {
    return ReadFlag(version, "PDMWSPIVIsHoldFromSubmission", hold,
                    &PDMc_WSPIV::IsHoldFromSubmission);
}

int PDMWSPIVHasFile(WSPIVHandle version, int* hasFile) {
    return ReadVersion(version, "PDMWSPIVHasFile", hasFile, 0,
                       [](PDMc_WSPIV* v) { return v->FirstFile() != nullptr ? 1 : 0; });
}

int PDMWSPIVFileIsModified(WSPIVHandle version, int* modified) {
    return ReadVersion(version, "PDMWSPIVFileIsModified", modified, 0, [](PDMc_WSPIV* v) {
        PDMc_LF* file = v->FirstFile();
        return file != nullptr && file->IsModified() ? 1 : 0;
    });
}

int PDMWSPIVFileIsRepository(WSPIVHandle version, int* repository) {
    return ReadVersion(version, "PDMWSPIVFileIsRepository", repository, 0, [](PDMc_WSPIV* v) {
        PDMc_LF* file = v->FirstFile();
        return file != nullptr && file->IsRepositoryFile() ? 1 : 0;
    });
}

int PDMWSPIVGetFileVersion(WSPIVHandle version, unsigned* fileVersion) {
    return ReadVersion(version, "PDMWSPIVGetFileVersion", fileVersion, 0u, [](PDMc_WSPIV* v) {
        PDMc_LF* file = v->FirstFile();
        return file != nullptr ? static_cast<unsigned>(file->GetFileVersion()) : 0u;
    });
}

int PDMWSPIVGetLIL(WSPIVHandle version, WSLILHandle* lil) {
    return ReadVersion(version, "PDMWSPIVGetLIL", lil, static_cast<WSLILHandle>(nullptr),
                       [](PDMc_WSPIV* v) {
                           PDMc_LDBObject* library = v->GetLIL();
                           return reinterpret_cast<WSLILHandle>(library);
                       });
}

int PDMWSPIVGetGeneric(WSPIVHandle version, WSGIRHandle* relation) {
    return ReadVersion(version, "PDMWSPIVGetGeneric", relation,
                       static_cast<WSGIRHandle>(nullptr), [](PDMc_WSPIV* v) {
                           PDMc_LDBObject* generic = v->GetGeneric();
                           return reinterpret_cast<WSGIRHandle>(generic);
                       });
}

int PDMWSPIVGetTopGeneric(WSPIVHandle version, WSPIHandle* item) {
    return ReadVersion(version, "PDMWSPIVGetTopGeneric", item, static_cast<WSPIHandle>(nullptr),
                       [](PDMc_WSPIV* v) {
                           PDMc_LDBObject* top = v->GetTopGeneric();
                           return reinterpret_cast<WSPIHandle>(top);
                       });
}

int PDMWSPIVGetWSPI(WSPIVHandle version, WSPIHandle* item) {
    return ReadVersion(version, "PDMWSPIVGetWSPI", item, static_cast<WSPIHandle>(nullptr),
                       [](PDMc_WSPIV* v) {
                           PDMc_LDBObject* owner = v->GetWSPI();
                           return reinterpret_cast<WSPIHandle>(owner);
                       });
}

int PDMWSPIVGetOwner(WSPIVHandle version, WorkspaceHandle* ws) {
    return ReadVersion(version, "PDMWSPIVGetOwner", ws, static_cast<WorkspaceHandle>(nullptr),
                       [](PDMc_WSPIV* v) {
                           PDMc_LDBObject* workspace = v->GetWS();
                           return reinterpret_cast<WorkspaceHandle>(workspace);
                       });
}

int PDMWSPIVGetPathForRead(WSPIVHandle version, const char** path) {
    PDMCallFrame frame("PDMWSPIVGetPathForRead");
    *path = nyxStringEmpty();
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetPathForRead");
    PDMc_LF* file = v != nullptr ? v->FirstFile() : nullptr;
    if (file == nullptr) return PDMResultT();
    nyxString text;
    if (v->GetPathForReading(file, text) == 0) *path = PDMKeepString(text.c_str());
    return PDMResultT();
}

int PDMWSPIVGetPathForLocalize(WSPIVHandle version, const char** path) {
    PDMCallFrame frame("PDMWSPIVGetPathForLocalize");
    *path = nyxStringEmpty();
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetPathForLocalize");
    PDMc_LF* file = v != nullptr ? v->FirstFile() : nullptr;
    if (file == nullptr) return PDMResultT();
    // In place: the record becomes local in this very version, with no copy of the version.
    PDMc_WS* workspace = v->GetWS();
    if (workspace == nullptr) return PDMResultT();
    if (int32_t rc = file->Localize(workspace)) return rc;
    nyxString text;
    file->GetPath(text);
    *path = PDMKeepString(text.c_str());
    return PDMResultT();
}

// ---------------------------------------------------------------------------------------------
// Attributes

int PDMWSPIVGetAttribute(WSPIVHandle version, const char* name, PDMAttrValue* value) {
    PDMCallFrame frame("PDMWSPIVGetAttribute");
    std::memset(value, 0, sizeof(*value));
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetAttribute");
    if (v == nullptr) return nyxErrorCurrentCode();
    PDMc_LAV* found = FindValue(v, name);
    if (found == nullptr) return 0;
    // The text points into the stored value, good until the attribute changes.
    CAPIAttrValueToC(found->GetValue(), value, false);
    return 0;
}

int PDMWSPIVIsAttributeSet(WSPIVHandle version, const char* name, int* set) {
    return ReadValueFlag(version, "PDMWSPIVIsAttributeSet", name, set,
                         [](PDMc_LAV*) { return true; });
}

int PDMWSPIVIsAttributeFileBased(WSPIVHandle version, const char* name, int* based) {
    return ReadValueFlag(version, "PDMWSPIVIsAttributeFileBased", name, based,
                         [](PDMc_LAV* value) { return value->IsFileBased(); });
}

int PDMWSPIVIsAttributeModified(WSPIVHandle version, const char* name, int* modified) {
    return ReadValueFlag(version, "PDMWSPIVIsAttributeModified", name, modified,
                         [](PDMc_LAV* value) { return value->IsModified(); });
}

int PDMWSPIVGetAttributeNames(WSPIVHandle version, int* count, const char** names) {
    PDMCallFrame frame("PDMWSPIVGetAttributeNames");
    *count = 0;
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetAttributeNames");
    if (v == nullptr) return PDMResultT();
    nyxSingleListOf<void*> values;
    if (v->GetAttributeNames(values) != 0) return PDMResultT();
    PDMAttributeNames(values, count, names);
    return PDMResultT();
}

int PDMWSPIVGetUnSetAttributeNames(WSPIVHandle version, int* count, const char** names) {
    PDMCallFrame frame("PDMWSPIVGetUnSetAttributeNames");
    *count = 0;
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetUnSetAttributeNames");
    if (v == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* unset = v->GetUnsetAttrDefs();
    if (unset == nullptr) return 0;
    int index = 0;
    int32_t rc = LDBForEachElement<PDMc_LAD>(*unset, [&](PDMc_LAD* definition) {
        if (names != nullptr) names[index] = definition->GetName().c_str();
        ++index;
        return 0;
    });
    if (rc != 0) return rc;
    *count = index;
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Marks, on the very version given

int PDMWSPIVSetHoldFromSubmission(WSPIVHandle version, int flag) {
    PDMCallFrame frame("PDMWSPIVSetHoldFromSubmission");
    if (PDMc_WSPIV* v = Version(version, "PDMWSPIVSetHoldFromSubmission"))
        v->SetHoldFromSubmission(flag != 0);
    return PDMResultT();
}

int PDMWSPIVSetMarkedForCheckIn(WSPIVHandle version, int flag) {
    PDMCallFrame frame("PDMWSPIVSetMarkedForCheckIn");
    if (PDMc_WSPIV* v = Version(version, "PDMWSPIVSetMarkedForCheckIn"))
        v->SetMarkedForCheckIn(flag != 0);
    return PDMResultT();
}

// A built list of relations. Form Z.
template <class Fill>
int ListRelations(WSPIVHandle version, const char* exportName, CursorHandle* cursor, Fill fill) {
    PDMCallFrame frame(exportName);
    *cursor = nullptr;
    PDMc_WSPIV* v = Version(version, exportName);
    if (v == nullptr) return nyxErrorCurrentCode();
    return PDMListCursor(cursor, [v, fill](PDMPointerList& list) { return fill(v, list); });
}

int PDMWSPIVGetGIRs(WSPIVHandle version, CursorHandle* cursor) {
    return ListRelations(version, "PDMWSPIVGetGIRs", cursor,
                         [](PDMc_WSPIV* v, PDMPointerList& list) { return v->GetGIRs(list); });
}

int PDMWSPIVGetGIRsRecursive(WSPIVHandle version, CursorHandle* cursor) {
    return ListRelations(version, "PDMWSPIVGetGIRsRecursive", cursor,
                         [](PDMc_WSPIV* v, PDMPointerList& list) {
                             return v->GetGIRsRecursive(list);
                         });
}
