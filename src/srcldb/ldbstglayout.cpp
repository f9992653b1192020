#include "srcldb/ldbstglayout.h"

#include <cstring>
#include <new>

#include "errors/nyxerror.h"

namespace {
const char kSourcePath[] = "srcldb/ldbstglayout";
}

LDBStorageLayout::LDBStorageLayout() {
    for (LDBClassDescriptor*& head : m_buckets) head = nullptr;
}

LDBStorageLayout::~LDBStorageLayout() {
    for (LDBClassDescriptor* head : m_buckets) {
        while (head != nullptr) {
            LDBClassDescriptor* next = head->GetNext();
            delete head;
            head = next;
        }
    }
}

int32_t LDBStorageLayout::DefineClass(uint32_t storeVersion, const char* name,
                                      uint8_t classCode, uint8_t classVersion,
                                      uint32_t memorySize) {
    LDBClassDescriptor* named = FindClassByName(name);
    if (named != nullptr && named->GetClassCode() != classCode)
        return NYX_INTERNAL_ERROR("Duplicate class descriptor name", kSourcePath);
    if (ClassByVersion(classCode, classVersion) != nullptr)
        return NYX_INTERNAL_ERROR("Duplicate class descriptor type/version", kSourcePath);

    LDBClassDescriptor* added = new (std::nothrow)
        LDBClassDescriptor(name, storeVersion, classCode, classVersion, memorySize);
    if (added == nullptr) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);

    LDBClassDescriptor*& head = m_buckets[classCode];
    if (head == nullptr || head->GetStoreVersion() < storeVersion) {
        added->SetNext(head);
        head = added;
        return 0;
    }
    // Behind the last entry whose store version is at least the new one's.
    LDBClassDescriptor* behind = head;
    while (behind->GetNext() != nullptr && behind->GetNext()->GetStoreVersion() >= storeVersion)
        behind = behind->GetNext();
    added->SetNext(behind->GetNext());
    behind->SetNext(added);
    return 0;
}

int32_t LDBStorageLayout::DefineMember(uint32_t storeVersion, const char* className,
                                       const char* memberName, uint16_t type,
                                       LDBMemberPlace place) {
    LDBClassDescriptor* row = FindClassByName(className);
    while (row != nullptr && row->GetStoreVersion() != storeVersion) row = row->GetNext();
    if (row == nullptr)
        return NYX_INTERNAL_ERROR("Undefined class descriptor for member", kSourcePath);
    return row->DefineMember(memberName, type, place);
}

LDBClassDescriptor* LDBStorageLayout::FindClassByName(const char* name) const {
    for (LDBClassDescriptor* head : m_buckets)
        if (head != nullptr && std::strcmp(head->GetName().c_str(), name) == 0) return head;
    return nullptr;
}

LDBClassDescriptor* LDBStorageLayout::ClassByVersion(uint8_t classCode,
                                                     uint8_t classVersion) const {
    for (LDBClassDescriptor* row = m_buckets[classCode]; row != nullptr; row = row->GetNext())
        if (row->GetClassVersion() == classVersion) return row;
    return nullptr;
}
