// LDBAddressTable: a table keyed by store address, for the store's object table and for the
// address map of a compaction. Which slot an entry takes reaches nothing outside: no walk of it
// has an order that anyone sees.
//
// Open addressing with linear probing over a power-of-two block, at most half full. The first
// block spans the store, a slot for every eight bytes up to its top (zeroed memory that the
// system maps only as it is touched), so that entries of addresses that are neighbours in the
// file, which are mostly looked up together, are neighbours here too. Address 0 is nobody's and
// marks an empty slot.
#pragma once

#include <cstdint>
#include <cstdlib>

template <class V>
class LDBAddressTable {
public:
    LDBAddressTable() = default;
    ~LDBAddressTable() { std::free(m_slots); }
    LDBAddressTable(const LDBAddressTable&) = delete;
    LDBAddressTable& operator=(const LDBAddressTable&) = delete;

    // The used length of the store, which the first block is sized to span.
    void SetSpan(uint32_t top) { m_span = top; }

    // The value of the address; null when absent.
    V* Find(uint32_t address) const {
        if (m_slots == nullptr) return nullptr;
        for (uint32_t i = Home(address);; i = (i + 1) & m_mask) {
            if (m_slots[i].address == address) return address != 0 ? &m_slots[i].value : nullptr;
            if (m_slots[i].address == 0) return nullptr;
        }
    }
    // False for an address that has a value already, for 0, or when there is no memory.
    bool Put(uint32_t address, const V& value) {
        if (address == 0) return false;
        if ((m_count + 1) * 2 > Capacity() && !Grow()) return false;
        uint32_t i = Home(address);
        for (; m_slots[i].address != 0; i = (i + 1) & m_mask)
            if (m_slots[i].address == address) return false;
        m_slots[i] = Slot{address, value};
        ++m_count;
        return true;
    }
    void Remove(uint32_t address);
    uint32_t Count() const { return m_count; }
    // Calls visit(value) for every entry; visit must not change the table.
    template <class Visit>
    void ForEach(Visit visit) const {
        for (uint32_t i = 0; i < Capacity(); ++i)
            if (m_slots[i].address != 0) visit(m_slots[i].value);
    }
    // Empties the table and gives its block back.
    void Clear() {
        std::free(m_slots);
        m_slots = nullptr;
        m_mask = m_bits = m_count = 0;
    }

private:
    struct Slot {
        uint32_t address;
        V value;
    };
    static constexpr uint32_t kFirstCapacity = 1024;
    static constexpr uint32_t kLargestSpanCapacity = 1u << 24;

    uint32_t Capacity() const { return m_slots != nullptr ? m_mask + 1 : 0; }
    uint32_t Home(uint32_t address) const {
        // A store longer than the table laps it; each lap starts at a scattered offset, so that
        // the dense stretches of different laps don't pile up on the same slots.
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

template <class V>
bool LDBAddressTable<V>::Grow() {
    uint32_t capacity = kFirstCapacity;
    while (m_slots == nullptr && capacity < kLargestSpanCapacity && capacity < m_span / 8)
        capacity *= 2;
    if (m_slots != nullptr) capacity = Capacity() * 2;
    if (capacity == 0) return false;
    Slot* slots = static_cast<Slot*>(std::calloc(capacity, sizeof(Slot)));
    if (slots == nullptr) return false;
    Slot* old = m_slots;
    uint32_t oldCapacity = Capacity();
    m_slots = slots;
    m_mask = capacity - 1;
    for (m_bits = 0; (1u << m_bits) < capacity;) ++m_bits;
    for (uint32_t j = 0; j < oldCapacity; ++j) {
        if (old[j].address == 0) continue;
        uint32_t i = Home(old[j].address);
        while (m_slots[i].address != 0) i = (i + 1) & m_mask;
        m_slots[i] = old[j];
    }
    std::free(old);
    return true;
}

template <class V>
void LDBAddressTable<V>::Remove(uint32_t address) {
    if (m_slots == nullptr || address == 0) return;
    uint32_t i = Home(address);
    while (m_slots[i].address != address) {
        if (m_slots[i].address == 0) return;
        i = (i + 1) & m_mask;
    }
    // Backward shift: each later entry of the run moves into the hole if its home allows it,
    // so that no lookup meets an empty slot before its entry.
    for (uint32_t j = (i + 1) & m_mask; m_slots[j].address != 0; j = (j + 1) & m_mask) {
        uint32_t home = Home(m_slots[j].address);
        bool movable = i <= j ? (home <= i || home > j) : (home <= i && home > j);
        if (!movable) continue;
        m_slots[i] = m_slots[j];
        i = j;
    }
    m_slots[i] = Slot{0, V()};
    --m_count;
}
