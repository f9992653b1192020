// The integrity check of a workspace's current state: whether each item's library role fits its
// library, and whether both ends of each generic-to-instance relation fit each other. Findings go
// to standard output, one a line; none reaches the error stack, and nothing is changed.
#include <cstdio>

#include "collections/nyxlist.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char* NameOf(PDMc_WSPI* item) { return item->GetName().c_str(); }

unsigned long IdText(uint32_t id) { return static_cast<unsigned long>(id); }

// The first library of the current state whose member list holds the item; null for none.
PDMc_LIL* LibraryHolding(PDMc_WS* workspace, PDMc_WSPI* item) {
    nyxSingleListOf<void*> libraries;
    if (workspace == nullptr || workspace->GetLILs(libraries) != 0) return nullptr;
    PDMc_LIL* holder = nullptr;
    LDBForEachElement<PDMc_LIL>(libraries, [&](PDMc_LIL* library) {
        PDMc_LILV* version = library->GetCurrentLILV();
        PDMc_LDBArray* members = version != nullptr ? version->GetWSPIs() : nullptr;
        uint32_t index = 0;
        if (!LDBIndexOfObject(members, item, index)) return 0;
        holder = library;
        return 1;
    });
    return holder;
}

}  // namespace

bool PDMc_WS::CheckIntegrity() {
    nyxSingleListOf<void*> items;
    nyxSingleListOf<void*> libraries;
    GetWSPIs(items);
    GetLILs(libraries);
    // A finding doesn't end the walk: the client learns of everything at once.
    bool found = false;
    LDBForEachElement<PDMc_WSPI>(items, [&found](PDMc_WSPI* item) {
        found = item->CheckIntegrity() || found;
        return 0;
    });
    LDBForEachElement<PDMc_LIL>(libraries, [&found](PDMc_LIL* library) {
        found = library->CheckIntegrity() || found;
        return 0;
    });
    return found;
}

bool PDMc_WSPI::CheckIntegrity() {
    if (!IsLibraryMember()) {
        PDMc_LIL* holder = LibraryHolding(GetWS(), this);
        if (holder == nullptr) return false;
        printf("CORRUPTION: non LIL-based WSPI %s refernced from LIL %s\n", NameOf(this),
               holder->GetName().c_str());
        return true;
    }
    if (GetLIL() == nullptr) {
        printf("CORRUPTION: Library member %s has no LIL\n", NameOf(this));
        return true;
    }
    bool found = false;
    if (IsInstance()) {
        PDMc_WSGIR* relation = GetGeneric();
        if (relation == nullptr) {
            printf("CORRUPTION: Instance %s does not have a generic GIR\n", NameOf(this));
            return true;
        }
        found = relation->CheckIntegrity();
    }
    if (HasInstances()) {
        nyxSingleListOf<void*> relations;
        GetGIRs(relations);
        LDBForEachElement<PDMc_WSGIR>(relations, [&found](PDMc_WSGIR* relation) {
            found = relation->CheckIntegrity() || found;
            return 0;
        });
    }
    return found;
}

bool PDMc_WSGIR::CheckIntegrity() {
    PDMc_WSPI* instance = HasInstanceWSPI() ? GetInstanceWSPI() : nullptr;
    PDMc_WSPI* generic = HasGenericWSPI() ? GetGenericWSPI() : nullptr;
    if (instance == nullptr && generic == nullptr) {
        printf("CORRUPTION: GIR does not have either instance or generic WSPI\n");
        return true;
    }
    // A side with no item but an id lies in the repository only, and passes.
    bool oneSided = false;
    if (instance == nullptr && m_instance_pivid == 0) {
        printf("CORRUPTION: Generic %s does not have instance for GIR\n", NameOf(generic));
        oneSided = true;
    }
    if (generic == nullptr && m_generic_pivid == 0) {
        printf("CORRUPTION: Instance %s does not have generic for GIR\n", NameOf(instance));
        oneSided = true;
    }
    if (oneSided) return true;

    bool found = false;
    if (generic != nullptr && generic->GetSourceId() != m_generic_pivid) {
        printf("CORRUPTION: Generic %s has PIVId %lu but it's GIR has GenPIVId %lu\n",
               NameOf(generic), IdText(generic->GetSourceId()), IdText(m_generic_pivid));
        found = true;
    }
    if (instance != nullptr && instance->GetSourceId() != m_instance_pivid) {
        printf("CORRUPTION: Instance %s has PIVId %lu but it's GIR has GenPIVId %lu\n",
               NameOf(instance), IdText(instance->GetSourceId()), IdText(m_instance_pivid));
        found = true;
    }
    if (generic == nullptr || instance == nullptr) return found;
    PDMc_LIL* instanceLibrary = instance->GetLIL();
    PDMc_LIL* genericLibrary = generic->GetLIL();
    if (instanceLibrary == nullptr) {
        printf("CORRUPTION: Instance %s does not have LIL\n", NameOf(instance));
        found = true;
    }
    if (genericLibrary == nullptr) {
        printf("CORRUPTION: Generic %s does not have LIL\n", NameOf(generic));
        found = true;
    }
    if (instanceLibrary != nullptr && genericLibrary != nullptr &&
        instanceLibrary != genericLibrary) {
        printf("CORRUPTION: Generic %s and instance %s belong to different LIL generic LIL == %s, "
               "instance LIL = %s\n",
               NameOf(generic), NameOf(instance), genericLibrary->GetName().c_str(),
               instanceLibrary->GetName().c_str());
        found = true;
    }
    return found;
}
