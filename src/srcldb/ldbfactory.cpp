// The object factory of loading: it knows exactly the stored classes.
#include <new>

#include "srcldb/ldbarena.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbroot.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

template <class T>
PDMc_LDBObject* Make(LDBArena* arena) {
    return arena != nullptr ? new (*arena) T() : new (std::nothrow) T();
}

PDMc_LDBObject* NewEmptyObject(uint32_t typeCode, LDBArena* arena) {
    switch (typeCode) {
        case LDB_TYPE_ROOT: return Make<PDMc_LDBRoot>(arena);
        case LDB_TYPE_ARRAY: return Make<PDMc_LDBArray>(arena);
        case LDB_TYPE_MAP: return Make<PDMc_LDBMap>(arena);
        case LDB_TYPE_WS: return Make<PDMc_WS>(arena);
        case LDB_TYPE_WSPI: return Make<PDMc_WSPI>(arena);
        case LDB_TYPE_WSPIV: return Make<PDMc_WSPIV>(arena);
        case LDB_TYPE_WSD: return Make<PDMc_WSD>(arena);
        case LDB_TYPE_WSDD: return Make<PDMc_WSDD>(arena);
        case LDB_TYPE_WSGIR: return Make<PDMc_WSGIR>(arena);
        case LDB_TYPE_LIL: return Make<PDMc_LIL>(arena);
        case LDB_TYPE_LILV: return Make<PDMc_LILV>(arena);
        case LDB_TYPE_LPI: return Make<PDMc_LPI>(arena);
        case LDB_TYPE_LPITD: return Make<PDMc_LPITD>(arena);
        case LDB_TYPE_LUF: return Make<PDMc_LUF>(arena);
        case LDB_TYPE_LUFI: return Make<PDMc_LUFI>(arena);
        case LDB_TYPE_LUFLI: return Make<PDMc_LUFLI>(arena);
        case LDB_TYPE_LAV: return Make<PDMc_LAV>(arena);
        case LDB_TYPE_LAD: return Make<PDMc_LAD>(arena);
        case LDB_TYPE_LF: return Make<PDMc_LF>(arena);
        case LDB_TYPE_APPOBJ: return Make<PDMc_LDBAppObj>(arena);
        case LDB_TYPE_LAAV: return Make<PDMc_LAAV>(arena);
        default: return nullptr;
    }
}

}  // namespace

PDMc_LDBObject* CreateObjectOfType(LDBObjectOwner* owner, uint32_t typeCode,
                                   uint32_t classVersion, LDBArena* arena) {
    PDMc_LDBObject* object = NewEmptyObject(typeCode, arena);
    if (object == nullptr) return nullptr;
    // A loaded object is neither new nor on the modified list.
    object->m_owner = owner;
    object->m_storage_address = 0;
    object->m_header_word = (typeCode & 0xFF) | ((classVersion & 0xFF) << 8);
    return object;
}
