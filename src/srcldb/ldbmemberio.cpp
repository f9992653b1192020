#include "srcldb/ldbmemberio.h"

#include <cstring>
#include <new>

#include "errors/nyxerror.h"

namespace {

const char kSourcePath[] = "srcldb/ldbmemberio";

// Strings up to this length, terminator included, load without a heap buffer.
constexpr uint32_t kStackTextSize = 1024;

template <typename T>
T& FieldAs(void* field) {
    return *static_cast<T*>(field);
}

template <typename T>
const T& FieldAs(const void* field) {
    return *static_cast<const T*>(field);
}

uint32_t StringBlockSize(const nyxString& text) {
    if (text.IsEmpty()) return 0;
    uint32_t count = static_cast<uint32_t>(text.Length()) + 1;
    return LDBBlockHeaderSize(count) + count;
}

struct MapSpace {
    uint32_t keys;
};

int32_t AddKeySpace(void* context, const nyxString& key, const PDMc_LDBRef&) {
    static_cast<MapSpace*>(context)->keys += StringBlockSize(key);
    return 0;
}

int32_t WriteMapEntry(void* context, const nyxString& key, const PDMc_LDBRef& value) {
    LDBMemberWriter* writer = static_cast<LDBMemberWriter*>(context);
    int32_t rc = writer->WriteString(key);
    if (rc != 0) return rc;
    return writer->WriteReference(value);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Reading

LDBMemberReader::LDBMemberReader(LDBCursor& cursor, LDBObjectOwner* owner,
                                 uint32_t storeVersion)
    : m_cursor(cursor), m_owner(owner), m_store_version(storeVersion) {}

int32_t LDBMemberReader::ReadMembers(const LDBClassDescriptor& descriptor,
                                     PDMc_LDBObject* object) {
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i) {
        int32_t rc = ReadMember(*descriptor.MemberAt(i), object);
        if (rc != 0) return rc;
    }
    return 0;
}

int32_t LDBMemberReader::ReadMember(const LDBMemberDescriptor& member, PDMc_LDBObject* object) {
    if (!member.GetPlace().IsSet())
        return NYX_INTERNAL_ERROR("Member has no place in memory", kSourcePath);
    return ReadField(member.GetType(), member.GetPlace().FieldIn(object));
}

int32_t LDBMemberReader::ReadField(uint32_t type, void* field) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8:
        case LDBMemberFamily::kUInt8: return m_cursor.ReadU8(FieldAs<uint8_t>(field));
        case LDBMemberFamily::kInt16:
        case LDBMemberFamily::kUInt16: return m_cursor.ReadU16(FieldAs<uint16_t>(field));
        case LDBMemberFamily::kInt32:
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime: return m_cursor.ReadU32(FieldAs<uint32_t>(field));
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: return 0;  // never stored; the field keeps its value
        case LDBMemberFamily::kFloat: {
            uint64_t bits;
            int32_t rc = m_cursor.ReadU64(bits);
            if (rc == 0) FieldAs<float>(field) = static_cast<float>(LDBDoubleFromBits(bits));
            return rc;
        }
        case LDBMemberFamily::kDouble: {
            uint64_t bits;
            int32_t rc = m_cursor.ReadU64(bits);
            if (rc == 0) FieldAs<double>(field) = LDBDoubleFromBits(bits);
            return rc;
        }
        case LDBMemberFamily::kString: return ReadString(FieldAs<nyxString>(field));
        case LDBMemberFamily::kValue: return ReadValue(FieldAs<PDMc_LDBValue>(field));
        case LDBMemberFamily::kBoolean: return ReadBoolean(FieldAs<uint8_t>(field));
        case LDBMemberFamily::kRefArray: return ReadRefArray(FieldAs<LDBRefArrayRep>(field));
        case LDBMemberFamily::kRefMap: return ReadMap(FieldAs<LDBRefMapRep>(field));
        case LDBMemberFamily::kIdArray: return ReadIdArray(FieldAs<LDBIdArrayRep>(field));
        case LDBMemberFamily::kReference: return ReadReference(FieldAs<PDMc_LDBRef>(field));
    }
    return NYX_INTERNAL_ERROR("Unknown member type", kSourcePath);
}

int32_t LDBMemberReader::ReadString(nyxString& text) {
    uint32_t address;
    int32_t rc = m_cursor.ReadU32(address);
    if (rc != 0) return rc;
    return ReadStringBlock(address, text);
}

int32_t LDBMemberReader::ReadStringBlock(uint32_t address, nyxString& text) {
    if (address == 0) {
        text.Clear();
        return 0;
    }
    uint32_t resumeAt = m_cursor.GetAddress();
    uint32_t count;
    int32_t rc = EnterBlock(address, 1, count);
    if (rc != 0) return rc;

    char stackText[kStackTextSize];
    char* bytes = stackText;
    if (count > kStackTextSize) {
        bytes = new (std::nothrow) char[count];
        if (bytes == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    }
    if (count > 0) rc = m_cursor.ReadBytes(reinterpret_cast<uint8_t*>(bytes), count);
    if (rc == 0) {
        // The count includes the terminator; a block that lacks it is cut short, not overrun.
        if (count > 0)
            bytes[count - 1] = '\0';
        else
            bytes[0] = '\0';
        text = bytes;
        m_cursor.SetAddress(resumeAt);
    }
    if (bytes != stackText) delete[] bytes;
    return rc;
}

int32_t LDBMemberReader::ReadReference(PDMc_LDBRef& reference) {
    uint32_t address;
    int32_t rc = m_cursor.ReadU32(address);
    if (rc == 0) reference.Set(m_owner, address);
    return rc;
}

int32_t LDBMemberReader::ReadBoolean(uint8_t& value) {
    // Older files give a boolean four bytes, of which the first carries the value.
    uint8_t bytes[4];
    uint32_t size = m_store_version < LDB_VERSION_BYTE_BOOLEANS ? 4 : 1;
    int32_t rc = m_cursor.ReadBytes(bytes, size);
    if (rc == 0) value = bytes[0];
    return rc;
}

int32_t LDBMemberReader::ReadValue(PDMc_LDBValue& value) {
    // All nine bytes are read first, whatever the kind turns out to need.
    uint8_t kind;
    uint8_t payload[8];
    int32_t rc = m_cursor.ReadU8(kind);
    if (rc == 0) rc = m_cursor.ReadBytes(payload, sizeof payload);
    if (rc != 0) return rc;

    switch (kind) {
        case PDMc_LDBValue::kNone: value.Clear(); break;
        case PDMc_LDBValue::kInteger:
            value.SetInteger(static_cast<int32_t>(LDBDecodeU32(payload)));
            break;
        case PDMc_LDBValue::kDouble:
            value.SetDouble(LDBDoubleFromBits(LDBDecodeU64(payload)));
            break;
        case PDMc_LDBValue::kBoolean: value.SetBoolean(payload[0] != 0); break;
        case PDMc_LDBValue::kString: {
            nyxString text;
            rc = ReadStringBlock(LDBDecodeU32(payload), text);
            if (rc == 0) value.SetString(text.c_str());
            break;
        }
        case PDMc_LDBValue::kDateTime: value.SetDateTime(LDBDecodeU32(payload)); break;
        case PDMc_LDBValue::kObject: {
            PDMc_LDBRef reference;
            reference.Set(m_owner, LDBDecodeU32(payload));
            value.SetReference(reference);
            break;
        }
        default: break;  // a kind this build doesn't know leaves the value as it was
    }
    return rc;
}

int32_t LDBMemberReader::EnterList(uint32_t& count, uint32_t& resumeAt) {
    uint32_t word;
    int32_t rc = 0;
    // The count word exists only in newer files, and the block's own count governs anyway.
    if (m_store_version >= LDB_VERSION_COUNTED_LISTS) rc = m_cursor.ReadU32(word);
    uint32_t address = 0;
    if (rc == 0) rc = m_cursor.ReadU32(address);
    count = 0;
    resumeAt = m_cursor.GetAddress();
    if (rc != 0 || address == 0) return rc;
    return EnterBlock(address, 4, count);
}

int32_t LDBMemberReader::ReadRefArray(LDBRefArrayRep& array) {
    uint32_t count, resumeAt;
    int32_t rc = EnterList(count, resumeAt);
    if (rc == 0) rc = array.SetCount(count);
    for (uint32_t i = 0; rc == 0 && i < count; ++i) rc = ReadReference(array.At(i));
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

int32_t LDBMemberReader::ReadIdArray(LDBIdArrayRep& array) {
    uint32_t count, resumeAt;
    int32_t rc = EnterList(count, resumeAt);
    if (rc == 0) rc = array.SetCount(count);
    for (uint32_t i = 0; rc == 0 && i < count; ++i) {
        uint32_t id;
        rc = m_cursor.ReadU32(id);
        if (rc == 0) array.SetAt(i, id);
    }
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

int32_t LDBMemberReader::ReadMap(LDBRefMapRep& map) {
    uint32_t capacity;
    uint32_t address = 0;
    int32_t rc = m_cursor.ReadU32(capacity);
    if (rc == 0) rc = m_cursor.ReadU32(address);
    if (rc != 0) return rc;
    map.Clear();
    if (address == 0) return 0;

    uint32_t resumeAt = m_cursor.GetAddress();
    uint32_t count;
    rc = EnterBlock(address, 4, count);
    // The block holds a key address and a reference for each entry.
    for (uint32_t i = 0; rc == 0 && i < count / 2; ++i) {
        uint32_t keyAddress;
        nyxString key;
        PDMc_LDBRef value;
        rc = m_cursor.ReadU32(keyAddress);
        if (rc == 0) rc = ReadStringBlock(keyAddress, key);
        if (rc == 0) rc = ReadReference(value);
        if (rc == 0) rc = map.Insert(key, value);
    }
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

int32_t LDBMemberReader::EnterBlock(uint32_t address, uint32_t elementSize, uint32_t& count) {
    // The header is at least a tag and one count byte.
    if (!m_cursor.HoldsRange(address, 2))
        return NYX_INTERNAL_ERROR("Block address outside the store", kSourcePath);
    m_cursor.SetAddress(address);
    uint8_t tag;
    int32_t rc = m_cursor.ReadU8(tag);
    if (rc != 0) return rc;
    uint32_t width = LDBBlockCountWidth(tag);
    if (width == 0) return NYX_INTERNAL_ERROR("Damaged block header", kSourcePath);
    uint8_t bytes[4] = {0, 0, 0, 0};
    if (!m_cursor.HoldsRange(address + 1, width))
        return NYX_INTERNAL_ERROR("Block outside the store", kSourcePath);
    rc = m_cursor.ReadBytes(bytes, width);
    if (rc != 0) return rc;
    count = LDBDecodeU32(bytes);
    uint64_t size = uint64_t(count) * elementSize;
    if (size > 0xFFFFFFFFu ||
        !m_cursor.HoldsRange(m_cursor.GetAddress(), static_cast<uint32_t>(size)))
        return NYX_INTERNAL_ERROR("Block outside the store", kSourcePath);
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Writing

LDBMemberWriter::LDBMemberWriter(LDBCursor& cursor) : m_cursor(cursor) {}

int32_t LDBMemberWriter::WriteMembers(const LDBClassDescriptor& descriptor,
                                      PDMc_LDBObject* object) {
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i) {
        int32_t rc = WriteMember(*descriptor.MemberAt(i), object);
        if (rc != 0) return rc;
    }
    return 0;
}

int32_t LDBMemberWriter::WriteMember(const LDBMemberDescriptor& member, PDMc_LDBObject* object) {
    if (!member.GetPlace().IsSet())
        return NYX_INTERNAL_ERROR("Member has no place in memory", kSourcePath);
    return WriteField(member.GetType(), member.GetPlace().FieldIn(object));
}

int32_t LDBMemberWriter::WriteField(uint32_t type, const void* field) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8:
        case LDBMemberFamily::kUInt8: return m_cursor.WriteU8(FieldAs<uint8_t>(field));
        case LDBMemberFamily::kInt16:
        case LDBMemberFamily::kUInt16: return m_cursor.WriteU16(FieldAs<uint16_t>(field));
        case LDBMemberFamily::kInt32:
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime: return m_cursor.WriteU32(FieldAs<uint32_t>(field));
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: return 0;
        case LDBMemberFamily::kFloat:
            return m_cursor.WriteU64(LDBDoubleBits(static_cast<double>(FieldAs<float>(field))));
        case LDBMemberFamily::kDouble:
            return m_cursor.WriteU64(LDBDoubleBits(FieldAs<double>(field)));
        case LDBMemberFamily::kString: return WriteString(FieldAs<nyxString>(field));
        case LDBMemberFamily::kValue: return WriteValue(FieldAs<PDMc_LDBValue>(field));
        case LDBMemberFamily::kBoolean: return WriteBoolean(FieldAs<uint8_t>(field));
        case LDBMemberFamily::kRefArray: return WriteRefArray(FieldAs<LDBRefArrayRep>(field));
        case LDBMemberFamily::kRefMap: return WriteMap(FieldAs<LDBRefMapRep>(field));
        case LDBMemberFamily::kIdArray: return WriteIdArray(FieldAs<LDBIdArrayRep>(field));
        case LDBMemberFamily::kReference: return WriteReference(FieldAs<PDMc_LDBRef>(field));
    }
    return NYX_INTERNAL_ERROR("Unknown member type", kSourcePath);
}

int32_t LDBMemberWriter::StartBlock(uint8_t kind, uint32_t count, uint32_t elementSize,
                                    uint32_t& resumeAt) {
    uint8_t header[LDB_MAX_BLOCK_HEADER_SIZE];
    uint32_t headerSize = LDBEncodeBlockHeader(header, kind, count);
    uint64_t size = headerSize + uint64_t(count) * elementSize;
    if (size > 0xFFFFFFFFu) return NYX_INTERNAL_ERROR("Block too large", kSourcePath);
    uint32_t address;
    int32_t rc = m_cursor.Allocate(static_cast<uint32_t>(size), address);
    if (rc == 0) rc = m_cursor.WriteU32(address);
    if (rc != 0) return rc;
    resumeAt = m_cursor.GetAddress();
    m_cursor.SetAddress(address);
    return m_cursor.WriteBytes(header, headerSize);
}

int32_t LDBMemberWriter::WriteString(const nyxString& text) {
    if (text.IsEmpty()) return m_cursor.WriteU32(0);
    size_t length = text.Length() + 1;
    if (length > 0xFFFFFFF0u) return NYX_INTERNAL_ERROR("Block too large", kSourcePath);
    uint32_t count = static_cast<uint32_t>(length);
    uint32_t resumeAt;
    int32_t rc = StartBlock(LDB_BLOCK_BYTES, count, 1, resumeAt);
    if (rc == 0) rc = m_cursor.WriteBytes(reinterpret_cast<const uint8_t*>(text.c_str()), count);
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

int32_t LDBMemberWriter::WriteReference(const PDMc_LDBRef& reference) {
    return m_cursor.WriteU32(reference.GetKey());
}

int32_t LDBMemberWriter::WriteBoolean(uint8_t value) { return m_cursor.WriteU8(value); }

int32_t LDBMemberWriter::WriteValue(const PDMc_LDBValue& value) {
    int32_t kind = value.GetKind();
    int32_t rc = m_cursor.WriteU8(static_cast<uint8_t>(kind));
    if (rc != 0) return rc;
    uint8_t payload[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    switch (kind) {
        case PDMc_LDBValue::kInteger:
            LDBEncodeU32(payload, static_cast<uint32_t>(value.GetInteger()));
            break;
        case PDMc_LDBValue::kDouble: LDBEncodeU64(payload, LDBDoubleBits(value.GetDouble())); break;
        case PDMc_LDBValue::kBoolean: payload[0] = value.GetBoolean() ? 1 : 0; break;
        case PDMc_LDBValue::kString:
            // The string's address fills the first four bytes of the payload.
            rc = WriteString(value.GetString());
            if (rc != 0) return rc;
            return m_cursor.WriteBytes(payload, 4);
        case PDMc_LDBValue::kDateTime: LDBEncodeU32(payload, value.GetDateTime()); break;
        case PDMc_LDBValue::kObject: LDBEncodeU32(payload, value.GetReference().GetKey()); break;
        default: break;
    }
    return m_cursor.WriteBytes(payload, sizeof payload);
}

int32_t LDBMemberWriter::StartList(uint8_t kind, uint32_t count, uint32_t& resumeAt) {
    int32_t rc = m_cursor.WriteU32(count);
    if (rc != 0) return rc;
    if (count > 0) return StartBlock(kind, count, 4, resumeAt);
    // An empty list has no block.
    rc = m_cursor.WriteU32(0);
    resumeAt = m_cursor.GetAddress();
    return rc;
}

int32_t LDBMemberWriter::WriteRefArray(const LDBRefArrayRep& array) {
    uint32_t count = array.Count();
    uint32_t resumeAt;
    int32_t rc = StartList(LDB_BLOCK_ADDRESSES, count, resumeAt);
    for (uint32_t i = 0; rc == 0 && i < count; ++i) rc = WriteReference(array.At(i));
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

int32_t LDBMemberWriter::WriteIdArray(const LDBIdArrayRep& array) {
    uint32_t count = array.Count();
    uint32_t resumeAt;
    int32_t rc = StartList(LDB_BLOCK_INT32, count, resumeAt);
    for (uint32_t i = 0; rc == 0 && i < count; ++i) rc = m_cursor.WriteU32(array.At(i));
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

int32_t LDBMemberWriter::WriteMap(const LDBRefMapRep& map) {
    int32_t rc = m_cursor.WriteU32(map.Capacity());
    if (rc != 0) return rc;
    uint32_t entries = map.Count();
    if (entries == 0) return m_cursor.WriteU32(0);
    uint32_t resumeAt;
    rc = StartBlock(LDB_BLOCK_ADDRESSES, 2 * entries, 4, resumeAt);
    // Each key takes a block of its own, allocated behind the map's block.
    if (rc == 0) rc = map.VisitEntries(&WriteMapEntry, this);
    if (rc == 0) m_cursor.SetAddress(resumeAt);
    return rc;
}

uint32_t LDBMemberWriter::BlockSpace(uint32_t type, const void* field) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kString: return StringBlockSize(FieldAs<nyxString>(field));
        case LDBMemberFamily::kValue: {
            const PDMc_LDBValue& value = FieldAs<PDMc_LDBValue>(field);
            return value.GetKind() == PDMc_LDBValue::kString ? StringBlockSize(value.GetString())
                                                             : 0;
        }
        case LDBMemberFamily::kRefArray: {
            uint32_t count = FieldAs<LDBRefArrayRep>(field).Count();
            return count == 0 ? 0 : LDBBlockHeaderSize(count) + 4 * count;
        }
        case LDBMemberFamily::kIdArray: {
            uint32_t count = FieldAs<LDBIdArrayRep>(field).Count();
            return count == 0 ? 0 : LDBBlockHeaderSize(count) + 4 * count;
        }
        case LDBMemberFamily::kRefMap: {
            const LDBRefMapRep& map = FieldAs<LDBRefMapRep>(field);
            uint32_t entries = map.Count();
            if (entries == 0) return 0;
            MapSpace space{0};
            map.VisitEntries(&AddKeySpace, &space);
            return LDBBlockHeaderSize(2 * entries) + 8 * entries + space.keys;
        }
        default: return 0;
    }
}

uint32_t LDBMemberWriter::BlockSpaceOfMembers(const LDBClassDescriptor& descriptor,
                                              PDMc_LDBObject* object) {
    uint32_t total = 0;
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i) {
        const LDBMemberDescriptor* member = descriptor.MemberAt(i);
        if (member->GetPlace().IsSet())
            total += BlockSpace(member->GetType(), member->GetPlace().FieldIn(object));
    }
    return total;
}
