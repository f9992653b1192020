// Helpers of the tests that run transactions over real objects: a layout with the schema, a
// store connected to a file, and the members of client objects reached through the layout.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "crashharness.h"
#include "platform/pfile.h"
#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"
#include "testsupport.h"

namespace txntest {

inline const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* made = new LDBStorageLayout;
        LDBDefineSchema(*made);
        return made;
    }();
    return *layout;
}

// The field of a member of an object, found by name in the current layout.
template <class T>
T& Member(PDMc_LDBObject* object, const char* name) {
    const LDBClassDescriptor* descriptor = Layout().CurrentClass(object->GetTypeCode());
    return *static_cast<T*>(descriptor->FindMember(name)->GetPlace().FieldIn(object));
}

// Client objects carry a free type text, which the tests use as their value.
inline nyxString& TypeOf(PDMc_LDBObject* object) { return Member<nyxString>(object, "m_type"); }
inline PDMc_LDBRef& AttrsOf(PDMc_LDBObject* object) {
    return Member<PDMc_LDBRef>(object, "m_attrs");
}
inline std::string TypeText(PDMc_LDBObject* object) {
    return object == nullptr ? "<null>" : TypeOf(object).c_str();
}

// A new client object with the given text, on the store's modified list.
inline PDMc_LDBAppObj* NewAppObj(LDBStore* store, const char* text) {
    PDMc_LDBAppObj* object = new PDMc_LDBAppObj(store);
    TypeOf(object) = text;
    return object;
}

// Changes the text of a stored object the way model code does: marked first.
inline void SetText(PDMc_LDBObject* object, const char* text) {
    object->MarkModified();
    TypeOf(object) = text;
}

// A store connected to its file, with the schema's layout; null after a failure.
inline LDBStore* Connect(const std::string& path) {
    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    if (store != nullptr) store->SetLayout(&Layout());
    return store;
}

inline LDBStore* Create(const std::string& path) {
    LDBStore* store = LDBStore::CreateStore(nullptr, path.c_str());
    if (store != nullptr) store->SetLayout(&Layout());
    return store;
}

using testsupport::StepRecorder;

}  // namespace txntest
