#include "srcldb/ldbupgrade.h"

#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbcodec.h"
#include "srcldb/ldbcursorimpl.h"
#include "srcldb/ldbheader.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"
#include "srcldb/ldbupgobj.h"
#include "srcldb/ldbvalue.h"

namespace {

const char kSource[] = "srcldb/ldbupgrade";
constexpr int32_t kAddressMapSize = 100000;
// The code with which an older file's header is refused; the only one the upgrade goes on from.
constexpr int32_t kOlderFile = 2416;
// A rewritten object is at most five thirds of its old size (an array object grows from 6 to
// 10 bytes) and its blocks keep their size, so twice the old top always holds the new store.
constexpr uint32_t kRoomFactor = 2;
// The file reaches twice the room while the shadow is being written, and file positions are
// signed 32-bit.
constexpr uint32_t kLargestTop = 0x7FFFFFFFu / (2 * kRoomFactor);

bool IsReferenceType(uint32_t type) { return type >= 0x100 && type <= 0x3FF; }

// The member types that an upgrade reads and writes; any other is refused, also where the
// ordinary readers would take it for a reference.
bool IsKnownType(uint32_t type) {
    switch (type) {
        case LDB_MEMBER_INT8: case LDB_MEMBER_INT16: case LDB_MEMBER_INT32:
        case LDB_MEMBER_INT64: case LDB_MEMBER_UINT8: case LDB_MEMBER_UINT16:
        case LDB_MEMBER_UINT32: case LDB_MEMBER_UINT64: case LDB_MEMBER_FLOAT:
        case LDB_MEMBER_DOUBLE: case LDB_MEMBER_STRING: case LDB_MEMBER_DATETIME:
        case LDB_MEMBER_VALUE: case LDB_MEMBER_BOOLEAN: case LDB_MEMBER_REF_ARRAY:
        case LDB_MEMBER_REF_MAP: case LDB_MEMBER_ID_ARRAY:
            return true;
        default:
            return IsReferenceType(type);
    }
}

}  // namespace

// One object of the walk: its values, and how far the writing of its members has come.
class LDBUpgradeFrame {
public:
    LDBUpgradeFrame(LDBUpgrader* upgrader, uint32_t source) : object(upgrader, source) {}

    LDBUpgradeObject object;
    uint32_t member = 0;              // index of the member being stored
    LDBUpgradeMember* slot = nullptr; // its value, once its checks have passed
    uint32_t next_ref = 0;            // references of the member handed out so far
    void* map_entry = nullptr;        // for a map: the entry last handed out
    PDMc_LDBRef* waiting = nullptr;   // the reference whose target is being rewritten
    PDMc_LDBRef scratch;              // an attribute value's reference while it is followed
    uint32_t write_at = 0;            // where the member goes in the target record
};

int32_t LDBUpgradeDatabase(const nyxString& path, const LDBStorageLayout& layout,
                           PDMc_LDB* connection) {
    LDBStore* store = new (std::nothrow) LDBStore(connection, path);
    if (store == nullptr || !store->Valid()) {
        delete store;
        return NYX_INTERNAL_ERROR("LDBUpgrade: out of memory", kSource);
    }
    store->SetLayout(&layout);
    int32_t rc;
    {
        LDBUpgrader upgrader(store, layout);
        rc = upgrader.Upgrade();
    }
    delete store;
    return rc;
}

LDBUpgrader::LDBUpgrader(LDBStore* source, const LDBStorageLayout& layout)
    : m_source(source), m_target(nullptr), m_layout(layout),
      m_address_map(nyxWordHash, kAddressMapSize), m_target_cursor(nullptr), m_room(0),
      m_loaded_bytes(0), m_load_limit(0) {}

LDBUpgrader::~LDBUpgrader() { DropWalk(); }

int32_t LDBUpgrader::Upgrade() {
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (m_source->InTransaction()) return nyxErrorReport(2402, m_source->Path());

    LDBStorageFile& file = m_source->File();
    if (file.Open() != 0) return nyxErrorCurrentCode();
    LDBHeader header;
    // A marked file is repaired first. A current file ends here with nothing to do, a newer
    // one with 2404.
    if (m_source->ReadHeader(header, true) != kOlderFile) {
        file.Close();
        return nyxErrorCurrentCode();
    }
    nyxErrorClear();
    // Held as a transaction holds it, without the cache work of StartTransaction.
    m_source->SetInTransaction(true);
    m_source->TakeFromHeader(header);
    Rewrite();
    m_source->SetInTransaction(false);
    file.Close();
    DropWalk();
    return nyxErrorCurrentCode();
}

int32_t LDBUpgrader::Rewrite() {
    const uint32_t top = m_source->Top();
    if (top < LDB_HEADER_SIZE || top > kLargestTop)
        return NYX_INTERNAL_ERROR("LDBUpgrade: no room for the new store", kSource);
    // A header that names a top beyond the end of the file belongs to a damaged file; the
    // room made for the shadow below would hide that, and the way back couldn't restore it.
    uint8_t last = 0;
    if (top > LDB_HEADER_SIZE && m_source->ReadDevice(top - 1, &last, 1) != 0)
        return nyxErrorCurrentCode();
    const uint32_t room = kRoomFactor * top;
    if (MoveShadowOut(room) != 0) {
        GiveBackRoom(top);
        return nyxErrorCurrentCode();
    }
    // The shadow goes to the new top; the walk reads no further than the old one.
    m_source->SetTop(room);
    m_target = m_source->MakeShadow();
    m_source->SetTop(top);
    if (m_target == nullptr) {
        GiveBackRoom(top);
        return nyxErrorCurrentCode();
    }
    m_room = room;
    m_load_limit = top;
    m_loaded_bytes = 0;
    m_target_cursor = new (std::nothrow) LDBPoolCursor(m_target);
    if (m_target_cursor == nullptr)
        nyxErrorPushInternal("LDBUpgrade: out of memory", kSource, __LINE__);

    // A file that never stored a root has nothing to walk; its first connect makes one.
    const uint32_t root = m_source->RootAddress();
    uint32_t newRoot = 0;
    if (nyxErrorStackEmpty() && root != 0) UpgradeFrom(root, newRoot);

    LDBStore* target = m_target;
    DropWalk();
    if (!nyxErrorStackEmpty()) {
        // The old header goes back before the tail is cut: a header naming a top beyond the
        // end of the file couldn't be read again. If it can't be put back, the file keeps its
        // room, and is still an old store that upgrades.
        if (RestoreTop(top) != 0) m_source->SetTop(room);
        m_source->AbortShadow(target);
        m_source->SetTop(top);
        return nyxErrorCurrentCode();
    }
    target->SetRootAddress(newRoot);
    m_source->SetTop(room);
    return m_source->CommitShadow(target);
}

int32_t LDBUpgrader::MoveShadowOut(uint32_t room) {
    LDBHeader header;
    if (int32_t rc = m_source->ReadRawHeader(header)) return rc;
    LDBStorageFile& file = m_source->File();
    // The file must reach the new top on the device before the header names it, or a crash
    // between them would leave a header whose store can't be read to its end.
    if (int32_t rc = file.Truncate(m_source->BaseOffset() + room)) return rc;
    if (int32_t rc = file.Flush()) return rc;
    header.m_top = room;
    if (int32_t rc = m_source->WriteHeader(header)) return rc;
    return file.Flush();
}

int32_t LDBUpgrader::RestoreTop(uint32_t top) {
    LDBHeader header;
    // Written whatever stands on the stack: this undoes a change of the job's own.
    int32_t rc = m_source->ReadRawHeader(header);
    if (rc == 0 && header.m_top == top) return 0;
    if (rc == 0) {
        header.m_top = top;
        rc = m_source->WriteHeader(header);
    }
    if (rc == 0) rc = m_source->File().Flush();
    return rc;
}

void LDBUpgrader::GiveBackRoom(uint32_t top) {
    // The header first: a header naming a top beyond the end of the file couldn't be read.
    if (RestoreTop(top) == 0) m_source->File().Truncate(m_source->BaseOffset() + top);
}

void LDBUpgrader::DropWalk() {
    for (uint32_t i = 0; i < m_path.GetCount(); ++i) delete *m_path.At(i);
    m_path.Clear();
    delete m_target_cursor;
    m_target_cursor = nullptr;
    m_target = nullptr;
    m_address_map.Clear();
}

int32_t LDBUpgrader::UpgradeFrom(uint32_t source, uint32_t& target) {
    if (const uint32_t* found = m_address_map.Find(source)) {
        target = *found;
        return 0;
    }
    if (int32_t rc = BeginObject(source)) return rc;
    // The recursion of the walk on an explicit stack. Each object is loaded, fixed up and
    // placed when first met; its members are written in order, each once all the objects it
    // refers to have their addresses, which the walk gives them by going down first.
    while (m_path.GetCount() > 0) {
        LDBUpgradeFrame& frame = **m_path.At(m_path.GetCount() - 1);
        const LDBClassDescriptor* descriptor = frame.object.CurrentDescriptor();
        if (frame.member < descriptor->MemberCount()) {
            const LDBMemberDescriptor& member = *descriptor->MemberAt(frame.member);
            if (frame.slot == nullptr) {
                if (int32_t rc = BeginStoreMember(frame, member)) return rc;
            }
            PDMc_LDBRef* reference;
            while ((reference = NextReference(frame)) != nullptr) {
                frame.waiting = reference;
                const uint32_t* found = m_address_map.Find(reference->GetKey());
                if (found == nullptr) break;
                FinishReference(frame, *found);
            }
            if (reference != nullptr) {
                if (int32_t rc = BeginObject(reference->GetKey())) return rc;
                continue;
            }
            if (int32_t rc = WriteMember(frame, member)) return rc;
            ++frame.member;
            frame.slot = nullptr;
            continue;
        }
        const uint32_t done = frame.object.TargetAddress();
        delete &frame;
        m_path.RemoveLast();
        if (m_path.GetCount() == 0)
            target = done;
        else
            FinishReference(**m_path.At(m_path.GetCount() - 1), done);
    }
    return 0;
}

int32_t LDBUpgrader::BeginObject(uint32_t source) {
    LDBUpgradeFrame* frame = new (std::nothrow) LDBUpgradeFrame(this, source);
    if (frame == nullptr) return NYX_INTERNAL_ERROR("LDBUpgrade: out of memory", kSource);
    int32_t rc = LoadObject(frame->object);
    if (rc == 0) rc = frame->object.ApplyFixups();
    if (rc == 0) rc = AllocateObject(frame->object);
    if (rc == 0) rc = StoreHead(frame->object);
    if (rc == 0 && !m_path.InsertLast(&frame))
        rc = NYX_INTERNAL_ERROR("LDBUpgrade: out of memory", kSource);
    if (rc != 0) {
        delete frame;
        return rc;
    }
    frame->write_at = frame->object.TargetAddress() + 2;
    return 0;
}

int32_t LDBUpgrader::LoadObject(LDBUpgradeObject& object) {
    LDBPoolCursor cursor(m_source, object.SourceAddress());
    uint8_t head[2];
    if (int32_t rc = cursor.ReadBytes(head, sizeof head)) return rc;
    uint8_t version = head[1];
    // In a file of the old format a version byte of 2 still means the old layout.
    if (m_source->Version() == LDB_OLD_VERSION && version == 2) version = 1;
    object.SetHead(head[0], version);
    const LDBClassDescriptor* descriptor = object.CurrentDescriptor();
    if (descriptor == nullptr)
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadObject: unknown object type", kSource);
    LDBMemberReader reader(cursor, m_source, m_source->Version());
    for (uint32_t i = 0; i < descriptor->MemberCount(); ++i) {
        if (int32_t rc = LoadMember(object, *descriptor->MemberAt(i), reader, cursor)) return rc;
    }
    return 0;
}

int32_t LDBUpgrader::LoadMember(LDBUpgradeObject& object, const LDBMemberDescriptor& member,
                                LDBMemberReader& reader, LDBPoolCursor& cursor) {
    LDBUpgradeMember* slot = object.MemberSlot(member);
    if (slot == nullptr)
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadMember: cannot find member", kSource);
    const uint16_t type = member.GetType();
    if (type == LDB_MEMBER_INT64)
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadMember: INT64 unimplemented", kSource);
    if (type == LDB_MEMBER_UINT64)
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadMember: UINT64 unimplemented", kSource);
    if (!IsKnownType(type))
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadMember: unknown member type", kSource);
    if (type == LDB_MEMBER_REF_MAP) {
        if (int32_t rc = CheckMapSize(cursor.GetAddress())) return rc;
    }
    // The ordinary reader knows by the file's version how wide a boolean is and whether a list
    // has its count word.
    if (int32_t rc = reader.ReadField(type, slot->Value())) return rc;
    // Each block has one owner, so all that the objects of a whole file hold fits in it; more
    // means blocks shared by a damaged file, which would multiply in the copy.
    m_loaded_bytes += LDBMemberWriter::BlockSpace(type, slot->Value());
    if (m_loaded_bytes > m_load_limit)
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadMember: more data than the file holds", kSource);
    return 0;
}

int32_t LDBUpgrader::CheckMapSize(uint32_t memberAddress) {
    // Every key of a map is read before the map is counted, and keys of a damaged file may
    // overlap each other: the key blocks' sizes are summed from their headers first. Whatever
    // else is wrong with the map is left for the reader to report.
    LDBPoolCursor cursor(m_source, memberAddress + 4);
    uint32_t address = 0;
    if (int32_t rc = cursor.ReadU32(address)) return rc;
    uint8_t bytes[4] = {0, 0, 0, 0};
    uint8_t tag = 0;
    if (address == 0 || !cursor.HoldsRange(address, 2)) return 0;
    cursor.SetAddress(address);
    if (int32_t rc = cursor.ReadU8(tag)) return rc;
    uint32_t width = LDBBlockCountWidth(tag);
    if (width == 0 || !cursor.HoldsRange(address + 1, width)) return 0;
    if (int32_t rc = cursor.ReadBytes(bytes, width)) return rc;
    const uint32_t entries = LDBDecodeU32(bytes) / 2;
    // The limit is far below 4 GiB, so a size under it doesn't wrap.
    if (uint64_t(entries) * 8 > m_load_limit ||
        !cursor.HoldsRange(cursor.GetAddress(), entries * 8))
        return 0;
    uint64_t total = m_loaded_bytes + 1 + width + uint64_t(entries) * 8;
    for (uint32_t i = 0; i < entries && total <= m_load_limit; ++i) {
        uint32_t key = 0;
        if (int32_t rc = cursor.ReadU32(key)) return rc;
        const uint32_t next = cursor.GetAddress() + 4;
        if (key != 0 && cursor.HoldsRange(key, 2)) {
            cursor.SetAddress(key);
            if (int32_t rc = cursor.ReadU8(tag)) return rc;
            width = LDBBlockCountWidth(tag);
            bytes[1] = bytes[2] = bytes[3] = 0;
            if (width != 0 && cursor.HoldsRange(key + 1, width)) {
                if (int32_t rc = cursor.ReadBytes(bytes, width)) return rc;
                total += 1 + width + uint64_t(LDBDecodeU32(bytes));
            }
        }
        cursor.SetAddress(next);
    }
    if (total > m_load_limit)
        return NYX_INTERNAL_ERROR("LDBUpgrade LoadMember: more data than the file holds", kSource);
    return 0;
}

int32_t LDBUpgrader::AllocateObject(LDBUpgradeObject& object) {
    const LDBClassDescriptor* descriptor = object.CurrentDescriptor();
    if (descriptor == nullptr)
        return NYX_INTERNAL_ERROR("LDBUpgrade AllocateObject: unknown object type", kSource);
    // The fix-ups should have brought the object to the current class version.
    if (descriptor != m_layout.CurrentClass(object.ClassCode()))
        return NYX_INTERNAL_ERROR("LDBUpgrade AllocateObject: version not current", kSource);
    uint32_t address = 0;
    if (m_target->Allocate(descriptor->GetFixedSize(), address) != 0 || address == 0)
        return NYX_INTERNAL_ERROR("LDBUpgrade AllocateObject: allocation failed", kSource);
    if (m_target->Top() > m_room)
        return NYX_INTERNAL_ERROR("LDBUpgrade AllocateObject: more than the file can hold",
                                  kSource);
    object.SetTargetAddress(address);
    // Entered before any reference is followed: that is what makes cycles end.
    if (!m_address_map.Put(object.SourceAddress(), address))
        return NYX_INTERNAL_ERROR("LDBUpgrade: out of memory", kSource);
    return 0;
}

int32_t LDBUpgrader::StoreHead(LDBUpgradeObject& object) {
    if (object.CurrentDescriptor() == nullptr)
        return NYX_INTERNAL_ERROR("LDBUpgrade StoreObject: unknown object type", kSource);
    LDBPoolCursor& cursor = *m_target_cursor;
    cursor.SetAddress(object.TargetAddress());
    if (int32_t rc = cursor.WriteU8(object.ClassCode())) return rc;
    return cursor.WriteU8(object.ObjectVersion());
}

int32_t LDBUpgrader::BeginStoreMember(LDBUpgradeFrame& frame, const LDBMemberDescriptor& member) {
    LDBUpgradeMember* entry = frame.object.FindMember(member.GetName());
    const uint16_t type = member.GetType();
    if (entry == nullptr || entry->Type() != type)
        return NYX_INTERNAL_ERROR("LDBUpgrade StoreMember: cannot find member", kSource);
    if (type == LDB_MEMBER_INT64)
        return NYX_INTERNAL_ERROR("LDBUpgrade StoreMember: INT64 unimplemented", kSource);
    if (type == LDB_MEMBER_UINT64)
        return NYX_INTERNAL_ERROR("LDBUpgrade StoreMember: UINT64 unimplemented", kSource);
    if (!IsKnownType(type))
        return NYX_INTERNAL_ERROR("LDBUpgrade StoreMember: unknown member type", kSource);
    frame.slot = entry;
    frame.next_ref = 0;
    frame.map_entry = nullptr;
    frame.waiting = nullptr;
    return 0;
}

PDMc_LDBRef* LDBUpgrader::NextReference(LDBUpgradeFrame& frame) {
    void* value = frame.slot->Value();
    const uint16_t type = frame.slot->Type();
    for (;;) {
        PDMc_LDBRef* reference = nullptr;
        if (IsReferenceType(type)) {
            if (frame.next_ref++ > 0) return nullptr;
            reference = static_cast<PDMc_LDBRef*>(value);
        } else if (type == LDB_MEMBER_VALUE) {
            const PDMc_LDBValue& held = *static_cast<PDMc_LDBValue*>(value);
            if (frame.next_ref++ > 0 || held.GetKind() != PDMc_LDBValue::kObject) return nullptr;
            // The value hands its reference out only as a copy; it gets the new one back.
            frame.scratch = held.GetReference();
            reference = &frame.scratch;
        } else if (type == LDB_MEMBER_REF_ARRAY) {
            LDBRefArrayRep& array = *static_cast<LDBRefArrayRep*>(value);
            if (frame.next_ref >= array.Count()) return nullptr;
            reference = &array.At(frame.next_ref++);
        } else if (type == LDB_MEMBER_REF_MAP) {
            // Values are changed in place; the table's entries stay where they are.
            LDBRefHashTable& table =
                static_cast<LDBRefStringTable*>(static_cast<LDBRefMapRep*>(value))->Table();
            if (frame.next_ref++ > 0 && frame.map_entry == nullptr) return nullptr;
            frame.map_entry = table.FirstEntry(frame.map_entry);
            if (frame.map_entry == nullptr) return nullptr;
            reference = static_cast<PDMc_LDBRef*>(table.ValueOfEntry(frame.map_entry));
        } else {
            return nullptr;
        }
        if (!reference->IsNull()) return reference;
    }
}

void LDBUpgrader::FinishReference(LDBUpgradeFrame& frame, uint32_t target) {
    frame.waiting->Set(m_target, target);
    if (frame.waiting == &frame.scratch)
        static_cast<PDMc_LDBValue*>(frame.slot->Value())->SetReference(frame.scratch);
    frame.waiting = nullptr;
}

int32_t LDBUpgrader::WriteMember(LDBUpgradeFrame& frame, const LDBMemberDescriptor& member) {
    LDBPoolCursor& cursor = *m_target_cursor;
    cursor.SetAddress(frame.write_at);
    // The ordinary writer: booleans in one byte, lists with their count word, blocks at the
    // target's top.
    LDBMemberWriter writer(cursor);
    if (int32_t rc = writer.WriteField(member.GetType(), frame.slot->Value())) return rc;
    frame.write_at = cursor.GetAddress();
    if (m_target->Top() > m_room)
        return NYX_INTERNAL_ERROR("LDBUpgrade StoreMember: more than the file can hold", kSource);
    return 0;
}
