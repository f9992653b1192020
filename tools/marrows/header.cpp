#include "header.h"

#include <cstdio>
#include <fstream>

bool StoreHeader::Read(const std::string& path, std::string& why) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        why = "can't open " + path;
        return false;
    }
    unsigned char bytes[40];
    if (!in.read(reinterpret_cast<char*>(bytes), sizeof bytes)) {
        why = path + " is shorter than a store header (40 bytes)";
        return false;
    }
    for (int i = 0; i < 10; ++i) {
        words_[i] = static_cast<uint32_t>(bytes[4 * i]) | static_cast<uint32_t>(bytes[4 * i + 1]) << 8 |
                    static_cast<uint32_t>(bytes[4 * i + 2]) << 16 |
                    static_cast<uint32_t>(bytes[4 * i + 3]) << 24;
    }
    magic = words_[0];
    version = words_[1];
    format_tag = words_[2];
    top = words_[3];
    stamp = words_[4];
    root = words_[5];
    invalid = words_[6];
    checksum = words_[9];
    in.seekg(0, std::ios::end);
    file_size = static_cast<uint64_t>(in.tellg());
    return true;
}

bool StoreHeader::ChecksumOk() const {
    uint32_t sum = 0;
    for (int i = 0; i < 9; ++i) sum ^= words_[i];
    return sum == checksum;
}

std::string StoreHeader::VersionText() const {
    char text[32];
    std::snprintf(text, sizeof text, "%u.%u.%u", (version >> 8) & 0xFF, (version >> 4) & 0xF,
                  version & 0xF);
    return text;
}

std::string StoreHeader::Interrupted() const {
    if (invalid == 0) return "none";
    if (invalid == 1) return "the file is marked unusable";
    if (invalid == 2) return "a compaction or upgrade (its shadow copy lies at the top)";
    return "a commit (its undo log lies at address " + std::to_string(invalid) + ")";
}
