// PDMc_LDBObject: what every stored object shares. A persistent class holds no store logic:
// it gives its type code and a constructor that leaves its members empty, the storage layout
// says what it holds, and it calls MarkModified before it changes a stored member.
//
// The header word packs the type code (bits 0-7), the class version (bits 8-15) and three
// state flags:
//   Fresh          new, modified           on the modified list, not in the object table
//   Fresh deleted  new, modified, deleted  on the modified list
//   Clean          no flag                 in the object table
//   Dirty          modified                in the table and on the list
//   Doomed         modified, deleted       in the table and on the list
// Commit and abort clear the flags (through the store); the object itself only raises them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

#include "nyxstring.h"

class LDBArena;
class LDBObjectOwner;
class PDMc_LDBRef;

// Stored type codes: the first byte of every record and the low byte of reference member types.
enum LDBTypeCode : uint8_t {
    LDB_TYPE_ROOT = 64,
    LDB_TYPE_ARRAY = 65,
    LDB_TYPE_MAP = 66,
    LDB_TYPE_CONNECTION = 79,  // the connection object; it has no record
    LDB_TYPE_WS = 80,
    LDB_TYPE_WSPI = 81,
    LDB_TYPE_WSPIV = 82,
    LDB_TYPE_WSD = 83,
    LDB_TYPE_WSDD = 84,
    LDB_TYPE_WSGIR = 85,
    LDB_TYPE_LIL = 86,
    LDB_TYPE_LILV = 87,
    LDB_TYPE_LPI = 88,
    LDB_TYPE_LPITD = 89,
    LDB_TYPE_LUF = 90,
    LDB_TYPE_LUFI = 91,
    LDB_TYPE_LUFLI = 92,
    LDB_TYPE_LAV = 93,
    LDB_TYPE_LAD = 94,
    LDB_TYPE_LF = 95,
    LDB_TYPE_APPOBJ = 96,
    LDB_TYPE_LAAV = 97,
};

constexpr uint32_t LDB_OBJECT_NEW = 0x10000;
constexpr uint32_t LDB_OBJECT_MODIFIED = 0x20000;
constexpr uint32_t LDB_OBJECT_DELETED = 0x40000;

class PDMc_LDBObject {
public:
    // An object comes from the heap, or from the arena of the store that loads it, and a word
    // in front of it tells delete which; the arena gives its memory back all at once.
    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void* operator new(std::size_t size, LDBArena& arena) noexcept;
    static void operator delete(void* object, std::size_t size) noexcept;
    static void operator delete(void* object, const std::nothrow_t&) noexcept;
    static void operator delete(void* object, LDBArena& arena) noexcept;

    // The form the factory uses: owner, address and header word are filled in afterwards.
    PDMc_LDBObject();
    // A new object: no address, the new flag, and at once on the owner's modified list.
    PDMc_LDBObject(LDBObjectOwner* owner, uint8_t typeCode, uint8_t classVersion);
    // A copy is always a new object of the same owner, type and version; nothing of the source's
    // address or flags comes with it.
    PDMc_LDBObject(const PDMc_LDBObject& other);
    PDMc_LDBObject& operator=(const PDMc_LDBObject&) = delete;

    // The virtual operations, in their fixed order.
    virtual FILE* Dump(FILE* out) const;
    virtual const char* GetClassName() const = 0;
    // The check an export makes on a handle that may be of several classes: 0, or error 2414.
    virtual int32_t Validate() const;
    // The map of application attributes, for the classes that show one.
    virtual PDMc_LDBRef* GetAttrs();
    // Puts the object on its owner's modified list once per transaction.
    virtual void MarkModified();
    virtual ~PDMc_LDBObject();

    // Flags the object to go away at commit; it stays usable until then. Returns 0.
    int32_t MarkDeleted();
    // The stored type name of the class, or error 114 for a class that has none. Returns the
    // code on the error stack.
    int32_t GetTypeName(nyxString& name) const;

    LDBObjectOwner* GetOwner() const { return m_owner; }
    uint32_t GetStorageAddress() const { return m_storage_address; }
    uint8_t GetTypeCode() const { return static_cast<uint8_t>(m_header_word); }
    uint8_t GetClassVersion() const { return static_cast<uint8_t>(m_header_word >> 8); }
    uint32_t GetHeaderWord() const { return m_header_word; }
    bool IsNew() const { return (m_header_word & LDB_OBJECT_NEW) != 0; }
    bool IsModified() const { return (m_header_word & LDB_OBJECT_MODIFIED) != 0; }
    bool IsDeleted() const { return (m_header_word & LDB_OBJECT_DELETED) != 0; }

    // For the store: the object table sets the address, commit and abort clear the flags.
    void SetStorageAddress(uint32_t address) { m_storage_address = address; }
    void ClearNewAndModified() { m_header_word &= ~(LDB_OBJECT_NEW | LDB_OBJECT_MODIFIED); }
    void ClearModifiedAndDeleted() {
        m_header_word &= ~(LDB_OBJECT_MODIFIED | LDB_OBJECT_DELETED);
    }

    // The name that Dump shows for a type code.
    static const char* ShortTypeName(uint8_t typeCode);

protected:
    // For the owner that is its own object: the connection sets itself in once it exists.
    void SetOwner(LDBObjectOwner* owner) { m_owner = owner; }

private:
    friend PDMc_LDBObject* CreateObjectOfType(LDBObjectOwner*, uint32_t, uint32_t, LDBArena*);

    LDBObjectOwner* m_owner;
    uint32_t m_storage_address;
    uint32_t m_header_word;
};

// The factory behind every load: an empty object of the class of a stored type code, with no
// flag set, in the arena if one is given, else on the heap; null for a code that names no stored
// class.
PDMc_LDBObject* CreateObjectOfType(LDBObjectOwner* owner, uint32_t typeCode,
                                   uint32_t classVersion, LDBArena* arena = nullptr);

// The object if it is of the class with the type code. Null for null, which with `required` is
// an error (a container's element that can't be loaded shows as null); null after an internal
// error pushed for an object of another class: a record must never be read as another's.
PDMc_LDBObject* LDBCheckType(PDMc_LDBObject* object, uint8_t typeCode, bool required);
template <class T>
T* LDBObjectAs(PDMc_LDBObject* object, bool required = false) {
    return static_cast<T*>(LDBCheckType(object, T::kTypeCode, required));
}
