#include "srcldb/ldbstgdesc.h"

#include <cstring>
#include <new>

#include "errors/nyxerror.h"

namespace {
const char kSourcePath[] = "srcldb/ldbstgdesc";
}

uint32_t LDBMemberDiskSize(uint32_t type, uint32_t storeVersion) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8:
        case LDBMemberFamily::kUInt8:
        case LDBMemberFamily::kBoolean: return 1;
        case LDBMemberFamily::kInt16:
        case LDBMemberFamily::kUInt16: return 2;
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: return 0;
        case LDBMemberFamily::kFloat:
        case LDBMemberFamily::kDouble: return 8;
        case LDBMemberFamily::kValue: return 9;
        case LDBMemberFamily::kRefArray:
        case LDBMemberFamily::kIdArray: return storeVersion < LDB_VERSION_COUNTED_LISTS ? 4 : 8;
        case LDBMemberFamily::kRefMap: return 8;
        default: return 4;
    }
}

uint32_t LDBMemberMemorySize(uint32_t type) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8:
        case LDBMemberFamily::kUInt8:
        case LDBMemberFamily::kBoolean: return 1;
        case LDBMemberFamily::kInt16:
        case LDBMemberFamily::kUInt16: return 2;
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: return 0;
        case LDBMemberFamily::kInt32:
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kFloat:
        case LDBMemberFamily::kDateTime: return 4;
        case LDBMemberFamily::kValue: return 16;
        case LDBMemberFamily::kRefArray:
        case LDBMemberFamily::kIdArray: return 24;
        case LDBMemberFamily::kRefMap: return 64;
        default: return 8;  // doubles, strings and references
    }
}

LDBMemberDescriptor::LDBMemberDescriptor(LDBClassDescriptor* owner, const char* name,
                                         uint16_t type, uint32_t diskSize, uint32_t diskOffset,
                                         uint32_t memorySize, LDBMemberPlace place)
    : m_owner(owner),
      m_name(name),
      m_type(type),
      m_disk_size(diskSize),
      m_disk_offset(diskOffset),
      m_memory_size(memorySize),
      m_place(place) {}

LDBClassDescriptor::LDBClassDescriptor(const char* name, uint32_t storeVersion,
                                       uint8_t classCode, uint8_t classVersion,
                                       uint32_t memorySize)
    : m_next(nullptr),
      m_name(name),
      m_store_version(storeVersion),
      m_class_code(classCode),
      m_class_version(classVersion),
      m_fixed_size(2),  // the class code and the object version
      m_memory_size(memorySize),
      m_members(nullptr),
      m_member_count(0),
      m_member_room(0) {}

LDBClassDescriptor::~LDBClassDescriptor() {
    for (uint32_t i = 0; i < m_member_count; ++i) delete m_members[i];
    delete[] m_members;
}

int32_t LDBClassDescriptor::DefineMember(const char* name, uint16_t type, LDBMemberPlace place) {
    if (FindMember(name) != nullptr)
        return NYX_INTERNAL_ERROR("Duplicate member descriptor name", kSourcePath);

    if (m_member_count == m_member_room) {
        uint32_t room = m_member_room == 0 ? 8 : m_member_room * 2;
        LDBMemberDescriptor** grown = new (std::nothrow) LDBMemberDescriptor*[room];
        if (grown == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
        for (uint32_t i = 0; i < m_member_count; ++i) grown[i] = m_members[i];
        delete[] m_members;
        m_members = grown;
        m_member_room = room;
    }

    uint32_t diskSize = LDBMemberDiskSize(type, m_store_version);
    uint32_t memorySize =
        m_store_version == LDB_LAYOUT_VERSION_CURRENT ? LDBMemberMemorySize(type) : 0;
    LDBMemberDescriptor* member = new (std::nothrow)
        LDBMemberDescriptor(this, name, type, diskSize, m_fixed_size, memorySize, place);
    if (member == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    m_members[m_member_count++] = member;
    m_fixed_size += diskSize;
    return 0;
}

const LDBMemberDescriptor* LDBClassDescriptor::MemberAt(uint32_t index) const {
    return index < m_member_count ? m_members[index] : nullptr;
}

const LDBMemberDescriptor* LDBClassDescriptor::FindMember(const char* name) const {
    for (uint32_t i = 0; i < m_member_count; ++i)
        if (std::strcmp(m_members[i]->GetName().c_str(), name) == 0) return m_members[i];
    return nullptr;
}
