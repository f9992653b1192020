// The integration information of a workspace: name pairs a client keeps with it while it
// integrates. They have no class of their own: the list is a generic object under the
// workspace's attribute "MFIntegrateInfo", each pair a generic object under a decimal name, and
// both are read and written with the same exports a client has.
#include <cstdio>
#include <cstdlib>
#include <new>

#include "callframe.h"
#include "ccursor.h"
#include "chandles.h"
#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"

namespace {

const char kListAttribute[] = "MFIntegrateInfo";
const char kListType[] = "MFWSIntegrateInfo";
const char kPairType[] = "MFWSIPFInfo";
const char kOldName[] = "OldName";
const char kNewName[] = "NewName";

// Reads an attribute; an unset one comes back as kind none with result 0.
int Read(LDBObjectHandle object, const char* name, PDMAttrValue& value) {
    value.kind = PDM_ATTR_NONE;
    value.value.obj = nullptr;
    return PDMLDBObjectGetLDBAttribute(object, name, &value);
}

int WriteObject(LDBObjectHandle object, const char* name, LDBObjectHandle target) {
    PDMAttrValue value;
    value.kind = PDM_ATTR_OBJECT;
    value.value.obj = target;
    return PDMLDBObjectSetLDBAttribute(object, name, &value);
}

int WriteString(LDBObjectHandle object, const char* name, const char* text) {
    PDMAttrValue value;
    value.kind = PDM_ATTR_STRING;
    value.value.s = text;
    return PDMLDBObjectSetLDBAttribute(object, name, &value);
}

int Remove(LDBObjectHandle object, const char* name) {
    PDMAttrValue value;
    value.kind = PDM_ATTR_NONE;
    value.value.obj = nullptr;
    return PDMLDBObjectSetLDBAttribute(object, name, &value);
}

// The names of the list object's entries in its map's order, copied, since removing entries
// may move the map's own texts. `names` has room for `room` texts, at least the count.
int EntryNames(LDBObjectHandle list, int& count, nyxString*& names, int room) {
    names = nullptr;
    count = 0;
    if (int rc = PDMLDBObjectGetLDBAttributeNames(list, &count, nullptr)) return rc;
    const char** texts = new (std::nothrow) const char*[count > 0 ? count : 1];
    names = new (std::nothrow) nyxString[(count > room ? count : room) + 1];
    if (texts == nullptr || names == nullptr) {
        delete[] texts;
        return NYX_INTERNAL_ERROR("no memory for a list", "srccldb/cwsintegrate");
    }
    int rc = count > 0 ? PDMLDBObjectGetLDBAttributeNames(list, &count, texts) : 0;
    for (int i = 0; rc == 0 && i < count; ++i) names[i] = texts[i];
    delete[] texts;
    return rc;
}

bool Taken(const nyxString* names, int count, const char* name) {
    for (int i = 0; i < count; ++i)
        if (names[i] == nyxString(name)) return true;
    return false;
}

}  // namespace

int PDMWorkspaceStoreIntegrateInfo(WorkspaceHandle ws, PairHandle* pairs, int count) {
    if (PDMCheckHandle(ws, "PDMWorkspaceStoreIntegrateInfo", "WorkspaceHandle"))
        return PDMResultT();
    LDBObjectHandle workspace = reinterpret_cast<LDBObjectHandle>(ws);
    PDMc_LDB* connection = PDMc_LDB::FromOwner(ObjectOf(workspace)->GetOwner());
    if (connection == nullptr) {
        nyxErrorReport(101, "PDMWorkspaceGetIntegrateInfoLDBHandle");
        return PDMResultT();
    }
    PDMAttrValue value;
    if (int rc = Read(workspace, kListAttribute, value)) return rc;
    LDBObjectHandle list = value.value.obj;
    if (value.kind == PDM_ATTR_NONE) {
        if (int rc = PDMLDBObjectCreate(LDBHandleOf(connection), kListType, &list)) return rc;
        if (int rc = WriteObject(workspace, kListAttribute, list)) return rc;
    }
    int existing = 0;
    nyxString* names = nullptr;
    int total = count > 0 ? count : 0;
    int rc = EntryNames(list, existing, names, total);
    if (existing > total) total = existing;
    // New entries are numbered from the count of the existing ones, passing over numbers that a
    // surviving entry of a shorter list still bears: the pairs of one store stay apart.
    unsigned number = static_cast<unsigned>(existing);
    for (int i = existing; rc == 0 && i < total; ++i) {
        char text[16];
        do {
            std::snprintf(text, sizeof text, "%u", number++);
        } while (Taken(names, i, text));
        names[i] = text;
    }
    for (int i = 0; rc == 0 && i < total; ++i) {
        const char* name = names[i].c_str();
        value.kind = PDM_ATTR_NONE;
        if (i < existing && (rc = Read(list, name, value)) != 0) break;
        bool set = value.kind != PDM_ATTR_NONE;
        if (i >= count) {
            if (set) rc = Remove(list, name);
            continue;
        }
        if (PDMCheckHandle(pairs[i], "PDMWorkspaceStoreIntegrateInfo", "PairHandle")) {
            rc = PDMResultT();
            break;
        }
        LDBObjectHandle entry = value.value.obj;
        if (!set) {
            if ((rc = PDMLDBObjectCreate(LDBHandleOf(connection), kPairType, &entry)) != 0) break;
            if ((rc = WriteObject(list, name, entry)) != 0) break;
        }
        // A write over an existing text reports through the stack, not through its result.
        const PDMStringPair* pair = reinterpret_cast<const PDMStringPair*>(pairs[i]);
        if ((rc = Read(entry, kOldName, value)) != 0) break;
        WriteString(entry, kOldName, pair->first.c_str());
        if ((rc = Read(entry, kNewName, value)) != 0) break;
        WriteString(entry, kNewName, pair->second.c_str());
    }
    delete[] names;
    return rc != 0 ? rc : PDMResultT();
}

int PDMWorkspaceGetIntegrateInfo(WorkspaceHandle ws, PairHandle** pairs, int* count) {
    *count = 0;
    if (PDMCheckHandle(ws, "PDMWorkspaceGetIntegrateInfo", "WorkspaceHandle"))
        return PDMResultT();
    LDBObjectHandle workspace = reinterpret_cast<LDBObjectHandle>(ws);
    PDMAttrValue value;
    if (int rc = Read(workspace, kListAttribute, value)) return rc;
    if (value.kind == PDM_ATTR_NONE) return PDMResultT();
    LDBObjectHandle list = value.value.obj;
    int existing = 0;
    nyxString* names = nullptr;
    int rc = EntryNames(list, existing, names, 0);
    if (rc != 0 || existing == 0) {
        delete[] names;
        return rc;
    }
    nyxSingleListOf<void*> found;
    for (int i = 0; rc == 0 && i < existing; ++i) {
        if ((rc = Read(list, names[i].c_str(), value)) != 0 || value.kind == PDM_ATTR_NONE)
            continue;
        LDBObjectHandle entry = value.value.obj;
        if ((rc = Read(entry, kOldName, value)) != 0 || value.kind == PDM_ATTR_NONE) continue;
        PDMStringPair* pair = new (std::nothrow) PDMStringPair();
        if (pair == nullptr) {
            rc = NYX_INTERNAL_ERROR("no memory for a pair", "srccldb/cwsintegrate");
            break;
        }
        pair->first = value.value.s;
        if ((rc = Read(entry, kNewName, value)) != 0 || value.kind == PDM_ATTR_NONE) {
            delete pair;
            continue;
        }
        pair->second = value.value.s;
        void* element = pair;
        found.InsertLast(&element);
    }
    delete[] names;
    PairHandle* array = nullptr;
    if (rc == 0 && !found.IsEmpty()) {
        // The client releases it with free(), so it comes from malloc.
        array = static_cast<PairHandle*>(std::malloc(found.GetCount() * sizeof(PairHandle)));
        if (array == nullptr) rc = NYX_INTERNAL_ERROR("no memory for a list", "srccldb/cwsintegrate");
    }
    int delivered = 0;
    nyxIteratorGuard walk(found);
    for (walk->First(); !walk->AtEnd(); walk->Next()) {
        PDMStringPair* pair = *static_cast<PDMStringPair**>(walk->Current());
        if (rc != 0)
            delete pair;
        else
            array[delivered++] = reinterpret_cast<PairHandle>(pair);
    }
    if (rc != 0) return rc;
    *pairs = array;
    *count = delivered;
    return PDMResultT();
}
