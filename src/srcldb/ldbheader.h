// LDBHeader: the 40 bytes at the front of every store (and of a shadow store at its base
// offset). Ten little-endian 32-bit words; the last is the exclusive-or of the nine before it.
#pragma once

#include <cstdint>

class LDBStorageFile;

constexpr uint32_t LDB_HEADER_SIZE = 40;
constexpr uint32_t LDB_HEADER_MAGIC = 0x42444C00;  // 00 'L' 'D' 'B' on disk
constexpr uint32_t LDB_CURRENT_VERSION = 514;
constexpr uint32_t LDB_OLD_VERSION = 257;
constexpr uint32_t LDB_FORMAT_TAG_ALT = 29;      // accepted on reading, never written
constexpr uint32_t LDB_INVALID_MARK = 1;         // marked unusable by something outside
constexpr uint32_t LDB_INVALID_SHADOW = 2;       // a shadow commit is under way

class LDBHeader {
public:
    LDBHeader();

    static uint32_t Size() { return LDB_HEADER_SIZE; }
    void InitCurrent();
    void NextStamp();
    void ComputeChecksum();
    bool ChecksumOk() const;
    // "%u.%u.%u" of bits 8-15, 4-7 and 0-3, in one static buffer.
    const char* VersionText() const;

    int32_t Read(LDBStorageFile& file, uint32_t position);
    int32_t Write(LDBStorageFile& file, uint32_t position);

    void Encode(uint8_t (&bytes)[LDB_HEADER_SIZE]) const;
    void Decode(const uint8_t (&bytes)[LDB_HEADER_SIZE]);

    uint32_t m_magic;
    uint32_t m_version;
    uint32_t m_format_tag;
    uint32_t m_top;
    uint32_t m_stamp;
    uint32_t m_root;
    uint32_t m_ldb_invalid;
    uint32_t m_reserved1;
    uint32_t m_reserved2;
    uint32_t m_checksum;

private:
    uint32_t Xor() const;
};

// The version number as text, "%u.%u.%u", into the caller's buffer.
void LDBVersionText(uint32_t version, char* out, uint32_t size);
