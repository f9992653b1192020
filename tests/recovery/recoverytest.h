// Helpers of the recovery tests: store files laid down byte by byte, and their header words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "srcldb/ldbcodec.h"
#include "srcldb/ldbheader.h"
#include "testsupport.h"

namespace recoverytest {

using Bytes = std::vector<unsigned char>;

// The words of a header; the checksum is computed unless bad is set.
struct HeaderWords {
    uint32_t version = LDB_CURRENT_VERSION;
    uint32_t tag = 0;
    uint32_t top = LDB_HEADER_SIZE;
    uint32_t stamp = 1;
    uint32_t root = 0;
    uint32_t invalid = 0;
    bool bad = false;
};

inline Bytes HeaderBytes(const HeaderWords& words) {
    LDBHeader header;
    header.InitCurrent();
    header.m_version = words.version;
    header.m_format_tag = words.tag;
    header.m_top = words.top;
    header.m_stamp = words.stamp;
    header.m_root = words.root;
    header.m_ldb_invalid = words.invalid;
    header.ComputeChecksum();
    if (words.bad) header.m_checksum ^= 0x100;
    uint8_t bytes[LDB_HEADER_SIZE];
    header.Encode(bytes);
    return Bytes(bytes, bytes + LDB_HEADER_SIZE);
}

inline uint32_t WordAt(const Bytes& bytes, size_t offset) {
    return bytes.size() < offset + 4 ? 0xDEADBEEF : LDBDecodeU32(bytes.data() + offset);
}

inline void PutWord(Bytes& bytes, uint32_t value) {
    uint8_t word[4];
    LDBEncodeU32(word, value);
    bytes.insert(bytes.end(), word, word + 4);
}

inline Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

// One undo record: the target, the size, the pre-image.
inline Bytes UndoRecord(uint32_t target, const Bytes& preImage) {
    Bytes out;
    PutWord(out, target);
    PutWord(out, static_cast<uint32_t>(preImage.size()));
    out.insert(out.end(), preImage.begin(), preImage.end());
    return out;
}

inline Bytes UndoEnd() { return Bytes{0, 0, 0, 0}; }

}  // namespace recoverytest
