// The object factory of loading: it knows exactly the stored classes.
#include <new>

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

PDMc_LDBObject* NewEmptyObject(uint32_t typeCode) {
    switch (typeCode) {
        case LDB_TYPE_ROOT: return new (std::nothrow) PDMc_LDBRoot();
        case LDB_TYPE_ARRAY: return new (std::nothrow) PDMc_LDBArray();
        case LDB_TYPE_MAP: return new (std::nothrow) PDMc_LDBMap();
        case LDB_TYPE_WS: return new (std::nothrow) PDMc_WS();
        case LDB_TYPE_WSPI: return new (std::nothrow) PDMc_WSPI();
        case LDB_TYPE_WSPIV: return new (std::nothrow) PDMc_WSPIV();
        case LDB_TYPE_WSD: return new (std::nothrow) PDMc_WSD();
        case LDB_TYPE_WSDD: return new (std::nothrow) PDMc_WSDD();
        case LDB_TYPE_WSGIR: return new (std::nothrow) PDMc_WSGIR();
        case LDB_TYPE_LIL: return new (std::nothrow) PDMc_LIL();
        case LDB_TYPE_LILV: return new (std::nothrow) PDMc_LILV();
        case LDB_TYPE_LPI: return new (std::nothrow) PDMc_LPI();
        case LDB_TYPE_LPITD: return new (std::nothrow) PDMc_LPITD();
        case LDB_TYPE_LUF: return new (std::nothrow) PDMc_LUF();
        case LDB_TYPE_LUFI: return new (std::nothrow) PDMc_LUFI();
        case LDB_TYPE_LUFLI: return new (std::nothrow) PDMc_LUFLI();
        case LDB_TYPE_LAV: return new (std::nothrow) PDMc_LAV();
        case LDB_TYPE_LAD: return new (std::nothrow) PDMc_LAD();
        case LDB_TYPE_LF: return new (std::nothrow) PDMc_LF();
        case LDB_TYPE_APPOBJ: return new (std::nothrow) PDMc_LDBAppObj();
        case LDB_TYPE_LAAV: return new (std::nothrow) PDMc_LAAV();
        default: return nullptr;
    }
}

}  // namespace

PDMc_LDBObject* CreateObjectOfType(LDBObjectOwner* owner, uint32_t typeCode,
                                   uint32_t classVersion) {
    PDMc_LDBObject* object = NewEmptyObject(typeCode);
    if (object == nullptr) return nullptr;
    // A loaded object is neither new nor on the modified list.
    object->m_owner = owner;
    object->m_storage_address = 0;
    object->m_header_word = (typeCode & 0xFF) | ((classVersion & 0xFF) << 8);
    return object;
}
