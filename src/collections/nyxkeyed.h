// A collection that is driven by key: the hash table and the stored maps. An entry is
// opaque to callers; they walk entries in table order with FirstEntry and LastEntry and read
// them through KeyOfEntry and ValueOfEntry.
#pragma once

#include <cstdint>

#include "collections/nyxcollection.h"

class nyxKeyedCollection : public nyxCollection {
public:
    virtual void* FindValue(const void* key) = 0;
    // If other is not this collection: Clear, then InsertPairs.
    virtual void AssignPairs(nyxKeyedCollection& other);
    // PutValue of every pair of the other collection, in its table order.
    virtual void InsertPairs(nyxKeyedCollection& other);
    virtual bool IsKeySorted() const { return false; }
    virtual bool ContainsKey(const void* key) = 0;
    // Copies the value out by AssignElements; false, and no write, when the key is absent.
    virtual bool GetValue(const void* key, void* value) = 0;
    // Never replaces: false, with no change, when the key is present.
    virtual bool PutValue(const void* key, const void* value) = 0;
    // Keys are unique, so the count doesn't matter.
    virtual bool RemoveKey(const void* key, int32_t count) = 0;
    // The next occupied entry behind the given one, in table order; from null the first.
    virtual void* FirstEntry(void* entry) = 0;
    // The same going backwards; from null the last.
    virtual void* LastEntry(void* entry) = 0;
    virtual void* KeyOfEntry(void* entry) = 0;
    virtual void* ValueOfEntry(void* entry) = 0;
    virtual void* GetPair(void* entry) = 0;
    // An iterator on the key's entry, or null if the key is absent.
    virtual nyxIterator* NewIteratorAtKey(const void* key) = 0;
    virtual uint32_t KeySize() const = 0;
    virtual void DestroyKeys(void* keys, uint32_t count) const = 0;
    virtual void ConstructKeys(void* target, const void* source, uint32_t count) const = 0;
    virtual void AssignKeys(void* target, const void* source, uint32_t count) const = 0;
    virtual bool KeysEqual(const void* a, const void* b) const = 0;
    virtual int32_t CompareKeys(const void* a, const void* b) const = 0;
};
