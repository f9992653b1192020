#include "srcldb/ldbobject.h"

#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define LDB_POISON(address, size) ASAN_POISON_MEMORY_REGION((address), (size))
#else
#define LDB_POISON(address, size) ((void)(address), (void)(size))
#endif

#include "errors/nyxerror.h"
#include "srcldb/ldbarena.h"
#include "srcldb/ldbobjectowner.h"
#include "srcldb/ldbroot.h"

namespace {

constexpr int32_t kErrorIllegalObjectType = 114;
constexpr int32_t kErrorValidateFailed = 2414;

uint32_t HeaderWord(uint8_t typeCode, uint8_t classVersion, uint32_t flags) {
    return uint32_t(typeCode) | (uint32_t(classVersion) << 8) | flags;
}

// The names under which objects are known to clients; null where a class has none.
const char* StoredTypeName(uint8_t typeCode) {
    switch (typeCode) {
        case LDB_TYPE_WS: return "MFWS";
        case LDB_TYPE_WSPI: return "MFWSPI";
        case LDB_TYPE_WSPIV: return "MFWSPIV";
        case LDB_TYPE_WSD: return "MFWSD";
        case LDB_TYPE_WSDD: return "MFWSDD";
        case LDB_TYPE_WSGIR: return "MFWSGIR";
        case LDB_TYPE_LIL: return "MFWSLIL";
        case LDB_TYPE_LILV: return "MFWSLILV";
        case LDB_TYPE_LPI: return "MFWSLPI";
        case LDB_TYPE_LPITD: return "MFWSLPITD";
        case LDB_TYPE_LUF: return "MFWSLUF";
        case LDB_TYPE_LAAV: return "MFLAAV";
        default: return nullptr;
    }
}

// The classes whose handles the exports accept where several kinds may come. "PDMc_GIR" is
// the name the check has always used; a relation's own class name doesn't pass it.
const char* const kValidClassNames[] = {
    "PDMc_LDB", "PDMc_WS",  "PDMc_WSPI", "PDMc_WSPIV", "PDMc_LIL",
    "PDMc_LILV", "PDMc_LUF", "PDMc_WSD",  "PDMc_GIR",   "PDMc_LDBAppObj",
};

}  // namespace

PDMc_LDBObject::PDMc_LDBObject() : m_owner(nullptr), m_storage_address(0), m_header_word(0) {}

PDMc_LDBObject::PDMc_LDBObject(LDBObjectOwner* owner, uint8_t typeCode, uint8_t classVersion)
    : m_owner(owner),
      m_storage_address(0),
      m_header_word(HeaderWord(typeCode, classVersion, LDB_OBJECT_NEW)) {
    MarkModified();
}

PDMc_LDBObject::PDMc_LDBObject(const PDMc_LDBObject& other)
    : m_owner(other.m_owner),
      m_storage_address(0),
      m_header_word(HeaderWord(other.GetTypeCode(), other.GetClassVersion(), LDB_OBJECT_NEW)) {
    MarkModified();
}

PDMc_LDBObject::~PDMc_LDBObject() = default;

namespace {

// The word in front of every object, padded so that the object keeps the alignment of the
// memory it lies in.
constexpr std::size_t kOriginSize = LDBArena::kAlignment;
constexpr uint64_t kFromHeap = 0x6d61727277686561ull;
constexpr uint64_t kFromArena = 0x6d61727277617265ull;

void* Mark(void* memory, uint64_t origin) {
    if (memory == nullptr) return nullptr;
    *static_cast<uint64_t*>(memory) = origin;
    return static_cast<char*>(memory) + kOriginSize;
}

}  // namespace

void* PDMc_LDBObject::operator new(std::size_t size) {
    void* object = operator new(size, std::nothrow);
    if (object == nullptr) throw std::bad_alloc();
    return object;
}

void* PDMc_LDBObject::operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Mark(std::malloc(kOriginSize + size), kFromHeap);
}

void* PDMc_LDBObject::operator new(std::size_t size, LDBArena& arena) noexcept {
    return Mark(arena.Allocate(kOriginSize + size), kFromArena);
}

void PDMc_LDBObject::operator delete(void* object, std::size_t size) noexcept {
    if (object == nullptr) return;
    char* memory = static_cast<char*>(object) - kOriginSize;
    if (*reinterpret_cast<uint64_t*>(memory) == kFromHeap) {
        std::free(memory);
        return;
    }
    // The arena takes its memory back with the store's cache; until then a use of the dead
    // object is a fault the sanitizer is to see.
    LDB_POISON(memory, kOriginSize + size);
}

void PDMc_LDBObject::operator delete(void* object, const std::nothrow_t&) noexcept {
    if (object != nullptr) std::free(static_cast<char*>(object) - kOriginSize);
}

void PDMc_LDBObject::operator delete(void* object, LDBArena&) noexcept {
    if (object != nullptr) LDB_POISON(static_cast<char*>(object) - kOriginSize, kOriginSize);
}

FILE* PDMc_LDBObject::Dump(FILE* out) const {
    uint8_t code = GetTypeCode();
    std::fprintf(out, "Object\n");
    std::fprintf(out, "  Type: %s (%c)\n", ShortTypeName(code), static_cast<char>(code));
    std::fprintf(out, "  Memory Address: %p\n", static_cast<const void*>(this));
    std::fprintf(out, "  Storage Address: %x\n", static_cast<unsigned>(m_storage_address));
    std::fprintf(out, "  Modified: %s\n", IsModified() ? "true" : "false");
    std::fprintf(out, "  Deleted: %s\n", IsDeleted() ? "true" : "false");
    return out;
}

int32_t PDMc_LDBObject::Validate() const {
    const char* className = GetClassName();
    for (const char* valid : kValidClassNames)
        if (std::strcmp(className, valid) == 0) return 0;
    nyxErrorReport(kErrorValidateFailed, "Validate", className);
    return nyxErrorCurrentCode();
}

PDMc_LDBRef* PDMc_LDBObject::GetAttrs() { return nullptr; }

void PDMc_LDBObject::MarkModified() {
    if (GetTypeCode() == LDB_TYPE_CONNECTION || IsModified() || m_owner == nullptr) return;
    m_owner->AddToModifiedList(this);
    m_header_word |= LDB_OBJECT_MODIFIED;
}

int32_t PDMc_LDBObject::MarkDeleted() {
    MarkModified();
    m_header_word |= LDB_OBJECT_DELETED;
    return 0;
}

int32_t PDMc_LDBObject::GetTypeName(nyxString& name) const {
    uint8_t code = GetTypeCode();
    if (code == LDB_TYPE_APPOBJ) {
        name = static_cast<const PDMc_LDBAppObj*>(this)->GetType();
    } else if (const char* stored = StoredTypeName(code)) {
        name = stored;
    } else {
        nyxErrorReport(kErrorIllegalObjectType, "IllegalObjectType");
    }
    return nyxErrorCurrentCode();
}

const char* PDMc_LDBObject::ShortTypeName(uint8_t typeCode) {
    return typeCode == LDB_TYPE_WSD ? "WSD" : "UNKNOWN";
}

PDMc_LDBObject* LDBCheckType(PDMc_LDBObject* object, uint8_t typeCode, bool required) {
    if (object == nullptr) {
        // A load that failed may have said why already.
        if (required && nyxErrorStackEmpty())
            nyxErrorPushInternal("an object that must be there is missing", "srcldb/ldbobject",
                                 __LINE__);
        return nullptr;
    }
    if (object->GetTypeCode() == typeCode) return object;
    nyxErrorPushInternal("an object of another class than its reference promises",
                         "srcldb/ldbobject", __LINE__);
    return nullptr;
}
