// The store's two object collections. The object table maps an address to the one loaded
// object that has it; the modified list keeps the objects that the open transaction touched,
// in the order of first touch, which is the order of everything a commit does.
//
// Neither owns its objects in the C++ sense: the store destroys them, through these lists.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

class PDMc_LDBObject;

class LDBObjectTable {
public:
    // Sized so that ordinary stores never grow it.
    static constexpr uint32_t kInitialSize = 10000;

    LDBObjectTable() { m_table.reserve(kInitialSize); }

    PDMc_LDBObject* Find(uint32_t address) const {
        auto it = m_table.find(address);
        return it == m_table.end() ? nullptr : it->second;
    }
    // False, with the table unchanged, when the address is already there.
    bool Insert(uint32_t address, PDMc_LDBObject* object) {
        return m_table.emplace(address, object).second;
    }
    void Remove(uint32_t address) { m_table.erase(address); }
    uint32_t Count() const { return static_cast<uint32_t>(m_table.size()); }
    // Every object, then an empty table: the caller destroys them.
    std::vector<PDMc_LDBObject*> TakeAll() {
        std::vector<PDMc_LDBObject*> all;
        all.reserve(m_table.size());
        for (const auto& entry : m_table) all.push_back(entry.second);
        m_table.clear();
        return all;
    }

private:
    std::unordered_map<uint32_t, PDMc_LDBObject*> m_table;
};

class LDBModifiedList {
public:
    void Append(PDMc_LDBObject* object) { m_list.push_back(object); }
    void Clear() { m_list.clear(); }
    bool IsEmpty() const { return m_list.empty(); }
    uint32_t Count() const { return static_cast<uint32_t>(m_list.size()); }
    // Null for an object that the commit has destroyed while the list still stood.
    PDMc_LDBObject* At(uint32_t index) const { return m_list[index]; }
    void Forget(uint32_t index) { m_list[index] = nullptr; }

private:
    std::vector<PDMc_LDBObject*> m_list;
};
