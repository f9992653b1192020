#include "srcldb/ldbbufcursor.h"

#include <cstring>
#include <new>

#include "errors/nyxerror.h"

namespace {
const char kSourcePath[] = "srcldb/ldbbufcursor";
}

LDBBufferCursor::LDBBufferCursor(uint32_t firstAddress)
    : m_data(nullptr), m_capacity(0), m_first(firstAddress), m_top(firstAddress),
      m_address(firstAddress) {}

LDBBufferCursor::~LDBBufferCursor() { delete[] m_data; }

bool LDBBufferCursor::HoldsRange(uint32_t address, uint32_t count) const {
    // In 64 bits, so that a count near 4 GiB can't wrap past the test.
    return address >= m_first && uint64_t(address) + count <= m_top;
}

const uint8_t* LDBBufferCursor::BytesAt(uint32_t address) const {
    if (!HoldsRange(address, 0) || address == m_top) return nullptr;
    return m_data + (address - m_first);
}

int32_t LDBBufferCursor::ReadBytes(uint8_t* out, uint32_t count) {
    if (!HoldsRange(m_address, count))
        return NYX_INTERNAL_ERROR("Read outside the allocated space", kSourcePath);
    if (count > 0) std::memcpy(out, m_data + (m_address - m_first), count);
    m_address += count;
    return 0;
}

int32_t LDBBufferCursor::WriteBytes(const uint8_t* bytes, uint32_t count) {
    if (!HoldsRange(m_address, count))
        return NYX_INTERNAL_ERROR("Write outside the allocated space", kSourcePath);
    if (count > 0) std::memcpy(m_data + (m_address - m_first), bytes, count);
    m_address += count;
    return 0;
}

int32_t LDBBufferCursor::Allocate(uint32_t size, uint32_t& address) {
    uint64_t newTop = uint64_t(m_top) + size;
    if (newTop > 0xFFFFFFFFu) return NYX_INTERNAL_ERROR("Address space exhausted", kSourcePath);
    uint64_t used = newTop - m_first;
    if (used > m_capacity) {
        uint64_t capacity = m_capacity == 0 ? 256 : uint64_t(m_capacity) * 2;
        while (capacity < used) capacity *= 2;
        if (capacity > 0xFFFFFFFFu) capacity = used;
        uint8_t* grown = new (std::nothrow) uint8_t[capacity];
        if (grown == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
        if (m_capacity > 0) std::memcpy(grown, m_data, m_capacity);
        std::memset(grown + m_capacity, 0, capacity - m_capacity);
        delete[] m_data;
        m_data = grown;
        m_capacity = static_cast<uint32_t>(capacity);
    }
    address = m_top;
    m_top = static_cast<uint32_t>(newTop);
    return 0;
}
