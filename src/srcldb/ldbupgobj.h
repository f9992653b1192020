// One object on its way from an older file to the current format. Its members travel as named
// values, not as fields: a member is found by its name at both ends, so a member that was added
// or that moved within the record keeps its value. No persistent object is made for it.
//
// The object is read by the descriptor of its old class version, brought to the current class
// version by the fix-ups (which supply what the newer class has and the older one hasn't), and
// written by the current descriptor. Reading and writing are the upgrader's (ldbupgrade.h).
#pragma once

#include <cstdint>

#include "collections/nyxhash.h"
#include "nyxstring.h"
#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbref.h"
#include "srcldb/ldbstgdesc.h"

class LDBStorageLayout;
class LDBUpgrader;

// Capacity of the table that a stored map is read into.
constexpr uint32_t LDB_UPGRADE_MAP_CAPACITY = 256;

// One member's value, held in the in-memory kind of its member type, so that the ordinary
// member readers and writers can fill and write it. The value starts empty: zero, an empty
// text, list or map, a null reference. The 64-bit types get no value, as they are never stored.
class LDBUpgradeMember {
public:
    explicit LDBUpgradeMember(const LDBMemberDescriptor* descriptor);
    ~LDBUpgradeMember();
    LDBUpgradeMember(const LDBUpgradeMember&) = delete;
    LDBUpgradeMember& operator=(const LDBUpgradeMember&) = delete;

    // False when the value's memory couldn't be had; such a member is only destroyed.
    bool Valid() const;
    const LDBMemberDescriptor* Descriptor() const { return m_descriptor; }
    uint16_t Type() const { return m_descriptor->GetType(); }
    // The value, of the type LDBMemberFieldType of Type(); null for the 64-bit types. A map is
    // an LDBRefStringTable behind its LDBRefMapRep face.
    void* Value() const { return m_value; }

private:
    const LDBMemberDescriptor* m_descriptor;
    void* m_value;
};

// The date and time form of SetMember, told apart from the integer form by its type.
struct LDBUpgradeDate {
    uint32_t seconds;
};

class LDBUpgradeObject {
public:
    LDBUpgradeObject(LDBUpgrader* upgrader, uint32_t sourceAddress);
    ~LDBUpgradeObject();
    LDBUpgradeObject(const LDBUpgradeObject&) = delete;
    LDBUpgradeObject& operator=(const LDBUpgradeObject&) = delete;

    // 0 when the object is at version; otherwise reports the mismatch and gives its code. A
    // fix-up goes on after a mismatch, and ends with the code on the stack.
    int32_t CheckVersion(uint8_t version);
    // The descriptor of the object's class code and present object version, or null.
    const LDBClassDescriptor* CurrentDescriptor() const;
    // The value's place for member, made if need be. An entry of the same name and another type
    // gives way only to a member of a newer class version; otherwise the result is null, as it
    // is when no memory can be had.
    LDBUpgradeMember* MemberSlot(const LDBMemberDescriptor& member);
    // The entry of that name, or null.
    LDBUpgradeMember* FindMember(const nyxString& name);

    // Set a member of the current class version by name. Each form fits some member types:
    // the integer form 3 and 7, the byte form 1, 5 and 19, the string form 16, the date form 17,
    // the reference form any reference type. A name that the class hasn't got, or a form that
    // doesn't fit, is reported. 0 or the code.
    int32_t SetMember(const char* name, int32_t value);
    int32_t SetMember(const char* name, uint8_t value);
    int32_t SetMember(const char* name, const char* value);
    int32_t SetMember(const char* name, LDBUpgradeDate value);
    int32_t SetMember(const char* name, const PDMc_LDBRef& value);

    // Runs the fix-ups for the class code and object version, one step after another, until no
    // row matches. 0 or the code of the first step that failed.
    int32_t ApplyFixups();

    LDBUpgrader* Upgrader() const { return m_upgrader; }
    uint8_t ClassCode() const { return m_class_code; }
    uint8_t ObjectVersion() const { return m_object_version; }
    void SetHead(uint8_t classCode, uint8_t objectVersion) {
        m_class_code = classCode;
        m_object_version = objectVersion;
    }
    void SetObjectVersion(uint8_t version) { m_object_version = version; }
    uint32_t SourceAddress() const { return m_source_address; }
    uint32_t TargetAddress() const { return m_target_address; }
    void SetTargetAddress(uint32_t address) { m_target_address = address; }

private:
    // The slot of the current class's member of that name if its type passes fits; reports the
    // refusal otherwise.
    template <class Fits>
    LDBUpgradeMember* SlotToSet(const char* name, Fits fits, int line);

    LDBUpgrader* m_upgrader;
    uint8_t m_class_code;
    uint8_t m_object_version;
    uint32_t m_source_address;
    uint32_t m_target_address;
    nyxHashMapOf<nyxString, LDBUpgradeMember*> m_members;  // owned entries, by member name
};

// A row of the fix-up table: what brings an object of a class code at an object version one
// version up. The table ends with a row of class code 0.
struct LDBFixup {
    uint8_t classCode;
    uint8_t objectVersion;
    int32_t (*operation)(LDBUpgradeObject& object);
};

// The table, in class code order.
const LDBFixup* LDBFixupTable();
