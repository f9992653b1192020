// Handles are the plain addresses of the objects behind them. An LDB handle is the connection
// seen as a persistent object, so that it can stand where an object handle is asked for.
#pragma once

#include "marrows/marrows.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbobject.h"

inline PDMc_LDBObject* ObjectOf(LDBObjectHandle handle) {
    return reinterpret_cast<PDMc_LDBObject*>(handle);
}
inline LDBObjectHandle HandleOf(PDMc_LDBObject* object) {
    return reinterpret_cast<LDBObjectHandle>(object);
}
inline PDMc_LDB* ConnectionOf(LDBHandle handle) {
    return static_cast<PDMc_LDB*>(reinterpret_cast<PDMc_LDBObject*>(handle));
}
inline LDBHandle LDBHandleOf(PDMc_LDB* connection) {
    return reinterpret_cast<LDBHandle>(static_cast<PDMc_LDBObject*>(connection));
}
