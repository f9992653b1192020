// LDBCursor: the byte-level view of a store through which every member is read and written.
// The page pool's cursor is the real one; a buffer in memory serves where no store is at hand.
//
// A cursor stands at an address and moves on by the bytes it handles. Reads and writes give 0
// or the code now on the error stack: a cursor never fails silently, and its callers stop at the
// first failure.
#pragma once

#include <cstdint>

#include "srcldb/ldbcodec.h"

class LDBCursor {
public:
    virtual ~LDBCursor() = default;

    virtual uint32_t GetAddress() const = 0;
    virtual void SetAddress(uint32_t address) = 0;

    virtual int32_t ReadBytes(uint8_t* out, uint32_t count) = 0;
    virtual int32_t WriteBytes(const uint8_t* bytes, uint32_t count) = 0;

    // New space of size bytes at the top of the store, for a block; its first address goes to
    // address. The cursor doesn't move.
    virtual int32_t Allocate(uint32_t size, uint32_t& address) = 0;

    // Whether count bytes from address lie in the part of the store that holds data. An address
    // or a count that came from the file is checked by this before it is trusted.
    virtual bool HoldsRange(uint32_t address, uint32_t count) const = 0;

    int32_t ReadU8(uint8_t& value) { return ReadBytes(&value, 1); }
    int32_t ReadU16(uint16_t& value);
    int32_t ReadU32(uint32_t& value);
    int32_t ReadU64(uint64_t& value);
    int32_t WriteU8(uint8_t value) { return WriteBytes(&value, 1); }
    int32_t WriteU16(uint16_t value);
    int32_t WriteU32(uint32_t value);
    int32_t WriteU64(uint64_t value);
};

inline int32_t LDBCursor::ReadU16(uint16_t& value) {
    uint8_t bytes[2];
    int32_t rc = ReadBytes(bytes, 2);
    if (rc == 0) value = LDBDecodeU16(bytes);
    return rc;
}

inline int32_t LDBCursor::ReadU32(uint32_t& value) {
    uint8_t bytes[4];
    int32_t rc = ReadBytes(bytes, 4);
    if (rc == 0) value = LDBDecodeU32(bytes);
    return rc;
}

inline int32_t LDBCursor::ReadU64(uint64_t& value) {
    uint8_t bytes[8];
    int32_t rc = ReadBytes(bytes, 8);
    if (rc == 0) value = LDBDecodeU64(bytes);
    return rc;
}

inline int32_t LDBCursor::WriteU16(uint16_t value) {
    uint8_t bytes[2];
    LDBEncodeU16(bytes, value);
    return WriteBytes(bytes, 2);
}

inline int32_t LDBCursor::WriteU32(uint32_t value) {
    uint8_t bytes[4];
    LDBEncodeU32(bytes, value);
    return WriteBytes(bytes, 4);
}

inline int32_t LDBCursor::WriteU64(uint64_t value) {
    uint8_t bytes[8];
    LDBEncodeU64(bytes, value);
    return WriteBytes(bytes, 8);
}
