// The dependency exports of items and versions: adding, deleting and writing the dependencies of
// an item's current version, and the lists of a version's dependencies.
#include <cstring>

#include "callframe.h"
#include "cattrval.h"
#include "ctargets.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"

namespace {

const char kSourcePath[] = "srccldb/cwspidep";

PDMc_WSPI* Item(WSPIHandle handle, const char* exportName, const char* kindText = "WSPIHandle") {
    return PDMTarget<PDMc_WSPI>(handle, exportName, kindText, kSourcePath);
}

PDMc_WSD* Dependency(WSDependencyHandle handle, const char* exportName) {
    return PDMTarget<PDMc_WSD>(handle, exportName, "WSDependencyHandle", kSourcePath);
}

PDMc_WSPIV* Version(WSPIVHandle handle, const char* exportName) {
    return PDMTarget<PDMc_WSPIV>(handle, exportName, "WSPIVHandle", kSourcePath);
}

WSDependencyHandle HandleOfDependency(PDMc_WSD* dependency) {
    PDMc_LDBObject* object = dependency;
    return reinterpret_cast<WSDependencyHandle>(object);
}

// The two handles of a write through a dependency, item first. Null after a failure.
PDMc_WSD* WriteTarget(WSPIHandle item, WSDependencyHandle dependency, const char* exportName) {
    if (Item(item, exportName) == nullptr) return nullptr;
    return Dependency(dependency, exportName);
}

// The definition of the pair, made the first time the pair is used. Null after a failure.
PDMc_WSDD* DependencyDefinition(PDMc_LDBObject* object, const char* depClass, int depType) {
    PDMc_LDB* connection = PDMc_LDB::FromOwner(object->GetOwner());
    if (connection == nullptr) {
        nyxErrorPushInternal("an item without a connection", kSourcePath, __LINE__);
        return nullptr;
    }
    nyxString text(depClass);
    PDMc_LDBObject* found = connection->FindDepDef(text.c_str(), depType);
    if (found == nullptr) found = connection->CreateDepDef(text.c_str(), depType);
    PDMc_WSDD* definition = LDBObjectAs<PDMc_WSDD>(found, true);
    // The key is cut at its buffer's size: a class text that long could find another class's
    // definition, and is refused.
    if (definition != nullptr && definition->GetClass() != text) {
        nyxErrorPushInternal("a dependency class too long for its key", kSourcePath, __LINE__);
        return nullptr;
    }
    return definition;
}

// The common steps of both adds; `findChild` gives the child's identity, or null to add
// nothing. Form T.
template <class FindChild>
int Add(WSPIHandle item, const char* exportName, const char* depClass, int depType,
        WSDependencyHandle* dependency, FindChild findChild) {
    *dependency = nullptr;
    PDMc_WSPI* parent = Item(item, exportName);
    if (parent == nullptr) return PDMResultT();
    bool childHandleFailed = false;
    PDMc_LPI* child = findChild(parent, childHandleFailed);
    if (childHandleFailed) return PDMResultT();
    // The definition comes before the child is known: an add that finds no child may leave a
    // new definition behind.
    PDMc_WSDD* definition = DependencyDefinition(parent, depClass, depType);
    if (definition == nullptr || child == nullptr) return PDMResultT();
    *dependency = HandleOfDependency(parent->AddDependency(child, definition));
    return PDMResultT();
}

// The common steps of the attribute writes of a dependency: both handles, the definition of
// the name made if need be, the record's value (kind 0 for a null record). Form T.
template <class Operation>
int WriteAttribute(WSPIHandle item, WSDependencyHandle dependency, const char* exportName,
                   const char* name, const PDMAttrValue* record, Operation operation) {
    PDMCallFrame frame(exportName);
    PDMc_WSD* d = WriteTarget(item, dependency, exportName);
    PDMc_LAD* definition = d != nullptr ? PDMFindOrCreateAttrDef(d, name) : nullptr;
    if (definition == nullptr) return PDMResultT();
    PDMc_LDBValue value;
    if (record != nullptr && CAPIAttrValueFromC(record, value) != 0) return PDMResultT();
    operation(d, definition, value);
    return PDMResultT();
}

// Whether a dependency passes the filters of a selection.
struct DependencyFilter {
    const char* depClass;
    int depType;
    PDMc_LPI* child;
    PDMc_LAD* attribute;
    bool attributeNamed;
    const PDMc_LDBValue* value;

    // False for a dependency left out; a failure to read it leaves its code on the stack.
    bool Selects(PDMc_WSD* dependency) const {
        PDMc_WSDD* definition = dependency->GetDefinition();
        if (definition == nullptr) return false;
        if (depClass != nullptr && std::strcmp(definition->GetClass().c_str(), depClass) != 0)
            return false;
        if (depType != 0 && definition->GetType() != depType) return false;
        if (child != nullptr && dependency->GetChildPI() != child) return false;
        if (!attributeNamed) return true;
        PDMc_LAV* found = attribute != nullptr ? dependency->GetAttribute(attribute) : nullptr;
        return found != nullptr && found->GetValue() == *value;
    }
};

}  // namespace

// ---------------------------------------------------------------------------------------------
// Writes, on the item's current version

int PDMWSPIAddCurrWSPIVDependency(WSPIHandle item, WSPIHandle child, const char* depClass,
                                  int depType, WSDependencyHandle* dependency) {
    const char* exportName = "PDMWSPIAddCurrWSPIVDependency";
    PDMCallFrame frame(exportName);
    return Add(item, exportName, depClass, depType, dependency,
               [child, exportName](PDMc_WSPI*, bool& failed) -> PDMc_LPI* {
                   PDMc_WSPI* c = Item(child, exportName, "ChildWSPIHandle");
                   PDMc_LPI* lpi = c != nullptr ? c->GetLPI() : nullptr;
                   failed = lpi == nullptr;
                   return lpi;
               });
}

int PDMWSPIAddCurrWSPIVDependencyByChildName(WSPIHandle item, const char* childName,
                                             const char* depClass, int depType,
                                             WSDependencyHandle* dependency) {
    const char* exportName = "PDMWSPIAddCurrWSPIVDependencyByChildName";
    PDMCallFrame frame(exportName);
    nyxString name(childName);
    return Add(item, exportName, depClass, depType, dependency,
               [&name](PDMc_WSPI* parent, bool& failed) -> PDMc_LPI* {
                   // A deleted item's name still gives its identity while the identity stays.
                   PDMc_WS* workspace = parent->GetWS();
                   failed = workspace == nullptr;
                   return workspace != nullptr ? workspace->FindLPI(name.c_str()) : nullptr;
               });
}

int PDMWSPIDeleteCurrWSPIVDependency(WSPIHandle item, WSDependencyHandle dependency) {
    PDMCallFrame frame("PDMWSPIDeleteCurrWSPIVDependency");
    PDMc_WSPI* i = Item(item, "PDMWSPIDeleteCurrWSPIVDependency");
    PDMc_WSD* d = i != nullptr ? Dependency(dependency, "PDMWSPIDeleteCurrWSPIVDependency") : nullptr;
    if (d != nullptr) i->DeleteDependency(d);
    return PDMResultT();
}

int PDMWSPIDeleteCurrWSPIVDependencyKeepLPI(WSPIHandle item, WSDependencyHandle dependency) {
    PDMCallFrame frame("PDMWSPIDeleteCurrWSPIVDependencyKeepLPI");
    PDMc_WSPI* i = Item(item, "PDMWSPIDeleteCurrWSPIVDependencyKeepLPI");
    PDMc_WSD* d =
        i != nullptr ? Dependency(dependency, "PDMWSPIDeleteCurrWSPIVDependencyKeepLPI") : nullptr;
    if (d != nullptr) i->DeleteDependencyKeepLPI(d);
    return PDMResultT();
}

int PDMWSPISetCurrWSPIVDepAsStoredChildName(WSPIHandle item, WSDependencyHandle dependency,
                                            const char* name) {
    PDMCallFrame frame("PDMWSPISetCurrWSPIVDepAsStoredChildName");
    nyxString copy(name);
    if (PDMc_WSD* d = WriteTarget(item, dependency, "PDMWSPISetCurrWSPIVDepAsStoredChildName"))
        d->SetAsStoredChildName(copy.c_str());
    return PDMResultT();
}

int PDMWSPISetCurrWSPIVDepAttr(WSPIHandle item, WSDependencyHandle dependency, const char* name,
                               const PDMAttrValue* value) {
    return WriteAttribute(item, dependency, "PDMWSPISetCurrWSPIVDepAttr", name, value,
                          [](PDMc_WSD* d, PDMc_LAD* a, const PDMc_LDBValue& x) {
                              return d->SetAttribute(a, x);
                          });
}

int PDMWSPISetCurrWSPIVFileBasedDepAttr(WSPIHandle item, WSDependencyHandle dependency,
                                        const char* name, const PDMAttrValue* value) {
    return WriteAttribute(item, dependency, "PDMWSPISetCurrWSPIVFileBasedDepAttr", name, value,
                          [](PDMc_WSD* d, PDMc_LAD* a, const PDMc_LDBValue& x) {
                              return d->SetAttribute(a, x);
                          });
}

int PDMWSPISetCurrWSPIVDBDepAttr(WSPIHandle item, WSDependencyHandle dependency,
                                 const char* name, const PDMAttrValue* value) {
    return WriteAttribute(item, dependency, "PDMWSPISetCurrWSPIVDBDepAttr", name, value,
                          [](PDMc_WSD* d, PDMc_LAD* a, const PDMc_LDBValue& x) {
                              return d->SetDBAttribute(a, x);
                          });
}

int PDMWSPIUnSetCurrWSPIVDepAttr(WSPIHandle item, WSDependencyHandle dependency,
                                 const char* name) {
    PDMCallFrame frame("PDMWSPIUnSetCurrWSPIVDepAttr");
    PDMc_WSD* d = WriteTarget(item, dependency, "PDMWSPIUnSetCurrWSPIVDepAttr");
    // A name the database never had can't be set anywhere: nothing to unset.
    PDMc_LAD* definition = d != nullptr ? PDMFindAttrDef(d, name) : nullptr;
    if (definition != nullptr) d->UnsetAttribute(definition);
    return PDMResultT();
}

// ---------------------------------------------------------------------------------------------
// Lists of one version's dependencies

int PDMWSPIVGetDependencies(WSPIVHandle version, CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSPIVGetDependencies");
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetDependencies");
    if (v == nullptr) return nyxErrorCurrentCode();
    // A version of an older format may lack the array: it has no dependencies then.
    if (PDMc_LDBArray* dependencies = v->GetDependencies()) {
        if (PDMBindCursor(dependencies, false, cursor) != 0) return nyxErrorCurrentCode();
        return 0;
    }
    if (PDMListCursor(cursor, [](PDMPointerList&) { return nyxErrorCurrentCode(); }) != 0)
        return nyxErrorCurrentCode();
    return 0;
}

int PDMWSPIVGetDependenciesToAsStoredChildName(WSPIVHandle version, const char* name,
                                               CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSPIVGetDependenciesToAsStoredChildName");
    PDMc_WSPIV* v = Version(version, "PDMWSPIVGetDependenciesToAsStoredChildName");
    if (v == nullptr) return nyxErrorCurrentCode();
    nyxString wanted(name);
    int32_t rc = PDMListCursor(cursor, [v, &wanted](PDMPointerList& list) {
        return v->GetDependenciesToStoredName(wanted.c_str(), list);
    });
    return rc != 0 ? nyxErrorCurrentCode() : 0;
}

int PDMWSPIVSelectDependenciesToChildName(WSPIVHandle version, const char* childName,
                                          const char* depClass, int depType,
                                          const char* attrName, const PDMAttrValue* attrValue,
                                          CursorHandle* cursor) {
    PDMCallFrame frame("PDMWSPIVSelectDependenciesToChildName");
    *cursor = nullptr;
    PDMc_WSPIV* v = Version(version, "PDMWSPIVSelectDependenciesToChildName");
    if (v == nullptr) return nyxErrorCurrentCode();
    PDMc_LDBValue value;
    if (attrValue != nullptr) {
        if (int32_t rc = CAPIAttrValueFromC(attrValue, value)) return rc;
    }
    nyxString classText(depClass);
    DependencyFilter filter{depClass != nullptr ? classText.c_str() : nullptr, depType, nullptr,
                            nullptr, attrName != nullptr, &value};
    // A name that no identity has filters nothing out.
    if (childName != nullptr && childName[0] != '\0') {
        PDMc_WS* workspace = v->GetWS();
        if (workspace == nullptr) return nyxErrorCurrentCode();
        filter.child = workspace->FindLPI(childName);
    }
    if (attrName != nullptr) filter.attribute = PDMFindAttrDef(v, attrName);
    PDMc_LDBArray* dependencies = v->GetDependencies();
    int32_t rc = PDMListCursor(cursor, [&](PDMPointerList& list) {
        if (dependencies == nullptr) return nyxErrorCurrentCode();
        return LDBForEachElement<PDMc_WSD>(*dependencies, [&](PDMc_WSD* dependency) {
            if (filter.Selects(dependency)) {
                void* element = dependency;
                list.Insert(&element);
            }
            return nyxErrorCurrentCode();
        });
    });
    return rc != 0 ? nyxErrorCurrentCode() : 0;
}
