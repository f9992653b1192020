// The model object behind a handle, and built lists handed out as cursors: what the model's
// export files share.
#pragma once

#include <cstdint>
#include <new>

#include "callframe.h"
#include "ccursor.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbobject.h"

class PDMc_LAD;
class PDMc_LDB;
class PDMc_LPITD;
class nyxCollection;

// The object behind a handle, if it is of the class the handle's kind promises. A null handle
// is error 110 with the export's name and the kind text; a handle to an object of another class
// is an internal error (under the calling file's source path) rather than a misread object.
// Null after either.
template <class T>
T* PDMTarget(const void* handle, const char* exportName, const char* kindText,
             const char* sourcePath) {
    if (PDMCheckHandle(handle, exportName, kindText) != 0) return nullptr;
    PDMc_LDBObject* object = static_cast<PDMc_LDBObject*>(const_cast<void*>(handle));
    if (object->GetTypeCode() == T::kTypeCode) return static_cast<T*>(object);
    nyxErrorPushInternal(kindText, sourcePath, __LINE__);
    return nullptr;
}

// A built list for a cursor: the listing fills it, and the cursor owns it.
template <class Fill>
int PDMListCursor(CursorHandle* cursor, Fill fill) {
    PDMPointerList* list = new (std::nothrow) PDMPointerList();
    if (list == nullptr) return NYX_INTERNAL_ERROR("no memory for a list", "srccldb/ccursor");
    if (int32_t rc = fill(*list)) {
        delete list;
        return rc;
    }
    return PDMBindCursor(list, true, cursor);
}

// The attribute definition of a name in the connection that `object` belongs to: null, with no
// error, for a name the database never had.
PDMc_LAD* PDMFindAttrDef(PDMc_LDBObject* object, const char* name);
// The same, made for a name the database doesn't have yet: what every attribute writer needs.
// Null after a failure.
PDMc_LAD* PDMFindOrCreateAttrDef(PDMc_LDBObject* object, const char* name);
// The two-phase list of attribute names: `*count` gets the number of PDMc_LAV values in the
// collection, and `names`, if not null, their definitions' names in its order. 0, or the code of
// a failure, with the names read up to it counted.
int32_t PDMAttributeNames(nyxCollection& values, int* count, const char** names);
// The item type of a name, made on first use with its name as its description: what a new
// item's type name leads to. Null after a failure.
PDMc_LPITD* PDMFindOrCreateTypeDef(PDMc_LDB* connection, const char* typeName);
