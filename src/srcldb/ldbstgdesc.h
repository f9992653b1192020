// The run-time description of a stored class: an LDBClassDescriptor per class and store
// version, with an LDBMemberDescriptor per member in file order. A record is the class code,
// the class version, then each member in its disk size; the descriptors are the only thing
// that knows where one record ends.
#pragma once

#include <cstdint>

#include "nyxstring.h"
#include "srcldb/ldbmemberplace.h"

// The store format versions the layout describes.
constexpr uint32_t LDB_LAYOUT_VERSION_CURRENT = 514;
constexpr uint32_t LDB_LAYOUT_VERSION_257 = 257;
// Below these versions a file keeps a boolean in four bytes, and a list member has only its
// block address, no count word.
constexpr uint32_t LDB_VERSION_BYTE_BOOLEANS = 258;
constexpr uint32_t LDB_VERSION_COUNTED_LISTS = 512;

// A record's fixed size must stay below this: undo moves fixed parts through a buffer of it.
constexpr uint32_t LDB_MAX_OBJECT_SIZE = 200;

// Bytes a member takes in a record of the store version, as the descriptors count them: a
// boolean counts one byte at every version.
uint32_t LDBMemberDiskSize(uint32_t type, uint32_t storeVersion);
// Bytes the member took in an object of the classic 32-bit build; a record of the layout only.
uint32_t LDBMemberMemorySize(uint32_t type);

class LDBClassDescriptor;

class LDBMemberDescriptor {
public:
    LDBMemberDescriptor(LDBClassDescriptor* owner, const char* name, uint16_t type,
                        uint32_t diskSize, uint32_t diskOffset, uint32_t memorySize,
                        LDBMemberPlace place);
    LDBMemberDescriptor(const LDBMemberDescriptor&) = delete;
    LDBMemberDescriptor& operator=(const LDBMemberDescriptor&) = delete;

    LDBClassDescriptor* GetOwner() const { return m_owner; }
    const nyxString& GetName() const { return m_name; }
    uint16_t GetType() const { return m_type; }
    uint32_t GetDiskSize() const { return m_disk_size; }
    uint32_t GetDiskOffset() const { return m_disk_offset; }
    uint32_t GetMemorySize() const { return m_memory_size; }
    const LDBMemberPlace& GetPlace() const { return m_place; }

private:
    LDBClassDescriptor* m_owner;
    nyxString m_name;
    uint16_t m_type;
    uint32_t m_disk_size;
    uint32_t m_disk_offset;
    uint32_t m_memory_size;
    LDBMemberPlace m_place;
};

class LDBClassDescriptor {
public:
    LDBClassDescriptor(const char* name, uint32_t storeVersion, uint8_t classCode,
                       uint8_t classVersion, uint32_t memorySize);
    ~LDBClassDescriptor();
    LDBClassDescriptor(const LDBClassDescriptor&) = delete;
    LDBClassDescriptor& operator=(const LDBClassDescriptor&) = delete;

    // Appends a row at the present end of the record. 0, or the code of the refusal of a
    // name that is already a member.
    int32_t DefineMember(const char* name, uint16_t type, LDBMemberPlace place);

    uint32_t MemberCount() const { return m_member_count; }
    // Null outside 0 .. MemberCount() - 1.
    const LDBMemberDescriptor* MemberAt(uint32_t index) const;
    // Case-sensitive, in row order.
    const LDBMemberDescriptor* FindMember(const char* name) const;

    const nyxString& GetName() const { return m_name; }
    uint32_t GetStoreVersion() const { return m_store_version; }
    uint8_t GetClassCode() const { return m_class_code; }
    uint8_t GetClassVersion() const { return m_class_version; }
    uint32_t GetFixedSize() const { return m_fixed_size; }
    uint32_t GetMemorySize() const { return m_memory_size; }

    // The next descriptor of the same class code, at a lower store version.
    LDBClassDescriptor* GetNext() const { return m_next; }
    void SetNext(LDBClassDescriptor* next) { m_next = next; }

private:
    LDBClassDescriptor* m_next;
    nyxString m_name;
    uint32_t m_store_version;
    uint8_t m_class_code;
    uint8_t m_class_version;
    uint32_t m_fixed_size;
    uint32_t m_memory_size;
    LDBMemberDescriptor** m_members;
    uint32_t m_member_count;
    uint32_t m_member_room;
};
