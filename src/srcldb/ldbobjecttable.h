// The store's two object collections. The object table maps an address to the one loaded
// object that has it; the modified list keeps the objects that the open transaction touched,
// in the order of first touch, which is the order of everything a commit does.
//
// Neither owns its objects in the C++ sense: the store destroys them, through these lists.
#pragma once

#include <cstdint>

#include "collections/nyxlist.h"

class PDMc_LDBObject;

class LDBObjectTable {
public:
    LDBObjectTable() = default;
    ~LDBObjectTable();
    LDBObjectTable(const LDBObjectTable&) = delete;
    LDBObjectTable& operator=(const LDBObjectTable&) = delete;

    PDMc_LDBObject* Find(uint32_t address) const {
        if (m_slots == nullptr) return nullptr;
        for (uint32_t i = Home(address);; i = (i + 1) & m_mask) {
            if (m_slots[i].address == address) return m_slots[i].object;
            if (m_slots[i].address == 0) return nullptr;
        }
    }
    bool Contains(uint32_t address) const { return Find(address) != nullptr; }
    // False for an address that has an object already, or when there is no memory.
    bool Put(uint32_t address, PDMc_LDBObject* object);
    void Remove(uint32_t address);
    uint32_t Count() const { return m_count; }
    // The used length of the store, which the table's first block is sized to span. The block
    // is zeroed memory that the system provides as it is touched, so a span costs nothing
    // until objects fill it.
    void SetSpan(uint32_t top) { m_span = top; }
    // Destroys every object and empties the table.
    void DestroyAll();

private:
    // Open addressing with linear probing over a power-of-two block, at most half full: a
    // lookup of a loaded object touches one or two slots. Address 0 is no object's and marks an
    // empty slot. Which slot an object lands in reaches nothing outside this class.
    struct Slot {
        uint32_t address;
        PDMc_LDBObject* object;
    };
    static constexpr uint32_t kFirstCapacity = 1024;
    static constexpr uint32_t kLargestSpanCapacity = 1u << 24;

    uint32_t Home(uint32_t address) const {
        // A slot for every eight bytes of the store: objects that are neighbours in the file,
        // and so are mostly loaded and looked up together, are neighbours here too. A store
        // longer than the table laps it; each lap starts at a scattered offset, so that the
        // dense stretches of different laps don't pile up on the same slots.
        uint32_t unit = address >> 3;
        return (unit + (unit >> m_bits) * 0x9E3779B1u) & m_mask;
    }
    bool Grow();

    Slot* m_slots = nullptr;
    uint32_t m_mask = 0;
    uint32_t m_bits = 0;  // log2 of the capacity
    uint32_t m_count = 0;
    uint32_t m_span = 0;
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
