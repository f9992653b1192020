// The stored containers: PDMc_LDBArray, an ordered sequence of objects, and PDMc_LDBMap, a map
// from a name to an object. Each is an object with a record of its own whose one member,
// m_rep, holds persistent references; a holder refers to the container by a PDMc_LDBRef.
//
// Each is also a collection whose elements are object pointers: Insert takes the address of a
// pointer, and GetAt, Current and the keyed lookups give the address of one, so a walk reads
// *Current(). Inside, the elements stay references, and a target loads only when its element is
// asked for; a count or a walk over the keys loads nothing. A resolved reference stays resolved,
// and resolving one doesn't count as a change. A target that can't be loaded shows as a null
// pointer, and its reference keeps its address for the next try.
//
// Every change marks the container modified, never the object that holds it. A container read
// from a store is of the generic class whatever it holds; code casts each element to the class
// that the referring member implies.
#pragma once

#include <cstdint>

#include "collections/nyxkeyed.h"
#include "errors/nyxerror.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbreps.h"

class PDMc_LDBArray : public PDMc_LDBObject, public nyxCollection {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_ARRAY;
    static constexpr uint8_t kClassVersion = 1;

    // Empty, for the factory to fill from a record.
    PDMc_LDBArray();
    // A new array of the owner holding count references to object, at once on the owner's
    // modified list.
    explicit PDMc_LDBArray(LDBObjectOwner* owner, uint32_t count = 0,
                           PDMc_LDBObject* object = nullptr);
    // A new array with the settings and the references of the other one; the targets are
    // shared, not copied or loaded.
    PDMc_LDBArray(const PDMc_LDBArray& other);
    PDMc_LDBArray& operator=(const PDMc_LDBArray&) = delete;
    ~PDMc_LDBArray() override;

    // For both faces: every stored array answers with this name.
    const char* GetClassName() const override;

    bool IsSequential() const override { return true; }
    bool IsSorted() const override { return false; }
    bool Contains(const void* element) override;
    void* GetAt(uint32_t index) override;
    void* GetFirst() override;
    void* GetLast() override;
    uint32_t GetCount() const override { return m_rep.Count(); }
    bool IsEmpty() const override { return m_rep.Count() == 0; }
    nyxIterator* NewIterator() override;
    bool Insert(const void* element) override;
    bool InsertAt(uint32_t index, const void* element) override;
    // The positional forms take the iterator over and release it, whatever the outcome.
    bool InsertBefore(nyxIterator* iterator, const void* element) override;
    bool InsertAfter(nyxIterator* iterator, const void* element) override;
    bool InsertFirst(const void* element) override;
    bool InsertLast(const void* element) override;
    // Compares by reference: two new objects of one owner are equal, so this removes whichever
    // new object comes first.
    bool Remove(const void* element, int32_t count) override;
    void Clear() override;
    // Not offered: releases the iterator and gives false.
    bool RemoveAt(nyxIterator* iterator, bool forward) override;
    bool RemoveAt(uint32_t index) override;
    bool RemoveFirst() override;
    bool RemoveLast() override;
    bool SetAt(uint32_t index, const void* element) override;
    bool SetAt(nyxIterator* iterator, const void* element) override;
    // The references go with the object; nothing to give back before.
    void FreeStorage() override {}
    void* Self() override;

    uint32_t ElementSize() const override { return sizeof(PDMc_LDBObject*); }
    void DestroyElements(void* elements, uint32_t count) const override;
    void ConstructElements(void* target, const void* source, uint32_t count) const override;
    void RelocateElements(void* target, const void* source, uint32_t count) const override;
    void FillElements(void* target, const void* element, uint32_t count) const override;
    void AssignElements(void* target, const void* source, uint32_t count) const override;

    // Typed forms of GetAt and Insert.
    PDMc_LDBObject* ObjectAt(uint32_t index);
    bool Append(PDMc_LDBObject* object) { return Insert(&object); }

    // The references as they stand, resolved or not.
    const LDBRefVector& References() const { return m_rep; }

private:
    friend struct LDBSchema;

    // The element address of a reference, loading its target first.
    void* ElementOf(PDMc_LDBRef* reference);
    // The index of an iterator over this array; false for any other iterator.
    bool IndexOf(nyxIterator* iterator, uint32_t& index) const;

    LDBRefVector m_rep;
    // What a reference whose target can't be loaded shows: always null.
    PDMc_LDBObject* m_no_object = nullptr;
};

class PDMc_LDBMap : public PDMc_LDBObject, public nyxKeyedCollection {
public:
    static constexpr uint8_t kTypeCode = LDB_TYPE_MAP;
    static constexpr uint8_t kClassVersion = 1;
    // The table a loaded or copied map starts from; it grows as entries come in.
    static constexpr uint32_t kLoadCapacity = 256;
    // What the system asks for when it makes a map.
    static constexpr uint32_t kNewCapacity = 100;

    // Empty, for the factory to fill from a record.
    PDMc_LDBMap();
    // A new, empty map of the owner with room for capacity entries, at once on its modified list.
    PDMc_LDBMap(LDBObjectOwner* owner, uint32_t capacity);
    // A new map with the entries of the other one, in a table of the load capacity.
    PDMc_LDBMap(const PDMc_LDBMap& other);
    PDMc_LDBMap& operator=(const PDMc_LDBMap&) = delete;
    ~PDMc_LDBMap() override;

    // Every stored map answers with this name, whatever it holds.
    const char* GetClassName() const override;

    // A map is driven by key alone: the forms that take an element or an index are refused.
    bool IsSequential() const override { return false; }
    bool IsSorted() const override { return false; }
    bool Contains(const void* element) override;
    void* GetAt(uint32_t index) override;
    void* GetFirst() override;
    void* GetLast() override;
    uint32_t GetCount() const override { return m_rep.Count(); }
    bool IsEmpty() const override { return m_rep.Count() == 0; }
    nyxIterator* NewIterator() override;
    bool Insert(const void* element) override;
    bool InsertAt(uint32_t index, const void* element) override;
    bool InsertBefore(nyxIterator* iterator, const void* element) override;
    bool InsertAfter(nyxIterator* iterator, const void* element) override;
    bool InsertFirst(const void* element) override;
    bool InsertLast(const void* element) override;
    bool Remove(const void* element, int32_t count) override;
    void Clear() override;
    // Removes the iterator's entry and releases the iterator.
    bool RemoveAt(nyxIterator* iterator, bool forward) override;
    bool RemoveAt(uint32_t index) override;
    bool RemoveFirst() override;
    bool RemoveLast() override;
    bool SetAt(uint32_t index, const void* element) override;
    bool SetAt(nyxIterator* iterator, const void* element) override;
    void FreeStorage() override {}
    void* Self() override;

    uint32_t ElementSize() const override { return sizeof(PDMc_LDBObject*); }
    void DestroyElements(void* elements, uint32_t count) const override;
    void ConstructElements(void* target, const void* source, uint32_t count) const override;
    void RelocateElements(void* target, const void* source, uint32_t count) const override;
    void FillElements(void* target, const void* element, uint32_t count) const override;
    void AssignElements(void* target, const void* source, uint32_t count) const override;

    // Keys are nyxString, given by address; values are object pointers, given by address.
    void* FindValue(const void* key) override;
    bool ContainsKey(const void* key) override;
    // An absent key writes null and gives false.
    bool GetValue(const void* key, void* value) override;
    bool PutValue(const void* key, const void* value) override;
    bool RemoveKey(const void* key, int32_t count) override;
    void* FirstEntry(void* entry) override;
    void* LastEntry(void* entry) override;
    void* KeyOfEntry(void* entry) override;
    void* ValueOfEntry(void* entry) override;
    void* GetPair(void* entry) override;
    nyxIterator* NewIteratorAtKey(const void* key) override;
    uint32_t KeySize() const override { return sizeof(nyxString); }
    void DestroyKeys(void* keys, uint32_t count) const override;
    void ConstructKeys(void* target, const void* source, uint32_t count) const override;
    void AssignKeys(void* target, const void* source, uint32_t count) const override;
    bool KeysEqual(const void* a, const void* b) const override;
    int32_t CompareKeys(const void* a, const void* b) const override;

    // Typed forms by name: the target under the name (null when absent or not loadable),
    // whether the name is present, PutValue and RemoveKey.
    PDMc_LDBObject* Find(const char* name);
    bool Has(const char* name);
    bool Put(const char* name, PDMc_LDBObject* object);
    bool RemoveName(const char* name);

    // The references as they stand, resolved or not.
    const LDBRefStringTable& References() const { return m_rep; }
    // Drops the index and memo that a large table keeps beside it in memory; they come back
    // with the next search.
    void ReleaseSearchAids() { m_rep.Table().ReleaseAccelerator(); }

private:
    friend struct LDBSchema;

    // The element address of a reference, loading its target first.
    void* ElementOf(PDMc_LDBRef* reference);

    LDBRefStringTable m_rep;
    PDMc_LDBObject* m_no_object = nullptr;
};

// The container that a reference leads to, loaded if need be; null for a null reference, a
// target that can't be loaded, or an object of another class.
PDMc_LDBArray* LDBArrayTarget(PDMc_LDBRef& reference);
// The first index of the object in the array; false when it isn't there or array is null.
bool LDBIndexOfObject(PDMc_LDBArray* array, PDMc_LDBObject* object, uint32_t& index);
PDMc_LDBMap* LDBMapTarget(PDMc_LDBRef& reference);

// Calls visit(T*) for each element of a stored container, in its order, as the class that the
// referring member promises; the first non-zero result of visit stops the walk and is the
// result. An element that can't be loaded or is of another class is an error, as is a walk
// that can't begin.
template <class T, class Visit>
int32_t LDBForEachElement(nyxCollection& container, Visit visit) {
    nyxIteratorGuard walk(container);
    if (walk.get() == nullptr)
        return NYX_INTERNAL_ERROR("no memory for an iterator", "srcldb/ldbcontainer");
    for (walk->First(); !walk->AtEnd(); walk->Next()) {
        void* element = walk->Current();
        PDMc_LDBObject* object =
            element != nullptr ? *static_cast<PDMc_LDBObject**>(element) : nullptr;
        T* typed = LDBObjectAs<T>(object, true);
        if (typed == nullptr) return nyxErrorCurrentCode();
        if (int32_t rc = visit(typed)) return rc;
    }
    return 0;
}
