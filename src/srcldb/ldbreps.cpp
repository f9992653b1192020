#include "srcldb/ldbreps.h"

#include <cstring>
#include <new>

#include "errors/nyxerror.h"

namespace {

const char kSourcePath[] = "srcldb/ldbreps";

// The next room for a list that must hold at least needed elements.
uint32_t GrownRoom(uint32_t room, uint32_t needed) {
    uint64_t grown = room < 8 ? 8 : uint64_t(room) * 2;
    if (grown < needed) grown = needed;
    return grown > 0xFFFFFFFFu ? needed : static_cast<uint32_t>(grown);
}

}  // namespace

int32_t LDBRefVector::SetCount(uint32_t count) {
    if (count == m_count) {
        for (uint32_t i = 0; i < count; ++i) m_items[i] = PDMc_LDBRef();
        return 0;
    }
    Clear();
    if (count == 0) return 0;
    m_items = new (std::nothrow) PDMc_LDBRef[count];
    if (m_items == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    m_count = count;
    return 0;
}

void LDBRefVector::Clear() {
    delete[] m_items;
    m_items = nullptr;
    m_count = 0;
}

int32_t LDBRefVector::Append(const PDMc_LDBRef& value) {
    PDMc_LDBRef* grown = new (std::nothrow) PDMc_LDBRef[m_count + 1];
    if (grown == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    for (uint32_t i = 0; i < m_count; ++i) grown[i] = m_items[i];
    grown[m_count] = value;
    delete[] m_items;
    m_items = grown;
    ++m_count;
    return 0;
}

int32_t LDBIdVector::SetCount(uint32_t count) {
    Clear();
    if (count == 0) return 0;
    m_items = new (std::nothrow) uint32_t[count]();
    if (m_items == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    m_count = count;
    return 0;
}

void LDBIdVector::Clear() {
    delete[] m_items;
    m_items = nullptr;
    m_count = 0;
}

int32_t LDBIdVector::Append(uint32_t value) {
    uint32_t* grown = new (std::nothrow) uint32_t[m_count + 1];
    if (grown == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    if (m_count > 0) std::memcpy(grown, m_items, m_count * sizeof(uint32_t));
    grown[m_count] = value;
    delete[] m_items;
    m_items = grown;
    ++m_count;
    return 0;
}

void LDBRefStringTable::Clear() {
    delete[] m_entries;
    m_entries = nullptr;
    m_count = 0;
    m_room = 0;
}

int32_t LDBRefStringTable::Insert(const nyxString& key, const PDMc_LDBRef& value) {
    if (Find(key.c_str()) != nullptr) return 0;
    if (m_count == m_room) {
        uint32_t room = GrownRoom(m_room, m_count + 1);
        Entry* grown = new (std::nothrow) Entry[room];
        if (grown == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
        for (uint32_t i = 0; i < m_count; ++i) {
            grown[i].key = static_cast<nyxString&&>(m_entries[i].key);
            grown[i].value = m_entries[i].value;
        }
        delete[] m_entries;
        m_entries = grown;
        m_room = room;
    }
    m_entries[m_count].key = key;
    m_entries[m_count].value = value;
    ++m_count;
    return 0;
}

PDMc_LDBRef* LDBRefStringTable::Find(const char* key) {
    for (uint32_t i = 0; i < m_count; ++i)
        if (std::strcmp(m_entries[i].key.c_str(), key) == 0) return &m_entries[i].value;
    return nullptr;
}

int32_t LDBRefStringTable::VisitEntries(LDBMapEntryVisitor visit, void* context) const {
    for (uint32_t i = 0; i < m_count; ++i) {
        int32_t rc = visit(context, m_entries[i].key, m_entries[i].value);
        if (rc != 0) return rc;
    }
    return 0;
}
