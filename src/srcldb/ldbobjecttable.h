// The store's two object collections. The object table maps an address to the one loaded
// object that has it; the modified list keeps the objects that the open transaction touched,
// in the order of first touch, which is the order of everything a commit does.
//
// Neither owns its objects in the C++ sense: the store destroys them, through these lists.
#pragma once

#include <cstdint>

#include "collections/nyxlist.h"
#include "srcldb/ldbaddrtable.h"

class PDMc_LDBObject;

class LDBObjectTable {
public:
    PDMc_LDBObject* Find(uint32_t address) const {
        PDMc_LDBObject** found = m_table.Find(address);
        return found != nullptr ? *found : nullptr;
    }
    bool Contains(uint32_t address) const { return m_table.Find(address) != nullptr; }
    // False for an address that has an object already, or when there is no memory.
    bool Put(uint32_t address, PDMc_LDBObject* object) { return m_table.Put(address, object); }
    void Remove(uint32_t address) { m_table.Remove(address); }
    uint32_t Count() const { return m_table.Count(); }
    // The used length of the store, which the table is sized to span.
    void SetSpan(uint32_t top) { m_table.SetSpan(top); }
    // Destroys every object and empties the table.
    void DestroyAll();

private:
    LDBAddressTable<PDMc_LDBObject*> m_table;
};

class LDBModifiedList {
public:
    // False when there is no memory for the entry.
    bool Append(PDMc_LDBObject* object) { return m_list.InsertLast(&object); }
    void Clear() { m_list.Clear(); }
    bool IsEmpty() const { return m_list.IsEmpty(); }
    uint32_t Count() const { return m_list.GetCount(); }

    // A walk from the head. The object under it is null once the commit has destroyed it
    // while the list still stood.
    class Walk {
    public:
        explicit Walk(LDBModifiedList& list) : m_list(list.m_list), m_node(list.m_list.Head()) {}
        bool AtEnd() const { return m_node == nullptr; }
        void Next() { m_node = m_node->next; }
        PDMc_LDBObject* Object() const { return *Slot(); }
        void Forget() { *Slot() = nullptr; }

    private:
        PDMc_LDBObject** Slot() const {
            return static_cast<PDMc_LDBObject**>(m_list.ElementOf(m_node));
        }
        nyxSingleListOf<PDMc_LDBObject*>& m_list;
        nyxListNode* m_node;
    };

private:
    nyxSingleListOf<PDMc_LDBObject*> m_list;
};
