// An owner for objects in tests: a plain modified list and a table of objects by address that
// counts how often it is asked. It owns nothing; tests free their objects themselves.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "srcldb/ldbobject.h"
#include "srcldb/ldbobjectowner.h"

class FakeOwner : public LDBObjectOwner {
public:
    PDMc_LDBObject* FindOrLoadObject(uint32_t address) override {
        ++lookups;
        auto found = objects.find(address);
        return found == objects.end() ? nullptr : found->second;
    }
    void AddToModifiedList(PDMc_LDBObject* object) override { modified.push_back(object); }

    // Enters a loaded object under its address.
    void Store(PDMc_LDBObject* object, uint32_t address) {
        object->SetStorageAddress(address);
        objects[address] = object;
    }

    std::map<uint32_t, PDMc_LDBObject*> objects;
    std::vector<PDMc_LDBObject*> modified;
    int lookups = 0;
};
