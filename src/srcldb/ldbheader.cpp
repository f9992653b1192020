#include "ldbheader.h"

#include <cstdio>

#include "ldbstgfile.h"

namespace {
void PutWord(uint8_t* at, uint32_t value) {
    at[0] = static_cast<uint8_t>(value);
    at[1] = static_cast<uint8_t>(value >> 8);
    at[2] = static_cast<uint8_t>(value >> 16);
    at[3] = static_cast<uint8_t>(value >> 24);
}

uint32_t GetWord(const uint8_t* at) {
    return static_cast<uint32_t>(at[0]) | static_cast<uint32_t>(at[1]) << 8 |
           static_cast<uint32_t>(at[2]) << 16 | static_cast<uint32_t>(at[3]) << 24;
}
}  // namespace

LDBHeader::LDBHeader()
    : m_magic(0), m_version(0), m_format_tag(0), m_top(0), m_stamp(0), m_root(0),
      m_ldb_invalid(0), m_reserved1(0), m_reserved2(0), m_checksum(0) {}

void LDBHeader::InitCurrent() {
    *this = LDBHeader();
    m_magic = LDB_HEADER_MAGIC;
    m_version = LDB_CURRENT_VERSION;
    m_stamp = 1;
    ComputeChecksum();
}

void LDBHeader::NextStamp() {
    // The stamp never becomes 0: 0 is what a store object holds before it has seen the file.
    if (++m_stamp == 0) m_stamp = 1;
}

uint32_t LDBHeader::Xor() const {
    return m_magic ^ m_version ^ m_format_tag ^ m_top ^ m_stamp ^ m_root ^ m_ldb_invalid ^
           m_reserved1 ^ m_reserved2;
}

void LDBHeader::ComputeChecksum() { m_checksum = Xor(); }
bool LDBHeader::ChecksumOk() const { return m_checksum == Xor(); }

void LDBVersionText(uint32_t version, char* out, uint32_t size) {
    std::snprintf(out, size, "%u.%u.%u", (version >> 8) & 0xFFu, (version >> 4) & 0xFu,
                  version & 0xFu);
}

const char* LDBHeader::VersionText() const {
    static char text[40];
    LDBVersionText(m_version, text, sizeof text);
    return text;
}

void LDBHeader::Encode(uint8_t (&bytes)[LDB_HEADER_SIZE]) const {
    const uint32_t words[10] = {m_magic, m_version, m_format_tag, m_top, m_stamp,
                                m_root, m_ldb_invalid, m_reserved1, m_reserved2, m_checksum};
    for (int i = 0; i < 10; ++i) PutWord(bytes + 4 * i, words[i]);
}

void LDBHeader::Decode(const uint8_t (&bytes)[LDB_HEADER_SIZE]) {
    uint32_t* words[10] = {&m_magic, &m_version, &m_format_tag, &m_top, &m_stamp,
                           &m_root, &m_ldb_invalid, &m_reserved1, &m_reserved2, &m_checksum};
    for (int i = 0; i < 10; ++i) *words[i] = GetWord(bytes + 4 * i);
}

int32_t LDBHeader::Read(LDBStorageFile& file, uint32_t position) {
    uint8_t bytes[LDB_HEADER_SIZE];
    if (int32_t rc = file.ReadAt(position, bytes, LDB_HEADER_SIZE)) return rc;
    Decode(bytes);
    return 0;
}

int32_t LDBHeader::Write(LDBStorageFile& file, uint32_t position) {
    ComputeChecksum();
    uint8_t bytes[LDB_HEADER_SIZE];
    Encode(bytes);
    return file.WriteAt(position, bytes, LDB_HEADER_SIZE);
}
