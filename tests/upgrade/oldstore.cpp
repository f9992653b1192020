#include "oldstore.h"

#include "srcldb/ldbcodec.h"
#include "srcldb/ldbheader.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbstgdesc.h"

namespace oldstore {

const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* built = new LDBStorageLayout();
        LDBDefineSchema(*built);
        return built;
    }();
    return *layout;
}

namespace {

uint32_t OldSize(uint16_t type, uint32_t version) {
    if (type == LDB_MEMBER_BOOLEAN && version < LDB_VERSION_BYTE_BOOLEANS) return 4;
    if ((type == LDB_MEMBER_REF_ARRAY || type == LDB_MEMBER_ID_ARRAY) &&
        version < LDB_VERSION_COUNTED_LISTS)
        return 4;
    return LDBMemberDiskSize(type, version);
}

// The descriptor a file of the old format is read by: class version 1.
const LDBClassDescriptor& OldClass(uint8_t classCode) {
    return *Layout().ClassByVersion(classCode, 1);
}

}  // namespace

uint32_t OldStore::Object(uint8_t classCode, uint8_t versionByte) {
    const LDBClassDescriptor& descriptor = OldClass(classCode);
    uint32_t size = 2;
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i)
        size += OldSize(descriptor.MemberAt(i)->GetType(), version_);
    uint32_t address = static_cast<uint32_t>(bytes_.size());
    bytes_.resize(address + size, 0);
    bytes_[address] = classCode;
    bytes_[address + 1] = versionByte;
    classes_[address] = classCode;
    return address;
}

uint32_t OldStore::At(uint32_t object, const char* member) const {
    const LDBClassDescriptor& descriptor = OldClass(classes_.at(object));
    uint32_t offset = 2;
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i) {
        const LDBMemberDescriptor* row = descriptor.MemberAt(i);
        if (row->GetName() == nyxString(member)) {
            // A counted list keeps its address in its second word.
            bool counted = (row->GetType() == LDB_MEMBER_REF_ARRAY ||
                            row->GetType() == LDB_MEMBER_ID_ARRAY) &&
                           version_ >= LDB_VERSION_COUNTED_LISTS;
            return object + offset + (row->GetType() == LDB_MEMBER_REF_MAP || counted ? 4 : 0);
        }
        offset += OldSize(row->GetType(), version_);
    }
    return 0;
}

void OldStore::PutWord(uint32_t address, uint32_t value) { LDBEncodeU32(&bytes_[address], value); }

void OldStore::Word(uint32_t object, const char* member, uint32_t value) {
    PutWord(At(object, member), value);
}

uint32_t OldStore::StringBlock(const std::string& text) {
    uint32_t count = static_cast<uint32_t>(text.size()) + 1;
    uint8_t header[LDB_MAX_BLOCK_HEADER_SIZE];
    uint32_t headerSize = LDBEncodeBlockHeader(header, LDB_BLOCK_BYTES, count);
    uint32_t address = static_cast<uint32_t>(bytes_.size());
    bytes_.insert(bytes_.end(), header, header + headerSize);
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    bytes_.push_back(0);
    return address;
}

uint32_t OldStore::WordBlock(uint8_t kind, const std::vector<uint32_t>& words) {
    if (words.empty()) return 0;
    uint8_t header[LDB_MAX_BLOCK_HEADER_SIZE];
    uint32_t headerSize =
        LDBEncodeBlockHeader(header, kind, static_cast<uint32_t>(words.size()));
    uint32_t address = static_cast<uint32_t>(bytes_.size());
    bytes_.insert(bytes_.end(), header, header + headerSize);
    bytes_.resize(bytes_.size() + 4 * words.size());
    for (size_t i = 0; i < words.size(); ++i)
        PutWord(static_cast<uint32_t>(address + headerSize + 4 * i), words[i]);
    return address;
}

void OldStore::Text(uint32_t object, const char* member, const std::string& text) {
    uint32_t address = text.empty() ? 0 : StringBlock(text);
    Word(object, member, address);
}

void OldStore::Refs(uint32_t object, const char* member, const std::vector<uint32_t>& elements) {
    uint32_t address = WordBlock(LDB_BLOCK_ADDRESSES, elements);
    Word(object, member, address);
    if (version_ >= LDB_VERSION_COUNTED_LISTS)
        PutWord(At(object, member) - 4, static_cast<uint32_t>(elements.size()));
}

void OldStore::Ids(uint32_t object, const char* member, const std::vector<uint32_t>& elements) {
    uint32_t address = WordBlock(LDB_BLOCK_INT32, elements);
    Word(object, member, address);
    if (version_ >= LDB_VERSION_COUNTED_LISTS)
        PutWord(At(object, member) - 4, static_cast<uint32_t>(elements.size()));
}

void OldStore::Map(uint32_t object, const char* member, const Entries& entries) {
    std::vector<uint32_t> words;
    for (const auto& entry : entries) {
        words.push_back(StringBlock(entry.first));
        words.push_back(entry.second);
    }
    uint32_t address = WordBlock(LDB_BLOCK_ADDRESSES, words);
    PutWord(At(object, member) - 4, 257);  // the capacity, which no reader uses
    Word(object, member, address);
}

void OldStore::Value(uint32_t object, const char* member, uint8_t kind, uint32_t payload) {
    uint32_t at = At(object, member);
    bytes_[at] = kind;
    PutWord(at + 1, payload);
}

uint32_t OldStore::ArrayObject(const std::vector<uint32_t>& elements) {
    uint32_t object = Object(65);
    Refs(object, "m_rep", elements);
    return object;
}

uint32_t OldStore::MapObject(const Entries& entries) {
    uint32_t object = Object(66);
    Map(object, "m_rep", entries);
    return object;
}

Bytes OldStore::File(uint32_t stamp) const {
    LDBHeader header;
    header.InitCurrent();
    header.m_version = version_;
    header.m_top = static_cast<uint32_t>(bytes_.size());
    header.m_stamp = stamp;
    header.m_root = bytes_.size() > 40 ? 40 : 0;
    header.ComputeChecksum();
    Bytes file = bytes_;
    uint8_t encoded[LDB_HEADER_SIZE];
    header.Encode(encoded);
    std::copy(encoded, encoded + LDB_HEADER_SIZE, file.begin());
    return file;
}

}  // namespace oldstore
