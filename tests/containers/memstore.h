// An object owner over a store held in memory: records are laid down by the real member
// writers and read back by the real readers through the schema's layout, so containers and
// values can go through save, cache drop and load without a file. It counts the records it
// loads, which is how the tests see lazy loading.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "srcldb/ldbbufcursor.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbobjectowner.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstglayout.h"

namespace containertest {

inline const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* made = new LDBStorageLayout;
        LDBDefineSchema(*made);
        return made;
    }();
    return *layout;
}

class MemStore : public LDBObjectOwner {
public:
    MemStore() = default;
    MemStore(const MemStore&) = delete;
    MemStore& operator=(const MemStore&) = delete;
    ~MemStore() { DropCache(); }

    PDMc_LDBObject* FindOrLoadObject(uint32_t address) override {
        auto found = objects.find(address);
        if (found != objects.end()) return found->second;
        if (!cursor.HoldsRange(address, 2)) return nullptr;
        cursor.SetAddress(address);
        uint8_t code = 0, version = 0;
        if (cursor.ReadU8(code) != 0 || cursor.ReadU8(version) != 0) return nullptr;
        PDMc_LDBObject* object = CreateObjectOfType(this, code, version);
        const LDBClassDescriptor* descriptor = Layout().CurrentClass(code);
        if (object == nullptr || descriptor == nullptr) {
            delete object;
            return nullptr;
        }
        LDBMemberReader reader(cursor, this, 514);
        if (reader.ReadMembers(*descriptor, object) != 0) {
            delete object;
            return nullptr;
        }
        object->SetStorageAddress(address);
        objects[address] = object;
        ++loads;
        return object;
    }

    void AddToModifiedList(PDMc_LDBObject* object) override { modified.push_back(object); }

    // Addresses for the new objects in list order, then every record and its blocks, as a
    // commit does. 0 or the code of the first failure.
    int32_t Commit() {
        for (PDMc_LDBObject* object : modified) {
            if (!object->IsNew() || object->IsDeleted()) continue;
            uint32_t address = 0;
            int32_t rc = cursor.Allocate(
                Layout().CurrentClass(object->GetTypeCode())->GetFixedSize(), address);
            if (rc != 0) return rc;
            object->SetStorageAddress(address);
            objects[address] = object;
        }
        for (PDMc_LDBObject* object : modified) {
            if (object->IsDeleted()) continue;
            const LDBClassDescriptor* descriptor = Layout().CurrentClass(object->GetTypeCode());
            cursor.SetAddress(object->GetStorageAddress());
            int32_t rc = cursor.WriteU8(object->GetTypeCode());
            if (rc == 0) rc = cursor.WriteU8(object->GetClassVersion());
            if (rc == 0) rc = LDBMemberWriter(cursor).WriteMembers(*descriptor, object);
            if (rc != 0) return rc;
            object->ClearNewAndModified();
        }
        modified.clear();
        return 0;
    }

    // Every object goes; the next lookup of an address reads it anew.
    void DropCache() {
        // New objects are only on the list; the rest are in the table.
        for (PDMc_LDBObject* object : modified)
            if (object->GetStorageAddress() == 0) delete object;
        modified.clear();
        for (auto& entry : objects) delete entry.second;
        objects.clear();
    }

    bool IsModified(const PDMc_LDBObject* object) const {
        for (const PDMc_LDBObject* listed : modified)
            if (listed == object) return true;
        return false;
    }

    // The 32-bit word at address.
    uint32_t WordAt(uint32_t address) const {
        const uint8_t* bytes = cursor.BytesAt(address);
        return bytes == nullptr ? 0 : LDBDecodeU32(bytes);
    }

    LDBBufferCursor cursor;
    std::map<uint32_t, PDMc_LDBObject*> objects;
    std::vector<PDMc_LDBObject*> modified;
    int loads = 0;
};

}  // namespace containertest
