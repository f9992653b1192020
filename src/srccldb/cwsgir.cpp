// The exports of a relation between a generic and an instance. A relation handle stands for the
// object it was read as: a write replaces the relation by a copy, so a client reads it again
// after a write.
#include "callframe.h"
#include "ctargets.h"
#include "errors/nyxerror.h"
#include "marrows/marrows.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"

namespace {

const char kSourcePath[] = "srccldb/cwsgir";

PDMc_WSGIR* Relation(WSGIRHandle handle, const char* exportName) {
    return PDMTarget<PDMc_WSGIR>(handle, exportName, "WSGIRHandle", kSourcePath);
}

// The frame of a reader: pre-set, test the handle, store what `read` gives. Form T.
template <class Out, class Read>
int ReadRelation(WSGIRHandle handle, const char* exportName, Out* out, Out preset, Read read) {
    PDMCallFrame frame(exportName);
    *out = preset;
    if (PDMc_WSGIR* relation = Relation(handle, exportName)) *out = read(relation);
    return PDMResultT();
}

WSPIHandle ItemHandle(PDMc_WSPI* item) {
    PDMc_LDBObject* object = item;
    return reinterpret_cast<WSPIHandle>(object);
}

}  // namespace

int PDMWSGIRGetGenericPIVID(WSGIRHandle relation, unsigned* id) {
    return ReadRelation(relation, "PDMWSGIRGetGenericPIVID", id, 0u,
                        [](PDMc_WSGIR* r) { return static_cast<unsigned>(r->GetGenericPIVID()); });
}

int PDMWSGIRGetInstancePIVID(WSGIRHandle relation, unsigned* id) {
    return ReadRelation(relation, "PDMWSGIRGetInstancePIVID", id, 0u,
                        [](PDMc_WSGIR* r) { return static_cast<unsigned>(r->GetInstancePIVID()); });
}

int PDMWSGIRGetGenericWSPI(WSGIRHandle relation, WSPIHandle* item) {
    return ReadRelation(relation, "PDMWSGIRGetGenericWSPI", item, static_cast<WSPIHandle>(nullptr),
                        [](PDMc_WSGIR* r) { return ItemHandle(r->GetGenericWSPI()); });
}

int PDMWSGIRGetInstanceWSPI(WSGIRHandle relation, WSPIHandle* item) {
    return ReadRelation(relation, "PDMWSGIRGetInstanceWSPI", item,
                        static_cast<WSPIHandle>(nullptr),
                        [](PDMc_WSGIR* r) { return ItemHandle(r->GetInstanceWSPI()); });
}

int PDMWSGIRGetAsStoredInstanceName(WSGIRHandle relation, const char** name) {
    return ReadRelation(relation, "PDMWSGIRGetAsStoredInstanceName", name,
                        static_cast<const char*>(nullptr),
                        [](PDMc_WSGIR* r) { return r->GetAsStoredInstanceName().c_str(); });
}

int PDMWSGIRSetAsStoredInstanceName(WSGIRHandle relation, const char* name) {
    PDMCallFrame frame("PDMWSGIRSetAsStoredInstanceName");
    if (PDMc_WSGIR* r = Relation(relation, "PDMWSGIRSetAsStoredInstanceName"))
        r->SetAsStoredInstanceName(name);
    return PDMResultT();
}
