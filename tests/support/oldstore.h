// Store files of the old format, laid down record by record as the old class descriptors
// place their members: a boolean takes four bytes, a list member only its block address.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "srcldb/ldbstglayout.h"

namespace oldstore {

using Bytes = std::vector<unsigned char>;
using Entries = std::vector<std::pair<std::string, uint32_t>>;

// The layout with both schemas, built once.
const LDBStorageLayout& Layout();

class OldStore {
public:
    OldStore() : bytes_(40, 0) {}

    // A record of the class's old layout with all members 0; the first one made is the root.
    uint32_t Object(uint8_t classCode, uint8_t versionByte = 1);
    // Integers, dates, references and booleans, as a word from the member's first byte.
    void Word(uint32_t object, const char* member, uint32_t value);
    void Text(uint32_t object, const char* member, const std::string& text);
    // A list of references (block kind 7) or of ids (kind 3).
    void List(uint32_t object, const char* member, uint8_t kind,
              const std::vector<uint32_t>& words);
    void Map(uint32_t object, const char* member, const Entries& entries);
    // The stored containers, records that hold an array or a map.
    uint32_t ArrayObject(const std::vector<uint32_t>& elements);
    uint32_t MapObject(const Entries& entries);

    // Where the member lies in the file; a map's address word, behind its capacity.
    uint32_t At(uint32_t object, const char* member) const;
    // The whole file: a clean header of the version, then the records; its top is its end.
    Bytes File(uint32_t version = 257) const;

private:
    uint32_t Block(uint8_t kind, uint32_t count, const Bytes& elements);

    Bytes bytes_;
    std::map<uint32_t, uint8_t> classes_;  // record address to class code
};

// A whole model in the old format with nothing in it that disagrees: a workspace "alpha" whose
// one state holds the generic "bracket" and its instance "bracket-1", their relation, and their
// library with a file.
Bytes HealthyStore();

}  // namespace oldstore
