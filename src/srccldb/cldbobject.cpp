// The generic view of persistent objects: any object with an attribute holder can be read and
// written by attribute name, and clients can make application objects of a free type name.
// An LDB handle stands for the root here: the connection answers with the root's holder.
#include <cstring>
#include <new>

#include "callframe.h"
#include "cattrval.h"
#include "ccursor.h"
#include "chandles.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbattrholder.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbroot.h"

namespace {
// The generic exports know object values (kind 6) beside the plain kinds.
const CAPIAttrVariant& kObjectVariant = kCAPIAttrObjectVariant;

// The attribute holder of a valid object: 0 with `attrs` set, or the code pushed (2413 for a
// class that has no attributes).
int32_t HolderOf(PDMc_LDBObject* object, PDMc_LDBRef*& attrs) {
    if (int32_t rc = object->Validate()) return rc;
    attrs = object->GetAttrs();
    if (attrs != nullptr) return 0;
    nyxString typeName;
    object->GetTypeName(typeName);
    nyxErrorReport(2413, typeName);
    return nyxErrorCurrentCode();
}

// The object whose members hold the attribute reference: the root for a connection.
PDMc_LDBObject* OwnerOfAttrs(PDMc_LDBObject* object) {
    if (PDMc_LDB* connection = PDMc_LDB::FromObject(object)) return connection->GetRoot();
    return object;
}
}  // namespace

int PDMLDBObjectCreate(LDBHandle ldb, const char* typeName, LDBObjectHandle* object) {
    PDMCallFrame frame("PDMLDBObjectCreate");
    *object = nullptr;
    if (PDMCheckHandle(ldb, "PDMLDBObjectCreate", "LDBHandle")) return PDMResultT();
    nyxString type(typeName);
    PDMc_LDBAppObj* made = CreateAppObject(ConnectionOf(ldb), type.c_str());
    if (made == nullptr) return PDMResultT();
    *object = HandleOf(made);
    return 0;
}

int PDMLDBObjectGetType(LDBObjectHandle handle, const char** typeName) {
    PDMCallFrame frame("PDMLDBObjectGetType");
    if (PDMCheckHandle(handle, "PDMLDBObjectGetType", "LDBObjectHandle")) return PDMResultT();
    PDMc_LDBObject* object = ObjectOf(handle);
    if (int32_t rc = object->Validate()) return rc;
    nyxString name;
    if (int32_t rc = object->GetTypeName(name)) return rc;
    *typeName = PDMKeepString(name.c_str());
    return 0;
}

int PDMLDBObjectGetLDBAttribute(LDBObjectHandle handle, const char* name, PDMAttrValue* value) {
    PDMCallFrame frame("PDMLDBObjectGetLDBAttribute");
    if (PDMCheckHandle(handle, "PDMLDBObjectGetLDBAttribute", "LDBObjectHandle"))
        return PDMResultT();
    PDMc_LDBRef* attrs = nullptr;
    if (int32_t rc = HolderOf(ObjectOf(handle), attrs)) return rc;
    // The record is written whatever the lookup met: a name that isn't there, or a record
    // already standing on the stack, reads as kind 0 or as the value found.
    PDMc_LDBValue found;
    if (!attrs->IsNull()) {
        nyxString key(name);
        LDBGetAttribute(*attrs, key.c_str(), found);
    }
    return CAPIAttrValueToC(found, value, true, kObjectVariant);
}

int PDMLDBObjectSetLDBAttribute(LDBObjectHandle handle, const char* name,
                                const PDMAttrValue* value) {
    PDMCallFrame frame("PDMLDBObjectSetLDBAttribute");
    if (PDMCheckHandle(handle, "PDMLDBObjectSetLDBAttribute", "LDBObjectHandle"))
        return PDMResultT();
    PDMc_LDBObject* object = ObjectOf(handle);
    PDMc_LDBRef* attrs = nullptr;
    if (int32_t rc = HolderOf(object, attrs)) return rc;
    PDMc_LDBValue converted;
    if (int32_t rc = CAPIAttrValueFromC(value, converted, kObjectVariant)) return rc;
    nyxString key(name);
    if (converted.GetKind() == PDMc_LDBValue::kNone) {
        if (attrs->IsNull()) return 0;
        LDBRemoveAttribute(*attrs, key.c_str());
        return 0;
    }
    if (converted.GetKind() == PDMc_LDBValue::kObject) {
        PDMc_LDBObject* target = converted.GetObject();
        if (target == nullptr) {
            PDMCheckHandle(nullptr, "PDMLDBObjectSetLDBAttribute", "AttrValue");
            return PDMResultT();
        }
        if (int32_t rc = target->Validate()) return rc;
    }
    LDBSetAttribute(OwnerOfAttrs(object), *attrs, key.c_str(), converted);
    return PDMResultT();
}

int PDMLDBObjectGetLDBAttributeNames(LDBObjectHandle handle, int* count, const char** names) {
    PDMCallFrame frame("PDMLDBObjectGetLDBAttributeNames");
    *count = 0;
    if (PDMCheckHandle(handle, "PDMLDBObjectGetLDBAttributeNames", "LDBObjectHandle"))
        return PDMResultT();
    PDMc_LDBObject* object = ObjectOf(handle);
    if (int32_t rc = object->Validate()) return rc;
    PDMc_LDBRef* attrs = object->GetAttrs();
    if (attrs == nullptr || attrs->IsNull()) return 0;
    PDMc_LDBMap* map = LDBAttributeMap(*attrs);
    if (map == nullptr) return nyxErrorCurrentCode();
    // The names in the map's own order; the texts are the map's keys.
    struct Listing {
        const char** names;
        int index;
    } listing = {names, 0};
    map->References().VisitEntries(
        [](void* context, const nyxString& key, const PDMc_LDBRef&) -> int32_t {
            Listing* l = static_cast<Listing*>(context);
            if (l->names != nullptr) l->names[l->index] = key.c_str();
            ++l->index;
            return 0;
        },
        &listing);
    int index = listing.index;
    *count = index;
    return 0;
}

namespace {
// Follows MFAttrDefInfo of the database to the object that holds the definitions of a type.
// 0 with `defs` null when either step finds nothing; else the code of the failing read.
int32_t TypeDefinitions(LDBHandle ldb, const char* typeName, LDBObjectHandle& defs) {
    defs = nullptr;
    PDMAttrValue value;
    value.kind = PDM_ATTR_NONE;
    LDBObjectHandle root = reinterpret_cast<LDBObjectHandle>(ldb);
    if (int32_t rc = PDMLDBObjectGetLDBAttribute(root, "MFAttrDefInfo", &value)) return rc;
    if (value.kind == PDM_ATTR_NONE) return 0;
    LDBObjectHandle info = value.value.obj;
    value.kind = PDM_ATTR_NONE;
    if (int32_t rc = PDMLDBObjectGetLDBAttribute(info, typeName, &value)) return rc;
    if (value.kind != PDM_ATTR_NONE) defs = value.value.obj;
    return 0;
}

// The definitions object of the type and its attribute names, in its map's order. 0 with no
// names when there are none; the caller deletes `names`.
int32_t DefinitionNames(LDBHandle ldb, const char* typeName, LDBObjectHandle& defs, int& count,
                        const char**& names) {
    names = nullptr;
    count = 0;
    if (int32_t rc = TypeDefinitions(ldb, typeName, defs)) return rc;
    if (defs == nullptr) return 0;
    if (int32_t rc = PDMLDBObjectGetLDBAttributeNames(defs, &count, nullptr)) return rc;
    if (count == 0) return 0;
    names = new (std::nothrow) const char*[count];
    if (names == nullptr) return NYX_INTERNAL_ERROR("no memory for a list", "srccldb/cattrval");
    return PDMLDBObjectGetLDBAttributeNames(defs, &count, names);
}
}  // namespace

int PDMLDBGetAttrDefs(LDBHandle ldb, const char* typeName, CursorHandle* cursor) {
    *cursor = nullptr;
    if (PDMCheckHandle(ldb, "PDMLDBGetAttrDefs", "LDBHandle")) return PDMResultT();
    LDBObjectHandle defs = nullptr;
    int count = 0;
    const char** names = nullptr;
    int32_t rc = DefinitionNames(ldb, typeName, defs, count, names);
    if (rc != 0 || count == 0) {
        delete[] names;
        return rc != 0 ? rc : PDMResultT();
    }
    PDMPointerList* list = new (std::nothrow) PDMPointerList();
    if (list == nullptr) {
        delete[] names;
        return NYX_INTERNAL_ERROR("no memory for a list", "srccldb/cattrval");
    }
    for (int i = 0; i < count; ++i) {
        PDMAttrValue value;
        value.kind = PDM_ATTR_NONE;
        if ((rc = PDMLDBObjectGetLDBAttribute(defs, names[i], &value)) != 0) break;
        if (value.kind != PDM_ATTR_NONE && value.value.obj == nullptr) {
            PDMCheckHandle(nullptr, "PDMLDBGetAttrDefs", "ldb_attr_def_handle");
            rc = PDMResultT();
            break;
        }
        void* element = value.value.obj;
        list->InsertLast(&element);
    }
    delete[] names;
    if (rc != 0) {
        delete list;
        return rc;
    }
    return PDMBindCursor(list, true, cursor);
}

int PDMLDBAttrDefGetByName(LDBHandle ldb, const char* typeName, const char* name,
                           LDBObjectHandle* attrDef) {
    if (PDMCheckHandle(ldb, "PDMLDBAttrDefGetByName", "LDBHandle")) return PDMResultT();
    *attrDef = nullptr;
    LDBObjectHandle defs = nullptr;
    int count = 0;
    const char** names = nullptr;
    int32_t rc = DefinitionNames(ldb, typeName, defs, count, names);
    for (int i = 0; rc == 0 && i < count; ++i) {
        if (std::strcmp(names[i], name) != 0) continue;
        PDMAttrValue value;
        value.kind = PDM_ATTR_NONE;
        rc = PDMLDBObjectGetLDBAttribute(defs, names[i], &value);
        if (value.kind != PDM_ATTR_NONE) *attrDef = value.value.obj;
        delete[] names;
        return rc;
    }
    delete[] names;
    return rc != 0 ? rc : PDMResultT();
}
