#include "srcldb/ldbattrholder.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"

namespace {

const char kSourcePath[] = "srcldb/ldbattrholder";

}  // namespace

PDMc_LDBMap* LDBAttributeMap(PDMc_LDBRef& attrs) {
    if (attrs.IsNull()) return nullptr;
    return LDBMapTarget(attrs);
}

int32_t LDBGetAttribute(PDMc_LDBRef& attrs, const char* name, PDMc_LDBValue& value) {
    PDMc_LDBMap* map = LDBAttributeMap(attrs);
    if (map == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBObject* found = map->Find(name);
    if (found != nullptr && found->GetTypeCode() == LDB_TYPE_LAAV)
        value = static_cast<PDMc_LAAV*>(found)->GetValue();
    return nyxErrorCurrentCode();
}

int32_t LDBSetAttribute(PDMc_LDBObject* holder, PDMc_LDBRef& attrs, const char* name,
                        const PDMc_LDBValue& value) {
    if (value.GetKind() == PDMc_LDBValue::kNone) return LDBRemoveAttribute(attrs, name);

    if (attrs.IsNull()) {
        PDMc_LDBMap* made =
            new (std::nothrow) PDMc_LDBMap(holder->GetOwner(), PDMc_LDBMap::kNewCapacity);
        if (made == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
        // The holder's own member changes: it must be saved with the new map's address.
        holder->MarkModified();
        attrs = PDMc_LDBRef(made);
    }
    PDMc_LDBMap* map = LDBAttributeMap(attrs);
    if (map == nullptr) {
        if (nyxErrorCurrentCode() != 0) return nyxErrorCurrentCode();
        return NYX_INTERNAL_ERROR("Attribute map can't be loaded", kSourcePath);
    }

    nyxString key(name);
    PDMc_LDBObject* present = nullptr;
    if (!map->GetValue(&key, &present)) {
        PDMc_LAAV* made = PDMc_LAAV::Create(holder->GetOwner(), value);
        if (made == nullptr) return nyxErrorCurrentCode();
        map->PutValue(&key, &made);
        return nyxErrorCurrentCode();
    }
    if (present == nullptr || present->GetTypeCode() != LDB_TYPE_LAAV) {
        if (nyxErrorCurrentCode() != 0) return nyxErrorCurrentCode();
        return NYX_INTERNAL_ERROR("Attribute value can't be loaded", kSourcePath);
    }
    PDMc_LAAV* stored = static_cast<PDMc_LAAV*>(present);
    if (stored->GetValue() != value) stored->SetValue(value);
    return nyxErrorCurrentCode();
}

int32_t LDBRemoveAttribute(PDMc_LDBRef& attrs, const char* name) {
    PDMc_LDBMap* map = LDBAttributeMap(attrs);
    if (map != nullptr) map->RemoveName(name);
    return nyxErrorCurrentCode();
}
