// The dependency exports: readers of one dependency as it is, whatever state its version belongs
// to. Its writers are among the item exports, since a dependency changes through its version.
#include "callframe.h"
#include "cattrval.h"
#include "ctargets.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srccldb/cwsd";

PDMc_WSD* Dependency(WSDependencyHandle handle, const char* exportName) {
    return PDMTarget<PDMc_WSD>(handle, exportName, "WSDependencyHandle", kSourcePath);
}

// The frame of a reader: pre-set, test the handle, store what `read` gives. Form T.
template <class Out, class Read>
int ReadDependency(WSDependencyHandle handle, const char* exportName, Out* out, Out preset,
                   Read read) {
    PDMCallFrame frame(exportName);
    *out = preset;
    if (PDMc_WSD* dependency = Dependency(handle, exportName)) *out = read(dependency);
    return PDMResultT();
}

// The dependency's value of an attribute name, null when the name is undefined or unset.
PDMc_LAV* FindValue(PDMc_WSD* dependency, const char* name) {
    PDMc_LAD* definition = PDMFindAttrDef(dependency, name);
    return definition != nullptr ? dependency->GetAttribute(definition) : nullptr;
}

}  // namespace

int PDMWSDependencyGetChildName(WSDependencyHandle dependency, const char** name) {
    // The identity keeps its name after its item is deleted, for as long as it stays.
    return ReadDependency(dependency, "PDMWSDependencyGetChildName", name,
                          static_cast<const char*>(nullptr), [](PDMc_WSD* d) {
                              PDMc_LPI* child = d->GetChildPI();
                              return child != nullptr ? child->GetName().c_str() : nullptr;
                          });
}

int PDMWSDependencyGetAsStoredChildName(WSDependencyHandle dependency, const char** name) {
    return ReadDependency(dependency, "PDMWSDependencyGetAsStoredChildName", name,
                          static_cast<const char*>(nullptr),
                          [](PDMc_WSD* d) { return d->GetAsStoredChildName().c_str(); });
}

int PDMWSDependencyGetClass(WSDependencyHandle dependency, const char** depClass) {
    return ReadDependency(dependency, "PDMWSDependencyGetClass", depClass,
                          static_cast<const char*>(nullptr), [](PDMc_WSD* d) {
                              PDMc_WSDD* definition = d->GetDefinition();
                              return definition != nullptr ? definition->GetClass().c_str()
                                                           : nullptr;
                          });
}

int PDMWSDependencyGetType(WSDependencyHandle dependency, int* depType) {
    return ReadDependency(dependency, "PDMWSDependencyGetType", depType, 0, [](PDMc_WSD* d) {
        PDMc_WSDD* definition = d->GetDefinition();
        return definition != nullptr ? static_cast<int>(definition->GetType()) : 0;
    });
}

int PDMWSDependencyGetParentPIV(WSDependencyHandle dependency, WSPIVHandle* version) {
    return ReadDependency(dependency, "PDMWSDependencyGetParentPIV", version,
                          static_cast<WSPIVHandle>(nullptr), [](PDMc_WSD* d) {
                              PDMc_LDBObject* parent = d->GetParentPIV();
                              return reinterpret_cast<WSPIVHandle>(parent);
                          });
}

int PDMWSDependencyIsChildInWS(WSDependencyHandle dependency, int* inWorkspace) {
    return ReadDependency(dependency, "PDMWSDependencyIsChildInWS", inWorkspace, 0,
                          [](PDMc_WSD* d) {
                              PDMc_LPI* child = d->GetChildPI();
                              return child != nullptr && child->GetWSPI() != nullptr ? 1 : 0;
                          });
}

int PDMWSDependencyGetAttribute(WSDependencyHandle dependency, const char* name,
                                PDMAttrValue* value) {
    PDMCallFrame frame("PDMWSDependencyGetAttribute");
    PDMc_WSD* d = Dependency(dependency, "PDMWSDependencyGetAttribute");
    if (d == nullptr) return PDMResultT();
    // The record is written once, at the end, from a copy: a string goes out through the ring.
    PDMc_LDBValue local;
    if (PDMc_LAV* found = FindValue(d, name)) local = found->GetValue();
    if (int32_t rc = nyxErrorCurrentCode()) return rc;
    return CAPIAttrValueToC(local, value, true);
}

int PDMWSDependencyGetAttributeNames(WSDependencyHandle dependency, int* count,
                                     const char** names) {
    PDMCallFrame frame("PDMWSDependencyGetAttributeNames");
    *count = 0;
    PDMc_WSD* d = Dependency(dependency, "PDMWSDependencyGetAttributeNames");
    PDMc_LDBMap* values = d != nullptr ? d->GetAttrValues() : nullptr;
    if (values != nullptr) PDMAttributeNames(*values, count, names);
    return PDMResultT();
}

int PDMWSDependencyIsAttributeSet(WSDependencyHandle dependency, const char* name, int* set) {
    return ReadDependency(dependency, "PDMWSDependencyIsAttributeSet", set, 0,
                          [name](PDMc_WSD* d) { return FindValue(d, name) != nullptr ? 1 : 0; });
}

int PDMWSDependencyIsAttributeFileBased(WSDependencyHandle dependency, const char* name,
                                        int* based) {
    return ReadDependency(dependency, "PDMWSDependencyIsAttributeFileBased", based, 0,
                          [name](PDMc_WSD* d) {
                              PDMc_LAV* found = FindValue(d, name);
                              return found != nullptr && found->IsFileBased() ? 1 : 0;
                          });
}
