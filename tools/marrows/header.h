// The 40-byte header at the front of a store file, read straight from the file: the one thing
// the tool learns without the library, so that it can say what an open would repair first.
#pragma once

#include <cstdint>
#include <string>

struct StoreHeader {
    uint32_t magic = 0;
    uint32_t version = 0;
    uint32_t format_tag = 0;
    uint32_t top = 0;
    uint32_t stamp = 0;
    uint32_t root = 0;
    uint32_t invalid = 0;
    uint32_t checksum = 0;
    uint64_t file_size = 0;

    static constexpr uint32_t kMagic = 0x42444C00;
    static constexpr uint32_t kCurrentVersion = 514;
    static constexpr uint32_t kOldVersion = 257;

    // False, with `why` set, when the file can't be read or is shorter than a header.
    bool Read(const std::string& path, std::string& why);
    bool MagicOk() const { return magic == kMagic; }
    bool ChecksumOk() const;
    // "2.0.2" for 514.
    std::string VersionText() const;
    // What the mark says: "none", or the interrupted work that the next open repairs.
    std::string Interrupted() const;
    bool NeedsRepair() const { return invalid != 0; }
    uint64_t DeadSpace() const { return file_size > top ? file_size - top : 0; }

private:
    uint32_t words_[10] = {};
};
