// The library and library version exports. A PDMWSLIL... export that concerns the contents acts
// on the library's current version; a PDMWSLILV... export reads the version it is given, whatever
// state that version belongs to.
#include "callframe.h"
#include "ctargets.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldbws/wspi.h"

namespace {

const char kSourcePath[] = "srccldb/cwslil";

PDMc_LIL* Library(WSLILHandle handle, const char* exportName) {
    return PDMTarget<PDMc_LIL>(handle, exportName, "WSLILHandle", kSourcePath);
}

PDMc_LILV* LibraryVersion(WSLILVHandle handle, const char* exportName) {
    return PDMTarget<PDMc_LILV>(handle, exportName, "WSLILVHandle", kSourcePath);
}

// The frames of a reader: pre-set, test the handle, store what `read` gives. Form T.
template <class Out, class Read>
int ReadLibrary(WSLILHandle handle, const char* exportName, Out* out, Out preset, Read read) {
    PDMCallFrame frame(exportName);
    *out = preset;
    if (PDMc_LIL* library = Library(handle, exportName)) *out = read(library);
    return PDMResultT();
}

template <class Out, class Read>
int ReadVersion(WSLILVHandle handle, const char* exportName, Out* out, Out preset, Read read) {
    PDMCallFrame frame(exportName);
    *out = preset;
    if (PDMc_LILV* version = LibraryVersion(handle, exportName)) *out = read(version);
    return PDMResultT();
}

// The two-phase list of a version's ids. Form T.
int ReadIds(WSLILVHandle handle, const char* exportName, int* count, unsigned* ids,
            const LDBIdVector& (PDMc_LILV::*list)() const) {
    PDMCallFrame frame(exportName);
    *count = 0;
    if (PDMc_LILV* version = LibraryVersion(handle, exportName)) {
        const LDBIdVector& values = (version->*list)();
        *count = static_cast<int>(values.Count());
        for (uint32_t i = 0; ids != nullptr && i < values.Count(); ++i) ids[i] = values.At(i);
    }
    return PDMResultT();
}

// The path of a version's first file through the ring; empty when it has none.
const char* PathForRead(PDMc_LILV* version) {
    PDMc_LF* file = version->GetCurrentFile();
    nyxString path;
    if (file == nullptr || version->GetPathForRead(file, path) != 0) return nyxStringEmpty();
    return PDMKeepString(path.c_str());
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Libraries

int PDMWSLILGetName(WSLILHandle library, const char** name) {
    return ReadLibrary(library, "PDMWSLILGetName", name, nyxStringEmpty(),
                       [](PDMc_LIL* l) { return l->GetName().c_str(); });
}

int PDMWSLILIsNew(WSLILHandle library, int* isNew) {
    return ReadLibrary(library, "PDMWSLILIsNew", isNew, 0,
                       [](PDMc_LIL* l) { return l->IsNew() ? 1 : 0; });
}

int PDMWSLILGetCurrentLILV(WSLILHandle library, WSLILVHandle* version) {
    return ReadLibrary(library, "PDMWSLILGetCurrentLILV", version,
                       static_cast<WSLILVHandle>(nullptr), [](PDMc_LIL* l) {
                           PDMc_LDBObject* current = l->GetCurrentLILV();
                           return reinterpret_cast<WSLILVHandle>(current);
                       });
}

int PDMWSLILGetTargetFolder(WSLILHandle library, const char** folder) {
    PDMCallFrame frame("PDMWSLILGetTargetFolder");
    *folder = nyxStringEmpty();
    PDMc_LIL* l = Library(library, "PDMWSLILGetTargetFolder");
    if (l == nullptr) return PDMResultT();
    PDMc_LDBObject* current = l->GetCurrentLILV();
    return PDMWSLILVGetTargetFolder(reinterpret_cast<WSLILVHandle>(current), folder);
}

int PDMWSLILSetTargetFolder(WSLILHandle library, const char* folder) {
    PDMCallFrame frame("PDMWSLILSetTargetFolder");
    if (PDMc_LIL* l = Library(library, "PDMWSLILSetTargetFolder")) l->SetTargetFolder(folder);
    return PDMResultT();
}

int PDMWSLILGetPathForRead(WSLILHandle library, const char** path) {
    PDMCallFrame frame("PDMWSLILGetPathForRead");
    *path = nyxStringEmpty();
    PDMc_LIL* l = Library(library, "PDMWSLILGetPathForRead");
    if (l == nullptr) return PDMResultT();
    PDMc_LDBObject* current = l->GetCurrentLILV();
    return PDMWSLILVGetPathForRead(reinterpret_cast<WSLILVHandle>(current), path);
}

int PDMWSLILGetPathForWrite(WSLILHandle library, const char** path) {
    PDMCallFrame frame("PDMWSLILGetPathForWrite");
    *path = nyxStringEmpty();
    PDMc_LIL* l = Library(library, "PDMWSLILGetPathForWrite");
    PDMc_LF* file = l != nullptr ? l->GetCurrentFile() : nullptr;
    if (file == nullptr) return PDMResultT();
    nyxString text;
    if (l->GetPathForWrite(file, text) == 0) *path = PDMKeepString(text.c_str());
    return PDMResultT();
}

int PDMWSLILGetPathForLocalize(WSLILHandle library, const char** path) {
    PDMCallFrame frame("PDMWSLILGetPathForLocalize");
    *path = nyxStringEmpty();
    PDMc_LIL* l = Library(library, "PDMWSLILGetPathForLocalize");
    PDMc_LF* file = l != nullptr ? l->GetCurrentFile() : nullptr;
    if (file == nullptr) return PDMResultT();
    // In place: the record becomes local in the current version, with no copy of the version.
    PDMc_WS* workspace = l->GetWS();
    if (workspace == nullptr) return PDMResultT();
    if (int32_t rc = file->Localize(workspace)) return rc;
    nyxString text;
    file->GetPath(text);
    *path = PDMKeepString(text.c_str());
    return PDMResultT();
}

int PDMWSLILAddFile(WSLILHandle library, const char** path) {
    PDMCallFrame frame("PDMWSLILAddFile");
    *path = nyxStringEmpty();
    PDMc_LIL* l = Library(library, "PDMWSLILAddFile");
    if (l == nullptr) return PDMResultT();
    nyxString name(l->GetName());
    if (PDMc_LF* file = l->AddFile(name.c_str(), 0)) {
        nyxString text;
        file->GetPath(text);
        *path = PDMKeepString(text.c_str());
    }
    return PDMResultT();
}

int PDMWSLILDeleteFile(WSLILHandle library) {
    PDMCallFrame frame("PDMWSLILDeleteFile");
    PDMc_LIL* l = Library(library, "PDMWSLILDeleteFile");
    return l != nullptr ? l->DeleteFile() : nyxErrorCurrentCode();
}

int PDMWSLILRename(WSLILHandle library, const char* name) {
    PDMCallFrame frame("PDMWSLILRename");
    PDMc_LIL* l = Library(library, "PDMWSLILRename");
    return l != nullptr ? l->Rename(name) : nyxErrorCurrentCode();
}

// The library and the member item an instance export works on; the handles are tested in
// this order. Form D: the operation's result, or the code of the failed test.
template <class Operation>
int OnInstance(WSLILHandle library, WSPIHandle instance, const char* exportName,
               Operation operation) {
    PDMCallFrame frame(exportName);
    PDMc_LIL* l = Library(library, exportName);
    PDMc_WSPI* i =
        l != nullptr ? PDMTarget<PDMc_WSPI>(instance, exportName, "WSPIHandle", kSourcePath) : nullptr;
    return i != nullptr ? operation(l, i) : nyxErrorCurrentCode();
}

int PDMWSLILDeleteInstance(WSLILHandle library, WSPIHandle instance) {
    return OnInstance(library, instance, "PDMWSLILDeleteInstance",
                      [](PDMc_LIL* l, PDMc_WSPI* i) { return l->DeleteInstance(i); });
}

int PDMWSLILExtractInstance(WSLILHandle library, WSPIHandle instance) {
    return OnInstance(library, instance, "PDMWSLILExtractInstance",
                      [](PDMc_LIL* l, PDMc_WSPI* i) { return l->ExtractInstance(i); });
}

int PDMWSLILDeleteWithMemberWSPIs(WSLILHandle library) {
    PDMCallFrame frame("PDMWSLILDeleteWithMemberWSPIs");
    PDMc_LIL* l = Library(library, "PDMWSLILDeleteWithMemberWSPIs");
    return l != nullptr ? l->DeleteWithMemberWSPIs() : nyxErrorCurrentCode();
}

// ---------------------------------------------------------------------------------------------
// Library versions

int PDMWSLILVGetName(WSLILVHandle version, const char** name) {
    return ReadVersion(version, "PDMWSLILVGetName", name, nyxStringEmpty(),
                       [](PDMc_LILV* v) { return v->GetName().c_str(); });
}

int PDMWSLILVGetLIL(WSLILVHandle version, WSLILHandle* library) {
    return ReadVersion(version, "PDMWSLILVGetLIL", library, static_cast<WSLILHandle>(nullptr),
                       [](PDMc_LILV* v) {
                           PDMc_LDBObject* owner = v->GetLIL();
                           return reinterpret_cast<WSLILHandle>(owner);
                       });
}

int PDMWSLILVGetSourceVersion(WSLILVHandle version, int* sourceVersion) {
    return ReadVersion(version, "PDMWSLILVGetSourceVersion", sourceVersion, 0,
                       [](PDMc_LILV* v) { return static_cast<int>(v->GetSourceVersion()); });
}

int PDMWSLILVGetTargetFolder(WSLILVHandle version, const char** folder) {
    return ReadVersion(version, "PDMWSLILVGetTargetFolder", folder, nyxStringEmpty(),
                       [](PDMc_LILV* v) { return v->GetTargetFolder().c_str(); });
}

int PDMWSLILVIsModified(WSLILVHandle version, int* modified) {
    return ReadVersion(version, "PDMWSLILVIsModified", modified, 0,
                       [](PDMc_LILV* v) { return v->IsModified() ? 1 : 0; });
}

int PDMWSLILVHasFile(WSLILVHandle version, int* hasFile) {
    return ReadVersion(version, "PDMWSLILVHasFile", hasFile, 0,
                       [](PDMc_LILV* v) { return v->GetCurrentFile() != nullptr ? 1 : 0; });
}

int PDMWSLILVFileIsModified(WSLILVHandle version, int* flag) {
    return ReadVersion(version, "PDMWSLILVFileIsModified", flag, 0, [](PDMc_LILV* v) {
        PDMc_LF* file = v->GetCurrentFile();
        return file != nullptr && file->IsModified() ? 1 : 0;
    });
}

int PDMWSLILVFileIsRepository(WSLILVHandle version, int* flag) {
    return ReadVersion(version, "PDMWSLILVFileIsRepository", flag, 0, [](PDMc_LILV* v) {
        PDMc_LF* file = v->GetCurrentFile();
        return file != nullptr && file->IsRepositoryFile() ? 1 : 0;
    });
}

int PDMWSLILVGetFileVersion(WSLILVHandle version, unsigned* fileVersion) {
    return ReadVersion(version, "PDMWSLILVGetFileVersion", fileVersion, 0u, [](PDMc_LILV* v) {
        PDMc_LF* file = v->GetCurrentFile();
        return file != nullptr ? static_cast<unsigned>(file->GetFileVersion()) : 0u;
    });
}

int PDMWSLILVGetPathForRead(WSLILVHandle version, const char** path) {
    return ReadVersion(version, "PDMWSLILVGetPathForRead", path, nyxStringEmpty(), PathForRead);
}

int PDMWSLILVGetWSPIs(WSLILVHandle version, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSLILVGetWSPIs");
    *cursor = nullptr;
    PDMc_LILV* v = LibraryVersion(version, "PDMWSLILVGetWSPIs");
    if (v == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* members = v->GetWSPIs();
    if (members != nullptr) return PDMBindCursor(members, false, cursor);
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    // A version that never had a member gives an empty list.
    return PDMListCursor(cursor, [](PDMPointerList&) { return 0; });
}

int PDMWSLILVGetRepositoryPIVIDs(WSLILVHandle version, int* count, unsigned* ids) {
    return ReadIds(version, "PDMWSLILVGetRepositoryPIVIDs", count, ids,
                   &PDMc_LILV::GetOrigMembers);
}

int PDMWSLILVGetRemovedPIVIDs(WSLILVHandle version, int* count, unsigned* ids) {
    return ReadIds(version, "PDMWSLILVGetRemovedPIVIDs", count, ids,
                   &PDMc_LILV::GetRemovedMembers);
}
