#include "srcldb/ldbcontainer.h"

PDMc_LDBArray::PDMc_LDBArray() = default;

PDMc_LDBArray::PDMc_LDBArray(LDBObjectOwner* owner)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LDBArray::GetClassName() const { return "PDMc_LDBArray"; }

PDMc_LDBMap::PDMc_LDBMap() : m_rep(kLoadCapacity) {}

PDMc_LDBMap::PDMc_LDBMap(LDBObjectOwner* owner, uint32_t capacity)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_rep(capacity) {}

const char* PDMc_LDBMap::GetClassName() const { return "PDMc_LDBStringMap"; }
