#include "srcldb/ldbupgobj.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbupgrade.h"
#include "srcldb/ldbvalue.h"

namespace {

const char kSource[] = "srcldb/ldbupgobj";
// Entries of an object's members table at its start; the largest class has 33 members.
constexpr int32_t kMembersCapacity = 20;

template <class T>
void* MakeValue() {
    return new (std::nothrow) T();
}

// A list or map is reached through its interface, so the pointer handed out must be the
// interface's, whatever class implements it.
template <class Face, class Impl>
void* MakeFace() {
    Face* face = new (std::nothrow) Impl();
    return face;
}

void* MakeValueOfType(uint16_t type) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8: return MakeValue<int8_t>();
        case LDBMemberFamily::kInt16: return MakeValue<int16_t>();
        case LDBMemberFamily::kInt32: return MakeValue<int32_t>();
        case LDBMemberFamily::kUInt8: return MakeValue<uint8_t>();
        case LDBMemberFamily::kUInt16: return MakeValue<uint16_t>();
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime: return MakeValue<uint32_t>();
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: return nullptr;
        case LDBMemberFamily::kFloat: return MakeValue<float>();
        case LDBMemberFamily::kDouble: return MakeValue<double>();
        case LDBMemberFamily::kString: return MakeValue<nyxString>();
        case LDBMemberFamily::kValue: return MakeValue<PDMc_LDBValue>();
        case LDBMemberFamily::kBoolean: return MakeValue<uint8_t>();
        case LDBMemberFamily::kRefArray: return MakeFace<LDBRefArrayRep, LDBRefVector>();
        case LDBMemberFamily::kIdArray: return MakeFace<LDBIdArrayRep, LDBIdVector>();
        case LDBMemberFamily::kRefMap: {
            LDBRefMapRep* map = new (std::nothrow) LDBRefStringTable(LDB_UPGRADE_MAP_CAPACITY);
            return map;
        }
        case LDBMemberFamily::kReference: return MakeValue<PDMc_LDBRef>();
    }
    return nullptr;
}

void DestroyValueOfType(uint16_t type, void* value) {
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8: delete static_cast<int8_t*>(value); break;
        case LDBMemberFamily::kInt16: delete static_cast<int16_t*>(value); break;
        case LDBMemberFamily::kInt32: delete static_cast<int32_t*>(value); break;
        case LDBMemberFamily::kUInt8: delete static_cast<uint8_t*>(value); break;
        case LDBMemberFamily::kUInt16: delete static_cast<uint16_t*>(value); break;
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime: delete static_cast<uint32_t*>(value); break;
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: break;
        case LDBMemberFamily::kFloat: delete static_cast<float*>(value); break;
        case LDBMemberFamily::kDouble: delete static_cast<double*>(value); break;
        case LDBMemberFamily::kString: delete static_cast<nyxString*>(value); break;
        case LDBMemberFamily::kValue: delete static_cast<PDMc_LDBValue*>(value); break;
        case LDBMemberFamily::kBoolean: delete static_cast<uint8_t*>(value); break;
        case LDBMemberFamily::kRefArray: delete static_cast<LDBRefArrayRep*>(value); break;
        case LDBMemberFamily::kIdArray: delete static_cast<LDBIdArrayRep*>(value); break;
        case LDBMemberFamily::kRefMap: delete static_cast<LDBRefMapRep*>(value); break;
        case LDBMemberFamily::kReference: delete static_cast<PDMc_LDBRef*>(value); break;
    }
}

bool IsReferenceType(uint16_t type) { return (type & 0x300) != 0; }

// The fix-ups. Each brings its class from object version 1 to 2 by supplying the members that
// version 2 added; the members that both versions have came from the file already. A step
// that meets another version says so and goes on; its result is the code on the stack.
void StepToVersion2(LDBUpgradeObject& object) {
    object.CheckVersion(1);
    object.SetObjectVersion(2);
}

int32_t AttrsOnly(LDBUpgradeObject& object) {
    StepToVersion2(object);
    object.SetMember("m_attrs", PDMc_LDBRef());
    return nyxErrorCurrentCode();
}

int32_t FixupWS(LDBUpgradeObject& object) {
    StepToVersion2(object);
    object.SetMember("m_is_ws_under_integration", uint8_t(0));
    object.SetMember("m_attrs", PDMc_LDBRef());
    return nyxErrorCurrentCode();
}

int32_t FixupWSPIV(LDBUpgradeObject& object) {
    StepToVersion2(object);
    object.SetMember("m_hold_from_submission", uint8_t(0));
    object.SetMember("m_marked_for_checkin", uint8_t(0));
    object.SetMember("m_ws_status", int32_t(0));
    object.SetMember("m_attrs", PDMc_LDBRef());
    return nyxErrorCurrentCode();
}

int32_t FixupLUF(LDBUpgradeObject& object) {
    StepToVersion2(object);
    object.SetMember("m_description", "");
    object.SetMember("m_attrs", PDMc_LDBRef());
    return nyxErrorCurrentCode();
}

int32_t FixupLF(LDBUpgradeObject& object) {
    StepToVersion2(object);
    object.SetMember("m_modification_stamp", LDBUpgradeDate{0});
    return nyxErrorCurrentCode();
}

const LDBFixup kFixups[] = {
    {LDB_TYPE_ROOT, 1, &AttrsOnly},  {LDB_TYPE_WS, 1, &FixupWS},
    {LDB_TYPE_WSPI, 1, &AttrsOnly},  {LDB_TYPE_WSPIV, 1, &FixupWSPIV},
    {LDB_TYPE_WSD, 1, &AttrsOnly},   {LDB_TYPE_WSGIR, 1, &AttrsOnly},
    {LDB_TYPE_LIL, 1, &AttrsOnly},   {LDB_TYPE_LILV, 1, &AttrsOnly},
    {LDB_TYPE_LUF, 1, &FixupLUF},    {LDB_TYPE_LF, 1, &FixupLF},
    {0, 0, nullptr},
};

}  // namespace

const LDBFixup* LDBFixupTable() { return kFixups; }

LDBUpgradeMember::LDBUpgradeMember(const LDBMemberDescriptor* descriptor)
    : m_descriptor(descriptor), m_value(MakeValueOfType(descriptor->GetType())) {}

LDBUpgradeMember::~LDBUpgradeMember() {
    if (m_value != nullptr) DestroyValueOfType(Type(), m_value);
}

bool LDBUpgradeMember::Valid() const {
    LDBMemberFamily family = LDBMemberFamilyOf(Type());
    return m_value != nullptr || family == LDBMemberFamily::kInt64 ||
           family == LDBMemberFamily::kUInt64;
}

LDBUpgradeObject::LDBUpgradeObject(LDBUpgrader* upgrader, uint32_t sourceAddress)
    : m_upgrader(upgrader), m_class_code(0), m_object_version(0),
      m_source_address(sourceAddress), m_target_address(0),
      m_members(nyxStringHash, kMembersCapacity) {}

LDBUpgradeObject::~LDBUpgradeObject() {
    for (void* entry = m_members.FirstEntry(nullptr); entry != nullptr;
         entry = m_members.FirstEntry(entry))
        delete *static_cast<LDBUpgradeMember**>(m_members.ValueOfEntry(entry));
}

int32_t LDBUpgradeObject::CheckVersion(uint8_t version) {
    if (version == m_object_version) return 0;
    nyxErrorPushInternal("LDBUpgrade CheckVersion object version mismatch", kSource, __LINE__);
    return nyxErrorCurrentCode();
}

const LDBClassDescriptor* LDBUpgradeObject::CurrentDescriptor() const {
    return m_upgrader->Layout().ClassByVersion(m_class_code, m_object_version);
}

LDBUpgradeMember* LDBUpgradeObject::FindMember(const nyxString& name) {
    LDBUpgradeMember** found = m_members.Find(name);
    return found != nullptr ? *found : nullptr;
}

LDBUpgradeMember* LDBUpgradeObject::MemberSlot(const LDBMemberDescriptor& member) {
    if (LDBUpgradeMember* entry = FindMember(member.GetName())) {
        if (entry->Type() == member.GetType()) return entry;
        // A value of another type gives way only to a newer class's view of the member.
        if (member.GetOwner()->GetClassVersion() <=
            entry->Descriptor()->GetOwner()->GetClassVersion())
            return nullptr;
        m_members.RemoveKey(&member.GetName(), 1);
        delete entry;
    }
    LDBUpgradeMember* entry = new (std::nothrow) LDBUpgradeMember(&member);
    if (entry == nullptr || !entry->Valid() || !m_members.Put(member.GetName(), entry)) {
        delete entry;
        return nullptr;
    }
    return entry;
}

template <class Fits>
LDBUpgradeMember* LDBUpgradeObject::SlotToSet(const char* name, Fits fits, int line) {
    const LDBClassDescriptor* descriptor = CurrentDescriptor();
    const LDBMemberDescriptor* member =
        descriptor != nullptr ? descriptor->FindMember(name) : nullptr;
    LDBUpgradeMember* slot =
        member != nullptr && fits(member->GetType()) ? MemberSlot(*member) : nullptr;
    if (slot == nullptr)
        nyxErrorPushInternal("LDBUpgrade: SetMember unknown member", kSource, line);
    return slot;
}

int32_t LDBUpgradeObject::SetMember(const char* name, int32_t value) {
    LDBUpgradeMember* slot = SlotToSet(
        name, [](uint16_t type) { return type == LDB_MEMBER_INT32 || type == LDB_MEMBER_UINT32; },
        __LINE__);
    if (slot == nullptr) return nyxErrorCurrentCode();
    if (slot->Type() == LDB_MEMBER_INT32)
        *static_cast<int32_t*>(slot->Value()) = value;
    else
        *static_cast<uint32_t*>(slot->Value()) = static_cast<uint32_t>(value);
    return 0;
}

int32_t LDBUpgradeObject::SetMember(const char* name, uint8_t value) {
    LDBUpgradeMember* slot = SlotToSet(
        name,
        [](uint16_t type) {
            return type == LDB_MEMBER_INT8 || type == LDB_MEMBER_UINT8 ||
                   type == LDB_MEMBER_BOOLEAN;
        },
        __LINE__);
    if (slot == nullptr) return nyxErrorCurrentCode();
    switch (slot->Type()) {
        case LDB_MEMBER_INT8: *static_cast<int8_t*>(slot->Value()) = int8_t(value); break;
        default: *static_cast<uint8_t*>(slot->Value()) = value; break;
    }
    return 0;
}

int32_t LDBUpgradeObject::SetMember(const char* name, const char* value) {
    LDBUpgradeMember* slot =
        SlotToSet(name, [](uint16_t type) { return type == LDB_MEMBER_STRING; }, __LINE__);
    if (slot == nullptr) return nyxErrorCurrentCode();
    *static_cast<nyxString*>(slot->Value()) = value != nullptr ? value : "";
    return 0;
}

int32_t LDBUpgradeObject::SetMember(const char* name, LDBUpgradeDate value) {
    LDBUpgradeMember* slot =
        SlotToSet(name, [](uint16_t type) { return type == LDB_MEMBER_DATETIME; }, __LINE__);
    if (slot == nullptr) return nyxErrorCurrentCode();
    *static_cast<uint32_t*>(slot->Value()) = value.seconds;
    return 0;
}

int32_t LDBUpgradeObject::SetMember(const char* name, const PDMc_LDBRef& value) {
    LDBUpgradeMember* slot = SlotToSet(name, &IsReferenceType, __LINE__);
    if (slot == nullptr) return nyxErrorCurrentCode();
    *static_cast<PDMc_LDBRef*>(slot->Value()) = value;
    return 0;
}

int32_t LDBUpgradeObject::ApplyFixups() {
    // One step at a time: a chain of upgrades runs by finding the row for each new version.
    for (;;) {
        const LDBFixup* row = kFixups;
        while (row->classCode != 0 &&
               (row->classCode != m_class_code || row->objectVersion != m_object_version))
            ++row;
        if (row->classCode == 0) return 0;
        const uint8_t before = m_object_version;
        if (int32_t rc = row->operation(*this)) return rc;
        // A step that doesn't raise the version would find its own row again for ever.
        if (m_object_version <= before) return 0;
    }
}
