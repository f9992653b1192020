// The relations of a version: its list of relations to its instances, and its relation to its
// generic. The list has a copy on first write of its own, so that a version copied into a new
// frame shares it until the first change of the list there.
#include <new>
#include <unordered_set>
#include <vector>

#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldbluf.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srcldbws/wspiv";

constexpr int32_t kErrorNotInLibrary = 2600;
constexpr int32_t kErrorNotAnInstance = 2601;
constexpr int32_t kErrorNoInstances = 2602;

// A chain of generics is as long as the items of a workspace allow; a damaged store that closes
// it into a ring isn't to hang the client.
constexpr int kMaxChainLength = 1 << 20;

void Add(nyxCollection& out, PDMc_LDBObject* object) {
    void* element = object;
    out.Insert(&element);
}

}  // namespace

PDMc_LDBArray* PDMc_WSPIV::GetInstanceWSGIRs() {
    return LDBTargetAs<PDMc_LDBArray>(m_instance_wsgirs);
}

PDMc_LDBArray* PDMc_WSPIV::InstanceWSGIRsForModification() {
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nullptr;
    PDMc_WS* workspace = writable->GetWS();
    PDMc_LUF* frame = workspace != nullptr ? workspace->GetCurrentFrame() : nullptr;
    if (frame == nullptr) return nullptr;
    PDMc_LDBArray* list = writable->GetInstanceWSGIRs();
    if (list == nullptr && !nyxErrorStackEmpty()) return nullptr;
    if (list != nullptr && LDBTargetAs<PDMc_LUF>(writable->m_instances_creating_frame) == frame)
        return list;
    // The list object belongs to an earlier frame, which keeps it as it is.
    PDMc_LDBArray* own = list != nullptr ? new (std::nothrow) PDMc_LDBArray(*list)
                                         : new (std::nothrow) PDMc_LDBArray(GetOwner());
    if (own == nullptr) {
        nyxErrorPushInternal("no memory for a relation list", kSourcePath, __LINE__);
        return nullptr;
    }
    writable->MarkModified();
    writable->m_instance_wsgirs = own;
    writable->m_instances_creating_frame = frame;
    return own;
}

int32_t PDMc_WSPIV::AddInstanceWSGIR(PDMc_WSGIR* relation) {
    PDMc_WSPI* item = GetWSPI();
    if (item == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBArray* list = InstanceWSGIRsForModification();
    if (list == nullptr) return nyxErrorCurrentCode();
    if (!list->Append(relation))
        return NYX_INTERNAL_ERROR("no memory for a relation list", kSourcePath);
    PDMc_WSPIV* current = item->CurrentPIV("PDMc_WSPIV::AddInstanceWSGIR");
    if (current == nullptr) return nyxErrorCurrentCode();
    current->MarkModified();
    current->m_has_instances = true;
    if (!relation->HasInstanceWSPI()) return 0;
    PDMc_WSPI* instance = relation->GetInstanceWSPI();
    return instance != nullptr ? instance->SetGenericWSGIR(relation) : nyxErrorCurrentCode();
}

PDMc_WSGIR* PDMc_WSPIV::InstanceWSGIRModified(PDMc_WSGIR* relation) {
    uint32_t index = 0;
    if (!LDBIndexOfObject(GetInstanceWSGIRs(), relation, index)) {
        nyxErrorPushInternal("PDMc_WSPIV::InstanceWSGIRModified", kSourcePath, __LINE__);
        return nullptr;
    }
    PDMc_LDBArray* list = InstanceWSGIRsForModification();
    if (list == nullptr) return nullptr;
    PDMc_WSGIR* copy = relation->Copy();
    if (copy == nullptr) return nullptr;
    PDMc_LDBObject* element = copy;
    if (!list->SetAt(index, &element)) {
        nyxErrorPushInternal("PDMc_WSPIV::InstanceWSGIRModified", kSourcePath, __LINE__);
        return nullptr;
    }
    if (copy->HasInstanceWSPI()) {
        PDMc_WSPI* instance = copy->GetInstanceWSPI();
        if (instance == nullptr || instance->SetGenericWSGIR(copy) != 0) return nullptr;
    }
    return copy;
}

int32_t PDMc_WSPIV::DeleteInstanceWSGIR(PDMc_WSGIR* relation) {
    PDMc_WSPI* item = GetWSPI();
    if (item == nullptr) return nyxErrorCurrentCode();
    // Looked up before anything is copied, so that a relation this version doesn't list
    // changes nothing.
    uint32_t index = 0;
    if (!LDBIndexOfObject(GetInstanceWSGIRs(), relation, index))
        return NYX_INTERNAL_ERROR("PDMc_WSPIV::DeleteInstanceWSGIR", kSourcePath);
    PDMc_LDBArray* list = InstanceWSGIRsForModification();
    if (list == nullptr) return nyxErrorCurrentCode();
    if (!list->RemoveAt(index)) return NYX_INTERNAL_ERROR("PDMc_WSPIV::DeleteInstanceWSGIR", kSourcePath);
    PDMc_WSPIV* current = item->CurrentPIV("PDMc_WSPIV::DeleteInstanceWSGIR");
    if (current == nullptr) return nyxErrorCurrentCode();
    if (list->GetCount() == 0) {
        current->MarkModified();
        current->m_instance_wsgirs = nullptr;
        current->m_instances_creating_frame = nullptr;
        current->m_has_instances = false;
    }
    if (!relation->HasInstanceWSPI()) return 0;
    PDMc_WSPI* instance = relation->GetInstanceWSPI();
    return instance != nullptr ? instance->SetGenericWSGIR(nullptr) : nyxErrorCurrentCode();
}

int32_t PDMc_WSPIV::SetGenericWSGIR(PDMc_WSGIR* relation) {
    PDMc_WSPIV* writable = ForModification();
    if (writable == nullptr) return nyxErrorCurrentCode();
    writable->m_generic_wsgir = relation;
    writable->m_is_instance = relation != nullptr;
    return 0;
}

PDMc_WSGIR* PDMc_WSPIV::GetGeneric() {
    if (!m_is_instance) {
        nyxErrorReport(kErrorNotAnInstance, GetName());
        return nullptr;
    }
    return LDBTargetAs<PDMc_WSGIR>(m_generic_wsgir);
}

PDMc_WSPI* PDMc_WSPIV::GetTopGeneric() {
    if (!IsLibraryMember()) {
        nyxErrorReport(kErrorNotInLibrary, GetName());
        return nullptr;
    }
    PDMc_WSPI* item = GetWSPI();
    for (int step = 0; item != nullptr; ++step) {
        if (step == kMaxChainLength) {
            nyxErrorPushInternal("PDMc_WSPIV::GetTopGeneric", kSourcePath, __LINE__);
            return nullptr;
        }
        PDMc_WSPIV* current = item->GetShortcutPIV();
        if (current == nullptr || !current->IsInstance()) return item;
        PDMc_WSGIR* relation = current->GetGeneric();
        if (relation == nullptr || !relation->HasGenericWSPI()) return nullptr;
        item = relation->GetGenericWSPI();
    }
    return nullptr;
}

int32_t PDMc_WSPIV::GetGIRs(nyxCollection& out) {
    out.Clear();
    if (!m_has_instances) return 0;
    PDMc_LDBArray* list = GetInstanceWSGIRs();
    if (list == nullptr) return nyxErrorCurrentCode();
    return LDBForEachElement<PDMc_WSGIR>(*list, [&out](PDMc_WSGIR* relation) {
        Add(out, relation);
        return 0;
    });
}

int32_t PDMc_WSPIV::GetGIRsRecursive(nyxCollection& out) {
    out.Clear();
    if (!m_has_instances) return nyxErrorReport(kErrorNoInstances, GetName());
    std::vector<PDMc_WSPIV*> level{this};
    // Each version is walked once, so a ring in a damaged store ends the walk.
    std::unordered_set<PDMc_WSPIV*> seen{this};
    while (!level.empty()) {
        std::vector<PDMc_WSPIV*> next;
        for (PDMc_WSPIV* version : level) {
            if (!version->HasInstances()) continue;
            PDMc_LDBArray* list = version->GetInstanceWSGIRs();
            if (list == nullptr) return nyxErrorCurrentCode();
            int32_t rc = LDBForEachElement<PDMc_WSGIR>(*list, [&](PDMc_WSGIR* relation) {
                Add(out, relation);
                if (!relation->HasInstanceWSPI()) return 0;
                PDMc_WSPI* instance = relation->GetInstanceWSPI();
                if (instance == nullptr) return nyxErrorCurrentCode();
                PDMc_WSPIV* below = instance->GetShortcutPIV();
                if (below != nullptr && seen.insert(below).second) next.push_back(below);
                return 0;
            });
            if (rc != 0) return rc;
        }
        level.swap(next);
    }
    return 0;
}

int32_t PDMc_WSPIV::DetachFromGeneric() {
    PDMc_WSGIR* relation = GetGeneric();
    if (relation == nullptr) return nyxErrorCurrentCode();
    if (!relation->HasGenericWSPI()) return 0;
    PDMc_WSPI* generic = relation->GetGenericWSPI();
    if (generic == nullptr) return nyxErrorCurrentCode();
    PDMc_WSPIV* genericVersion = generic->GetShortcutPIV();
    if (genericVersion == nullptr) return 0;
    PDMc_WSGIR* copy = genericVersion->InstanceWSGIRModified(relation);
    if (copy == nullptr) return nyxErrorCurrentCode();
    copy->SetInstanceWSPI(nullptr);
    return 0;
}

int32_t PDMc_WSPIV::DetachInstances() {
    PDMc_LDBArray* list = GetInstanceWSGIRs();
    if (list == nullptr) return nyxErrorCurrentCode();
    // The instances' writes touch their own versions only, never this list.
    return LDBForEachElement<PDMc_WSGIR>(*list, [](PDMc_WSGIR* relation) {
        if (!relation->HasInstanceWSPI()) return 0;
        PDMc_WSPI* instance = relation->GetInstanceWSPI();
        if (instance == nullptr) return nyxErrorCurrentCode();
        PDMc_WSGIR* copy = relation->Copy();
        if (copy == nullptr) return nyxErrorCurrentCode();
        copy->SetGenericWSPI(nullptr);
        return instance->SetGenericWSGIR(copy);
    });
}

void PDMc_WSPIV::ClearLibraryRoles() {
    MarkModified();
    m_is_instance = false;
    m_has_instances = false;
}
