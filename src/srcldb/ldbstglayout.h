// LDBStorageLayout: the descriptors of all stored classes for all store versions that can be
// read. 256 buckets indexed by class code, each a chain sorted by descending store version, so
// the head of a bucket is the newest layout of its class. Filled once by the schema, read-only
// afterwards; it owns its descriptors.
#pragma once

#include <cstdint>

#include "srcldb/ldbstgdesc.h"

class LDBStorageLayout {
public:
    static constexpr uint32_t kBucketCount = 256;

    LDBStorageLayout();
    ~LDBStorageLayout();
    LDBStorageLayout(const LDBStorageLayout&) = delete;
    LDBStorageLayout& operator=(const LDBStorageLayout&) = delete;

    // Adds an empty class row. Refuses a name already used by another class code, and a class
    // code and version that are already described. 0 or the code pushed.
    int32_t DefineClass(uint32_t storeVersion, const char* name, uint8_t classCode,
                        uint8_t classVersion, uint32_t memorySize);
    // Appends a member to the class's row at that store version. 0 or the code pushed.
    int32_t DefineMember(uint32_t storeVersion, const char* className, const char* memberName,
                         uint16_t type, LDBMemberPlace place);

    // The newest descriptor of the class of that name, or null; compares the head of each
    // bucket, case-sensitively. For building the schema, not for loading.
    LDBClassDescriptor* FindClassByName(const char* name) const;
    // The descriptor that objects of the code are loaded and stored by; null when the class
    // exists only in older versions.
    LDBClassDescriptor* CurrentClass(uint8_t classCode) const {
        LDBClassDescriptor* head = m_buckets[classCode];
        return head != nullptr && head->GetStoreVersion() == LDB_LAYOUT_VERSION_CURRENT ? head
                                                                                         : nullptr;
    }
    // The newest descriptor of the code with this class version, or null.
    LDBClassDescriptor* ClassByVersion(uint8_t classCode, uint8_t classVersion) const;
    // The first descriptor of the code's chain, whatever its store version, for walks.
    LDBClassDescriptor* BucketHead(uint8_t classCode) const { return m_buckets[classCode]; }

private:
    LDBClassDescriptor* m_buckets[kBucketCount];
};
