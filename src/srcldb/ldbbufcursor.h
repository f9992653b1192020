// LDBBufferCursor: a store's address space held in one heap buffer, for code that needs a
// cursor without a store file: the member readers and writers can be driven over it alone.
// Addresses start at the given first address (40, like a store behind its header); space is
// handed out upward from there and is zero until written.
#pragma once

#include <cstdint>

#include "srcldb/ldbcursor.h"

class LDBBufferCursor : public LDBCursor {
public:
    explicit LDBBufferCursor(uint32_t firstAddress = 40);
    ~LDBBufferCursor() override;
    LDBBufferCursor(const LDBBufferCursor&) = delete;
    LDBBufferCursor& operator=(const LDBBufferCursor&) = delete;

    uint32_t GetAddress() const override { return m_address; }
    void SetAddress(uint32_t address) override { m_address = address; }
    int32_t ReadBytes(uint8_t* out, uint32_t count) override;
    int32_t WriteBytes(const uint8_t* bytes, uint32_t count) override;
    int32_t Allocate(uint32_t size, uint32_t& address) override;
    bool HoldsRange(uint32_t address, uint32_t count) const override;

    uint32_t FirstAddress() const { return m_first; }
    // The next address that Allocate would give.
    uint32_t Top() const { return m_top; }
    // The stored bytes from address on, or null outside the allocated space.
    const uint8_t* BytesAt(uint32_t address) const;

private:
    uint8_t* m_data;
    uint32_t m_capacity;  // bytes of m_data
    uint32_t m_first;
    uint32_t m_top;
    uint32_t m_address;
};
