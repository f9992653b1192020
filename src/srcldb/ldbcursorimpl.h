// LDBPoolCursor: the byte cursor over a store's page pool, through which every member of every
// object is read and written. It stands at an address, moves on by the bytes it handles, and
// keeps the page it last touched pinned, so that sequential access costs a range test and a
// copy.
//
// A cursor refuses any access outside the store's data, addresses 40 to top - 1: an address or
// a count that came from a damaged file gives an error record, never a read outside a buffer.
#pragma once

#include <cstdint>

#include "srcldb/ldbcursor.h"
#include "srcldb/ldbpbfr.h"

class LDBStore;

constexpr uint32_t LDB_NO_ADDRESS = 0xFFFFFFFF;  // a cursor whose place is set before use

class LDBPoolCursor final : public LDBCursor {
public:
    LDBPoolCursor(LDBStore* store, uint32_t address);
    explicit LDBPoolCursor(LDBStore* store);
    LDBPoolCursor(const LDBPoolCursor&) = delete;
    LDBPoolCursor& operator=(const LDBPoolCursor&) = delete;

    uint32_t GetAddress() const override { return m_address; }
    void SetAddress(uint32_t address) override { m_address = address; }

    // 0 or the code on the error stack; the cursor moves on by count only on success.
    int32_t ReadBytes(uint8_t* out, uint32_t count) override;
    int32_t WriteBytes(const uint8_t* bytes, uint32_t count) override;
    // New space at the top of the store; its first address goes to address.
    int32_t Allocate(uint32_t size, uint32_t& address) override;
    // Whether count bytes from address lie within the store's data.
    bool HoldsRange(uint32_t address, uint32_t count) const override;

    // Single bytes through a pin of the caller's.
    static int32_t ReadByteAt(LDBPagePin& pin, uint32_t address, uint8_t& byte);
    static int32_t WriteByteAt(LDBPagePin& pin, uint32_t address, uint8_t byte);

private:
    // Moves count bytes page by page through access(page, address, done, n), after checking
    // that all of them lie within the data.
    template <class PageAccess>
    int32_t Transfer(uint32_t count, const char* refusal, PageAccess access);

    LDBStore* m_store;
    uint32_t m_address;
    LDBPagePin m_pin;
};
