// The store's side of the object model: the object table, loading, writing back, rereading
// and sizing of objects. Objects are moved member by member through a pool cursor, driven by
// their class descriptor; a record carries its class code and version in front.
#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbcursorimpl.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"

namespace {
const char kSource[] = "srcldb/ldbstore";
constexpr uint32_t kRecordHeadSize = 2;  // class code and object version
}

const LDBClassDescriptor* LDBStore::StorageDescriptor(uint8_t typeCode) const {
    return m_layout != nullptr ? m_layout->CurrentClass(typeCode) : nullptr;
}

const LDBClassDescriptor* LDBStore::DescriptorOf(uint8_t typeCode) {
    const LDBClassDescriptor* descriptor = StorageDescriptor(typeCode);
    if (descriptor == nullptr)
        nyxErrorPushInternal("LDB no storage descriptor for the class", kSource, __LINE__);
    return descriptor;
}

PDMc_LDBObject* LDBStore::FindOrLoadObject(uint32_t address) {
    if (PDMc_LDBObject* object = m_objects.Find(address)) return object;
    LDBPoolCursor cursor(this, address);
    uint8_t head[kRecordHeadSize];
    if (cursor.ReadBytes(head, kRecordHeadSize) != 0) return nullptr;
    PDMc_LDBObject* object = CreateObjectOfType(m_object_owner, head[0], head[1], &m_arena);
    if (object == nullptr) return nullptr;  // no class of that code: the reference stays unresolved
    const LDBClassDescriptor* descriptor = DescriptorOf(head[0]);
    // A record that would run past the store's data is damage, not an object.
    bool outside = descriptor != nullptr && !cursor.HoldsRange(address, descriptor->GetFixedSize());
    if (outside) nyxErrorPushInternal("LDB object record outside the store", kSource, __LINE__);
    if (descriptor == nullptr || outside || AddToTable(object, address) != 0) {
        delete object;
        return nullptr;
    }
    if (LoadMembers(object, head[0], cursor) != 0) {
        RemoveObject(object);
        return nullptr;
    }
    return object;
}

PDMc_LDBObject* LDBStore::FindOrLoadObjectOfType(uint32_t address, uint8_t typeCode) {
    PDMc_LDBObject* object = FindOrLoadObject(address);
    if (object != nullptr && object->GetTypeCode() != typeCode) {
        nyxErrorPushInternal("LDB object of the wrong class", kSource, __LINE__);
        return nullptr;
    }
    return object;
}

int32_t LDBStore::LoadMembers(PDMc_LDBObject* object, uint8_t typeCode, LDBCursor& cursor) {
    // Always the current layout, whatever the version byte says: a current store holds only
    // objects of the current layout, which the upgrade makes sure of.
    const LDBClassDescriptor* descriptor = DescriptorOf(typeCode);
    if (descriptor == nullptr) return nyxErrorCurrentCode();
    LDBMemberReader reader(cursor, m_object_owner, m_version);
    return reader.ReadMembers(*descriptor, object);
}

int32_t LDBStore::AddToTable(PDMc_LDBObject* object, uint32_t address) {
    object->SetStorageAddress(address);
    // The table refuses a present key as it refuses one it has no memory for; which of the
    // two it was is asked only on that rare path.
    if (m_objects.Put(address, object)) return 0;
    if (m_objects.Contains(address))
        return NYX_INTERNAL_ERROR("Duplicate key in LDB object table", kSource);
    return NYX_INTERNAL_ERROR("LDB object table: out of memory", kSource);
}

void LDBStore::RemoveObject(PDMc_LDBObject* object) {
    uint32_t address = object->GetStorageAddress();
    if (address != 0) {
        // The root reference must not keep pointing at a destroyed object.
        if (address == RootAddress()) SetRootAddress(address);
        if (m_objects.Find(address) == object) m_objects.Remove(address);
    }
    delete object;
}

void LDBStore::AddToModifiedList(PDMc_LDBObject* object) {
    // The object can't be saved without its entry; the commit stops at the record.
    if (!m_modified.Append(object))
        nyxErrorPushInternal("LDB modified list: out of memory", kSource, __LINE__);
}

PDMc_LDBObject* LDBStore::GetRoot() { return m_root.GetTarget(); }

void LDBStore::SetRootObject(PDMc_LDBObject* object) { m_root = PDMc_LDBRef(object); }

int32_t LDBStore::StoreObject(PDMc_LDBObject* object) {
    const LDBClassDescriptor* descriptor = DescriptorOf(object->GetTypeCode());
    if (descriptor == nullptr) return nyxErrorCurrentCode();
    LDBPoolCursor cursor(this, object->GetStorageAddress());
    uint8_t head[kRecordHeadSize] = {object->GetTypeCode(), object->GetClassVersion()};
    int32_t rc = cursor.WriteBytes(head, kRecordHeadSize);
    if (rc == 0) {
        LDBMemberWriter writer(cursor);
        rc = writer.WriteMembers(*descriptor, object);
    }
    if (rc != 0) return rc;
    object->ClearNewAndModified();
    return 0;
}

int32_t LDBStore::ReloadObject(PDMc_LDBObject* object) {
    LDBPoolCursor cursor(this, object->GetStorageAddress() + kRecordHeadSize);
    if (int32_t rc = LoadMembers(object, object->GetTypeCode(), cursor)) return rc;
    object->ClearModifiedAndDeleted();
    return 0;
}

uint32_t LDBStore::SizeForStore(PDMc_LDBObject* object) {
    const LDBClassDescriptor* descriptor = DescriptorOf(object->GetTypeCode());
    if (descriptor == nullptr) return 0;
    // An existing record is overwritten in place; only its new blocks take space.
    uint32_t size = object->IsNew() ? descriptor->GetFixedSize() : 0;
    return size + LDBMemberWriter::BlockSpaceOfMembers(*descriptor, object);
}

int32_t LDBStore::AssignAddress(PDMc_LDBObject* object) {
    const LDBClassDescriptor* descriptor = DescriptorOf(object->GetTypeCode());
    if (descriptor == nullptr) return nyxErrorCurrentCode();
    uint32_t address = 0;
    if (int32_t rc = Allocate(descriptor->GetFixedSize(), address)) return rc;
    return address != 0 ? AddToTable(object, address) : 0;
}

void LDBStore::ClearCache() {
    SetRootAddress(RootAddress());
    // New objects are reached only through the list; stored ones through the table.
    for (LDBModifiedList::Walk walk(m_modified); !walk.AtEnd(); walk.Next()) {
        PDMc_LDBObject* object = walk.Object();
        if (object != nullptr && object->GetStorageAddress() == 0) delete object;
    }
    m_modified.Clear();
    m_objects.DestroyAll();
    // Every object of the arena was in the table.
    m_arena.Release();
}

void LDBObjectTable::DestroyAll() {
    // An object's destructor doesn't touch the table, so the walk stays valid.
    m_table.ForEach([](PDMc_LDBObject* object) { delete object; });
    m_table.Clear();
}
