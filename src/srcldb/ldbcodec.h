// Fixed-width little-endian integers and the block header, as they lie in a store. Every stored
// integer is composed byte by byte, low byte first, so a file means the same on every host.
#pragma once

#include <cstdint>
#include <cstring>

inline void LDBEncodeU16(uint8_t* out, uint16_t value) {
    out[0] = static_cast<uint8_t>(value);
    out[1] = static_cast<uint8_t>(value >> 8);
}

inline void LDBEncodeU32(uint8_t* out, uint32_t value) {
    for (int i = 0; i < 4; ++i) out[i] = static_cast<uint8_t>(value >> (8 * i));
}

inline void LDBEncodeU64(uint8_t* out, uint64_t value) {
    for (int i = 0; i < 8; ++i) out[i] = static_cast<uint8_t>(value >> (8 * i));
}

inline uint16_t LDBDecodeU16(const uint8_t* in) {
    return static_cast<uint16_t>(in[0] | (in[1] << 8));
}

inline uint32_t LDBDecodeU32(const uint8_t* in) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = (value << 8) | in[i];
    return value;
}

inline uint64_t LDBDecodeU64(const uint8_t* in) {
    uint64_t value = 0;
    for (int i = 7; i >= 0; --i) value = (value << 8) | in[i];
    return value;
}

// A double goes to the file as the bits of its IEEE form, NaN payloads included.
inline uint64_t LDBDoubleBits(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

inline double LDBDoubleFromBits(uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Element kinds of a block: the low four bits of its tag.
enum LDBBlockKind : uint8_t {
    LDB_BLOCK_BYTES = 1,      // the characters of a string, terminating zero included
    LDB_BLOCK_INT32 = 3,      // plain 32-bit values
    LDB_BLOCK_ADDRESSES = 7,  // 32-bit addresses
};

// The length form sits in bits 4 and 5 of the tag; the mask keeps the kind.
constexpr uint8_t LDB_BLOCK_BYTE_COUNT = 0x10;
constexpr uint8_t LDB_BLOCK_WORD_COUNT = 0x20;
constexpr uint8_t LDB_BLOCK_DWORD_COUNT = 0x30;
constexpr uint8_t LDB_BLOCK_KIND_MASK = 0xCF;
constexpr uint32_t LDB_MAX_BLOCK_HEADER_SIZE = 5;

// The bytes that the header of a block of count elements takes: the tag and its count.
inline uint32_t LDBBlockHeaderSize(uint32_t count) {
    if (count < 256) return 2;
    if (count < 65536) return 3;
    return 5;
}

// Fills out with the header and gives its size.
inline uint32_t LDBEncodeBlockHeader(uint8_t* out, uint8_t kind, uint32_t count) {
    if (count < 256) {
        out[0] = static_cast<uint8_t>(kind | LDB_BLOCK_BYTE_COUNT);
        out[1] = static_cast<uint8_t>(count);
        return 2;
    }
    if (count < 65536) {
        out[0] = static_cast<uint8_t>(kind | LDB_BLOCK_WORD_COUNT);
        LDBEncodeU16(out + 1, static_cast<uint16_t>(count));
        return 3;
    }
    out[0] = static_cast<uint8_t>(kind | LDB_BLOCK_DWORD_COUNT);
    LDBEncodeU32(out + 1, count);
    return 5;
}

// The bytes of count that follow a tag: 0 when the tag has no length form, which no writer
// produces.
inline uint32_t LDBBlockCountWidth(uint8_t tag) {
    switch (tag & LDB_BLOCK_DWORD_COUNT) {
        case LDB_BLOCK_BYTE_COUNT: return 1;
        case LDB_BLOCK_WORD_COUNT: return 2;
        case LDB_BLOCK_DWORD_COUNT: return 4;
        default: return 0;
    }
}
