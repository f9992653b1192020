#include "srcldb/ldbcompact.h"

#include <cstdlib>
#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbcodec.h"
#include "srcldb/ldbcursorimpl.h"
#include "srcldb/ldbheader.h"
#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbobject.h"
#include "srcldb/ldbstgdesc.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"

namespace {

const char kSource[] = "srcldb/ldbcompact";
constexpr uint8_t kFirstClassCode = 64;
constexpr uint8_t kBlockFormBits = 0x30;
// The kinds of an attribute value that hold an address: a string's block, an object.
constexpr uint8_t kValueString = 4;
constexpr uint8_t kValueObject = 8;

// References that point across the model, from a record to something that the walk reaches
// anyway by a shorter road. Following them where they stand would put their targets next to
// the wrong neighbours and make the walk deep; they wait in the root's list instead, unless
// their target has been copied already.
struct DeferredReference {
    uint8_t classCode;
    uint32_t memberIndex;
};
const DeferredReference kDeferred[] = {
    {LDB_TYPE_WSD, 1},     // m_child_pi
    {LDB_TYPE_WSPIV, 23},  // m_creating_frame
    {LDB_TYPE_WSPIV, 27},  // m_instances_creating_frame
    {LDB_TYPE_WSGIR, 1},   // m_generic_wspi
    {LDB_TYPE_WSGIR, 3},   // m_instance_wspi
    {LDB_TYPE_LILV, 10},   // m_creating_frame
    {LDB_TYPE_LUFI, 0},    // m_creating_frame
    {LDB_TYPE_LUFLI, 0},   // m_creating_frame
};

// Bytes of one element of a block by its kind; addresses (kind 7) are handled apart.
uint32_t ElementWidth(uint8_t kind) {
    switch (kind) {
        case 1: return 1;
        case 2: return 2;
        case 3: return 4;
        case 5:
        case 6: return 8;
        default: return 0;  // nothing to skip
    }
}

// Grows a plain array of trivially copyable elements; false when memory ran out.
template <class T>
bool Grow(T*& items, uint32_t& room, uint32_t needed) {
    if (needed <= room) return true;
    uint32_t more = room < 8 ? 8 : room * 2;
    if (more < needed) more = needed;
    T* grown = static_cast<T*>(std::realloc(items, sizeof(T) * more));
    if (grown == nullptr) return false;
    items = grown;
    room = more;
    return true;
}

}  // namespace

// One object or block in transit: its raw bytes, and the places in them (or, for the root's
// record, in records written earlier) whose addresses must still be rewritten.
class LDBCopyRecord {
public:
    struct Pending {
        uint32_t location;  // target address of the four bytes to rewrite
        uint32_t address;   // the source address, then the target address once copied
        bool block;         // known to be a block, which the address map never holds
    };

    LDBCopyRecord(uint32_t source, uint32_t target)
        : m_source_address(source), m_target_address(target), m_first_byte(0), m_size(0),
          m_pending(nullptr), m_pending_count(0), m_pending_room(0), m_next_pending(0),
          m_bytes(nullptr), m_is_block(false) {}
    ~LDBCopyRecord() {
        std::free(m_pending);
        std::free(m_bytes);
    }
    LDBCopyRecord(const LDBCopyRecord&) = delete;
    LDBCopyRecord& operator=(const LDBCopyRecord&) = delete;

    // A null address needs nothing: the copied bytes already hold the 0.
    int32_t AddPending(uint32_t location, uint32_t address, bool block = false) {
        if (address == 0) return 0;
        if (!Grow(m_pending, m_pending_room, m_pending_count + 1))
            return NYX_INTERNAL_ERROR("LDB Compact: out of memory", kSource);
        m_pending[m_pending_count++] = Pending{location, address, block};
        return 0;
    }

    uint32_t m_source_address;
    uint32_t m_target_address;
    uint8_t m_first_byte;
    uint32_t m_size;
    Pending* m_pending;
    uint32_t m_pending_count;
    uint32_t m_pending_room;
    uint32_t m_next_pending;  // pending addresses before this one have their target
    uint8_t* m_bytes;
    bool m_is_block;
};

bool LDBIsDeferredReference(uint8_t classCode, uint32_t memberIndex) {
    for (const DeferredReference& d : kDeferred)
        if (d.classCode == classCode && d.memberIndex == memberIndex) return true;
    return false;
}

int32_t LDBCompactDatabase(const nyxString& path, const LDBStorageLayout& layout,
                           PDMLDBCompactOptions* options, PDMc_LDB* connection) {
    LDBStore* store = new (std::nothrow) LDBStore(connection, path);
    if (store == nullptr || !store->Valid()) {
        delete store;
        return NYX_INTERNAL_ERROR("LDB Compact: out of memory", kSource);
    }
    store->SetLayout(&layout);
    int32_t rc;
    {
        LDBCompactor compactor(store);
        rc = compactor.Compact(options);
    }
    delete store;
    return rc;
}

LDBCompactor::LDBCompactor(LDBStore* source)
    : m_source(source), m_target(nullptr), m_first_record(nullptr), m_record_count(0),
      m_next_address(0), m_source_cursor(nullptr), m_target_cursor(nullptr),
      m_path(nullptr), m_path_depth(0),
      m_path_room(0) {}

LDBCompactor::~LDBCompactor() {
    DropPath();
    ReleaseWalk();
    std::free(m_path);
}

int32_t LDBCompactor::Compact(PDMLDBCompactOptions* options) {
    if (options == nullptr || (options->compact == 0 && options->trim == 0)) {
        nyxErrorPushArgs(NYX_MODULE_MFTOOLKIT, 101, NYX_SEVERITY_ERROR,
                         "Invalid Compaction Options Specified");
        return nyxErrorCurrentCode();
    }
    if (!nyxErrorStackEmpty()) return nyxErrorCurrentCode();
    if (m_source->InTransaction()) return nyxErrorReport(2402, m_source->Path());

    LDBStorageFile& file = m_source->File();
    if (file.Open() != 0) {
        file.Close();
        return nyxErrorCurrentCode();
    }
    LDBHeader header;
    // A marked file is repaired first; an older one ends here with 2416, as it can't be
    // compacted before its upgrade.
    if (m_source->ReadHeader(header, true) != 0) {
        file.Close();
        return nyxErrorCurrentCode();
    }
    // Held as a transaction holds it, without the cache work of StartTransaction.
    m_source->SetInTransaction(true);
    m_source->TakeFromHeader(header);

    const uint32_t top = m_source->Top();
    options->topBefore = top;
    options->topAfter = top;
    options->reserved4 = options->reserved5 = options->reserved6 = 0;
    options->reserved8 = options->reserved9 = 0;
    options->recordsCopied = 0;

    int32_t rc = 0;
    // After a trim the shadow starts exactly where the file ends.
    if (options->trim != 0) rc = file.Truncate(m_source->BaseOffset() + top);
    if (rc == 0 && options->compact != 0) RewriteStore(options);

    m_source->SetInTransaction(false);
    file.Close();
    ReleaseWalk();
    return nyxErrorCurrentCode();
}

int32_t LDBCompactor::RewriteStore(PDMLDBCompactOptions* options) {
    m_target = m_source->MakeShadow();
    if (m_target == nullptr) return nyxErrorCurrentCode();
    m_source_cursor = new (std::nothrow) LDBPoolCursor(m_source);
    m_target_cursor = new (std::nothrow) LDBPoolCursor(m_target);
    if (m_source_cursor == nullptr || m_target_cursor == nullptr)
        nyxErrorPushInternal("LDB Compact: out of memory", kSource, __LINE__);

    // The new root lands where the old one stands, which in every store is right behind the
    // header.
    const uint32_t root = m_source->RootAddress();
    uint32_t newRoot = 0;
    m_next_address = root != 0 ? root : LDB_HEADER_SIZE;
    m_address_map.SetSpan(m_source->Top());
    if (nyxErrorStackEmpty() && root != 0) CopyFrom(root, newRoot);

    LDBStore* target = m_target;
    m_target = nullptr;
    if (!nyxErrorStackEmpty()) {
        DropPath();
        ReleaseWalk();
        // The shadow's bytes are cut away; the file is as it was up to its top.
        m_source->AbortShadow(target);
        return nyxErrorCurrentCode();
    }
    options->recordsCopied = m_record_count;
    options->topAfter = m_next_address;
    options->reserved8 = options->reserved9 = 0;
    ReleaseWalk();
    target->SetRootAddress(newRoot);
    return m_source->CommitShadow(target);
}

void LDBCompactor::ReleaseWalk() {
    delete m_source_cursor;
    delete m_target_cursor;
    m_source_cursor = nullptr;
    m_target_cursor = nullptr;
    m_address_map.Clear();
}

void LDBCompactor::DropPath() {
    for (uint32_t i = 0; i < m_path_depth; ++i) delete m_path[i];
    m_path_depth = 0;
    m_first_record = nullptr;
}

int32_t LDBCompactor::CopyFrom(uint32_t source, uint32_t& target) {
    if (const uint32_t* found = m_address_map.Find(source)) {
        target = *found;
        return 0;
    }
    // The recursion of the walk on an explicit stack, so that the depth of the data never
    // meets the depth of the process stack. The order of addresses is the order in which
    // records are first met, as a recursive walk would give.
    LDBCopyRecord* record = BeginRecord(source);
    if (record == nullptr) return nyxErrorCurrentCode();
    m_path[m_path_depth++] = record;
    while (m_path_depth > 0) {
        LDBCopyRecord* current = m_path[m_path_depth - 1];
        // The root's list may grow while this runs: deferred references join it.
        if (current->m_next_pending < current->m_pending_count) {
            LDBCopyRecord::Pending& pair = current->m_pending[current->m_next_pending];
            const uint32_t* found = pair.block ? nullptr : m_address_map.Find(pair.address);
            if (found != nullptr) {
                pair.address = *found;
                ++current->m_next_pending;
                continue;
            }
            LDBCopyRecord* child = BeginRecord(pair.address);
            if (child == nullptr) return nyxErrorCurrentCode();
            m_path[m_path_depth++] = child;
            continue;
        }
        if (WriteRecord(current) != 0) return nyxErrorCurrentCode();
        const uint32_t done = current->m_target_address;
        --m_path_depth;
        if (current == m_first_record) m_first_record = nullptr;
        delete current;
        if (m_path_depth == 0) {
            target = done;
        } else {
            LDBCopyRecord* parent = m_path[m_path_depth - 1];
            parent->m_pending[parent->m_next_pending++].address = done;
        }
    }
    return 0;
}

LDBCopyRecord* LDBCompactor::BeginRecord(uint32_t source) {
    if (!Grow(m_path, m_path_room, m_path_depth + 1)) {
        nyxErrorPushInternal("LDB Compact: out of memory", kSource, __LINE__);
        return nullptr;
    }
    LDBCopyRecord* record = new (std::nothrow) LDBCopyRecord(source, m_next_address);
    if (record == nullptr) {
        nyxErrorPushInternal("LDB Compact: out of memory", kSource, __LINE__);
        return nullptr;
    }
    ++m_record_count;
    if (m_first_record == nullptr) m_first_record = record;
    uint32_t size = 0;
    int32_t rc = ParseRecord(record, size);
    // Entering an object before its references are followed is what ends cycles. Blocks have
    // one owner and are never looked up.
    if (rc == 0 && !record->m_is_block && !m_address_map.Put(source, record->m_target_address))
        rc = NYX_INTERNAL_ERROR("LDB Compact: out of memory", kSource);
    // Each byte of the source is copied at most once, so the copy can't outgrow the source;
    // a damaged file that points blocks at each other would otherwise never end.
    if (rc == 0 && size > m_source->Top() - (m_next_address - m_source->RootAddress()))
        rc = NYX_INTERNAL_ERROR("LDB Compact: more to copy than the store holds", kSource);
    if (rc != 0) {
        if (record == m_first_record) m_first_record = nullptr;
        delete record;
        return nullptr;
    }
    m_next_address += size;
    return record;
}

int32_t LDBCompactor::ParseRecord(LDBCopyRecord* record, uint32_t& size) {
    const uint32_t source = record->m_source_address;
    LDBPoolCursor& cursor = *m_source_cursor;
    cursor.SetAddress(source);
    uint8_t first;
    if (int32_t rc = cursor.ReadU8(first)) return rc;
    record->m_first_byte = first;
    size = 0;
    if (first == 0) return 0;
    if (first < kFirstClassCode && (first & kBlockFormBits) != 0) {
        record->m_is_block = true;
        if (int32_t rc = ParseBlock(record, first)) return rc;
        size = cursor.GetAddress() - source;
    } else {
        uint8_t version;
        if (int32_t rc = cursor.ReadU8(version)) return rc;
        const LDBClassDescriptor* descriptor = m_source->StorageDescriptor(first);
        if (descriptor == nullptr)
            return NYX_INTERNAL_ERROR("LDB Compact: record of an unknown class", kSource);
        if (!cursor.HoldsRange(source, descriptor->GetFixedSize()))
            return NYX_INTERNAL_ERROR("LDB Compact: record outside the store", kSource);
        if (int32_t rc = ParseObject(record, *descriptor)) return rc;
        size = descriptor->GetFixedSize();
    }
    record->m_size = size;
    record->m_bytes = static_cast<uint8_t*>(std::malloc(size));
    if (record->m_bytes == nullptr) return NYX_INTERNAL_ERROR("LDB Compact: out of memory", kSource);
    cursor.SetAddress(source);
    return cursor.ReadBytes(record->m_bytes, size);
}

int32_t LDBCompactor::ParseBlock(LDBCopyRecord* record, uint8_t tag) {
    LDBPoolCursor& cursor = *m_source_cursor;
    const uint8_t kind = tag & LDB_BLOCK_KIND_MASK;
    uint8_t bytes[4] = {0, 0, 0, 0};
    if (int32_t rc = cursor.ReadBytes(bytes, LDBBlockCountWidth(tag))) return rc;
    const uint32_t count = LDBDecodeU32(bytes);
    const uint32_t elements = cursor.GetAddress();
    const uint32_t width = kind == LDB_BLOCK_ADDRESSES ? 4 : ElementWidth(kind);
    const uint64_t span = uint64_t(count) * width;
    if (span > 0xFFFFFFFFu || !cursor.HoldsRange(elements, static_cast<uint32_t>(span)))
        return NYX_INTERNAL_ERROR("LDB Compact: block outside the store", kSource);
    if (kind != LDB_BLOCK_ADDRESSES) {
        cursor.SetAddress(elements + static_cast<uint32_t>(span));
        return 0;
    }
    const uint32_t offset = elements - record->m_source_address;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t address;
        if (int32_t rc = cursor.ReadU32(address)) return rc;
        if (int32_t rc = record->AddPending(record->m_target_address + offset + 4 * i, address))
            return rc;
    }
    return 0;
}

int32_t LDBCompactor::ParseObject(LDBCopyRecord* record, const LDBClassDescriptor& descriptor) {
    LDBPoolCursor& cursor = *m_source_cursor;
    const uint32_t source = record->m_source_address;
    const uint32_t target = record->m_target_address;
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i) {
        const LDBMemberDescriptor* member = descriptor.MemberAt(i);
        const uint32_t d = member->GetDiskOffset();
        uint32_t address = 0;
        int32_t rc = 0;
        switch (member->GetType()) {
            case LDB_MEMBER_INT8: case LDB_MEMBER_INT16: case LDB_MEMBER_INT32:
            case LDB_MEMBER_INT64: case LDB_MEMBER_UINT8: case LDB_MEMBER_UINT16:
            case LDB_MEMBER_UINT32: case LDB_MEMBER_UINT64: case LDB_MEMBER_FLOAT:
            case LDB_MEMBER_DOUBLE: case LDB_MEMBER_DATETIME: case LDB_MEMBER_BOOLEAN:
                break;  // no address in it
            case LDB_MEMBER_STRING:
                cursor.SetAddress(source + d);
                rc = cursor.ReadU32(address);
                if (rc == 0) rc = record->AddPending(target + d, address, true);
                break;
            case LDB_MEMBER_VALUE: {
                // Only a string or an object value holds an address, behind the kind byte.
                uint8_t kind;
                cursor.SetAddress(source + d);
                rc = cursor.ReadU8(kind);
                if (rc == 0 && (kind == kValueString || kind == kValueObject)) {
                    rc = cursor.ReadU32(address);
                    if (rc == 0)
                        rc = record->AddPending(target + d + 1, address, kind == kValueString);
                }
                break;
            }
            case LDB_MEMBER_REF_ARRAY: case LDB_MEMBER_REF_MAP: case LDB_MEMBER_ID_ARRAY:
                // A count or capacity word, then the block's address. Ids are plain values,
                // but their block is still a block to copy.
                cursor.SetAddress(source + d + 4);
                rc = cursor.ReadU32(address);
                if (rc == 0) rc = record->AddPending(target + d + 4, address, true);
                break;
            default: {
                cursor.SetAddress(source + d);
                rc = cursor.ReadU32(address);
                if (rc != 0) break;
                LDBCopyRecord* holder = record;
                if (LDBIsDeferredReference(descriptor.GetClassCode(), i) && address != 0 &&
                    m_address_map.Find(address) == nullptr)
                    holder = m_first_record;
                rc = holder->AddPending(target + d, address);
                break;
            }
        }
        if (rc != 0) return rc;
    }
    return 0;
}

int32_t LDBCompactor::WriteRecord(LDBCopyRecord* record) {
    const uint32_t target = record->m_target_address;
    if (target + record->m_size > m_target->Top()) m_target->SetTop(target + record->m_size);
    LDBPoolCursor& cursor = *m_target_cursor;
    cursor.SetAddress(target);
    if (int32_t rc = cursor.WriteBytes(record->m_bytes, record->m_size)) return rc;
    // A deferred pair's place lies in a record written earlier; the target's pool reaches it
    // like any other.
    for (uint32_t i = 0; i < record->m_pending_count; ++i) {
        cursor.SetAddress(record->m_pending[i].location);
        if (int32_t rc = cursor.WriteU32(record->m_pending[i].address)) return rc;
    }
    return 0;
}
