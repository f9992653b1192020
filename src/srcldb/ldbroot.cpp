#include "srcldb/ldbroot.h"

#include <cstdio>
#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbstore.h"

namespace {

const char kSourcePath[] = "srcldb/ldbroot";

// A new map of the system's usual size set into the reference in resolved form; 0 or the code
// of the failure pushed.
int32_t NewMapInto(LDBObjectOwner* owner, PDMc_LDBRef& reference) {
    PDMc_LDBMap* map = new (std::nothrow) PDMc_LDBMap(owner, PDMc_LDBMap::kNewCapacity);
    if (map == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    reference = PDMc_LDBRef(map);
    return 0;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// PDMc_LDBRoot

PDMc_LDBRoot::PDMc_LDBRoot() = default;

PDMc_LDBRoot::PDMc_LDBRoot(LDBObjectOwner* owner)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LDBRoot::GetClassName() const { return "PDMc_LDBRoot"; }

PDMc_LDBRef* PDMc_LDBRoot::GetAttrs() { return &m_attrs; }

PDMc_LDBMap* PDMc_LDBRoot::GetWorkspaces() { return LDBMapTarget(m_workspaces); }

PDMc_LDBMap* PDMc_LDBRoot::LoadedWorkspaces() {
    PDMc_LDBObject* map = m_workspaces.LoadedTarget();
    return map != nullptr && map->GetTypeCode() == PDMc_LDBMap::kTypeCode
               ? static_cast<PDMc_LDBMap*>(map)
               : nullptr;
}

PDMc_LDBMap* PDMc_LDBRoot::GetPITypeDefs() { return LDBMapTarget(m_pi_type_defs); }

PDMc_LDBMap* PDMc_LDBRoot::GetAttrDefs() { return LDBMapTarget(m_attr_defs); }

PDMc_LDBMap* PDMc_LDBRoot::GetDepDefs() { return LDBMapTarget(m_dep_defs); }

nyxString PDMc_LDBRoot::DepDefKey(const char* classText, int32_t type) {
    char key[kDepDefKeySize];
    std::snprintf(key, sizeof key, "%s_%d", classText != nullptr ? classText : "",
                  static_cast<int>(type));
    return nyxString(key);
}

PDMc_LDBRoot* CreateRootObject(LDBObjectOwner* owner) {
    PDMc_LDBRoot* root = new (std::nothrow) PDMc_LDBRoot(owner);
    if (root == nullptr) {
        nyxErrorPushInternal("Out of memory", kSourcePath, __LINE__);
        return nullptr;
    }
    // What was made before a failure stays on the modified list, for the abort to take away.
    if (NewMapInto(owner, root->m_workspaces) != 0 ||
        NewMapInto(owner, root->m_pi_type_defs) != 0 ||
        NewMapInto(owner, root->m_attr_defs) != 0 || NewMapInto(owner, root->m_dep_defs) != 0)
        return nullptr;
    return root;
}

PDMc_LDBRoot* LDBMakeStoreRoot(LDBStore& store, LDBObjectOwner* owner) {
    if (store.RootAddress() != 0 || store.GetRoot() != nullptr) {
        nyxErrorPushInternal("Store already has a root", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LDBRoot* root = CreateRootObject(owner);
    if (root != nullptr) store.SetRootObject(root);
    return root;
}

// ---------------------------------------------------------------------------------------------
// PDMc_LDBAppObj

PDMc_LDBAppObj::PDMc_LDBAppObj() = default;

PDMc_LDBAppObj::PDMc_LDBAppObj(LDBObjectOwner* owner)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {}

const char* PDMc_LDBAppObj::GetClassName() const { return "PDMc_LDBAppObj"; }

PDMc_LDBRef* PDMc_LDBAppObj::GetAttrs() { return &m_attrs; }

PDMc_LDBAppObj* CreateAppObject(LDBObjectOwner* owner, const char* typeName) {
    PDMc_LDBAppObj* object = new (std::nothrow) PDMc_LDBAppObj(owner);
    if (object == nullptr) {
        nyxErrorPushInternal("Out of memory", kSourcePath, __LINE__);
        return nullptr;
    }
    object->m_type = typeName;
    if (NewMapInto(owner, object->m_attrs) != 0) return nullptr;
    return object;
}
