// The in-memory forms of the list-like members, as the member readers and writers see them:
// an array of references (member type 32), a map from text to reference (33) and an array of
// 32-bit ids (34). The readers and writers know only the narrow interfaces; the classes below
// keep the elements in the library's own collections, so that a map's capacity and entry order
// on disk are those of its hash table.
#pragma once

#include <cstdint>

#include "collections/nyxhash.h"
#include "collections/nyxxarray.h"
#include "nyxstring.h"
#include "srcldb/ldbref.h"

class LDBRefArrayRep {
public:
    virtual ~LDBRefArrayRep() = default;
    virtual uint32_t Count() const = 0;
    virtual const PDMc_LDBRef& At(uint32_t index) const = 0;
    virtual PDMc_LDBRef& At(uint32_t index) = 0;
    // Makes the array count null references long; 0 or the code of a failure pushed.
    virtual int32_t SetCount(uint32_t count) = 0;
    virtual void Clear() = 0;
};

class LDBIdArrayRep {
public:
    virtual ~LDBIdArrayRep() = default;
    virtual uint32_t Count() const = 0;
    virtual uint32_t At(uint32_t index) const = 0;
    virtual void SetAt(uint32_t index, uint32_t value) = 0;
    // Makes the array count zeros long; 0 or the code of a failure pushed.
    virtual int32_t SetCount(uint32_t count) = 0;
    virtual void Clear() = 0;
};

// Called for each entry of a map in its iteration order; a result other than 0 ends the walk
// and becomes the walk's result.
using LDBMapEntryVisitor = int32_t (*)(void* context, const nyxString& key,
                                       const PDMc_LDBRef& value);

class LDBRefMapRep {
public:
    virtual ~LDBRefMapRep() = default;
    // The table's bucket capacity; it is recorded in the file for no reader.
    virtual uint32_t Capacity() const = 0;
    virtual uint32_t Count() const = 0;
    virtual void Clear() = 0;
    // Adds the entry unless the key is present, in which case nothing changes. 0 or the code of
    // a failure pushed.
    virtual int32_t Insert(const nyxString& key, const PDMc_LDBRef& value) = 0;
    virtual PDMc_LDBRef* Find(const char* key) = 0;
    virtual int32_t VisitEntries(LDBMapEntryVisitor visit, void* context) const = 0;
};

using LDBRefXArray = nyxXArrayOf<PDMc_LDBRef>;
using LDBIdXArray = nyxXArrayOf<uint32_t>;
using LDBRefHashTable = nyxHashMapOf<nyxString, PDMc_LDBRef>;

// References in a dynamic array of the default settings.
class LDBRefVector : public LDBRefArrayRep {
public:
    LDBRefVector() = default;
    LDBRefVector(const LDBRefVector&) = delete;
    LDBRefVector& operator=(const LDBRefVector&) = delete;

    uint32_t Count() const override { return m_items.GetCount(); }
    const PDMc_LDBRef& At(uint32_t index) const override;
    PDMc_LDBRef& At(uint32_t index) override { return *m_items.At(index); }
    int32_t SetCount(uint32_t count) override;
    void Clear() override { m_items.Clear(); }
    int32_t Append(const PDMc_LDBRef& value);

    LDBRefXArray& Items() { return m_items; }
    const LDBRefXArray& Items() const { return m_items; }

private:
    LDBRefXArray m_items;
};

// Ids in a dynamic array of the default settings.
class LDBIdVector : public LDBIdArrayRep {
public:
    LDBIdVector() = default;
    LDBIdVector(const LDBIdVector&) = delete;
    LDBIdVector& operator=(const LDBIdVector&) = delete;

    uint32_t Count() const override { return m_items.GetCount(); }
    uint32_t At(uint32_t index) const override;
    void SetAt(uint32_t index, uint32_t value) override { m_items.SetAt(index, &value); }
    int32_t SetCount(uint32_t count) override;
    void Clear() override { m_items.Clear(); }
    int32_t Append(uint32_t value);

    LDBIdXArray& Items() { return m_items; }
    const LDBIdXArray& Items() const { return m_items; }

private:
    LDBIdXArray m_items;
};

// References by text key in a hash table in key and value mode. Keys compare by bytes. The
// capacity given is the table's initial one, raised to the next prime of the table.
class LDBRefStringTable : public LDBRefMapRep {
public:
    explicit LDBRefStringTable(uint32_t capacity)
        : m_table(nyxStringHash, static_cast<int32_t>(capacity)) {}
    LDBRefStringTable(const LDBRefStringTable&) = delete;
    LDBRefStringTable& operator=(const LDBRefStringTable&) = delete;

    uint32_t Capacity() const override { return static_cast<uint32_t>(m_table.GetCapacity()); }
    uint32_t Count() const override { return m_table.GetCount(); }
    void Clear() override { m_table.Clear(); }
    int32_t Insert(const nyxString& key, const PDMc_LDBRef& value) override;
    PDMc_LDBRef* Find(const char* key) override;
    int32_t VisitEntries(LDBMapEntryVisitor visit, void* context) const override;

    LDBRefHashTable& Table() { return m_table; }
    const LDBRefHashTable& Table() const { return m_table; }

private:
    LDBRefHashTable m_table;
};
